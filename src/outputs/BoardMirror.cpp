#include "outputs/BoardMirror.h"

#include <algorithm>
#include <vector>

namespace kestra {

namespace {

using namespace layout;

// The parts of a board, numbered for the change check.
enum Part {
    kEventPart = 0,                               // + slot - 1
    kNowUpPart = kEventPart + kSlots,             // + slot - 1
    kLeaderPart = kNowUpPart + kSlots,            // + page - 1
    kNcaaPart = kLeaderPart + kLeaderPageCount,   // + group - 1
    kMatrixPart = kNcaaPart + kNcaaGroupCount,
    kPartCount
};

bool overlaps(const Field &a, const Field &b)
{
    return a.offset < b.end() && b.offset < a.end();
}

std::vector<Field> fieldsOf(int part)
{
    if (part < kNowUpPart) {
        const int s = part - kEventPart + 1;
        return {eventLine(s), eventGym(s), eventDBonus(s), eventEBonus(s)};
    }
    if (part < kLeaderPart)
        return {nowUpLine(part - kNowUpPart + 1)};
    if (part < kNcaaPart) {
        const int p = part - kLeaderPart + 1;
        return {leaderPage(p), leaderGyms(p)};
    }
    if (part < kMatrixPart) {
        const int g = part - kNcaaPart + 1;
        return {ncaaGroup(g), Field{ncaaEventScore(g, 1).offset, 36}};
    }
    return {kNcaaMatrix};
}

} // namespace

BoardMirror::BoardMirror() : m_touched(kPartCount, false)
{
    for (int part = 0; part < kPartCount; ++part)
        m_settled.push_back(render(part));
}

QStringList BoardMirror::settle()
{
    QStringList lines;
    for (int part = 0; part < kPartCount; ++part) {
        if (!m_touched[std::size_t(part)])
            continue;
        m_touched[std::size_t(part)] = false;
        QStringList now = render(part);
        if (now != m_settled[std::size_t(part)]) {
            lines += now;
            m_settled[std::size_t(part)] = std::move(now);
        }
    }
    return lines;
}

QStringList BoardMirror::apply(const BoardFrame &frame)
{
    const Field written{frame.address, static_cast<int>(frame.data.size())};
    std::vector<std::pair<int, QStringList>> before;
    for (int part = 0; part < kPartCount; ++part) {
        const auto fields = fieldsOf(part);
        if (std::any_of(fields.begin(), fields.end(), [&](const Field &f) { return overlaps(f, written); }))
            before.emplace_back(part, render(part));
    }
    m_record.pack(written, QByteArrayView(frame.data));
    QStringList lines;
    for (const auto &[part, old] : before) {
        m_touched[std::size_t(part)] = true;
        const QStringList now = render(part);
        if (now != old)
            lines += now;
    }
    return lines;
}

QStringList BoardMirror::render(int part) const
{
    if (part < kNowUpPart)
        return {eventLine(part - kEventPart + 1)};
    if (part < kLeaderPart)
        return {nowUpLine(part - kNowUpPart + 1)};
    if (part < kNcaaPart)
        return leaderPage(part - kLeaderPart + 1);
    if (part < kMatrixPart)
        return ncaaGroup(part - kNcaaPart + 1);
    return matrix();
}

static QString trimmed(const DisplayRecord &record, const Field &field)
{
    return record.text(field).trimmed();
}

QString BoardMirror::eventLine(int slot) const
{
    const QString title = trimmed(m_record, eventTitle(slot));
    const QString num = trimmed(m_record, eventNum(slot));
    const QString name = trimmed(m_record, eventName(slot));
    const QString score = trimmed(m_record, eventScore(slot));
    const QString gym = trimmed(m_record, eventGym(slot));
    QString line = QStringLiteral("EVENT %1  %2").arg(slot).arg(title.isEmpty() ? QStringLiteral("-") : title, -6);
    if (num.isEmpty() && name.isEmpty() && score.isEmpty() && gym.isEmpty())
        return line + QStringLiteral("  (blank)");
    line += QStringLiteral("  #%1  %2  %3").arg(num, -4).arg(name, -24).arg(score, 7);
    const struct {
        const char *label;
        Field field;
    } parts[] = {{"D", eventDScore(slot)}, {"E", eventEScore(slot)}, {"ND", eventND(slot)},
                 {"D+", eventDBonus(slot)}, {"E+", eventEBonus(slot)}};
    for (const auto &p : parts) {
        const QString value = trimmed(m_record, p.field);
        if (!value.isEmpty())
            line += QStringLiteral("  %1 %2").arg(QLatin1String(p.label), value);
    }
    if (!gym.isEmpty())
        line += QStringLiteral("  @ ") + gym;
    return line;
}

QString BoardMirror::nowUpLine(int slot) const
{
    const QString title = trimmed(m_record, nowUpTitle(slot));
    const QString num = trimmed(m_record, nowUpNum(slot));
    const QString name = trimmed(m_record, nowUpName(slot));
    const QString gym = trimmed(m_record, nowUpGym(slot));
    QString line = QStringLiteral("NOW UP %1  %2").arg(slot).arg(title.isEmpty() ? QStringLiteral("-") : title, -6);
    if (num.isEmpty() && name.isEmpty() && gym.isEmpty())
        return line + QStringLiteral("  (nobody)");
    line += QStringLiteral("  #%1  %2").arg(num, -4).arg(name);
    if (!gym.isEmpty())
        line += QStringLiteral("  @ ") + gym;
    return line;
}

QStringList BoardMirror::leaderPage(int page) const
{
    const QString title1 = trimmed(m_record, leaderTitle1(page));
    const QString title2 = trimmed(m_record, leaderTitle2(page));
    QStringList lines;
    QString head = QStringLiteral("LEADER %1  %2").arg(page).arg(title1);
    if (!title2.isEmpty())
        head += QStringLiteral(" / ") + title2;
    lines.append(head);
    for (int k = 1; k <= kLeaderLinesShown; ++k) {
        const QString rank = trimmed(m_record, leaderRank(page, k));
        const QString name = trimmed(m_record, leaderName(page, k));
        const QString score = trimmed(m_record, leaderScore(page, k));
        const QString gym = trimmed(m_record, leaderGym(page, k));
        if (rank.isEmpty() && name.isEmpty() && score.isEmpty() && gym.isEmpty())
            continue;
        QString line = QStringLiteral("    %1  %2  %3").arg(rank, 2).arg(name, -24).arg(score, 7);
        if (!gym.isEmpty())
            line += QStringLiteral("  @ ") + gym;
        lines.append(line);
    }
    if (lines.size() == 1 && title1.isEmpty() && title2.isEmpty())
        lines.first() += QStringLiteral("(blank)");
    return lines;
}

// A score field, or "-" when blank, so that columns stay countable.
static QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

QStringList BoardMirror::ncaaGroup(int group) const
{
    const QString team = trimmed(m_record, ncaaTeam(group));
    const QString head = QStringLiteral("NCAA %1  ").arg(group);
    if (team.isEmpty())
        return {head + QStringLiteral("(blank)")};
    QString event = trimmed(m_record, ncaaEvent(group));
    QStringList lines{head + QStringLiteral("%1  on %2  event %3  team %4")
                                 .arg(team, orDash(event), orDash(trimmed(m_record, ncaaEventTotal(group))),
                                      orDash(trimmed(m_record, ncaaTeamTotal(group))))};
    for (int l = 1; l <= kNcaaLineupLines; ++l) {
        const QString name = trimmed(m_record, ncaaLineupName(group, l));
        const QString score = trimmed(m_record, ncaaLineupScore(group, l));
        if (name.isEmpty() && score.isEmpty())
            continue;
        lines.append(QStringLiteral("    %1  %2  %3").arg(l).arg(name, -24).arg(score, 6));
    }
    QStringList totals;
    for (int e = 1; e <= 6; ++e)
        totals.append(orDash(trimmed(m_record, ncaaEventScore(group, e))));
    lines.append(QStringLiteral("    by event  ") + totals.join(QStringLiteral("  ")));
    return lines;
}

QStringList BoardMirror::matrix() const
{
    QStringList heads;
    for (int e = 1; e <= kMatrixEvents; ++e) {
        const QString title = trimmed(m_record, matrixTitle(e));
        if (!title.isEmpty())
            heads.append(title);
    }
    QStringList rows;
    for (int r = 1; r <= kMatrixRows; ++r) {
        const QString team = trimmed(m_record, matrixTeam(r));
        if (team.isEmpty())
            continue;
        QStringList scores;
        for (int e = 1; e <= kMatrixEvents; ++e)
            scores.append(orDash(trimmed(m_record, matrixEventScore(r, e))));
        rows.append(QStringLiteral("    %1  %2  %3  %4")
                        .arg(trimmed(m_record, matrixRank(r)), 2)
                        .arg(team, -20)
                        .arg(trimmed(m_record, matrixTeamScore(r)), 7)
                        .arg(scores.join(QStringLiteral("  "))));
    }
    if (heads.isEmpty() && rows.isEmpty())
        return {QStringLiteral("MATRIX  (blank)")};
    return QStringList{QStringLiteral("MATRIX  ") + heads.join(QStringLiteral("  "))} + rows;
}

} // namespace kestra
