// The display clockwork of the main window: the NCAA team blocks and "Clear
// Events". Which targets the record timer runs for and what the XML target's
// status shows are the main window's tests. Recording writers stand in for the
// targets to show which parts each one is handed; what a writer makes of a
// part is its own test's.
#include "generator/DisplayCycle.h"

#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

NCAATeamRecord team(int gym, const QString &name, const QString &event)
{
    NCAATeamRecord t;
    t.GymID = gym;
    t.ShortName = name;
    t.Panel = 1;
    t.RotationEvent = 1;
    t.EventName = event;
    t.EventScore = S(" 49.150");
    t.TeamScore = S("196.725");
    const char *scores[] = {" 9.500", " 9.600", " 9.700", " 9.800", "", ""};
    const char *totals[] = {"49.050", "49.150", "49.250", "49.350", "0.000", "0.000"};
    for (std::size_t i = 0; i < 6; ++i) {
        t.Lineup[i] = {name.left(3) + S(" Gymnast ") + QString::number(i + 1), S(scores[i])};
        t.EventTotals[i] = S(totals[i]);
    }
    t.LineupCount = 6;
    return t;
}

// A group of the block by hand: team 20, event 6, six lineup lines of name 40
// and score 6, event total 7, team total 7.
QByteArray groupBytes(const NCAATeamRecord &t)
{
    auto padded = [](const QString &text, int width) { return text.toLatin1().leftJustified(width, ' ', true); };
    QByteArray bytes = padded(t.ShortName, 20) + padded(t.EventName, 6);
    for (const auto &entry : t.Lineup)
        bytes += padded(entry.name, 40) + padded(entry.score, 6);
    return bytes + padded(t.EventScore, 7) + padded(t.TeamScore, 7);
}

class DisplayCycleTest : public OpenMainWindow {
protected:
    // The cycle over team tables the tests set by hand, not read afresh, and
    // without a graphics database for Clear to connect to.
    void SetUp() override
    {
        OpenMainWindow::SetUp();
        cycle().setTeamsRefresh({});
        cycle().setXpressionLink({});
    }
    DisplayCycle &cycle() { return rig.main().cycle(); }
    QByteArray at(int offset, int length) { return rig.record.bytes().mid(offset, length); }
    QString groupTeam(int group) { return rig.record.text(layout::ncaaTeam(group)).trimmed(); }
};

} // namespace

TEST_F(DisplayCycleTest, SingleTeamModeGoesRoundTheFilledRowsOneATick)
{
    cycle().setNCAACycleIndex(4);
    cycle().timer4Tick(); // no team at all: nothing written or sent, the cycle back at the start
    EXPECT_EQ(cycle().NCAACycleIndex(), 1);
    EXPECT_EQ(rig.record.bytes(), QByteArray(DisplayRecord::size(), ' '));
    EXPECT_TRUE(rig.newFrames().isEmpty());

    const struct {
        QList<int> filled;
        QStringList shown; // group 1's team after each tick
    } cases[] = {
        {{1, 2, 3}, {"T1", "T2", "T3", "T1"}},
        {{2, 5}, {"T2", "T5", "T2", "T5"}},
        {{6}, {"T6", "T6", "T6", "T6"}},
    };
    for (const auto &c : cases) {
        cycle().teams().clear();
        for (int r : c.filled)
            cycle().teams().row(r) = team(r, S("T%1").arg(r), S("VAULT"));
        cycle().startRun();
        QStringList shown;
        for (int t = 0; t < 4; ++t) {
            cycle().timer4Tick();
            shown << groupTeam(1);
            EXPECT_EQ(groupTeam(2), QString()) << "only group 1 in single mode";
        }
        EXPECT_EQ(shown, c.shown);
        EXPECT_EQ(rig.newFrames(28).size(), 28) << "the seven NCAA frames each tick";
    }
}

TEST_F(DisplayCycleTest, AllTeamsModeKeepsEachRowInItsOwnGroupWithGaps)
{
    rig.main().workingSettings().UseSingleNCAA = false;
    const NCAATeamRecord first = team(11, S("Riverside"), S("VAULT"));
    const NCAATeamRecord third = team(13, S("O'Neil Acro"), S("BYE"));
    cycle().teams().row(1) = first;
    cycle().teams().row(3) = third;
    rig.record.pack(layout::ncaaTeam(2), S("stale")); // cleared first
    rig.record.pack(Field{1899 + 316, 46}, S("never written"));

    cycle().timer4Tick();

    EXPECT_EQ(at(1899, 316), groupBytes(first));
    EXPECT_EQ(at(1899 + 316, 46), QByteArray(46, ' '));
    EXPECT_EQ(at(3465, 316), QByteArray(316, ' ')) << "row 2 empty: group 2 left blank";
    EXPECT_EQ(at(3781, 316), groupBytes(third)) << "row 3 keeps group 3";
    EXPECT_EQ(at(4097, 3 * 316), QByteArray(3 * 316, ' '));
    // Event scores: 36 bytes a group, 6 an event.
    EXPECT_EQ(at(5045, 36), QByteArray("49.05049.15049.25049.3500.000 0.000 "));
    EXPECT_EQ(at(5045 + 36, 36), QByteArray(36, ' '));
    EXPECT_EQ(at(5045 + 72, 36), QByteArray("49.05049.15049.25049.3500.000 0.000 "));
    EXPECT_EQ(at(1899 + 26, 46), QByteArray("Riv Gymnast 1").leftJustified(40) + " 9.500");
    EXPECT_EQ(at(1899 + 26 + 5 * 46, 46), QByteArray("Riv Gymnast 6").leftJustified(46)) << "unscored: blank score";
    EXPECT_EQ(at(1899 + 302, 14), QByteArray(" 49.150196.725"));
    // Nothing outside the three NCAA regions.
    QByteArray rest = rig.record.bytes();
    rest.replace(1899, 362, QByteArray(362, ' '));
    rest.replace(3465, 1796, QByteArray(1796, ' '));
    EXPECT_EQ(rest, QByteArray(DisplayRecord::size(), ' '));

    // The setting is read on every tick.
    rig.main().workingSettings().UseSingleNCAA = true;
    cycle().startRun();
    cycle().timer4Tick();
    EXPECT_EQ(groupTeam(1), S("Riverside"));
    EXPECT_EQ(groupTeam(3), QString());
}

TEST_F(DisplayCycleTest, NcaaGoesOnlyToBoardsAndAFailureIsToldWithTheBlankingWords)
{
    cycle().teams().row(1) = team(1, S("Riverside"), S("VAULT"));
    for (const auto &[target, kind] : {std::pair{OutputTarget::Barco, TargetKind::Record},
                                       {OutputTarget::XML, TargetKind::Record}, {OutputTarget::Xpression, TargetKind::Line}}) {
        RecordingWriter &w = rig.recordTo(target, kind);
        cycle().timer4Tick();
        EXPECT_TRUE(w.calls.isEmpty()) << int(target);
        EXPECT_EQ(groupTeam(1), S("Riverside")) << "the block is written whatever the target";
    }
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::Daktronics));
    rig.transport.setPortName(QString()); // every send fails
    cycle().timer4Tick();
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig.prompt.messages[0].caption, S("Device Communication Error"));
    EXPECT_EQ(rig.prompt.messages[0].text, S("Error blanking event score\r\rThe COM port to use has not been defined"));
}

TEST_F(DisplayCycleTest, ClearSendsEveryPartTheTargetTakesAndRestoresTheTitles)
{
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1, 2, 4}));
    const QStringList board = {"event 1/1", "event 2/1", "event 3/1", "nowup 1/1", "nowup 2/1", "nowup 3/1",
                               "leader 1",  "leader 2",  "leader 3",  "ncaa",      "matrix"};
    const struct {
        OutputTarget target;
        TargetKind kind;
        QStringList calls;
        QString status;
    } cases[] = {
        {OutputTarget::WhiteWay, TargetKind::Line, board, "-"},
        {OutputTarget::Xpression, TargetKind::Line, board.mid(0, 7), "-"},
        {OutputTarget::Barco, TargetKind::Record, {"record"}, "-"},
        {OutputTarget::XML, TargetKind::Record, {"record"}, "Success"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.target));
        RecordingWriter &w = rig.recordTo(c.target, c.kind);
        rig(S("lblStatus")).setText(S("-"));
        rig.record.pack(layout::matrixTeam(8), S("Summit"));
        cycle().btnClearClick();
        EXPECT_EQ(w.calls, c.calls);
        EXPECT_EQ(rig(S("lblStatus")).text(), c.status);
        QByteArray expected(DisplayRecord::size(), ' ');
        for (const auto &[slot, title] : {std::pair{1, "VAULT"}, {2, "BARS"}, {3, "FLOOR"}}) {
            expected.replace(81 * (slot - 1), int(qstrlen(title)), title);
            expected.replace(5191 + 70 * slot, int(qstrlen(title)), title);
        }
        EXPECT_EQ(rig.record.bytes(), expected);
    }

    ASSERT_TRUE(rig.main().start());
    EXPECT_FALSE(rig(S("btnClear")).isEnabled()) << "while stopped only";
    rig.main().stop();

    // In dual display side 2's lines follow side 1's.
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().selection().setDual(true));
    ASSERT_TRUE(rig.main().selection().selectEventGroup(2, 2));
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1, 4}));
    ASSERT_TRUE(rig.main().selection().setTickedEvents(2, {2, 5}));
    RecordingWriter &w = rig.recordTo(OutputTarget::WhiteWay, TargetKind::Line);
    cycle().btnClearClick();
    EXPECT_EQ(w.calls.mid(0, 8), (QStringList{"event 1/1", "event 2/1", "event 3/2", "event 4/2", "nowup 1/1",
                                               "nowup 2/1", "nowup 3/2", "nowup 4/2"}));
    EXPECT_EQ(rig.record.text(layout::eventTitle(4)), S("PBARS "));
}

TEST_F(DisplayCycleTest, ClearLeavesTheGeneratorAloneAndOnlyTheLineRoutinesTellFailures)
{
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1}));
    EventSlot &slot = rig.main().eventSlots()[0][0];
    slot.HoldUntil = 1234;
    slot.WaitUntil = 5678;
    rig(S("EditNum11")).setText(S("101"));
    rig.transport.setPortName(QString()); // every send fails
    cycle().btnClearClick();
    EXPECT_EQ(slot.HoldUntil, 1234);
    EXPECT_EQ(slot.WaitUntil, 5678);
    EXPECT_EQ(rig(S("EditNum11")).text(), S("101"));
    ASSERT_EQ(rig.prompt.messages.size(), 2u) << "the blank, then the now-up";
    EXPECT_TRUE(rig.prompt.messages[0].text.startsWith(S("Error blanking event score")));
    EXPECT_TRUE(rig.prompt.messages[1].text.startsWith(S("Error sending event score")));
}
