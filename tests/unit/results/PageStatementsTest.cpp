// The statements behind a results page, line by line, with every condition.
#include "results/PageBuilds.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// Joined, so a failure prints the statement as it reads.
QString lines(std::initializer_list<const char *> list)
{
    QStringList out;
    for (const char *line : list)
        out << S(line);
    return out.join(u'\n');
}

QString text(const QStringList &statement)
{
    return statement.join(u'\n');
}

// The run of lines starting at the first line equal to `first`, `count` long.
QString from(const QStringList &statement, const char *first, qsizetype count = -1)
{
    const qsizetype at = statement.indexOf(S(first));
    return at < 0 ? QString() : text(statement.mid(at, count));
}

TEST(PageStatements, TheEventRunWithEveryFilter)
{
    EventRun run;
    run.meet = 3;
    run.eventGroup = 2;
    run.eventNumber = 4;
    run.twoScore = 4;
    run.twoAttempts = true;
    run.ncaa = true;
    run.gyms = S("7,9");
    run.sessions = S("'1','2B'");
    run.levels = S("'8'");
    run.lowerDates = S("2009-09-02,2013-09-02");
    run.upperDates = S("2013-09-01,2017-09-01");
    TEventTieBreak tie;
    tie.StatusFilter = S("OK");
    EXPECT_EQ(text(tie.Statement(run)),
              lines({"select * from KMRGymnasts", "where meetid = 3", "and events = 2", "and scratched = FALSE",
                     "and Gym in (7,9)", "and Session in ('1','2B')", "and Level in ('8')", "and E7S1 is not null",
                     "and (", "(Birthday between date '2009-09-02' and date '2013-09-01')", "or",
                     "(Birthday between date '2013-09-02' and date '2017-09-01')", ")", "and E4Status = 'OK'",
                     "and ((E4Flag = TRUE) or (AAFlag = TRUE) or (E4Order is not null))", "order by",
                     "E4Final DESC, AA DESC"}));
    run.kind = S("A");
    run.ncaa = false;
    run.method1 = true;
    run.upperDates.clear();
    EXPECT_EQ(from(tie.Statement(run), "and E7Status = 'OK'"), lines({"and E7Status = 'OK'", "order by", "AA DESC"}));
}

TEST(PageStatements, TheTeamRun)
{
    TeamRun run;
    run.meet = 5;
    run.eventGroup = 3;
    run.sessions = S("'1'");
    run.teamField = 2;
    TTeamTieBreak tie;
    EXPECT_EQ(text(tie.Statement(run)),
              lines({"select Num, First_Name, Last_Name, Level, Events, Gym, coalesce(Team1, '') as T1, Team1, Team2, "
                     "Team3,",
                     "E1Flag, E2Flag, E3Flag, E4Flag, E5Flag, E6Flag, E1Final, E2Final, E3Final, E4Final, E5Final, "
                     "E6Final, E7AAFinal, AA",
                     "from KMRGymnasts", "where MeetID = 5", "and Scratched = FALSE", "and Events = 3",
                     "and Session in ('1')", "and coalesce(Team2, '') <> ''", "order by Gym, AA DESC"}));
    run.teamIDs = S("'A','B'");
    EXPECT_EQ(tie.Statement(run).value(7), S("and Team2 in ('A','B')"));
}

TEST(PageStatements, TheCombinedRoute)
{
    EventPageLine page;
    page.eventNumber = -1;
    page.eventGroup = 2;
    page.meets = {1, 2, 3, -1};
    page.multipliers = {S("1.00"), S("0.50"), S("0.25"), S("0.00")};
    page.levels = S("'8'");
    page.ncaa = true;
    const QStringList aa = PageBuilds::CombinedResultsSql(page);
    EXPECT_EQ(text(aa.mid(0, 6)), lines({"select g1.meetid, g1.num, g1.first_name, g1.last_name, gyms.\"short name\", "
                                   "g1.uscitizen, g1.country,",
                                   "(g1.AA * 1.00)", "+ (g2.AA * 0.50)", "+ (g3.AA * 0.25)", "as ScoreAA,",
                                   "g1.E1Final as  e11final,"}));
    EXPECT_EQ(from(aa, "g1.E7AAFinal as  e71final,", 14), lines({"g1.E7AAFinal as  e71final,", "g1.E7Start as  e71start,",
                                     "g2.E7AAFinal as  e72final,", "g2.E7Start as  e72start,",
                                     "g3.E7AAFinal as  e73final,", "g3.E7Start as  e73start,",
                                     "g1.AA as s1, g2.AA as s2,", "g3.AA as s3,", "(g1.AA * 1.00)",
                                     "+ (g2.AA * 0.50)", "+ (g3.AA * 0.25)", "as Score",
                                     "from gymnasts g1, gymnasts g2,", "gymnasts g3,"}));
    EXPECT_EQ(from(aa, "gyms"), lines({"gyms", "where g1.num = g2.num", "and g1.num = g3.num", "and g1.gym = gyms.gymid",
                                 "and g1.scratched = False", "and g1.meetid = 1", "and g2.meetid = 2",
                                 "and g3.meetid = 3", "and g1.events = 2", "and g1.level in ('8')",
                                 "and g1.AAFlag = TRUE", "order by Score DESC"}));

    page.eventNumber = 2;
    page.meets = {1, 2, 3, 4};
    page.twoAttempts = true;
    page.incExhib = false;
    page.multipliers[3] = S("1.00");
    const QStringList event = PageBuilds::CombinedResultsSql(page);
    EXPECT_EQ(from(event, "g1.E2Final as  s1,", 6), lines({"g1.E2Final as  s1,", "g1.E2Start as  s1start,  g1.E7Start as  s17start,",
                                      "g1.E2BScore as s1bscore, g1.E7BScore as s17bscore,",
                                      "g1.E2DBonus as s1dbonus, g1.E7DBonus as s17dbonus,",
                                      "g1.E2EBonus as s1ebonus, g1.E7EBonus as s17ebonus,",
                                      "g1.E2Adj as    s1adj,    g1.E7Adj as    s17adj,"}));
    EXPECT_EQ(from(event, "(g1.E2Final * 1.00)", 5), lines({"(g1.E2Final * 1.00)", "+ (g2.E2Final * 0.50)", "+ (g3.E2Final * 0.25)",
                                       "+ (g4.E2Final * 1.00)", "as Score"}));
    EXPECT_EQ(text(event.mid(event.size() - 6)),
              lines({"and g1.E7S1 is not null", "and g2.E7S1 is not null", "and g3.E7S1 is not null",
                     "and g4.E7S1 is not null", "and ((g1.E2Flag = TRUE) or (g1.AAFlag = TRUE))",
                     "order by Score DESC"}));
}

} // namespace
