// Delete and key-change rules of the references, as a writer with plain SQL meets them.
#include "StoreFixture.h"

#include <QDateTime>

using namespace kestra;
using namespace kestra::test;

namespace {

class ReferenceRules : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override
    {
        f = makeStore(GetParam());
        addSmallMeet(*f.store);
    }

    int count(const QString &sql) { return f.store->query(sql).value(0).toInt(); }

    void expectRefused(const QString &sql)
    {
        try {
            f.store->execute(sql);
            ADD_FAILURE() << "not refused: " << sql.toStdString();
        } catch (const StoreError &e) {
            EXPECT_EQ(e.kind(), StoreError::Kind::Database);
            EXPECT_TRUE(e.message().contains(QStringLiteral("refused"))) << e.what();
            EXPECT_TRUE(e.message().startsWith(backendName(GetParam()))) << e.what();
        }
    }

    FreshStore f;
};

} // namespace

TEST_P(ReferenceRules, DeletingAQueueRowOrAnApplicationRemovesItsMarks)
{
    const QDateTime t(QDate(2024, 3, 1), QTime(9, 0));
    const int a = addQueueRow(*f.store, 1, 1, "1", 101, t);
    const int b = addQueueRow(*f.store, 1, 1, "1", 102, t.addSecs(1));
    for (int app : {2, 4}) {
        for (int id : {a, b})
            f.store->execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (%1, %2)").arg(app).arg(id));
    }
    EXPECT_EQ(f.store->execute(QStringLiteral("delete from ScoreQueue where DataID = %1").arg(a)), 1);
    EXPECT_EQ(count(QStringLiteral("select count(*) from QueueDone where DataID = %1").arg(a)), 0);
    EXPECT_EQ(count(QStringLiteral("select count(*) from QueueDone")), 2);
    f.store->execute(QStringLiteral("delete from ScoreApps where AppID = 2"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from QueueDone")), 1);
    EXPECT_EQ(count(QStringLiteral("select count(*) from QueueDone where AppID = 4 and DataID = %1").arg(b)), 1);
}

TEST_P(ReferenceRules, BlockedDeletesAreRefusedAndChangeNothing)
{
    expectRefused(QStringLiteral("delete from Gyms where GymID = 1"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gyms")), 2);
    expectRefused(QStringLiteral("delete from Meets where MeetID = 1"));
    expectRefused(QStringLiteral("delete from Events where EventID = 1"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gymnasts")), 4);

    // Judges go with their panels; gyms with coaches stay.
    f.store->insertRow(QStringLiteral("Judges"), {{"JudgeID", 7}, {"LastName", "Okafor"}});
    f.store->insertRow(QStringLiteral("Sessions"), {{"MeetID", 1}, {"Session", "1"}, {"EventID", 1}});
    f.store->insertRow(QStringLiteral("JudgePanels"), {{"MeetID", 1}, {"Session", "1"}, {"EventNum", 1}, {"JudgeID", 7}});
    f.store->insertRow(QStringLiteral("Coaches"), {{"CoachID", 1}, {"GymID", 2}});
    f.store->execute(QStringLiteral("delete from Judges where JudgeID = 7"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from JudgePanels")), 0);
    f.store->execute(QStringLiteral("delete from Gymnasts where Gym = 2"));
    expectRefused(QStringLiteral("delete from Gyms where GymID = 2"));
}

TEST_P(ReferenceRules, KeyChangesCascade)
{
    f.store->execute(QStringLiteral("update Gyms set GymID = 20 where GymID = 1"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gymnasts where Gym = 20")), 2);
    // AgeDate follows its level's sort key through the trigger.
    f.store->insertRow(QStringLiteral("AgeDate"), {{"EventID", 1}, {"Level", "5"}, {"MeetID", 1},
                                                   {"Age_Date", QDate(2023, 9, 1)}, {"LevelSort", "005"}});
    f.store->execute(QStringLiteral("update Levels set LevelSort = '005B' where EventID = 1 and Level = '5'"));
    EXPECT_EQ(f.store->query(QStringLiteral("select LevelSort from AgeDate")).value(0).toString(), QStringLiteral("005B"));
}

TEST_P(ReferenceRules, MissingParentsRequiredFieldsAndLongTextAreRefused)
{
    expectRefused(QStringLiteral("insert into QueueDone (AppID, DataID) values (4, 12345)"));
    expectRefused(QStringLiteral("insert into QueueDone (AppID, DataID) values (9, 1)"));
    expectRefused(QStringLiteral("insert into Gymnasts (MeetID, Num, Gym) values (1, 500, 77)"));
    expectRefused(QStringLiteral("insert into Sessions (MeetID, Session) values (1, null)"));
    try {
        f.store->execute(QStringLiteral("insert into Gymnasts (MeetID, Num, Level) values (1, 501, 'ABCD')"));
        ADD_FAILURE() << "a four-character level was taken";
    } catch (const StoreError &e) {
        EXPECT_EQ(e.kind(), StoreError::Kind::Database);
    }
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gymnasts")), 4);
}

KESTRA_BOTH_BACKENDS(ReferenceRules);
