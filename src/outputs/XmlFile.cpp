#include "outputs/XmlFile.h"

#include "outputs/MeetFlags.h"
#include "outputs/TextFile.h"

#include <QLoggingCategory>

namespace kestra {

namespace {
Q_LOGGING_CATEGORY(lcXml, "kestra.outputs.xml")

QByteArray blanks(int indent)
{
    return QByteArray(indent, ' ');
}

QByteArray tag(QByteArrayView name, QByteArrayView attributes, int indent)
{
    QByteArray line = blanks(indent) + '<' + name.toByteArray();
    if (!attributes.isEmpty())
        line += ' ' + attributes.toByteArray();
    return line;
}
} // namespace

QByteArray XmlOpen(QByteArrayView name, QByteArrayView attributes, int indent)
{
    return tag(name, attributes, indent) + '>';
}

QByteArray XmlEmpty(QByteArrayView name, QByteArrayView attributes, int indent)
{
    return tag(name, attributes, indent) + "/>";
}

QByteArray XmlClose(QByteArrayView name, int indent)
{
    return blanks(indent) + "</" + name.toByteArray() + '>';
}

void XmlAttr(QByteArray &attributes, QByteArrayView name, QByteArrayView value)
{
    attributes += name.toByteArray() + "=\"" + value.toByteArray() + "\" ";
}

XmlFileWriter::XmlFileWriter(const DisplayRecord &record, const MeetFlags &meet, std::function<QString()> fileName,
                             std::function<int()> rotation)
    : m_record(record), m_meet(meet), m_fileName(std::move(fileName)), m_rotation(std::move(rotation))
{
}

QByteArray XmlFileWriter::value(const Field &field) const
{
    // Blanks and control characters go at both ends; inside they stay.
    QByteArrayView bytes = m_record.view(field);
    while (!bytes.isEmpty() && static_cast<unsigned char>(bytes.front()) <= ' ')
        bytes = bytes.sliced(1);
    while (!bytes.isEmpty() && static_cast<unsigned char>(bytes.back()) <= ' ')
        bytes.chop(1);
    return bytes.toByteArray();
}

void XmlFileWriter::buildDocument()
{
    using namespace layout;
    QByteArrayList &out = m_lines;
    out.clear();
    const auto number = [](int n) { return QByteArray::number(n); };
    const auto eventScores = [this](QByteArray &a, int group) {
        for (int e = 1; e <= 6; ++e)
            XmlAttr(a, "evscore" + QByteArray::number(e), value(ncaaEventScore(group, e)));
    };
    const auto lineups = [this, &out, &number](int group, int indent) {
        for (int line = 1; line <= kNcaaLineupLines; ++line) {
            QByteArray a;
            XmlAttr(a, "order", number(line));
            XmlAttr(a, "name", value(ncaaLineupName(group, line)));
            XmlAttr(a, "score", value(ncaaLineupScore(group, line)));
            out += XmlEmpty("lineup", a, indent);
        }
    };
    const QByteArray rotation = number(m_rotation ? m_rotation() : 0);
    const bool dBonus = m_meet.MeetsUseDBonus() || m_meet.MeetsUseJNBonus();
    const bool eBonus = m_meet.MeetsUseJNBonus();

    out += XmlOpen("?xml", "version=\"1.0\" encoding=\"ISO-8859-1\"?", 0);
    out += XmlOpen("scoring", {}, 0);

    out += XmlOpen("events", {}, 3);
    for (int s = 1; s <= kSlots; ++s) {
        QByteArray a;
        XmlAttr(a, "eventnum", number(s));
        XmlAttr(a, "title", value(eventTitle(s)));
        XmlAttr(a, "num", value(eventNum(s)));
        XmlAttr(a, "name", value(eventName(s)));
        XmlAttr(a, "gym", value(eventGym(s)));
        XmlAttr(a, "score", value(eventScore(s)));
        XmlAttr(a, "dscore", value(eventDScore(s)));
        XmlAttr(a, "escore", value(eventEScore(s)));
        if (dBonus)
            XmlAttr(a, "dbonus", value(eventDBonus(s)));
        if (eBonus)
            XmlAttr(a, "ebonus", value(eventEBonus(s)));
        XmlAttr(a, "nd", value(eventND(s)));
        out += XmlEmpty("event", a, 6);
    }
    out += XmlClose("events", 3);

    out += XmlOpen("nowups", {}, 3);
    for (int s = 1; s <= kSlots; ++s) {
        QByteArray a;
        XmlAttr(a, "nowupnum", number(s));
        XmlAttr(a, "title", value(nowUpTitle(s)));
        XmlAttr(a, "num", value(nowUpNum(s)));
        XmlAttr(a, "name", value(nowUpName(s)));
        XmlAttr(a, "gym", value(nowUpGym(s)));
        out += XmlEmpty("nowup", a, 6);
    }
    out += XmlClose("nowups", 3);

    out += XmlOpen("leaders", {}, 3);
    for (int p = 1; p <= kLeaderPageCount; ++p) {
        QByteArray a;
        XmlAttr(a, "leadernum", number(p));
        XmlAttr(a, "title1", value(leaderTitle1(p)));
        XmlAttr(a, "title2", value(leaderTitle2(p)));
        out += XmlOpen("leader", a, 6);
        for (int k = 1; k <= kLeaderLinesShown; ++k) {
            QByteArray l;
            XmlAttr(l, "linenum", number(k));
            XmlAttr(l, "rank", value(leaderRank(p, k)));
            XmlAttr(l, "name", value(leaderName(p, k)));
            XmlAttr(l, "gym", value(leaderGym(p, k)));
            XmlAttr(l, "score", value(leaderScore(p, k)));
            out += XmlEmpty("line", l, 9);
        }
        out += XmlClose("leader", 6);
    }
    out += XmlClose("leaders", 3);

    // Group 1 again, on its own, for the one-team cycle.
    {
        QByteArray a;
        XmlAttr(a, "rotation", rotation);
        XmlAttr(a, "team", value(ncaaTeam(1)));
        XmlAttr(a, "event", value(ncaaEvent(1)));
        XmlAttr(a, "eventscore", value(ncaaEventTotal(1)));
        XmlAttr(a, "teamscore", value(ncaaTeamTotal(1)));
        eventScores(a, 1);
        out += XmlOpen("ncaacycle", a, 3);
        lineups(1, 6);
        out += XmlClose("ncaacycle", 3);
    }

    {
        QByteArray a;
        XmlAttr(a, "rotation", rotation);
        out += XmlOpen("ncaagrids", a, 3);
    }
    for (int g = 1; g <= kNcaaGroupCount; ++g) {
        QByteArray a;
        XmlAttr(a, "num", number(g));
        XmlAttr(a, "team", value(ncaaTeam(g)));
        XmlAttr(a, "event", value(ncaaEvent(g)));
        XmlAttr(a, "eventscore", value(ncaaEventTotal(g)));
        XmlAttr(a, "teamscore", value(ncaaTeamTotal(g)));
        eventScores(a, g);
        out += XmlOpen("grid", a, 6);
        lineups(g, 9);
        out += XmlClose("grid", 6);
    }
    out += XmlClose("ncaagrids", 3);

    {
        QByteArray a;
        for (int e = 1; e <= kMatrixEvents; ++e) {
            XmlAttr(a, "evtitle" + number(e), value(matrixTitle(e)));
            XmlAttr(a, "evshort" + number(e), value(matrixShortTitle(e)));
        }
        out += XmlOpen("ncaamatrix", a, 3);
    }
    for (int r = 1; r <= kMatrixRows; ++r) {
        QByteArray a;
        XmlAttr(a, "linenum", number(r));
        XmlAttr(a, "rank", value(matrixRank(r)));
        XmlAttr(a, "gym", value(matrixTeam(r)));
        XmlAttr(a, "teamscore", value(matrixTeamScore(r)));
        for (int e = 1; e <= kMatrixEvents; ++e)
            XmlAttr(a, "evscore" + number(e), value(matrixEventScore(r, e)));
        out += XmlEmpty("line", a, 6);
    }
    out += XmlClose("ncaamatrix", 3);

    out += XmlClose("scoring", 0);
}

DeviceError XmlFileWriter::WriteXmlFile()
{
    buildDocument();
    QByteArray text;
    text.reserve(16384);
    for (const QByteArray &line : std::as_const(m_lines)) {
        text += line;
        text += "\r\n";
    }
    const QString path = m_fileName ? m_fileName() : QString();
    for (int attempt = 1; attempt <= kSaveAttempts; ++attempt) {
        if (replaceFile(path, text, &m_lastFailure)) {
            if (std::exchange(m_failing, false))
                qCInfo(lcXml).noquote() << "the XML file is written again:" << path;
            return DeviceErrors::Success;
        }
    }
    // The status label says "FAILED"; the log says why, once per run of failures.
    if (!std::exchange(m_failing, true))
        qCWarning(lcXml).noquote() << "the XML file was not written after" << kSaveAttempts
                                   << "attempts:" << m_lastFailure;
    return DeviceErrors::SendFailed;
}

} // namespace kestra
