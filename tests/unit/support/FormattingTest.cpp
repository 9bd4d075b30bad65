#include "support/Formatting.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>

#include <cmath>
#include <limits>
#include <stdexcept>

using namespace kestra;

TEST(FormatFloat, PicturesRoundHalfAwayFromZeroOnEighteenDigits)
{
    const struct {
        double value;
        const char *picture;
        const char *expected;
    } cases[] = {
        {9.65, "#0.000", "9.650"},         {100.0, "#0.000", "100.000"}, // more integer digits than the picture
        {12345.678, "#0.0", "12345.7"},    {-0.3, "#0.0", "-0.3"},
        {9.45, "000.0000", "009.4500"},    {196.125, "##0.000", "196.125"},
        // Exactly half: away from zero, on both sides of zero.
        {0.125, "#0.00", "0.13"},          {-0.125, "#0.00", "-0.13"},
        // The 18-digit text decides, not the decimal literal: 1.005 is held
        // as 1.00499999999999989 and 2.675 as 2.67499999999999982.
        {1.005, "0.00", "1.00"},           {2.675, "#0.00", "2.67"},
        // 9.4625 as a double lies just above the half.
        {9.4625, "#0.000", "9.463"},
        // Values that print alike are alike after the round.
        {9.4999999, "#0.000", "9.500"},    {9.5000001, "#0.000", "9.500"},
        // Carries run through the point and add a digit.
        {9.9996, "#0.000", "10.000"},      {-9.9996, "#0.000", "-10.000"},
        // Nothing left but zeros: no minus sign.
        {-0.0001, "#0.000", "0.000"},      {-0.0, "#0.0", "0.0"},
        // Tiny and huge magnitudes.
        {0.0004999, "#0.000", "0.000"},    {0.0005, "#0.000", "0.001"},
        {1e20, "#0.0", "100000000000000000000.0"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(formatFloat(c.value, QString::fromLatin1(c.picture)), QString::fromLatin1(c.expected))
            << c.value << " by " << c.picture;
    }
}

TEST(FormatFloat, ScoresStoredAsSingleFloatsFormatAsEntered)
{
    // Scores come out of the store as 32-bit floats widened to double.
    const double nineFortyFive = static_cast<double>(9.45f); // 9.44999980926513672
    EXPECT_EQ(formatFloat(nineFortyFive, QStringLiteral("#0.00")), QStringLiteral("9.45"));
    EXPECT_EQ(formatFloat(nineFortyFive, QStringLiteral("#0.000")), QStringLiteral("9.450"));
    EXPECT_EQ(formatFloat(nineFortyFive, QStringLiteral("#0.0")), QStringLiteral("9.4"));
    // 9.4625 as a float lies below the half, so the third decimal stays 2.
    EXPECT_EQ(formatFloat(static_cast<double>(9.4625f), QStringLiteral("#0.000")), QStringLiteral("9.462"));
    EXPECT_EQ(formatFloat(static_cast<double>(9.45f) + static_cast<double>(9.55f), QStringLiteral("#0.000")),
              QStringLiteral("19.000"));
    EXPECT_EQ(formatFloat(9.45 + 9.55, QStringLiteral("#0.000")), QStringLiteral("19.000"));
}

TEST(FormatFloat, RoundDecimalIsTheWrittenNumber)
{
    QRandomGenerator random(5699);
    const char *pictures[] = {"0", "0.0", "0.00", "0.000", "0.0000"};
    for (int trial = 0; trial < 20000; ++trial) {
        const int decimals = trial % 5;
        // Scores on the half-thousandth and anything else, both signs, up to 10^6.
        const double x = trial % 2 ? (random.bounded(40001) - 20000) / 2000.0
                                   : (random.generateDouble() - 0.5) * std::pow(10.0, trial % 7);
        ASSERT_EQ(roundDecimal(x, decimals),
                  parseNumber(formatFloat(x, QString::fromLatin1(pictures[decimals])).toLatin1()))
            << x << " " << decimals;
    }
}

TEST(FormatFloat, NonFiniteValuesAndBadPictures)
{
    EXPECT_EQ(formatFloat(std::numeric_limits<double>::quiet_NaN(), QStringLiteral("#0.0")), QStringLiteral("NAN"));
    EXPECT_EQ(formatFloat(-std::numeric_limits<double>::infinity(), QStringLiteral("#0.0")), QStringLiteral("-INF"));
    EXPECT_THROW(formatFloat(1.0, QStringLiteral("#0.0#")), std::invalid_argument);
    EXPECT_THROW(formatFloat(1.0, QStringLiteral("0#.0")), std::invalid_argument);
    EXPECT_THROW(formatFloat(1.0, QString()), std::invalid_argument);
}

TEST(FormatRightAligned, KeepsTheFirstCharactersThenRightAligns)
{
    EXPECT_EQ(formatRightAligned(QStringLiteral("100.000"), 6), QStringLiteral("100.00"));
    EXPECT_EQ(formatRightAligned(QStringLiteral("9.650"), 6), QStringLiteral(" 9.650"));
    EXPECT_EQ(formatRightAligned(QStringLiteral("14.200"), 6), QStringLiteral("14.200"));
    EXPECT_EQ(formatRightAligned(QStringLiteral("38.450"), 7), QStringLiteral(" 38.450"));
    EXPECT_EQ(formatRightAligned(QStringLiteral("1234.5678"), 7), QStringLiteral("1234.56"));
    EXPECT_EQ(formatRightAligned(QString(), 6), QStringLiteral("      "));
}

TEST(FormatName, ComposedAsWrittenWithEmptyAndPaddedParts)
{
    const struct {
        int format;
        const char *first;
        const char *last;
        const char *name;
    } cases[] = {
        {0, "Simone", "Arden", "Simone Arden"}, {1, "Simone", "Arden", "Arden, Simone"},
        {2, "Simone", "Arden", "S Arden"},      {3, "Simone", "Arden", "Arden"},
        {4, "Simone", "Arden", ""},             {-1, "Simone", "Arden", ""},
        {0, "", "Lee", " Lee"},                 {1, "", "Lee", "Lee, "},
        {2, "", "Lee", " Lee"},                 {0, "Ann", "", "Ann "},
        {1, " Ann ", "Lee  ", "Lee  ,  Ann "},  {2, " Ann", "Lee", "  Lee"},
        {2, "Émile", "Roy", "É Roy"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(formatName(QString::fromUtf8(c.first), QString::fromUtf8(c.last), c.format),
                  QString::fromUtf8(c.name));
    }
}
