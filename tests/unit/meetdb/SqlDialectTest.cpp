#include "generator/ScorePoll.h"
#include "meetdb/SqlDialect.h"

#include <gtest/gtest.h>

#include <QStringList>

using namespace kestra;

namespace {

QString lines(const QStringList &l)
{
    return l.join(QLatin1Char('\n'));
}

struct DialectCase {
    const char *name;
    QString input;
    QString sqlite;
    QString postgres;
};

// Text that no engine needs changed.
DialectCase same(const char *name, const char *text)
{
    return {name, QString::fromUtf8(text), QString::fromUtf8(text), QString::fromUtf8(text)};
}

// Text both engines take in the same new form.
DialectCase both(const char *name, const char *input, const char *output)
{
    return {name, QString::fromUtf8(input), QString::fromUtf8(output), QString::fromUtf8(output)};
}

std::vector<DialectCase> cases()
{
    const QString pollTail = lines({
        QStringLiteral("where s.MeetID = 1"),
        QStringLiteral("and s.EventID = 2"),
        QStringLiteral("and s.Event = 3"),
        QStringLiteral("and g1.meetid = s.meetid"),
        QStringLiteral("and g1.num = s.num"),
        QStringLiteral("and g1.gym = g2.gymid"),
        QStringLiteral("and (s.Session = '1'"),
        QStringLiteral("or s.Session = 'O''B'"),
        QStringLiteral(")"),
        QStringLiteral("and not exists (select 1 from QueueDone nx1 where (AppID = 4) and nx1.DataId = s.DataID)"),
        QStringLiteral("order by s.DT"),
    });
    return {
        {"poll statement", ScoreQueueSql(1, 2, 3, {"1", "O'B", "", ""}).join(QLatin1Char('\n')),
         QStringLiteral("select s.*, g2.\"Short Name\" from ScoreQueue s, Gymnasts g1, Gyms g2\n") + pollTail,
         QStringLiteral("select s.*, g2.\"short name\" from ScoreQueue s, Gymnasts g1, Gyms g2\n") + pollTail},
        same("table name as qualifier when unaliased stays",
             "select distinct Events, Gymnasts.Level, LevelSort from Gymnasts, Levels where gymnasts.level = levels.level"),
        both("alias given with as, qualifier in another case",
             "select GYMS.GymID from Gyms as g where gyms.Zone = 1",
             "select g.GymID from Gyms as g where g.Zone = 1"),
        same("a subquery that names its own unaliased table keeps it",
             "select g.Num from Gymnasts g where exists (select 1 from Gymnasts where Gymnasts.Num = g.Num)"),
        both("a correlated reference reaches the alias of the outer query",
             "select Gymnasts.Num from Gymnasts g where g.Gym in (select GymID from Attend where Attend.MeetID = Gymnasts.MeetID)",
             "select g.Num from Gymnasts g where g.Gym in (select GymID from Attend where Attend.MeetID = g.MeetID)"),
        same("text in quotes is never touched",
             "select s.Num from ScoreQueue s where s.FName = 'ScoreQueue.x date ''2024-01-01'' \"A\"'"),
        {"date literals: text on SQLite, kept on PostgreSQL",
         lines({QStringLiteral("and ("), QStringLiteral("(g1.birthday between date '2010-06-02' and date '2013-06-01')"),
                QStringLiteral("or"), QStringLiteral("(g1.birthday between DATE '2001-01-01' and date '2005-12-31')"),
                QStringLiteral(")")}),
         lines({QStringLiteral("and ("), QStringLiteral("(g1.birthday between '2010-06-02' and '2013-06-01')"),
                QStringLiteral("or"), QStringLiteral("(g1.birthday between '2001-01-01' and '2005-12-31')"),
                QStringLiteral(")")}),
         lines({QStringLiteral("and ("), QStringLiteral("(g1.birthday between date '2010-06-02' and date '2013-06-01')"),
                QStringLiteral("or"), QStringLiteral("(g1.birthday between DATE '2001-01-01' and date '2005-12-31')"),
                QStringLiteral(")")})},
        same("a field called Date is not a literal",
             "select t.Date from Transact t where t.Date = '2024-01-01'"),
        {"quoted names fold to the engine's lower case on PostgreSQL only",
         QStringLiteral("select gyms.\"short name\", g2.\"Official Name\", Gymnasts.\"Level\" from Gyms, Gymnasts, Gyms g2"),
         QStringLiteral("select gyms.\"short name\", g2.\"Official Name\", Gymnasts.\"Level\" from Gyms, Gymnasts, Gyms g2"),
         QStringLiteral("select gyms.\"short name\", g2.\"official name\", Gymnasts.\"level\" from Gyms, Gymnasts, Gyms g2")},
        {"nulls sort below every value on both engines",
         lines({QStringLiteral("select * from Gymnasts"), QStringLiteral("order by"), QStringLiteral("E1Final DESC, AA DESC")}),
         lines({QStringLiteral("select * from Gymnasts"), QStringLiteral("order by"), QStringLiteral("E1Final DESC, AA DESC")}),
         lines({QStringLiteral("select * from Gymnasts"), QStringLiteral("order by"), QStringLiteral("E1Final DESC NULLS LAST, AA DESC NULLS LAST")})},
        {"ascending items, aliases and nullable fields get NULLS FIRST; never-null fields nothing",
         QStringLiteral("select Num, coalesce(Team1, '') as T1 from Gymnasts g1, Gyms g2 where g1.Gym = g2.GymID order by Gym, T1 DESC, g2.\"short name\", MeetID, g1.Num"),
         QStringLiteral("select Num, coalesce(Team1, '') as T1 from Gymnasts g1, Gyms g2 where g1.Gym = g2.GymID order by Gym, T1 DESC, g2.\"short name\", MeetID, g1.Num"),
         QStringLiteral("select Num, coalesce(Team1, '') as T1 from Gymnasts g1, Gyms g2 where g1.Gym = g2.GymID order by Gym NULLS FIRST, T1 DESC NULLS LAST, g2.\"short name\" NULLS FIRST, MeetID, g1.Num")},
        {"an order inside a subquery is handled in its own parentheses",
         QStringLiteral("select * from (select Num from Gymnasts order by Squad) x order by Num"),
         QStringLiteral("select * from (select Num from Gymnasts order by Squad) x order by Num"),
         QStringLiteral("select * from (select Num from Gymnasts order by Squad NULLS FIRST) x order by Num NULLS FIRST")},
        same("not in over a column that may be null stays not in",
             "select Num from Gymnasts where Gym not in (select GymID from Attend where MeetID = 1)"),
        both("not in over never-null columns: an unqualified operand is qualified for the subquery",
             "select Num from Gymnasts where MeetID not in (select MeetID from Meets)",
             "select Num from Gymnasts where not exists (select 1 from Meets nx1 where nx1.MeetID = Gymnasts.MeetID)"),
        same("not in with a list of values is left alone",
             "select Num from Gymnasts g1 where g1.Level not in ('5', '6')"),
        same("a subquery with distinct is not rewritten",
             "select s.Num from ScoreQueue s where s.DataID not in (select distinct DataID from QueueDone)"),
        both("a qualified subquery column follows the new alias",
             "select ScoreQueue.Num from ScoreQueue s where s.DataID not in (select QueueDone.DataID from QueueDone where QueueDone.AppID = 4)",
             "select s.Num from ScoreQueue s where not exists (select 1 from QueueDone nx1 where (nx1.AppID = 4) and nx1.DataID = s.DataID)"),
        same("comments and double blanks after as pass through",
             "select g1.E1Final as  e11final, -- first meet\n g1.AA /* all-around */ from gymnasts g1"),
    };
}

} // namespace

TEST(SqlDialect, TranslatesEachFormPerEngine)
{
    const SqlDialect sqlite(StoreBackend::Sqlite);
    const SqlDialect postgres(StoreBackend::Postgres);
    for (const DialectCase &c : cases()) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(sqlite.translate(c.input).toStdString(), c.sqlite.toStdString());
        EXPECT_EQ(postgres.translate(c.input).toStdString(), c.postgres.toStdString());
    }
}
