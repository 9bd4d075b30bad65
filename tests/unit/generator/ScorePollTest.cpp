// The main window's score poll on a seeded meet database, with its clock moved
// by hand: which row a tick takes, what it marks, what it shows and sends, and
// when the line is held, left up and blanked.
#include "generator/ScorePoll.h"

#include "meetdb/StoreError.h"
#include "outputs/Daktronics.h"
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

constexpr std::int64_t kStart = 100000;

QByteArray blankLine(const char *title)
{
    return QByteArray(title).leftJustified(81, ' ');
}

// The event line of a score from ScorePollTest::addScore.
QByteArray scoredLine(const char *title, int num, const char *score, const char *escore)
{
    QByteArray line = blankLine(title);
    const QByteArray n = QByteArray::number(num);
    line.replace(6, n.size(), n);
    const QByteArray name = "F" + n + " L" + n;
    line.replace(10, name.size(), name);
    return line.replace(50, 21, score + QByteArray("5.20 ") + escore + "0.1 ");
}

// Session 1 of meet 1 followed in column 1, four women's events, the run started.
class ScorePollTest : public OpenMainWindow {
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(OpenMainWindow::SetUp());
        ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
        ASSERT_TRUE(rig.main().start());
        rig.newFrames(4); // Start's now-up titles
    }

    // Appends a score of meet 1 to the queue, each later than the one before.
    int addScore(int eventId, int event, const char *session, int num, double score = 9.5)
    {
        m_dt = m_dt.addSecs(7);
        return rig.peer()
            .insertRow(S("ScoreQueue"),
                       {{"MeetID", 1}, {"EventID", eventId}, {"Event", event}, {"Session", S(session)}, {"DT", m_dt},
                        {"Num", num}, {"Level", "5"}, {"Score", score}, {"Changed", false},
                        {"FName", S("F%1").arg(num)}, {"LName", S("L%1").arg(num)}, {"Judge1", 9.4},
                        {"Judge2", 9.6}, {"Adjust", 0.1}, {"Start", 5.2}, {"BScore", score - 5.1},
                        {"DBonus", -99.0}, {"EBonus", -99.0}})
            .toInt();
    }
    QList<int> marked()
    {
        QueryResult r = rig.peer().query(S("select DataID from QueueDone where AppID = 4 order by DataID"));
        QList<int> ids;
        for (; !r.eof(); r.next())
            ids << r.value(0).toInt();
        return ids;
    }
    void tickAt(std::int64_t ms, int side = 1)
    {
        rig.ticks.set(std::uint64_t(ms));
        rig.main().poll().tick(side);
    }
    // The event lines sent since the last look, as "slot/side" of their frames.
    QStringList sent(int lines = 0)
    {
        QStringList out;
        for (const QByteArray &frame : rig.newFrames(lines * 4)) {
            const int address = frame.mid(15, 5).toInt();
            if (address < 486)
                out << QString::number(address / 81 + 1);
        }
        return out;
    }
    EventSlot &slot(int event, int side = 1) { return rig.main().eventSlots()[event - 1][side - 1]; }
    QByteArray line(int displaySlot) { return rig.record.read(layout::eventLine(displaySlot)); }
    QStringList status(int event, int side = 1)
    {
        const QString at = QString::number(event) + QString::number(side);
        return {rig(S("EditNum") + at).text(), rig(S("EditScore") + at).text(), rig(S("EditWait") + at).text()};
    }
    void tickOnly(int side, const QList<int> &events) { ASSERT_TRUE(rig.main().selection().setTickedEvents(side, events)); }

private:
    QDateTime m_dt{QDate(2024, 3, 2), QTime(9, 0, 0, 125)};
};

} // namespace

TEST_F(ScorePollTest, TakesTheOldestRowMarksItAndSendsItInTheSameTick)
{
    const int first = addScore(1, 1, "1", 101, 9.5);
    const int second = addScore(1, 1, "1", 102, 9.25);
    const int bars = addScore(1, 2, "1", 102, 9.0); // another apparatus, its own slot
    const QString gym = rig.scalar(S("select \"Short Name\" from Gymnasts g1, Gyms g2 where g1.MeetID = 1 "
                                     "and g1.Num = 101 and g1.Gym = g2.GymID")).toString();
    tickAt(kStart);

    EXPECT_EQ(marked(), (QList<int>{first, bars}));
    EXPECT_EQ(slot(1).HoldUntil, kStart + 60000);
    EXPECT_EQ(slot(1).WaitUntil, kStart + 180000);
    EXPECT_EQ(slot(1).ShortName, gym);
    EXPECT_EQ(slot(1).Judge2, double(9.6f));
    EXPECT_EQ(status(1), (QStringList{"101", "9.500", "1"}));
    EXPECT_EQ(status(2), (QStringList{"102", "9.000", "0"}));
    // Each line goes out with its gym and both bonuses (blank at -99); idle
    // events 3 and 4 get their blank line with the title.
    const QList<QByteArray> frames = rig.newFrames(16);
    ASSERT_EQ(frames.size(), 16);
    const QList<QByteArray> first4 = frames.mid(0, 4);
    EXPECT_EQ(first4[0], DaktronicsFrame(0, scoredLine("VAULT", 101, " 9.500", "4.400 ")));
    EXPECT_EQ(first4[1], DaktronicsFrame(2261, gym.toLatin1().leftJustified(20, ' ')));
    EXPECT_EQ(first4[2], DaktronicsFrame(3429, QByteArray(6, ' ')));
    EXPECT_EQ(first4[3], DaktronicsFrame(5681, QByteArray(3, ' ')));
    EXPECT_EQ(frames[12], DaktronicsFrame(243, blankLine("FLOOR")));
    EXPECT_FALSE(marked().contains(second));
    EXPECT_TRUE(rig.prompt.messages.empty());
}

TEST_F(ScorePollTest, ASlotLivesThroughHoldingLingeringAndIdle)
{
    tickOnly(1, {1});
    addScore(1, 1, "1", 101);
    const struct {
        std::int64_t at, hold, wait;
        QStringList sent;
        QStringList status;
    } steps[] = {
        {kStart, kStart + 60000, kStart + 180000, {"1"}, {"101", "9.500", "0"}},           // new, held
        {kStart + 59999, kStart + 60000, kStart + 180000, {}, {"101", "9.500", "0"}},      // still held
        {kStart + 60000, 0, kStart + 180000, {}, {"101", "9.500", "0"}},                   // lingering
        {kStart + 180000, 0, 0, {"1"}, {"101", "9.500", "0"}},                             // blanked
        {kStart + 184000, 0, 0, {"1"}, {"", "", ""}},                                      // idle: again, cleared
        {kStart + 600000, 0, 0, {"1"}, {"", "", ""}},
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(s.at - kStart);
        tickAt(s.at);
        EXPECT_EQ(slot(1).HoldUntil, s.hold);
        EXPECT_EQ(slot(1).WaitUntil, s.wait);
        EXPECT_EQ(sent(int(s.sent.size())), s.sent);
        EXPECT_EQ(status(1), s.status);
    }
    EXPECT_EQ(line(1), blankLine("VAULT"));
}

TEST_F(ScorePollTest, AWaitingRowReplacesTheScoreOnTheTickAfterTheHoldHoweverLateItComes)
{
    tickOnly(1, {1});
    const int a = addScore(1, 1, "1", 101, 9.5);
    tickAt(kStart);
    const int b = addScore(1, 1, "1", 102, 9.25);
    tickAt(kStart + 56000); // held: does not even ask
    tickAt(kStart + 600000); // the hold ends in the second pass, long after: nothing blanks it yet
    EXPECT_EQ(marked(), QList<int>{a});
    EXPECT_EQ(slot(1).WaitUntil, kStart + 180000);
    sent(1);
    tickAt(kStart + 604000);
    EXPECT_EQ(marked(), (QList<int>{a, b}));
    EXPECT_EQ(sent(1), QStringList{"1"});
    EXPECT_EQ(slot(1).HoldUntil, kStart + 664000);
    EXPECT_EQ(line(1), scoredLine("VAULT", 102, " 9.250", "4.150 "));
}

TEST_F(ScorePollTest, TheIntervalsSetHoldAndWait)
{
    tickOnly(1, {1});
    // Interval 0: a row on every tick, the hold over in the tick that sent it.
    rig.main().workingSettings().Interval = 0;
    const QList<int> rows = {addScore(1, 1, "1", 101), addScore(1, 1, "1", 102), addScore(1, 1, "1", 103)};
    for (int t = 0; t < 3; ++t) {
        tickAt(kStart + 4000 * t);
        EXPECT_EQ(marked(), rows.mid(0, t + 1));
        EXPECT_EQ(slot(1).HoldUntil, 0);
        EXPECT_EQ(status(1).value(2), QString::number(2 - t));
    }
    // Interval above IntervalMax: held for Interval, blanked on the next tick.
    rig.main().workingSettings().Interval = 20;
    rig.main().workingSettings().IntervalMax = 8;
    addScore(1, 1, "1", 104);
    tickAt(kStart + 100000);
    sent(1);
    tickAt(kStart + 108000);
    tickAt(kStart + 120000);
    EXPECT_EQ(sent(), QStringList{});
    tickAt(kStart + 124000);
    EXPECT_EQ(sent(1), QStringList{"1"});
    EXPECT_EQ(line(1), blankLine("VAULT"));
}

TEST_F(ScorePollTest, AnUntickedOrPausedEventLeavesItsRowsForLaterOldestFirst)
{
    tickOnly(1, {2, 3, 4});
    const QList<int> backlog = {addScore(1, 1, "1", 102, 9.1), addScore(1, 1, "1", 101, 9.2)};
    tickAt(kStart);
    EXPECT_TRUE(marked().isEmpty());
    EXPECT_EQ(status(1), (QStringList{"", "", ""}));

    tickOnly(1, {1});
    tickAt(kStart + 4000);
    EXPECT_EQ(marked(), backlog.mid(0, 1));
    // Paused: nothing is taken, and the score up still expires.
    ASSERT_TRUE(rig.main().selection().setEventPaused(1, 1, true));
    tickAt(kStart + 64000);
    tickAt(kStart + 68000);
    EXPECT_EQ(marked(), backlog.mid(0, 1));
    EXPECT_EQ(status(1), (QStringList{"102", "9.100", "1"})) << "kept while the score is up";
    sent();
    tickAt(kStart + 184000);
    EXPECT_EQ(sent(1), QStringList{"1"});
    tickAt(kStart + 188000);
    EXPECT_EQ(status(1), (QStringList{"", "", ""}));

    ASSERT_TRUE(rig.main().selection().setEventPaused(1, 1, false));
    tickAt(kStart + 192000);
    EXPECT_EQ(marked(), backlog);
}

TEST_F(ScorePollTest, SideTwoIsTheTwinOfSideOneOnItsOwnGroupAndSessions)
{
    rig.main().stop();
    ASSERT_TRUE(rig.main().selection().setDual(true));
    ASSERT_TRUE(rig.main().selection().selectEventGroup(2, 2)); // the men
    ASSERT_TRUE(rig.main().selection().setSessions(2, {S("3")}));
    tickOnly(1, {1, 2});
    tickOnly(2, {3, 6});
    ASSERT_TRUE(rig.main().start());
    sent();
    const int sideOne = addScore(1, 1, "1", 101);
    const int men = addScore(2, 3, "3", 262, 13.4);

    tickAt(kStart, 2);
    EXPECT_EQ(marked(), QList<int>{men});
    EXPECT_EQ(slot(3, 2).HoldUntil, kStart + 60000);
    EXPECT_EQ(slot(1, 1).HoldUntil, 0) << "side 1 untouched";
    EXPECT_EQ(status(3, 2), (QStringList{"262", "13.400", "0"}));
    // Side 2's events follow side 1's two ticked ones: rings in slot 3, high bar in slot 4.
    EXPECT_EQ(sent(2), (QStringList{"3", "4"}));
    EXPECT_EQ(line(3), scoredLine("RINGS", 262, "13.400", "8.300 "));
    EXPECT_EQ(line(4), blankLine("HIBAR"));
    EXPECT_FALSE(marked().contains(sideOne));
}

TEST_F(ScorePollTest, AFailedMarkStillShowsTheScoreAndTheRowIsTakenAgain)
{
    tickOnly(1, {1});
    const int row = addScore(1, 1, "1", 101);
    rig.peer().executeNative(S("create trigger refuse before insert on QueueDone begin select raise(abort, 'refused'); end"));
    EXPECT_THROW(tickAt(kStart), StoreError);
    EXPECT_LT(slot(1).HoldUntil, 0) << "taken, not sent";
    EXPECT_EQ(sent(), QStringList{});

    rig.peer().executeNative(S("drop trigger refuse"));
    tickAt(kStart + 4000);
    EXPECT_EQ(sent(1), QStringList{"1"}) << "the next tick sends it";
    tickAt(kStart + 64000);
    tickAt(kStart + 68000);
    EXPECT_EQ(marked(), QList<int>{row}) << "shown twice, never lost";
}

TEST_F(ScorePollTest, FailuresLeaveTheSlotsAloneAndATimerTickTellsThem)
{
    addScore(1, 1, "1", 101);
    rig.peer().execute(S("drop table QueueDone"));
    rig.main().Timer1Timer();
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig.prompt.messages[0].icon, PromptIcon::Error);
    EXPECT_EQ(slot(1).HoldUntil, 0);
    EXPECT_EQ(slot(1).WaitUntil, 0);
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    EXPECT_TRUE(rig.main().timer(1).isActive());

    rig.main().table(S("Meets"))->close();
    try {
        tickAt(kStart);
        ADD_FAILURE() << "no error";
    } catch (const StoreError &e) {
        EXPECT_EQ(e.message(), S("The table Meets has no current row, so MeetID is not known."));
    }
}
