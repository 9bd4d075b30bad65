// The virtual board tool reading what the line fill routines, the Daktronics
// writer and the real transport send it, over UDP on loopback and a serial
// line. Which protocol it recognises and what it prints of each is the
// decoder's and the mirror's test.
#include "OutputStation.h"

#include "integration/app/ChildProgram.h"

#include "outputs/EventSlot.h"
#include "support/TestSupport.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <csignal>

using namespace kestra;
using namespace kestra::test;

namespace {

EventSlot routine()
{
    EventSlot slot;
    slot.Num = 412;
    slot.FName = QStringLiteral("Kira");
    slot.LName = QStringLiteral("Moss");
    slot.ShortName = QStringLiteral("Valley Twisters");
    slot.Event = 3;
    slot.Score = static_cast<double>(9.65f);
    slot.Start = static_cast<double>(4.1f);
    slot.BScore = static_cast<double>(5.55f);
    slot.Adjust = -99;
    slot.DBonus = static_cast<double>(0.1f);
    slot.EBonus = -99;
    return slot;
}

// kestra-board as a child process.
struct BoardProcess : ChildProgram {
    explicit BoardProcess(const QStringList &arguments) : ChildProgram("tools/kestra-board", arguments) {}
};

} // namespace

TEST(VirtualBoard, PrintsWhatTheBoardShowsAndEndsCleanlyOnInterrupt)
{
    BoardProcess board({QStringLiteral("--udp"), QStringLiteral("0"), QStringLiteral("--bind"),
                        QStringLiteral("127.0.0.1")});
    const QString listening = board.waitForLine(QStringLiteral("listening on udp 127\\.0\\.0\\.1:\\d+$"));
    ASSERT_FALSE(listening.isEmpty()) << board.output().toStdString();
    const QString port = listening.section(QLatin1Char(':'), -1);

    OutputStation station(QStringLiteral("UDP"), port);
    station.meet.useDBonus = true;
    station.lines.FillEventLine(routine(), 1);
    const QString line = board.waitForLine(QStringLiteral("EVENT 3  BEAM .*Kira Moss.*D\\+ 0\\.100  @ Valley Twisters"));
    EXPECT_TRUE(line.contains(QStringLiteral("9.650"))) << board.output().toStdString();
    // Three frames, one score: the board shows it once, whole.
    EXPECT_EQ(board.output().count(QStringLiteral("EVENT 3")), 1) << board.output().toStdString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\[\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\\] ")).match(line).hasMatch())
        << line.toStdString();

    station.lines.FillNowUpLine(4, 1, QStringLiteral("9"), QStringLiteral("Ana Bell"), QStringLiteral("Harbor"));
    EXPECT_FALSE(board.waitForLine(QStringLiteral("NOW UP 4  FLOOR +#9 +Ana Bell  @ Harbor")).isEmpty())
        << board.output().toStdString();

    // A corrupted frame is told on standard error and changes nothing.
    QByteArray bad("\x16" "00000000" "\x01" "00401" "03429" "\x02" "9.999 " "\x04" "8D" "\x17");
    ASSERT_EQ(station.transport.SendDeviceData(bad), DeviceErrors::Success);
    EXPECT_TRUE(board.waitForError(QStringLiteral("bad frame: checksum")));

    EXPECT_EQ(board.signal(SIGINT, 5000), 0);
    EXPECT_TRUE(board.output().contains(QStringLiteral("board closed")));
    EXPECT_FALSE(board.output().contains(QStringLiteral("9.999")));
}

TEST(VirtualBoard, ReadsASerialLine)
{
    PtyPair cable;
    BoardProcess board({QStringLiteral("--serial"), cable.deviceB()});
    ASSERT_FALSE(board.waitForLine(QStringLiteral("reading .* at 19200 8N1")).isEmpty());
    OutputStation station(cable.deviceA());
    DisplayRecord &record = station.record;
    record.pack(layout::leaderTitle1(2), QStringLiteral("All-Around"));
    record.pack(layout::leaderRank(2, 1), QStringLiteral(" 1"));
    record.pack(layout::leaderName(2, 1), QStringLiteral("Ana Bell"));
    record.pack(layout::leaderScore(2, 1), QStringLiteral(" 38.450"));
    record.pack(layout::leaderGym(2, 1), QStringLiteral("Harbor"));
    ASSERT_EQ(station.writer.SendDaktronicsLeader(2), DeviceErrors::Success);
    EXPECT_FALSE(board.waitForLine(QStringLiteral("LEADER 2  All-Around")).isEmpty()) << board.output().toStdString();
    EXPECT_FALSE(board.waitForLine(QStringLiteral("1  Ana Bell +38\\.450  @ Harbor")).isEmpty())
        << board.output().toStdString();
    EXPECT_EQ(board.signal(SIGTERM, 5000), 0);
}
