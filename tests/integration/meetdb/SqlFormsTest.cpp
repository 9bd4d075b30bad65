// Every form of statement the program composes, as composed text, run on a
// seeded store of each engine.
#include "StoreFixture.h"

#include "meetdb/DevStore.h"

#include <stdexcept>

using namespace kestra;
using namespace kestra::test;

namespace {

QString join(const QStringList &lines)
{
    return lines.join(QStringLiteral("\r\n"));
}

// Fills {m} (meet digit), {i} and {n} (apparatus) in a line of the statement.
QString line(QString text, int m, const QString &i)
{
    return text.replace(QStringLiteral("{m}"), QString::number(m)).replace(QStringLiteral("{i}"), i)
        .replace(QStringLiteral("{n}"), i);
}

// The combined-meets results query, with meets 3 and 4 in use or not.
// EventNumber -1 is the all-around, otherwise an apparatus.
QString combinedQuery(int eventNumber, int meets, const QStringList &mults, bool ncaa, bool incExhib,
                      bool twoAttempts, bool dates)
{
    QStringList l;
    const QString n = QString::number(eventNumber);
    auto weighted = [&] {
        l << QStringLiteral("(g1.AA * ") + mults[0] + QStringLiteral(")");
        for (int m = 2; m <= meets; ++m)
            l << line(QStringLiteral("+ (g{m}.AA * "), m, n) + mults[m - 1] + QStringLiteral(")");
    };
    l << QStringLiteral("select g1.meetid, g1.num, g1.first_name, g1.last_name, gyms.\"short name\", g1.uscitizen, g1.country,");
    weighted();
    l << QStringLiteral("as ScoreAA,");
    if (eventNumber == -1) {
        for (int i = 1; i <= 6; ++i) {
            for (int m = 1; m <= meets; ++m) {
                l << line(QStringLiteral("g{m}.E{i}Final as  e{i}{m}final,"), m, QString::number(i));
                l << line(QStringLiteral("g{m}.E{i}Start as  e{i}{m}start,"), m, QString::number(i));
            }
        }
        for (int m = 1; m <= meets; ++m) {
            l << line(QStringLiteral("g{m}.E7AAFinal as  e7{m}final,"), m, n);
            l << line(QStringLiteral("g{m}.E7Start as  e7{m}start,"), m, n);
        }
        l << QStringLiteral("g1.AA as s1, g2.AA as s2,");
        for (int m = 3; m <= meets; ++m)
            l << line(QStringLiteral("g{m}.AA as s{m},"), m, n);
        weighted();
        l << QStringLiteral("as Score");
    } else {
        for (int m = 1; m <= meets; ++m) {
            l << line(QStringLiteral("g{m}.E{n}Final as  s{m},"), m, n);
            l << line(QStringLiteral("g{m}.E{n}Start as  s{m}start,  g{m}.E7Start as  s{m}7start,"), m, n);
            l << line(QStringLiteral("g{m}.E{n}BScore as s{m}bscore, g{m}.E7BScore as s{m}7bscore,"), m, n);
            l << line(QStringLiteral("g{m}.E{n}DBonus as s{m}dbonus, g{m}.E7DBonus as s{m}7dbonus,"), m, n);
            l << line(QStringLiteral("g{m}.E{n}EBonus as s{m}ebonus, g{m}.E7EBonus as s{m}7ebonus,"), m, n);
            l << line(QStringLiteral("g{m}.E{n}Adj as    s{m}adj,    g{m}.E7Adj as    s{m}7adj,"), m, n);
        }
        l << line(QStringLiteral("(g1.E{n}Final * "), 1, n) + mults[0] + QStringLiteral(")");
        for (int m = 2; m <= meets; ++m)
            l << line(QStringLiteral("+ (g{m}.E{n}Final * "), m, n) + mults[m - 1] + QStringLiteral(")");
        l << QStringLiteral("as Score");
    }
    l << QStringLiteral("from gymnasts g1, gymnasts g2,");
    for (int m = 3; m <= meets; ++m)
        l << line(QStringLiteral("gymnasts g{m},"), m, n);
    l << QStringLiteral("gyms");
    l << QStringLiteral("where g1.num = g2.num");
    for (int m = 3; m <= meets; ++m)
        l << line(QStringLiteral("and g1.num = g{m}.num"), m, n);
    l << QStringLiteral("and g1.gym = gyms.gymid");
    l << QStringLiteral("and g1.scratched = False");
    for (int m = 1; m <= meets; ++m)
        l << line(QStringLiteral("and g{m}.meetid = 1"), m, n); // the same meet, so that numbers match
    l << QStringLiteral("and g1.events = 1");
    l << QStringLiteral("and g1.gym in (1,2,3,4,5,6,7,8,9,10)");
    l << QStringLiteral("and g1.level in ('4','5','6','7','8')");
    l << QStringLiteral("and g1.session in ('1','2')");
    if (twoAttempts) {
        for (int m = 1; m <= meets; ++m)
            l << line(QStringLiteral("and g{m}.E7S1 is not null"), m, n);
    }
    if (ncaa && eventNumber == -1)
        l << QStringLiteral("and g1.AAFlag = TRUE");
    if (ncaa && eventNumber > 0) {
        l << line(incExhib ? QStringLiteral("and ((g1.E{n}Flag = TRUE) or (g1.AAFlag = TRUE) or (g1.E{n}Order is not null))")
                           : QStringLiteral("and ((g1.E{n}Flag = TRUE) or (g1.AAFlag = TRUE))"),
                  1, n);
    }
    if (dates) {
        l << QStringLiteral("and (");
        l << QStringLiteral("(g1.birthday between date '2012-09-02' and date '2017-09-01')");
        l << QStringLiteral("or");
        l << QStringLiteral("(g1.birthday between date '1990-01-01' and date '2012-09-01')");
        l << QStringLiteral(")");
    }
    l << QStringLiteral("order by Score DESC");
    return join(l);
}

// The event and all-around run of the tie-break, on a table of gymnasts.
QString eventRun(const QString &table, const QString &kind, int n, bool method1, bool ncaa, bool incExhib,
                 bool twoAttempts, const QString &statusFilter, bool dates)
{
    QStringList l;
    l << QStringLiteral("select * from ") + table;
    l << QStringLiteral("where meetid = 1");
    l << QStringLiteral("and events = 1");
    l << QStringLiteral("and scratched = FALSE");
    l << QStringLiteral("and Gym in (1,2,3,4,5)");
    l << QStringLiteral("and Session in ('1','2')");
    l << QStringLiteral("and Level in ('4','5','6')");
    if (twoAttempts)
        l << QStringLiteral("and E7S1 is not null");
    if (dates) {
        l << QStringLiteral("and (");
        l << QStringLiteral("(Birthday between date '2012-09-02' and date '2017-09-01')");
        l << QStringLiteral("or");
        l << QStringLiteral("(Birthday between date '2008-09-02' and date '2012-09-01')");
        l << QStringLiteral(")");
    }
    if (!statusFilter.isEmpty()) {
        l << (kind == QLatin1String("A") ? QStringLiteral("and E7Status = ") + SqlDialect::quoteString(statusFilter)
                                         : QStringLiteral("and E%1Status = ").arg(n) + SqlDialect::quoteString(statusFilter));
    }
    if (ncaa && kind == QLatin1String("A"))
        l << QStringLiteral("and AAFlag = TRUE");
    if (ncaa && kind == QLatin1String("E") && n > 0) {
        l << (incExhib ? QStringLiteral("and ((E%1Flag = TRUE) or (AAFlag = TRUE) or (E%1Order is not null))").arg(n)
                       : QStringLiteral("and ((E%1Flag = TRUE) or (AAFlag = TRUE))").arg(n));
    }
    l << QStringLiteral("order by");
    if (kind == QLatin1String("A"))
        l << QStringLiteral("AA DESC");
    else if (method1)
        l << QStringLiteral("E%1Final DESC").arg(n);
    else
        l << QStringLiteral("E%1Final DESC, AA DESC").arg(n);
    return join(l);
}

QString teamRun(int teamField, const QString &teamIds, bool sortByTeam1, bool dates)
{
    QStringList l;
    l << QStringLiteral("select Num, First_Name, Last_Name, Level, Events, Gym, coalesce(Team1, '') as T1, Team1, Team2, Team3,");
    l << QStringLiteral("E1Flag, E2Flag, E3Flag, E4Flag, E5Flag, E6Flag, E1Final, E2Final, E3Final, E4Final, E5Final, E6Final, E7AAFinal, AA");
    l << QStringLiteral("from Gymnasts");
    l << QStringLiteral("where MeetID = 1");
    l << QStringLiteral("and Scratched = FALSE");
    l << QStringLiteral("and Events = 1");
    l << QStringLiteral("and Session in ('1','2')");
    l << QStringLiteral("and Level in ('4','5')");
    l << QStringLiteral("and Gym in (1,2,3,4,5,6,7,8,9,10)");
    if (teamField != -1 && !teamIds.isEmpty())
        l << QStringLiteral("and Team%1 in (").arg(teamField) + teamIds + QStringLiteral(")");
    if (teamField != -1 && teamIds.isEmpty())
        l << QStringLiteral("and coalesce(Team%1, '') <> ''").arg(teamField);
    if (dates) {
        l << QStringLiteral("and (");
        l << QStringLiteral("(Birthday between date '2012-09-02' and date '2017-09-01')");
        l << QStringLiteral(")");
    }
    l << (sortByTeam1 ? QStringLiteral("order by Gym, T1 DESC, AA DESC") : QStringLiteral("order by Gym, AA DESC"));
    return join(l);
}

struct Form {
    const char *name;
    QString sql;
    int rows; // -1: any number
};

std::vector<Form> forms()
{
    std::vector<Form> f;
    f.push_back({"levels of a group",
                 join({"select distinct Events, Gymnasts.Level, LevelSort from Gymnasts, Levels", "where MeetID = 1",
                       "and Events = 1", "and gymnasts.level = levels.level and gymnasts.events = levels.eventid",
                       "and Session in ('1','2')", "order by LevelSort"}),
                 5});
    f.push_back({"team codes",
                 join({"select distinct Team1 from Gymnasts", "where MeetID = 1", "and Events = 1",
                       "and Session in ('1')", "and Gymnasts.\"Level\" in ('4','5')", "and Team1 is not null",
                       "order by Team1"}),
                 2});
    f.push_back({"combined all-around, four meets, NCAA, dates",
                 combinedQuery(-1, 4, {"1.00", "0.50", "0.25", "0.25"}, true, false, false, true), -1});
    f.push_back({"combined all-around, two meets", combinedQuery(-1, 2, {"1.00", "1.00"}, false, false, false, false), 159});
    f.push_back({"combined apparatus, three meets, exhibitions",
                 combinedQuery(2, 3, {"1.00", "1.00", "0.50"}, true, true, false, false), -1});
    f.push_back({"combined apparatus, two attempts", combinedQuery(1, 2, {"1.00", "1.00"}, true, false, true, true), 0});
    f.push_back({"tie-break, apparatus, plain", eventRun("Gymnasts", "E", 1, false, false, false, false, {}, false), -1});
    f.push_back({"tie-break, apparatus, method 1, NCAA with exhibitions, dates",
                 eventRun("Gymnasts", "E", 3, true, true, true, false, {}, true), -1});
    f.push_back({"tie-break, apparatus, NCAA, two attempts, status",
                 eventRun("Gymnasts", "E", 1, true, true, false, true, "Final", false), 0});
    f.push_back({"tie-break, all-around, NCAA, status", eventRun("Gymnasts", "A", -1, true, true, false, false, "Done", true), 0});
    f.push_back({"tie-break, all-around", eventRun("Gymnasts", "A", -1, false, false, false, false, {}, false), -1});
    f.push_back({"team run, all teams", teamRun(1, {}, false, false), -1});
    f.push_back({"team run, chosen teams, Team1 first", teamRun(1, QStringLiteral("'4','5'"), true, true), -1});
    f.push_back({"team run, no team field", teamRun(-1, {}, false, false), -1});
    f.push_back({"neutral deduction", join({"select coalesce(TeamND, 0.0) as TeamND from Attend", "where MeetID = 1", "and GymID = 3"}), 1});
    f.push_back({"NCAA teams of a panel",
                 join({"select distinct g1.gym, g2.\"short name\", g2.\"official name\" from gymnasts g1, gyms g2",
                       "where meetid = 2", "and g1.scratched = false", "and events = 3",
                       "and (coalesce(g1.Team1, '') <> '')", "and g1.gym = g2.gymid", "and g1.Session in ('1')",
                       "order by g2.\"short name\""}),
                 4});
    f.push_back({"NCAA squad of a team",
                 join({"select distinct squad from gymnasts", "where meetid = 2", "and scratched = False", "and gym = 11",
                       "and events = 3", "and (coalesce(Team1, '') <> '')"}),
                 1});
    f.push_back({"NCAA lineup on an apparatus",
                 join({"select * from gymnasts", "where meetid = 2", "and scratched = False", "and gym = 11",
                       "and events = 3", "and E1Flag = True", "and (coalesce(Team1, '') <> '')", "order by E1Order"}),
                 6});
    f.push_back({"NCAA team members",
                 join({"select * from gymnasts", "where meetid = 2", "and scratched = False", "and gym = 11",
                       "and events = 3", "and (coalesce(Team1, '') <> '')"}),
                 10});
    f.push_back({"NCAA neutral deduction", join({"select * from attend", "where meetid = 2", "and gymid = 12"}), 1});
    return f;
}

class SqlForms : public testing::TestWithParam<StoreBackend> {
protected:
    // A seeded store with some scores in both meets.
    void SetUp() override
    {
        f = makeStore(GetParam(), Contents::Seeded);
        MeetStore &s = *f.store;
        for (const char *session : {"1", "2"}) {
            DevStore::FeedOptions o;
            o.meetId = 1;
            o.session = QString::fromLatin1(session);
            DevStore::ScoreFeed feed(s, o);
            for (int i = 0; i < 40; ++i)
                feed.publish();
        }
        DevStore::FeedOptions college;
        college.meetId = 2;
        DevStore::ScoreFeed feed(s, college);
        for (int i = 0; i < 16; ++i)
            feed.publish();
    }
    MeetStore &store() { return *f.store; }
    QueryResult run(const char *name)
    {
        for (const Form &form : forms()) {
            if (qstrcmp(form.name, name) == 0)
                return store().query(form.sql);
        }
        throw std::invalid_argument(name);
    }
    FreshStore f;
};

} // namespace

TEST_P(SqlForms, EveryComposedStatementRuns)
{
    for (const Form &form : forms()) {
        SCOPED_TRACE(form.name);
        try {
            QueryResult r = store().query(form.sql);
            if (form.rows >= 0) {
                EXPECT_EQ(r.recordCount(), form.rows);
            }
        } catch (const StoreError &e) {
            ADD_FAILURE() << e.what() << "\ntranslated: " << store().dialect().translate(form.sql).toStdString();
        }
    }
}

TEST_P(SqlForms, ResultsCarryWhatTheCallersRead)
{
    QueryResult teams = run("NCAA teams of a panel");
    QStringList names;
    for (; !teams.eof(); teams.next())
        names << teams.value(QStringLiteral("Short Name")).toString();
    EXPECT_EQ(names, (QStringList{"Coastal", "State", "Tech", "Valley"}));
    EXPECT_TRUE(teams.hasField(QStringLiteral("official name")));

    EXPECT_NEAR(run("neutral deduction").value(QStringLiteral("TeamND")).toDouble(), -0.2, 1e-6);
    EXPECT_EQ(store().query(join({"select coalesce(TeamND, 0.0) as TeamND from Attend", "where MeetID = 1", "and GymID = 1"}))
                  .value(QStringLiteral("TeamND"))
                  .toDouble(),
              0.0);

    // Ordered by score, nulls (no score yet) last on both engines.
    QueryResult all = run("tie-break, all-around");
    ASSERT_GT(all.recordCount(), 2);
    EXPECT_FALSE(all.value(QStringLiteral("AA")).isNull());
    double previous = all.value(QStringLiteral("AA")).toDouble();
    bool seenNull = false;
    for (all.next(); !all.eof(); all.next()) {
        const QVariant aa = all.value(QStringLiteral("AA"));
        if (aa.isNull()) {
            seenNull = true;
            continue;
        }
        EXPECT_FALSE(seenNull) << "a score after a null";
        EXPECT_LE(aa.toDouble(), previous);
        previous = aa.toDouble();
    }
    EXPECT_TRUE(seenNull);

    QueryResult combined = run("combined all-around, two meets");
    ASSERT_GT(combined.recordCount(), 0);
    EXPECT_TRUE(combined.hasField(QStringLiteral("e11final")));
    EXPECT_TRUE(combined.hasField(QStringLiteral("ScoreAA")));
    EXPECT_DOUBLE_EQ(combined.value(QStringLiteral("Score")).toDouble(),
                     2 * combined.value(QStringLiteral("s1")).toDouble());
}

KESTRA_BOTH_BACKENDS(SqlForms);
