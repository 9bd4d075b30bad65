#include "results/NCAARotation.h"

#include "meetdb/MeetStore.h"
#include "results/DecimalRounding.h"
#include "setup/KestraSettings.h"
#include "support/Formatting.h"
#include "support/LogicalControl.h"

#include <QStringList>

#include <algorithm>

namespace kestra {

namespace {

QString number(const QVariant &value)
{
    return QString::number(value.toLongLong());
}

// A field of a cursor's current row; null without a cursor or a row, which
// the statements then read as no team and no event.
QVariant fieldOf(const TableCursor *cursor, const QString &field)
{
    return cursor && cursor->hasRow() ? cursor->value(field) : QVariant();
}

// Loops over apparatus stop at the group's NumEvents; the gymnast fields
// exist for six.
int eventCount(const TableCursor *group)
{
    return std::clamp(fieldOf(group, QStringLiteral("NumEvents")).toInt(), 0, 6);
}

QString eventField(int event, const char *suffix)
{
    return QStringLiteral("E%1%2").arg(event).arg(QLatin1String(suffix));
}

} // namespace

void InsertScore(NCAAScoreList &list, double score)
{
    const auto place = std::find_if(list.begin(), list.end(), [score](double v) { return v < score; });
    if (place == list.end())
        return;
    std::move_backward(place, list.end() - 1, list.end());
    *place = score;
}

double SumBestScores(int n, const NCAAScoreList &list)
{
    if (n < 1 || n > int(list.size()))
        n = int(list.size());
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum = Round3(sum + list[std::size_t(i)]);
    return sum;
}

NCAARotation::NCAARotation(Window window) : m_window(std::move(window)) {}

TableCursor *NCAARotation::eventGroup(int panel) const
{
    return m_window.table(panel == 2 ? QStringLiteral("EventDisp2") : QStringLiteral("EventDisp1"));
}

QVariant NCAARotation::meetId() const
{
    return fieldOf(m_window.table(QStringLiteral("Meets")), QStringLiteral("MeetID"));
}

QString NCAARotation::teamField() const
{
    // A stored choice outside the three team fields reads as the default,
    // as the setting's own default would.
    const int choice = m_window.settings.NCAATeam;
    return QStringLiteral("Team%1").arg(choice >= 0 && choice <= 2 ? choice + 1 : 1);
}

void NCAARotation::LoadNCAATeams(NCAATeams &teams) const
{
    teams.clear();
    int next = 1;
    const int panels = m_window.controls(QStringLiteral("chkDual")).isChecked() ? 2 : 1;
    for (int panel = 1; panel <= panels; ++panel) {
        const QString box = QStringLiteral("cboSession%1").arg(panel);
        QStringList sessions;
        // The additional boxes count only behind a primary one.
        if (!m_window.controls(box).text().isEmpty()) {
            for (const QString &name : {box, box + QLatin1Char('x'), box + QLatin1Char('y'), box + QLatin1Char('z')}) {
                if (const QString text = m_window.controls(name).text(); !text.isEmpty())
                    sessions << SqlDialect::quoteString(text);
            }
        }
        QStringList sql;
        sql << QStringLiteral(
            "select distinct g1.gym, g2.\"short name\", g2.\"official name\" from gymnasts g1, gyms g2");
        sql << QStringLiteral("where meetid = ") + number(meetId());
        sql << QStringLiteral("and g1.scratched = false");
        sql << QStringLiteral("and events = ") + number(fieldOf(eventGroup(panel), QStringLiteral("EventID")));
        sql << QStringLiteral("and (coalesce(g1.%1, '') <> '')").arg(teamField());
        sql << QStringLiteral("and g1.gym = g2.gymid");
        if (!sessions.isEmpty())
            sql << QStringLiteral("and g1.Session in (") + sessions.join(QLatin1Char(',')) + QLatin1Char(')');
        sql << QStringLiteral("order by g2.\"short name\"");
        QueryResult rows = m_window.store().query(sql.join(QStringLiteral("\r\n")));
        for (; !rows.eof() && next <= NCAATeams::kRows; rows.next()) {
            NCAATeamRecord &team = teams.row(next++);
            team.GymID = rows.value(QStringLiteral("gym")).toInt();
            team.ShortName = rows.value(QStringLiteral("Short Name")).toString();
            team.Panel = panel;
        }
    }
}

void NCAARotation::FindNCAAEvents(NCAATeams &teams) const
{
    const int rotation = m_window.controls(QStringLiteral("rgrpRotation")).currentIndex();
    for (NCAATeamRecord &team : teams.records) {
        if (team.isEmpty())
            continue;
        const TableCursor *group = eventGroup(team.Panel);
        // Rotations follows Sessions; a session not found leaves both where
        // they were, as the session boxes do.
        if (TableCursor *sessions = m_window.table(QStringLiteral("Sessions")))
            sessions->locate(QStringLiteral("MeetID;Session"),
                             {meetId(), m_window.controls(QStringLiteral("cboSession%1").arg(team.Panel)).text()});
        team.RotationEvent = -1;

        QStringList sql;
        sql << QStringLiteral("select distinct squad from gymnasts");
        sql << QStringLiteral("where meetid = ") + number(meetId());
        sql << QStringLiteral("and scratched = False");
        sql << QStringLiteral("and gym = ") + QString::number(team.GymID);
        sql << QStringLiteral("and events = ") + number(fieldOf(group, QStringLiteral("EventID")));
        sql << QStringLiteral("and (coalesce(%1, '') <> '')").arg(teamField());
        // Only the first squad of the team is used.
        const QueryResult squads = m_window.store().query(sql.join(QStringLiteral("\r\n")));
        const QString squad = squads.hasRow() ? squads.value(0).toString() : QString();
        if (squad.isEmpty())
            continue;
        // "A" is squad 1. A letter past the nine squads of a rotation reads
        // like a squad string without this rotation: not a number, a bye.
        const int squadNumber = squad.at(0).unicode() - 64;
        QString order;
        if (squadNumber >= 1 && squadNumber <= 9)
            order = fieldOf(m_window.table(QStringLiteral("Rotations")), QStringLiteral("Squad%1").arg(squadNumber))
                        .toString();
        const QChar digit = rotation >= 0 && rotation < order.size() ? order.at(rotation) : QChar();
        const int event = digit >= QLatin1Char('0') && digit <= QLatin1Char('9') ? digit.unicode() - '0' : 0;
        if (event <= eventCount(group))
            team.RotationEvent = event;
    }
}

void NCAARotation::RefreshNCAAScores(NCAATeams &teams) const
{
    for (NCAATeamRecord &team : teams.records) {
        if (team.isEmpty())
            continue;
        const TableCursor *group = eventGroup(team.Panel);
        const int counting = fieldOf(group, QStringLiteral("NCAAScores")).toInt();
        const int events = eventCount(group);
        const int n = team.RotationEvent;
        team.EventName = n > 0 ? fieldOf(group, QStringLiteral("Event%1").arg(n)).toString().toUpper()
                               : QStringLiteral("BYE");
        team.LineupCount = 0;
        team.Lineup = {};
        team.EventTotals = {};
        team.EventScore.clear();
        std::array<NCAAScoreList, 6> best{};

        QStringList sql;
        sql << QStringLiteral("select * from gymnasts");
        sql << QStringLiteral("where meetid = ") + number(meetId());
        sql << QStringLiteral("and scratched = False");
        sql << QStringLiteral("and gym = ") + QString::number(team.GymID);
        sql << QStringLiteral("and events = ") + number(fieldOf(group, QStringLiteral("EventID")));
        const QString teamClause = QStringLiteral("and (coalesce(%1, '') <> '')").arg(teamField());
        if (n > 0 && n <= 6) {
            QStringList lineupSql = sql;
            lineupSql << QStringLiteral("and E%1Flag = True").arg(n) << teamClause
                      << QStringLiteral("order by E%1Order").arg(n);
            QueryResult rows = m_window.store().query(lineupSql.join(QStringLiteral("\r\n")));
            NCAAScoreList &list = best[std::size_t(n - 1)];
            // A lineup has six places: a seventh flagged competitor is not read.
            for (; !rows.eof() && team.LineupCount < 6; rows.next()) {
                const double final = rows.value(eventField(n, "Final")).toDouble();
                InsertScore(list, final);
                NCAALineupEntry &entry = team.Lineup[std::size_t(team.LineupCount++)];
                entry.name = formatName(rows.value(QStringLiteral("First_Name")).toString(),
                                        rows.value(QStringLiteral("Last_Name")).toString(),
                                        m_window.settings.NameFormat);
                // Scored is told by the first judge, so a final of 0 shows.
                entry.score = rows.value(eventField(n, "S1")).isNull() ? QString() : Pad6(ScoreText(final));
            }
            team.EventScore = Pad7(ScoreText(SumBestScores(counting, list)));
        }

        best = {};
        sql << teamClause;
        QueryResult rows = m_window.store().query(sql.join(QStringLiteral("\r\n")));
        for (; !rows.eof(); rows.next()) {
            for (int i = 1; i <= events; ++i) {
                if (rows.value(eventField(i, "Flag")).toBool())
                    InsertScore(best[std::size_t(i - 1)], rows.value(eventField(i, "Final")).toDouble());
            }
        }
        double total = 0.0;
        for (int i = 1; i <= events; ++i) {
            const double sum = SumBestScores(counting, best[std::size_t(i - 1)]);
            total = Round3(sum + total);
            team.EventTotals[std::size_t(i - 1)] = ScoreText(sum);
        }

        QStringList attend;
        attend << QStringLiteral("select * from attend") << QStringLiteral("where meetid = ") + number(meetId())
               << QStringLiteral("and gymid = ") + QString::number(team.GymID);
        QueryResult nd = m_window.store().query(attend.join(QStringLiteral("\r\n")));
        // No Attend row reads as no deduction; one stored as a negative
        // amount is added as it stands.
        const double deduction = nd.hasRow() ? Round1(nd.value(QStringLiteral("TeamND")).toDouble()) : 0.0;
        if (deduction != 0.0)
            total = Round3(total + deduction);
        team.TeamScore = Pad7(formatFloat(total, QStringLiteral("##0.000")));
    }
}

void NCAARotation::refresh(NCAATeams &teams) const
{
    NCAATeams work = teams;
    FindNCAAEvents(work);
    RefreshNCAAScores(work);
    teams = work;
}

} // namespace kestra
