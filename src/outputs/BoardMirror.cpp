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
        return {ncaaGroup(part - kNcaaPart + 1)};
    return {matrix()};
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

QString BoardMirror::ncaaGroup(int group) const
{
    const QString team = trimmed(m_record, ncaaTeam(group));
    QString line = QStringLiteral("NCAA %1  ").arg(group);
    if (team.isEmpty())
        return line + QStringLiteral("(blank)");
    line += team + QStringLiteral("  ") + trimmed(m_record, ncaaEvent(group));
    int lineup = 0;
    for (int l = 1; l <= kNcaaLineupLines; ++l) {
        if (!trimmed(m_record, ncaaLineupName(group, l)).isEmpty())
            ++lineup;
    }
    line += QStringLiteral("  lineup %1  event %2  team %3")
                .arg(lineup)
                .arg(trimmed(m_record, ncaaEventTotal(group)), trimmed(m_record, ncaaTeamTotal(group)));
    return line;
}

QString BoardMirror::matrix() const
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
        rows.append(QStringLiteral("%1 %2 %3")
                        .arg(trimmed(m_record, matrixRank(r)), team, trimmed(m_record, matrixTeamScore(r))));
    }
    if (heads.isEmpty() && rows.isEmpty())
        return QStringLiteral("MATRIX  (blank)");
    return QStringLiteral("MATRIX  [%1]  %2").arg(heads.join(QLatin1Char(' ')), rows.join(QStringLiteral(" | ")));
}

} // namespace kestra
