#include "results/DecimalRounding.h"

#include "support/Formatting.h"

namespace kestra {

double Round3(double x)
{
    return roundDecimal(x, 3);
}

double Round1(double x)
{
    return roundDecimal(x, 1);
}

QString ScoreText(double x)
{
    return formatFloat(x, QStringLiteral("#0.000"));
}

QString CombinedPlaceText(double x)
{
    return formatFloat(x, QStringLiteral("000.0000")).left(7);
}

QString Pad7(const QString &text)
{
    return formatRightAligned(text, 7);
}

QString Pad6(const QString &text)
{
    return formatRightAligned(text, 6);
}

} // namespace kestra
