#include "ScriptedLines.h"

#include "outputs/Daktronics.h"
#include "outputs/DebugTrace.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"
#include "support/TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <functional>

using namespace kestra;
using namespace kestra::test;

namespace {

// A frame spelled out: header, five-digit address, data, checksum worked out
// by hand for the data of each test.
QByteArray frame(const char *address, const QByteArray &data, const char *checksum)
{
    return QByteArray("\x16" "00000000" "\x01" "00401") + address + '\x02' + data + '\x04' + checksum + '\x17';
}

QByteArray spaces(int n)
{
    return QByteArray(n, ' ');
}

class DaktronicsTest : public ::testing::Test {
protected:
    DisplayRecord record;
    ScriptedLineLog log;
    std::unique_ptr<DeviceTransport> transport = scriptedTransport(log);
    FixedMeetFlags meet;
    DebugTrace trace;
    DaktronicsWriter writer{record, *transport, meet, trace};
};

} // namespace

TEST_F(DaktronicsTest, SlotOneEventLineGoesToAddressZero)
{
    record.pack(layout::eventTitle(1), QStringLiteral("VAULT"));
    record.pack(layout::eventNum(1), QStringLiteral("12"));
    record.pack(layout::eventName(1), QStringLiteral("Ana Bell"));
    record.pack(layout::eventScore(1), QStringLiteral(" 9.650"));
    const QByteArray line = "VAULT 12  Ana Bell                                 9.650                         ";
    ASSERT_EQ(line.size(), 81);
    const QList<QByteArray> frames = writer.eventFrames(1);
    ASSERT_EQ(frames.size(), 2);
    EXPECT_EQ(frames[0], frame("00000", line, "AC"));
    EXPECT_EQ(frames[0].size(), 106);
}

TEST_F(DaktronicsTest, SlotSixFramesFollowTheBonusRulesOfTheMeet)
{
    record.pack(layout::eventTitle(6), QStringLiteral("FLOOR"));
    record.pack(layout::eventGym(6), QStringLiteral("Harbor Gym"));
    record.pack(layout::eventDBonus(6), QStringLiteral("0.200"));
    record.pack(layout::eventEBonus(6), QStringLiteral("0.1"));
    const QByteArray line = frame("00405", QByteArray("FLOOR") + spaces(76), "77");
    const QByteArray gym = frame("02361", QByteArray("Harbor Gym") + spaces(10), "63");
    const QByteArray dBonus = frame("03459", "0.200 ", "91");
    const QByteArray eBonus = frame("05696", "0.1", "15");
    const struct {
        bool useD;
        bool useJN;
        QList<QByteArray> frames;
    } cases[] = {
        {false, false, {line, gym}},
        {true, false, {line, gym, dBonus}},
        {false, true, {line, gym, dBonus, eBonus}},
        {true, true, {line, gym, dBonus, eBonus}},
    };
    for (const auto &c : cases) {
        meet.useDBonus = c.useD;
        meet.useJNBonus = c.useJN;
        EXPECT_EQ(writer.eventFrames(6), c.frames) << c.useD << c.useJN;
        log.written.clear();
        EXPECT_EQ(writer.SendDaktronicsEvent(6), DeviceErrors::Success);
        EXPECT_EQ(log.written, c.frames);
    }
}

TEST_F(DaktronicsTest, NowUpLeaderAndNcaaGoToTheirAddresses)
{
    record.pack(layout::nowUpTitle(6), QStringLiteral("RINGS"));
    record.pack(layout::nowUpNum(6), QStringLiteral("7"));
    record.pack(layout::nowUpName(6), QStringLiteral("Kira Moss"));
    record.pack(layout::nowUpGym(6), QStringLiteral("Valley"));
    const QByteArray nowUp = "RINGS 7   Kira Moss                               Valley              ";
    ASSERT_EQ(nowUp.size(), 70);
    const struct {
        std::function<DeviceError()> send;
        QList<QByteArray> frames;
    } cases[] = {
        {[&] { return writer.SendDaktronicsNowUp(6); }, {frame("05611", nowUp, "09")}},
        // The largest frame of this target: a leader page, then its gyms.
        {[&] { return writer.SendDaktronicsLeader(3); }, {frame("01428", spaces(471), "5B"), frame("02701", spaces(160), "76")}},
        // Group 1 with its gap, groups 2 to 6, the event scores.
        {[&] { return writer.SendDaktronicsNCAA(); },
         {frame("01899", spaces(362), "C7"), frame("03465", spaces(316), "FE"), frame("03781", spaces(316), "FF"),
          frame("04097", spaces(316), "00"), frame("04413", spaces(316), "F8"), frame("04729", spaces(316), "02"),
          frame("05045", spaces(216), "7A")}},
    };
    for (const auto &c : cases) {
        log.written.clear();
        EXPECT_EQ(c.send(), DeviceErrors::Success);
        EXPECT_EQ(log.written, c.frames);
    }
}

TEST_F(DaktronicsTest, MatrixGoesInTwoFramesCutAfter308Bytes)
{
    record.pack(layout::matrixTeam(4), QStringLiteral("Row four"));
    record.pack(layout::matrixRank(5), QStringLiteral("5"));
    EXPECT_EQ(writer.SendDaktronicsMatrix(), DeviceErrors::Success);
    ASSERT_EQ(log.written.size(), 2);
    EXPECT_EQ(log.written[0].mid(15, 5), QByteArray("02861"));
    EXPECT_EQ(log.written[0].size(), 308 + 25);
    EXPECT_EQ(log.written[0].mid(21 + 2 + 48 + 3 * 65, 8), QByteArray("Row four"));
    EXPECT_EQ(log.written[1].mid(15, 5), QByteArray("03169"));
    EXPECT_EQ(log.written[1].size(), 260 + 25);
    EXPECT_EQ(log.written[1].mid(21, 2), QByteArray("5 "));

    record.clearAll();
    log.written.clear();
    writer.SendDaktronicsMatrix();
    EXPECT_EQ(log.written, (QList<QByteArray>{frame("02861", spaces(308), "FD"), frame("03169", spaces(260), "FF")}));
}

TEST_F(DaktronicsTest, ControlBytesInDataGoOutUnescaped)
{
    record.pack(layout::eventLine(1), QByteArrayView("VAULT 12  A\x04\x17" "b"));
    const QByteArray data = QByteArray("VAULT 12  A\x04\x17" "b") + spaces(67);
    EXPECT_EQ(writer.eventFrames(1).first(), frame("00000", data, "D9"));
}

TEST_F(DaktronicsTest, OnlyTheLastResultOfACallCounts)
{
    // Line fails, gym goes: success. Line goes, gym fails: failure.
    log.writeResults = {false, true, true, false};
    EXPECT_EQ(writer.SendDaktronicsEvent(1), DeviceErrors::Success);
    EXPECT_EQ(writer.SendDaktronicsEvent(1), DeviceErrors::SendFailed);
    EXPECT_EQ(log.written.size(), 2);
}

TEST_F(DaktronicsTest, TheInterfaceCallsReachTheWritersAndNeverAlterTheBlock)
{
    record.pack(layout::eventName(3), QStringLiteral("Someone"));
    const QByteArray before = record.bytes();
    DisplayWriter &asTarget = writer;
    EXPECT_EQ(asTarget.kind(), TargetKind::Line);
    EXPECT_EQ(asTarget.targetName(), QStringLiteral("rdoDaktronics"));
    asTarget.sendEventLine(2, 2);
    asTarget.sendNowUpLine(2, 1);
    asTarget.sendLeaderPage(1);
    asTarget.sendMatrix();
    asTarget.sendNCAA();
    EXPECT_EQ(asTarget.sendRecord(), DeviceErrors::Success); // takes no whole block
    QStringList addresses;
    for (const QByteArray &f : log.written)
        addresses.append(QString::fromLatin1(f.mid(15, 5)));
    EXPECT_EQ(addresses.join(QLatin1Char(' ')),
              QStringLiteral("00081 02281 05331 00486 02381 02861 03169 01899 03465 03781 04097 04413 04729 05045"));
    EXPECT_EQ(record.bytes(), before);
    EXPECT_THROW(writer.SendDaktronicsEvent(7), std::out_of_range);
    EXPECT_THROW(writer.SendDaktronicsLeader(0), std::out_of_range);
}

TEST_F(DaktronicsTest, TraceHoldsTheFramesWithCrLfBeforeAnyIsSent)
{
    TempDir dir;
    trace.setPath(dir.file(QStringLiteral("DebugIOOutput.txt")));
    trace.setEnabled(true);
    meet.useDBonus = true;
    record.pack(layout::eventDBonus(1), QStringLiteral("0.100"));
    QList<QByteArray> traceAtEachWrite;
    log.onWrite = [&](QByteArrayView) {
        QFile file(trace.path());
        traceAtEachWrite.append(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>"));
    };
    log.writeResults = {false, false, false}; // a dead line is still traced
    writer.SendDaktronicsEvent(1);
    const QList<QByteArray> frames = writer.eventFrames(1);
    ASSERT_EQ(frames.size(), 3);
    const QByteArray expected = frames[0] + "\r\n" + frames[1] + "\r\n"
                                + frame("03429", "0.100 ", "8D") + "\r\n";
    ASSERT_EQ(traceAtEachWrite.size(), 3);
    for (const QByteArray &seen : traceAtEachWrite)
        EXPECT_EQ(seen, expected);

    // A second call appends.
    log.onWrite = nullptr;
    writer.SendDaktronicsNowUp(1);
    QFile file(trace.path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), expected + frame("05261", spaces(70), "3A") + "\r\n");
}

TEST_F(DaktronicsTest, ATraceThatCannotBeWrittenStopsTheCallBeforeAnySend)
{
    TempDir dir;
    QFile blocker(dir.file(QStringLiteral("not-a-folder")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    trace.setPath(dir.file(QStringLiteral("not-a-folder/DebugIOOutput.txt")));
    trace.setEnabled(true);
    try {
        writer.SendDaktronicsEvent(1);
        FAIL() << "no error";
    } catch (const TraceError &error) {
        EXPECT_NE(std::string(error.what()).find("DebugIOOutput.txt"), std::string::npos) << error.what();
    }
    EXPECT_TRUE(log.written.isEmpty());
    EXPECT_TRUE(log.opened.isEmpty());
}
