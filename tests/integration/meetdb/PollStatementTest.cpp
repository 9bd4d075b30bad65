// The score poll the generator composes, run on both engines.
#include "StoreFixture.h"

#include "generator/ScorePoll.h"

#include <QDateTime>

using namespace kestra;
using namespace kestra::test;

namespace {

QDateTime at(int second)
{
    return QDateTime(QDate(2024, 3, 1), QTime(10, 0, second, 250));
}

class PollStatement : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override
    {
        f = makeStore(GetParam());
        MeetStore &s = *f.store;
        addSmallMeet(s);
        handled = addQueueRow(s, 1, 1, "1", 101, at(1));
        summit = addQueueRow(s, 1, 1, "1", 102, at(5), 9.45);
        otherSession = addQueueRow(s, 1, 1, "2", 101, at(2));
        addQueueRow(s, 1, 1, "1", 999, at(3));     // no such gymnast
        addQueueRow(s, 1, 1, "1", 103, at(4));     // gymnast without a gym
        addQueueRow(s, 1, 2, "1", 101, at(0));     // another apparatus
        addQueueRow(s, 2, 1, "1", 101, at(0).addSecs(-3600)); // another meet
        later = addQueueRow(s, 1, 1, "1", 101, at(7));
        s.execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (4, %1)").arg(handled));
        s.execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (2, %1)").arg(summit));
    }

    // Meet 1, event group 1, apparatus 1, as the generator composes it.
    QueryResult poll(const SessionBoxes &boxes)
    {
        return f.store->query(ScoreQueueSql(1, 1, 1, boxes).join(QStringLiteral("\r\n")));
    }
    QList<int> polled(const SessionBoxes &boxes)
    {
        QueryResult r = poll(boxes);
        QList<int> ids;
        for (; !r.eof(); r.next())
            ids << r.value(QStringLiteral("DataID")).toInt();
        return ids;
    }

    FreshStore f;
    int handled = 0, summit = 0, otherSession = 0, later = 0;
};

} // namespace

TEST_P(PollStatement, ReturnsTheOldestUnhandledRowOfTheEventWithTheGymName)
{
    QueryResult r = poll({"1", "", "", ""});
    ASSERT_EQ(r.recordCount(), 2); // the waiting count is one less
    EXPECT_EQ(r.value(QStringLiteral("DataID")).toInt(), summit);
    EXPECT_EQ(r.value(QStringLiteral("Short Name")).toString(), QStringLiteral("Summit"));
    EXPECT_EQ(r.value(QStringLiteral("short name")).toString(), QStringLiteral("Summit"));
    EXPECT_EQ(r.fieldNames().size(), 25);
    EXPECT_EQ(r.fieldNames().last(), QStringLiteral("Short Name"));
    EXPECT_EQ(r.value(QStringLiteral("Num")).toInt(), 102);
    EXPECT_EQ(r.value(QStringLiteral("Score")).toDouble(), double(9.45f));
    EXPECT_EQ(r.value(QStringLiteral("Judge2")).toDouble(), double(9.6f));
    EXPECT_FALSE(r.value(QStringLiteral("Judge3")).isValid());
    EXPECT_EQ(r.value(QStringLiteral("DT")).toDateTime(), at(5));
    r.next();
    EXPECT_EQ(r.value(QStringLiteral("DataID")).toInt(), later);
    EXPECT_EQ(r.value(QStringLiteral("Short Name")).toString(), QStringLiteral("Riverside"));
}

TEST_P(PollStatement, SessionBoxesSelectTheSessions)
{
    EXPECT_EQ(polled({"1", "", "", ""}), (QList<int>{summit, later}));
    EXPECT_EQ(polled({"1", "", "2", ""}), (QList<int>{otherSession, summit, later}));
    EXPECT_EQ(polled({"2", "", "", ""}), (QList<int>{otherSession}));
    // All boxes empty: every session.
    EXPECT_EQ(polled({"", "", "", ""}), (QList<int>{otherSession, summit, later}));
    // The extra boxes count only when the first one is filled.
    EXPECT_EQ(polled({"", "2", "", ""}), (QList<int>{otherSession, summit, later}));
    EXPECT_EQ(polled({"9", "", "", ""}), QList<int>{});
    EXPECT_EQ(polled({"O'B", "", "", ""}), QList<int>{});
}

TEST_P(PollStatement, MarkingARowMovesThePollOnAndOtherApplicationsDoNotCount)
{
    ASSERT_EQ(polled({"1", "", "", ""}).value(0), summit);
    EXPECT_EQ(f.store->execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (4, ") +
                               QString::number(summit) + QStringLiteral(")")),
              1);
    EXPECT_EQ(polled({"1", "", "", ""}), (QList<int>{later}));
    f.store->execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (4, %1)").arg(later));
    EXPECT_TRUE(polled({"1", "", "", ""}).isEmpty());
    // Marking the same row twice is refused by the key.
    EXPECT_THROW(f.store->execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (4, %1)").arg(later)),
                 StoreError);
    // Another program's rows are seen at once.
    const int fresh = addQueueRow(*f.openAnother(), 1, 1, "1", 102, at(6));
    EXPECT_EQ(polled({"1", "", "", ""}), QList<int>{fresh});
}

KESTRA_BOTH_BACKENDS(PollStatement);
