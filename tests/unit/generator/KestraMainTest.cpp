#include "support/GeneratorFixture.h"
#include "support/MainRig.h"

#include "generator/DisplayCycle.h"
#include "generator/NowUpListeners.h"
#include "generator/ScorePoll.h"
#include "kestra/Version.h"
#include "meetdb/DevStore.h"
#include "meetdb/StoreError.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace kestra;
using kestra::test::MainRig;
using kestra::test::S;

namespace {

// A connect sequence the operator gives up.
class GivenUpConnection final : public MeetConnection {
public:
    bool connectAtStartup() override
    {
        ++attempts;
        return false;
    }
    bool changeServer() override { return false; }
    bool isConnected() const override { return false; }
    MeetStore &store() override { throw std::logic_error("no store"); }
    QString currentServerName() const override { return {}; }
    int attempts = 0;
};

QString readIni(const MainRig &rig)
{
    QFile file(rig.configFolder + S("/Kestra.ini"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Exactly one box so far; a null caption is not checked, a null text must
// merely say something.
void expectOneBox(const MainRig &rig, PromptIcon icon, const QString &caption, const QString &text)
{
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    const PromptMessage &m = rig.prompt.messages[0];
    EXPECT_EQ(m.icon, icon);
    if (!caption.isNull()) {
        EXPECT_EQ(m.caption, caption);
    }
    if (text.isNull()) {
        EXPECT_FALSE(m.text.isEmpty());
    } else {
        EXPECT_EQ(m.text, text);
    }
}

// The targets this build can send to.
const QStringList kTargetsWithWriters = {QStringLiteral("rdoDaktronics")};

// A refused Start leaves the window stopped and unlocked, with the
// application registered already.
void expectRefusedStart(MainRig &rig)
{
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
    EXPECT_TRUE(rig(S("btnScoreStart")).isVisible());
    EXPECT_TRUE(rig(S("dblcboMeets")).isEnabled());
    EXPECT_FALSE(rig.main().timer(1).isActive());
    EXPECT_EQ(rig.main().table(S("Gymnasts")), nullptr);
    EXPECT_EQ(rig.scalar(S("select count(*) from ScoreApps where AppID = 4")).toInt(), 1);
}

// A window whose connect sequence the operator gives up, beside the rig's.
struct GivenUpMain {
    explicit GivenUpMain(MainRig &rig)
        : main(connection, SettingsStore::kestraKey(rig.configFolder), SettingsStore::marlowenKey(rig.configFolder),
               rig.prompt, rig.ticks, rig.record, rig.transport)
    {
        QObject::connect(&main, &KestraMain::quitRequested, [this] { ++quits; });
    }
    GivenUpConnection connection;
    KestraMain main;
    int quits = 0;
};

} // namespace

// Over the window as it opens on the seeded store. KestraMainPreparedTest
// changes the store, the settings or the hooks first, or builds windows of
// its own.
class KestraMainTest : public test::OpenMainWindow {};

TEST(KestraMainPreparedTest, ShowingOnASeededStoreSelectsTheLastMeetOfTheScoringProduct)
{
    const struct {
        QVariant lastMeet;
        int meetIndex;
        QVariant eventKey;
        QStringList sessions;
        QString title1;
    } cases[] = {
        {1, 0, 1, {S("1"), S("2"), S("3")}, S("VAULT")},
        {2, 1, 3, {S("1")}, S("VAULT")},
        // A meet the table does not hold leaves the cursor on the first row.
        {99, 0, 1, {S("1"), S("2"), S("3")}, S("VAULT")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.lastMeet.toInt());
        MainRig rig([&](MeetStore &s) { s.execute(S("update Host set LastMeet = %1").arg(c.lastMeet.toInt())); });
        ASSERT_TRUE(rig.open());
        EXPECT_EQ(rig(S("dblcboMeets")).items(), (QStringList{S("Spring Classic 2024"), S("Winter Quad 2024"), S("Collegiate Six 2024")}));
        EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), c.meetIndex);
        EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), c.eventKey.toInt());
        EXPECT_EQ(rig(S("dblcboEvent2")).property(S("key")).toInt(), c.eventKey.toInt());
        EXPECT_EQ(rig(S("cboSession1")).items(), c.sessions);
        EXPECT_EQ(rig(S("cboSession2z")).items(), c.sessions);
        EXPECT_EQ(rig(S("lblEvent11")).text(), c.title1);
        EXPECT_EQ(rig.main().table(S("Meets"))->value(S("MeetID")).toInt(), c.meetIndex + 1);
        EXPECT_TRUE(rig.prompt.messages.empty());
    }
}

TEST(KestraMainPreparedTest, AnEmptyHostTableSelectsNoMeetAndLeavesTheSessionListsAndPauseBoxesEmpty)
{
    MainRig rig([](MeetStore &s) { s.execute(S("delete from Host")); });
    ASSERT_TRUE(rig.open());
    EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), -1);
    EXPECT_TRUE(rig(S("dblcboMeets")).property(S("key")).isNull());
    EXPECT_TRUE(rig(S("cboSession1")).items().isEmpty());
    EXPECT_TRUE(rig.main().selection().memSessions().isEmpty());
    EXPECT_EQ(rig(S("lblEvent11")).text(), QString());
    // No group shown: every event pause box stays hidden.
    for (int side = 1; side <= 2; ++side) {
        for (int i = 1; i <= 6; ++i)
            EXPECT_FALSE(rig(S("chkPause%1%2").arg(i).arg(side)).isVisible());
    }
}

TEST(KestraMainPreparedTest, AConnectionGivenUpEndsTheProgramBeforeTheWindowIsShown)
{
    MainRig rig;
    GivenUpMain givenUp(rig);
    KestraMain &main = givenUp.main;
    EXPECT_FALSE(main.create());
    EXPECT_TRUE(main.isProgramClosing());
    EXPECT_EQ(givenUp.quits, 1);
    main.show();
    EXPECT_FALSE(main.isShown());
    EXPECT_EQ(main.table(S("Meets")), nullptr);
    EXPECT_FALSE(main.start());
    EXPECT_EQ(givenUp.connection.attempts, 1);
    const QString settingsBefore = readIni(rig);
    EXPECT_TRUE(main.close());
    EXPECT_EQ(readIni(rig), settingsBefore);
    EXPECT_EQ(main.title(), S("Kestra v%1 - Jumbotron Display Generator, Server: ").arg(S(version::productVersion)));

    // Giving up a change of server ends the program too.
    GivenUpMain changed(rig);
    changed.main.dxbtnLocateServerClick();
    EXPECT_EQ(changed.quits, 1);
    EXPECT_EQ(changed.main.table(S("Meets")), nullptr);
}

TEST(KestraMainPreparedTest, AStoreThatCannotBeOpenedIsToldAndEndsTheProgram)
{
    MainRig rig;
    ASSERT_TRUE(QDir(rig.dbFolder).removeRecursively());
    QFile blocker(rig.dbFolder); // a file where the folder should be
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(rig.main().create());
    expectOneBox(rig, PromptIcon::Error, {}, {});
    EXPECT_EQ(rig.quits, 1);
}

TEST(KestraMainPreparedTest, TheTitleNamesTheVersionAndTheServerInUse)
{
    MainRig rig;
    QStringList titles;
    QObject::connect(&rig.main(), &KestraMain::titleChanged, [&](const QString &t) { titles << t; });
    ASSERT_TRUE(rig.open());
    const QString expected = S("Kestra v") + S(version::productVersion) + S(" - Jumbotron Display Generator, Server: Test Server");
    EXPECT_EQ(rig.main().title(), expected);
    ASSERT_FALSE(titles.isEmpty());
    EXPECT_EQ(titles.last(), expected);
}

TEST_F(KestraMainTest, EveryControlCarriesItsKindAndTheWindowStartsStopped)
{
    const QStringList kinds = {S("button"), S("check"), S("radio"), S("edit"),       S("combo"),
                               S("lookup"), S("label"), S("status"), S("radiogroup"), S("group")};
    for (LogicalControl *control : rig.main().controls().all()) {
        SCOPED_TRACE(control->name().toStdString());
        EXPECT_TRUE(kinds.contains(control->property(S("kind")).toString()));
        EXPECT_FALSE(control->property(S("group")).toString().isEmpty());
    }
    const struct {
        const char *name;
        const char *kind;
        const char *text;
        bool visible;
        bool checked;
    } expected[] = {
        {"btnScoreStart", "button", "Start", true, false},
        {"btnScoreStop", "button", "Stop", false, false},
        {"grpStatus", "status", "Stopped", true, false},
        {"chkPause", "check", "Pause Scoreboard Display", true, false},
        {"chkDual", "check", "Enable dual-session display", true, false},
        {"chkNCAA", "check", "NCAA Mode", true, false},
        {"chkEventTest", "check", "Event Display Test Mode", true, false},
        {"chkDebugIO", "check", "Debug IO Output?", true, false},
        {"chkSTXETX", "check", "Include STX/ETX characters?", false, false},
        {"rdoDaktronics", "radio", "Daktronics", true, true},
        {"rdoBarco", "radio", "Barco", true, false},
        {"rdoWhiteWay", "radio", "White Way", true, false},
        {"rdoFile", "radio", "File Output", true, false},
        {"rdoXML", "radio", "XML File", true, false},
        {"rdoXpression", "radio", "Xpression", true, false},
        {"btnSelectFile", "button", "Select File", false, false},
        {"btnClear", "button", "Clear Events", true, false},
        {"btnShowTest", "button", "Show Sample", true, false},
        {"Button1", "button", "Output Status", true, false},
        {"dxbtnDisplayResults", "button", "Results", true, false},
        {"dxbtnAbout", "button", "About Kestra", true, false},
        {"dxbtnSetupUnits", "button", "Setup", true, false},
        {"dxbtnLocateServer", "button", "Manage Servers", true, false},
        {"lblMust1", "label", "(Optional)", true, false},
        {"lblMust2", "label", "(Required)", true, false},
        {"Label11", "label", "-------- (Optional) --------", true, false},
        {"lblOptional", "label", "-------- (Optional) --------", true, false},
        {"grpStatus1", "group", "Generator Status", true, false},
        {"grpStatus2", "group", "Generator Status", true, false},
        {"chkEvent42", "check", "", true, true},
        {"chkPause42", "check", "", true, false},
        {"chkEvent52", "check", "", false, true},
        {"EditWait62", "edit", "", false, false},
        {"rgrpRotation", "radiogroup", "", true, false},
    };
    for (const auto &e : expected) {
        SCOPED_TRACE(e.name);
        const LogicalControl &control = rig(S(e.name));
        EXPECT_EQ(control.property(S("kind")).toString(), S(e.kind));
        EXPECT_EQ(control.text(), S(e.text));
        EXPECT_EQ(control.isVisible(), e.visible);
        EXPECT_EQ(control.isChecked(), e.checked);
    }
    EXPECT_EQ(rig(S("grpStatus")).color(), KestraMain::ColorRed);
    EXPECT_EQ(rig(S("grpStatus")).property(S("caption")).toString(), S("Kestra is:"));
    EXPECT_EQ(rig(S("chkPause11")).property(S("hint")).toString(),
              S("Check the box to pause display of scores for this event"));
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(rig.main().timer(t).isActive()) << t;
    EXPECT_EQ(rig.main().timer(1).interval(), 4000);
    EXPECT_EQ(rig.main().timer(3).interval(), 4000);
}

TEST(KestraMainPreparedTest, StoredTargetFlagsPickTheButtonAndTheFileControls)
{
    const struct {
        const char *ini;
        const char *checked;
        bool fileControls;
        bool stxetx;
    } cases[] = {
        {"", "rdoDaktronics", false, false},
        {"UseBarco=1\n", "rdoBarco", false, false},
        {"UseFile=1\nUseDaktronics=1\n", "rdoFile", true, true},
        {"UseXML=1\nUseXpression=1\n", "rdoXpression", false, false},
        {"UseXML=1\nOutputFileName=/srv/board.xml\nSTXETX=1\n", "rdoXML", true, false},
        // Every flag false leaves no button checked.
        {"UseDaktronics=0\n", nullptr, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ini);
        MainRig rig({}, c.ini);
        ASSERT_TRUE(rig.main().create());
        for (const QString &name : KestraMain::targetButtons())
            EXPECT_EQ(rig(name).isChecked(), c.checked && name == S(c.checked)) << name.toStdString();
        EXPECT_EQ(rig(S("btnSelectFile")).isVisible(), c.fileControls);
        EXPECT_EQ(rig(S("lblFileName")).isVisible(), c.fileControls);
        EXPECT_EQ(rig(S("lblStatus")).isVisible(), c.fileControls);
        EXPECT_EQ(rig(S("chkSTXETX")).isVisible(), c.stxetx);
        EXPECT_EQ(rig.main().checkedWriter() != nullptr, c.checked && S(c.checked) == S("rdoDaktronics"));
    }
    MainRig rig({}, "UseXML=1\nOutputFileName=/srv/board.xml\nSTXETX=1\nNCAAMode=1\n");
    ASSERT_TRUE(rig.main().create());
    EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/board.xml"));
    EXPECT_TRUE(rig(S("chkSTXETX")).isChecked());
    EXPECT_TRUE(rig(S("chkNCAA")).isChecked());
}

TEST_F(KestraMainTest, EachStateEnablesItsControlsAndTimers)
{
    // A pause click while stopped changes only the box.
    ASSERT_TRUE(rig.main().setPaused(true));
    EXPECT_TRUE(rig(S("chkPause")).isChecked());
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Stopped"));
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
    EXPECT_FALSE(rig.main().timer(1).isActive());
    ASSERT_TRUE(rig.main().setPaused(false));
    ASSERT_TRUE(rig.main().start()) << rig.main().lastError().toStdString();

    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Running"));
    EXPECT_EQ(rig(S("grpStatus")).color(), KestraMain::ColorGreen);
    EXPECT_FALSE(rig(S("btnScoreStart")).isVisible());
    EXPECT_TRUE(rig(S("btnScoreStop")).isVisible());
    for (const QString &name : KestraMain::runLockedControls())
        EXPECT_FALSE(rig(name).isEnabled()) << name.toStdString();
    // The event boxes and the rotation stay live during a run.
    EXPECT_TRUE(rig(S("chkEvent11")).isEnabled());
    EXPECT_TRUE(rig(S("chkPause31")).isEnabled());
    EXPECT_TRUE(rig(S("chkPause")).isEnabled());
    EXPECT_TRUE(rig(S("dxbtnDisplayResults")).isEnabled());
    EXPECT_TRUE(rig.main().timer(1).isActive());
    EXPECT_FALSE(rig.main().timer(2).isActive());
    EXPECT_FALSE(rig.main().timer(3).isActive());
    EXPECT_FALSE(rig.main().timer(4).isActive());
    EXPECT_NE(rig.main().table(S("Gymnasts")), nullptr);
    EXPECT_FALSE(rig.main().start()); // the Start button is hidden

    // Pause stops both polls; unpausing starts both, the second one even in
    // single-session display.
    ASSERT_TRUE(rig.main().setPaused(true));
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Paused);
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Paused"));
    EXPECT_EQ(rig(S("grpStatus")).color(), KestraMain::ColorYellow);
    EXPECT_FALSE(rig.main().timer(1).isActive());
    EXPECT_FALSE(rig.main().timer(3).isActive());
    ASSERT_TRUE(rig.main().setPaused(false));
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    EXPECT_TRUE(rig.main().timer(1).isActive());
    EXPECT_TRUE(rig.main().timer(3).isActive());

    // Stop in the paused state keeps the box, so the next Start says "Paused"
    // while both polls run.
    ASSERT_TRUE(rig.main().setPaused(true));
    rig.main().stop();
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Stopped"));
    EXPECT_EQ(rig(S("grpStatus")).color(), KestraMain::ColorRed);
    EXPECT_TRUE(rig(S("chkPause")).isChecked());
    EXPECT_EQ(rig.main().table(S("Gymnasts")), nullptr);
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(rig.main().timer(t).isActive()) << t;
    for (const QString &name : KestraMain::runLockedControls()) {
        const bool secondColumn = name == S("dblcboEvent2") || name.startsWith(S("cboSession2"));
        EXPECT_EQ(rig(name).isEnabled(), !secondColumn) << name.toStdString();
    }

    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Paused);
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Paused"));
    EXPECT_TRUE(rig.main().timer(1).isActive());
    rig.main().stop();

    // Dual display gives the second column back at Stop.
    ASSERT_TRUE(rig.main().selection().setDual(true));
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().selection().setSessions(2, {S("2")}));
    ASSERT_TRUE(rig.main().start());
    EXPECT_TRUE(rig.main().timer(3).isActive());
    rig.main().stop();
    for (const QString &name : KestraMain::runLockedControls())
        EXPECT_TRUE(rig(name).isEnabled()) << name.toStdString();
    EXPECT_TRUE(rig.prompt.messages.empty());
}

TEST(KestraMainPreparedTest, StartEnablesTheTimersOfTheTargetAndTheMode)
{
    const struct {
        OutputTarget target;
        bool ncaa;
        bool timer2;
        bool timer4;
    } cases[] = {
        {OutputTarget::Daktronics, false, false, false}, {OutputTarget::Barco, false, true, false},
        {OutputTarget::WhiteWay, false, false, false},   {OutputTarget::File, false, true, false},
        {OutputTarget::XML, false, true, false},         {OutputTarget::Xpression, false, false, false},
        {OutputTarget::Daktronics, true, false, true},   {OutputTarget::XML, true, true, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.target) * 10 + int(c.ncaa));
        MainRig rig({}, "CycleRate=7\n");
        int loads = 0;
        int mysqlConnects = 0;
        rig.main().hooks().loadNcaaTeams = [&] { ++loads; };
        rig.main().cycle().setNCAACycleIndex(4);
        rig.main().hooks().connectMySql = [&](const KestraSettings &) { ++mysqlConnects; };
        ASSERT_TRUE(rig.open());
        ASSERT_TRUE(rig.main().selectTarget(c.target));
        EXPECT_EQ(rig.main().checkedTarget(), c.target);
        int checked = 0;
        for (const QString &name : KestraMain::targetButtons())
            checked += rig(name).isChecked();
        EXPECT_EQ(checked, 1) << "one button of six";
        ASSERT_TRUE(rig.main().selection().setNcaa(c.ncaa));
        if (c.ncaa) {
            ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
        }
        // Every button needs a writer: a run on a target that cannot send
        // would mark scores as shown and show none. Targets still without
        // one are refused until their writer exists.
        const QString button = KestraMain::targetButtons()[int(c.target) - int(OutputTarget::Daktronics)];
        if (!kTargetsWithWriters.contains(button)) {
            EXPECT_EQ(rig.main().writers().find(button), nullptr) << "add " << button.toStdString() << " to the list";
            EXPECT_FALSE(rig.main().start());
            EXPECT_TRUE(rig.main().lastError().contains(rig(button).text())) << rig.main().lastError().toStdString();
            EXPECT_EQ(rig.scalar(S("select count(*) from ScoreApps")).toInt(), 0);
            continue;
        }
        ASSERT_NE(rig.main().writers().find(button), nullptr);
        ASSERT_TRUE(rig.main().start()) << rig.main().lastError().toStdString();
        EXPECT_TRUE(rig.main().timer(1).isActive());
        EXPECT_EQ(rig.main().timer(2).isActive(), c.timer2);
        if (c.timer2) {
            EXPECT_EQ(rig.main().timer(2).interval(), 2000);
        }
        EXPECT_EQ(rig.main().timer(4).isActive(), c.timer4);
        if (c.timer4) {
            EXPECT_EQ(rig.main().timer(4).interval(), 7000);
        }
        EXPECT_EQ(loads, c.ncaa ? 1 : 0);
        if (c.ncaa) {
            EXPECT_EQ(rig.main().cycle().NCAACycleIndex(), 1);
        }
        EXPECT_EQ(mysqlConnects, c.target == OutputTarget::Xpression ? 1 : 0);
        // Pause leaves the record and NCAA timers running.
        ASSERT_TRUE(rig.main().setPaused(true));
        EXPECT_EQ(rig.main().timer(2).isActive(), c.timer2);
        EXPECT_EQ(rig.main().timer(4).isActive(), c.timer4);
        EXPECT_FALSE(rig.main().timer(1).isActive());
    }
}

TEST_F(KestraMainTest, StartRegistersTheApplicationOnce)
{
    EXPECT_EQ(rig.scalar(S("select count(*) from ScoreApps where AppID = 4")).toInt(), 0);
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.scalar(S("select AppName from ScoreApps where AppID = 4")).toString(), S("Kestra"));
    rig.main().stop();
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.scalar(S("select count(*) from ScoreApps where AppID = 4")).toInt(), 1);

    // A row the scoring product made under another name is left alone.
    MainRig other([](MeetStore &s) {
        s.insertRow(S("ScoreApps"), {{S("AppID"), 4}, {S("AppName"), S("Generator")}});
    });
    ASSERT_TRUE(other.open());
    ASSERT_TRUE(other.main().start());
    EXPECT_EQ(other.scalar(S("select count(*) from ScoreApps")).toInt(), 1);
    EXPECT_EQ(other.scalar(S("select AppName from ScoreApps")).toString(), S("Generator"));
}

TEST(KestraMainPreparedTest, StartRefusesMissingOrClashingSessionsWithTheRightMessageAndFocus)
{
    const struct {
        bool dual;
        bool ncaa;
        QStringList sessions1;
        QStringList sessions2;
        int group2;
        const char *message; // null: accepted
        const char *focus;
    } cases[] = {
        {true, false, {}, {S("2")}, 1, "A session number must be entered for dual-session generation", "cboSession1"},
        {true, false, {S("1")}, {}, 1, "A session number must be entered for dual-session generation", "cboSession2"},
        {true, false, {}, {}, 1, "A session number must be entered for dual-session generation", "cboSession1"},
        {true, false, {S("2")}, {S("2")}, 1, "The sessions must be different in a dual session using the same events",
         "cboSession1"},
        {true, true, {S("2")}, {S("2")}, 1, "The sessions must be different in a dual session using the same events",
         "cboSession1"},
        {false, true, {}, {}, 1, "A session number must be entered for NCAA Mode", "cboSession1"},
        {true, false, {S("2")}, {S("2")}, 2, nullptr, nullptr},
        {true, false, {S("1")}, {S("3")}, 1, nullptr, nullptr},
        {false, true, {S("1")}, {}, 1, nullptr, nullptr},
        {false, false, {}, {}, 1, nullptr, nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(QStringLiteral("%1 %2 [%3] [%4] %5")
                         .arg(c.dual)
                         .arg(c.ncaa)
                         .arg(c.sessions1.join(','), c.sessions2.join(','))
                         .arg(c.group2)
                         .toStdString());
        MainRig rig;
        ASSERT_TRUE(rig.open());
        ASSERT_TRUE(rig.main().selection().setDual(c.dual));
        ASSERT_TRUE(rig.main().selection().setNcaa(c.ncaa));
        ASSERT_TRUE(rig.main().selection().setSessions(1, c.sessions1));
        if (c.dual) {
            ASSERT_TRUE(rig.main().selection().setSessions(2, c.sessions2));
            ASSERT_TRUE(rig.main().selection().selectEventGroup(2, c.group2));
        }
        const bool started = rig.main().start();
        if (!c.message) {
            EXPECT_TRUE(started);
            EXPECT_TRUE(rig.prompt.messages.empty());
            continue;
        }
        EXPECT_FALSE(started);
        EXPECT_EQ(rig.main().lastError(), S(c.message));
        ASSERT_NO_FATAL_FAILURE(expectOneBox(rig, PromptIcon::Error, S("Data Validation Error"), S(c.message)));
        EXPECT_EQ(rig.prompt.messages.back().buttons, PromptButtons::Ok);
        EXPECT_EQ(rig.main().controls().focused(), S(c.focus));
        expectRefusedStart(rig);
    }
}

TEST_F(KestraMainTest, StartClearsEveryNowUpLineButLeavesTheRestOfTheBlock)
{
    rig.main().lines().FillNowUpLine(1, 1, S("101"), S("Jane Doe"), S("Riverside"));
    rig.main().lines().FillNowUpLine(3, 1, S("205"), S("Ann Lee"), S("Summit"));
    rig.record.pack(layout::eventName(2), QByteArrayView("Kept Name"));
    rig.record.pack(layout::leaderTitle1(1), QByteArrayView("All Around"));
    const int before = int(rig.frames(2).size());
    ASSERT_EQ(before, 2);

    ASSERT_TRUE(rig.main().start());
    for (int slot = 1; slot <= 4; ++slot) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(rig.record.read(layout::nowUpNum(slot)), QByteArray(4, ' '));
        EXPECT_EQ(rig.record.read(layout::nowUpName(slot)), QByteArray(40, ' '));
        EXPECT_EQ(rig.record.read(layout::nowUpGym(slot)), QByteArray(20, ' '));
    }
    EXPECT_EQ(rig.record.read(layout::nowUpTitle(3)), QByteArray("BEAM  "));
    EXPECT_EQ(rig.record.text(layout::eventName(2)).trimmed(), S("Kept Name"));
    EXPECT_EQ(rig.record.text(layout::leaderTitle1(1)).trimmed(), S("All Around"));
    // Lines 1 and 3 changed and went out; 2 and 4 got their titles.
    EXPECT_EQ(rig.frames(before + 4).size(), before + 4);
    EXPECT_TRUE(rig.prompt.messages.empty());

    // Stop sends nothing and clears nothing.
    rig.main().lines().FillNowUpLine(2, 1, S("300"), S("Kim Park"), S("Summit"));
    const QByteArray block = rig.record.bytes();
    const int sent = int(rig.frames(before + 5).size());
    rig.main().stop();
    EXPECT_EQ(rig.record.bytes(), block);
    EXPECT_EQ(rig.frames().size(), sent);
}

TEST(KestraMainPreparedTest, CreationZeroesTheSlotsAndStartEmptiesOnlyTheStatusColumns)
{
    MainRig rig;
    for (auto &row : rig.main().eventSlots()) {
        for (EventSlot &slot : row) {
            slot.HoldUntil = -77;
            slot.WaitUntil = 88;
            slot.Num = 5;
        }
    }
    ASSERT_TRUE(rig.open());
    for (const auto &row : rig.main().eventSlots()) {
        for (const EventSlot &slot : row) {
            EXPECT_EQ(slot.HoldUntil, 0);
            EXPECT_EQ(slot.WaitUntil, 0);
            EXPECT_EQ(slot.Num, 5); // only the deadlines are reset
        }
    }
    rig.main().eventSlots()[2][0].HoldUntil = 123456;
    rig.main().eventSlots()[2][0].WaitUntil = 234567;
    rig.main().eventSlots()[4][1].HoldUntil = -99;
    ASSERT_TRUE(rig.main().start());
    rig.main().stop();
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.main().eventSlots()[2][0].HoldUntil, 123456);
    EXPECT_EQ(rig.main().eventSlots()[2][0].WaitUntil, 234567);
    EXPECT_EQ(rig.main().eventSlots()[4][1].HoldUntil, -99);
    rig.main().stop();

    // The status columns are emptied at Start only.
    rig(S("EditNum11")).setText(S("101"));
    rig(S("EditScore42")).setText(S("9.500"));
    rig(S("EditWait61")).setText(S("2"));
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig(S("EditNum11")).text(), QString());
    EXPECT_EQ(rig(S("EditScore42")).text(), QString());
    rig(S("EditNum21")).setText(S("102"));
    rig.main().stop();
    EXPECT_EQ(rig(S("EditNum21")).text(), S("102"));
}

TEST(KestraMainPreparedTest, CloseStoresTheTargetChoiceOnceAndNothingElse)
{
    MainRig rig({}, "Interval=9\n");
    ASSERT_TRUE(rig.open());
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::XML));
    EXPECT_TRUE(rig(S("btnSelectFile")).isVisible());
    EXPECT_FALSE(rig(S("chkSTXETX")).isVisible());
    rig.main().hooks().selectFile = [](const KestraMain::FileRequest &request) {
        EXPECT_EQ(request.defaultSuffix, S("xml"));
        EXPECT_EQ(request.filter, S("XML Files|*.XML"));
        return S("/srv/out/board.xml");
    };
    rig(S("btnSelectFile")).click();
    EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/out/board.xml"));
    ASSERT_TRUE(rig.main().selection().setNcaa(true));
    rig(S("chkSTXETX")).setChecked(true);
    rig.main().workingSettings().Interval = 3; // working values are not stored at close

    EXPECT_TRUE(rig.main().listeners().isStarted());
    EXPECT_TRUE(rig.main().close());
    EXPECT_FALSE(rig.main().listeners().isStarted());
    const SettingsStore key = SettingsStore::kestraKey(rig.configFolder);
    const struct {
        const char *name;
        QString value;
    } stored[] = {{"UseDaktronics", S("0")}, {"UseBarco", S("0")}, {"UseWhiteWay", S("0")},
                  {"UseFile", S("0")},       {"UseXML", S("1")},   {"UseXpression", S("0")},
                  {"NCAAMode", S("1")},      {"STXETX", S("1")},   {"OutputFileName", S("/srv/out/board.xml")},
                  {"Interval", S("9")}};
    for (const auto &s : stored)
        EXPECT_EQ(key.ReadString(S("Options"), S(s.name), S("?")).toLower(), s.value.toLower()) << s.name;
    EXPECT_FALSE(key.ValueExists(S("Options"), S("CycleRate")));
    EXPECT_EQ(rig.main().table(S("Meets")), nullptr);
    EXPECT_FALSE(rig.transport.isUdpConnected());

    // A second close writes nothing.
    ASSERT_TRUE(QFile::remove(rig.configFolder + S("/Kestra.ini")));
    EXPECT_TRUE(rig.main().close());
    EXPECT_FALSE(QFile::exists(rig.configFolder + S("/Kestra.ini")));
}

TEST_F(KestraMainTest, CloseDuringARunStopsEveryTimer)
{
    rig.main().writers().add(std::make_unique<kestra::test::RecordingWriter>(S("rdoBarco"), TargetKind::Record));
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::Barco));
    ASSERT_TRUE(rig.main().start());
    EXPECT_TRUE(rig.main().close());
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(rig.main().timer(t).isActive()) << t;
    EXPECT_TRUE(readIni(rig).contains(S("UseBarco=1"), Qt::CaseInsensitive));
}

TEST(KestraMainPreparedTest, ShowHandsTheLinkSettingsOnAndStartsTheListenersOnce)
{
    MainRig rig({}, "BaseAddr=1000\n");
    EXPECT_FALSE(rig.main().listeners().isStarted());
    ASSERT_TRUE(rig.open());
    rig.main().show();
    EXPECT_TRUE(rig.main().listeners().isStarted());
    EXPECT_EQ(rig.transport.portName(), S("UDP"));
    EXPECT_EQ(rig.transport.baseAddress(), 1000);
    EXPECT_EQ(rig.transport.udpAddress(), S("127.0.0.1"));
    EXPECT_TRUE(rig.transport.isUdpConnected());

    // A serial interface leaves the UDP client unconnected.
    MainRig serial({}, "ComPort=COM3\n");
    ASSERT_TRUE(serial.open());
    EXPECT_EQ(serial.transport.portName(), S("COM3"));
    EXPECT_FALSE(serial.transport.isUdpConnected());
}

TEST_F(KestraMainTest, TheSetupWindowsValuesAreReadBackAndHandedOn)
{
    bool udpDuringSetup = true;
    rig.main().hooks().showSetup = [&] {
        udpDuringSetup = rig.transport.isUdpConnected();
        SettingsStore key = SettingsStore::kestraKey(rig.configFolder);
        key.WriteString(S("Options"), S("ComPort"), S("COM4"));
        key.WriteInteger(S("Options"), S("Interval"), 12);
        key.WriteString(S("Options"), S("MySQLServer"), S("10.0.0.9"));
    };
    rig(S("dxbtnSetupUnits")).click();
    EXPECT_FALSE(udpDuringSetup);
    EXPECT_EQ(rig.main().settings().Interval, 12);
    EXPECT_EQ(rig.main().settings().MySQLServer, S("10.0.0.9"));
    EXPECT_EQ(rig.transport.portName(), S("COM4"));
    EXPECT_FALSE(rig.transport.isUdpConnected());
}

TEST(KestraMainPreparedTest, ALostConnectionStopsEverythingTellsTheOperatorAndRestarts)
{
    MainRig rig;
    int resultsTimerStops = 0;
    rig.main().hooks().stopResultsTimer = [&] { ++resultsTimerStops; };
    ASSERT_TRUE(rig.open());
    rig.main().writers().add(std::make_unique<kestra::test::RecordingWriter>(S("rdoFile"), TargetKind::Record));
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::File));
    ASSERT_TRUE(rig.main().start());
    rig.main().handleException(std::make_exception_ptr(
        StoreError(StoreError::Kind::ConnectionLost, StoreBackend::Postgres, S("server closed the connection"))));
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(rig.main().timer(t).isActive()) << t;
    EXPECT_EQ(resultsTimerStops, 1);
    expectOneBox(rig, PromptIcon::Error, S("Marlowen Server Connection"),
                 S("Kestra is no longer able to communicate with the server \"Test Server\".\r"
                   "The connection to the server has been lost.\r\rKestra will now be restarted."));
    EXPECT_EQ(rig.restarts, 1);
    EXPECT_EQ(rig.quits, 1);
    // Nothing is stored on this way out.
    EXPECT_FALSE(readIni(rig).contains(S("UseFile"), Qt::CaseInsensitive));
}

TEST_F(KestraMainTest, AnyOtherFailureIsShownAndTheRunGoesOn)
{
    ASSERT_TRUE(rig.main().start());
    // A handler failing inside a click: the table it needs is gone.
    rig.peer().execute(S("drop table ScoreApps"));
    rig.main().stop();
    ASSERT_FALSE(rig.main().start());
    expectOneBox(rig, PromptIcon::Error, {}, {});
    EXPECT_EQ(rig.restarts, 0);
    EXPECT_EQ(rig.quits, 0);
    EXPECT_TRUE(rig(S("btnScoreStart")).isVisible());

    // A handler of the program's own takes every failure when given.
    std::vector<std::exception_ptr> seen;
    rig.main().hooks().exceptionHandler = [&](std::exception_ptr e) { seen.push_back(e); };
    EXPECT_FALSE(rig.main().start());
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_EQ(rig.prompt.messages.size(), 1u);
}

TEST_F(KestraMainTest, ChangingServerRefusesWhileTheResultsWindowStaysOpen)
{
    rig.main().hooks().closeResults = [] { return false; };
    rig(S("dxbtnLocateServer")).click();
    expectOneBox(rig, PromptIcon::Warning, S("Open Window Warning"),
                 S("All windows must be closed before the server can be changed.\r\r"
                   "Please save any changes and close any open windows and then try again."));
    EXPECT_NE(rig.main().table(S("Meets")), nullptr);

    // With the window closed the tables come back on the scoring product's
    // last meet, whatever the operator had chosen.
    rig.main().hooks().closeResults = [] { return true; };
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    rig(S("dxbtnLocateServer")).click();
    EXPECT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), 0);
    EXPECT_EQ(rig.main().table(S("Meets"))->value(S("MeetID")).toInt(), 1);
    EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), 1);
    EXPECT_EQ(rig.quits, 0);
}

TEST_F(KestraMainTest, TheContextReadsTheSelectedRowsAndTheMeetFlags)
{
    EXPECT_EQ(rig.main().numEvents(1), 4);
    EXPECT_EQ(rig.main().eventTitle(1, 2), S("BARS"));
    EXPECT_TRUE(rig.main().MeetsUseDBonus());
    EXPECT_TRUE(rig.main().MeetsUseJNBonus());
    EXPECT_TRUE(rig.main().MeetsScoreMethod());
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    EXPECT_FALSE(rig.main().MeetsUseDBonus());
    EXPECT_FALSE(rig.main().MeetsUseJNBonus());
    EXPECT_FALSE(rig.main().MeetsScoreMethod());
    EXPECT_EQ(rig.main().eventTitle(2, 1), S("VAULT"));
    ASSERT_TRUE(rig.main().selection().setTickedEvents(1, {1, 3}));
    EXPECT_FALSE(rig.main().isEventTicked(2, 1));
    EXPECT_TRUE(rig.main().isEventTicked(3, 1));
    rig.main().close();
    EXPECT_EQ(rig.main().numEvents(1), 0);
    EXPECT_FALSE(rig.main().MeetsUseDBonus());
}

TEST(KestraMainPreparedTest, APollTickOfARunTakesTheOldestScoreAndPutsItUp)
{
    MainRig rig({}, "Interval=0\n");
    ASSERT_TRUE(rig.open());
    DevStore::FeedOptions options;
    options.meetId = 1;
    options.session = S("1");
    DevStore::ScoreFeed feed(rig.peer(), options);
    DevStore::FeedScore first;
    ASSERT_TRUE(feed.publish(&first));
    ASSERT_TRUE(feed.publish());
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().start());
    for (int event = 1; event <= 6; ++event)
        EXPECT_EQ(rig.main().poll().teamOnEvent(event, 1), -1);
    const int before = int(rig.frames().size());

    rig.main().Timer1Timer();
    EXPECT_EQ(rig(S("EditNum%1").arg(first.event) + S("1")).text(), QString::number(first.num));
    EXPECT_EQ(rig.scalar(S("select count(*) from QueueDone where AppID = 4 and DataID = %1").arg(first.dataId)).toInt(), 1);
    EXPECT_TRUE(rig.record.text(layout::eventName(first.event)).contains(first.lastName));
    EXPECT_GT(rig.frames(before + 1).size(), before);
    EXPECT_TRUE(rig.prompt.messages.empty());

    // A failing tick is reported and the run goes on.
    rig.peer().execute(S("drop table QueueDone"));
    rig.main().eventSlots()[first.event - 1][0].HoldUntil = 0;
    rig.main().Timer1Timer();
    expectOneBox(rig, PromptIcon::Error, {}, {});
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    EXPECT_TRUE(rig.main().timer(1).isActive());
}

TEST_F(KestraMainTest, NowUpDatagramsFillTheBoardWhetherStoppedOrRunning)
{
    const quint16 port = rig.main().listeners().port(NowUpListeners::Channel::Line);
    ASSERT_NE(port, 0);
    QUdpSocket sender;
    const auto send = [&](const QByteArray &line) {
        ASSERT_EQ(sender.writeDatagram(line, QHostAddress::LocalHost, port), line.size());
    };
    send("SCOREGEN,1,3,105,\"Ann Lee\"");
    ASSERT_TRUE(test::waitUntil([&] { return rig.record.text(layout::nowUpNum(3)).trimmed() == S("105"); }));
    EXPECT_EQ(rig.record.text(layout::nowUpName(3)).trimmed(), S("Ann Lee"));
    EXPECT_EQ(rig.record.text(layout::nowUpTitle(3)).trimmed(), S("BEAM"));

    ASSERT_TRUE(rig.main().start());
    send("SCOREGEN,1,2,207,Kim");
    ASSERT_TRUE(test::waitUntil([&] { return rig.record.text(layout::nowUpNum(2)).trimmed() == S("207"); }));
    rig.main().stop();
    send("SCOREGEN-LAST,1,2");
    ASSERT_TRUE(test::waitUntil([&] { return rig.record.text(layout::nowUpNum(2)).trimmed().isEmpty(); }));
    EXPECT_TRUE(rig.prompt.messages.empty());

    rig.main().close();
    EXPECT_FALSE(rig.main().listeners().isListening(NowUpListeners::Channel::Line));
}

TEST_F(KestraMainTest, AFailedMySqlConnectAtStartIsShownAndTheGeneratorStaysStopped)
{
    rig.main().hooks().connectMySql = [](const KestraSettings &) {
        throw std::runtime_error("Can't connect to server on '10.9.9.9'");
    };
    rig.main().writers().add(std::make_unique<kestra::test::RecordingWriter>(S("rdoXpression"), TargetKind::Line));
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::Xpression));
    EXPECT_FALSE(rig.main().start());
    expectOneBox(rig, PromptIcon::Error, {}, S("Can't connect to server on '10.9.9.9'"));
    EXPECT_EQ(rig.main().lastError(), S("Can't connect to server on '10.9.9.9'"));
    expectRefusedStart(rig);
}

TEST_F(KestraMainTest, ClearEventsBlanksTheBoardWhileStoppedOnly)
{
    rig.record.pack(layout::eventName(1), QByteArrayView("Jane Doe"));
    rig.record.pack(layout::nowUpName(2), QByteArrayView("Ann Lee"));
    const int before = int(rig.frames().size());
    rig(S("btnClear")).click();
    EXPECT_EQ(rig.record.read(layout::eventName(1)), QByteArray(40, ' '));
    EXPECT_EQ(rig.record.read(layout::nowUpName(2)), QByteArray(40, ' '));
    EXPECT_GT(rig.frames(before + 1).size(), before);
    ASSERT_TRUE(rig.main().start());
    EXPECT_FALSE(rig(S("btnClear")).isEnabled());
}

TEST_F(KestraMainTest, TheWindowButtonsOpenTheirWindows)
{
    QStringList opened;
    auto &h = rig.main().hooks();
    h.showOutputStatus = [&] { opened << S("status"); };
    h.showResults = [&] { opened << S("results"); };
    h.showAbout = [&] { opened << S("about"); };
    h.showSample = [&] { opened << S("sample"); };
    for (const char *button : {"Button1", "dxbtnDisplayResults", "dxbtnAbout", "btnShowTest"})
        rig(S(button)).click();
    EXPECT_EQ(opened, (QStringList{S("status"), S("results"), S("about"), S("sample")}));
    // The status and results windows stay usable during a run.
    ASSERT_TRUE(rig.main().start());
    EXPECT_TRUE(rig(S("Button1")).isEnabled());
    EXPECT_TRUE(rig(S("dxbtnDisplayResults")).isEnabled());
    EXPECT_TRUE(rig(S("dxbtnAbout")).isEnabled());
}

TEST(KestraMainPreparedTest, TheFileDialogIsAskedForTheTypeOfTheTargetAndACancelKeepsTheName)
{
    MainRig rig({}, "OutputFileName=/srv/old.txt\n");
    ASSERT_TRUE(rig.open());
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::File));
    EXPECT_TRUE(rig(S("chkSTXETX")).isVisible());
    QList<KestraMain::FileRequest> requests;
    QString answer;
    rig.main().hooks().selectFile = [&](const KestraMain::FileRequest &r) {
        requests << r;
        return answer;
    };
    rig(S("btnSelectFile")).click();
    EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/old.txt"));
    answer = S("/srv/new.txt");
    rig(S("btnSelectFile")).click();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].defaultSuffix, S("txt"));
    EXPECT_EQ(requests[0].filter, S("Text Files|*.TXT"));
    EXPECT_EQ(requests[0].current, S("/srv/old.txt"));
    EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/new.txt"));
    EXPECT_EQ(rig.main().settings().OutputFileName, S("/srv/new.txt"));
}

TEST_F(KestraMainTest, TheDebugBoxTracesEveryFrameToTheFile)
{
    const QString path = rig.dir.file(S("DebugIOOutput.txt"));
    rig.main().trace().setPath(path);
    rig.main().lines().FillNowUpLine(1, 1, S("7"), S("Off"), S(""));
    EXPECT_FALSE(QFile::exists(path));
    rig(S("chkDebugIO")).operatorSetChecked(true);
    rig.main().lines().FillNowUpLine(1, 1, S("8"), S("On"), S(""));
    QFile trace(path);
    ASSERT_TRUE(trace.open(QIODevice::ReadOnly));
    const QByteArray text = trace.readAll();
    EXPECT_TRUE(text.contains("On"));
    EXPECT_TRUE(text.endsWith("\r\n"));
}

