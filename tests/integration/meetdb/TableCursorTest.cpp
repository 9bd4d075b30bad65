// Table cursors on both engines over more rows than one page: key order,
// locate and refresh.
#include "StoreFixture.h"

#include <algorithm>
#include <random>

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
        s.insertRow(S("Events"), {{"EventID", 1}, {"NumEvents", 4}});
        for (int meet : {1, 2})
            s.insertRow(S("Meets"), {{"MeetID", meet}});
        for (int gym = 1; gym <= 150; ++gym)
            s.insertRow(S("Gyms"), {{"GymID", gym}});
        QList<int> nums;
        for (int n = 1; n <= MeetOneGymnasts; ++n)
            nums << n;
        std::shuffle(nums.begin(), nums.end(), std::mt19937(7)); // not in key order on disk
        for (int n : nums) {
            s.insertRow(S("Gymnasts"), {{"MeetID", 1}, {"Num", n}, {"Last_Name", S("Last%1").arg(n)},
                                        {"Gym", n % 7 == 0 ? QVariant() : QVariant(1 + n % 150)}, {"Squad", "A"}});
        }
        for (int n = 1; n <= 5; ++n)
            s.insertRow(S("Gymnasts"), {{"MeetID", 2}, {"Num", n * 10}});
        t.commit();
    }
    int num(TableCursor &c) { return c.value(S("Num")).toInt(); }
    FreshStore f;
};

} // namespace

TEST_P(TableCursors, WalkInKeyOrderLocateAndRefreshByKey)
{
    auto g = f.store->openTable(S("Gymnasts"), CursorOptions().orderBy(S("MeetID;Num")));
    QList<int> walked, expected;
    for (g->first(); !g->eof(); g->next())
        walked << g->value(S("MeetID")).toInt() * 1000 + num(*g);
    for (int n = 1; n <= MeetOneGymnasts; ++n)
        expected << 1000 + n;
    for (int n = 1; n <= 5; ++n)
        expected << 2000 + n * 10;
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(num(*g), 50) << "next past the end stays on the last row";

    ASSERT_TRUE(g->locate(S("Last_Name"), {S("Last77")}));
    g->next();
    EXPECT_EQ(num(*g), 78);
    ASSERT_TRUE(g->locate(S("MeetID;Gym"), {1, QVariant()}));
    EXPECT_EQ(num(*g), 7);
    EXPECT_FALSE(g->locate(S("Last_Name"), {S("Nobody")}));
    EXPECT_EQ(num(*g), 7) << "a failed locate stays put";

    // Refresh keeps the row by its key, sees other writers, and moves on when the row went.
    ASSERT_TRUE(g->findKey({1, 120}));
    auto other = f.openAnother();
    other->execute(S("update Gymnasts set Squad = 'Z' where MeetID = 1 and Num = 120"));
    g->refresh();
    EXPECT_EQ(num(*g), 120);
    EXPECT_EQ(g->value(S("Squad")).toString(), S("Z"));
    other->execute(S("delete from Gymnasts where MeetID = 1 and Num in (120, 121)"));
    g->refresh();
    EXPECT_EQ(num(*g), 122);
    EXPECT_EQ(g->recordCount(), MeetOneGymnasts + 3);
}

KESTRA_BOTH_BACKENDS(TableCursors);
