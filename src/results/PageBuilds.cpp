#include "results/PageBuilds.h"

#include "meetdb/MeetStore.h"
#include "results/DecimalRounding.h"
#include "results/LocalCopies.h"
#include "support/Formatting.h"

#include <QHash>

#include <algorithm>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

const QString kGymnasts = QStringLiteral("KMRGymnasts");

QString rowScore(double score)
{
    return Pad7(ScoreText(score));
}

} // namespace

bool PlaceRule::next(bool sameScore, const QString &mark, int status, bool citizen)
{
    if (m_lastCitizen || !m_noForeignPlace)
        ++m_count;
    const bool counting = m_tieBreak == QLatin1String("1") || m_tieBreak == QLatin1String("3") ||
                          m_tieBreak == QLatin1String("4");
    if (!sameScore) {
        if (counting)
            m_place = m_count;
        else if (!(m_noForeignPlace && !m_lastCitizen && !m_tiedCitizen))
            ++m_place;
        if (m_places > 0 && m_place > m_places)
            return false;
        m_tiedCitizen = false;
    } else if (m_tieBreak == QLatin1String("3")) {
        m_place = m_count;
    } else if (m_tieBreak == QLatin1String("4") && !(mark == QLatin1String("*") && m_lastStatus == 2)) {
        m_place = m_count;
    }
    m_lastStatus = status;
    if (status != 0)
        m_tiedCitizen = m_tiedCitizen || citizen;
    m_lastCitizen = citizen;
    return true;
}

void PageBuilds::snapshot(int meet, int eventNumber)
{
    // The whole build reads a snapshot of the meet taken now.
    LocalCopies &copies = *m_context.copies;
    copies.copy(kGymnasts, S("Gymnasts"), S("MeetID = %1").arg(meet), LocalCopies::pageFields(eventNumber));
    copies.copy(S("Gyms"), S("Gyms"));
}

ResultsRows PageBuilds::BuildEventRows(const QString &line)
{
    const EventPageLine page = EventPageLine::read(line);
    return page.meets[1] == -1 ? SingleMeetRows(page) : CombinedMeetRows(page);
}

ResultsRows PageBuilds::SingleMeetRows(const EventPageLine &page)
{
    const int meet = page.meets[0];
    snapshot(meet, page.eventNumber < 1 ? -1 : page.eventNumber);
    EventRun run;
    run.kind = page.eventNumber == -1 || page.eventNumber == -2 ? S("A") : S("E");
    run.meet = meet;
    run.incExhib = page.incExhib;
    run.twoAttempts = page.twoAttempts;
    run.method1 = page.method1;
    run.ncaa = page.ncaa;
    run.upperDates = page.upperDates;
    run.lowerDates = page.lowerDates;
    run.levels = page.levels;
    run.sessions = page.sessions;
    run.gyms = page.gyms;
    run.twoScore = page.twoScore;
    run.eventNumber = page.eventNumber;
    run.eventGroup = page.eventGroup;
    MeetStore &local = m_context.copies->local();
    m_events.Execute(local, run);

    const bool aa = page.eventNumber < 1;
    const QString scoreField = aa ? S("AA") : S("E%1Final").arg(page.eventNumber);
    const QString presenceField = aa ? S("AA") : S("E%1S1").arg(page.eventNumber);
    // The look-ups of the walk, read from the snapshot once.
    struct Gymnast {
        QString first, last, country;
        int gym = 0;
        bool citizen = false;
        QVariant score, presence;
    };
    QHash<int, Gymnast> gymnasts;
    QueryResult rows = local.queryNative(
        S("select Num, First_Name, Last_Name, Country, Gym, USCitizen, \"%1\", \"%2\" from KMRGymnasts where MeetID = ?")
            .arg(scoreField, presenceField),
        {meet});
    for (rows.first(); !rows.eof() && rows.hasRow(); rows.next()) {
        gymnasts.insert(rows.value(0).toInt(), {rows.value(1).toString(), rows.value(2).toString(),
                                                rows.value(3).toString(), rows.value(4).toInt(),
                                                rows.value(5).toBool(), rows.value(6), rows.value(7)});
    }
    QHash<int, QString> gyms;
    QueryResult gymRows = local.queryNative(S("select GymID, \"Short Name\" from Gyms"));
    for (gymRows.first(); !gymRows.eof() && gymRows.hasRow(); gymRows.next())
        gyms.insert(gymRows.value(0).toInt(), gymRows.value(1).toString());

    PlaceRule rule(m_context.hostTieBreak ? m_context.hostTieBreak() : QString(), page.places.toInt(),
                   page.foreignNoPlace);
    const int format = m_context.nameFormat ? m_context.nameFormat() : 0;
    double lastScore = 0;
    ResultsRows out;
    for (const TieEntry &entry : m_events.Entries) {
        const auto found = gymnasts.constFind(entry.Num);
        if (found == gymnasts.cend() || !gyms.contains(found->gym))
            continue;
        const double score = found->score.toDouble();
        if (!rule.next(score == lastScore, entry.Mark, entry.Status, found->citizen))
            break;
        if (!found->presence.isNull() && score != 0) {
            ResultsRow row;
            row.Place = QString::number(rule.place());
            row.Name = formatName(found->first, found->last, format);
            row.Team = page.international ? found->country : gyms.value(found->gym);
            row.Score = rowScore(score);
            out.push_back(row);
        }
        lastScore = score;
    }
    return out;
}

QStringList PageBuilds::CombinedResultsSql(const EventPageLine &page)
{
    const bool used3 = page.meets[2] != -1;
    const bool used4 = page.meets[3] != -1;
    const std::array<bool, 4> used = {true, true, used3, used4};
    const QString n = QString::number(page.eventNumber);
    const auto m = [&](int k) { return page.multipliers[std::size_t(k - 1)]; };
    QStringList sql = {S("select g1.meetid, g1.num, g1.first_name, g1.last_name, gyms.\"short name\", g1.uscitizen, "
                         "g1.country,")};
    const auto weighted = [&](const QString &column) {
        QStringList lines = {S("(g1.%1 * %2)").arg(column, m(1)), S("+ (g2.%1 * %2)").arg(column, m(2))};
        for (int k = 3; k <= 4; ++k) {
            if (used[std::size_t(k - 1)])
                lines << S("+ (g%1.%2 * %3)").arg(k).arg(column, m(k));
        }
        return lines;
    };
    sql << weighted(S("AA")) << S("as ScoreAA,");
    if (page.eventNumber == -1) {
        for (int i = 1; i <= 7; ++i) {
            const QString final = i == 7 ? S("E7AAFinal") : S("E%1Final").arg(i);
            for (int k = 1; k <= 4; ++k) {
                if (!used[std::size_t(k - 1)])
                    continue;
                // Built by concatenation: arg() would read "%2%1" as the single placeholder %21.
                const QString g = S("g") + QString::number(k);
                const QString e = S("e") + QString::number(i) + QString::number(k);
                sql << g + u'.' + final + S(" as  ") + e + S("final,")
                    << g + S(".E") + QString::number(i) + S("Start as  ") + e + S("start,");
            }
        }
        sql << S("g1.AA as s1, g2.AA as s2,");
        for (int k = 3; k <= 4; ++k) {
            if (used[std::size_t(k - 1)])
                sql << S("g%1.AA as s%1,").arg(k);
        }
        sql << weighted(S("AA")) << S("as Score");
    } else {
        for (int k = 1; k <= 4; ++k) {
            if (!used[std::size_t(k - 1)])
                continue;
            const QString g = S("g%1.E").arg(k);
            const QString d = QString::number(k);
            sql << g + n + S("Final as  s") + d + S(",")
                << g + n + S("Start as  s") + d + S("start,  ") + g + S("7Start as  s") + d + S("7start,")
                << g + n + S("BScore as s") + d + S("bscore, ") + g + S("7BScore as s") + d + S("7bscore,")
                << g + n + S("DBonus as s") + d + S("dbonus, ") + g + S("7DBonus as s") + d + S("7dbonus,")
                << g + n + S("EBonus as s") + d + S("ebonus, ") + g + S("7EBonus as s") + d + S("7ebonus,")
                << g + n + S("Adj as    s") + d + S("adj,    ") + g + S("7Adj as    s") + d + S("7adj,");
        }
        sql << weighted(S("E") + n + S("Final")) << S("as Score");
    }
    sql << S("from gymnasts g1, gymnasts g2,");
    for (int k = 3; k <= 4; ++k) {
        if (used[std::size_t(k - 1)])
            sql << S("gymnasts g%1,").arg(k);
    }
    sql << S("gyms") << S("where g1.num = g2.num");
    for (int k = 3; k <= 4; ++k) {
        if (used[std::size_t(k - 1)])
            sql << S("and g1.num = g%1.num").arg(k);
    }
    sql << S("and g1.gym = gyms.gymid") << S("and g1.scratched = False");
    for (int k = 1; k <= 4; ++k) {
        if (used[std::size_t(k - 1)])
            sql << S("and g%1.meetid = %2").arg(k).arg(page.meets[std::size_t(k - 1)]);
    }
    sql << S("and g1.events = ") + QString::number(page.eventGroup);
    if (!page.gyms.isEmpty())
        sql << S("and g1.gym in (") + page.gyms + S(")");
    if (!page.levels.isEmpty())
        sql << S("and g1.level in (") + page.levels + S(")");
    if (!page.sessions.isEmpty())
        sql << S("and g1.session in (") + page.sessions + S(")");
    if (page.twoAttempts) {
        for (int k = 1; k <= 4; ++k) {
            if (used[std::size_t(k - 1)])
                sql << S("and g%1.E7S1 is not null").arg(k);
        }
    }
    if (page.ncaa && page.eventNumber == -1)
        sql << S("and g1.AAFlag = TRUE");
    if (page.ncaa && page.eventNumber > 0) {
        sql << (page.incExhib ? S("and ((g1.E%1Flag = TRUE) or (g1.AAFlag = TRUE) or (g1.E%1Order is not null))").arg(n)
                              : S("and ((g1.E%1Flag = TRUE) or (g1.AAFlag = TRUE))").arg(n));
    }
    sql << BirthdayLines(S("g1.birthday"), page.lowerDates, page.upperDates);
    sql << S("order by Score DESC");
    return sql;
}

ResultsRows PageBuilds::CombinedMeetRows(const EventPageLine &page)
{
    struct CombinedEntry {
        int Num = -1;
        double ScoreAA = 0;
        double Score = 0;
        std::array<double, 18> TB{};
        int row = 0;
    };
    QueryResult rows = m_context.remote->query(CombinedResultsSql(page).join(S("\r\n")));
    const std::array<bool, 4> used = {true, true, page.meets[2] != -1, page.meets[3] != -1};
    const bool aa = page.eventNumber == -1 || page.eventNumber == -2;
    // The two-score event of the window's current group, not the line's:
    // that is how the all-around has always been told apart here.
    const int twoScore = m_context.currentTwoScore ? m_context.currentTwoScore() : 0;
    std::vector<CombinedEntry> entries;
    int index = 0;
    for (rows.first(); !rows.eof() && rows.hasRow(); rows.next(), ++index) {
        CombinedEntry e;
        e.row = index;
        e.Num = rows.value(S("num")).toInt();
        e.ScoreAA = Round3(rows.value(S("ScoreAA")).toDouble());
        e.Score = Round3(rows.value(S("Score")).toDouble());
        if (page.method1 && aa) {
            std::array<double, 8> sums{};
            for (int i = 1; i <= 6; ++i) {
                const int x = i == twoScore ? 7 : i;
                double sum = 0;
                for (int k = 1; k <= 4; ++k) {
                    if (used[std::size_t(k - 1)])
                        sum = Round3(sum + rows.value(S("e%1%2final").arg(x).arg(k)).toDouble());
                }
                sums[std::size_t(i - 1)] = sum;
            }
            SelectTop(sums, 7);
            for (int slot = 0; slot < 6; ++slot) {
                double total = 0;
                for (int i = 0; i < 6 - slot; ++i)
                    total += sums[std::size_t(i)];
                e.TB[std::size_t(slot)] = Round3(total);
            }
        } else if (page.method1) {
            for (int k = 1; k <= 4; ++k) {
                if (!used[std::size_t(k - 1)])
                    continue;
                e.TB[0] = Round3(e.TB[0] + rows.value(S("s%1bscore").arg(k)).toDouble());
                e.TB[1] = Round3(e.TB[1] + rows.value(S("s%1start").arg(k)).toDouble());
            }
        }
        entries.push_back(e);
    }
    std::sort(entries.begin(), entries.end(), [&](const CombinedEntry &a, const CombinedEntry &b) {
        if (a.Score != b.Score)
            return a.Score > b.Score;
        if (page.method1) {
            for (std::size_t i = 0; i < a.TB.size(); ++i) {
                if (a.TB[i] != b.TB[i])
                    return a.TB[i] > b.TB[i];
            }
            return false;
        }
        return a.ScoreAA > b.ScoreAA;
    });

    PlaceRule rule(m_context.hostTieBreak ? m_context.hostTieBreak() : QString(), page.places.toInt(),
                   page.foreignNoPlace);
    const int format = m_context.nameFormat ? m_context.nameFormat() : 0;
    const auto threeDecimals = [](double v) { return parseNumber(ScoreText(v).toLatin1()); };
    int status = 0;
    double lastScore = 0;
    ResultsRows out;
    const std::vector<StoreRecord> records = [&] {
        std::vector<StoreRecord> r;
        for (rows.first(); !rows.eof() && rows.hasRow(); rows.next())
            r.push_back(rows.currentRecord());
        return r;
    }();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const CombinedEntry &e = entries[i];
        if (e.Score == 0)
            continue;
        status = StepTieStatus(status);
        if (i + 1 < entries.size() && threeDecimals(entries[i + 1].Score) == threeDecimals(e.Score)) {
            status = status == 2 || status == -2 ? 3 : 1;
            const bool inseparable = page.method1 ? SameScores(entries[i + 1].TB, e.TB, 8)
                                                  : entries[i + 1].ScoreAA == e.ScoreAA;
            if (inseparable)
                status = 2;
        }
        const StoreRecord &record = records[std::size_t(e.row)];
        const bool citizen = record.value(S("uscitizen")).toBool();
        // The current score rounds at the fourth decimal and is cut at the
        // third; the last rounds at the third. Both sides have passed Round3,
        // so they agree for every score below 1000; both stay as they are.
        const double current = parseNumber(CombinedPlaceText(e.Score).toLatin1());
        if (!rule.next(current == threeDecimals(lastScore), TieMark(status), status, citizen))
            break;
        lastScore = e.Score;
        ResultsRow row;
        row.Place = QString::number(rule.place());
        row.Name = formatName(record.value(S("first_name")).toString(), record.value(S("last_name")).toString(), format);
        row.Team = page.international ? record.value(S("country")).toString() : record.value(S("short name")).toString();
        row.Score = rowScore(e.Score);
        out.push_back(row);
    }
    return out;
}

ResultsRows PageBuilds::BuildTeamRows(const QString &line)
{
    const TeamPageLine page = TeamPageLine::read(line);
    snapshot(page.meet, 0);
    TeamRun run;
    run.meet = page.meet;
    run.eventGroup = page.eventGroup;
    run.method1 = page.method1;
    run.ncaa = page.ncaa;
    run.aaCount = page.aaCount.toInt();
    run.designation = page.designation;
    run.scoreCount = page.scoreCount.toInt();
    run.lowerDates = page.lowerDates;
    run.upperDates = page.upperDates;
    run.levels = page.levels;
    run.sessions = page.sessions;
    run.teamIDs = page.teamIds;
    run.teamField = page.teamField;
    run.numEvents = page.numEvents;
    run.twoScore = page.twoScore;
    MeetStore &local = m_context.copies->local();
    m_teams.Execute(local, *m_context.remote, run);

    QHash<int, std::pair<QString, QString>> gyms; // short, official
    QueryResult gymRows = local.queryNative(S("select GymID, \"Short Name\", \"Official Name\" from Gyms"));
    for (gymRows.first(); !gymRows.eof() && gymRows.hasRow(); gymRows.next())
        gyms.insert(gymRows.value(0).toInt(), {gymRows.value(1).toString(), gymRows.value(2).toString()});
    const int numEvents =
        std::clamp(m_context.heads ? m_context.heads(page.eventGroup).numEvents : page.numEvents, 0, 6);
    const QString tieBreak = m_context.hostTieBreak ? m_context.hostTieBreak() : QString();
    const bool counting = tieBreak == QLatin1String("1") || tieBreak == QLatin1String("3") ||
                          tieBreak == QLatin1String("4");
    const int places = page.places.toInt();
    int count = 0;
    int place = 0;
    double lastTotal = 0;
    int lastStatus = 0;
    QString name;
    ResultsRows out;
    for (const TeamEntry &team : m_teams.Teams) {
        ++count;
        if (team.Total == lastTotal) {
            if (tieBreak == QLatin1String("3"))
                place = count;
            else if (tieBreak == QLatin1String("4") && !(team.Mark == QLatin1String("*") && lastStatus == 2))
                place = count;
        } else {
            place = counting ? count : place + 1;
        }
        lastStatus = team.Status;
        if (places > 0 && place > places)
            break;
        if (page.designation == 1) {
            name = S("Team ") + team.Key;
        } else if (const auto gym = gyms.constFind(team.Id); gym != gyms.cend()) {
            // A gym that is not found keeps the name of the team before.
            name = page.international && !page.isMatrix() ? gym->second : gym->first;
        }
        ResultsRow row;
        row.Place = QString::number(place);
        row.Team = name;
        row.Score = rowScore(team.Total);
        for (int e = 0; e < numEvents; ++e)
            row.Scores[std::size_t(e)] = ScoreText(team.EventTotals[std::size_t(e)]);
        out.push_back(row);
        lastTotal = team.Total;
    }
    return out;
}

} // namespace kestra
