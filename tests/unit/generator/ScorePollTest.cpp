// The score poll on a real SQLite meet database, with a clock moved by hand:
// which row a tick takes, what it marks, what it shows, and when the line is
// held, left up and blanked.
#include "generator/ScorePoll.h"

#include "meetdb/StoreError.h"
#include "outputs/DisplayRecord.h"
#include "support/GeneratorFixture.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

constexpr std::int64_t kStart = 100000; // the fixture clock's first reading

QByteArray blankLine(const char *title)
{
    QByteArray line(81, ' ');
    line.replace(0, int(qstrlen(title)), title);
    return line;
}

// The event line of a routine from GeneratorFixture::addScore.
QByteArray scoredLine(const char *title, int num, const char *score, const char *escore)
{
    QByteArray line = blankLine(title);
    const QByteArray n = QByteArray::number(num);
    line.replace(6, n.size(), n);
    const QByteArray name = "F" + n + " L" + n;
    line.replace(10, name.size(), name);
    line.replace(50, 6, score);
    line.replace(56, 5, "5.20 ");
    line.replace(61, 6, escore);
    line.replace(67, 4, "0.1 ");
    return line;
}

class ScorePollTest : public testing::Test {
protected:
    void SetUp() override
    {
        f.addSmallMeet();
        f.setSessions(1, {"1"});
        writer = &f.recordTo(QStringLiteral("rdoDaktronics"), TargetKind::Line);
    }

    EventSlot &slot(int event, int side = 1) { return f.slotTable[event - 1][side - 1]; }
    QByteArray line(int displaySlot) { return f.record().read(layout::eventLine(displaySlot)); }
    void tickAt(std::int64_t ms, int side = 1)
    {
        f.clock.set(std::uint64_t(ms));
        poll.tick(side);
    }
    // The calls of the last tick only.
    QStringList drain()
    {
        QStringList calls = writer->calls;
        writer->calls.clear();
        return calls;
    }

    GeneratorFixture f;
    ScorePoll poll{f};
    RecordingWriter *writer = nullptr;
};

} // namespace

TEST(ScoreQueueSqlTest, SessionLinesFollowTheBoxes)
{
    const QStringList head = {
        "select ScoreQueue.*, g2.\"Short Name\" from ScoreQueue s, Gymnasts g1, Gyms g2",
        "where s.MeetID = 7", "and s.EventID = 12", "and s.Event = 3", "and g1.meetid = s.meetid",
        "and g1.num = s.num", "and g1.gym = g2.gymid"};
    const QStringList tail = {"and s.DataID not in (select DataId from QueueDone where AppID = 4)",
                              "order by s.DT"};
    const struct {
        const char *what;
        SessionBoxes boxes;
        QStringList filter;
    } cases[] = {
        {"no box", {}, {}},
        {"primary only", {"1"}, {"and (s.Session = '1'", ")"}},
        {"two boxes", {"1", "2"}, {"and (s.Session = '1'", "or s.Session = '2'", ")"}},
        {"three boxes", {"1", "2", "3"}, {"and (s.Session = '1'", "or s.Session = '2'", "or s.Session = '3'", ")"}},
        {"four boxes", {"1", "2", "3", "4A"},
         {"and (s.Session = '1'", "or s.Session = '2'", "or s.Session = '3'", "or s.Session = '4A'", ")"}},
        {"an empty box between", {"1", "", "3"}, {"and (s.Session = '1'", "or s.Session = '3'", ")"}},
        {"quotes doubled", {"O'B", "''"}, {"and (s.Session = 'O''B'", "or s.Session = ''''''", ")"}},
        {"extra boxes without the primary", {"", "2", "3", "4"}, {}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ScoreQueueSql(7, 12, 3, c.boxes), head + c.filter + tail) << c.what;
}

TEST_F(ScorePollTest, TakesTheOldestRowMarksItAndShowsItInTheSameTick)
{
    const int first = f.addScore(1, 1, "1", 101, 9.5);
    const int second = f.addScore(1, 1, "1", 102, 9.25);
    const int bars = f.addScore(1, 2, "1", 102, 9.0); // another apparatus, its own slot

    tickAt(kStart);

    EXPECT_EQ(f.markedRows(), (QList<int>{first, bars}));
    EXPECT_FALSE(f.isMarked(second));
    EXPECT_EQ(slot(1).HoldUntil, kStart + 60000);
    EXPECT_EQ(slot(1).WaitUntil, kStart + 180000);
    EXPECT_EQ(slot(1).Num, 101);
    EXPECT_EQ(slot(1).ShortName, QStringLiteral("Riverside"));
    EXPECT_EQ(slot(1).Session, QStringLiteral("1"));
    EXPECT_EQ(slot(1).Judge2, double(9.6f));
    EXPECT_EQ(slot(1).DBonus, -99);
    EXPECT_EQ(f.statusRow(1, 1), (QStringList{"101", "9.500", "1"}));
    EXPECT_EQ(f.statusRow(2, 1), (QStringList{"102", "9.000", "0"}));
    // Idle events 3 and 4 get their blank line with the title.
    EXPECT_EQ(drain(), (QStringList{"event 1/1", "event 2/1", "event 3/1", "event 4/1"}));
    EXPECT_EQ(line(1), scoredLine("VAULT", 101, " 9.500", "4.400 "));
    EXPECT_EQ(line(3), blankLine("BEAM"));
    EXPECT_EQ(f.record().read(layout::eventGym(1)), QByteArray("Riverside           "));
    EXPECT_TRUE(f.recorder.messages.empty());
}

TEST_F(ScorePollTest, ASlotLivesThroughHoldingLingeringAndIdle)
{
    f.tickOnly(1, {1});
    f.addScore(1, 1, "1", 101);
    const struct {
        std::int64_t at;
        std::int64_t hold, wait;
        QStringList sent;
        QStringList status;
        const char *state;
    } steps[] = {
        {kStart, kStart + 60000, kStart + 180000, {"event 1/1"}, {"101", "9.500", "0"}, "New, then Holding"},
        {kStart + 59999, kStart + 60000, kStart + 180000, {}, {"101", "9.500", "0"}, "still Holding"},
        {kStart + 60000, 0, kStart + 180000, {}, {"101", "9.500", "0"}, "Lingering"},
        {kStart + 179999, 0, kStart + 180000, {}, {"101", "9.500", "0"}, "still Lingering"},
        {kStart + 180000, 0, 0, {"event 1/1"}, {"101", "9.500", "0"}, "blanked: Idle"},
        {kStart + 184000, 0, 0, {"event 1/1"}, {"", "", ""}, "Idle: blanked again, status cleared"},
    };
    for (const auto &s : steps) {
        tickAt(s.at);
        EXPECT_EQ(slot(1).HoldUntil, s.hold) << s.state;
        EXPECT_EQ(slot(1).WaitUntil, s.wait) << s.state;
        EXPECT_EQ(drain(), s.sent) << s.state;
        EXPECT_EQ(f.statusRow(1, 1), s.status) << s.state;
    }
    EXPECT_EQ(line(1), blankLine("VAULT"));
}

TEST_F(ScorePollTest, AWaitingRowReplacesTheScoreOnTheTickAfterTheHold)
{
    f.tickOnly(1, {1});
    const int a = f.addScore(1, 1, "1", 101, 9.5);
    tickAt(kStart);
    const int b = f.addScore(1, 1, "1", 102, 9.25);
    tickAt(kStart + 56000); // held: does not even ask
    EXPECT_FALSE(f.isMarked(b));
    tickAt(kStart + 60000); // the hold ends in the second pass
    EXPECT_FALSE(f.isMarked(b));
    EXPECT_EQ(slot(1).HoldUntil, 0);
    tickAt(kStart + 64000);
    EXPECT_EQ(f.markedRows(), (QList<int>{a, b}));
    EXPECT_EQ(slot(1).Num, 102);
    EXPECT_EQ(slot(1).HoldUntil, kStart + 64000 + 60000);
    EXPECT_EQ(slot(1).WaitUntil, kStart + 64000 + 180000);
    EXPECT_EQ(line(1), scoredLine("VAULT", 102, " 9.250", "4.150 "));
}

TEST_F(ScorePollTest, IntervalZeroTakesARowOnEveryTick)
{
    f.options.Interval = 0;
    f.tickOnly(1, {1});
    const QList<int> rows = {f.addScore(1, 1, "1", 101), f.addScore(1, 1, "1", 102), f.addScore(1, 1, "1", 101, 8.0)};
    for (int t = 0; t < 3; ++t) {
        tickAt(kStart + 4000 * t);
        EXPECT_EQ(f.markedRows(), rows.mid(0, t + 1)) << "tick " << t;
        EXPECT_EQ(slot(1).HoldUntil, 0) << "the hold is over in the tick that sent it";
        EXPECT_EQ(f.statusRow(1, 1).value(2), QString::number(2 - t));
    }
    EXPECT_EQ(drain(), (QStringList{"event 1/1", "event 1/1", "event 1/1"}));
}

TEST_F(ScorePollTest, IntervalAboveIntervalMaxHoldsForIntervalAndBlanksOnTheNextTick)
{
    f.options.Interval = 20;
    f.options.IntervalMax = 8;
    f.tickOnly(1, {1});
    f.addScore(1, 1, "1", 101);
    tickAt(kStart);
    drain();
    tickAt(kStart + 8000); // past WaitUntil, but still held
    EXPECT_EQ(drain(), QStringList{});
    EXPECT_EQ(line(1), scoredLine("VAULT", 101, " 9.500", "4.400 "));
    tickAt(kStart + 20000); // the hold ends
    EXPECT_EQ(drain(), QStringList{});
    tickAt(kStart + 24000); // nothing newer: blanked
    EXPECT_EQ(drain(), QStringList{"event 1/1"});
    EXPECT_EQ(line(1), blankLine("VAULT"));
    EXPECT_EQ(slot(1).WaitUntil, 0);
}

TEST_F(ScorePollTest, UntickedEventLeavesRowsUnmarkedThenServesTheBacklogOldestFirst)
{
    f.tickOnly(1, {2, 3, 4});
    const QList<int> backlog = {f.addScore(1, 1, "1", 102, 9.1), f.addScore(1, 1, "1", 101, 9.2),
                                f.addScore(1, 1, "1", 102, 9.3)};
    tickAt(kStart);
    tickAt(kStart + 4000);
    EXPECT_TRUE(f.markedRows().isEmpty());
    EXPECT_EQ(f.statusRow(1, 1), (QStringList{"", "", ""}));

    f.tickOnly(1, {1, 2, 3, 4});
    QList<int> shown;
    for (std::int64_t t = kStart + 8000; t < kStart + 150000; t += 4000) {
        const int before = int(f.markedRows().size());
        tickAt(t);
        if (f.markedRows().size() > before)
            shown << slot(1).Num;
    }
    EXPECT_EQ(f.markedRows(), backlog);
    EXPECT_EQ(shown, (QList<int>{102, 101, 102}));
    // One row per hold: taken at +8 s, +72 s and +136 s.
    EXPECT_EQ(slot(1).HoldUntil, kStart + 136000 + 60000);
}

TEST_F(ScorePollTest, APausedEventTakesNothingButItsScoreStillExpires)
{
    f.tickOnly(1, {1});
    f.addScore(1, 1, "1", 101);
    tickAt(kStart);
    f.setPaused(1, 1, true);
    const int waiting = f.addScore(1, 1, "1", 102);
    tickAt(kStart + 60000);
    tickAt(kStart + 64000);
    EXPECT_FALSE(f.isMarked(waiting));
    EXPECT_EQ(f.statusRow(1, 1), (QStringList{"101", "9.500", "0"})) << "kept while the score is up";
    drain();
    tickAt(kStart + 180000);
    EXPECT_EQ(drain(), QStringList{"event 1/1"});
    EXPECT_EQ(line(1), blankLine("VAULT"));
    tickAt(kStart + 184000);
    EXPECT_EQ(f.statusRow(1, 1), (QStringList{"", "", ""}));
    EXPECT_FALSE(f.isMarked(waiting));

    f.setPaused(1, 1, false);
    tickAt(kStart + 188000);
    EXPECT_TRUE(f.isMarked(waiting));
    EXPECT_EQ(slot(1).Num, 102);
}

TEST_F(ScorePollTest, RowsOutsideTheFilterOrWithoutAGymAreNeverTaken)
{
    f.tickOnly(1, {1});
    const int otherSession = f.addScore(1, 1, "2", 103);
    f.addScore(1, 1, "1", 105); // no gym
    f.addScore(1, 1, "1", 999); // no such gymnast
    f.addScore(2, 1, "1", 201); // another event group
    for (int t = 0; t < 3; ++t)
        tickAt(kStart + 4000 * t);
    EXPECT_TRUE(f.markedRows().isEmpty());
    EXPECT_EQ(line(1), blankLine("VAULT"));

    // All boxes empty: every session is taken, still without the unjoinable rows.
    f.setSessions(1, {});
    tickAt(kStart + 12000);
    EXPECT_EQ(f.markedRows(), QList<int>{otherSession});
}

TEST_F(ScorePollTest, ARestartDoesNotRepeatMarkedRows)
{
    f.tickOnly(1, {1});
    const int shownBefore = f.addScore(1, 1, "1", 101);
    const int missed = f.addScore(1, 1, "1", 102);
    tickAt(kStart);

    // A new program on the same database: slots zeroed, nothing in memory.
    auto store = MeetStore::forAddress(f.store().storeAddress());
    store->connect();
    store->openDatabase();
    GeneratorFixture again(std::move(store));
    again.openTables();
    again.setSessions(1, {"1"});
    again.tickOnly(1, {1});
    ScorePoll restarted(again);
    again.clock.set(5000);
    restarted.tick(1);
    EXPECT_EQ(again.slotTable[0][0].Num, 102);
    EXPECT_EQ(again.markedRows(), (QList<int>{shownBefore, missed}));
    again.clock.set(5000 + 64000);
    restarted.tick(1);
    EXPECT_EQ(again.markedRows(), (QList<int>{shownBefore, missed}));
    EXPECT_EQ(again.statusRow(1, 1), (QStringList{"102", "9.500", "0"}));
}

TEST_F(ScorePollTest, SideTwoIsTheTwinOfSideOneOnItsOwnGroupAndSessions)
{
    f.controls()(QStringLiteral("chkDual")).setChecked(true);
    f.selectEventGroup(2, 2);
    f.setSessions(2, {"2"});
    f.tickOnly(1, {1, 2});
    f.tickOnly(2, {3, 6});
    const int sideOne = f.addScore(1, 1, "1", 101);
    const int men = f.addScore(2, 3, "2", 202, 13.4);
    const int menSession1 = f.addScore(2, 3, "1", 201);

    tickAt(kStart, 2);
    EXPECT_EQ(f.markedRows(), QList<int>{men});
    EXPECT_EQ(f.slotTable[2][1].Num, 202);
    EXPECT_EQ(f.slotTable[2][1].ShortName, QStringLiteral("O'Neil Acro"));
    EXPECT_EQ(f.slotTable[2][1].HoldUntil, kStart + 60000);
    EXPECT_EQ(f.slotTable[0][0].HoldUntil, 0) << "side 1 untouched";
    EXPECT_EQ(f.statusRow(3, 2), (QStringList{"202", "13.400", "0"}));
    EXPECT_EQ(f.statusRow(1, 1), (QStringList{"", "", ""}));
    // Side 2's events follow side 1's two ticked ones: Rings is slot 3, HBar slot 4.
    EXPECT_EQ(drain(), (QStringList{"event 3/2", "event 4/2"}));
    EXPECT_EQ(line(3), scoredLine("RINGS", 202, "13.400", "8.300 "));
    EXPECT_EQ(line(4), blankLine("HBAR"));
    EXPECT_FALSE(f.isMarked(sideOne));
    EXPECT_FALSE(f.isMarked(menSession1));

    tickAt(kStart + 60000, 2);
    EXPECT_EQ(f.slotTable[2][1].HoldUntil, 0);
    tickAt(kStart + 180000, 2);
    EXPECT_EQ(f.slotTable[2][1].WaitUntil, 0);
    EXPECT_EQ(line(3), blankLine("RINGS"));
}

TEST_F(ScorePollTest, DisplaySlotsFollowTheTickedBoxesSingleAndDual)
{
    f.selectEventGroup(2, 2);
    f.setSessions(2, {"1"});
    f.options.Interval = 0;
    const struct {
        const char *what;
        bool dual;
        QList<int> side1, side2;
        int side, event;
        int slot; // 0: shown nowhere
    } cases[] = {
        // The slot arithmetic is DisplaySlot's own table; here the poll asks
        // for ticked events only and shows what it takes where the slot says.
        {"unticked and not asked", false, {1, 2, 4}, {}, 1, 3, 0},
        {"unticked before it", false, {2, 4}, {}, 1, 4, 2},
        {"side 2 without dual", false, {1}, {1, 2, 3, 4, 5, 6}, 2, 1, 0},
        {"side 2 after side 1", true, {1, 3}, {2, 4}, 2, 4, 4},
        {"seventh in dual", true, {1, 2, 3, 4}, {1, 2, 3}, 2, 3, 0},
    };
    for (const auto &c : cases) {
        f.controls()(QStringLiteral("chkDual")).setChecked(c.dual);
        f.tickOnly(1, c.side1);
        f.tickOnly(2, c.side2);
        f.record().clearAll();
        const int num = c.side == 1 ? 102 : 201;
        const int row = f.addScore(c.side, c.event, "1", num, 9.875);
        f.clock.advance(4000);
        drain();
        poll.tick(c.side);
        const bool ticked = (c.side == 1 ? c.side1 : c.side2).contains(c.event);
        EXPECT_EQ(f.isMarked(row), ticked) << c.what;
        const QStringList sent = drain();
        const QString mine = QStringLiteral("event %1/%2").arg(c.slot).arg(c.side);
        if (c.slot == 0) {
            for (int s = 1; s <= 6; ++s)
                EXPECT_NE(line(s).mid(6, 4), QByteArray::number(num) + " ") << c.what;
        } else {
            EXPECT_TRUE(sent.contains(mine)) << c.what;
            EXPECT_EQ(line(c.slot).mid(6, 4), QByteArray::number(num) + " ") << c.what;
        }
    }
}

TEST_F(ScorePollTest, NcaaModeNotesTheTeamOfEachScoreShown)
{
    f.controls()(QStringLiteral("chkNCAA")).setChecked(true);
    f.options.Interval = 0;
    poll.startRun();
    EXPECT_EQ(poll.teamOnEvent(1, 1), -1);
    f.addScore(1, 1, "1", 101); // team "A", gym 1
    f.addScore(1, 2, "1", 102); // no team
    tickAt(kStart);
    EXPECT_EQ(poll.teamOnEvent(1, 1), 1);
    EXPECT_EQ(poll.teamOnEvent(2, 1), -1);
    f.addScore(1, 3, "1", 101);
    tickAt(kStart + 4000);
    EXPECT_EQ(poll.teamOnEvent(1, 1), -1) << "the team moved on";
    EXPECT_EQ(poll.teamOnEvent(3, 1), 1);
}

TEST(TeamOnEventTest, ATeamIsOnOneEventOfAColumnAtATime)
{
    GeneratorFixture f;
    ScorePoll poll(f);
    poll.resetTeams(4, 0);
    poll.NoteTeamOnEvent(7, 1, 1);
    poll.NoteTeamOnEvent(7, 3, 1);
    poll.NoteTeamOnEvent(9, 1, 1);
    EXPECT_EQ(poll.teamOnEvent(1, 1), 9);
    EXPECT_EQ(poll.teamOnEvent(3, 1), 7);
    // Column 2 has no events counted, so nothing is taken away there.
    poll.NoteTeamOnEvent(7, 2, 2);
    poll.NoteTeamOnEvent(7, 5, 2);
    EXPECT_EQ(poll.teamOnEvent(2, 2), 7);
    EXPECT_EQ(poll.teamOnEvent(5, 2), 7);
    EXPECT_EQ(poll.teamOnEvent(3, 1), 7) << "columns are apart";
    // Events beyond the column's count keep their team.
    poll.NoteTeamOnEvent(8, 6, 1);
    poll.NoteTeamOnEvent(8, 2, 1);
    EXPECT_EQ(poll.teamOnEvent(6, 1), 8);
    poll.resetTeams(4, 6);
    for (int e = 1; e <= 6; ++e)
        EXPECT_EQ(poll.teamOnEvent(e, 1), -1);
}

TEST_F(ScorePollTest, AFailedMarkStillShowsTheScoreAndTheRowIsTakenAgain)
{
    f.tickOnly(1, {1});
    const int row = f.addScore(1, 1, "1", 101);
    f.store().executeNative(QStringLiteral(
        "create trigger refuse before insert on QueueDone begin select raise(abort, 'refused'); end"));
    EXPECT_THROW(tickAt(kStart), StoreError);
    EXPECT_LT(slot(1).HoldUntil, 0) << "taken, not sent";
    EXPECT_EQ(slot(1).Num, 101);
    EXPECT_FALSE(f.isMarked(row));
    EXPECT_TRUE(writer->calls.isEmpty());

    f.store().executeNative(QStringLiteral("drop trigger refuse"));
    tickAt(kStart + 4000);
    EXPECT_EQ(drain(), QStringList{"event 1/1"}) << "the next tick sends it";
    EXPECT_EQ(line(1), scoredLine("VAULT", 101, " 9.500", "4.400 "));
    tickAt(kStart + 60000);
    tickAt(kStart + 64000);
    EXPECT_EQ(f.markedRows(), QList<int>{row}) << "shown twice, never lost";
}

TEST_F(ScorePollTest, AFailingQueryLeavesTheSlotAlone)
{
    f.tickOnly(1, {1});
    f.addScore(1, 1, "1", 101);
    f.store().executeNative(QStringLiteral("drop table QueueDone"));
    EXPECT_THROW(tickAt(kStart), StoreError);
    EXPECT_EQ(slot(1).HoldUntil, 0);
    EXPECT_EQ(slot(1).WaitUntil, 0);
    EXPECT_TRUE(writer->calls.isEmpty());
}

TEST_F(ScorePollTest, NoMeetSelectedIsAClearError)
{
    f.addScore(1, 1, "1", 101);
    f.table(QStringLiteral("Meets"))->close();
    try {
        tickAt(kStart);
        FAIL() << "no error";
    } catch (const StoreError &e) {
        EXPECT_EQ(e.message(), QStringLiteral("The table Meets has no current row, so MeetID is not known."));
    }
}

TEST_F(ScorePollTest, NoEventsInTheGroupIsAQuietTick)
{
    f.store().execute(QStringLiteral("update Events set NumEvents = 0 where EventID = 1"));
    f.openTables();
    f.addScore(1, 1, "1", 101);
    tickAt(kStart);
    EXPECT_TRUE(f.markedRows().isEmpty());
    EXPECT_TRUE(writer->calls.isEmpty());
}

TEST_F(ScorePollTest, StoppedTimersMoveNoDeadline)
{
    // Pause and Stop only stop the ticks: a score stays up for as long as
    // they last, its hold ends on the first tick after, the blank on the next.
    f.tickOnly(1, {1});
    f.addScore(1, 1, "1", 101);
    tickAt(kStart);
    const int waiting = f.addScore(1, 1, "1", 102);
    drain();
    tickAt(kStart + 600000);
    EXPECT_EQ(slot(1).HoldUntil, 0);
    EXPECT_EQ(slot(1).WaitUntil, kStart + 180000);
    EXPECT_EQ(drain(), QStringList{});
    EXPECT_FALSE(f.isMarked(waiting));
    tickAt(kStart + 604000);
    EXPECT_TRUE(f.isMarked(waiting)) << "a waiting row replaces it before any blank";
    EXPECT_EQ(drain(), QStringList{"event 1/1"});
    EXPECT_EQ(slot(1).Num, 102);
}
