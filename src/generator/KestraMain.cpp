#include "generator/KestraMain.h"

#include "generator/DisplayCycle.h"
#include "generator/NowUpListeners.h"
#include "generator/ScorePoll.h"
#include "kestra/Version.h"
#include "meetdb/LostConnection.h"
#include "meetdb/MeetConnection.h"
#include "meetdb/MeetStore.h"
#include "outputs/Barco.h"
#include "outputs/Daktronics.h"
#include "outputs/DeviceTransport.h"
#include "outputs/TextFile.h"
#include "outputs/WhiteWay.h"
#include "outputs/XmlFile.h"
#include "support/OperatorPrompt.h"

#include <QLoggingCategory>
#include <QScopeGuard>

#include <algorithm>

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

bool isConnectionLost(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const StoreError &failure) {
        return failure.kind() == StoreError::Kind::ConnectionLost;
    } catch (...) {
        return false;
    }
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

// Moves a cursor to the row the operator chose in a lookup; true when that
// changed the lookup's key.
bool followLookup(LogicalControl &lookup, TableCursor *cursor, const QString &keyField)
{
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    const int index = lookup.currentIndex();
    if (index < 0 || index >= keys.size() || !cursor)
        return false;
    const QVariant before = lookup.property(QStringLiteral("key"));
    lookup.setProperty(QStringLiteral("key"), keys[index]);
    cursor->locate(keyField, {keys[index]});
    return before.isNull() || before.toLongLong() != keys[index].toLongLong();
}

} // namespace

const QStringList &KestraMain::targetButtons()
{
    static const QStringList names = {QStringLiteral("rdoDaktronics"), QStringLiteral("rdoBarco"),
                                      QStringLiteral("rdoWhiteWay"),   QStringLiteral("rdoFile"),
                                      QStringLiteral("rdoXML"),        QStringLiteral("rdoXpression")};
    return names;
}

const QStringList &KestraMain::runLockedControls()
{
    static const QStringList names = [] {
        QStringList n = {QStringLiteral("chkDual"),      QStringLiteral("dblcboMeets"),
                         QStringLiteral("dblcboEvent1"), QStringLiteral("cboSession1"),
                         QStringLiteral("cboSession1x"), QStringLiteral("cboSession1y"),
                         QStringLiteral("cboSession1z"), QStringLiteral("dblcboEvent2"),
                         QStringLiteral("cboSession2"),  QStringLiteral("cboSession2x"),
                         QStringLiteral("cboSession2y"), QStringLiteral("cboSession2z"),
                         QStringLiteral("dxbtnSetupUnits"), QStringLiteral("dxbtnLocateServer"),
                         QStringLiteral("btnClear"),     QStringLiteral("btnShowTest"),
                         QStringLiteral("chkEventTest")};
        n << targetButtons() << QStringLiteral("chkNCAA");
        return n;
    }();
    return names;
}

QStringList KestraMain::sessionBoxes(int side)
{
    const QString stem = QStringLiteral("cboSession%1").arg(side);
    return {stem, stem + QLatin1Char('x'), stem + QLatin1Char('y'), stem + QLatin1Char('z')};
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

    LostConnectionHandler::Hooks lost;
    lost.stopTimers = [this] {
        stopAllTimers();
        if (m_hooks.stopResultsTimer)
            m_hooks.stopResultsTimer();
    };
    lost.serverName = [this] { return currentServerName(); };
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
    wireHandlers();
}

KestraMain::~KestraMain()
{
    stopAllTimers();
    m_listeners->stop();
    // Details before their masters, and every cursor before the store goes.
    m_gymnasts.reset();
    m_rotations.reset();
    m_sessions.reset();
    m_meets.reset();
    m_eventDisp1.reset();
    m_eventDisp2.reset();
    m_gyms.reset();
    m_levelChk.reset();
    m_host.reset();
}

// ---------------------------------------------------------------- controls

void KestraMain::buildControls()
{
    auto add = [this](const QString &name, const QString &text, const char *kind, const char *group, int row,
                      int column) -> LogicalControl & {
        LogicalControl &control = m_controls.add(name, text);
        control.setProperty(QStringLiteral("kind"), QString::fromLatin1(kind));
        control.setProperty(QStringLiteral("group"), QString::fromLatin1(group));
        control.setProperty(QStringLiteral("row"), row);
        control.setProperty(QStringLiteral("column"), column);
        return control;
    };
    const auto s = [](const char *text) { return QString::fromUtf8(text); };

    add(s("dxbtnDisplayResults"), s("Results"), "button", "ribbon", 0, 0);
    add(s("dxbtnAbout"), s("About Kestra"), "button", "ribbon", 0, 1);
    add(s("dxbtnSetupUnits"), s("Setup"), "button", "ribbon", 0, 2);
    add(s("dxbtnLocateServer"), s("Manage Servers"), "button", "ribbon", 0, 3);
    add(s("dblcboMeets"), QString(), "lookup", "ribbon", 0, 4)
        .setProperty(s("caption"), s("Select a Meet"));

    add(s("btnScoreStart"), s("Start"), "button", "run", 0, 0);
    add(s("btnScoreStop"), s("Stop"), "button", "run", 0, 0).setVisible(false);
    LogicalControl &status = add(s("grpStatus"), s("Stopped"), "status", "run", 0, 1);
    status.setColor(ColorRed);
    status.setProperty(s("caption"), s("Kestra is:"));
    add(s("chkPause"), s("Pause Scoreboard Display"), "check", "run", 1, 0);
    add(s("btnClear"), s("Clear Events"), "button", "run", 2, 0);
    add(s("btnShowTest"), s("Show Sample"), "button", "run", 2, 1);
    add(s("Button1"), s("Output Status"), "button", "run", 3, 0);

    add(s("chkDual"), s("Enable dual-session display"), "check", "options", 0, 0);
    add(s("chkNCAA"), s("NCAA Mode"), "check", "options", 1, 0);
    add(s("rgrpRotation"), QString(), "radiogroup", "options", 2, 0)
        .setProperty(s("caption"), s("NCAA Rotation"));
    m_controls(s("rgrpRotation")).setProperty(s("columns"), 0);
    add(s("chkEventTest"), s("Event Display Test Mode"), "check", "options", 3, 0);
    add(s("chkDebugIO"), s("Debug IO Output?"), "check", "options", 4, 0);

    const QStringList captions = {s("Daktronics"), s("Barco"),    s("White Way"),
                                  s("File Output"), s("XML File"), s("Xpression")};
    for (int i = 0; i < targetButtons().size(); ++i) {
        LogicalControl &radio = add(targetButtons()[i], captions[i], "radio", "target", i, 0);
        radio.setProperty(s("caption"), s("Jumbotron Type"));
    }
    m_controls(s("rdoDaktronics")).setChecked(true);
    add(s("btnSelectFile"), s("Select File"), "button", "file", 0, 0);
    add(s("lblFileName"), QString(), "label", "file", 1, 0);
    add(s("lblStatus"), QString(), "label", "file", 2, 0);
    add(s("chkSTXETX"), s("Include STX/ETX characters?"), "check", "file", 3, 0);

    for (int side = 1; side <= 2; ++side) {
        const QByteArray selection = "column" + QByteArray::number(side);
        const QByteArray events = "events" + QByteArray::number(side);
        LogicalControl &lookup = add(QStringLiteral("dblcboEvent%1").arg(side), QString(), "lookup",
                                     selection.constData(), 0, 0);
        lookup.setProperty(s("tag"), side);
        const QStringList boxes = sessionBoxes(side);
        add(boxes[0], QString(), "combo", selection.constData(), 1, 0);
        add(QStringLiteral("lblMust%1").arg(side), s(side == 1 ? "(Optional)" : "(Required)"), "label",
            selection.constData(), 1, 1);
        add(QStringLiteral("lblAdditional%1").arg(side), s("-------- Additional --------"), "label",
            selection.constData(), 2, 0);
        for (int k = 1; k < 4; ++k)
            add(boxes[k], QString(), "combo", selection.constData(), 2 + k, 0);
        add(s(side == 1 ? "Label11" : "lblOptional"), s("-------- (Optional) --------"), "label",
            selection.constData(), 3, 1);

        LogicalControl &group =
            add(QStringLiteral("grpStatus%1").arg(side), s("Generator Status"), "group", events.constData(), 0, 0);
        group.setProperty(s("bevelRows"), 6);
        for (int i = 1; i <= 6; ++i) {
            add(cell("lblEvent", i, side), QString(), "label", events.constData(), i, 0);
            LogicalControl &tick = add(cell("chkEvent", i, side), QString(), "check", events.constData(), i, 1);
            tick.setChecked(true);
            tick.setProperty(s("heading"), s("Display"));
            LogicalControl &pause = add(cell("chkPause", i, side), QString(), "check", events.constData(), i, 2);
            pause.setProperty(s("heading"), s("Pause"));
            pause.setVisible(false);
            if (i == 1)
                pause.setProperty(s("hint"), s("Check the box to pause display of scores for this event"));
            const char *stems[] = {"EditNum", "EditScore", "EditWait"};
            const char *headings[] = {"Num", "Score", "Waiting"};
            for (int k = 0; k < 3; ++k) {
                LogicalControl &edit = add(cell(stems[k], i, side), QString(), "edit", events.constData(), i, 3 + k);
                edit.setProperty(s("heading"), s(headings[k]));
                edit.setProperty(s("readOnly"), true);
            }
        }
    }
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
    on("dblcboMeets", [this] { meetSelectorClicked(); });
    on("dblcboEvent1", [this] { eventSelectorClicked(1); });
    on("dblcboEvent2", [this] { eventSelectorClicked(2); });
    on("chkDual", [this] { chkDualClick(); });
    on("chkNCAA", [this] { chkDualClick(); });
    for (const QString &name : targetButtons())
        m_controls(name).setClickHandler(guarded([this, name] { targetClicked(name); }));
    for (int side = 1; side <= 2; ++side) {
        const QStringList boxes = sessionBoxes(side);
        m_controls(boxes[0]).setClickHandler(guarded([this, box = boxes[0]] {
            syncSessionBox(box);
            cboSession1PropertiesChange();
        }));
        for (int k = 1; k < 4; ++k)
            m_controls(boxes[k]).setClickHandler([this, box = boxes[k]] { syncSessionBox(box); });
    }
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
    openTables();
    fillLookups();
    selectLastMeet();
    m_settings.readAtShow(m_kestraKey);
    applyOutputSettings();
    m_listeners->start();
    chkDualClick();
}

void KestraMain::FormClose()
{
    m_timers[0].stop();
    m_timers[2].stop();
    closeSelectionTables();
    m_gymnasts.reset();

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

void KestraMain::btnScoreStartClick()
{
    {
        std::unique_ptr<TableCursor> apps = store().openTable(QStringLiteral("ScoreApps"));
        if (!apps->locate(QStringLiteral("AppID"), {4}))
            store().insertRow(QStringLiteral("ScoreApps"),
                              {{QStringLiteral("AppID"), 4}, {QStringLiteral("AppName"), QStringLiteral("Kestra")}});
        apps->close();
    }
    if (checked(QStringLiteral("rdoXpression")) && m_hooks.connectMySql)
        m_hooks.connectMySql(m_settings);

    for (TableCursor *cursor : {m_meets.get(), m_sessions.get(), m_eventDisp1.get(), m_eventDisp2.get()}) {
        if (cursor)
            cursor->refresh();
    }
    fillLookups();

    m_eventCount = {numEvents(1), 0};
    m_poll->resetTeams(m_eventCount[0], m_eventCount[1]);
    const QString session1 = c(QStringLiteral("cboSession1")).text();
    if (isDual()) {
        const QString session2 = c(QStringLiteral("cboSession2")).text();
        if (session1.isEmpty())
            return void(validationFails(kSessionRequiredDual, QStringLiteral("cboSession1")));
        if (session2.isEmpty())
            return void(validationFails(kSessionRequiredDual, QStringLiteral("cboSession2")));
        const auto eventId = [](TableCursor *cursor) {
            return cursor && cursor->hasRow() ? cursor->value(QStringLiteral("EventID")) : QVariant();
        };
        if (session1 == session2 && eventId(m_eventDisp1.get()) == eventId(m_eventDisp2.get()))
            return void(validationFails(kSessionsMustDiffer, QStringLiteral("cboSession1")));
        m_eventCount[1] = numEvents(2);
        m_poll->resetTeams(m_eventCount[0], m_eventCount[1]);
    }
    if (checked(QStringLiteral("chkNCAA")) && session1.isEmpty())
        return void(validationFails(kSessionRequiredNcaa, QStringLiteral("cboSession1")));

    ClearGeneratorStatus(1);
    ClearGeneratorStatus(2);
    m_gymnasts = store().openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Num")));

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
    if (checked(QStringLiteral("chkNCAA"))) {
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
    m_gymnasts.reset();
    c(QStringLiteral("btnScoreStop")).setVisible(false);
    c(QStringLiteral("btnScoreStart")).setVisible(true);
    setStatus(QStringLiteral("Stopped"), ColorRed);
    setState(RunState::Stopped);
    stopAllTimers();

    const bool dual = isDual();
    const QStringList secondColumn = QStringList{QStringLiteral("dblcboEvent2")} + sessionBoxes(2);
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
    if (m_hooks.closeResults && !m_hooks.closeResults()) {
        PromptMessage message;
        message.caption = QStringLiteral("Open Window Warning");
        message.text = QStringLiteral("All windows must be closed before the server can be changed.\n\n"
                                      "Please save any changes and close any open windows and then try again.");
        message.icon = PromptIcon::Warning;
        m_prompt.ask(message);
        return;
    }
    closeSelectionTables();
    if (!m_connection.changeServer()) {
        emit quitRequested();
        return;
    }
    UpdateTitle();
    openTables();
    fillLookups();
    if (m_host && m_host->hasRow()) {
        selectLastMeet();
        dblcboEvent1Change(1);
        dblcboEvent1Change(2);
    }
}

void KestraMain::dxbtnDisplayResultsClick()
{
    if (m_hooks.showResults)
        m_hooks.showResults();
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
        c(cell("EditNum", i, side)).setText(QString());
        c(cell("EditScore", i, side)).setText(QString());
        c(cell("EditWait", i, side)).setText(QString());
    }
}

void KestraMain::UpdateTitle()
{
    const QString title = QStringLiteral("Kestra v") + QString::fromLatin1(version::productVersion) +
                          QStringLiteral(" - Jumbotron Display Generator") + QStringLiteral(", Server: ") +
                          currentServerName();
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

// ---------------------------------------------------------------- failures

void KestraMain::handleException(std::exception_ptr error)
{
    // The box of one failure keeps the event loop running, and with it the
    // timers: a poll that fails on every tick would stack box upon box. While
    // one is up, further failures go to the log; a lost connection still
    // goes through, since it must end in the restart.
    if (m_reportingFailure > 0 && !isConnectionLost(error)) {
        qCWarning(lcMain).noquote() << "while a failure is being shown:" << describeFailure(error);
        return;
    }
    m_lastError = describeFailure(error);
    ++m_reportingFailure;
    const auto done = qScopeGuard([this] { --m_reportingFailure; });
    if (m_hooks.exceptionHandler)
        m_hooks.exceptionHandler(error);
    else
        defaultExceptionHandler(error);
}

void KestraMain::defaultExceptionHandler(std::exception_ptr error)
{
    m_lostConnection->HandleApplicationException(error);
}

// ---------------------------------------------------------------- selection

TableCursor *KestraMain::table(const QString &name)
{
    const std::pair<const char *, TableCursor *> tables[] = {
        {"Meets", m_meets.get()},       {"EventDisp1", m_eventDisp1.get()}, {"EventDisp2", m_eventDisp2.get()},
        {"Sessions", m_sessions.get()}, {"Rotations", m_rotations.get()},   {"Host", m_host.get()},
        {"Gyms", m_gyms.get()},         {"LevelChk", m_levelChk.get()},     {"Gymnasts", m_gymnasts.get()},
    };
    for (const auto &[tableName, cursor] : tables) {
        if (name == QLatin1String(tableName))
            return cursor && cursor->isOpen() ? cursor : nullptr;
    }
    return nullptr;
}

MeetStore &KestraMain::store()
{
    return m_connection.store();
}

void KestraMain::openTables()
{
    MeetStore &db = store();
    const QString events = QStringLiteral("Events");
    m_eventDisp1 = db.openTable(events, CursorOptions().orderBy(QStringLiteral("EventID")));
    m_eventDisp2 = db.openTable(events, CursorOptions().orderBy(QStringLiteral("EventID")));
    // A detail needs its master open first: Meets comes before Sessions, and
    // Sessions before Rotations.
    m_meets = db.openTable(QStringLiteral("Meets"), CursorOptions().orderBy(QStringLiteral("MeetID")));
    m_sessions = db.openTable(QStringLiteral("Sessions"), CursorOptions()
                                                              .orderBy(QStringLiteral("MeetID;Session"))
                                                              .detailOf(m_meets.get(), QStringLiteral("MeetID")));
    m_gyms = db.openTable(QStringLiteral("Gyms"));
    m_levelChk = db.openTable(QStringLiteral("Levels"), CursorOptions().orderBy(QStringLiteral("EventID;Level")));
    m_rotations = db.openTable(QStringLiteral("Rotations"),
                               CursorOptions()
                                   .orderBy(QStringLiteral("RotationID"))
                                   .detailOf(m_sessions.get(), QStringLiteral("RotationID")));
    m_host = db.openTable(QStringLiteral("Host"));
}

void KestraMain::closeSelectionTables()
{
    // Rotations follows Sessions, so it goes and comes back with it.
    m_rotations.reset();
    m_meets.reset();
    m_host.reset();
    m_gyms.reset();
    m_levelChk.reset();
    m_eventDisp1.reset();
    m_eventDisp2.reset();
    m_sessions.reset();
}

void KestraMain::fillLookups()
{
    const auto fill = [this](const QString &lookupName, const QString &table, const QString &key,
                             const QString &shown) {
        std::unique_ptr<TableCursor> cursor = store().openTable(table, CursorOptions().orderBy(key));
        QStringList items;
        QVariantList keys;
        for (cursor->first(); !cursor->eof(); cursor->next()) {
            if (!cursor->hasRow())
                break;
            items << cursor->value(shown).toString();
            keys << cursor->value(key);
        }
        LogicalControl &lookup = c(lookupName);
        lookup.setItems(items);
        lookup.setProperty(QStringLiteral("keys"), keys);
        setLookupKey(lookup, lookup.property(QStringLiteral("key")));
    };
    fill(QStringLiteral("dblcboMeets"), QStringLiteral("Meets"), QStringLiteral("MeetID"), QStringLiteral("Name"));
    fill(QStringLiteral("dblcboEvent1"), QStringLiteral("Events"), QStringLiteral("EventID"), QStringLiteral("Group"));
    fill(QStringLiteral("dblcboEvent2"), QStringLiteral("Events"), QStringLiteral("EventID"), QStringLiteral("Group"));
}

void KestraMain::setLookupKey(LogicalControl &lookup, const QVariant &key)
{
    lookup.setProperty(QStringLiteral("key"), key);
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    int index = -1;
    if (!key.isNull()) {
        for (int i = 0; i < keys.size(); ++i) {
            if (keys[i].toLongLong() == key.toLongLong()) {
                index = i;
                break;
            }
        }
    }
    lookup.setCurrentIndex(index);
}

void KestraMain::selectLastMeet()
{
    if (!m_host || !m_host->hasRow() || !m_meets)
        return;
    m_meets->locate(QStringLiteral("MeetID"), {m_host->value(QStringLiteral("LastMeet"))});
    setLookupKey(c(QStringLiteral("dblcboMeets")),
                 m_meets->hasRow() ? m_meets->value(QStringLiteral("MeetID")) : QVariant());
    dblcboMeetsChange();
}

void KestraMain::meetSelectorClicked()
{
    if (followLookup(c(QStringLiteral("dblcboMeets")), m_meets.get(), QStringLiteral("MeetID")))
        dblcboMeetsChange();
}

void KestraMain::eventSelectorClicked(int side)
{
    TableCursor *cursor = side == 1 ? m_eventDisp1.get() : m_eventDisp2.get();
    if (followLookup(c(QStringLiteral("dblcboEvent%1").arg(side)), cursor, QStringLiteral("EventID")))
        dblcboEvent1Change(side);
}

void KestraMain::dblcboMeetsChange()
{
    if (m_meets && m_meets->hasRow()) {
        const QVariant defaultEvent = m_meets->value(QStringLiteral("Def_EventID"));
        for (int side = 1; side <= 2; ++side) {
            TableCursor *cursor = side == 1 ? m_eventDisp1.get() : m_eventDisp2.get();
            if (!cursor || defaultEvent.isNull())
                continue;
            cursor->locate(QStringLiteral("EventID"), {defaultEvent});
            LogicalControl &lookup = c(QStringLiteral("dblcboEvent%1").arg(side));
            const QVariant before = lookup.property(QStringLiteral("key"));
            setLookupKey(lookup, defaultEvent);
            if (before.isNull() || before.toLongLong() != defaultEvent.toLongLong())
                dblcboEvent1Change(side);
        }
        if (m_hooks.meetChanged)
            m_hooks.meetChanged(m_meets->value(QStringLiteral("MeetID")).toInt());
    }
    RebuildSessionList();
}

void KestraMain::RebuildSessionList()
{
    const QStringList boxes = sessionBoxes(1) + sessionBoxes(2);
    for (const QString &box : boxes) {
        c(box).setText(QString());
        c(box).setCurrentIndex(-1);
        m_sessionBoxIndex.insert(box, -1);
    }
    m_memSessions.clear();
    if (m_sessions) {
        for (m_sessions->first(); !m_sessions->eof(); m_sessions->next()) {
            if (!m_sessions->hasRow())
                break;
            m_memSessions.append({m_sessions->value(QStringLiteral("Session")).toString(),
                                  m_sessions->value(QStringLiteral("Desc")).toString(),
                                  m_sessions->value(QStringLiteral("RotationID")).toInt()});
        }
    }
    QStringList keys;
    QStringList descriptions;
    for (const SessionRow &row : std::as_const(m_memSessions)) {
        keys << row.Session;
        descriptions << row.Desc;
    }
    for (const QString &box : boxes) {
        c(box).setItems(keys);
        c(box).setProperty(QStringLiteral("descriptions"), descriptions);
    }
    cboSession1PropertiesChange();
}

void KestraMain::syncSessionBox(const QString &name)
{
    LogicalControl &box = c(name);
    const int seen = m_sessionBoxIndex.value(name, -1);
    const int index = box.currentIndex();
    if (index >= 0 && index != seen && index < box.items().size())
        box.setText(box.items()[index]); // chosen from the list
    else
        box.setCurrentIndex(box.items().indexOf(box.text())); // typed or emptied
    m_sessionBoxIndex.insert(name, box.currentIndex());
}

void KestraMain::cboSession1PropertiesChange()
{
    if (!m_sessions)
        return;
    const auto byesFor = [this](const QString &session) {
        bool found = false;
        if (!session.isEmpty() && m_meets && m_meets->hasRow())
            found = m_sessions->locate(QStringLiteral("MeetID;Session"),
                                       {m_meets->value(QStringLiteral("MeetID")), session});
        if (session.isEmpty())
            m_sessions->first();
        Q_UNUSED(found); // a session not found leaves the cursor where it was
        return m_rotations && m_rotations->hasRow() ? m_rotations->value(QStringLiteral("NumByes")).toInt() : 0;
    };
    int rotations = numEvents(1) + byesFor(c(QStringLiteral("cboSession1")).text());
    if (isDual()) {
        const int second = numEvents(2) + byesFor(c(QStringLiteral("cboSession2")).text());
        if (second > rotations)
            rotations = second;
    }
    // A rotation has at most nine squads; a broken Events or Rotations row
    // must not ask for thousands of buttons, nor for fewer than none.
    if (rotations < 0 || rotations > MaxRotations) {
        qCWarning(lcMain) << "rotation count" << rotations << "out of range; using" << std::clamp(rotations, 0, MaxRotations);
        rotations = std::clamp(rotations, 0, MaxRotations);
    }
    LogicalControl &group = c(QStringLiteral("rgrpRotation"));
    if (rotations == group.property(QStringLiteral("columns")).toInt())
        return;
    QStringList items;
    for (int i = 1; i <= rotations; ++i)
        items << QString::number(i);
    group.setItems({});
    group.setProperty(QStringLiteral("columns"), rotations);
    group.setItems(items);
    group.setCurrentIndex(items.isEmpty() ? -1 : 0);
}

void KestraMain::dblcboEvent1Change(int side)
{
    TableCursor *cursor = side == 1 ? m_eventDisp1.get() : m_eventDisp2.get();
    const int count = numEvents(side);
    int lastRow = 0;
    for (int i = 1; i <= 6; ++i) {
        const bool present = i <= count;
        if (present) {
            c(cell("lblEvent", i, side)).setText(cursor->value(QStringLiteral("Event%1").arg(i)).toString());
            lastRow = i;
        }
        for (const char *stem : {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"})
            c(cell(stem, i, side)).setVisible(present);
    }
    if (lastRow > 0)
        c(QStringLiteral("grpStatus%1").arg(side)).setProperty(QStringLiteral("bevelRows"), lastRow);
}

void KestraMain::chkDualClick()
{
    const bool dual = isDual();
    QStringList column2 = {QStringLiteral("grpStatus2"), QStringLiteral("lblMust2"), QStringLiteral("lblOptional"),
                           QStringLiteral("lblAdditional2"), QStringLiteral("dblcboEvent2")};
    column2 << sessionBoxes(2);
    for (int i = 1; i <= 6; ++i) {
        for (const char *stem : {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"})
            column2 << cell(stem, i, 2);
    }
    for (const QString &name : std::as_const(column2))
        c(name).setEnabled(dual);
    const bool ncaa = checked(QStringLiteral("chkNCAA"));
    c(QStringLiteral("rgrpRotation")).setEnabled(ncaa);
    c(QStringLiteral("lblMust1")).setText(dual || ncaa ? QStringLiteral("(Required)") : QStringLiteral("(Optional)"));
    if (m_sessions && m_sessions->isOpen())
        cboSession1PropertiesChange();
}

// ---------------------------------------------------------------- operator API

bool KestraMain::operate(const QString &name, const std::function<void(LogicalControl &)> &action)
{
    LogicalControl *control = m_controls.find(name);
    if (!control) {
        m_lastError = QStringLiteral("There is no control named %1.").arg(name);
        return false;
    }
    if (!control->isEnabled()) {
        m_lastError = QStringLiteral("%1 cannot be changed now.").arg(name);
        return false;
    }
    action(*control);
    return true;
}

bool KestraMain::selectMeet(int meetId)
{
    LogicalControl &lookup = c(QStringLiteral("dblcboMeets"));
    const int index = lookup.property(QStringLiteral("keys")).toList().indexOf(QVariant(meetId));
    if (index < 0) {
        m_lastError = QStringLiteral("There is no meet with MeetID %1.").arg(meetId);
        return false;
    }
    return operate(lookup.name(), [index](LogicalControl &control) { control.operatorSelect(index); });
}

bool KestraMain::selectEventGroup(int side, int eventId)
{
    if (side != 1 && side != 2) {
        m_lastError = QStringLiteral("The session column must be 1 or 2, not %1.").arg(side);
        return false;
    }
    LogicalControl &lookup = c(QStringLiteral("dblcboEvent%1").arg(side));
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    int index = -1;
    for (int i = 0; i < keys.size(); ++i) {
        if (keys[i].toLongLong() == eventId)
            index = i;
    }
    if (index < 0) {
        m_lastError = QStringLiteral("There is no event group with EventID %1.").arg(eventId);
        return false;
    }
    return operate(lookup.name(), [index](LogicalControl &control) { control.operatorSelect(index); });
}

bool KestraMain::setSessions(int side, const QStringList &sessions)
{
    if (side != 1 && side != 2) {
        m_lastError = QStringLiteral("The session column must be 1 or 2, not %1.").arg(side);
        return false;
    }
    if (sessions.size() > 4) {
        m_lastError = QStringLiteral("At most four sessions can be followed in one column, not %1.")
                          .arg(sessions.size());
        return false;
    }
    const QStringList boxes = sessionBoxes(side);
    for (const QString &session : sessions) {
        if (!c(boxes[0]).items().contains(session)) {
            m_lastError = QStringLiteral("Session \"%1\" is not a session of the selected meet.").arg(session);
            return false;
        }
    }
    for (const QString &box : boxes) {
        if (!c(box).isEnabled()) {
            m_lastError = QStringLiteral("%1 cannot be changed now.").arg(box);
            return false;
        }
    }
    // The additional boxes first, so the primary box's change sees them.
    for (int k = 3; k >= 0; --k)
        c(boxes[k]).operatorSetText(sessions.value(k));
    return true;
}

bool KestraMain::setTickedEvents(int side, const QList<int> &events)
{
    if (side != 1 && side != 2) {
        m_lastError = QStringLiteral("The session column must be 1 or 2, not %1.").arg(side);
        return false;
    }
    for (int event : events) {
        if (event < 1 || event > 6) {
            m_lastError = QStringLiteral("Event numbers run from 1 to 6, not %1.").arg(event);
            return false;
        }
    }
    for (int i = 1; i <= 6; ++i) {
        if (!c(cell("chkEvent", i, side)).isEnabled()) {
            m_lastError = QStringLiteral("%1 cannot be changed now.").arg(cell("chkEvent", i, side));
            return false;
        }
    }
    for (int i = 1; i <= 6; ++i) {
        LogicalControl &box = c(cell("chkEvent", i, side));
        if (box.isChecked() != events.contains(i))
            box.operatorSetChecked(events.contains(i));
    }
    return true;
}

bool KestraMain::setEventPaused(int eventNumber, int side, bool paused)
{
    if (eventNumber < 1 || eventNumber > 6 || (side != 1 && side != 2)) {
        m_lastError = QStringLiteral("There is no event %1 in session column %2.").arg(eventNumber).arg(side);
        return false;
    }
    return operate(cell("chkPause", eventNumber, side),
                   [paused](LogicalControl &box) { box.operatorSetChecked(paused); });
}

bool KestraMain::setDual(bool dual)
{
    if (isDual() == dual)
        return true;
    return operate(QStringLiteral("chkDual"), [dual](LogicalControl &box) { box.operatorSetChecked(dual); });
}

bool KestraMain::setNcaa(bool ncaa)
{
    if (checked(QStringLiteral("chkNCAA")) == ncaa)
        return true;
    return operate(QStringLiteral("chkNCAA"), [ncaa](LogicalControl &box) { box.operatorSetChecked(ncaa); });
}

bool KestraMain::setRotation(int rotation)
{
    LogicalControl &group = c(QStringLiteral("rgrpRotation"));
    if (rotation < 1 || rotation > group.items().size()) {
        m_lastError = QStringLiteral("Rotation %1 is not offered; there are %2.").arg(rotation).arg(group.items().size());
        return false;
    }
    return operate(group.name(), [rotation](LogicalControl &control) { control.operatorSelect(rotation - 1); });
}

bool KestraMain::selectTarget(OutputTarget target)
{
    const int index = int(target) - int(OutputTarget::Daktronics);
    if (index < 0 || index >= targetButtons().size()) {
        m_lastError = QStringLiteral("No display target was named.");
        return false;
    }
    return operate(targetButtons()[index], [](LogicalControl &radio) { radio.operatorSetChecked(true); });
}

bool KestraMain::setPaused(bool paused)
{
    if (checked(QStringLiteral("chkPause")) == paused)
        return true;
    return operate(QStringLiteral("chkPause"), [paused](LogicalControl &box) { box.operatorSetChecked(paused); });
}

OutputTarget KestraMain::checkedTarget() const
{
    for (int i = 0; i < targetButtons().size(); ++i) {
        if (checked(targetButtons()[i]))
            return OutputTarget(int(OutputTarget::Daktronics) + i);
    }
    return OutputTarget::None;
}

// ---------------------------------------------------------------- context

int KestraMain::numEvents(int side) const
{
    const TableCursor *cursor = side == 1 ? m_eventDisp1.get() : side == 2 ? m_eventDisp2.get() : nullptr;
    if (!cursor || !cursor->isOpen() || !cursor->hasRow())
        return 0;
    return cursor->value(QStringLiteral("NumEvents")).toInt();
}

QString KestraMain::eventTitle(int side, int eventNumber) const
{
    const TableCursor *cursor = side == 1 ? m_eventDisp1.get() : side == 2 ? m_eventDisp2.get() : nullptr;
    if (!cursor || !cursor->isOpen() || !cursor->hasRow() || eventNumber < 1 || eventNumber > 6)
        return QString();
    return cursor->value(QStringLiteral("Event%1").arg(eventNumber)).toString();
}

bool KestraMain::isEventTicked(int eventNumber, int side) const
{
    const LogicalControl *box = m_controls.find(cell("chkEvent", eventNumber, side));
    return box && box->isChecked();
}

bool KestraMain::isDual() const
{
    return checked(QStringLiteral("chkDual"));
}

DisplayWriter *KestraMain::checkedWriter() const
{
    for (const QString &name : targetButtons()) {
        if (checked(name))
            return m_writers.find(name);
    }
    return nullptr;
}

namespace {
bool meetField(const TableCursor *meets, const char *field, const std::function<bool(const QVariant &)> &test)
{
    if (!meets || !meets->isOpen() || !meets->hasRow())
        return false;
    return test(meets->value(QString::fromLatin1(field)));
}
} // namespace

bool KestraMain::MeetsUseDBonus() const
{
    return meetField(m_meets.get(), "UseDBonus", [](const QVariant &v) { return v.toBool(); });
}

bool KestraMain::MeetsUseJNBonus() const
{
    return meetField(m_meets.get(), "UseJNBonus", [](const QVariant &v) { return v.toBool(); });
}

bool KestraMain::MeetsScoreMethod() const
{
    return meetField(m_meets.get(), "ScoreMethod", [](const QVariant &v) { return v.toInt() == 1; });
}

} // namespace kestra
