// Each form of statement the dialect translates, run on a seeded store of
// each engine: the text runs, and the results carry what callers read.
#include "StoreFixture.h"

#include "meetdb/DevStore.h"

using namespace kestra;
using namespace kestra::test;

namespace {

QString join(const QStringList &lines)
{
    return lines.join(QStringLiteral("\r\n"));
}

class SqlForms : public testing::TestWithParam<StoreBackend> {
protected:
    // A seeded store with scores in both meets.
    void SetUp() override
    {
        f = makeStore(GetParam(), Contents::Seeded);
        for (const auto &[meet, session, count] : {std::tuple{1, "1", 40}, {1, "2", 40}, {2, "", 16}}) {
            DevStore::FeedOptions o;
            o.meetId = meet;
            o.session = QString::fromLatin1(session);
            DevStore::ScoreFeed feed(*f.store, o);
            for (int i = 0; i < count; ++i)
                feed.publish();
        }
    }
    QueryResult run(const QStringList &lines) { return f.store->query(join(lines)); }
    FreshStore f;
};

} // namespace

TEST_P(SqlForms, EachTranslatedFormRunsAndCountsItsRows)
{
    const struct {
        const char *what;
        QStringList sql;
        int rows;
    } forms[] = {
        {"a table qualifier under an alias, a quoted name, a date literal",
         {"select g1.Num, Gymnasts.Level, g2.\"Short Name\" from Gymnasts g1, Gyms g2",
          "where g1.Gym = g2.GymID and g1.MeetID = 1 and g1.Session in ('1','2')",
          "and g1.Birthday between date '1990-01-01' and date '2017-09-01'"},
         160},
        {"distinct over a join, ordered",
         {"select distinct Events, Gymnasts.Level, LevelSort from Gymnasts, Levels", "where MeetID = 1",
          "and Events = 1", "and gymnasts.level = levels.level and gymnasts.events = levels.eventid",
          "and Session in ('1','2')", "order by LevelSort"},
         5},
        {"not in over never-null columns",
         {"select s.Num from ScoreQueue s", "where s.MeetID = 1",
          "and s.DataID not in (select DataID from QueueDone where AppID = 4)"},
         80},
        {"booleans, coalesce and an alias after two blanks",
         {"select g1.E1Final as  e11final, coalesce(Team1, '') as T1 from gymnasts g1", "where meetid = 2",
          "and scratched = False and (coalesce(g1.Team1, '') <> '')", "and g1.AAFlag = TRUE", "order by T1 DESC, Num"},
         12},
        {"a neutral deduction that may be null",
         {"select coalesce(TeamND, 0.0) as TeamND from Attend", "where MeetID = 1", "and GymID = 3"}, 1},
    };
    for (const auto &form : forms) {
        SCOPED_TRACE(form.what);
        try {
            EXPECT_EQ(run(form.sql).recordCount(), form.rows);
        } catch (const StoreError &e) {
            ADD_FAILURE() << e.what() << "\ntranslated: " << f.store->dialect().translate(join(form.sql)).toStdString();
        }
    }
}

TEST_P(SqlForms, ResultsCarryWhatTheCallersRead)
{
    QueryResult teams = run({"select distinct g1.gym, g2.\"short name\", g2.\"official name\" from gymnasts g1, gyms g2",
                             "where meetid = 2", "and g1.gym = g2.gymid", "order by g2.\"short name\""});
    QStringList names;
    for (; !teams.eof(); teams.next())
        names << teams.value(QStringLiteral("Short Name")).toString();
    EXPECT_EQ(names, (QStringList{"Coastal", "State", "Tech", "Valley"}));
    EXPECT_TRUE(teams.hasField(QStringLiteral("official name")));

    EXPECT_NEAR(run({"select coalesce(TeamND, 0.0) as TeamND from Attend where MeetID = 1 and GymID = 3"})
                    .value(QStringLiteral("TeamND")).toDouble(), -0.2, 1e-6);
    EXPECT_TRUE(run({"select g1.E1Final as  e11final from gymnasts g1"}).hasField(QStringLiteral("e11final")));

    // Ordered by score, nulls (no score yet) last on both engines.
    QueryResult all = run({"select * from Gymnasts", "where meetid = 1", "order by", "AA DESC"});
    ASSERT_GT(all.recordCount(), 2);
    double previous = all.value(QStringLiteral("AA")).toDouble();
    bool seenNull = false;
    for (; !all.eof(); all.next()) {
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
}

KESTRA_BOTH_BACKENDS(SqlForms);
