#pragma once

#include <QString>

namespace kestra {

// Scores are compared after a round through decimal text: a value written
// with three decimals and read back. Two scores that print alike are then the
// same double, so places and ties come from plain comparison. The text is
// made by formatFloat, the same routine that writes the display block's
// numbers, so a board and a leader page never disagree on a score.

// The double nearest to x written by "##0.000" (the same as "#0.000").
double Round3(double x);
// The same by "#0.0".
double Round1(double x);

// A score as the pages show it: "#0.000".
QString ScoreText(double x);
// The current-score side of the place comparison of combined meets:
// "000.0000" cut to seven characters, which drops the fourth decimal after
// rounding at it ("009.450" for 9.45).
QString CombinedPlaceText(double x);
// "%7.7s" and "%6.6s".
QString Pad7(const QString &text);
QString Pad6(const QString &text);

} // namespace kestra
