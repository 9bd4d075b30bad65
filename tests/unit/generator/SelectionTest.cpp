// What the operator follows: meet, event groups, sessions, dual display and
// the NCAA rotation, as the main window's controls show them.
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

QStringList rowNames(int i, int side)
{
    QStringList names;
    for (const char *stem : {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"})
        names << S(stem) + QString::number(i) + QString::number(side);
    return names;
}

// A meet without sessions, and an event group without apparatus.
void addBareMeet(MeetStore &s)
{
    s.insertRow(S("Events"), {{"EventID", 9}, {"Group", "Empty"}, {"NumEvents", 0}});
    s.insertRow(S("Meets"), {{"MeetID", 9}, {"Name", "Bare Meet"}, {"Def_EventID", 2}});
}

class SelectionTest : public OpenMainWindow {
protected:
    SelectionTest() : OpenMainWindow(addBareMeet) {}
    MeetSelection &selection() { return rig.main().selection(); }
};

} // namespace

TEST_F(SelectionTest, ANewMeetListsItsSessionsEmptiesTheChosenOnesAndResetsTheGroups)
{
    ASSERT_TRUE(selection().setDual(true));
    ASSERT_TRUE(selection().setSessions(1, {S("1"), S("3")}));
    EXPECT_EQ(rig(S("cboSession1x")).currentIndex(), 2);
    const struct {
        int meet;
        QStringList sessions;
        QStringList descriptions;
        int eventGroup;
    } cases[] = {
        {2, {"1"}, {"Quad meet"}, 3},
        {9, {}, {}, 2},
        {1, {"1", "2", "3"}, {"Levels 4-5", "Levels 6-8", "Men Levels 5-8"}, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.meet);
        ASSERT_TRUE(selection().selectMeet(c.meet)) << selection().lastError().toStdString();
        for (const QString &box : MeetSelection::sessionBoxes(1) + MeetSelection::sessionBoxes(2)) {
            EXPECT_EQ(rig(box).items(), c.sessions) << box.toStdString();
            EXPECT_EQ(rig(box).property(S("descriptions")).toStringList(), c.descriptions);
            EXPECT_EQ(rig(box).text(), QString());
            EXPECT_EQ(rig(box).currentIndex(), -1);
        }
        EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), c.eventGroup);
        EXPECT_EQ(rig(S("dblcboEvent2")).property(S("key")).toInt(), c.eventGroup);
    }
    // The same meet again changes nothing; RebuildSessionList reads the meet again.
    ASSERT_TRUE(selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(selection().selectMeet(1));
    EXPECT_EQ(rig(S("cboSession1")).text(), S("1"));
    rig.peer().insertRow(S("Sessions"), {{"MeetID", 1}, {"Session", "4"}, {"Desc", "Late"}});
    rig.main().table(S("Sessions"))->refresh();
    selection().RebuildSessionList();
    EXPECT_EQ(rig(S("cboSession1")).text(), QString());
    EXPECT_EQ(rig(S("cboSession2y")).items(), (QStringList{"1", "2", "3", "4"}));
}

TEST_F(SelectionTest, AnEventGroupShowsOneRowPerApparatusAndKeepsTheMarksOfHiddenRows)
{
    ASSERT_TRUE(selection().selectEventGroup(1, 2)); // six men's apparatus
    const QStringList men = {"FLOOR", "POMML", "RINGS", "VAULT", "PBARS", "HIBAR"};
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(rig(S("lblEvent%1").arg(i) + S("1")).text(), men[i - 1]);
    EXPECT_EQ(rig(S("grpStatus1")).property(S("bevelRows")).toInt(), 6);
    ASSERT_TRUE(selection().setTickedEvents(1, {1, 2, 3, 4, 6}));
    ASSERT_TRUE(selection().setEventPaused(6, 1, true));
    rig(S("EditNum11")).setText(S("101"));

    ASSERT_TRUE(selection().selectEventGroup(1, 1)); // four women's apparatus
    for (int i = 1; i <= 6; ++i) {
        for (const QString &name : rowNames(i, 1))
            EXPECT_EQ(rig(name).isVisible(), i <= 4) << name.toStdString();
    }
    EXPECT_EQ(rig(S("grpStatus1")).property(S("bevelRows")).toInt(), 4);
    EXPECT_FALSE(rig(S("chkEvent51")).isChecked());
    EXPECT_TRUE(rig(S("chkEvent61")).isChecked());
    EXPECT_TRUE(rig(S("chkPause61")).isChecked());
    EXPECT_EQ(rig(S("EditNum11")).text(), S("101")) << "the status fields stay";
    // Column 2 followed its own selector only.
    EXPECT_FALSE(rig(S("lblEvent52")).isVisible());
}

TEST_F(SelectionTest, DualAndNcaaSetTheSecondColumnTheRotationAndTheRequiredLabel)
{
    const struct {
        bool dual;
        bool ncaa;
        const char *must1;
    } cases[] = {{true, false, "(Required)"}, {false, true, "(Required)"}, {false, false, "(Optional)"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.dual) * 2 + int(c.ncaa));
        ASSERT_TRUE(selection().setDual(c.dual));
        ASSERT_TRUE(selection().setNcaa(c.ncaa));
        EXPECT_EQ(rig(S("lblMust1")).text(), S(c.must1));
        EXPECT_EQ(rig(S("rgrpRotation")).isEnabled(), c.ncaa);
        QStringList column2 = QStringList{"grpStatus2", "dblcboEvent2", "lblMust2"} + MeetSelection::sessionBoxes(2);
        for (int i = 1; i <= 6; ++i)
            column2 << rowNames(i, 2);
        for (const QString &name : column2)
            EXPECT_EQ(rig(name).isEnabled(), c.dual) << name.toStdString();
        EXPECT_TRUE(rig(S("cboSession1z")).isEnabled());
    }
}

TEST_F(SelectionTest, TheRotationGroupIsSizedByEventsAndByesOfTheChosenSessions)
{
    LogicalControl &rotation = rig(S("rgrpRotation"));
    // Meet 1, no session: the first session's rotation (one bye) with four events.
    EXPECT_EQ(rotation.items(), (QStringList{"1", "2", "3", "4", "5"}));
    ASSERT_TRUE(selection().setNcaa(true));
    ASSERT_TRUE(selection().setRotation(3));
    const struct {
        const char *step;
        std::function<bool()> act;
        int items;
        int current; // -1: none
    } steps[] = {
        // Session 2 has no bye: four.
        {"session 2", [&] { return selection().setSessions(1, {S("2")}); }, 4, 0},
        {"rotation 4", [&] { return selection().setRotation(4); }, 4, 3},
        // The same size keeps the operator's choice.
        {"session 2 again", [&] { return selection().setSessions(1, {S("2")}); }, 4, 3},
        // A group change alone does not resize...
        {"men's group", [&] { return selection().selectEventGroup(1, 2); }, 4, 3},
        // ...a session change does: six events, no bye.
        {"session 3", [&] { return selection().setSessions(1, {S("3")}); }, 6, 0},
        // Dual display takes the larger column.
        {"women, session 1", [&] { return selection().selectEventGroup(1, 1) && selection().setSessions(1, {S("1")}); }, 5, 0},
        {"dual", [&] { return selection().setDual(true); }, 5, 0},
        {"column 2 men, session 3",
         [&] { return selection().selectEventGroup(2, 2) && selection().setSessions(2, {S("3")}); }, 6, 0},
        {"single again", [&] { return selection().setDual(false); }, 5, 0},
        // A meet without sessions: NumEvents alone.
        {"bare meet", [&] { return selection().selectMeet(9); }, 6, 0},
        // No events at all: no buttons, from the next resize on.
        {"empty group, ncaa clicked", [&] { return selection().selectEventGroup(1, 9) && selection().setNcaa(false); }, 0, -1},
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(s.step);
        ASSERT_TRUE(s.act()) << selection().lastError().toStdString();
        EXPECT_EQ(rotation.items().size(), s.items);
        EXPECT_EQ(rotation.property(S("columns")).toInt(), s.items);
        EXPECT_EQ(rotation.currentIndex(), s.current);
    }
}
