#include "results/NCAARotation.h"

#include <gtest/gtest.h>

using namespace kestra;

TEST(NCAAScores, InsertScoreAndSumBestScoresOnTheirEdges)
{
    const NCAAScoreList full = {9.9, 9.8, 9.7, 9.6, 9.5, 9.4};
    const struct {
        NCAAScoreList before;
        double score;
        NCAAScoreList after;
    } inserts[] = {{{}, 0.0, {}}, {{9.9, 9.8}, 9.8, {9.9, 9.8, 9.8}}, {full, 9.4, full},
                   {full, 9.85, {9.9, 9.85, 9.8, 9.7, 9.6, 9.5}}}; // the last falls off
    for (auto [list, score, after] : inserts) {
        InsertScore(list, score);
        EXPECT_EQ(list, after) << score;
    }
    // As a single-float column holds them; n outside 1 to 6 counts six.
    const NCAAScoreList floats = {9.95f, 9.925f, 9.9f, 9.9f, 9.875f, 9.85f};
    for (const auto &[n, sum] : {std::pair{1, 9.95}, {5, 49.55}, {6, 59.4}, {0, 59.4}, {7, 59.4}, {-1, 59.4}})
        EXPECT_EQ(SumBestScores(n, floats), sum) << n;
}
