#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::MainRig;
using kestra::test::S;

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
    s.insertRow(S("Events"), {{S("EventID"), 9}, {S("Group"), S("Empty")}, {S("NumEvents"), 0}});
    s.insertRow(S("Meets"), {{S("MeetID"), 9}, {S("Name"), S("Bare Meet")}, {S("Def_EventID"), 2}});
}

} // namespace

class SelectionTest : public test::OpenMainWindow {
protected:
    SelectionTest() : OpenMainWindow(addBareMeet) {}
};

TEST_F(SelectionTest, TheSessionBoxesListTheSessionsOfTheSelectedMeet)
{
    const struct {
        int meet;
        QStringList sessions;
        QStringList descriptions;
        int eventGroup;
    } cases[] = {
        {1, {S("1"), S("2"), S("3")}, {S("Levels 4-5"), S("Levels 6-8"), S("Men Levels 5-8")}, 1},
        {2, {S("1")}, {S("Quad meet")}, 3},
        {9, {}, {}, 2},
        {1, {S("1"), S("2"), S("3")}, {S("Levels 4-5"), S("Levels 6-8"), S("Men Levels 5-8")}, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.meet);
        ASSERT_TRUE(rig.main().selection().selectMeet(c.meet)) << rig.main().selection().lastError().toStdString();
        for (int side = 1; side <= 2; ++side) {
            for (const QString &box : MeetSelection::sessionBoxes(side)) {
                EXPECT_EQ(rig(box).items(), c.sessions) << box.toStdString();
                EXPECT_EQ(rig(box).property(S("descriptions")).toStringList(), c.descriptions);
                EXPECT_EQ(rig(box).text(), QString());
            }
        }
        EXPECT_EQ(rig.main().selection().memSessions().size(), c.sessions.size());
        // A new meet resets both event groups to its default.
        EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), c.eventGroup);
        EXPECT_EQ(rig(S("dblcboEvent2")).property(S("key")).toInt(), c.eventGroup);
        EXPECT_EQ(rig.main().table(S("EventDisp1"))->value(S("EventID")).toInt(), c.eventGroup);
    }
    ASSERT_TRUE(rig.main().selection().selectMeet(1));
    EXPECT_EQ(rig.main().selection().memSessions().value(2).RotationID,
              rig.scalar(S("select RotationID from Sessions where MeetID = 1 and Session = '3'")).toInt());
}

TEST_F(SelectionTest, ANewMeetEmptiesTheChosenSessions)
{
    ASSERT_TRUE(rig.main().selection().setDual(true));
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1"), S("3")}));
    ASSERT_TRUE(rig.main().selection().setSessions(2, {S("2")}));
    EXPECT_EQ(rig(S("cboSession1")).text(), S("1"));
    EXPECT_EQ(rig(S("cboSession1x")).text(), S("3"));
    EXPECT_EQ(rig(S("cboSession1x")).currentIndex(), 2);
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    for (const QString &box : MeetSelection::sessionBoxes(1) + MeetSelection::sessionBoxes(2)) {
        EXPECT_EQ(rig(box).text(), QString()) << box.toStdString();
        EXPECT_EQ(rig(box).currentIndex(), -1);
    }
    // The same meet again changes nothing.
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    EXPECT_EQ(rig(S("cboSession1")).text(), S("1"));
    // RebuildSessionList alone also empties them, and reads the meet again.
    rig.peer().insertRow(S("Sessions"), {{S("MeetID"), 2}, {S("Session"), S("2")}, {S("Desc"), S("Late")}});
    rig.main().table(S("Sessions"))->refresh();
    rig.main().selection().RebuildSessionList();
    EXPECT_EQ(rig(S("cboSession1")).text(), QString());
    EXPECT_EQ(rig(S("cboSession2y")).items(), (QStringList{S("1"), S("2")}));
}

TEST_F(SelectionTest, ASessionBoxTakesAChoiceFromItsListOrTypedText)
{
    LogicalControl &box = rig(S("cboSession1y"));
    box.operatorSelect(1);
    EXPECT_EQ(box.text(), S("2"));
    box.operatorSetText(S("3"));
    EXPECT_EQ(box.currentIndex(), 2);
    box.operatorSetText(QString());
    EXPECT_EQ(box.currentIndex(), -1);
    // An additional box without a primary one is kept as typed; it does not
    // size the rotation.
    EXPECT_EQ(rig(S("cboSession1")).text(), QString());
}

TEST_F(SelectionTest, AnEventGroupShowsOneRowPerApparatusAndKeepsTheMarksOfHiddenRows)
{
    ASSERT_TRUE(rig.main().selection().selectEventGroup(1, 2)); // six men's apparatus
    const QStringList men = {S("FLOOR"), S("POMML"), S("RINGS"), S("VAULT"), S("PBARS"), S("HIBAR")};
    for (int i = 1; i <= 6; ++i) {
        EXPECT_EQ(rig(S("lblEvent%1%2").arg(i).arg(1)).text(), men[i - 1]);
        for (const QString &name : rowNames(i, 1))
            EXPECT_TRUE(rig(name).isVisible()) << name.toStdString();
    }
    EXPECT_EQ(rig(S("grpStatus1")).property(S("bevelRows")).toInt(), 6);
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1, 2, 3, 4, 6}));
    ASSERT_TRUE(rig.main().selection().setEventPaused(6, 1, true));

    ASSERT_TRUE(rig.main().selection().selectEventGroup(1, 1)); // four women's apparatus
    for (int i = 1; i <= 6; ++i) {
        for (const QString &name : rowNames(i, 1))
            EXPECT_EQ(rig(name).isVisible(), i <= 4) << name.toStdString();
    }
    EXPECT_EQ(rig(S("lblEvent41")).text(), S("FLOOR"));
    EXPECT_EQ(rig(S("grpStatus1")).property(S("bevelRows")).toInt(), 4);
    EXPECT_FALSE(rig(S("chkEvent51")).isChecked());
    EXPECT_TRUE(rig(S("chkEvent61")).isChecked());
    EXPECT_TRUE(rig(S("chkPause61")).isChecked());
    // Column 2 followed its own selector only.
    EXPECT_EQ(rig(S("lblEvent12")).text(), S("VAULT"));
    EXPECT_FALSE(rig(S("lblEvent52")).isVisible());
    // Nor are the status fields touched by a change of group.
    rig(S("EditNum11")).setText(S("101"));
    ASSERT_TRUE(rig.main().selection().selectEventGroup(1, 3));
    EXPECT_EQ(rig(S("EditNum11")).text(), S("101"));
}

TEST_F(SelectionTest, DualAndNcaaSetTheSecondColumnTheRotationAndTheRequiredLabel)
{
    const struct {
        bool dual;
        bool ncaa;
        const char *must1;
    } cases[] = {
        {false, false, "(Optional)"},
        {true, false, "(Required)"},
        {false, true, "(Required)"},
        {true, true, "(Required)"},
        {false, false, "(Optional)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.dual) * 2 + int(c.ncaa));
        ASSERT_TRUE(rig.main().selection().setDual(c.dual));
        ASSERT_TRUE(rig.main().selection().setNcaa(c.ncaa));
        EXPECT_EQ(rig(S("lblMust1")).text(), S(c.must1));
        EXPECT_EQ(rig(S("rgrpRotation")).isEnabled(), c.ncaa);
        QStringList column2 = {S("grpStatus2"), S("dblcboEvent2"), S("lblMust2")};
        column2 << MeetSelection::sessionBoxes(2);
        for (int i = 1; i <= 6; ++i)
            column2 << rowNames(i, 2);
        for (const QString &name : column2)
            EXPECT_EQ(rig(name).isEnabled(), c.dual) << name.toStdString();
        for (const QString &name : rowNames(1, 1) + MeetSelection::sessionBoxes(1))
            EXPECT_TRUE(rig(name).isEnabled()) << name.toStdString();
    }
    // Column 2 cannot be operated while it is disabled.
    EXPECT_FALSE(rig.main().selection().selectEventGroup(2, 2));
    EXPECT_EQ(rig.main().selection().lastError(), S("Session column 2 is followed in dual-session display only."));
}

TEST_F(SelectionTest, TheRotationGroupIsSizedByEventsAndByesOfTheChosenSessions)
{
    LogicalControl &rotation = rig(S("rgrpRotation"));
    // Meet 1, no session: the first session's rotation (one bye) with four events.
    EXPECT_EQ(rotation.items(), (QStringList{S("1"), S("2"), S("3"), S("4"), S("5")}));
    EXPECT_EQ(rotation.currentIndex(), 0);
    ASSERT_TRUE(rig.main().selection().setNcaa(true));
    ASSERT_TRUE(rig.main().selection().setRotation(3));

    const struct {
        const char *step;
        std::function<bool()> act;
        int items;
        int current; // -1: none
    } steps[] = {
        // Session 2 has no bye: four.
        {"session 2", [&] { return rig.main().selection().setSessions(1, {S("2")}); }, 4, 0},
        {"rotation 4", [&] { return rig.main().selection().setRotation(4); }, 4, 3},
        // The same size keeps the operator's choice.
        {"session 2 again", [&] { return rig.main().selection().setSessions(1, {S("2")}); }, 4, 3},
        // A group change alone does not resize...
        {"men's group", [&] { return rig.main().selection().selectEventGroup(1, 2); }, 4, 3},
        // ...a session change does: six events, no bye.
        {"session 3", [&] { return rig.main().selection().setSessions(1, {S("3")}); }, 6, 0},
        // Dual display takes the larger column.
        {"women's group", [&] { return rig.main().selection().selectEventGroup(1, 1); }, 6, 0},
        {"session 1", [&] { return rig.main().selection().setSessions(1, {S("1")}); }, 5, 0},
        {"dual", [&] { return rig.main().selection().setDual(true); }, 5, 0},
        {"column 2 men", [&] { return rig.main().selection().selectEventGroup(2, 2); }, 5, 0},
        {"column 2 session 3", [&] { return rig.main().selection().setSessions(2, {S("3")}); }, 6, 0},
        {"single again", [&] { return rig.main().selection().setDual(false); }, 5, 0},
        // A meet without sessions: NumEvents alone; no events at all: no items.
        {"bare meet", [&] { return rig.main().selection().selectMeet(9); }, 6, 0},
        {"empty group", [&] { return rig.main().selection().selectEventGroup(1, 9); }, 6, 0},
        {"ncaa click", [&] { return rig.main().selection().setNcaa(false); }, 0, -1},
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(s.step);
        ASSERT_TRUE(s.act()) << rig.main().selection().lastError().toStdString();
        EXPECT_EQ(rotation.items().size(), s.items);
        EXPECT_EQ(rotation.property(S("columns")).toInt(), s.items);
        EXPECT_EQ(rotation.currentIndex(), s.current);
    }
}

TEST_F(SelectionTest, StartLocksTheSelectionAndTheApiSaysWhy)
{
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1, 2}));
    ASSERT_TRUE(rig.main().start());
    EXPECT_FALSE(rig.main().selection().selectMeet(2));
    EXPECT_EQ(rig.main().selection().lastError(), S("The selection cannot be changed while the generator runs."));
    EXPECT_FALSE(rig.main().selection().setSessions(1, {S("2")}));
    EXPECT_FALSE(rig.main().selectTarget(OutputTarget::Barco));
    EXPECT_FALSE(rig.main().selection().setDual(true));
    EXPECT_EQ(rig.main().table(S("Meets"))->value(S("MeetID")).toInt(), 1);
    // The event boxes stay live.
    EXPECT_TRUE(rig.main().selection().setTickedEvents(1, {1, 2, 3}));
    EXPECT_TRUE(rig.main().selection().setEventPaused(2, 1, true));
    rig.main().stop();
    EXPECT_TRUE(rig.main().selection().selectMeet(2));
}

TEST_F(SelectionTest, BadSelectionsAreRefusedWithAClearReasonAndChangeNothing)
{
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    const struct {
        const char *what;
        std::function<bool()> act;
        const char *error;
    } cases[] = {
        {"meet", [&] { return rig.main().selection().selectMeet(42); }, "There is no meet with MeetID 42."},
        {"group", [&] { return rig.main().selection().selectEventGroup(1, 77); }, "There is no event group with EventID 77."},
        {"column", [&] { return rig.main().selection().selectEventGroup(3, 1); }, "The session column must be 1 or 2, not 3."},
        {"session", [&] { return rig.main().selection().setSessions(1, {S("9")}); },
         "Session \"9\" is not a session of the selected meet."},
        {"five sessions", [&] { return rig.main().selection().setSessions(1, {S("1"), S("2"), S("3"), S("1"), S("2")}); },
         "At most four sessions can be followed in one column, not 5."},
        {"event 5 of four", [&] { return rig.main().selection().setTickedEvents(1, {1, 5}); },
         "Event 5 is not in the selected event group, which has 4 events."},
        {"event 0", [&] { return rig.main().selection().setEventPaused(0, 1, true); }, "There is no event 0 in session column 1."},
        {"rotation without NCAA", [&] { return rig.main().selection().setRotation(2); },
         "The rotation is followed in NCAA mode only."},
        {"rotation", [&] { return rig.main().selection().setNcaa(true) && rig.main().selection().setRotation(9); },
         "Rotation 9 is not offered; there are 5."},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_FALSE(c.act());
        EXPECT_EQ(rig.main().selection().lastError(), S(c.error));
    }
    EXPECT_FALSE(rig.main().selectTarget(OutputTarget::None));
    EXPECT_EQ(rig.main().lastError(), S("No display target was named."));
    EXPECT_EQ(rig(S("cboSession1")).text(), S("1"));
    EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), 0);
    EXPECT_TRUE(rig(S("chkEvent11")).isChecked());
    EXPECT_TRUE(rig(S("rdoDaktronics")).isChecked());
}

TEST(SelectionRotationRowTest, ABrokenRotationRowCannotAskForMoreButtonsThanSquadsAndEvents)
{
    const struct {
        int byes;
        int items;
    } cases[] = {{5000, MeetSelection::MaxRotations}, {-9, 0}, {2, 6}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.byes);
        MainRig rig([&](MeetStore &s) { s.execute(QStringLiteral("update Rotations set NumByes = %1").arg(c.byes)); });
        ASSERT_TRUE(rig.open());
        EXPECT_EQ(rig(S("rgrpRotation")).items().size(), c.items);
        EXPECT_EQ(rig(S("rgrpRotation")).property(S("columns")).toInt(), c.items);
    }
}
