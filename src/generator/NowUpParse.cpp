#include "generator/NowUpParse.h"

#include "support/Formatting.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <limits>

namespace kestra {

namespace {

const QString kNowUp = QStringLiteral("NowUp");
const QString kNewScore = QStringLiteral("NewScore");
const QString kEventNumber = QStringLiteral("Ev_Num");
const QString kGym = QStringLiteral("Gym");

// Blanks and control characters: what separates unquoted comma items.
bool isBlank(QChar c)
{
    return c.unicode() <= 0x20;
}

QStringView trimmedBlanks(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.sliced(begin, end - begin);
}

NowUpParse fault(NowUpFault kind, QString detail)
{
    NowUpParse result;
    result.fault = kind;
    result.detail = std::move(detail);
    return result;
}

NowUpParse act(NowUpAction action)
{
    NowUpParse result;
    result.action = std::move(action);
    return result;
}

// Attribute values can be long or hold anything; a log line shows a bit.
QString shown(QStringView text)
{
    constexpr qsizetype kMax = 24;
    QString s = text.left(kMax).toString();
    for (QChar &c : s)
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            c = QLatin1Char('?');
    return QLatin1Char('"') + s + (text.size() > kMax ? QStringLiteral("...\"") : QStringLiteral("\""));
}

// A root element as read: its name, attributes and, for NowUp, the text of
// its first Gym child.
struct XmlRoot {
    QString name;
    QXmlStreamAttributes attributes;
    std::optional<QString> gym;
};

} // namespace

bool isMalformed(NowUpFault fault)
{
    switch (fault) {
    case NowUpFault::XmlNotWellFormed:
    case NowUpFault::XmlMissingEventNumber:
    case NowUpFault::XmlBadEventNumber:
    case NowUpFault::XmlMissingItem:
        return true;
    default:
        return false;
    }
}

QString faultName(NowUpFault fault)
{
    switch (fault) {
    case NowUpFault::None: return QStringLiteral("none");
    case NowUpFault::XmlNotWellFormed: return QStringLiteral("not well-formed XML");
    case NowUpFault::XmlMissingEventNumber: return QStringLiteral("no Ev_Num");
    case NowUpFault::XmlBadEventNumber: return QStringLiteral("Ev_Num not an integer");
    case NowUpFault::XmlMissingItem: return QStringLiteral("NowUp item missing");
    case NowUpFault::XmlOtherRoot: return QStringLiteral("other root element");
    case NowUpFault::LineOtherWord: return QStringLiteral("not a SCOREGEN line");
    case NowUpFault::LineNoEventNumber: return QStringLiteral("no event number");
    case NowUpFault::LineBadEventNumber: return QStringLiteral("event number not above 0");
    }
    return QStringLiteral("unknown");
}

std::optional<int> parseEventNumber(QStringView text)
{
    text = text.trimmed();
    if (text.isEmpty())
        return std::nullopt;
    bool negative = false;
    qsizetype i = 0;
    if (text[0] == QLatin1Char('+') || text[0] == QLatin1Char('-')) {
        negative = text[0] == QLatin1Char('-');
        i = 1;
    }
    if (i == text.size())
        return std::nullopt;
    // Accumulate as a negative number so that the lowest int fits too.
    long long value = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        value = value * 10 + (c - u'0');
        if (value > static_cast<long long>(std::numeric_limits<int>::max()) + 1)
            return std::nullopt;
    }
    if (negative)
        value = -value;
    if (value > std::numeric_limits<int>::max() || value < std::numeric_limits<int>::min())
        return std::nullopt;
    return static_cast<int>(value);
}

NowUpParse parseNowUpXml(QByteArrayView datagram, int nameFormat)
{
    while (!datagram.isEmpty() && datagram.back() == '\0')
        datagram.chop(1);

    // The whole document is read before anything is acted on, so a fault
    // anywhere in it leaves the line alone.
    QXmlStreamReader reader(datagram.toByteArray());
    XmlRoot root;
    int depth = 0;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            if (depth == 1) {
                root.name = reader.qualifiedName().toString();
                root.attributes = reader.attributes();
            } else if (depth == 2 && root.name == kNowUp && !root.gym
                       && reader.qualifiedName() == kGym) {
                root.gym = reader.readElementText(QXmlStreamReader::IncludeChildElements);
                --depth; // the reader stands on Gym's end element now
            }
        } else if (token == QXmlStreamReader::EndElement) {
            --depth;
        }
    }
    if (reader.hasError()) {
        return fault(NowUpFault::XmlNotWellFormed,
                     QStringLiteral("not well-formed XML, line %1, column %2: %3")
                         .arg(reader.lineNumber())
                         .arg(reader.columnNumber())
                         .arg(reader.errorString()));
    }

    const bool newScore = root.name == kNewScore;
    if (!newScore && root.name != kNowUp)
        return fault(NowUpFault::XmlOtherRoot, QStringLiteral("root element <%1> is neither NowUp nor NewScore")
                                                   .arg(root.name.left(40)));
    if (!root.attributes.hasAttribute(kEventNumber))
        return fault(NowUpFault::XmlMissingEventNumber,
                     QStringLiteral("<%1> has no attribute Ev_Num").arg(root.name));
    const QStringView eventText = root.attributes.value(kEventNumber);
    const std::optional<int> event = parseEventNumber(eventText);
    if (!event)
        return fault(NowUpFault::XmlBadEventNumber,
                     QStringLiteral("<%1> Ev_Num %2 is not an integer").arg(root.name, shown(eventText)));

    if (newScore)
        return act({*event, QString(), QString(), QString()});

    for (const QString &name : {QStringLiteral("Num"), QStringLiteral("FName"), QStringLiteral("LName")}) {
        if (!root.attributes.hasAttribute(name))
            return fault(NowUpFault::XmlMissingItem, QStringLiteral("<NowUp> has no attribute %1").arg(name));
    }
    if (!root.gym)
        return fault(NowUpFault::XmlMissingItem, QStringLiteral("<NowUp> has no child element <Gym>"));
    const QString first = root.attributes.value(QStringLiteral("FName")).toString();
    const QString last = root.attributes.value(QStringLiteral("LName")).toString();
    return act({*event, root.attributes.value(QStringLiteral("Num")).toString(),
                formatName(first, last, nameFormat), *root.gym});
}

QStringList splitCommaText(QStringView text)
{
    constexpr QChar kQuote = QLatin1Char('"');
    constexpr QChar kComma = QLatin1Char(',');
    QStringList items;
    const qsizetype n = text.size();
    qsizetype p = 0;
    while (p < n && isBlank(text[p]))
        ++p;
    while (p < n) {
        QString item;
        if (text[p] == kQuote) {
            ++p;
            while (p < n) {
                if (text[p] == kQuote) {
                    if (p + 1 < n && text[p + 1] == kQuote) {
                        item += kQuote;
                        p += 2;
                        continue;
                    }
                    ++p;
                    break;
                }
                item += text[p++];
            }
        } else {
            const qsizetype start = p;
            while (p < n && !isBlank(text[p]) && text[p] != kComma)
                ++p;
            item = text.sliced(start, p - start).toString();
        }
        items.append(item);
        while (p < n && isBlank(text[p]))
            ++p;
        if (p < n && text[p] == kComma) {
            if (p + 1 == n)
                items.append(QString());
            ++p;
            while (p < n && isBlank(text[p]))
                ++p;
        }
    }
    return items;
}

QString commaLineText(QByteArrayView datagram)
{
    const qsizetype nul = datagram.indexOf('\0');
    if (nul >= 0)
        datagram.truncate(nul);
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = utf8.decode(datagram);
    if (utf8.hasError())
        text = QString::fromLatin1(datagram);
    return text;
}

NowUpParse parseScoreGenLine(QByteArrayView datagram)
{
    const QString text = commaLineText(datagram);
    const bool fill = text.startsWith(QLatin1String("SCOREGEN,"));
    const bool clear = text.startsWith(QLatin1String("SCOREGEN-LAST,"));
    if (!fill && !clear)
        return fault(NowUpFault::LineOtherWord,
                     QStringLiteral("begins with %1").arg(shown(QStringView(text).left(14))));

    const QStringList fields = splitCommaText(text);
    if (fields.size() <= 2)
        return fault(NowUpFault::LineNoEventNumber, QStringLiteral("no field 2 (event number)"));
    const int event = parseEventNumber(fields[2]).value_or(0);
    if (event <= 0)
        return fault(NowUpFault::LineBadEventNumber,
                     QStringLiteral("event number %1 is not above 0").arg(shown(fields[2])));
    if (clear)
        return act({event, QString(), QString(), QString()});
    return act({event, fields.value(3), trimmedBlanks(fields.value(4)).toString(), QString()});
}

} // namespace kestra
