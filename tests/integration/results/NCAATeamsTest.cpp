// The NCAA team table through the real main window: Start loads the teams,
// each Timer4 tick follows the rotation picked in rgrpRotation.
#include "generator/DisplayCycle.h"
#include "outputs/Daktronics.h"
#include "support/Formatting.h"
#include "integration/meetdb/StoreFixture.h"
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

// Meet 7: gyms 71-77 with team codes and squads A-G, 78 without a code, in
// sessions Q (71-74, 78), R (75-77) and E (nobody) on one rotation order;
// gym 80, not yet scored, alone in session U on an order of its own. Elm
// (75) has a neutral deduction; Gum (77), the seventh team, is left out.
void addCollegeMeet(MeetStore &s)
{
    s.insertRow(S("Events"), {{"EventID", 7}, {"NumEvents", 4}, {"NCAAScores", 5}, {"Event1", "Vault"},
                              {"Event2", "Bars"}, {"Event3", "Beam"}, {"Event4", "Floor"}});
    s.insertRow(S("Meets"), {{"MeetID", 7}, {"Def_EventID", 7}});
    const QVariant order = s.insertRow(S("Rotations"), {{"EventID", 7}, {"NumByes", 2}, {"Squad1", "123400"},
                                                        {"Squad2", "234100"}, {"Squad3", "1204"}, {"Squad4", "3450"},
                                                        {"Squad5", "412300"}, {"Squad6", "341200"}});
    const QVariant own = s.insertRow(S("Rotations"), {{"EventID", 7}, {"NumByes", 2}, {"Squad1", "102034"}});
    for (const char *session : {"Q", "R", "E", "U"})
        s.insertRow(S("Sessions"), {{"MeetID", 7}, {"Session", session}, {"EventID", 7},
                                    {"RotationID", *session == 'U' ? own : order}});
    const char *names[] = {"Alder", "Birch", "Cedar", "Dogwood", "Elm", "Fir", "Gum", "Aspen", "", "UCLA"};
    for (int gym : {71, 72, 73, 74, 75, 76, 77, 78, 80})
        s.insertRow(S("Gyms"), {{"GymID", gym}, {"Short Name", names[gym - 71]}});
    s.insertRow(S("Attend"), {{"MeetID", 7}, {"GymID", 75}, {"TeamND", -0.5}});
    // gym, event, order, counts for the team, final (null: not scored yet)
    QList<std::tuple<int, int, int, bool, QVariant>> routines = {
        {72, 4, 1, true, 9.8},  {72, 4, 2, true, 9.7},   {72, 4, 3, true, 9.6}, {72, 4, 4, true, 9.5},
        {74, 1, 1, false, 9.9}, {75, 2, 1, true, 9.9},   {75, 2, 2, true, 9.85}, {75, 2, 3, true, QVariant()},
        {76, 1, 1, true, 0.0},  {76, 1, 2, true, 9.95}, {77, 1, 1, true, 9.0},  {78, 1, 1, true, 9.9}};
    for (int k = 1; k <= 7; ++k)
        routines << std::tuple{71, 3, k, true, QVariant(9.0 + 0.1 * k)} << std::tuple{73, 1, k, k <= 5, QVariant(9.0)};
    for (int k = 0; k < 24; ++k)
        routines << std::tuple{80, k / 6 + 1, k % 6 + 1, true, QVariant()};
    for (const auto &[gym, event, order, counts, final] : routines) {
        const auto e = [event](const char *suffix) { return S("E%1%2").arg(event).arg(QLatin1String(suffix)); };
        s.insertRow(S("Gymnasts"),
                    {{"MeetID", 7}, {"Num", gym * 100 + event * 10 + order}, {"First_Name", S("G%1").arg(order)},
                     {"Last_Name", names[gym - 71]}, {"Session", gym == 80 ? "U" : gym >= 75 ? "R" : "Q"},
                     {"Gym", gym}, {"Team1", gym == 78 ? QVariant() : QVariant("T")}, {"Scratched", false},
                     {"Events", 7}, {"Squad", QString(QChar(gym == 80 ? u'A' : u'A' + gym - 71))},
                     {e("Order"), order}, {e("Flag"), counts}, {e("S1"), final}, {e("Final"), final}});
    }
}

// Start in NCAA mode on meet 7; column 2 only when it has sessions.
void startOn(MainRig &rig, const QStringList &sessions1, const QStringList &sessions2, int rotation)
{
    ASSERT_TRUE(rig.open());
    MeetSelection &selection = rig.main().selection();
    ASSERT_TRUE(selection.selectMeet(7) && selection.setDual(!sessions2.isEmpty()) && selection.setNcaa(true));
    ASSERT_TRUE(selection.setSessions(1, sessions1) && (sessions2.isEmpty() || selection.setSessions(2, sessions2)));
    ASSERT_TRUE(selection.setRotation(rotation) && rig.main().start()) << rig.main().lastError().toStdString();
}

QStringList shown(const NCAATeams &teams)
{
    QStringList rows;
    for (const NCAATeamRecord &t : teams.records) {
        if (!t.isEmpty())
            rows << S("%1|%2|%3|%4|%5|%6|%7").arg(t.ShortName).arg(t.Panel).arg(t.RotationEvent)
                        .arg(t.EventName, t.EventScore, t.TeamScore).arg(t.LineupCount);
    }
    return rows;
}

class NCAATeamsTest : public testing::TestWithParam<StoreBackend> {};

} // namespace

TEST_P(NCAATeamsTest, TheTableFollowsTheRotation)
{
    const struct {
        QStringList sessions1, sessions2, rows;
    } cases[] = {{{"Q"}, {"R"}, {"Alder|1|3|BEAM| 56.100| 56.700|6", // six of seven flagged read, all six count
                                 "Birch|1|4|FLOOR| 38.600| 38.600|4", "Cedar|1|0|BYE|| 45.000|0",
                                 "Dogwood|1|-1|BYE||  0.000|0", // digit 5, group of four
                                 "Elm|2|2|BARS| 19.750| 19.250|3", "Fir|2|1|VAULT|  9.950|  9.950|2"}},
                 {{"E"}, {}, {}}};
    for (const auto &c : cases) {
        MainRig rig(addCollegeMeet, {}, GetParam());
        rig.peer().execute(S("update Events set NCAAScores = 0 where EventID = 7"));
        startOn(rig, c.sessions1, c.sessions2, 3);
        rig.main().Timer4Timer();
        const NCAATeams &teams = rig.main().cycle().teams();
        EXPECT_EQ(shown(teams), c.rows);
        EXPECT_EQ(teams.row(5).Lineup[2].score + teams.row(6).Lineup[0].score, c.rows.isEmpty() ? "" : " 0.000")
            << "unscored: empty; scored 0: shown";
    }
}

KESTRA_BOTH_BACKENDS(NCAATeamsTest);

TEST(NCAATeamsOnTheBoard, OneTickSendsTheGroupsAndARotationChangeShowsAtTheNext)
{
    MainRig rig(addCollegeMeet);
    startOn(rig, {"Q"}, {}, 3);
    rig.frames(4); // Start gives the now-up lines their titles
    const auto tick = [&rig](int rotation, const QByteArray &group1) {
        EXPECT_TRUE(rig.main().selection().setRotation(rotation));
        rig.main().cycle().setNCAACycleIndex(1);
        const qsizetype before = rig.frames().size();
        rig.main().Timer4Timer();
        QList<QByteArray> expected = {DaktronicsFrame(1899, group1.leftJustified(362))};
        for (int address : {3465, 3781, 4097, 4413, 4729})
            expected << DaktronicsFrame(address, QByteArray(316, ' '));
        expected << DaktronicsFrame(5045, QByteArray("0.000 0.000 47.5000.000 ").leftJustified(216));
        EXPECT_EQ(rig.frames(int(before) + 7).mid(before), expected) << rotation;
    };
    QByteArray beam = QByteArray("Alder").leftJustified(20) + "BEAM  ";
    for (int k = 1; k <= 6; ++k)
        beam += S("G%1 Alder").arg(k).toLatin1().leftJustified(40) + " 9." + char('0' + k) + "00";
    tick(3, beam + " 47.000 47.500");
    tick(4, QByteArray("Alder").leftJustified(20) + "FLOOR " + QByteArray(276, ' ') + "  0.000 47.500");
}

// UCLA at the 2010 NCAA Championships team final, five of six counting.
// Vault and bars lineups and all totals as published by UCLA (insidesocal.com/
// ucla/2010/04/23/ucla-wins-ncaa-gymnastics-nati/) and USA Gymnastics
// (usagym.org/ucla-wins-ncaa-team-title/); beam and floor came as totals only,
// so their lineups are one set agreeing with every published figure.
TEST(NCAATeamsOnTheBoard, APublishedMeetGivesItsTotalsRotationByRotation)
{
    MainRig rig(addCollegeMeet);
    startOn(rig, {"U"}, {}, 1);
    const double lineups[4][6] = {{9.85, 9.9, 9.825, 9.85, 9.95, 9.925}, {9.8, 9.85, 9.85, 9.825, 9.9, 9.9},
                                  {9.9, 9.85, 9.875, 9.9, 9.8, 9.85}, {9.85, 9.875, 9.9, 9.925, 9.9, 9.95}};
    const char *expected[] = {"UCLA|1|1|VAULT| 49.475| 49.475|6", "UCLA|1|0|BYE|| 49.475|0",
                              "UCLA|1|2|BARS| 49.325| 98.800|6",  "UCLA|1|0|BYE|| 98.800|0",
                              "UCLA|1|3|BEAM| 49.375|148.175|6",  "UCLA|1|4|FLOOR| 49.550|197.725|6"};
    for (int r = 1; r <= 6; ++r) {
        const int event = "102034"[r - 1] - '0';
        for (int k = 1; event > 0 && k <= 6; ++k)
            rig.peer().execute(S("update Gymnasts set E%1S1 = %2, E%1Final = %2 where MeetID = 7 and Num = %3")
                                   .arg(event).arg(formatFloat(lineups[event - 1][k - 1], S("#0.000")))
                                   .arg(8000 + event * 10 + k));
        ASSERT_TRUE(rig.main().selection().setRotation(r));
        rig.main().Timer4Timer();
        EXPECT_EQ(shown(rig.main().cycle().teams()), QStringList{expected[r - 1]});
    }
}
