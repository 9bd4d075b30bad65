// Delete and key-change rules of the references, as a writer with plain SQL meets them.
#include "StoreFixture.h"

#include <QDateTime>

using namespace kestra;
using namespace kestra::test;

namespace {

class ReferenceRules : public testing::TestWithParam<StoreBackend> {};

} // namespace

TEST_P(ReferenceRules, DeletesCascadeOrAreRefusedKeysFollowAndBadRowsAreRefused)
{
    FreshStore f = makeStore(GetParam());
    MeetStore &s = *f.store;
    addSmallMeet(s);
    const QDateTime t(QDate(2024, 3, 1), QTime(9, 0));
    const int a = addQueueRow(s, 1, 1, "1", 101, t);
    const int b = addQueueRow(s, 1, 1, "1", 102, t.addSecs(1));
    for (int app : {2, 4})
        for (int id : {a, b})
            s.execute(S("insert into QueueDone (AppID, DataID) values (%1, %2)").arg(app).arg(id));
    s.insertRow(S("Judges"), {{"JudgeID", 7}, {"LastName", "Okafor"}});
    s.insertRow(S("Sessions"), {{"MeetID", 1}, {"Session", "1"}, {"EventID", 1}});
    s.insertRow(S("JudgePanels"), {{"MeetID", 1}, {"Session", "1"}, {"EventNum", 1}, {"JudgeID", 7}});
    s.insertRow(S("Coaches"), {{"CoachID", 1}, {"GymID", 2}});
    s.insertRow(S("AgeDate"), {{"EventID", 1}, {"Level", "5"}, {"MeetID", 1}, {"Age_Date", QDate(2023, 9, 1)}, {"LevelSort", "005"}});

    const struct {
        QString sql;
        const char *refusal; // null: done; "": refused in any words
        const char *count;
        int expected;
    } steps[] = {
        {S("delete from ScoreQueue where DataID = %1").arg(a), nullptr, "select count(*) from QueueDone", 2},
        {S("delete from ScoreApps where AppID = 2"), nullptr, "select count(*) from QueueDone", 1},
        {S("delete from Gyms where GymID = 1"), "refused", "select count(*) from Gyms", 2},
        {S("delete from Meets where MeetID = 1"), "refused", "select count(*) from Gymnasts", 4},
        {S("delete from Events where EventID = 1"), "refused", "select count(*) from Events", 1},
        {S("delete from Judges where JudgeID = 7"), nullptr, "select count(*) from JudgePanels", 0},
        {S("delete from Gymnasts where Gym = 2"), nullptr, "select count(*) from Gymnasts", 3},
        {S("delete from Gyms where GymID = 2"), "refused", "select count(*) from Coaches", 1}, // its coach holds it
        {S("update Gyms set GymID = 20 where GymID = 1"), nullptr, "select count(*) from Gymnasts where Gym = 20", 2},
        // AgeDate follows its level's sort key through the trigger.
        {S("update Levels set LevelSort = '005B' where EventID = 1 and Level = '5'"), nullptr,
         "select count(*) from AgeDate where LevelSort = '005B'", 1},
        {S("insert into QueueDone (AppID, DataID) values (4, 12345)"), "refused", "select count(*) from QueueDone", 1},
        {S("insert into QueueDone (AppID, DataID) values (9, %1)").arg(b), "refused", "select count(*) from QueueDone", 1},
        {S("insert into Gymnasts (MeetID, Num, Gym) values (1, 500, 77)"), "refused", "select count(*) from Gymnasts", 3},
        {S("insert into Sessions (MeetID, Session) values (1, null)"), "refused", "select count(*) from Sessions", 1},
        {S("insert into Gymnasts (MeetID, Num, Level) values (1, 501, 'ABCD')"), "", "select count(*) from Gymnasts", 3},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(step.sql.toStdString());
        try {
            s.execute(step.sql);
            EXPECT_EQ(step.refusal, nullptr) << "not refused";
        } catch (const StoreError &e) {
            ASSERT_NE(step.refusal, nullptr) << e.what();
            EXPECT_EQ(e.kind(), StoreError::Kind::Database);
            EXPECT_TRUE(e.message().startsWith(backendName(GetParam())) && e.message().contains(S(step.refusal))) << e.what();
        }
        EXPECT_EQ(s.query(S(step.count)).value(0).toInt(), step.expected);
    }
}

KESTRA_BOTH_BACKENDS(ReferenceRules);
