#include "generator/KestraMain.h"

#include "generator/DisplayCycle.h"
#include "generator/MeetSelection.h"
#include "generator/NowUpListeners.h"
#include "generator/ScorePoll.h"
#include "results/ResultsGraphic.h"
#include "meetdb/LostConnection.h"
#include "meetdb/MeetConnection.h"
#include "meetdb/MeetStore.h"
#include "outputs/Barco.h"
#include "outputs/Daktronics.h"
#include "outputs/DeviceTransport.h"
#include "outputs/SamplePages.h"
#include "outputs/TextFile.h"
#include "outputs/WhiteWay.h"
#include "outputs/XmlFile.h"
#include "outputs/Xpression.h"
#include "results/NCAARotation.h"
#include "support/ExeInfo.h"
#include "support/OperatorPrompt.h"

#include <QLoggingCategory>
#include <QScopeGuard>

namespace kestra {

Q_LOGGING_CATEGORY(lcMain, "kestra.main")

namespace {

const QString kValidationCaption = QStringLiteral("Data Validation Error");
const QString kSessionRequiredDual =
    QStringLiteral("A session number must be entered for dual-session generation");
const QString kSessionsMustDiffer =
    QStringLiteral("The sessions must be different in a dual session using the same events");
const QString kSessionRequiredNcaa = QStringLiteral("A session number must be entered for NCAA Mode");

QString cell(const char *stem, int eventNumber, int side)
{
    return QStringLiteral("%1%2%3").arg(QLatin1String(stem)).arg(eventNumber).arg(side);
}

QString describeFailure(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const StoreError &failure) {
        return failure.message();
    } catch (const std::exception &failure) {
        return QString::fromLocal8Bit(failure.what());
    } catch (...) {
        return QStringLiteral("an unexpected failure");
    }
}

} // namespace

const QStringList &KestraMain::targetButtons()
{
    static const QStringList names = {QStringLiteral("rdoDaktronics"), QStringLiteral("rdoBarco"),
                                      QStringLiteral("rdoWhiteWay"),   QStringLiteral("rdoFile"),
                                      QStringLiteral("rdoXML"),        QStringLiteral("rdoXpression")};
    return names;
}

const QStringList &KestraMain::targetCaptions()
{
    static const QStringList captions = {QStringLiteral("Daktronics"),  QStringLiteral("Barco"),
                                         QStringLiteral("White Way"),   QStringLiteral("File Output"),
                                         QStringLiteral("XML File"),    QStringLiteral("Xpression")};
    return captions;
}

const QStringList &KestraMain::runLockedControls()
{
    static const QStringList names = [] {
        QStringList n = {QStringLiteral("chkDual"),      QStringLiteral("dblcboMeets"),
                         QStringLiteral("dblcboEvent1")};
        n << MeetSelection::sessionBoxes(1) << QStringLiteral("dblcboEvent2") << MeetSelection::sessionBoxes(2);
        n << QStringLiteral("dxbtnSetupUnits") << QStringLiteral("dxbtnLocateServer") << QStringLiteral("btnClear")
          << QStringLiteral("btnShowTest") << QStringLiteral("chkEventTest");
        n << targetButtons() << QStringLiteral("chkNCAA");
        return n;
    }();
    return names;
}

KestraMain::KestraMain(MeetConnection &connection, SettingsStore kestraKey, SettingsStore marlowenKey,
                       OperatorPrompt &prompt, TickSource &ticks, DisplayRecord &record,
                       DeviceTransport &transport, std::function<void()> restart, QObject *parent)
    : QObject(parent),
      m_connection(connection),
      m_kestraKey(std::move(kestraKey)),
      m_marlowenKey(std::move(marlowenKey)),
      m_prompt(prompt),
      m_ticks(ticks),
      m_record(record),
      m_transport(transport),
      m_restart(std::move(restart))
{
    buildControls();
    m_selection = std::make_unique<MeetSelection>(
        m_controls, [this]() -> MeetStore & { return store(); },
        [this](const std::function<void()> &handler) { guarded(handler)(); });
    m_selection->setMeetChangedHandler([this](int meetId) {
        if (m_results)
            m_results->ApplyMeet(meetId);
    });
    wireHandlers();

    m_trace.setEnabledSource([this] { return checked(QStringLiteral("chkDebugIO")); });
    m_writers.add(std::make_unique<DaktronicsWriter>(m_record, m_transport, *this, m_trace));
    m_writers.add(std::make_unique<WhiteWayWriter>(m_record, m_transport, *this, m_trace));
    m_writers.add(std::make_unique<BarcoWriter>(m_record, m_transport, m_trace));
    m_writers.add(std::make_unique<TextFileWriter>(
        m_record, [this] { return m_settings.OutputFileName; }, [this] { return checked(QStringLiteral("chkSTXETX")); }));
    m_writers.add(std::make_unique<XmlFileWriter>(
        m_record, *this, [this] { return m_settings.OutputFileName; },
        [this] { return c(QStringLiteral("rgrpRotation")).currentIndex() + 1; }));
    m_lines = std::make_unique<DisplayLines>(m_record, *this);
    m_poll = std::make_unique<ScorePoll>(*this);
    m_cycle = std::make_unique<DisplayCycle>(*this);
    // NCAA mode: Start builds the team table, each Timer4 tick follows the rotation.
    const auto ncaa = std::make_shared<NCAARotation>(NCAARotation::Window{
        [this]() -> MeetStore & { return store(); }, [this](const QString &name) { return table(name); },
        m_controls, m_settings});
    m_hooks.loadNcaaTeams = [this, ncaa] { ncaa->LoadNCAATeams(m_cycle->teams()); };
    m_cycle->setTeamsRefresh([ncaa](NCAATeams &teams) { ncaa->refresh(teams); });
    wireXpressionAndSample();

    LostConnectionHandler::Hooks lost;
    lost.stopTimers = [this] {
        stopAllTimers();
        if (m_results)
            m_results->cycle().timer().stop();
    };
    lost.serverName = [this] { return currentServerName(); };
    lost.applicationTitle = [this] { return m_title; };
    if (m_restart) {
        lost.restart = [this] {
            m_restart();
            emit quitRequested();
        };
    }
    m_lostConnection = std::make_unique<LostConnectionHandler>(m_prompt, std::move(lost));
    m_listeners = std::make_unique<NowUpListeners>(
        [this] { return m_settings.NameFormat; },
        [this](int eventNumber, int side, const QString &num, const QString &name, const QString &gym) {
            m_lines->FillNowUpLine(eventNumber, side, num, name, gym);
        });
    m_listeners->setFailureHandler([this](std::exception_ptr error) { handleException(error); });

    for (int i = 0; i < 4; ++i)
        m_timers[i].setObjectName(QStringLiteral("Timer%1").arg(i + 1));
    connect(&m_timers[0], &QTimer::timeout, this, &KestraMain::Timer1Timer);
    connect(&m_timers[1], &QTimer::timeout, this, &KestraMain::Timer2Timer);
    connect(&m_timers[2], &QTimer::timeout, this, &KestraMain::Timer3Timer);
    connect(&m_timers[3], &QTimer::timeout, this, &KestraMain::Timer4Timer);
}

KestraMain::~KestraMain()
{
    stopAllTimers();
    m_listeners->stop();
}

void KestraMain::wireXpressionAndSample()
{
    // The graphics system's connection: kept from Start to the close; Clear and
    // Show Sample close it again when they opened it.
    const auto mysql = std::make_shared<XpressionConnection>();
    const auto settingsOf = [](const KestraSettings &s) {
        return MySqlSettings{s.MySQLServer, s.MySQLDatabase, s.MySQLUser, s.MySQLPass};
    };
    const auto mysqlSettings = [this, settingsOf] { return settingsOf(m_settings); };
    const auto eventField = [this](int side, const QString &field) {
        TableCursor *events = table(side == 1 ? QStringLiteral("EventDisp1") : QStringLiteral("EventDisp2"));
        return events && events->hasRow() ? events->value(field).toString() : QString();
    };
    m_writers.add(std::make_unique<XpressionWriter>(m_record, mysql, *this, m_trace, mysqlSettings,
                                                    [eventField](int side) { return eventField(side, QStringLiteral("Group")); }));
    m_hooks.connectMySql = [mysql, settingsOf](const KestraSettings &settings) {
        if (!mysql->isConnected())
            mysql->connect(settingsOf(settings));
    };
    m_hooks.disconnectMySql = [mysql] { mysql->disconnect(); };
    m_cycle->setXpressionLink({[mysql] { return mysql->isConnected(); },
                               [mysql, mysqlSettings] {
                                   mysql->connect(mysqlSettings());
                                   return true;
                               },
                               [mysql] { mysql->disconnect(); }});

    m_hooks.showSample = [this, mysql, mysqlSettings, eventField] {
        const bool connectedHere = checked(QStringLiteral("rdoXpression")) && !mysql->isConnected();
        if (connectedHere)
            mysql->connect(mysqlSettings());
        const auto closeAgain = qScopeGuard([&] {
            if (connectedHere)
                mysql->disconnect();
        });
        SamplePages sample(m_record, *this, *this,
                           [eventField](int event) { return eventField(1, QStringLiteral("Ev%1Short").arg(event)); });
        const DeviceError result = sample.show(checked(QStringLiteral("chkEventTest")), checked(QStringLiteral("chkNCAA")));
        if (checked(QStringLiteral("rdoXML")))
            c(QStringLiteral("lblStatus")).setText(result == DeviceErrors::Success ? QStringLiteral("Success")
                                                                                   : QStringLiteral("FAILED"));
    };
}

// ---------------------------------------------------------------- controls

void KestraMain::buildControls()
{
    auto add = [this](const QString &name, const QString &text, const char *kind, const char *group, int row,
                      int column) -> LogicalControl & { return m_controls.addPlaced(name, text, kind, group, row, column); };
    const auto s = [](const char *text) { return QString::fromUtf8(text); };

    add(s("dxbtnDisplayResults"), s("Results"), "button", "ribbon", 0, 0);
    add(s("dxbtnAbout"), s("About Kestra"), "button", "ribbon", 0, 1);
    add(s("dxbtnSetupUnits"), s("Setup"), "button", "ribbon", 0, 2);
    add(s("dxbtnLocateServer"), s("Manage Servers"), "button", "ribbon", 0, 3);

    add(s("btnScoreStart"), s("Start"), "button", "run", 0, 0);
    add(s("btnScoreStop"), s("Stop"), "button", "run", 0, 0).setVisible(false);
    LogicalControl &status = add(s("grpStatus"), s("Stopped"), "status", "run", 0, 1);
    status.setColor(ColorRed);
    status.setProperty(s("caption"), s("Kestra is:"));
    add(s("chkPause"), s("Pause Scoreboard Display"), "check", "run", 1, 0);
    add(s("btnClear"), s("Clear Events"), "button", "run", 2, 0);
    add(s("btnShowTest"), s("Show Sample"), "button", "run", 2, 1);
    add(s("Button1"), s("Output Status"), "button", "run", 3, 0);

    add(s("chkEventTest"), s("Event Display Test Mode"), "check", "options", 3, 0);
    add(s("chkDebugIO"), s("Debug IO Output?"), "check", "options", 4, 0);

    for (int i = 0; i < targetButtons().size(); ++i) {
        LogicalControl &radio = add(targetButtons()[i], targetCaptions()[i], "radio", "target", i, 0);
        radio.setProperty(s("caption"), s("Jumbotron Type"));
    }
    m_controls(s("rdoDaktronics")).setChecked(true);
    add(s("btnSelectFile"), s("Select File"), "button", "file", 0, 0);
    add(s("lblFileName"), QString(), "label", "file", 1, 0);
    add(s("lblStatus"), QString(), "label", "file", 2, 0);
    add(s("chkSTXETX"), s("Include STX/ETX characters?"), "check", "file", 3, 0);
}

std::function<void()> KestraMain::guarded(std::function<void()> handler)
{
    return [this, handler = std::move(handler)] {
        try {
            handler();
        } catch (...) {
            handleException(std::current_exception());
        }
    };
}

void KestraMain::wireHandlers()
{
    const auto on = [this](const char *name, std::function<void()> handler) {
        m_controls(QString::fromLatin1(name)).setClickHandler(guarded(std::move(handler)));
    };
    on("btnScoreStart", [this] { btnScoreStartClick(); });
    on("btnScoreStop", [this] { btnScoreStopClick(); });
    on("chkPause", [this] { chkPauseClick(); });
    on("btnSelectFile", [this] { btnSelectFileClick(); });
    on("dxbtnSetupUnits", [this] { dxbtnSetupUnitsClick(); });
    on("dxbtnLocateServer", [this] { dxbtnLocateServerClick(); });
    on("dxbtnDisplayResults", [this] { dxbtnDisplayResultsClick(); });
    on("dxbtnAbout", [this] { dxbtnAboutClick(); });
    on("Button1", [this] { Button1Click(); });
    on("btnClear", [this] { m_cycle->btnClearClick(); });
    on("btnShowTest", [this] {
        if (m_hooks.showSample)
            m_hooks.showSample();
    });
    for (const QString &name : targetButtons())
        m_controls(name).setClickHandler(guarded([this, name] { targetClicked(name); }));
}

// ---------------------------------------------------------------- lifecycle

bool KestraMain::create()
{
    if (m_created)
        return !m_programClosing;
    m_created = true;
    try {
        FormCreate();
    } catch (const StoreError &error) {
        // A connect sequence that fails outright is a connection given up.
        PromptMessage message;
        message.caption = QStringLiteral("Marlowen Server Connection");
        message.text = error.message();
        message.icon = PromptIcon::Error;
        m_prompt.ask(message);
        m_programClosing = true;
        emit quitRequested();
    } catch (...) {
        handleException(std::current_exception());
        m_programClosing = true;
        emit quitRequested();
    }
    return !m_programClosing;
}

void KestraMain::show()
{
    if (m_programClosing || !m_created || m_shown || m_closed)
        return;
    m_shown = true;
    guarded([this] { FormShow(); })();
}

bool KestraMain::start()
{
    LogicalControl &button = c(QStringLiteral("btnScoreStart"));
    if (!m_shown || m_closed) {
        m_lastError = QStringLiteral("The window is not open.");
        return false;
    }
    if (!button.isVisible() || !button.isEnabled()) {
        m_lastError = QStringLiteral("The generator is already running.");
        return false;
    }
    m_lastError.clear();
    button.click();
    if (m_state == RunState::Stopped) {
        if (m_lastError.isEmpty())
            m_lastError = QStringLiteral("Start was refused.");
        return false;
    }
    return true;
}

bool KestraMain::showSample()
{
    LogicalControl &button = c(QStringLiteral("btnShowTest"));
    if (!m_shown || m_closed || !button.isEnabled()) {
        m_lastError = QStringLiteral("Show Sample is possible only while the generator is stopped.");
        return false;
    }
    m_lastError.clear();
    button.click();
    return m_lastError.isEmpty();
}

void KestraMain::stop()
{
    LogicalControl &button = c(QStringLiteral("btnScoreStop"));
    if (button.isVisible() && button.isEnabled())
        button.click();
}

bool KestraMain::close()
{
    if (m_closed)
        return true;
    m_closed = true;
    // A window that never came up has nothing to store.
    if (!m_created || m_programClosing)
        return true;
    bool written = false;
    try {
        FormClose();
        written = true;
    } catch (...) {
        handleException(std::current_exception());
    }
    return written && m_settingsWritten;
}

void KestraMain::FormCreate()
{
    m_programClosing = false;
    UpdateTitle();
    if (!m_connection.connectAtStartup()) {
        m_programClosing = true;
        emit quitRequested();
        return;
    }
    UpdateTitle();
    c(QStringLiteral("btnScoreStart")).setVisible(true);
    c(QStringLiteral("btnScoreStop")).setVisible(false);
    ClearGeneratorStatus(1);
    ClearGeneratorStatus(2);
    m_timers[0].setInterval(PollInterval);
    m_timers[2].setInterval(PollInterval);
    for (auto &row : m_slots) {
        for (EventSlot &slot : row) {
            slot.HoldUntil = 0;
            slot.WaitUntil = 0;
        }
    }

    m_settings.readAtCreate(m_kestraKey);
    // The stored flags go into the buttons in their order; checking one
    // unchecks the others, and a false flag unchecks its own button.
    const bool flags[] = {m_settings.UseDaktronics, m_settings.UseBarco, m_settings.UseWhiteWay,
                          m_settings.UseFile,       m_settings.UseXML,   m_settings.UseXpression};
    c(QStringLiteral("rdoDaktronics")).setChecked(true);
    for (int i = 0; i < targetButtons().size(); ++i) {
        if (flags[i]) {
            for (const QString &other : targetButtons())
                c(other).setChecked(other == targetButtons()[i]);
        } else {
            c(targetButtons()[i]).setChecked(false);
        }
    }
    c(QStringLiteral("chkNCAA")).setChecked(m_settings.NCAAMode);
    c(QStringLiteral("chkSTXETX")).setChecked(m_settings.STXETX);
    c(QStringLiteral("lblFileName")).setText(m_settings.OutputFileName);
    applyTargetVisibility();
}

void KestraMain::FormShow()
{
    if (m_programClosing)
        return;
    m_selection->openTables();
    m_selection->selectLastMeet();
    m_settings.readAtShow(m_kestraKey);
    applyOutputSettings();
    m_listeners->start();
    m_selection->chkDualClick();
}

void KestraMain::FormClose()
{
    m_timers[0].stop();
    m_timers[2].stop();
    m_selection->closeTables();
    m_selection->closeGymnasts();

    m_settings.UseDaktronics = checked(QStringLiteral("rdoDaktronics"));
    m_settings.UseBarco = checked(QStringLiteral("rdoBarco"));
    m_settings.UseWhiteWay = checked(QStringLiteral("rdoWhiteWay"));
    m_settings.UseFile = checked(QStringLiteral("rdoFile"));
    m_settings.UseXML = checked(QStringLiteral("rdoXML"));
    m_settings.UseXpression = checked(QStringLiteral("rdoXpression"));
    m_settings.NCAAMode = checked(QStringLiteral("chkNCAA"));
    m_settings.OutputFileName = c(QStringLiteral("lblFileName")).text();
    m_settings.STXETX = checked(QStringLiteral("chkSTXETX"));
    m_settingsWritten = m_settings.writeAtClose(m_kestraKey);
    if (!m_settingsWritten)
        qCWarning(lcMain) << "the target settings could not be stored in" << m_kestraKey.filePath();

    m_transport.disconnectUdp();
    if (m_hooks.disconnectMySql)
        m_hooks.disconnectMySql();
    m_listeners->stop();
    if (m_results)
        dropResults();
    // The window goes away with its timers.
    stopAllTimers();
    setState(RunState::Stopped);
}

void KestraMain::Timer1Timer()
{
    guarded([this] { m_poll->tick(1); })();
}

void KestraMain::Timer2Timer()
{
    guarded([this] { m_cycle->timer2Tick(); })();
}

void KestraMain::Timer3Timer()
{
    guarded([this] { m_poll->tick(2); })();
}

void KestraMain::Timer4Timer()
{
    guarded([this] { m_cycle->timer4Tick(); })();
}

QString KestraMain::unusableTargetReason() const
{
    for (int i = 0; i < targetButtons().size(); ++i) {
        if (!checked(targetButtons()[i]))
            continue;
        if (m_writers.find(targetButtons()[i]))
            return QString();
        return QStringLiteral("This version of Kestra cannot send to the display target \"%1\" yet.\r\r"
                              "Please choose another Jumbotron Type before pressing Start.")
            .arg(targetCaptions()[i]);
    }
    return QStringLiteral("No display target is chosen.\r\rPlease choose a Jumbotron Type before pressing Start.");
}

void KestraMain::btnScoreStartClick()
{
    // A run on a target that cannot send would mark every score it takes as
    // shown and show none of them.
    if (const QString reason = unusableTargetReason(); !reason.isEmpty())
        return void(validationFails(reason, targetButtons().first()));

    {
        std::unique_ptr<TableCursor> apps = store().openTable(QStringLiteral("ScoreApps"));
        if (!apps->locate(QStringLiteral("AppID"), {4}))
            store().insertRow(QStringLiteral("ScoreApps"),
                              {{QStringLiteral("AppID"), 4}, {QStringLiteral("AppName"), QStringLiteral("Kestra")}});
        apps->close();
    }
    if (checked(QStringLiteral("rdoXpression")) && m_hooks.connectMySql)
        m_hooks.connectMySql(m_settings);

    m_selection->refreshForRun();

    m_eventCount = {numEvents(1), 0};
    m_poll->resetTeams(m_eventCount[0], m_eventCount[1]);
    const QString session1 = m_selection->primarySession(1);
    if (isDual()) {
        const QString session2 = m_selection->primarySession(2);
        if (session1.isEmpty())
            return void(validationFails(kSessionRequiredDual, QStringLiteral("cboSession1")));
        if (session2.isEmpty())
            return void(validationFails(kSessionRequiredDual, QStringLiteral("cboSession2")));
        if (session1 == session2 && m_selection->eventGroupId(1) == m_selection->eventGroupId(2))
            return void(validationFails(kSessionsMustDiffer, QStringLiteral("cboSession1")));
        m_eventCount[1] = numEvents(2);
        m_poll->resetTeams(m_eventCount[0], m_eventCount[1]);
    }
    if (m_selection->isNcaa() && session1.isEmpty())
        return void(validationFails(kSessionRequiredNcaa, QStringLiteral("cboSession1")));

    ClearGeneratorStatus(1);
    ClearGeneratorStatus(2);
    m_selection->openGymnasts();

    c(QStringLiteral("btnScoreStop")).setVisible(true);
    c(QStringLiteral("btnScoreStart")).setVisible(false);
    if (checked(QStringLiteral("chkPause"))) {
        setStatus(QStringLiteral("Paused"), ColorYellow);
        setState(RunState::Paused);
    } else {
        setStatus(QStringLiteral("Running"), ColorGreen);
        setState(RunState::Running);
    }
    for (const QString &name : runLockedControls())
        c(name).setEnabled(false);

    // Start does not look at the Pause box: the polls run even when the
    // status says "Paused", until the box is clicked during the run.
    m_timers[0].setInterval(PollInterval);
    m_timers[0].start();
    m_timers[2].setInterval(PollInterval);
    if (isDual())
        m_timers[2].start();
    const OutputTarget target = checkedTarget();
    if (target == OutputTarget::Barco || target == OutputTarget::File || target == OutputTarget::XML) {
        m_timers[1].setInterval(RecordInterval);
        m_timers[1].start();
    }
    if (m_selection->isNcaa()) {
        if (m_hooks.loadNcaaTeams)
            m_hooks.loadNcaaTeams();
        m_cycle->startRun();
        // A cycle rate of 0 gives a timer that never fires, not one that
        // fires without pause.
        if (m_settings.CycleRate > 0) {
            m_timers[3].setInterval(m_settings.CycleRate * 1000);
            m_timers[3].start();
        }
    }
    for (int event = 1; event <= 6; ++event) {
        m_lines->FillNowUpLine(event, 1, QString(), QString(), QString());
        m_lines->FillNowUpLine(event, 2, QString(), QString(), QString());
    }
}

void KestraMain::btnScoreStopClick()
{
    m_selection->closeGymnasts();
    c(QStringLiteral("btnScoreStop")).setVisible(false);
    c(QStringLiteral("btnScoreStart")).setVisible(true);
    setStatus(QStringLiteral("Stopped"), ColorRed);
    setState(RunState::Stopped);
    stopAllTimers();

    const bool dual = isDual();
    const QStringList secondColumn = QStringList{QStringLiteral("dblcboEvent2")} + MeetSelection::sessionBoxes(2);
    for (const QString &name : runLockedControls())
        c(name).setEnabled(secondColumn.contains(name) ? dual : true);
}

void KestraMain::chkPauseClick()
{
    if (!c(QStringLiteral("btnScoreStop")).isVisible())
        return;
    if (checked(QStringLiteral("chkPause"))) {
        setStatus(QStringLiteral("Paused"), ColorYellow);
        setState(RunState::Paused);
        m_timers[0].stop();
        m_timers[2].stop();
    } else {
        setStatus(QStringLiteral("Running"), ColorGreen);
        setState(RunState::Running);
        // Unpausing starts the second poll even in single-session display;
        // operators rely on this as it has always been.
        m_timers[0].start();
        m_timers[2].start();
    }
}

void KestraMain::rdoDaktronicsClick()
{
    applyTargetVisibility();
}

void KestraMain::applyTargetVisibility()
{
    const bool file = checked(QStringLiteral("rdoFile"));
    const bool fileOrXml = file || checked(QStringLiteral("rdoXML"));
    c(QStringLiteral("btnSelectFile")).setVisible(fileOrXml);
    c(QStringLiteral("lblFileName")).setVisible(fileOrXml);
    c(QStringLiteral("lblStatus")).setVisible(fileOrXml);
    c(QStringLiteral("chkSTXETX")).setVisible(file);
}

void KestraMain::targetClicked(const QString &name)
{
    if (checked(name)) {
        for (const QString &other : targetButtons()) {
            if (other != name)
                c(other).setChecked(false);
        }
    }
    rdoDaktronicsClick();
}

void KestraMain::btnSelectFileClick()
{
    if (!m_hooks.selectFile)
        return;
    FileRequest request;
    if (checked(QStringLiteral("rdoFile"))) {
        request.defaultSuffix = QStringLiteral("txt");
        request.filter = QStringLiteral("Text Files|*.TXT");
    } else if (checked(QStringLiteral("rdoXML"))) {
        request.defaultSuffix = QStringLiteral("xml");
        request.filter = QStringLiteral("XML Files|*.XML");
    }
    request.current = m_settings.OutputFileName;
    const QString chosen = m_hooks.selectFile(request);
    if (chosen.isEmpty())
        return;
    c(QStringLiteral("lblFileName")).setText(chosen);
    m_settings.OutputFileName = chosen;
}

void KestraMain::dxbtnSetupUnitsClick()
{
    m_transport.disconnectUdp();
    if (m_hooks.showSetup)
        m_hooks.showSetup();
    m_settings.readAfterSetup(m_kestraKey);
    applyOutputSettings();
}

void KestraMain::dxbtnLocateServerClick()
{
    if (!closeResults()) {
        PromptMessage message;
        message.caption = QStringLiteral("Open Window Warning");
        message.text = QStringLiteral("All windows must be closed before the server can be changed.\r\r"
                                      "Please save any changes and close any open windows and then try again.");
        message.icon = PromptIcon::Warning;
        m_prompt.ask(message);
        return;
    }
    m_selection->closeTables();
    if (!m_connection.changeServer()) {
        emit quitRequested();
        return;
    }
    UpdateTitle();
    m_selection->openTables();
    if (m_selection->hasHostRow()) {
        m_selection->selectLastMeet();
        m_selection->dblcboEvent1Change(1);
        m_selection->dblcboEvent1Change(2);
    }
}

void KestraMain::dxbtnDisplayResultsClick()
{
    ResultsGraphic &results = openResults();
    if (m_hooks.showResults)
        m_hooks.showResults(results);
}

ResultsGraphic &KestraMain::openResults()
{
    if (!m_results) {
        auto results = std::make_unique<ResultsGraphic>(*this);
        results->FormCreate();
        // Close is pressed inside the window's own handler: it goes once
        // that handler has returned.
        connect(results.get(), &ResultsGraphic::closeRequested, this, [this] {
            if (m_results && m_results->isClosed())
                dropResults();
        }, Qt::QueuedConnection);
        m_results = std::move(results);
    }
    return *m_results;
}

bool KestraMain::closeResults()
{
    if (!m_results)
        return true;
    if (!m_results->btnCloseClick())
        return false;
    dropResults();
    return true;
}

void KestraMain::dropResults()
{
    if (m_hooks.hideResults)
        m_hooks.hideResults();
    m_results.reset();
}

void KestraMain::dxbtnAboutClick()
{
    if (m_hooks.showAbout)
        m_hooks.showAbout();
}

void KestraMain::Button1Click()
{
    if (m_hooks.showOutputStatus)
        m_hooks.showOutputStatus();
}

void KestraMain::ClearGeneratorStatus(int side)
{
    for (int i = 1; i <= 6; ++i) {
        for (const char *stem : {"EditNum", "EditScore", "EditWait"})
            c(cell(stem, i, side)).setText(QString());
    }
}

void KestraMain::UpdateTitle()
{
    const QString title = ExeInfo::ofThisBuild().title(currentServerName());
    if (title == m_title)
        return;
    m_title = title;
    emit titleChanged(m_title);
}

QString KestraMain::currentServerName() const
{
    return m_connection.currentServerName();
}

void KestraMain::stopAllTimers()
{
    for (QTimer &timer : m_timers)
        timer.stop();
}

QTimer &KestraMain::timer(int number)
{
    return m_timers.at(std::size_t(number - 1));
}

void KestraMain::setStatus(const QString &text, int color)
{
    LogicalControl &status = c(QStringLiteral("grpStatus"));
    status.setText(text);
    status.setColor(color);
}

void KestraMain::setState(RunState state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

bool KestraMain::validationFails(const QString &text, const QString &focus)
{
    PromptMessage message;
    message.caption = kValidationCaption;
    message.text = text;
    message.icon = PromptIcon::Error;
    m_lastError = text;
    m_prompt.ask(message);
    c(focus).requestFocus();
    return true;
}

void KestraMain::applyOutputSettings()
{
    m_transport.applySettings(m_settings.COMPort, quint16(m_settings.BaseAddr), m_settings.IPAddr,
                              m_settings.UDPPort);
}

// ---------------------------------------------------------------- operator API

bool KestraMain::operate(const QString &name, bool value)
{
    LogicalControl &control = c(name);
    if (!control.isEnabled()) {
        m_lastError = QStringLiteral("%1 cannot be changed while the generator runs.")
                          .arg(name == QLatin1String("chkPause") ? QStringLiteral("Pause") : QStringLiteral("The display target"));
        return false;
    }
    if (control.isChecked() != value)
        control.operatorSetChecked(value);
    return true;
}

bool KestraMain::selectTarget(OutputTarget target)
{
    const int index = int(target) - int(OutputTarget::Daktronics);
    if (index < 0 || index >= targetButtons().size()) {
        m_lastError = QStringLiteral("No display target was named.");
        return false;
    }
    return operate(targetButtons()[index], true);
}

bool KestraMain::setPaused(bool paused)
{
    return operate(QStringLiteral("chkPause"), paused);
}

OutputTarget KestraMain::checkedTarget() const
{
    for (int i = 0; i < targetButtons().size(); ++i) {
        if (checked(targetButtons()[i]))
            return OutputTarget(int(OutputTarget::Daktronics) + i);
    }
    return OutputTarget::None;
}

// ---------------------------------------------------------------- failures

void KestraMain::handleException(std::exception_ptr error)
{
    // Failures are told, not asked: a box raised inside a timer's handler
    // is shown once the handler has returned, so no timer waits behind it.
    m_lastError = describeFailure(error);
    if (m_hooks.exceptionHandler)
        m_hooks.exceptionHandler(error);
    else
        m_lostConnection->HandleApplicationException(error);
}

// ---------------------------------------------------------------- context

MeetStore &KestraMain::store()
{
    return m_connection.store();
}

TableCursor *KestraMain::table(const QString &name)
{
    return m_selection->table(name);
}

int KestraMain::numEvents(int side) const
{
    return m_selection->numEvents(side);
}

QString KestraMain::eventTitle(int side, int eventNumber) const
{
    return m_selection->eventTitle(side, eventNumber);
}

bool KestraMain::isEventTicked(int eventNumber, int side) const
{
    return m_selection->isEventTicked(eventNumber, side);
}

bool KestraMain::isDual() const
{
    return m_selection->isDual();
}

DisplayWriter *KestraMain::checkedWriter() const
{
    for (const QString &name : targetButtons()) {
        if (checked(name))
            return m_writers.find(name);
    }
    return nullptr;
}

bool KestraMain::MeetsUseDBonus() const
{
    return m_selection->MeetsUseDBonus();
}

bool KestraMain::MeetsUseJNBonus() const
{
    return m_selection->MeetsUseJNBonus();
}

bool KestraMain::MeetsScoreMethod() const
{
    return m_selection->MeetsScoreMethod();
}

QVariant KestraMain::mainMeetId() const
{
    const TableCursor *meets = m_selection->table(QStringLiteral("Meets"));
    return meets && meets->hasRow() ? meets->value(QStringLiteral("MeetID")) : QVariant();
}

bool KestraMain::mainMeetNcaaMode() const
{
    const TableCursor *meets = m_selection->table(QStringLiteral("Meets"));
    return meets && meets->hasRow() && meets->value(QStringLiteral("NCAAMode")).toBool();
}

} // namespace kestra
