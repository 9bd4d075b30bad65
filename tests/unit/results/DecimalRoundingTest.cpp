#include "results/DecimalRounding.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QString>

using namespace kestra;

namespace {

TEST(DecimalRounding, TheRoundThroughTextAndItsPictures)
{
    // A 9.4625 stored as a single float lies below the half, and the
    // 18-digit text shows it; the double of 9.4625 lies above it.
    EXPECT_EQ(Round3(double(9.4625f)), 9.462);
    EXPECT_EQ(Round3(9.4625), 9.463);
    EXPECT_EQ(Round3(9.45 + 9.55), 19.0);
    EXPECT_EQ(Round3(9.4999999), Round3(9.5000001));
    EXPECT_EQ(Round3(0), 0.0);
    EXPECT_EQ(ScoreText(0), QStringLiteral("0.000"));
    EXPECT_EQ(Round1(0.25), 0.3); // half away from zero
    EXPECT_EQ(Round1(-0.25), -0.3);
    EXPECT_EQ(CombinedPlaceText(9.45), QStringLiteral("009.450"));
    EXPECT_EQ(CombinedPlaceText(38.4555), QStringLiteral("038.455")); // the fourth decimal is dropped
    EXPECT_EQ(Pad6(ScoreText(100)), QStringLiteral("100.00"));
    EXPECT_EQ(Pad7(ScoreText(100)), QStringLiteral("100.000"));
    EXPECT_EQ(Pad7(ScoreText(9.65)), QStringLiteral("  9.650"));
}

TEST(DecimalRounding, SumsRoundedEachStepEqualTheExactDecimalSum)
{
    // Team and all-around totals add up to six scores rounded at each step;
    // the result must be the exact decimal sum, whatever the binary errors.
    QRandomGenerator random(20261123);
    for (int trial = 0; trial < 20000; ++trial) {
        qint64 thousandths = 0;
        double sum = 0;
        for (int k = 0; k < 6; ++k) {
            const int score = int(random.bounded(16001)); // 0.000 to 16.000
            thousandths += score;
            sum = Round3(sum + Round3(score / 1000.0));
        }
        const QString exact = QStringLiteral("%1.%2").arg(thousandths / 1000).arg(thousandths % 1000, 3, 10, QLatin1Char('0'));
        ASSERT_EQ(ScoreText(sum), exact) << trial;
        ASSERT_EQ(sum, exact.toDouble()) << trial;
    }
}

} // namespace
