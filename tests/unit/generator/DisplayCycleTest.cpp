// The display clockwork: the record targets' timer, the NCAA team blocks and
// "Clear Events", on the generator fixture with recording targets.
#include "generator/DisplayCycle.h"

#include "generator/ScorePoll.h"
#include "outputs/DisplayRecord.h"
#include "support/GeneratorFixture.h"

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
    t.EventScore = QStringLiteral(" 49.150");
    t.TeamScore = QStringLiteral("196.725");
    const char *scores[] = {" 9.500", " 9.600", " 9.700", " 9.800", "", ""};
    const char *totals[] = {"49.050", "49.150", "49.250", "49.350", "0.000", "0.000"};
    for (std::size_t i = 0; i < 6; ++i) {
        t.Lineup[i] = {name.left(3) + QStringLiteral(" Gymnast ") + QString::number(i + 1),
                       QLatin1String(scores[i])};
        t.EventTotals[i] = QLatin1String(totals[i]);
    }
    t.LineupCount = 6;
    return t;
}

// A group of the block as hand-laid bytes: team 20, event 6, six lineup lines
// of name 40 and score 6, event total 7, team total 7.
QByteArray groupBytes(const NCAATeamRecord &t)
{
    auto padded = [](const QString &text, int width) { return text.toLatin1().leftJustified(width, ' ', true); };
    QByteArray bytes = padded(t.ShortName, 20) + padded(t.EventName, 6);
    for (const auto &entry : t.Lineup)
        bytes += padded(entry.name, 40) + padded(entry.score, 6);
    return bytes + padded(t.EventScore, 7) + padded(t.TeamScore, 7);
}

class DisplayCycleTest : public testing::Test {
protected:
    void SetUp() override { f.addSmallMeet(); }

    QByteArray at(int offset, int length) { return f.record().bytes().mid(offset, length); }
    QString groupTeam(int group) { return f.record().text(layout::ncaaTeam(group)).trimmed(); }

    GeneratorFixture f;
    DisplayCycle cycle{f};
};

} // namespace

TEST_F(DisplayCycleTest, TimerTwoHandsTheWholeBlockToRecordTargetsOnly)
{
    const struct {
        const char *target;
        TargetKind kind;
        DeviceError result;
        QStringList calls;
        QString status; // lblStatus afterwards, starting from "-"
    } cases[] = {
        {"rdoBarco", TargetKind::Record, DeviceErrors::Success, {"record"}, "-"},
        {"rdoBarco", TargetKind::Record, DeviceErrors::PortOpenFailed, {"record"}, "-"},
        {"rdoFile", TargetKind::Record, DeviceErrors::SendFailed, {"record"}, "-"},
        {"rdoXML", TargetKind::Record, DeviceErrors::Success, {"record"}, "Success"},
        {"rdoXML", TargetKind::Record, DeviceErrors::SendFailed, {"record"}, "FAILED"},
        {"rdoDaktronics", TargetKind::Line, DeviceErrors::Success, {}, "-"},
        {"rdoWhiteWay", TargetKind::Line, DeviceErrors::Success, {}, "-"},
        {"rdoXpression", TargetKind::Line, DeviceErrors::Success, {}, "-"},
    };
    for (const auto &c : cases) {
        RecordingWriter &w = f.recordTo(QLatin1String(c.target), c.kind);
        w.result = c.result;
        f.controls()(QStringLiteral("lblStatus")).setText(QStringLiteral("-"));
        cycle.timer2Tick();
        EXPECT_EQ(w.calls, c.calls) << c.target << " " << c.result;
        EXPECT_EQ(f.controls()(QStringLiteral("lblStatus")).text(), c.status) << c.target << " " << c.result;
    }
    EXPECT_TRUE(f.recorder.messages.empty()) << "no box from Timer2";

    f.checkTarget(QString());
    cycle.timer2Tick(); // no target checked: nothing to do
}

TEST_F(DisplayCycleTest, SingleTeamCycleGoesRoundTheFilledRows)
{
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    const struct {
        const char *what;
        QList<int> filled;
        QStringList shown; // group 1's team after each of seven ticks
    } cases[] = {
        {"rows 1 to 3", {1, 2, 3}, {"T1", "T2", "T3", "T1", "T2", "T3", "T1"}},
        {"rows 2 and 5", {2, 5}, {"T2", "T5", "T2", "T5", "T2", "T5", "T2"}},
        {"row 6 alone", {6}, {"T6", "T6", "T6", "T6", "T6", "T6", "T6"}},
        {"all six", {1, 2, 3, 4, 5, 6}, {"T1", "T2", "T3", "T4", "T5", "T6", "T1"}},
    };
    for (const auto &c : cases) {
        cycle.teams().clear();
        for (int r : c.filled)
            cycle.teams().row(r) = team(r, QStringLiteral("T%1").arg(r), QStringLiteral("VAULT"));
        cycle.startRun();
        w.calls.clear();
        QStringList shown;
        for (int t = 0; t < 7; ++t) {
            cycle.timer4Tick();
            shown << groupTeam(1);
            for (int g = 2; g <= 6; ++g)
                EXPECT_EQ(groupTeam(g), QString()) << c.what << ": only group 1 in single mode";
        }
        EXPECT_EQ(shown, c.shown) << c.what;
        EXPECT_EQ(w.calls, QStringList(7, QStringLiteral("ncaa"))) << c.what;
    }
}

TEST_F(DisplayCycleTest, NoTeamsSendsNothingAndTheCycleStaysAtOne)
{
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    cycle.setNCAACycleIndex(4);
    for (int t = 0; t < 3; ++t) {
        cycle.timer4Tick();
        EXPECT_EQ(cycle.NCAACycleIndex(), 1);
    }
    EXPECT_TRUE(w.calls.isEmpty());
    EXPECT_EQ(f.record().bytes(), QByteArray(DisplayRecord::size(), ' '));
}

TEST_F(DisplayCycleTest, AllTeamsModeKeepsEachRowInItsOwnGroupWithGaps)
{
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoWhiteWay"), TargetKind::Line);
    f.options.UseSingleNCAA = false;
    const NCAATeamRecord first = team(11, QStringLiteral("Riverside"), QStringLiteral("VAULT"));
    const NCAATeamRecord third = team(13, QStringLiteral("O'Neil Acro"), QStringLiteral("BYE"));
    cycle.teams().row(1) = first;
    cycle.teams().row(3) = third;
    // Stale text from an earlier update is cleared first.
    f.record().pack(layout::ncaaTeam(2), QStringLiteral("stale"));
    f.record().pack(Field{1899 + 316, 46}, QStringLiteral("never written"));

    cycle.timer4Tick();

    EXPECT_EQ(w.calls, QStringList{"ncaa"});
    EXPECT_EQ(at(1899, 316), groupBytes(first));
    EXPECT_EQ(at(1899 + 316, 46), QByteArray(46, ' '));
    EXPECT_EQ(at(3465, 316), QByteArray(316, ' ')) << "row 2 empty: group 2 left blank";
    EXPECT_EQ(at(3781, 316), groupBytes(third)) << "row 3 keeps group 3";
    EXPECT_EQ(at(4097, 3 * 316), QByteArray(3 * 316, ' '));
    // Event scores: 36 bytes a group, 6 an event.
    EXPECT_EQ(at(5045, 36), QByteArray("49.05049.15049.25049.3500.000 0.000 "));
    EXPECT_EQ(at(5045 + 36, 36), QByteArray(36, ' '));
    EXPECT_EQ(at(5045 + 72, 36), QByteArray("49.05049.15049.25049.3500.000 0.000 "));
    EXPECT_EQ(at(5045 + 108, 108), QByteArray(108, ' '));
    // The first lineup line of group 1, by hand.
    EXPECT_EQ(at(1899 + 26, 46), QByteArray("Riv Gymnast 1").leftJustified(40) + " 9.500");
    EXPECT_EQ(at(1899 + 26 + 5 * 46, 46), QByteArray("Riv Gymnast 6").leftJustified(46)) << "unscored: blank score";
    EXPECT_EQ(at(1899 + 302, 14), QByteArray(" 49.150196.725"));
    // Nothing outside the three NCAA regions.
    QByteArray rest = f.record().bytes();
    rest.replace(1899, 362, QByteArray(362, ' '));
    rest.replace(3465, 1580, QByteArray(1580, ' '));
    rest.replace(5045, 216, QByteArray(216, ' '));
    EXPECT_EQ(rest, QByteArray(DisplayRecord::size(), ' '));
}

TEST_F(DisplayCycleTest, TheRefreshRunsFirstAndTheSettingIsReadEachTick)
{
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    int refreshes = 0;
    cycle.setTeamsRefresh([&](NCAATeams &teams) {
        ++refreshes;
        teams.row(1) = team(1, QStringLiteral("Fresh %1").arg(refreshes), QStringLiteral("BEAM"));
        teams.row(2) = team(2, QStringLiteral("Second"), QStringLiteral("BARS"));
    });
    cycle.timer4Tick();
    EXPECT_EQ(groupTeam(1), QStringLiteral("Fresh 1"));
    EXPECT_EQ(groupTeam(2), QString());
    f.options.UseSingleNCAA = false;
    cycle.timer4Tick();
    EXPECT_EQ(groupTeam(1), QStringLiteral("Fresh 2"));
    EXPECT_EQ(groupTeam(2), QStringLiteral("Second"));
    f.options.UseSingleNCAA = true;
    cycle.timer4Tick(); // the cycle went on from row 2
    EXPECT_EQ(groupTeam(1), QStringLiteral("Second"));
    EXPECT_EQ(groupTeam(2), QString());
    EXPECT_EQ(refreshes, 3);
    EXPECT_EQ(w.calls.size(), 3);
}

TEST_F(DisplayCycleTest, NcaaGoesOnlyToBoardsAndAFailureIsToldWithTheBlankingWords)
{
    cycle.teams().row(1) = team(1, QStringLiteral("Riverside"), QStringLiteral("VAULT"));
    for (const auto &[target, kind] : {std::pair{"rdoBarco", TargetKind::Record}, {"rdoXML", TargetKind::Record},
                                       {"rdoXpression", TargetKind::Line}}) {
        RecordingWriter &w = f.recordTo(QLatin1String(target), kind);
        cycle.timer4Tick();
        EXPECT_TRUE(w.calls.isEmpty()) << target;
        EXPECT_EQ(groupTeam(1), QStringLiteral("Riverside")) << "the block is written whatever the target";
    }
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    w.result = DeviceErrors::SendFailed;
    cycle.timer4Tick();
    cycle.SendNCAAAll();
    ASSERT_EQ(f.recorder.messages.size(), 2u);
    EXPECT_EQ(f.recorder.messages[0].caption, QStringLiteral("Device Communication Error"));
    EXPECT_TRUE(f.recorder.messages[0].text.startsWith(QStringLiteral("Error blanking event score")));
}

TEST_F(DisplayCycleTest, ClearSendsEveryPartInOrderAndRestoresTheTitles)
{
    f.tickOnly(1, {1, 2, 4});
    const QStringList board = {"event 1/1", "event 2/1", "event 3/1", "nowup 1/1", "nowup 2/1", "nowup 3/1",
                               "leader 1",  "leader 2",  "leader 3",  "ncaa",      "matrix"};
    const struct {
        const char *target;
        TargetKind kind;
        QStringList calls;
        QString status;
    } cases[] = {
        {"rdoDaktronics", TargetKind::Line, board, "-"},
        {"rdoWhiteWay", TargetKind::Line, board, "-"},
        {"rdoXpression", TargetKind::Line, board.mid(0, 7), "-"},
        {"rdoBarco", TargetKind::Record, {"record"}, "-"},
        {"rdoFile", TargetKind::Record, {"record"}, "-"},
        {"rdoXML", TargetKind::Record, {"record"}, "Success"},
    };
    for (const auto &c : cases) {
        RecordingWriter &w = f.recordTo(QLatin1String(c.target), c.kind);
        f.controls()(QStringLiteral("lblStatus")).setText(QStringLiteral("-"));
        f.record().pack(layout::leaderTitle1(2), QStringLiteral("All-Around"));
        f.record().pack(layout::matrixTeam(8), QStringLiteral("Summit"));
        cycle.btnClearClick();
        EXPECT_EQ(w.calls, c.calls) << c.target;
        EXPECT_EQ(f.controls()(QStringLiteral("lblStatus")).text(), c.status) << c.target;
        // Titles of the ticked events come back, in event lines and now-up lines.
        QByteArray expected(DisplayRecord::size(), ' ');
        for (const auto &[slot, title] : {std::pair{1, "VAULT"}, {2, "BARS"}, {3, "FLOOR"}}) {
            expected.replace(81 * (slot - 1), int(qstrlen(title)), title);
            expected.replace(5191 + 70 * slot, int(qstrlen(title)), title);
        }
        EXPECT_EQ(f.record().bytes(), expected) << c.target;
    }
    EXPECT_TRUE(f.recorder.messages.empty());
}

TEST_F(DisplayCycleTest, ClearInDualModeBlanksSideTwoAfterSideOne)
{
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    f.controls()(QStringLiteral("chkDual")).setChecked(true);
    f.selectEventGroup(2, 2);
    f.tickOnly(1, {1, 4});
    f.tickOnly(2, {2, 5});
    cycle.btnClearClick();
    EXPECT_EQ(w.calls.mid(0, 8), (QStringList{"event 1/1", "event 2/1", "event 3/2", "event 4/2", "nowup 1/1",
                                               "nowup 2/1", "nowup 3/2", "nowup 4/2"}));
    EXPECT_EQ(f.record().text(layout::eventTitle(4)), QStringLiteral("PBARS "));
}

TEST_F(DisplayCycleTest, ClearLeavesTheGeneratorAlone)
{
    f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    f.setSessions(1, {"1"});
    const int row = f.addScore(1, 1, "1", 101);
    ScorePoll poll(f);
    poll.tick(1);
    const EventSlot before = f.slotTable[0][0];
    const QStringList status = f.statusRow(1, 1);

    cycle.btnClearClick();

    EXPECT_EQ(f.slotTable[0][0].HoldUntil, before.HoldUntil);
    EXPECT_EQ(f.slotTable[0][0].WaitUntil, before.WaitUntil);
    EXPECT_EQ(f.slotTable[0][0].Num, 101);
    EXPECT_EQ(f.statusRow(1, 1), status);
    EXPECT_EQ(f.markedRows(), QList<int>{row});
    EXPECT_EQ(f.record().text(layout::eventNum(1)), QStringLiteral("    "));
}

TEST_F(DisplayCycleTest, ClearFailuresAreToldByTheLineRoutinesOnly)
{
    f.tickOnly(1, {1});
    RecordingWriter &w = f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    w.result = DeviceErrors::PortOpenFailed;
    cycle.btnClearClick();
    EXPECT_EQ(w.calls.size(), 7);
    ASSERT_EQ(f.recorder.messages.size(), 2u) << "the blank, then the now-up";
    EXPECT_TRUE(f.recorder.messages[0].text.startsWith(QStringLiteral("Error blanking event score")));
    EXPECT_TRUE(f.recorder.messages[1].text.startsWith(QStringLiteral("Error sending event score")));
}

TEST_F(DisplayCycleTest, ClearOpensTheXpressionConnectionForItselfOnly)
{
    f.recordTo(QStringLiteral("rdoXpression"), TargetKind::Line);
    bool connected = false;
    QStringList steps;
    cycle.setXpressionLink({[&] { return connected; },
                            [&] {
                                steps << "connect";
                                connected = true;
                                return true;
                            },
                            [&] {
                                steps << "disconnect";
                                connected = false;
                            }});
    cycle.btnClearClick();
    EXPECT_EQ(steps, (QStringList{"connect", "disconnect"}));
    EXPECT_FALSE(connected);

    steps.clear();
    connected = true; // a run's connection stays as it is
    cycle.btnClearClick();
    EXPECT_TRUE(steps.isEmpty());
    EXPECT_TRUE(connected);

    f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    connected = false;
    cycle.btnClearClick();
    EXPECT_TRUE(steps.isEmpty()) << "other targets need no connection";
}
