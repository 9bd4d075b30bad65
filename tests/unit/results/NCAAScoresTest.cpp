#include "results/NCAARotation.h"

#include <gtest/gtest.h>

using namespace kestra;

TEST(NCAAScores, InsertScoreKeepsTheBestSixHighestFirst)
{
    const struct {
        NCAAScoreList before;
        double score;
        NCAAScoreList after;
    } cases[] = {
        {{}, 0.0, {}}, // nothing is below 0.0
        {{}, 9.8, {9.8, 0, 0, 0, 0, 0}},
        {{9.9, 9.8, 9.7, 0, 0, 0}, 9.8, {9.9, 9.8, 9.8, 9.7, 0, 0}}, // after the equal one
        {{9.9, 9.8, 9.7, 9.6, 9.5, 9.4}, 9.85, {9.9, 9.85, 9.8, 9.7, 9.6, 9.5}}, // the last falls off
        {{9.9, 9.8, 9.7, 9.6, 9.5, 9.4}, 9.4, {9.9, 9.8, 9.7, 9.6, 9.5, 9.4}},
        {{9.9, 9.8, 9.7, 9.6, 9.5, 9.4}, 10.0, {10.0, 9.9, 9.8, 9.7, 9.6, 9.5}},
    };
    for (const auto &c : cases) {
        NCAAScoreList list = c.before;
        InsertScore(list, c.score);
        EXPECT_EQ(list, c.after) << c.score;
    }
}

TEST(NCAAScores, SumBestScoresCountsTheFirstNAndSixOutsideOneToSix)
{
    const NCAAScoreList list = {9.95f, 9.925f, 9.9f, 9.9f, 9.875f, 9.85f}; // as a single-float column holds them
    const struct {
        int n;
        double sum;
    } cases[] = {{1, 9.95}, {5, 49.55}, {6, 59.4}, {0, 59.4}, {7, 59.4}, {-1, 59.4}};
    for (const auto &c : cases)
        EXPECT_EQ(SumBestScores(c.n, list), c.sum) << c.n;
    EXPECT_EQ(SumBestScores(5, {9.8, 9.7, 9.6, 9.5, 0, 0}), 38.6) << "four scores: the rest adds nothing";
}
