// The main window's lifecycle over a seeded meet database: create, show,
// Start, Pause, Stop and close, the timers and the controls of each state,
// the stored settings, and the failures the window tells.
#include "support/MainRig.h"

#include "generator/DisplayCycle.h"
#include "generator/NowUpListeners.h"
#include "results/ResultsGraphic.h"
#include "kestra/Version.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <tuple>
#include <utility>

using namespace kestra;
using namespace kestra::test;

namespace {

// A connect sequence the operator gives up.
class GivenUpConnection final : public MeetConnection {
public:
    bool connectAtStartup() override { return ++attempts, false; }
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

// Exactly one box so far; a null caption or text is not checked.
void expectOneBox(const MainRig &rig, PromptIcon icon, const QString &caption = {}, const QString &text = {})
{
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    const PromptMessage &m = rig.prompt.messages[0];
    EXPECT_EQ(m.icon, icon);
    EXPECT_EQ(caption.isNull() ? caption : m.caption, caption);
    EXPECT_EQ(text.isNull() ? text : m.text, text);
}

// The targets this build can send to.
const QStringList kTargetsWithWriters = {S("rdoDaktronics"), S("rdoBarco"), S("rdoWhiteWay"), S("rdoFile"), S("rdoXML"),
                                         S("rdoXpression")};

// A refused Start leaves the window stopped and unlocked.
void expectRefusedStart(MainRig &rig)
{
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
    EXPECT_TRUE(rig(S("btnScoreStart")).isVisible());
    EXPECT_TRUE(rig(S("dblcboMeets")).isEnabled());
    EXPECT_FALSE(rig.main().timer(1).isActive());
    EXPECT_EQ(rig.main().table(S("Gymnasts")), nullptr);
}

} // namespace

// Over the window as it opens on the seeded store. KestraMainPreparedTest
// changes the store, the settings or the hooks first.
class KestraMainTest : public OpenMainWindow {};

TEST(KestraMainPreparedTest, ShowingSelectsTheLastMeetOfTheScoringProduct)
{
    const struct {
        const char *sql;
        int meetIndex;
        int eventKey; // 0: none
        QStringList sessions;
        const char *title1;
    } cases[] = {
        {"update Host set LastMeet = 2", 1, 3, {"1"}, "VAULT"},
        {"update Host set LastMeet = 99", 0, 1, {"1", "2", "3"}, "VAULT"}, // not in the table: the first row
        {"delete from Host", -1, 0, {}, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.sql);
        MainRig rig([&](MeetStore &s) { s.execute(S(c.sql)); });
        ASSERT_TRUE(rig.open());
        EXPECT_EQ(rig(S("dblcboMeets")).items(), (QStringList{S("Spring Classic 2024"), S("Winter Quad 2024"), S("Collegiate Six 2024")}));
        EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), c.meetIndex);
        EXPECT_EQ(rig(S("dblcboEvent2")).property("key").toInt(), c.eventKey);
        EXPECT_EQ(rig(S("cboSession2z")).items(), c.sessions);
        EXPECT_EQ(rig(S("lblEvent11")).text(), S(c.title1));
        EXPECT_EQ(rig(S("chkPause41")).isVisible(), c.eventKey != 0) << "no group shown: no event rows";
        EXPECT_TRUE(rig.prompt.messages.empty());
    }
}

TEST(KestraMainPreparedTest, AConnectionGivenUpOrAStoreThatCannotOpenEndsTheProgram)
{
    MainRig rig;
    GivenUpConnection connection;
    KestraMain main(connection, SettingsStore::kestraKey(rig.configFolder), SettingsStore::marlowenKey(rig.configFolder),
                    rig.prompt, rig.ticks, rig.record, rig.transport);
    int quits = 0;
    QObject::connect(&main, &KestraMain::quitRequested, [&] { ++quits; });
    EXPECT_FALSE(main.create());
    EXPECT_EQ(quits, 1);
    EXPECT_FALSE(main.start());
    EXPECT_EQ(connection.attempts, 1);
    const QString settingsBefore = readIni(rig);
    EXPECT_TRUE(main.close());
    EXPECT_EQ(readIni(rig), settingsBefore);

    // Giving up a change of server ends the program too.
    GivenUpConnection again;
    KestraMain changed(again, SettingsStore::kestraKey(rig.configFolder), SettingsStore::marlowenKey(rig.configFolder),
                       rig.prompt, rig.ticks, rig.record, rig.transport);
    QObject::connect(&changed, &KestraMain::quitRequested, [&] { ++quits; });
    changed.dxbtnLocateServerClick();
    EXPECT_EQ(quits, 2);

    // A file where the store's folder should be.
    ASSERT_TRUE(QDir(rig.dbFolder).removeRecursively());
    QFile blocker(rig.dbFolder);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    EXPECT_FALSE(rig.main().create());
    expectOneBox(rig, PromptIcon::Error);
    EXPECT_EQ(rig.quits, 1);
}

TEST_F(KestraMainTest, TheWindowOpensStoppedWithItsTitleAndCaptions)
{
    EXPECT_EQ(rig.main().title(),
              S("Kestra v%1 - Jumbotron Display Generator, Server: Test Server").arg(S(version::productVersion)));
    const struct {
        const char *name, *text;
        bool visible, checked;
    } expected[] = {
        {"btnScoreStart", "Start", true, false},   {"btnScoreStop", "Stop", false, false},
        {"grpStatus", "Stopped", true, false},     {"chkPause", "Pause Scoreboard Display", true, false},
        {"chkDual", "Enable dual-session display", true, false}, {"chkNCAA", "NCAA Mode", true, false},
        {"chkDebugIO", "Debug IO Output?", true, false}, {"chkSTXETX", "Include STX/ETX characters?", false, false},
        {"rdoDaktronics", "Daktronics", true, true}, {"rdoWhiteWay", "White Way", true, false},
        {"btnSelectFile", "Select File", false, false}, {"btnClear", "Clear Events", true, false},
        {"Button1", "Output Status", true, false}, {"dxbtnLocateServer", "Manage Servers", true, false},
        {"lblMust1", "(Optional)", true, false},   {"Label11", "-------- (Optional) --------", true, false},
        {"chkEvent42", "", true, true},            {"chkEvent52", "", false, true},
    };
    for (const auto &e : expected) {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(rig(S(e.name)).text(), S(e.text));
        EXPECT_EQ(rig(S(e.name)).isVisible(), e.visible);
        EXPECT_EQ(rig(S(e.name)).isChecked(), e.checked);
    }
    EXPECT_EQ(rig(S("grpStatus")).color(), KestraMain::ColorRed);
    EXPECT_EQ(rig(S("grpStatus")).property("caption").toString(), S("Kestra is:"));
    EXPECT_EQ(rig(S("chkPause11")).property("hint").toString(), S("Check the box to pause display of scores for this event"));
    EXPECT_EQ(rig.runningTimers(), QString());
}

TEST(KestraMainPreparedTest, TheXmlTargetWritesTheChosenFileOnTheRecordTickAndShowsTheOutcome)
{
    MainRig rig({}, "UseXML=1\n");
    ASSERT_TRUE(rig.open());
    ASSERT_TRUE(rig.main().start());
    rig.main().Timer2Timer();
    EXPECT_EQ(rig(S("lblStatus")).text(), S("FAILED")); // no file chosen: five attempts, no box
    EXPECT_TRUE(rig.prompt.messages.empty());
    rig.main().stop();
    const QString path = rig.dir.file(S("scoring.xml"));
    rig.main().hooks().selectFile = [&](const KestraMain::FileRequest &) { return path; };
    rig(S("btnSelectFile")).click();
    ASSERT_TRUE(rig.main().start());
    rig.main().Timer2Timer();
    EXPECT_EQ(rig(S("lblStatus")).text(), S("Success"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().startsWith("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n<scoring>\r\n"));
}

TEST(KestraMainPreparedTest, StoredTargetFlagsPickTheButtonAndTheFileControls)
{
    const struct {
        const char *ini;
        const char *checked; // null: none
        bool fileControls;
        bool stxetx;
    } cases[] = {
        {"", "rdoDaktronics", false, false},
        {"UseFile=1\nUseDaktronics=1\n", "rdoFile", true, true}, // a later flag wins
        {"UseXML=1\nUseXpression=1\n", "rdoXpression", false, false},
        {"UseXML=1\nOutputFileName=/srv/board.xml\nSTXETX=1\nNCAAMode=1\n", "rdoXML", true, false},
        {"UseDaktronics=0\n", nullptr, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ini);
        MainRig rig({}, c.ini);
        ASSERT_TRUE(rig.main().create());
        for (const QString &name : KestraMain::targetButtons())
            EXPECT_EQ(rig(name).isChecked(), c.checked && name == S(c.checked)) << name.toStdString();
        EXPECT_EQ(rig(S("btnSelectFile")).isVisible() && rig(S("lblStatus")).isVisible(), c.fileControls);
        EXPECT_EQ(rig(S("chkSTXETX")).isVisible(), c.stxetx);
        if (const DisplayWriter *writer = rig.main().checkedWriter()) {
            EXPECT_EQ(writer->targetName(), S(c.checked));
        }
        if (qstrcmp(c.checked, "rdoXML") == 0) { // the other stored choices come along
            EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/board.xml"));
            EXPECT_TRUE(rig(S("chkSTXETX")).isChecked() && rig(S("chkNCAA")).isChecked());
        }
    }
}

TEST_F(KestraMainTest, EachStateEnablesItsControlsAndTimers)
{
    const auto status = [&] { return std::pair(rig(S("grpStatus")).text(), rig(S("grpStatus")).color()); };
    ASSERT_TRUE(rig.main().setPaused(true)); // while stopped: only the box
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Stopped"));
    ASSERT_TRUE(rig.main().setPaused(false));
    ASSERT_TRUE(rig.main().start()) << rig.main().lastError().toStdString();
    EXPECT_EQ(status(), std::pair(S("Running"), KestraMain::ColorGreen));
    EXPECT_FALSE(rig(S("btnScoreStart")).isVisible() || !rig(S("btnScoreStop")).isVisible());
    for (const QString &name : KestraMain::runLockedControls())
        EXPECT_FALSE(rig(name).isEnabled()) << name.toStdString();
    for (const char *live : {"chkEvent11", "chkPause31", "chkPause", "dxbtnDisplayResults", "Button1"})
        EXPECT_TRUE(rig(S(live)).isEnabled()) << live;
    EXPECT_EQ(rig.runningTimers(), S("1"));
    EXPECT_NE(rig.main().table(S("Gymnasts")), nullptr);
    EXPECT_FALSE(rig.main().start()); // the Start button is hidden

    // Pause stops both polls; unpausing starts both, the second even in single-session display.
    ASSERT_TRUE(rig.main().setPaused(true));
    EXPECT_EQ(status(), std::pair(S("Paused"), KestraMain::ColorYellow));
    EXPECT_EQ(rig.runningTimers(), QString());
    ASSERT_TRUE(rig.main().setPaused(false));
    EXPECT_EQ(rig.runningTimers(), S("1 3"));

    // Stop while paused keeps the box, so the next Start says "Paused" while
    // the poll runs; column 2 stays locked without dual display.
    ASSERT_TRUE(rig.main().setPaused(true));
    rig.main().stop();
    EXPECT_EQ(status(), std::pair(S("Stopped"), KestraMain::ColorRed));
    EXPECT_EQ(rig.main().table(S("Gymnasts")), nullptr);
    EXPECT_EQ(rig.runningTimers(), QString());
    for (const QString &name : KestraMain::runLockedControls())
        EXPECT_EQ(rig(name).isEnabled(), name != S("dblcboEvent2") && !name.startsWith(S("cboSession2"))) << name.toStdString();
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig(S("grpStatus")).text(), S("Paused"));
    EXPECT_EQ(rig.runningTimers(), S("1"));
    rig.main().stop();

    // Dual display starts the second poll and gives column 2 back at Stop.
    ASSERT_TRUE(rig.main().selection().setDual(true));
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().selection().setSessions(2, {S("2")}));
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.runningTimers(), S("1 3"));
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
        ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
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
        const QString recordAndNcaa = S(c.timer2 ? " 2" : "") + S(c.timer4 ? " 4" : "");
        EXPECT_EQ(rig.runningTimers(), S("1") + recordAndNcaa);
        EXPECT_EQ(std::pair(rig.main().timer(2).interval(), rig.main().timer(4).interval()),
                  std::pair(c.timer2 ? 2000 : rig.main().timer(2).interval(), c.timer4 ? 7000 : rig.main().timer(4).interval()));
        EXPECT_EQ(loads, c.ncaa ? 1 : 0);
        EXPECT_EQ(rig.main().cycle().NCAACycleIndex(), c.ncaa ? 1 : 4);
        EXPECT_EQ(mysqlConnects, c.target == OutputTarget::Xpression ? 1 : 0);
        // Pause leaves the record and NCAA timers running.
        ASSERT_TRUE(rig.main().setPaused(true));
        EXPECT_EQ(rig.runningTimers(), recordAndNcaa.trimmed());
    }
}

TEST(KestraMainPreparedTest, StartRefusesMissingOrClashingSessionsWithTheRightMessageAndFocus)
{
    const char *dualMissing = "A session number must be entered for dual-session generation";
    const char *clash = "The sessions must be different in a dual session using the same events";
    const struct {
        bool dual;
        bool ncaa;
        QStringList sessions1;
        QStringList sessions2;
        int group2;
        const char *message; // null: accepted
        const char *focus;
    } cases[] = {
        {true, false, {}, {"2"}, 1, dualMissing, "cboSession1"},
        {true, false, {"1"}, {}, 1, dualMissing, "cboSession2"},
        {true, true, {"2"}, {"2"}, 1, clash, "cboSession1"},
        {false, true, {}, {}, 1, "A session number must be entered for NCAA Mode", "cboSession1"},
        {true, false, {"2"}, {"2"}, 2, nullptr, nullptr},
        {false, false, {}, {}, 1, nullptr, nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.message ? c.message : "accepted");
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
        EXPECT_EQ(started, !c.message);
        if (!c.message) {
            EXPECT_TRUE(rig.prompt.messages.empty());
            continue;
        }
        EXPECT_EQ(rig.main().lastError(), S(c.message));
        ASSERT_NO_FATAL_FAILURE(expectOneBox(rig, PromptIcon::Error, S("Data Validation Error"), S(c.message)));
        EXPECT_EQ(rig.prompt.messages.back().buttons, PromptButtons::Ok);
        EXPECT_EQ(rig.main().controls().focused(), S(c.focus));
        expectRefusedStart(rig);
    }
}

TEST(KestraMainPreparedTest, CreationZeroesTheDeadlinesStartClearsTheNowUpLinesAndTheStatusColumns)
{
    MainRig rig;
    EventSlot &slot = rig.main().eventSlots()[2][0];
    slot.HoldUntil = -77;
    slot.WaitUntil = 88;
    slot.Num = 5;
    ASSERT_TRUE(rig.open());
    EXPECT_EQ(std::tuple(slot.HoldUntil, slot.WaitUntil, slot.Num), std::tuple(0, 0, 5)) << "only the deadlines";

    rig.main().lines().FillNowUpLine(1, 1, S("101"), S("Jane Doe"), S("Riverside"));
    rig.main().lines().FillNowUpLine(3, 1, S("205"), S("Ann Lee"), S("Summit"));
    rig.record.pack(layout::eventName(2), QByteArrayView("Kept Name"));
    rig(S("EditNum11")).setText(S("101"));
    rig.main().eventSlots()[4][1].HoldUntil = -99;
    ASSERT_EQ(rig.newFrames(2).size(), 2);
    ASSERT_TRUE(rig.main().start());
    for (int slot = 1; slot <= 4; ++slot)
        EXPECT_EQ(rig.record.read(layout::nowUpLine(slot)).mid(6), QByteArray(64, ' ')) << slot;
    EXPECT_EQ(rig.record.read(layout::nowUpTitle(3)), QByteArray("BEAM  "));
    EXPECT_EQ(rig.record.text(layout::eventName(2)).trimmed(), S("Kept Name"));
    EXPECT_EQ(rig(S("EditNum11")).text(), QString());
    EXPECT_EQ(rig.main().eventSlots()[4][1].HoldUntil, -99);
    // Lines 1 and 3 changed and went out; 2 and 4 got their titles.
    EXPECT_EQ(rig.newFrames(4).size(), 4);

    // Stop sends nothing and clears nothing.
    rig(S("EditNum21")).setText(S("102"));
    const QByteArray block = rig.record.bytes();
    rig.main().stop();
    EXPECT_EQ(rig.record.bytes(), block);
    EXPECT_EQ(rig(S("EditNum21")).text(), S("102"));
    EXPECT_TRUE(rig.newFrames().isEmpty());
}

TEST(KestraMainPreparedTest, CloseStoresTheTargetChoiceOnceAndNothingElse)
{
    MainRig rig({}, "Interval=9\n");
    ASSERT_TRUE(rig.open());
    rig.recordTo(OutputTarget::XML);
    rig.main().hooks().selectFile = [](const KestraMain::FileRequest &request) {
        EXPECT_EQ(request.defaultSuffix, S("xml"));
        EXPECT_EQ(request.filter, S("XML Files|*.XML"));
        return S("/srv/out/board.xml");
    };
    rig(S("btnSelectFile")).click();
    EXPECT_EQ(rig(S("lblFileName")).text(), S("/srv/out/board.xml"));
    ASSERT_TRUE(rig.main().selection().setNcaa(true));
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    rig(S("chkSTXETX")).setChecked(true);
    rig.main().workingSettings().Interval = 3; // working values are not stored at close
    ASSERT_TRUE(rig.main().start());

    EXPECT_TRUE(rig.main().close());
    EXPECT_EQ(rig.runningTimers(), QString());
    EXPECT_FALSE(rig.main().listeners().isStarted());
    EXPECT_FALSE(rig.transport.isUdpConnected());
    EXPECT_EQ(rig.main().table(S("Meets")), nullptr);
    EXPECT_EQ(readIni(rig).toLower(),
              S("[options]\ncomport=udp\nipaddr=127.0.0.1\nudpport=%1\ninterval=9\nusedaktronics=0\nusebarco=0\n"
                "usewhiteway=0\nusefile=0\nusexml=1\nusexpression=0\nncaamode=1\noutputfilename=/srv/out/board.xml\n"
                "stxetx=1\n").arg(rig.main().settings().UDPPort));

    // A second close writes nothing.
    ASSERT_TRUE(QFile::remove(rig.configFolder + S("/Kestra.ini")));
    EXPECT_TRUE(rig.main().close());
    EXPECT_FALSE(QFile::exists(rig.configFolder + S("/Kestra.ini")));
}

TEST(KestraMainPreparedTest, ShowAndSetupHandTheLinkSettingsOn)
{
    MainRig serial({}, "ComPort=COM3\nBaseAddr=1000\n");
    ASSERT_TRUE(serial.open());
    EXPECT_EQ(serial.transport.portName(), S("COM3"));
    EXPECT_EQ(serial.transport.baseAddress(), 1000);
    EXPECT_FALSE(serial.transport.isUdpConnected());

    MainRig rig;
    EXPECT_FALSE(rig.main().listeners().isStarted());
    ASSERT_TRUE(rig.open());
    EXPECT_TRUE(rig.main().listeners().isStarted());
    EXPECT_TRUE(rig.transport.isUdpConnected());
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
}

TEST_F(KestraMainTest, AFailureInAHandlerIsShownAndTheWindowGoesOn)
{
    // Start's MySQL connect for Xpression fails: told, and nothing runs.
    rig.main().hooks().connectMySql = [](const KestraSettings &) {
        throw std::runtime_error("Can't connect to server on '10.9.9.9'");
    };
    rig.recordTo(OutputTarget::Xpression, TargetKind::Line);
    EXPECT_FALSE(rig.main().start());
    expectOneBox(rig, PromptIcon::Error, {}, S("Can't connect to server on '10.9.9.9'"));
    EXPECT_EQ(rig.main().lastError(), S("Can't connect to server on '10.9.9.9'"));
    expectRefusedStart(rig);

    // A table the handler needs is gone.
    ASSERT_TRUE(rig.main().selectTarget(OutputTarget::Daktronics));
    rig.peer().execute(S("drop table ScoreApps"));
    EXPECT_FALSE(rig.main().start());
    EXPECT_EQ(rig.prompt.messages.size(), 2u);
    EXPECT_EQ(rig.restarts + rig.quits, 0);

    // A handler of the program's own takes every failure when given.
    std::vector<std::exception_ptr> seen;
    rig.main().hooks().exceptionHandler = [&](std::exception_ptr e) { seen.push_back(e); };
    EXPECT_FALSE(rig.main().start());
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_EQ(rig.prompt.messages.size(), 2u);
}

TEST_F(KestraMainTest, ChangingServerRefusesWhileTheResultsWindowStaysOpen)
{
    // A results window whose page cycle runs cannot be closed.
    ResultsGraphic &results = rig.main().openResults();
    results(S("btnAdd")).click();
    results(S("btnStart")).click();
    rig(S("dxbtnLocateServer")).click();
    expectOneBox(rig, PromptIcon::Warning, S("Open Window Warning"),
                 S("All windows must be closed before the server can be changed.\r\r"
                   "Please save any changes and close any open windows and then try again."));

    // With the window closed the tables come back on the scoring product's
    // last meet, whatever the operator had chosen.
    results(S("btnStop")).click();
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    rig(S("dxbtnLocateServer")).click();
    EXPECT_EQ(rig.main().results(), nullptr);
    EXPECT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), 0);
    EXPECT_EQ(rig(S("dblcboEvent1")).property("key").toInt(), 1);
    EXPECT_EQ(rig.quits, 0);
}

TEST_F(KestraMainTest, NowUpDatagramsReachTheBoardFromShowToClose)
{
    const quint16 port = rig.main().listeners().port(NowUpListeners::Channel::Line);
    QUdpSocket sender;
    sender.writeDatagram("SCOREGEN,1,3,105,\"Ann Lee\"", QHostAddress::LocalHost, port);
    ASSERT_TRUE(waitUntil([&] { return rig.record.text(layout::nowUpNum(3)).trimmed() == S("105"); }));
    EXPECT_EQ(rig.record.text(layout::nowUpName(3)).trimmed(), S("Ann Lee"));
    EXPECT_EQ(rig.newFrames(1).size(), 1);
    rig.main().close();
    EXPECT_FALSE(rig.main().listeners().isListening(NowUpListeners::Channel::Line));
}
