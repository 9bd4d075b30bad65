// Table cursors on both engines: order across pages, locate, refresh and
// nullable order fields. Master-detail is seen through the window's session
// and rotation lists.
#include "StoreFixture.h"

#include <QRandomGenerator>

#include <algorithm>

using namespace kestra;
using namespace kestra::test;

namespace {

constexpr int MeetOneGymnasts = 400;

class TableCursors : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override
    {
        f = makeStore(GetParam());
        MeetStore &s = *f.store;
        StoreTransaction t(s);
        s.insertRow(QStringLiteral("Events"), {{"EventID", 1}, {"NumEvents", 4}});
        s.insertRow(QStringLiteral("Levels"), {{"EventID", 1}, {"Level", "5"}});
        for (int meet : {1, 2, 3})
            s.insertRow(QStringLiteral("Meets"), {{"MeetID", meet}, {"Name", QStringLiteral("Meet %1").arg(meet)}});
        for (int gym = 1; gym <= 150; ++gym) {
            s.insertRow(QStringLiteral("Gyms"), {{"GymID", gym}});
            // Every third gym has no short name here; the others repeat, so the
            // order needs the key to break ties.
            s.insertRow(QStringLiteral("Attend"),
                        {{"MeetID", 1}, {"GymID", gym},
                         {"Short_Name", gym % 3 == 0 ? QVariant() : QVariant(QStringLiteral("Gym%1").arg(gym % 20, 2, 10, QLatin1Char('0')))}});
        }
        QList<int> nums;
        for (int n = 1; n <= MeetOneGymnasts; ++n)
            nums << n;
        std::shuffle(nums.begin(), nums.end(), std::mt19937(7)); // not in key order on disk
        for (int n : nums) {
            s.insertRow(QStringLiteral("Gymnasts"), {{"MeetID", 1}, {"Num", n}, {"Last_Name", QStringLiteral("Last%1").arg(n)},
                                                     {"Gym", n % 7 == 0 ? QVariant() : QVariant(1 + n % 150)}, {"Squad", "A"}});
        }
        for (int n = 1; n <= 5; ++n)
            s.insertRow(QStringLiteral("Gymnasts"), {{"MeetID", 2}, {"Num", n * 10}});
        const int r1 = s.insertRow(QStringLiteral("Rotations"), {{"EventID", 1}, {"Name", "First"}}).toInt();
        const int r2 = s.insertRow(QStringLiteral("Rotations"), {{"EventID", 1}, {"Name", "Second"}}).toInt();
        s.insertRow(QStringLiteral("Sessions"), {{"MeetID", 1}, {"Session", "2"}, {"RotationID", r2}});
        s.insertRow(QStringLiteral("Sessions"), {{"MeetID", 1}, {"Session", "1"}, {"RotationID", r1}});
        s.insertRow(QStringLiteral("Sessions"), {{"MeetID", 2}, {"Session", "1"}});
        t.commit();
    }

    QList<int> walkNums(TableCursor &c)
    {
        QList<int> out;
        for (c.first(); !c.eof(); c.next())
            out << c.value(QStringLiteral("MeetID")).toInt() * 1000 + c.value(QStringLiteral("Num")).toInt();
        return out;
    }

    FreshStore f;
};

} // namespace

TEST_P(TableCursors, WalkInKeyOrderAcrossPagesAndLocateByAnyFields)
{
    auto g = f.store->openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Num")));
    QList<int> expected;
    for (int n = 1; n <= MeetOneGymnasts; ++n)
        expected << 1000 + n;
    for (int n = 1; n <= 5; ++n)
        expected << 2000 + n * 10;
    EXPECT_EQ(walkNums(*g), expected);
    EXPECT_TRUE(g->eof());
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 50); // next past the end stays on the last row
    EXPECT_EQ(g->recordCount(), MeetOneGymnasts + 5);

    ASSERT_TRUE(g->locate(QStringLiteral("Last_Name"), {QStringLiteral("Last77")}));
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 77);
    g->next();
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 78);
    ASSERT_TRUE(g->locate(QStringLiteral("MeetID;Gym"), {1, QVariant()}));
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 7);
    EXPECT_FALSE(g->locate(QStringLiteral("Last_Name"), {QStringLiteral("Nobody")}));
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 7) << "a failed locate stays put";
    EXPECT_THROW(g->locate(QStringLiteral("NoField"), {1}), StoreError);
}

TEST_P(TableCursors, RefreshKeepsTheRowByKeyAndSeesOtherWriters)
{
    auto g = f.store->openTable(QStringLiteral("Gymnasts"),
                                CursorOptions().orderBy(QStringLiteral("MeetID;Num")).range({1}, {1}));
    ASSERT_TRUE(g->findKey({1, 120}));
    auto other = f.openAnother();
    other->execute(QStringLiteral("update Gymnasts set Squad = 'Z' where MeetID = 1 and Num = 120"));
    EXPECT_EQ(g->value(QStringLiteral("Squad")).toString(), QStringLiteral("A")); // not read yet
    g->refresh();
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 120);
    EXPECT_EQ(g->value(QStringLiteral("Squad")).toString(), QStringLiteral("Z"));

    other->execute(QStringLiteral("delete from Gymnasts where MeetID = 1 and Num in (120, 121)"));
    g->refresh();
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 122);
    g->prior();
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 119);

    other->insertRow(QStringLiteral("Gymnasts"), {{"MeetID", 1}, {"Num", 999}});
    g->last();
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 999);
    other->execute(QStringLiteral("delete from Gymnasts where MeetID = 1 and Num >= 400"));
    g->refresh(); // the last row went: the cursor falls back to the new last one
    EXPECT_EQ(g->value(QStringLiteral("Num")).toInt(), 399);
    EXPECT_EQ(g->recordCount(), MeetOneGymnasts - 3);
}

TEST_P(TableCursors, NullableOrderFieldsSortLowAndPageCorrectly)
{
    auto a = f.store->openTable(QStringLiteral("Attend"), CursorOptions().orderBy(QStringLiteral("MeetID;Short_Name")));
    struct Row {
        QString name;
        int gym;
    };
    QList<Row> expected;
    for (int gym = 1; gym <= 150; ++gym)
        expected.append({gym % 3 == 0 ? QString() : QStringLiteral("Gym%1").arg(gym % 20, 2, 10, QLatin1Char('0')), gym});
    std::sort(expected.begin(), expected.end(), [](const Row &x, const Row &y) {
        if (x.name.isNull() != y.name.isNull())
            return x.name.isNull();
        return x.name != y.name ? x.name < y.name : x.gym < y.gym;
    });
    QList<int> want, forward, backward;
    for (const Row &r : expected)
        want << r.gym;
    for (a->first(); !a->eof(); a->next())
        forward << a->value(QStringLiteral("GymID")).toInt();
    for (a->last(); !a->bof(); a->prior())
        backward << a->value(QStringLiteral("GymID")).toInt();
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, want);
    EXPECT_EQ(backward, want);
    EXPECT_EQ(a->recordCount(), 150);
}

TEST_P(TableCursors, BadTablesAndFieldsAreClearErrors)
{
    try {
        f.store->openTable(QStringLiteral("Gymnast"));
        ADD_FAILURE() << "opened a table that does not exist";
    } catch (const StoreError &e) {
        EXPECT_EQ(e.kind(), StoreError::Kind::Database);
        EXPECT_TRUE(e.message().contains(QStringLiteral("there is no table Gymnast"))) << e.what();
    }
    EXPECT_THROW(f.store->openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Numb"))),
                 StoreError);
    auto meets = f.store->openTable(QStringLiteral("Meets"));
    EXPECT_THROW(f.store->openTable(QStringLiteral("Sessions"), CursorOptions().detailOf(meets.get(), QStringLiteral("Meet"))),
                 StoreError);
    // Closing the store closes its cursors.
    f.store->close();
    EXPECT_FALSE(meets->isOpen());
    EXPECT_THROW(meets->first(), StoreError);
    EXPECT_THROW(f.store->query(QStringLiteral("select 1")), StoreError);
}

KESTRA_BOTH_BACKENDS(TableCursors);
