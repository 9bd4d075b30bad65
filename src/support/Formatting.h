#pragma once

#include <QByteArrayView>
#include <QString>

namespace kestra {

// Every number this program writes or reads (wire, files, SQL, settings) is
// in the C form. The routines below are locale-free by themselves; this pins
// the C numeric conventions for the whole process as well, so that no library
// call made on our behalf writes a decimal comma. Each program calls it once,
// right after its application object (which adopts the desktop's locale).
void useCNumberConventions();

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
// The number formatFloat would write with `decimals` decimals, as a double:
// the same rounding without the text.
double roundDecimal(double value, int decimals);

// A number in the C form (a point, no grouping, an exponent allowed), as
// databases and files write them, whatever the operator's locale says. The
// whole text must be the number; otherwise 0 with *ok false.
double parseNumber(QByteArrayView text, bool *ok = nullptr);
// The same read straight into a single float, as a 32-bit column holds it.
float parseSingle(QByteArrayView text, bool *ok = nullptr);

// "%6.6s" and "%7.7s": keeps the first `width` characters of the text and
// right-aligns what is left in `width` columns, so "100.000" becomes "100.00"
// and "9.650" becomes " 9.650".
QString formatRightAligned(const QString &text, int width);

// The competitor name in the operator's NameFormat: 0 first name, a blank,
// last name; 1 last name, ", ", first name; 2 the first letter of the first
// name, a blank, last name; 3 last name alone; any other format gives an empty
// name. Nothing is trimmed and no separator is dropped.
QString formatName(const QString &first, const QString &last, int format);

} // namespace kestra
