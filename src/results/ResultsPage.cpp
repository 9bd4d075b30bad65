#include "results/ResultsPage.h"

#include "support/Formatting.h"

namespace kestra {

QString QueueField(const QString &line, int n)
{
    qsizetype open = -1;
    for (int k = 0; k < n; ++k) {
        open = line.indexOf(QLatin1Char('['), open + 1);
        if (open < 0)
            return QString();
    }
    const qsizetype close = line.indexOf(QLatin1Char(']'), open + 1);
    return close < 0 ? line.mid(open + 1) : line.mid(open + 1, close - open - 1);
}

namespace {

QString flag(bool value)
{
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

QString bracketed(const QStringList &fields)
{
    QString out;
    for (const QString &field : fields)
        out += QLatin1Char('[') + field + QLatin1Char(']');
    return out;
}

int fieldCount(const QString &line)
{
    return int(line.count(QLatin1Char('[')));
}

// A field the builds read as a number; a text there is the line's fault.
int number(const QString &line, int field, const char *what)
{
    bool ok = false;
    const int value = QueueField(line, field).trimmed().toInt(&ok);
    if (!ok)
        throw PageLineError(QStringLiteral("field %1 (%2) holds \"%3\", not a whole number")
                                .arg(field)
                                .arg(QLatin1String(what), QueueField(line, field)));
    return value;
}

QString decimal(const QString &line, int field, const char *what)
{
    const QString text = QueueField(line, field).trimmed();
    bool ok = false;
    parseNumber(text.toLatin1(), &ok);
    if (!ok)
        throw PageLineError(QStringLiteral("field %1 (%2) holds \"%3\", not a number")
                                .arg(field)
                                .arg(QLatin1String(what), QueueField(line, field)));
    return text;
}

bool isOne(const QString &line, int field)
{
    return QueueField(line, field) == QLatin1String("1");
}

} // namespace

QString EventPageLine::multiplierOf(int percent)
{
    return formatFloat(percent / 100.0, QStringLiteral("0.00"));
}

QString EventPageLine::compose() const
{
    QStringList f = {channel,
                     title,
                     QStringLiteral("Events"),
                     eventName,
                     QString::number(eventNumber),
                     QString::number(eventGroup),
                     levels,
                     gyms,
                     sessions,
                     upperDates,
                     lowerDates,
                     places,
                     flag(foreignNoPlace),
                     flag(ncaa)};
    for (int meet : meets)
        f << QString::number(meet);
    for (const QString &multiplier : multipliers)
        f << multiplier;
    f << flag(twoAttempts) << QString::number(twoScore) << flag(method1) << flag(international) << flag(incExhib);
    return bracketed(f);
}

EventPageLine EventPageLine::read(const QString &line)
{
    EventPageLine p;
    p.channel = QString::number(ResultsPage::channelOf(line));
    p.title = QueueField(line, 2);
    p.eventName = QueueField(line, 4);
    p.eventNumber = number(line, 5, "event number");
    p.eventGroup = number(line, 6, "event group");
    p.levels = QueueField(line, 7);
    p.gyms = QueueField(line, 8);
    p.sessions = QueueField(line, 9);
    p.upperDates = QueueField(line, 10);
    p.lowerDates = QueueField(line, 11);
    p.places = QString::number(number(line, 12, "places"));
    p.foreignNoPlace = isOne(line, 13);
    p.ncaa = isOne(line, 14);
    for (int k = 0; k < 4; ++k) {
        p.meets[std::size_t(k)] = number(line, 15 + k, "meet");
        p.multipliers[std::size_t(k)] = decimal(line, 19 + k, "multiplier");
    }
    p.twoAttempts = isOne(line, 23);
    p.twoScore = number(line, 24, "two-score event");
    p.method1 = isOne(line, 25);
    p.international = isOne(line, 26);
    p.incExhib = isOne(line, 27);
    return p;
}

QString TeamPageLine::compose() const
{
    return bracketed({isMatrix() ? QStringLiteral("4") : channel,
                      title,
                      QStringLiteral("Team"),
                      QString::number(eventGroup),
                      levels,
                      sessions,
                      upperDates,
                      lowerDates,
                      scoreCount,
                      QString::number(teamField),
                      QString(),
                      QStringLiteral("0"),
                      places,
                      flag(ncaa),
                      teamIds,
                      QString::number(designation),
                      aaCount,
                      flag(grid),
                      QString::number(meet),
                      QString::number(twoScore),
                      QString::number(numEvents),
                      flag(method1),
                      flag(international)});
}

TeamPageLine TeamPageLine::read(const QString &line)
{
    TeamPageLine p;
    p.channel = QString::number(ResultsPage::channelOf(line));
    p.title = QueueField(line, 2);
    p.eventGroup = number(line, 4, "event group");
    p.levels = QueueField(line, 5);
    p.sessions = QueueField(line, 6);
    p.upperDates = QueueField(line, 7);
    p.lowerDates = QueueField(line, 8);
    p.scoreCount = QString::number(number(line, 9, "scores to count"));
    p.teamField = number(line, 10, "team field");
    p.places = QString::number(number(line, 13, "places"));
    p.ncaa = isOne(line, 14);
    p.teamIds = QueueField(line, 15);
    p.designation = number(line, 16, "designation");
    p.aaCount = QString::number(number(line, 17, "all-arounders per gym"));
    p.grid = isOne(line, 18);
    p.meet = number(line, 19, "meet");
    p.twoScore = number(line, 20, "two-score event");
    p.numEvents = number(line, 21, "number of events");
    p.method1 = isOne(line, 22);
    p.international = isOne(line, 23);
    return p;
}

namespace ResultsPage {

int channelOf(const QString &line)
{
    bool ok = false;
    const int channel = QueueField(line, 1).toInt(&ok);
    return ok ? channel : 1;
}

bool isTeam(const QString &line)
{
    return QueueField(line, 3) == QLatin1String("Team");
}

QString problemOf(const QString &line)
{
    const QString kind = QueueField(line, 3);
    const bool team = kind == QLatin1String("Team");
    if (!team && kind != QLatin1String("Events"))
        return QStringLiteral("field 3 (kind) holds \"%1\", not \"Events\" or \"Team\"").arg(kind);
    const int expected = team ? TeamPageLine::kFields : EventPageLine::kFields;
    if (fieldCount(line) != expected)
        return QStringLiteral("%1 page has %2 fields, this line has %3")
            .arg(team ? QStringLiteral("a team") : QStringLiteral("an event"))
            .arg(expected)
            .arg(fieldCount(line));
    try {
        if (team)
            TeamPageLine::read(line);
        else
            EventPageLine::read(line);
    } catch (const PageLineError &error) {
        return error.message();
    }
    return QString();
}

} // namespace ResultsPage

} // namespace kestra
