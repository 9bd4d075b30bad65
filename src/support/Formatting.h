#pragma once

#include <QString>

namespace kestra {

// Writes a number by one of the display pictures: "#0.000", "#0.00", "#0.0",
// "##0.000", "000.0000" and "0.00". A '0' before the point is a required
// digit, a '#' an optional one; the count after the point is the number of
// decimals. Integer digits beyond the picture are written all the same.
//
// The value is first taken to 18 significant digits (what an extended-
// precision register holds of it) and that digit string is rounded half away
// from zero: 0.125 gives "0.13" with two decimals, while a score of 9.4625
// stored as a single float (9.46249961853027344) gives "9.462" with three. A
// result that rounds to zero carries no minus sign. Throws std::invalid_argument for
// a picture that is not of this kind.
QString formatFloat(double value, const QString &picture);

// "%6.6s" and "%7.7s": keeps the first `width` characters of the text and
// right-aligns what is left in `width` columns, so "100.000" becomes "100.00"
// and "9.650" becomes " 9.650".
QString formatRightAligned(const QString &text, int width);

// The competitor name in the operator's NameFormat: 0 "First Last",
// 1 "Last, First", 2 "F Last", 3 "Last"; any other format gives an empty name.
// Parts are trimmed, and a missing part takes its separator with it, so a
// competitor without a first name is "Last" in every format.
QString formatName(const QString &first, const QString &last, int format);

} // namespace kestra
