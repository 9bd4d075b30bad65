// The results window over the seeded store: the lines it composes, field by
// field, and what its controls allow.
#include "results/ResultsGraphic.h"
#include "results/ResultsPicks.h"
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::S;

namespace {

class ResultsWindowTest : public test::OpenMainWindow {
protected:
    ResultsGraphic &window() { return rig.main().openResults(); }
    // Picks as the command line gives them; the test fails on a refusal.
    QString compose(const QStringList &picks)
    {
        const QString problem = applyResultsPicks(window(), picks);
        EXPECT_TRUE(problem.isEmpty()) << problem.toStdString();
        return window().composeLine();
    }
};

TEST_F(ResultsWindowTest, LinesAreComposedFieldByField)
{
    const struct {
        const char *what;
        QStringList picks;
        const char *line;
    } cases[] = {
        {"event page, one level with an age group, two sessions, a second meet at half weight",
         {S("event=BEAM"), S("channel=2"), S("title=Beam L4"), S("sessions=1,2"), S("levels=4"), S("ages=Junior"),
          S("places=3"), S("fa=1"), S("meet2=2"), S("pct2=50")},
         "[2][Beam L4][Events][BEAM][3][1]['4'][]['1','2'][2017-09-01][2013-09-02][3][1][0]"
         "[1][2][-1][-1][1.00][0.50][0.00][0.00][0][0][1][0][1]"},
        {"all-around of two gyms, channel 3",
         {S("event=AA"), S("channel=3"), S("gyms=2,Riverside")},
         "[3][][Events][AA][-1][1][][1,2][][][][0][0][0][1][-1][-1][-1][1.00][0.00][0.00][0.00][0][0][1][0][1]"},
        {"team page by ID on Team1 codes, three scores count",
         {S("event=Team"), S("designate=id"), S("team=1"), S("teamids=4"), S("count=3"), S("places=10")},
         "[1][][Team][1][][][][][3][1][][0][10][0]['4'][1][0][0][1][0][4][1][0]"},
        {"an NCAA grid team page goes to the matrix, channel 4",
         {S("meet=2"), S("event=Team"), S("ncaa=1"), S("grid=1"), S("title=Quad")},
         // Meet 2 has one level and one session: a list of one checked item
         // names it.
         "[4][Quad][Team][3]['D1']['1'][][][0][-1][][0][0][1][][0][0][1][2][0][4][0][0]"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        test::MainRig fresh;
        ASSERT_TRUE(fresh.open());
        const QString problem = applyResultsPicks(fresh.main().openResults(), c.picks);
        ASSERT_TRUE(problem.isEmpty()) << problem.toStdString();
        EXPECT_EQ(fresh.main().openResults().composeLine().toStdString(), c.line);
    }
}

TEST_F(ResultsWindowTest, AddEachEventAddsEveryItemAndADuplicateMeetAddsNone)
{
    ASSERT_TRUE(compose({S("group=2")}).contains(S("[FLOOR]")));
    window()(S("btnAddEvent")).click();
    ASSERT_EQ(window().queue().size(), 8) << "six events, AA and Team";
    EXPECT_TRUE(window().queue()[5].contains(S("[Events][HIBAR][6]")));
    EXPECT_TRUE(window().queue()[6].contains(S("[Events][AA][-1]")));
    EXPECT_TRUE(window().queue()[7].contains(S("[Team][2]")));
    EXPECT_EQ(window().selectedLines().size(), 8);
    EXPECT_EQ(window()(S("cboEvents")).text(), S("FLOOR")) << "back on the item that was current";

    compose({S("meet2=1")});
    window()(S("btnAddEvent")).click();
    window()(S("btnAdd")).click();
    EXPECT_EQ(window().queue().size(), 8);
    ASSERT_EQ(rig.prompt.messages.size(), 2u);
    EXPECT_EQ(rig.prompt.messages[0].caption, S("Validation Error"));
    EXPECT_EQ(rig.prompt.messages[0].text, S("Please choose different meets"));
}

TEST_F(ResultsWindowTest, AgeBoundsComeFromDatesOrFromTheAgeDateOfTheLevel)
{
    // Level 7 divides by birth dates.
    compose({S("levels=7"), S("ages=Child")});
    EXPECT_EQ(window().AgeRangeDates(), std::make_pair(S("2016-12-31"), S("2013-01-01")));
    // Level 8 by ages on the age date; 99 is open-ended. Two divisions of
    // three come in list order; all of them is no filter at all.
    compose({S("levels=8"), S("ages=Senior")});
    EXPECT_EQ(window().AgeRangeDates(), std::make_pair(S("2010-09-01"), S("1924-09-02")));
    compose({S("levels=7"), S("ages=Child,Senior")});
    EXPECT_EQ(window().AgeRangeDates(), std::make_pair(S("2016-12-31,2009-12-31"), S("2013-01-01,1990-01-01")));
    window().checkedList(S("chkcboAges")).SelectAll();
    EXPECT_EQ(window().AgeRangeDates(), std::make_pair(QString(), QString()));
    // Several levels, or a meet without age divisions: no age filter.
    compose({S("levels=7,8")});
    EXPECT_FALSE(window()(S("chkcboAges")).isEnabled());
    EXPECT_EQ(window().checkedList(S("chkcboAges")).text(), S("All"));
    EXPECT_EQ(window().AgeRangeDates(), std::make_pair(QString(), QString()));
}

TEST(ResultsWindowAgeDate, AMissingAgeDateIsToldAndItsGroupLeftOut)
{
    test::MainRig rig([](MeetStore &s) { s.execute(S("delete from AgeDate where Level = '4'")); });
    ASSERT_TRUE(rig.open());
    ResultsGraphic &window = rig.main().openResults();
    ASSERT_TRUE(applyResultsPicks(window, {S("levels=4"), S("ages=Junior")}).isEmpty());
    EXPECT_EQ(window.AgeRangeDates(), std::make_pair(QString(), QString()));
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig.prompt.messages[0].caption, S("Record Not Found"));
    EXPECT_EQ(rig.prompt.messages[0].text,
              S("Unable to find an Age Determination record for this event group and level"));
    EXPECT_EQ(rig.prompt.messages[0].icon, PromptIcon::Error);
}

TEST_F(ResultsWindowTest, TheEventDecidesWhatCanBeSet)
{
    const char *names[] = {"EditCount", "rgrpDesignate", "rgrpTeam", "EditAA", "chkFACannot", "chkcboGyms",
                           "chkcboTeamID", "chkIncExhib", "chkNCAAGrid"};
    const struct {
        QStringList picks;
        const char *enabled; // one mark a name above
    } cases[] = {
        {{S("event=VAULT")}, "....xx..."},
        {{S("event=VAULT"), S("ncaa=1")}, "....xx.x."},
        {{S("event=AA"), S("ncaa=1")}, "....xx..."},
        {{S("event=Team"), S("designate=gym"), S("team=1"), S("ncaa=0")}, "xxx...x.."},
        {{S("event=Team"), S("designate=aa"), S("ncaa=1")}, "xx.x....x"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.picks.join(S(" ")).toStdString());
        compose(c.picks);
        QString enabled;
        for (const char *name : names)
            enabled += window()(S(name)).isEnabled() ? QLatin1Char('x') : QLatin1Char('.');
        EXPECT_EQ(enabled, S(c.enabled));
    }
    EXPECT_EQ(window()(S("rgrpTeam")).currentIndex(), 3) << "designation by AA takes the team field away";
}

TEST_F(ResultsWindowTest, TheTeamSettingsSurviveARestart)
{
    compose({S("event=Team"), S("designate=id"), S("team=2"), S("count=5"), S("aa=4")});
    window()(S("EditCount")).operatorSetText(QString());
    EXPECT_TRUE(rig.main().closeResults());
    const SettingsStore key = SettingsStore::marlowenKey(rig.configFolder);
    EXPECT_EQ(key.ReadInteger(S("Custom"), S("TeamScoresCount"), -1), 0) << "an empty edit stores 0";
    EXPECT_EQ(key.ReadInteger(S("Custom"), S("TeamScoresAA"), -1), 4);
    EXPECT_EQ(key.ReadInteger(S("Custom"), S("TeamDesignate"), -1), 1);
    EXPECT_EQ(key.ReadInteger(S("Custom"), S("TeamID"), -1), 1);
    ResultsGraphic &reopened = rig.main().openResults();
    EXPECT_EQ(reopened(S("EditAA")).text(), S("4"));
    EXPECT_EQ(reopened(S("rgrpDesignate")).currentIndex(), 1);
    EXPECT_EQ(reopened(S("rgrpTeam")).currentIndex(), 1);
    EXPECT_TRUE(reopened.queue().isEmpty()) << "the queue is never kept";
}

} // namespace
