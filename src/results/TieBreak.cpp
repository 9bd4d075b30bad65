#include "results/TieBreak.h"

#include "meetdb/MeetStore.h"
#include "meetdb/SqlDialect.h"
#include "results/DecimalRounding.h"

#include <QHash>

#include <algorithm>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// Column numbers are looked up once a statement, not once a row and field.
int column(const QueryResult &rows, const QString &name)
{
    const int at = rows.fieldIndex(name);
    if (at < 0)
        rows.value(name); // throws, naming the field
    return at;
}

double number(const QueryResult &row, int column)
{
    return row.value(column).toDouble();
}

// Descending on a list of keys, the first that differs decides.
template <typename Keys>
bool descending(const Keys &a, const Keys &b)
{
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i])
            return a[i] > b[i];
    }
    return false;
}

} // namespace

QString TieMark(int status)
{
    switch (status) {
    case 1:
    case -1:
    case -3: return S("T");
    case 2:
    case -2:
    case 3: return S("*");
    default: return S(" ");
    }
}

int StepTieStatus(int status)
{
    return status > 0 ? -status : 0;
}

std::pair<QString, QString> TakeDatePair(QString &lower, QString &upper)
{
    const auto take = [](QString &list) {
        const qsizetype comma = list.indexOf(QLatin1Char(','));
        const QString value = comma < 0 ? list : list.left(comma);
        list = comma < 0 ? QString() : list.mid(comma + 1);
        return value;
    };
    const QString low = take(lower);
    const QString high = take(upper);
    return {low, high};
}

QStringList BirthdayLines(const QString &field, QString lowerDates, QString upperDates)
{
    if (upperDates.isEmpty())
        return {};
    QStringList lines = {S("and (")};
    bool first = true;
    while (!upperDates.isEmpty() || !lowerDates.isEmpty()) {
        const auto [low, high] = TakeDatePair(lowerDates, upperDates);
        if (!first)
            lines << S("or");
        lines << S("(%1 between date '%2' and date '%3')").arg(field, low, high);
        first = false;
    }
    lines << S(")");
    return lines;
}

// ---------------------------------------------------------------- events

QStringList TEventTieBreak::Statement(const EventRun &run) const
{
    const QString n = QString::number(run.eventNumber);
    const bool aa = run.kind == QLatin1String("A");
    QStringList sql = {S("select * from ") + TableName, S("where meetid = ") + QString::number(run.meet),
                       S("and events = ") + QString::number(run.eventGroup), S("and scratched = FALSE")};
    if (!run.gyms.isEmpty())
        sql << S("and Gym in (") + run.gyms + S(")");
    if (!run.sessions.isEmpty())
        sql << S("and Session in (") + run.sessions + S(")");
    if (!run.levels.isEmpty())
        sql << S("and Level in (") + run.levels + S(")");
    if (run.twoAttempts && run.twoScore == run.eventNumber)
        sql << S("and E7S1 is not null");
    sql << BirthdayLines(S("Birthday"), run.lowerDates, run.upperDates);
    if (!StatusFilter.isEmpty())
        sql << (aa ? S("and E7Status = ") : S("and E") + n + S("Status = ")) + SqlDialect::quoteString(StatusFilter);
    if (run.ncaa && aa)
        sql << S("and AAFlag = TRUE");
    if (run.ncaa && !aa && run.eventNumber > 0) {
        sql << (run.incExhib ? S("and ((E%1Flag = TRUE) or (AAFlag = TRUE) or (E%1Order is not null))").arg(n)
                             : S("and ((E%1Flag = TRUE) or (AAFlag = TRUE))").arg(n));
    }
    sql << S("order by");
    if (aa)
        sql << S("AA DESC");
    else if (run.method1)
        sql << S("E") + n + S("Final DESC");
    else
        sql << S("E") + n + S("Final DESC, AA DESC");
    return sql;
}

void TEventTieBreak::Execute(MeetStore &local, const EventRun &run)
{
    QueryResult rows = local.query(Statement(run).join(S("\r\n")));
    Entries.clear();
    const QString n = QString::number(run.eventNumber);
    const bool aa = run.kind == QLatin1String("A");
    const auto field = [&rows](const char *stem, int i, const char *suffix) {
        return column(rows, S(stem) + QString::number(i) + S(suffix));
    };
    const int numAt = column(rows, S("Num"));
    const int aaAt = column(rows, S("AA"));
    int finalAt = -1, startAt = -1, bAt = -1, adjAt = -1, aaAdjAt = -1;
    int e7Start = -1, e7B = -1, e7Adj = -1, e7AA = -1;
    std::array<int, 6> finals{}, starts{}, bScores{};
    if (!aa) {
        finalAt = column(rows, S("E") + n + S("Final"));
        if (run.method1) {
            startAt = column(rows, S("E") + n + S("Start"));
            bAt = column(rows, S("E") + n + S("BScore"));
            adjAt = column(rows, S("E") + n + S("Adj"));
            e7Start = column(rows, S("E7Start"));
            e7B = column(rows, S("E7BScore"));
            e7Adj = column(rows, S("E7Adj"));
        }
    } else {
        e7AA = column(rows, S("E7AAFinal"));
        aaAdjAt = column(rows, S("AAAdj"));
        for (int i = 1; i <= 6; ++i) {
            finals[std::size_t(i - 1)] = field("E", i, "Final");
            starts[std::size_t(i - 1)] = field("E", i, "Start");
            bScores[std::size_t(i - 1)] = field("E", i, "BScore");
        }
    }
    Entries.reserve(std::size_t(rows.recordCount()));
    for (rows.first(); !rows.eof() && rows.hasRow(); rows.next()) {
        TieEntry e;
        e.Num = rows.value(numAt).toInt();
        e.AA = Round3(number(rows, aaAt));
        if (!aa) {
            e.Final = Round3(number(rows, finalAt));
            if (run.method1) {
                const double start = number(rows, startAt);
                if (AddStartValue)
                    e.Final = Round3(start + e.Final);
                const double b = number(rows, bAt);
                const double j = number(rows, adjAt);
                const auto withStart = [&](double s, double v) { return AddStartValue ? Round3(s + v) : v; };
                if (run.twoScore == run.eventNumber && run.twoAttempts) {
                    const double s7 = number(rows, e7Start);
                    const double b7 = number(rows, e7B);
                    const double j7 = number(rows, e7Adj);
                    // An attempt without a start value does not count.
                    const double total1 = start == 0 ? 0 : withStart(start, Round3(b + start + j));
                    const double total2 = s7 == 0 ? 0 : withStart(s7, Round3(b7 + s7 + j7));
                    e.TB[0] = std::max(total1, total2);
                    e.TB[1] = std::max(start == 0 ? 0 : Round3(b), s7 == 0 ? 0 : Round3(b7));
                    e.TB[2] = std::max(withStart(start, Round3(start)), withStart(s7, Round3(s7)));
                } else {
                    e.TB[0] = Round3(b);
                    e.TB[1] = withStart(start, Round3(start));
                }
            }
        } else {
            std::array<double, 8> best{};
            for (std::size_t i = 0; i < 6; ++i) {
                double v = Round3(int(i) + 1 == run.twoScore ? number(rows, e7AA) : number(rows, finals[i]));
                if (AddStartValue && run.method1)
                    v = Round3(v + number(rows, starts[i]));
                best[i] = v;
            }
            SelectTop(best, 7);
            if (AddStartValue && run.method1) {
                double remade = 0;
                for (int i = 0; i < 6; ++i)
                    remade = Round3(remade + best[std::size_t(i)]);
                e.AA = Round3(remade + number(rows, aaAdjAt));
            }
            if (run.method1) {
                std::array<double, 6> b{};
                std::array<double, 6> st{};
                for (std::size_t i = 0; i < 6; ++i) {
                    b[i] = Round3(number(rows, bScores[i]));
                    const double start = Round3(number(rows, starts[i]));
                    st[i] = AddStartValue ? Round3(number(rows, starts[i]) + start) : start;
                }
                SelectTop(b, 5);
                SelectTop(st, 5);
                // The best six, five, four, three, two and one, rounded once.
                for (int slot = 0; slot < 6; ++slot) {
                    double sum = 0;
                    for (int i = 0; i < 6 - slot; ++i)
                        sum += best[std::size_t(i)];
                    e.TB[std::size_t(slot)] = Round3(sum);
                }
                double bs = 0;
                double sts = 0;
                for (int i = 0; i < 6; ++i) {
                    bs += b[std::size_t(i)];
                    sts += st[std::size_t(i)];
                }
                e.TB[6] = Round3(bs);
                e.TB[7] = Round3(sts);
            } else {
                for (int i = 0; i < 8; ++i)
                    e.TB[std::size_t(i)] = best[std::size_t(i)];
            }
        }
        Entries.push_back(e);
    }

    std::sort(Entries.begin(), Entries.end(), [&](const TieEntry &a, const TieEntry &b) {
        if (aa || run.method1) {
            const double first = aa ? a.AA : a.Final;
            const double second = aa ? b.AA : b.Final;
            if (first != second)
                return first > second;
            return descending(a.TB, b.TB);
        }
        if (a.Final != b.Final)
            return a.Final > b.Final;
        return a.AA > b.AA;
    });

    int status = 0;
    for (std::size_t i = 0; i < Entries.size(); ++i) {
        TieEntry &e = Entries[i];
        status = StepTieStatus(status);
        if (i + 1 < Entries.size()) {
            const TieEntry &next = Entries[i + 1];
            const bool equal = aa ? next.AA == e.AA : next.Final == e.Final;
            if (equal) {
                status = status == 2 || status == -2 ? 3 : 1;
                const bool inseparable = aa ? SameScores(next.TB, e.TB, 18)
                                            : run.method1 ? SameScores(next.TB, e.TB, 8) : next.AA == e.AA;
                if (inseparable)
                    status = 2;
            }
        }
        e.Status = status;
        e.Mark = TieMark(status);
    }
}

// ---------------------------------------------------------------- teams

QString TTeamTieBreak::teamText(const TeamAthlete &athlete, int teamField) const
{
    switch (teamField) {
    case 1: return athlete.Team1;
    case 2: return athlete.Team2;
    case 3: return athlete.Team3;
    default: return QString();
    }
}

QStringList TTeamTieBreak::Statement(const TeamRun &run) const
{
    QStringList sql = {
        S("select Num, First_Name, Last_Name, Level, Events, Gym, coalesce(Team1, '') as T1, Team1, Team2, Team3,"),
        S("E1Flag, E2Flag, E3Flag, E4Flag, E5Flag, E6Flag, E1Final, E2Final, E3Final, E4Final, E5Final, E6Final, "
          "E7AAFinal, AA"),
        S("from ") + TableName,
        S("where MeetID = ") + QString::number(run.meet),
        S("and Scratched = FALSE"),
        S("and Events = ") + QString::number(run.eventGroup)};
    if (!run.sessions.isEmpty())
        sql << S("and Session in (") + run.sessions + S(")");
    if (!run.levels.isEmpty())
        sql << S("and Level in (") + run.levels + S(")");
    if (!run.gyms.isEmpty())
        sql << S("and Gym in (") + run.gyms + S(")");
    const QString field = QString::number(run.teamField);
    if (run.teamField != -1 && !run.teamIDs.isEmpty())
        sql << S("and Team") + field + S(" in (") + run.teamIDs + S(")");
    if (run.teamField != -1 && run.teamIDs.isEmpty())
        sql << S("and coalesce(Team") + field + S(", '') <> ''");
    sql << BirthdayLines(S("Birthday"), run.lowerDates, run.upperDates);
    sql << (SortByTeam1 ? S("order by Gym, T1 DESC, AA DESC") : S("order by Gym, AA DESC"));
    return sql;
}

void TTeamTieBreak::Execute(MeetStore &local, MeetStore &remote, const TeamRun &run)
{
    Teams.clear();
    Athletes.clear();
    QueryResult rows = local.query(Statement(run).join(S("\r\n")));

    // The all-around limit a gym, ties at the limit kept for now.
    int count = 0;
    int lastGym = 0;
    bool firstRow = true;
    double lastAA = 0;
    const int gymAt = column(rows, S("Gym"));
    const int aaAt = column(rows, S("AA"));
    const int numAt = column(rows, S("Num"));
    const int team1At = column(rows, S("Team1"));
    const int team2At = column(rows, S("Team2"));
    const int team3At = column(rows, S("Team3"));
    const int e7AA = column(rows, S("E7AAFinal"));
    std::array<int, 6> finals{}, flags{};
    for (int i = 1; i <= 6; ++i) {
        finals[std::size_t(i - 1)] = column(rows, S("E%1Final").arg(i));
        flags[std::size_t(i - 1)] = column(rows, S("E%1Flag").arg(i));
    }
    Athletes.reserve(std::size_t(rows.recordCount()));
    for (rows.first(); !rows.eof() && rows.hasRow(); rows.next()) {
        const int gym = rows.value(gymAt).toInt();
        if (firstRow || gym != lastGym)
            count = 0;
        firstRow = false;
        lastGym = gym;
        const double aa = Round3(number(rows, aaAt));
        if (run.designation == 2 && run.aaCount != 0 && count >= run.aaCount && lastAA != aa) {
            lastAA = aa;
            continue;
        }
        ++count;
        TeamAthlete a;
        a.Num = rows.value(numAt).toInt();
        a.Gym = gym;
        a.Team1 = rows.value(team1At).toString();
        a.Team2 = rows.value(team2At).toString();
        a.Team3 = rows.value(team3At).toString();
        a.AA = aa;
        for (std::size_t i = 0; i < 6; ++i) {
            a.Scores[i] = Round3(int(i) + 1 == run.twoScore ? number(rows, e7AA) : number(rows, finals[i]));
            a.Flags[i] = rows.value(flags[i]).toBool();
        }
        a.SortText = teamText(a, run.teamField).toUtf8();
        std::array<double, 6> sorted = a.Scores;
        SelectTop(sorted, 5);
        if (run.method1) {
            for (int slot = 0; slot < 5; ++slot) {
                double sum = 0;
                for (int i = 0; i < 5 - slot; ++i)
                    sum = Round3(sum + sorted[std::size_t(i)]);
                a.TB[std::size_t(slot)] = sum;
            }
        } else {
            a.TB = sorted;
        }
        lastAA = aa;
        Athletes.push_back(a);
    }

    if (run.designation == 2) {
        // Ties at the limit are settled by the tie-break values.
        std::sort(Athletes.begin(), Athletes.end(), [this](const TeamAthlete &x, const TeamAthlete &y) {
            if (x.Gym != y.Gym)
                return x.Gym > y.Gym;
            if (SortByTeam1 && x.Team1 != y.Team1)
                return x.Team1.toUtf8() > y.Team1.toUtf8();
            if (x.AA != y.AA)
                return x.AA > y.AA;
            return descending(x.TB, y.TB);
        });
        int perGym = 0;
        int gym = 0;
        bool first = true;
        for (TeamAthlete &a : Athletes) {
            if (first || a.Gym != gym)
                perGym = 0;
            first = false;
            gym = a.Gym;
            if (run.aaCount != 0 && perGym >= run.aaCount)
                a.Gym = -1;
            else
                ++perGym;
        }
        std::erase_if(Athletes, [](const TeamAthlete &a) { return a.Gym == -1; });
    }

    // The neutral deductions of the meet's gyms, read once.
    QHash<int, double> deductions;
    if (run.designation != 1 && run.numEvents > 0) {
        QueryResult nd = remote.query(QStringList{S("select GymID, coalesce(TeamND, 0.0) as TeamND from ") + AttendTable,
                                                  S("where MeetID = ") + QString::number(run.meet)}
                                          .join(S("\r\n")));
        for (nd.first(); !nd.eof() && nd.hasRow(); nd.next())
            deductions.insert(nd.value(0).toInt(), Round3(nd.value(1).toDouble()));
    }
    // Where each athlete's scores are kept: team and member index.
    QHash<int, std::pair<std::size_t, std::size_t>> memberAt;
    QHash<std::pair<int, QString>, std::size_t> teamAt;

    for (int i = 1; i <= run.numEvents && i <= 6; ++i) {
        const std::size_t e = std::size_t(i - 1);
        std::sort(Athletes.begin(), Athletes.end(), [&](const TeamAthlete &x, const TeamAthlete &y) {
            if (run.designation != 1 && x.Gym != y.Gym)
                return x.Gym > y.Gym;
            if (run.teamField != -1 && x.SortText != y.SortText)
                return x.SortText > y.SortText;
            if (x.Scores[e] != y.Scores[e])
                return x.Scores[e] > y.Scores[e];
            return x.AA > y.AA;
        });
        int counted = 0;
        int lastTeamGym = -1;
        QString lastText;
        for (const TeamAthlete &a : Athletes) {
            if (run.ncaa && !a.Flags[e])
                continue;
            const QString text = teamText(a, run.teamField);
            if (run.designation == 1) {
                if (run.teamField != -1 && text != lastText) {
                    counted = 1;
                    lastText = text;
                } else {
                    ++counted;
                }
            } else if (a.Gym != lastTeamGym) {
                counted = 1;
                lastTeamGym = a.Gym;
                if (run.teamField != -1)
                    lastText = text;
            } else if (run.teamField != -1 && text != lastText) {
                counted = 1;
                lastText = text;
            } else {
                ++counted;
            }
            if (run.scoreCount != 0 && counted > run.scoreCount)
                continue;
            if (!(a.Scores[e] > 0))
                continue;
            const QString key = run.teamField == -1 ? S("*") : text;
            const int id = run.designation == 1 ? -1 : a.Gym;
            auto found = teamAt.constFind({id, key});
            if (found == teamAt.cend()) {
                TeamEntry made;
                made.Id = id;
                made.Key = key;
                if (run.designation != 1)
                    made.Total = deductions.value(id, 0.0);
                found = teamAt.insert({id, key}, Teams.size());
                Teams.push_back(made);
            }
            TeamEntry &team = Teams[*found];
            team.EventTotals[e] = Round3(team.EventTotals[e] + a.Scores[e]);
            team.Total = Round3(team.Total + a.Scores[e]);
            auto member = memberAt.constFind(a.Num);
            if (member == memberAt.cend()) {
                member = memberAt.insert(a.Num, {*found, team.Members.size()});
                team.Members.push_back({a.Num, {}});
            }
            Teams[member->first].Members[member->second].Scores[e] = a.Scores[e];
        }
    }

    for (TeamEntry &t : Teams) {
        std::array<double, 6> work = t.EventTotals;
        SelectTop(work, 5);
        if (run.method1) {
            for (int slot = 0; slot < 5; ++slot) {
                double sum = 0;
                for (int i = 0; i < 5 - slot; ++i)
                    sum = Round3(sum + work[std::size_t(i)]);
                t.TB[std::size_t(slot)] = sum;
            }
            t.TB[5] = 0;
        } else {
            t.TB = work;
        }
    }
    std::sort(Teams.begin(), Teams.end(), [](const TeamEntry &a, const TeamEntry &b) {
        if (a.Total != b.Total)
            return a.Total > b.Total;
        return descending(a.TB, b.TB);
    });
    int status = 0;
    for (std::size_t i = 0; i < Teams.size(); ++i) {
        status = StepTieStatus(status);
        if (i + 1 < Teams.size() && Teams[i + 1].Total == Teams[i].Total) {
            status = status == 2 || status == -2 ? 3 : 1;
            if (SameScores(Teams[i + 1].TB, Teams[i].TB, 6))
                status = 2;
        }
        Teams[i].Status = status;
        Teams[i].Mark = TieMark(status);
    }
}

} // namespace kestra
