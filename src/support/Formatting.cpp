#include "support/Formatting.h"

#include <QLocale>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace kestra {

void useCNumberConventions()
{
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());
}

namespace {

struct Picture {
    int minIntegerDigits = 0;
    int decimals = 0;
};

Picture parsePicture(const QString &picture)
{
    Picture p;
    const qsizetype point = picture.indexOf(QLatin1Char('.'));
    const QString integerPart = point < 0 ? picture : picture.left(point);
    const QString decimalPart = point < 0 ? QString() : picture.mid(point + 1);
    bool seenZero = false;
    for (QChar c : integerPart) {
        if (c == QLatin1Char('0')) {
            seenZero = true;
            ++p.minIntegerDigits;
        } else if (c != QLatin1Char('#') || seenZero) {
            throw std::invalid_argument("unsupported number picture: " + picture.toStdString());
        }
    }
    for (QChar c : decimalPart) {
        if (c != QLatin1Char('0'))
            throw std::invalid_argument("unsupported number picture: " + picture.toStdString());
        ++p.decimals;
    }
    if (integerPart.isEmpty() && decimalPart.isEmpty())
        throw std::invalid_argument("empty number picture");
    return p;
}

// Adds one to a string of decimal digits, growing it on a carry out.
void incrementDigits(std::string &digits)
{
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        if (*it != '9') {
            ++*it;
            return;
        }
        *it = '0';
    }
    digits.insert(digits.begin(), '1');
}

} // namespace

namespace {

// The value times 10^decimals, rounded as formatFloat rounds, as a digit
// string without sign; *negative tells the sign of the value.
std::string scaledDigits(double value, int decimals, bool *negative)
{
    // 18 significant digits: "d.ddddddddddddddddde+XX". to_chars writes the
    // C form whatever the locale; printf would write a decimal comma on a
    // German desktop.
    constexpr int kSignificant = 18;
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific,
                                       kSignificant - 1);
    const char *text = buffer;
    *negative = *text == '-';
    if (*negative)
        ++text;
    char significand[kSignificant];
    int digits = 0;
    const char *at = text;
    for (; at < written.ptr && *at != 'e'; ++at) {
        if (*at != '.')
            significand[digits++] = *at;
    }
    int exponent = 0;
    std::from_chars(at + 1 + (at[1] == '+' ? 1 : 0), written.ptr, exponent);

    // The value is 0.<significand> * 10^(exponent + 1). Keep the digits down to
    // the last decimal and round on the next one.
    const int keep = exponent + 1 + decimals;
    std::string scaled;
    if (keep >= digits) {
        scaled.assign(significand, std::size_t(digits));
        scaled.append(std::size_t(keep - digits), '0');
    } else {
        if (keep > 0)
            scaled.assign(significand, std::size_t(keep));
        if (keep >= 0 && significand[keep] >= '5') {
            if (scaled.empty())
                scaled.assign(1, '0');
            incrementDigits(scaled);
        }
    }
    if (scaled.empty())
        scaled.assign(1, '0');
    return scaled;
}

} // namespace

double roundDecimal(double value, int decimals)
{
    if (!std::isfinite(value))
        return value;
    bool negative = false;
    std::string scaled = scaledDigits(value, decimals, &negative);
    scaled += 'e';
    scaled += std::to_string(-decimals);
    double rounded = 0;
    std::from_chars(scaled.data(), scaled.data() + scaled.size(), rounded);
    return negative && rounded != 0 ? -rounded : rounded;
}

QString formatFloat(double value, const QString &picture)
{
    const Picture p = parsePicture(picture);
    if (std::isnan(value))
        return QStringLiteral("NAN");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-INF") : QStringLiteral("INF");

    bool negative = false;
    std::string scaled = scaledDigits(value, p.decimals, &negative);
    const auto decimals = static_cast<std::size_t>(p.decimals);
    if (scaled.size() < decimals + 1)
        scaled.insert(0, decimals + 1 - scaled.size(), '0');
    std::string integerDigits = scaled.substr(0, scaled.size() - decimals);
    const std::string decimalDigits = scaled.substr(scaled.size() - decimals);
    const std::size_t firstNonZero = integerDigits.find_first_not_of('0');
    integerDigits = firstNonZero == std::string::npos ? std::string() : integerDigits.substr(firstNonZero);
    if (integerDigits.size() < static_cast<std::size_t>(p.minIntegerDigits))
        integerDigits.insert(0, static_cast<std::size_t>(p.minIntegerDigits) - integerDigits.size(), '0');

    const bool isZero = scaled.find_first_not_of('0') == std::string::npos;
    std::string out;
    if (negative && !isZero)
        out += '-';
    out += integerDigits;
    if (decimals > 0) {
        out += '.';
        out += decimalDigits;
    }
    if (out.empty() || out == "-")
        out += '0';
    return QString::fromLatin1(out.data(), static_cast<qsizetype>(out.size()));
}

namespace {

template <typename Number>
Number parseC(QByteArrayView text, bool *ok)
{
    Number value = 0;
    const char *begin = text.data();
    const char *end = begin + text.size();
    if (begin != end && *begin == '+')
        ++begin;
    const auto [ptr, error] = std::from_chars(begin, end, value);
    const bool whole = error == std::errc() && ptr == end && begin != end;
    if (ok)
        *ok = whole;
    return whole ? value : Number(0);
}

} // namespace

double parseNumber(QByteArrayView text, bool *ok)
{
    return parseC<double>(text, ok);
}

float parseSingle(QByteArrayView text, bool *ok)
{
    return parseC<float>(text, ok);
}

QString formatRightAligned(const QString &text, int width)
{
    if (width <= 0)
        return QString();
    return text.left(width).rightJustified(width, QLatin1Char(' '));
}

QString formatName(const QString &first, const QString &last, int format)
{
    // Composed as written, blanks and empty parts included: a competitor
    // without a first name is " Lee" in "First Last". Boards and graphics
    // packages line names up by these exact texts.
    switch (format) {
    case 0: return first + QLatin1Char(' ') + last;
    case 1: return last + QStringLiteral(", ") + first;
    case 2: return first.left(1) + QLatin1Char(' ') + last;
    case 3: return last;
    default: return QString();
    }
}

} // namespace kestra
