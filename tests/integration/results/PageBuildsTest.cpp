// Who stands where: the rows of event, all-around, combined and team pages,
// built from meets written into a real store, on both engines.
#include "results/LocalCopies.h"
#include "results/PageBuilds.h"
#include "support/Formatting.h"
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

// One competitor of a test meet: apparatus finals (an empty QVariant: not
// scored), all-around, citizenship and team code.
struct Competitor {
    int num;
    std::vector<QVariant> finals;
    QVariant aa = QVariant();
    bool citizen = true;
    int gym = 1;
    QString team = QString();
};

// A meet of its own for a case: gyms 1 "Riverside" and 2 "Summit" of the
// seeded store are reused; event group 90 with four apparatus.
class Meets {
public:
    explicit Meets(StoreBackend backend)
        : rig([](MeetStore &s) {
              s.insertRow(S("Events"), {{"EventID", 90}, {"NumEvents", 4}, {"TwoScore", 3}, {"Event1", "VAULT"},
                                        {"Event2", "BARS"}, {"Event3", "BEAM"}, {"Event4", "FLOOR"}});
              s.insertRow(S("Levels"), {{"EventID", 90}, {"Level", "A"}});
          },
              {}, backend),
          copies(rig.peer())
    {
        PageBuildContext context;
        context.remote = &rig.peer();
        context.copies = &copies;
        context.hostTieBreak = [this] { return tieBreak; };
        context.nameFormat = [] { return 3; };
        context.currentTwoScore = [] { return 3; };
        builds = std::make_unique<PageBuilds>(context);
    }
    // Writes a meet; finals of the first apparatus are also its S1 (presence).
    void add(int meet, const std::vector<Competitor> &competitors, double teamND = 0)
    {
        MeetStore &s = rig.peer();
        s.insertRow(S("Meets"), {{"MeetID", meet}, {"Name", S("Meet %1").arg(meet)}, {"Def_EventID", 90}});
        for (int gym : {1, 2})
            s.insertRow(S("Attend"), {{"MeetID", meet}, {"GymID", gym}, {"TeamND", gym == 1 ? teamND : 0.0}});
        for (const Competitor &c : competitors) {
            FieldValues row = {{"MeetID", meet},     {"Num", c.num},         {"Last_Name", S("N%1").arg(c.num)},
                               {"Gym", c.gym},       {"Events", 90},         {"Level", "A"},
                               {"Scratched", false}, {"USCitizen", c.citizen}, {"Team1", c.team},
                               {"AA", c.aa},         {"Country", "USA"}};
            for (std::size_t e = 0; e < c.finals.size(); ++e) {
                row.append({S("E%1Final").arg(e + 1), c.finals[e]});
                row.append({S("E%1S1").arg(e + 1), c.finals[e]});
                row.append({S("E%1Flag").arg(e + 1), c.num % 2 == 1});
            }
            s.insertRow(S("Gymnasts"), row);
        }
    }
    // "place:num" of every row, and the rows' scores.
    static QString places(const ResultsRows &rows)
    {
        QStringList out;
        for (const ResultsRow &r : rows)
            out << r.Place + QLatin1Char(':') + r.Name.mid(1);
        return out.join(QLatin1Char(' '));
    }
    QString eventPage(int meet, int event, const QString &places = S("0"), bool foreign = false)
    {
        EventPageLine p;
        p.eventNumber = event;
        p.eventName = event == -1 ? S("AA") : S("VAULT");
        p.eventGroup = 90;
        p.meets[0] = meet;
        p.places = places;
        p.foreignNoPlace = foreign;
        return Meets::places(builds->BuildEventRows(p.compose()));
    }

    MainRig rig;
    LocalCopies copies;
    std::unique_ptr<PageBuilds> builds;
    QString tieBreak = S("1");
};

class PageBuildsTest : public testing::TestWithParam<StoreBackend> {};

TEST_P(PageBuildsTest, PlacesFollowTheHostsRule)
{
    Meets m(GetParam());
    // Ties on 9.5: 11 and 12 apart by the all-around, 13 and 14 not.
    m.add(31, {{11, {9.5}, 38.0}, {12, {9.5}, 37.0}, {15, {9.4}, 36.0}});
    m.add(32, {{13, {9.5}, 37.0}, {14, {9.5}, 37.0}, {15, {9.4}, 36.0}});
    m.add(33, {{1, {9.9}}, {2, {9.8}}, {3, {9.7}, 20.0}, {4, {9.7}, 19.0}, {5, {9.6}}});
    m.add(34, {{1, {9.9}}, {2, {9.8}, 0, false}, {3, {9.7}}});
    // No score yet, a zero, and no all-around.
    m.add(35, {{1, {9.9}, 9.9}, {2, {QVariant()}, 9.0}, {3, {0.0}, QVariant()}, {4, {9.0}, 9.0}});
    const struct {
        const char *tieBreak;
        int meet;
        int event;
        const char *places;
        bool foreign;
        const char *rows;
    } cases[] = {
        {"1", 31, 1, "0", false, "1:11 1:12 3:15"},  {"1", 32, 1, "0", false, "1:13 1:14 3:15"},
        {"3", 31, 1, "0", false, "1:11 2:12 3:15"},  {"4", 31, 1, "0", false, "1:11 2:12 3:15"},
        {"4", 32, 1, "0", false, "1:13 1:14 3:15"},  {"2", 31, 1, "0", false, "1:11 1:12 2:15"},
        {"1", 33, 1, "3", false, "1:1 2:2 3:3 3:4"}, {"1", 33, 1, "0", false, "1:1 2:2 3:3 3:4 5:5"},
        {"1", 34, 1, "0", true, "1:1 2:2 2:3"},      {"1", 34, 1, "0", false, "1:1 2:2 3:3"},
        // The zero and the unscored count but show no row.
        {"1", 35, 1, "0", false, "1:1 2:4"},         {"1", 35, -1, "0", false, "1:1 2:4 2:2"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.tieBreak) + " meet " + std::to_string(c.meet) + " places " + c.places);
        m.tieBreak = S(c.tieBreak);
        EXPECT_EQ(m.eventPage(c.meet, c.event, S(c.places), c.foreign), S(c.rows));
    }
    m.add(36, {{1, {100.0}}, {2, {9.5}}});
    EventPageLine p;
    p.eventGroup = 90;
    p.meets[0] = 36;
    const ResultsRows rows = m.builds->BuildEventRows(p.compose());
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].Score, S("100.000"));
    EXPECT_EQ(rows[1].Score, S("  9.500"));
    EXPECT_EQ(rows[1].Team, S("Riverside")) << "the gym's short name";
}

TEST_P(PageBuildsTest, TieWalksMarkBrokenAndUnbrokenTies)
{
    Meets m(GetParam());
    const struct {
        std::vector<Competitor> field;
        const char *statuses;
    } cases[] = {
        {{{1, {9.5}, 9.5}}, "0"},
        {{{1, {9.5}, 38.0}, {2, {9.5}, 37.0}}, "1 -1"},
        {{{1, {9.5}, 37.0}, {2, {9.5}, 37.0}}, "2 -2"},
        {{{1, {9.5}, 37.0}, {2, {9.5}, 37.0}, {3, {9.5}, 36.0}}, "2 3 -3"},
        {{{1, {9.5}, 37.0}, {2, {9.5}, 37.0}, {3, {9.5}, 37.0}}, "2 2 -2"},
    };
    int meet = 40;
    for (const auto &c : cases) {
        m.add(++meet, c.field);
        m.copies.copy(S("KMRGymnasts"), S("Gymnasts"), S("MeetID = %1").arg(meet), LocalCopies::gymnastFields());
        EventRun run;
        run.meet = meet;
        run.eventGroup = 90;
        run.eventNumber = 1;
        m.builds->eventTieBreak().Execute(m.copies.local(), run);
        QStringList statuses;
        for (const TieEntry &e : m.builds->eventTieBreak().Entries)
            statuses << QString::number(e.Status);
        EXPECT_EQ(statuses.join(S(" ")), S(c.statuses));
    }
    EXPECT_EQ(TieMark(3), S("*"));
    EXPECT_EQ(TieMark(-3), S("T"));
}

TEST_P(PageBuildsTest, MethodOneBreaksTiesByTheBestEventsThenBAndStartSums)
{
    Meets m(GetParam());
    // Equal all-arounds of 39.0: the best six to two events agree, the best
    // single event decides (2 before 1). 3 and 4 agree on events; their B
    // score sums decide.
    m.add(50, {{1, {9.85, 9.85, 9.7, 9.6}, 39.0}, {2, {9.9, 9.8, 9.7, 9.6}, 39.0}});
    MeetStore &s = m.rig.peer();
    m.add(51, {{3, {9.9, 9.8, 9.7, 9.6}, 39.0}, {4, {9.9, 9.8, 9.7, 9.6}, 39.0}});
    s.execute(S("update Gymnasts set E1BScore = 9.1 where MeetID = 51 and Num = 4"));
    // The two-attempt event: 5's second attempt has no start value and counts
    // for nothing, else its 9.9 would win.
    m.add(52, {{5, {9.5, 9.5, 9.5}, 30.0}, {6, {9.5, 9.5, 9.5}, 30.0}});
    s.execute(S("update Gymnasts set E3Start = 5, E3BScore = 4.4, E7Start = 0, E7BScore = 9.9, E7S1 = 9 "
                "where MeetID = 52 and Num = 5"));
    s.execute(S("update Gymnasts set E3Start = 5, E3BScore = 4.5, E7Start = 5.2, E7BScore = 4.3, E7S1 = 9 "
                "where MeetID = 52 and Num = 6"));
    const struct {
        int meet;
        const char *kind;
        int event;
        bool twoAttempts;
        const char *order;
    } cases[] = {{50, "A", -1, false, "2 1"}, {51, "A", -1, false, "4 3"}, {52, "E", 3, true, "6 5"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.meet);
        m.copies.copy(S("KMRGymnasts"), S("Gymnasts"), S("MeetID = %1").arg(c.meet), LocalCopies::gymnastFields());
        EventRun run;
        run.kind = S(c.kind);
        run.meet = c.meet;
        run.eventGroup = 90;
        run.eventNumber = c.event;
        run.method1 = true;
        run.twoAttempts = c.twoAttempts;
        run.twoScore = c.twoAttempts ? 3 : 0;
        m.builds->eventTieBreak().Execute(m.copies.local(), run);
        QStringList order;
        for (const TieEntry &e : m.builds->eventTieBreak().Entries)
            order << QString::number(e.Num);
        EXPECT_EQ(order.join(S(" ")), S(c.order));
        EXPECT_EQ(m.builds->eventTieBreak().Entries.front().Status, 1) << "broken";
    }
}

TEST_P(PageBuildsTest, TeamsCountTheirBestScoresAndTheirDeduction)
{
    Meets m(GetParam());
    // Riverside: five on vault, the even numbers without a flag, one of them
    // with another team code; Summit: two. Riverside has a neutral deduction
    // of -0.5, which enters its total but not its event totals.
    m.add(60, {{1, {9.6, 9.0}, 18.6, true, 1, "X"}, {2, {9.5}, 9.5, true, 1, "X"}, {3, {9.4}, 9.4, true, 1, "Y"},
               {4, {9.3}, 9.3, true, 1, "X"}, {5, {9.2}, 9.2, true, 1, "X"}, {7, {9.9}, 9.9, true, 2, "Z"},
               {9, {9.8}, 9.8, true, 2, "Z"}},
          -0.5);
    const struct {
        const char *what;
        int designation;
        int teamField;
        int scoreCount;
        bool ncaa;
        int numEvents;
        const char *rows; // place:team:total:vault
    } cases[] = {
        {"three of five count", 0, -1, 3, false, 2, "1:Riverside:37.000:28.500 2:Summit:19.700:19.700"},
        {"all count", 0, -1, 0, false, 2, "1:Riverside:55.500:47.000 2:Summit:19.700:19.700"},
        {"NCAA: flagged scores only", 0, -1, 0, true, 2, "1:Riverside:36.700:28.200 2:Summit:19.700:19.700"},
        {"by ID without a team field: one team", 1, -1, 2, false, 2, "1:Team *:28.700:19.700"},
        {"a gym with two codes makes two teams", 0, 1, 0, false, 1,
         "1:Riverside:37.100:37.600 2:Summit:19.700:19.700 3:Riverside:8.900:9.400"},
        {"no events, no teams", 0, -1, 0, false, 0, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        TeamPageLine p;
        p.eventGroup = 90;
        p.meet = 60;
        p.designation = c.designation;
        p.teamField = c.teamField;
        p.scoreCount = QString::number(c.scoreCount);
        p.ncaa = c.ncaa;
        p.numEvents = c.numEvents;
        QStringList rows;
        for (const ResultsRow &r : m.builds->BuildTeamRows(p.compose()))
            rows << r.Place + S(":") + r.Team + S(":") + r.Score.trimmed() + S(":") + r.Scores[0];
        EXPECT_EQ(rows.join(S(" ")), S(c.rows));
    }
}

TEST_P(PageBuildsTest, TheAllAroundLimitKeepsFourAGymTiesSettledByTheirEvents)
{
    Meets m(GetParam());
    // Five of Riverside on the all-around, fourth and fifth tied: the better single
    // event keeps number 4.
    m.add(70, {{1, {9.9, 9.9}, 19.8}, {2, {9.8, 9.8}, 19.6}, {3, {9.7, 9.7}, 19.4}, {4, {9.8, 9.4}, 19.2},
               {5, {9.6, 9.6}, 19.2}});
    TeamRun run;
    run.meet = 70;
    run.eventGroup = 90;
    run.designation = 2;
    run.aaCount = 4;
    run.numEvents = 2;
    m.copies.copy(S("KMRGymnasts"), S("Gymnasts"), S("MeetID = 70"), LocalCopies::gymnastFields());
    m.builds->teamTieBreak().Execute(m.copies.local(), m.rig.peer(), run);
    QStringList kept;
    for (const TeamAthlete &a : m.builds->teamTieBreak().Athletes)
        kept << QString::number(a.Num);
    kept.sort();
    EXPECT_EQ(kept, (QStringList{S("1"), S("2"), S("3"), S("4")}));
}

TEST_P(PageBuildsTest, CombinedMeetsAddTheirWeightedScores)
{
    Meets m(GetParam());
    m.add(81, {{1, {9.0}, 9.0}, {2, {9.5}, 9.5}, {3, {9.9}, 9.9}});
    m.add(82, {{1, {9.8}, 9.8}, {2, {9.1}, 9.1}});
    m.add(83, {{1, {8.0}, 8.0}, {2, {9.0}, 9.0}});
    m.add(84, {{1, {10.0}, 10.0}, {2, {9.0}, 9.0}});
    const struct {
        std::array<int, 4> meets;
        std::array<const char *, 4> multipliers;
        const char *rows;
    } cases[] = {
        // 3 is not in meet 82: it drops out.
        {{81, 82, -1, -1}, {"1.00", "1.00", "0.00", "0.00"}, "1:1:18.800 2:2:18.600"},
        {{81, 82, -1, -1}, {"0.50", "1.00", "0.00", "0.00"}, "1:1:14.300 2:2:13.850"},
        {{81, 82, 83, -1}, {"1.00", "1.00", "1.00", "0.00"}, "1:2:27.600 2:1:26.800"},
        {{81, 82, 83, 84}, {"1.00", "0.50", "0.50", "1.00"}, "1:1:27.900 2:2:27.550"},
    };
    for (const auto &c : cases) {
        EventPageLine p;
        p.eventGroup = 90;
        for (std::size_t k = 0; k < 4; ++k) {
            p.meets[k] = c.meets[k];
            p.multipliers[k] = S(c.multipliers[k]);
        }
        QStringList rows;
        for (const ResultsRow &r : m.builds->BuildEventRows(p.compose()))
            rows << r.Place + S(":") + r.Name.mid(1) + S(":") + r.Score.trimmed();
        EXPECT_EQ(rows.join(S(" ")), S(c.rows)) << c.meets[2] << c.meets[3];
    }
    // An age range brings date literals into the server's statement: 2 was
    // born in it, 1 was not.
    m.rig.peer().execute(S("update Gymnasts set Birthday = date '2012-05-01' where Num = 2"));
    m.rig.peer().execute(S("update Gymnasts set Birthday = date '2008-05-01' where Num = 1"));
    EventPageLine p;
    p.eventGroup = 90;
    p.meets = {81, 82, -1, -1};
    p.multipliers = {S("1.00"), S("1.00"), S("0.00"), S("0.00")};
    p.lowerDates = S("2011-09-01");
    p.upperDates = S("2013-08-31");
    const ResultsRows dated = m.builds->BuildEventRows(p.compose());
    ASSERT_EQ(dated.size(), 1u);
    EXPECT_EQ(dated[0].Name.mid(1), S("2"));
}

// Cross-check against a published sheet: the women's floor final of the 2016
// Olympic Games, olympedia.org/results/353681 (points, D and E scores, one
// penalty). Fasana and Murakami tie on 14.533; the higher execution score
// (the store's B score) placed Fasana sixth, as the judges did.
TEST_P(PageBuildsTest, TheRio2016FloorFinalPlacesAsPublished)
{
    Meets m(GetParam());
    const struct {
        int num;
        const char *name;
        double points, difficulty, execution;
    } sheet[] = {{1, "Biles", 15.966, 6.9, 9.066},        {2, "Raisman", 15.5, 6.6, 8.9},
                 {3, "Tinkler", 14.933, 6.4, 8.533},      {4, "Ferrari", 14.766, 6.3, 8.466},
                 {5, "Wang Yan", 14.666, 6.3, 8.366},     {6, "Fasana", 14.533, 6.1, 8.433},
                 {7, "Murakami", 14.533, 6.3, 8.233},     {8, "Steingruber", 11.8, 5.4, 6.7}};
    std::vector<Competitor> field;
    // Entered in reverse so the order comes from the scores, not the rows.
    for (auto it = std::rbegin(sheet); it != std::rend(sheet); ++it)
        field.push_back({it->num, {it->points}});
    m.add(90, field);
    for (const auto &g : sheet)
        m.rig.peer().execute(S("update Gymnasts set E1Start = %1, E1BScore = %2 where MeetID = 90 and Num = %3")
                                 .arg(formatFloat(g.difficulty, S("0.000")), formatFloat(g.execution, S("0.000")))
                                 .arg(g.num));
    m.tieBreak = S("4");
    EventPageLine p;
    p.eventNumber = 1;
    p.eventName = S("FLOOR");
    p.eventGroup = 90;
    p.meets[0] = 90;
    p.method1 = true;
    QStringList rows;
    for (const ResultsRow &r : m.builds->BuildEventRows(p.compose()))
        rows << r.Place + S(":") + r.Name.mid(1) + S(":") + r.Score.trimmed();
    EXPECT_EQ(rows.join(S(" ")), S("1:1:15.966 2:2:15.500 3:3:14.933 4:4:14.766 5:5:14.666 6:6:14.533 7:7:14.533 "
                                   "8:8:11.800"));
}

INSTANTIATE_TEST_SUITE_P(Backends, PageBuildsTest, testing::Values(StoreBackend::Sqlite, StoreBackend::Postgres),
                         [](const testing::TestParamInfo<StoreBackend> &info) {
                             return info.param == StoreBackend::Sqlite ? "SQLite" : "PostgreSQL";
                         });

} // namespace
