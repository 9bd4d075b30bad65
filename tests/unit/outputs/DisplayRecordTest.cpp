#include "outputs/DisplayRecord.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;

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

// Where each region lies is pinned by the frames that carry it.
TEST(DisplayRecord, RegionsTileTheBlockInOffsetOrder)
{
    int next = 0;
    for (const Field &region : layout::kRegions) {
        EXPECT_EQ(region.offset, next) << "gap or overlap before " << region.offset;
        next = region.end();
    }
    EXPECT_EQ(next, 5699);
    EXPECT_EQ(layout::kRegions.size(), 11u);
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
