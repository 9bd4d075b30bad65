#include "outputs/DisplayRecord.h"
#include "outputs/OutputStatus.h"

#include <gtest/gtest.h>

#include <vector>

using namespace kestra;

TEST(OutputStatus, SeventeenGroupsOf396DataLabelsRefreshedEverySecond)
{
    DisplayRecord record;
    OutputStatus status(record);
    QStringList captions;
    for (const StatusGroup &g : status.groups())
        captions.append(g.caption);
    EXPECT_EQ(captions, (QStringList{"Event #1", "Event #2", "Event #3", "Event #4", "Event #5", "Event #6",
                                     "Leader 1", "Leader 2", "Leader 3", "NCAA 1", "NCAA 2", "NCAA 3", "NCAA 4",
                                     "NCAA 5", "NCAA 6", "NCAA Matrix", "Now Up"}));
    EXPECT_EQ(status.dataLabelCount(), 396);
    // The refresh timer runs from creation, once a second.
    EXPECT_TRUE(status.timer().isActive());
    EXPECT_EQ(status.timer().interval(), 1000);
}

TEST(OutputStatus, DataLabelsCoverDistinctFieldsAndNeverTheUnusedBytes)
{
    DisplayRecord record;
    OutputStatus status(record);
    std::vector<int> owner(5699, 0);
    for (const StatusGroup &g : status.groups()) {
        for (const StatusCell &cell : g.cells) {
            if (!cell.isData)
                continue;
            for (int i = cell.field.offset; i < cell.field.end(); ++i) {
                ASSERT_EQ(owner[std::size_t(i)], 0) << cell.name.toStdString() << " overlaps at " << i;
                owner[std::size_t(i)] = 1;
            }
        }
    }
    auto unshown = [&](int from, int to) {
        for (int i = from; i < to; ++i)
            EXPECT_EQ(owner[std::size_t(i)], 0) << "byte " << i << " is shown";
    };
    for (int s = 0; s < 6; ++s)
        unshown(81 * s + 71, 81 * s + 81);      // the tail of each event line
    unshown(2215, 2261);                        // after NCAA group 1
    for (int p = 1; p <= 3; ++p)
        unshown(15 + 471 * p + 422, 15 + 471 * p + 471); // the ninth leader line
    for (int e = 0; e < 6; ++e)
        unshown(2861 + 8 * e + 6, 2861 + 8 * e + 8); // matrix short titles
    int shown = 0;
    for (int v : owner)
        shown += v;
    // Everything else is shown: 5699 less 60 + 46 + 147 + 12 unused bytes.
    EXPECT_EQ(shown, 5699 - 60 - 46 - 147 - 12);
}

TEST(OutputStatus, PlaceholdersUntilTheFirstRefreshThenRawFields)
{
    DisplayRecord record;
    OutputStatus status(record);
    const struct {
        const char *label;
        const char *placeholder;
        int offset;
        int length;
    } cases[] = {
        {"lblEvent1Title", "Event", 0, 6},       {"lblEvent1Num", "Num", 6, 4},
        {"lblEvent1Name", "Name", 10, 40},       {"lblEvent6Gym", "Gym", 2361, 20},
        {"lblEvent2Score", "19.999", 131, 6},    {"lblEvent2DScore", "00.00", 137, 5},
        {"lblEvent2EScore", "00.000", 142, 6},   {"lblEvent2ND", "-0.0", 148, 4},
        {"lblEvent6DBonus", "0.000", 3459, 6},   {"lblEvent6EBonus", "0.0", 5696, 3},
        {"lblLeader1Title1", "Title1", 486, 20}, {"lblLeader1Title2", "Title2", 506, 10},
        {"lblLeader3Rank8", "99", 1801, 2},      {"lblLeader3Name8", "Name", 1803, 40},
        {"lblLeader3Score8", "000.000", 1843, 7}, {"lblLeader3Gym8", "Gym", 2841, 20},
        {"lblNCAA1Team", "Team", 1899, 20},      {"lblNCAA2Event", "Event", 3485, 6},
        {"lblNCAA2Name1", "Name", 3491, 40},     {"lblNCAA2Score6", "19.999", 3761, 6},
        {"lblNCAA6EventTotal", "000.000", 5031, 7}, {"lblNCAA6TeamTotal", "000.000", 5038, 7},
        {"lblNCAA6E6", "00.000", 5255, 6},       {"lblMatrixTitle1", "EVENT1", 2861, 6},
        {"lblMatrixTitle6", "EVENT6", 2901, 6},  {"lblMatrixRank8", "99", 3364, 2},
        {"lblMatrixTeam8", "Team", 3366, 20},    {"lblMatrixScore8", "000.000", 3386, 7},
        {"lblMatrixRow8E6", "00.000", 3423, 6},  {"lblNowUp6Title", "Event", 5611, 6},
        {"lblNowUp6Num", "Num", 5617, 4},        {"lblNowUp6Name", "Name", 5621, 40},
        {"lblNowUp6Gym", "Gym", 5661, 20},
    };
    // Every byte of the block different, so each label shows its own bytes.
    QByteArray pattern(5699, ' ');
    for (int i = 0; i < 5699; ++i)
        pattern[i] = char('!' + i % 90);
    record.pack(Field{0, 5699}, QByteArrayView(pattern));

    for (const auto &c : cases)
        EXPECT_EQ(status.controls()(QString::fromLatin1(c.label)).text(), QString::fromLatin1(c.placeholder)) << c.label;
    status.Timer1Timer(); // hidden: nothing happens
    EXPECT_EQ(status.controls()(QStringLiteral("lblEvent1Title")).text(), QStringLiteral("Event"));

    status.setShown(true);
    status.Timer1Timer();
    for (const auto &c : cases) {
        EXPECT_EQ(status.controls()(QString::fromLatin1(c.label)).text(),
                  QString::fromLatin1(pattern.mid(c.offset, c.length)))
            << c.label;
    }
}
