#include "outputs/DisplayRecord.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;

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

TEST(DisplayRecord, FieldsOutsideTheBlockAreRefused)
{
    DisplayRecord record;
    EXPECT_THROW(record.pack(Field{5695, 5}, QStringLiteral("x")), std::out_of_range);
    EXPECT_THROW(record.pack(layout::eventLine(7), QStringLiteral("x")), std::out_of_range);
    EXPECT_THROW(record.view(Field{-1, 2}), std::out_of_range);
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
}

