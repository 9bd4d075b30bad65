// The forms of statement the dialect translates, run on a seeded store of
// each engine: the translated text runs, and the results carry what callers read.
#include "StoreFixture.h"

#include "meetdb/DevStore.h"

#include <algorithm>

using namespace kestra;
using namespace kestra::test;

namespace {

class SqlForms : public testing::TestWithParam<StoreBackend> {};

} // namespace

TEST_P(SqlForms, EachTranslatedFormRunsAndTheResultsReadAsTheCallersExpect)
{
    FreshStore f = makeStore(GetParam(), Contents::Seeded);
    for (const auto &[meet, session, count] : {std::tuple{1, "1", 40}, {1, "2", 40}, {2, "", 16}}) {
        DevStore::FeedOptions o;
        o.meetId = meet;
        o.session = S(session);
        DevStore::ScoreFeed feed(*f.store, o);
        for (int i = 0; i < count; ++i)
            feed.publish();
    }
    const struct {
        const char *what;
        const char *sql;
        int rows;
    } forms[] = {
        {"a table qualifier under an alias, a quoted name, a date literal",
         "select g1.Num, Gymnasts.Level, g2.\"Short Name\" from Gymnasts g1, Gyms g2\r\n"
         "where g1.Gym = g2.GymID and g1.MeetID = 1 and g1.Session in ('1','2')\r\n"
         "and g1.Birthday between date '1990-01-01' and date '2017-09-01'",
         160},
        {"distinct over a join, ordered",
         "select distinct Events, Gymnasts.Level, LevelSort from Gymnasts, Levels where MeetID = 1 and Events = 1 "
         "and gymnasts.level = levels.level and gymnasts.events = levels.eventid order by LevelSort",
         5},
        {"not in over never-null columns",
         "select s.Num from ScoreQueue s where s.MeetID = 1 and s.DataID not in (select DataID from QueueDone where AppID = 4)",
         80},
        {"booleans, coalesce and an alias after two blanks",
         "select g1.E1Final as  e11final, coalesce(Team1, '') as T1 from gymnasts g1 where meetid = 2 "
         "and scratched = False and (coalesce(g1.Team1, '') <> '') and g1.AAFlag = TRUE order by T1 DESC, Num",
         12},
    };
    for (const auto &form : forms) {
        SCOPED_TRACE(form.what);
        try {
            QueryResult r = f.store->query(S(form.sql));
            EXPECT_EQ(r.recordCount(), form.rows);
        } catch (const StoreError &e) {
            ADD_FAILURE() << e.what() << "\ntranslated: " << f.store->dialect().translate(S(form.sql)).toStdString();
        }
    }

    // Quoted names are found in any case, aliases under their own name.
    QueryResult teams = f.store->query(S("select distinct g2.\"short name\", g2.\"official name\" from gymnasts g1, gyms g2 "
                                         "where meetid = 2 and g1.gym = g2.gymid order by g2.\"short name\""));
    QStringList names;
    for (; !teams.eof(); teams.next())
        names << teams.value(S("Short Name")).toString();
    EXPECT_EQ(names, (QStringList{"Coastal", "State", "Tech", "Valley"}));
    EXPECT_TRUE(teams.hasField(S("Official Name")));
    EXPECT_NEAR(f.store->query(S("select coalesce(TeamND, 0.0) as TeamND from Attend where MeetID = 1 and GymID = 3"))
                    .value(S("TeamND")).toDouble(), -0.2, 1e-6);
    EXPECT_TRUE(f.store->query(S("select g1.E1Final as  e11final from gymnasts g1")).hasField(S("e11final")));

    // Ordered by score, nulls (no score yet) last on both engines.
    QueryResult all = f.store->query(S("select AA from Gymnasts where meetid = 1 order by\r\nAA DESC"));
    QVariantList aa;
    for (; !all.eof(); all.next())
        aa << all.value(0);
    const auto isNull = [](const QVariant &v) { return v.isNull(); };
    const auto firstNull = std::find_if(aa.begin(), aa.end(), isNull);
    EXPECT_TRUE(firstNull - aa.begin() > 2 && firstNull != aa.end());
    EXPECT_TRUE(std::all_of(firstNull, aa.end(), isNull));
    EXPECT_TRUE(std::is_sorted(aa.begin(), firstNull, [](const QVariant &a, const QVariant &b) { return a.toDouble() > b.toDouble(); }));
}

KESTRA_BOTH_BACKENDS(SqlForms);
