// Values as the program reads them back, whoever wrote them.
#include "StoreFixture.h"

#include <QDateTime>

using namespace kestra;
using namespace kestra::test;

namespace {

class StoreValues : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override
    {
        f = makeStore(GetParam());
        addSmallMeet(*f.store);
    }
    FreshStore f;
};

} // namespace

TEST_P(StoreValues, SingleFloatsReadBackAsThirtyTwoBitValues)
{
    MeetStore &s = *f.store;
    s.updateRows(QStringLiteral("Gymnasts"), {{"E1Final", 9.45}, {"AA", 37.725}}, {{"MeetID", 1}, {"Num", 101}});
    // A plain-SQL writer stores the decimal it was given.
    s.execute(QStringLiteral("update Gymnasts set E1S1 = 9.45, E2Final = 9.3 where MeetID = 1 and Num = 101"));
    QueryResult r = s.query(QStringLiteral("select E1Final, AA, E1S1, E2Final, E3Final from Gymnasts where MeetID = 1 and Num = 101"));
    EXPECT_EQ(r.value(QStringLiteral("E1Final")).toDouble(), double(9.45f));
    EXPECT_EQ(r.value(QStringLiteral("AA")).toDouble(), double(37.725f));
    EXPECT_EQ(r.value(QStringLiteral("E1S1")).toDouble(), double(9.45f));
    EXPECT_EQ(r.value(QStringLiteral("E2Final")).toDouble(), double(9.3f));
    EXPECT_NE(r.value(QStringLiteral("E2Final")).toDouble(), 9.3);
    EXPECT_FALSE(r.value(QStringLiteral("E3Final")).isValid());

    // A table cursor reads the same.
    auto g = s.openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Num")));
    ASSERT_TRUE(g->findKey({1, 101}));
    EXPECT_EQ(g->value(QStringLiteral("E2Final")).toDouble(), double(9.3f));
    EXPECT_EQ(g->value(QStringLiteral("AAFlag")), QVariant());
}

TEST_P(StoreValues, EveryKindRoundTrips)
{
    MeetStore &s = *f.store;
    const QByteArray image("\x00\x01\xFF\xFEPNG\x00", 8);
    const QDateTime saved(QDate(2024, 3, 1), QTime(14, 5, 6, 789));
    s.updateRows(QStringLiteral("Meets"),
                 {{"Start_Date", QDate(2024, 3, 1)}, {"BannerImage", image}, {"UseDBonus", true},
                  {"NCAAMode", false}, {"Facility", QStringLiteral("O'Brien Hall - Muñoz Arena")},
                  {"Num_Judges", 4}},
                 {{"MeetID", 1}});
    s.updateRows(QStringLiteral("Gymnasts"), {{"E1SaveTime", saved}, {"Birthday", QDate(2012, 2, 29)}},
                 {{"MeetID", 1}, {"Num", 102}});
    s.insertRow(QStringLiteral("Sessions"), {{"MeetID", 1}, {"Session", "A"}, {"Open_Warmup", QTime(8, 30)}});
    s.insertRow(QStringLiteral("Category"), {{"Category", "Fees"}});
    s.insertRow(QStringLiteral("Budgets"), {{"MeetID", 1}, {"Category", "Fees"}, {"Budget", 1234.5678}});

    QueryResult m = s.query(QStringLiteral("select * from Meets where MeetID = 1"));
    EXPECT_EQ(m.value(QStringLiteral("Start_Date")), QVariant(QDate(2024, 3, 1)));
    EXPECT_EQ(m.value(QStringLiteral("BannerImage")).toByteArray(), image);
    EXPECT_EQ(m.value(QStringLiteral("UseDBonus")), QVariant(true));
    EXPECT_EQ(m.value(QStringLiteral("NCAAMode")), QVariant(false));
    EXPECT_EQ(m.value(QStringLiteral("UseJNBonus")), QVariant());
    EXPECT_EQ(m.value(QStringLiteral("Facility")).toString(), QStringLiteral("O'Brien Hall - Muñoz Arena"));
    EXPECT_EQ(m.value(QStringLiteral("Num_Judges")).metaType().id(), QMetaType::Int);
    EXPECT_EQ(m.value(QStringLiteral("MeetID")), QVariant(1));

    QueryResult g = s.query(QStringLiteral("select E1SaveTime, Birthday from Gymnasts where MeetID = 1 and Num = 102"));
    EXPECT_EQ(g.value(0).toDateTime(), saved);
    EXPECT_EQ(g.value(1), QVariant(QDate(2012, 2, 29)));
    EXPECT_EQ(s.query(QStringLiteral("select Open_Warmup from Sessions")).value(0), QVariant(QTime(8, 30)));
    EXPECT_DOUBLE_EQ(s.query(QStringLiteral("select Budget from Budgets")).value(0).toDouble(), 1234.5678);

    // The stored forms of the embedded store, for plain-SQL writers.
    if (GetParam() == StoreBackend::Sqlite) {
        EXPECT_EQ(scalar(s, QStringLiteral("SELECT typeof(\"E1SaveTime\") || ' ' || \"E1SaveTime\" FROM \"Gymnasts\" WHERE \"Num\" = 102 AND \"MeetID\" = 1")).toString(),
                  QStringLiteral("text 2024-03-01 14:05:06.789"));
        EXPECT_EQ(scalar(s, QStringLiteral("SELECT typeof(\"UseDBonus\") || ' ' || \"UseDBonus\" FROM \"Meets\" WHERE \"MeetID\" = 1")).toString(),
                  QStringLiteral("integer 1"));
        EXPECT_EQ(scalar(s, QStringLiteral("SELECT \"Start_Date\" || '/' || \"Open_Warmup\" FROM \"Meets\", \"Sessions\"")).toString(),
                  QStringLiteral("2024-03-01/08:30:00"));
    }
}

TEST_P(StoreValues, AutoIncrementFieldsTakeExplicitValuesAndCountOnFromThemAndTransactionsRollBack)
{
    MeetStore &s = *f.store;
    // The small meet holds ScoreApps 2 and 4, given explicitly.
    EXPECT_EQ(s.insertRow(QStringLiteral("ScoreApps"), {{"AppName", "Next"}}).toInt(), 5);
    EXPECT_EQ(s.insertRow(QStringLiteral("ScoreApps"), {{"AppID", 40}, {"AppName", "Far"}}).toInt(), 40);
    EXPECT_EQ(s.insertRow(QStringLiteral("ScoreApps"), {{"AppName", "After"}}).toInt(), 41);
    // Rotations count from 10 in steps of 1.
    EXPECT_EQ(s.insertRow(QStringLiteral("Rotations"), {{"EventID", 1}, {"Name", "R1"}}).toInt(), 10);
    EXPECT_EQ(s.insertRow(QStringLiteral("Rotations"), {{"EventID", 1}, {"Name", "R2"}}).toInt(), 11);
    // A plain-SQL insert of an explicit value moves the counter too.
    s.execute(QStringLiteral("insert into Rotations (RotationID, EventID) values (25, 1)"));
    EXPECT_EQ(s.insertRow(QStringLiteral("Rotations"), {{"EventID", 1}}).toInt(), 26);
    // Tables without an auto-increment field give nothing back.
    EXPECT_FALSE(s.insertRow(QStringLiteral("Countries"), {{"Country", "USA"}}).isValid());

    // A transaction left uncommitted leaves nothing.
    {
        StoreTransaction t(s);
        s.insertRow(QStringLiteral("Countries"), {{"Country", "CAN"}});
    }
    EXPECT_EQ(s.query(QStringLiteral("select count(*) from Countries")).value(0).toInt(), 1);
    EXPECT_FALSE(s.inTransaction());
}

KESTRA_BOTH_BACKENDS(StoreValues);
