// One press of "Show Sample" on each board and file target, as the board's
// socket or the file receives it: the seeded meet 1 (four events, both bonus
// rules) in NCAA mode. Writers' results are not looked at: no box.
#include "support/MainRig.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

TEST(ShowSampleTest, EachTargetGetsTheWholeSampleOnceInItsOrder)
{
    TempDir out;
    const QString file = out.file(S("sample.out"));
    MainRig rig({}, "OutputFileName=" + file.toUtf8() + "\n");
    ASSERT_TRUE(rig.open());
    ASSERT_TRUE(rig.main().selection().setNcaa(true));
    auto written = [&file] {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    };
    for (OutputTarget target : {OutputTarget::Daktronics, OutputTarget::WhiteWay, OutputTarget::Barco,
                                OutputTarget::File, OutputTarget::XML}) {
        SCOPED_TRACE(int(target));
        ASSERT_TRUE(rig.main().selectTarget(target));
        // Event 4 unticked sends again the slot the last ticked box reached;
        // with no box ticked there is no slot to send.
        ASSERT_TRUE(rig.main().selection().setTickedEvents(1, target == OutputTarget::WhiteWay ? QList<int>{}
                                                                                               : QList<int>{1, 2, 3}));
        ASSERT_TRUE(rig.main().showSample()) << rig.main().lastError().toStdString();
        const QByteArray block = rig.record.bytes();
        if (target == OutputTarget::Daktronics) {
            // Each event's line, gym, bonuses and now-up line (slot 3 twice); the
            // pages and their gyms; the NCAA groups and scores; the matrix in two.
            QList<int> addresses;
            for (const QByteArray &frame : rig.newFrames(35))
                addresses << frame.mid(15, 5).toInt();
            EXPECT_EQ(addresses, QList<int>({0,    2261, 3429, 5681, 5261, 81,   2281, 3435, 5684, 5331, 162, 2301,
                                             3441, 5687, 5401, 162,  2301, 3441, 5687, 5401, 486,  2381, 957, 2541,
                                             1428, 2701, 1899, 3465, 3781, 4097, 4413, 4729, 5045, 2861, 3169}));
        } else if (target == OutputTarget::WhiteWay) {
            QList<QByteArray> pages;
            for (const QByteArray &frame : rig.newFrames(5))
                pages << frame.mid(8, 3);
            EXPECT_EQ(pages, QList<QByteArray>({"201", "202", "203", "301", "401"}));
        } else if (target == OutputTarget::Barco) {
            EXPECT_EQ(rig.newFrames(1), QList<QByteArray>{"\x02" + block + "\x03"});
        } else if (target == OutputTarget::File) {
            EXPECT_EQ(written(), block + "\r\n");
        } else {
            EXPECT_TRUE(written().contains("<grid num=\"1\" team=\"Rebel Alliance\" "));
            EXPECT_EQ(rig(S("lblStatus")).text(), S("Success"));
        }
        EXPECT_TRUE(rig.newFrames().isEmpty()) << "nothing more";
    }
    EXPECT_TRUE(rig.prompt.messages.empty());
}
