// A failure box raised inside the poll must not stop the poll: with a dead
// serial port every fill fails, and the scores fed meanwhile must still be
// taken while the operator leaves the box open.
#include "generator/KestraMain.h"
#include "generator/NowUpListeners.h"
#include "meetdb/DevStore.h"
#include "meetdb/MeetConnection.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "support/MainRig.h"
#include "support/TestSupport.h"
#include "support/TickSource.h"
#include "ui/MessageBoxPrompt.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
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
    test::TempDir dir;
    const QString db = dir.file(S("db"));
    test::copySeededStore(db);
    QDir().mkpath(dir.file(S("config")));
    QFile ini(dir.file(S("config/Kestra.ini")));
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.write("[Options]\nComPort=/dev/kestra-no-such-port\nBaseAddr=760\nInterval=0\nIntervalMax=999\n");
    ini.close();

    DirectConnection connection(db);
    MessageBoxPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    KestraMain main(connection, SettingsStore::kestraKey(dir.file(S("config"))),
                    SettingsStore::marlowenKey(dir.file(S("config"))), prompt, ticks, record, transport);
    main.listeners().setPorts(0, 0);
    ASSERT_TRUE(main.create());
    main.show();
    auto peer = MeetStore::forAddress(db);
    peer->connect();
    peer->openDatabase();
    DevStore::ScoreFeed feed(*peer, {});
    constexpr int kFed = 14;
    for (int i = 0; i < kFed; ++i)
        ASSERT_TRUE(feed.publish());
    const auto taken = [&] {
        QueryResult result = peer->query(S("select count(*) from QueueDone where AppID = 4"));
        result.first();
        return result.value(0).toInt();
    };

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
    main.stop();
    main.close();
}

} // namespace
