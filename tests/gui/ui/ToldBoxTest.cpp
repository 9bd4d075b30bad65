// A failure box raised inside the poll must not stop the poll: with a dead
// serial port every fill fails, and the scores fed meanwhile must still be
// taken while the operator leaves the box open.
#include "generator/KestraMain.h"
#include "meetdb/DevStore.h"
#include "support/MainRig.h"
#include "support/TestSupport.h"
#include "ui/MessageBoxPrompt.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QTimer>

using namespace kestra;
using kestra::test::S;

namespace {

int visibleBoxes()
{
    int boxes = 0;
    for (QWidget *widget : QApplication::topLevelWidgets())
        boxes += qobject_cast<QMessageBox *>(widget) && widget->isVisible();
    return boxes;
}

TEST(ToldBoxTest, aDeadPortsBoxLeftOpenDoesNotStopThePoll)
{
    MessageBoxPrompt prompt;
    test::MainRig rig({}, "ComPort=/dev/kestra-no-such-port\nInterval=0\nIntervalMax=999\n",
                      StoreBackend::Sqlite, &prompt);
    KestraMain &main = rig.main();
    ASSERT_TRUE(rig.open());

    DevStore::ScoreFeed feed(rig.peer(), {});
    constexpr int kFed = 14;
    for (int i = 0; i < kFed; ++i)
        ASSERT_TRUE(feed.publish());
    const auto taken = [&] { return rig.scalar(S("select count(*) from QueueDone where AppID = 4")).toInt(); };

    // Start's now-up clears fail on the dead port already, so the first box
    // is up from the start; everything below runs inside its nested loop.
    int boxesWhenDone = -1;
    QString textWhenDone;
    QElapsedTimer clock;
    clock.start();
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (main.timer(1).isActive() && main.timer(1).interval() > 10)
            main.timer(1).setInterval(10);
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        if (clock.elapsed() > 15000) // a poll that stalls fails the test, not the run
            main.stop();
        else if (boxesWhenDone < 0) {
            if (taken() < kFed)
                return;
            boxesWhenDone = visibleBoxes();
            textWhenDone = box->text();
            main.stop();
        }
        box->accept();
    });
    watch.start(20);
    ASSERT_TRUE(main.start());
    ASSERT_TRUE(test::waitUntil([&] { return boxesWhenDone >= 0 && prompt.toldPending() == 0; },
                                std::chrono::seconds(20)))
        << taken() << " of " << kFed << " taken";
    EXPECT_EQ(boxesWhenDone, 1) << "one box for one message, however often it came";
    // Blanks and fills fail alike; whichever box is up has counted its repeats.
    EXPECT_TRUE(textWhenDone.contains(S(" event score\n\nError opening COM port\n\n(This happened ")))
        << textWhenDone.toStdString();
}

} // namespace
