#include "outputs/DisplayRecord.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;

TEST(DisplayRecord, Is5699SpacesAtStart)
{
    DisplayRecord record;
    EXPECT_EQ(DisplayRecord::size(), 5699);
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
}

TEST(PackField, CutsOrPadsToExactlyLastIndexPlusOneBytes)
{
    QByteArray buffer(12, '#');
    PackField(buffer.data() + 1, 5, QByteArrayView("ABCDEFGHIJ"));
    EXPECT_EQ(buffer, QByteArray("#ABCDEF#####"));
    PackField(buffer.data() + 1, 5, QByteArrayView("XY"));
    EXPECT_EQ(buffer, QByteArray("#XY    #####"));
    PackField(buffer.data() + 1, 5, QByteArrayView());
    EXPECT_EQ(buffer, QByteArray("#      #####"));
    PackField(buffer.data() + 7, 0, QStringLiteral("Zed"));
    EXPECT_EQ(buffer, QByteArray("#      Z####"));
    // Text goes as single-byte Latin-1.
    PackField(buffer.data(), 7, QStringLiteral("Zo\u00e9 \u20ac"));
    EXPECT_EQ(buffer.left(8), QByteArray("Zo\xe9 ?   "));
}

TEST(DisplayRecord, RegionsTileTheBlockInOffsetOrder)
{
    const struct {
        Field region;
        int offset;
        int length;
    } expected[] = {
        {layout::kEventLines, 0, 486},       {layout::kLeaderPages, 486, 1413},   {layout::kNcaaGroup1, 1899, 362},
        {layout::kEventGyms, 2261, 120},     {layout::kLeaderGyms, 2381, 480},    {layout::kNcaaMatrix, 2861, 568},
        {layout::kEventDBonus, 3429, 36},    {layout::kNcaaGroups2To6, 3465, 1580}, {layout::kNcaaEventScores, 5045, 216},
        {layout::kNowUpLines, 5261, 420},    {layout::kEventEBonus, 5681, 18},
    };
    int next = 0;
    for (const auto &e : expected) {
        EXPECT_EQ(e.region.offset, e.offset);
        EXPECT_EQ(e.region.length, e.length);
        EXPECT_EQ(e.region.offset, next) << "gap or overlap before " << e.offset;
        next = e.region.end();
    }
    EXPECT_EQ(next, 5699);
    ASSERT_EQ(layout::kRegions.size(), 11u);
    for (std::size_t i = 0; i < layout::kRegions.size(); ++i)
        EXPECT_EQ(layout::kRegions[i], expected[i].region);
}

// Fields whose places no frame or label test pins down already.
TEST(DisplayRecord, FieldOffsetsAndWidths)
{
    const struct {
        const char *what;
        Field field;
        int offset;
        int length;
    } expected[] = {
        {"slot 6 nd", layout::eventND(6), 472, 4},               {"leader 2 page", layout::leaderPage(2), 957, 471},
        {"leader 1 line 1 rank", layout::leaderRank(1, 1), 516, 2}, {"leader 1 line 1 name", layout::leaderName(1, 1), 518, 40},
        {"leader 1 line 1 score", layout::leaderScore(1, 1), 558, 7}, {"leader 2 line 1 gym", layout::leaderGym(2, 1), 2541, 20},
        {"NCAA 1 event", layout::ncaaEvent(1), 1919, 6},         {"NCAA 1 lineup 6 score", layout::ncaaLineupScore(1, 6), 2195, 6},
        {"NCAA 1 event total", layout::ncaaEventTotal(1), 2201, 7}, {"NCAA 2 event score 3", layout::ncaaEventScore(2, 3), 5093, 6},
        {"matrix short 1", layout::matrixShortTitle(1), 2867, 2}, {"matrix row 1 team", layout::matrixTeam(1), 2911, 20},
        {"matrix row 1 event 1", layout::matrixEventScore(1, 1), 2938, 6}, {"matrix row 5 rank", layout::matrixRank(5), 3169, 2},
    };
    for (const auto &e : expected) {
        EXPECT_EQ(e.field.offset, e.offset) << e.what;
        EXPECT_EQ(e.field.length, e.length) << e.what;
    }
}

TEST(DisplayRecord, PackWritesOnlyItsFieldAndBlankClears)
{
    DisplayRecord record;
    record.pack(layout::eventName(2), QStringLiteral("A name that is far longer than forty characters in all"));
    QByteArray expected(5699, ' ');
    expected.replace(91, 40, "A name that is far longer than forty cha");
    EXPECT_EQ(record.bytes(), expected);
    record.blank(layout::eventName(2));
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
}

TEST(DisplayRecord, FieldsOutsideTheBlockAreRefused)
{
    DisplayRecord record;
    EXPECT_THROW(record.pack(Field{5695, 5}, QStringLiteral("x")), std::out_of_range);
    EXPECT_THROW(record.pack(layout::eventLine(7), QStringLiteral("x")), std::out_of_range);
    EXPECT_THROW(record.view(Field{-1, 2}), std::out_of_range);
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
}

TEST(DisplayRecord, ClearNcaaBlanksTheThreeNcaaRegionsOnly)
{
    DisplayRecord record;
    QByteArray filled(5699, 'x');
    record.pack(Field{0, 5699}, QByteArrayView(filled));
    record.clearNcaa();
    const QByteArray bytes = record.bytes();
    for (int i = 0; i < 5699; ++i) {
        const bool ncaa = (i >= 1899 && i < 2261) || (i >= 3465 && i < 5045) || (i >= 5045 && i < 5261);
        ASSERT_EQ(bytes[i], ncaa ? ' ' : 'x') << "byte " << i;
    }
    record.clearAll();
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
}

