#pragma once

#include "generator/GeneratorContext.h"
#include "generator/MeetSelection.h"
#include "outputs/DebugTrace.h"
#include "results/ResultsContext.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayWriter.h"
#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"
#include "support/LogicalControl.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <array>
#include <exception>
#include <functional>
#include <memory>

namespace kestra {

class DeviceTransport;
class DisplayCycle;
class LostConnectionHandler;
class NowUpListeners;
class ResultsGraphic;
class MeetConnection;
class ScorePoll;

// The main window's logic: the generator's lifecycle (create, show, Start,
// Stop, Pause, close), its three states, the four timers, the display target
// and the working settings; what the operator follows (meet, event groups,
// sessions) is its MeetSelection. Every control of
// the window is a LogicalControl in controls(), named as the window names it;
// the widget only draws them and forwards the operator's actions, so the
// handlers below run the same with a screen, headless, or in a test.
//
// Drawing hints, as properties of each control:
//   "kind"    button, check, radio, edit, combo, lookup, label, status,
//             radiogroup, group
//   "group"   the area it belongs to: ribbon, run, options, target, file,
//             column1, column2 (the selection of a session column), events1,
//             events2 (its status box grpStatus<c> and its six event rows)
//   "row", "column"  its place in that area. The per-event controls carry
//             the event number as "row" and, as "column", 0 title, 1 Display,
//             2 Pause, 3 Num, 4 Score, 5 Waiting; their column heading is in
//             "heading". grpStatus<c> has "bevelRows", the last row shown.
//   "caption" the title drawn beside or above a control that has one of its
//             own ("Kestra is:", "Select a Meet", "NCAA Rotation").
//   "hint"    a tooltip.
// Lookups (dblcboMeets, dblcboEvent1, dblcboEvent2) list the display texts as
// items and their keys (MeetID, EventID) in the property "keys"; "key" is the
// value of the selector. Session boxes list the session keys as items, their
// descriptions in "descriptions", and hold the chosen key as their text.
// Edits shown for information only carry "readOnly".
class KestraMain : public QObject, public GeneratorContext, public ResultsContext {
    Q_OBJECT
public:
    enum class RunState { Stopped, Running, Paused };

    // The status box colours, as 0x00BBGGRR values.
    static constexpr int ColorRed = 255;
    static constexpr int ColorGreen = 65280;
    static constexpr int ColorYellow = 65535;
    static constexpr int PollInterval = 4000;
    static constexpr int RecordInterval = 2000;

    // What the save dialog of btnSelectFile is asked for; it answers the
    // chosen path, or an empty text when the operator cancels.
    struct FileRequest {
        QString defaultSuffix; // "txt" or "xml"
        QString filter;        // "Text Files|*.TXT" or "XML Files|*.XML"
        QString current;       // OutputFileName
    };

    // The windows and services around the logic. Each may stay empty: the
    // headless program has no windows, and tests attach only what they watch.
    struct Hooks {
        // Shows the setup window modally; it writes the settings when it closes.
        std::function<void()> showSetup;
        std::function<QString(const FileRequest &)> selectFile;
        std::function<void()> showOutputStatus;
        // Draws the results window over its logic, or brings it up when it
        // is drawn already; hideResults takes the drawing away before the
        // logic goes.
        std::function<void(ResultsGraphic &)> showResults;
        std::function<void()> hideResults;
        std::function<void()> showAbout;
        // The sample pages of btnShowTest.
        std::function<void()> showSample;
        // Called at every Start with Xpression checked: connects the graphics
        // system's database unless it is connected already. A failure throws
        // and reaches the exception handler; the generator stays stopped.
        std::function<void(const KestraSettings &)> connectMySql;
        std::function<void()> disconnectMySql;
        // Builds the NCAA team table at Start in NCAA mode.
        std::function<void()> loadNcaaTeams;
        // Any failure that leaves a handler. The default is the program's
        // LostConnectionHandler over this window's timers and restart.
        std::function<void(std::exception_ptr)> exceptionHandler;
    };

    // `restart` starts a new copy of the program after a lost connection; the
    // window then asks to quit (quitRequested).
    KestraMain(MeetConnection &connection, SettingsStore kestraKey, SettingsStore marlowenKey,
               OperatorPrompt &prompt, TickSource &ticks, DisplayRecord &record, DeviceTransport &transport,
               std::function<void()> restart = {}, QObject *parent = nullptr);
    ~KestraMain() override;

    Hooks &hooks() { return m_hooks; }

    // --- The lifecycle, as the executables drive it.
    // FormCreate. False when the connection was given up: the program ends
    // without showing the window, and show() does nothing.
    bool create();
    // FormShow.
    void show();
    // Start as the operator presses it. True when the generator runs (or
    // shows "Paused") afterwards; a refused Start has told the operator why.
    bool start();
    // Stop, when running.
    void stop();
    // "Show Sample" as the operator presses it, while stopped. False, with
    // lastError(), when it could not be pressed or a failure left it.
    bool showSample();
    // FormClose, once; later calls do nothing. False when the settings could
    // not be written (the reason is logged; the run's state is not lost).
    bool close();

    // The results window: made on demand, one at a time, and gone when it
    // closes. closeResults() presses its Close; false when it stays open
    // (its page cycle runs).
    ResultsGraphic &openResults();
    ResultsGraphic *results() const { return m_results.get(); }
    bool closeResults();

    // The meet, event groups, sessions and NCAA picks of the window.
    MeetSelection &selection() { return *m_selection; }
    const MeetSelection &selection() const { return *m_selection; }
    // The target button, as the operator checks it. False, with lastError(),
    // while the buttons are disabled (during a run).
    bool selectTarget(OutputTarget target);
    // The main Pause box.
    bool setPaused(bool paused);
    const QString &lastError() const { return m_lastError; }

    // --- State.
    RunState runState() const { return m_state; }
    bool isProgramClosing() const { return m_programClosing; }
    bool isCreated() const { return m_created; }
    bool isShown() const { return m_shown; }
    bool isClosed() const { return m_closed; }
    const QString &title() const { return m_title; }
    QString currentServerName() const;
    OutputTarget checkedTarget() const;
    QTimer &timer(int number);
    DisplayLines &lines() { return *m_lines; }
    ScorePoll &poll() { return *m_poll; }
    // Both now-up listeners: they listen from show() to close(), whatever the
    // generator's state. Ports may be changed before show().
    NowUpListeners &listeners() { return *m_listeners; }
    DisplayCycle &cycle() { return *m_cycle; }
    WriterRegistry &writers() { return m_writers; }
    DeviceTransport &transport() { return m_transport; }
    DebugTrace &trace() { return m_trace; }
    KestraSettings &workingSettings() { return m_settings; }
    const SettingsStore &kestraKey() const { return m_kestraKey; }
    const SettingsStore &marlowenKey() const { return m_marlowenKey; }

    // --- Handlers of the window, by the names the window gives them.
    void FormCreate();
    void FormShow();
    void FormClose();
    // The timers' ticks; a failure goes to the exception handler.
    void Timer1Timer();
    void Timer2Timer();
    void Timer3Timer();
    void Timer4Timer();
    void btnScoreStartClick();
    void btnScoreStopClick();
    void chkPauseClick();
    void rdoDaktronicsClick();
    void btnSelectFileClick();
    void dxbtnSetupUnitsClick();
    void dxbtnLocateServerClick();
    void dxbtnDisplayResultsClick();
    void dxbtnAboutClick();
    void Button1Click();
    void ClearGeneratorStatus(int side);
    void UpdateTitle();
    // The lost connection's first step: every timer of the run stops.
    void stopAllTimers();
    // Reports a failure that left a handler, through hooks().exceptionHandler
    // or the default.
    void handleException(std::exception_ptr error) override;

    // --- GeneratorContext.
    MeetStore &store() override;
    ControlSet &controls() override { return m_controls; }
    DisplayRecord &record() override { return m_record; }
    TickSource &ticks() override { return m_ticks; }
    const KestraSettings &settings() const override { return m_settings; }
    EventSlotTable &eventSlots() override { return m_slots; }
    TableCursor *table(const QString &name) override;
    int numEvents(int side) const override;
    QString eventTitle(int side, int eventNumber) const override;
    bool isEventTicked(int eventNumber, int side) const override;
    bool isDual() const override;
    int nameFormat() const override { return m_settings.NameFormat; }
    DisplayWriter *checkedWriter() const override;
    OperatorPrompt &prompt() const override { return m_prompt; }
    bool MeetsUseDBonus() const override;
    bool MeetsUseJNBonus() const override;
    bool MeetsScoreMethod() const override;

    // --- ResultsContext.
    const SettingsStore &productKey() const override { return m_marlowenKey; }
    QVariant mainMeetId() const override;
    bool mainMeetNcaaMode() const override;

    // Names of the controls Start disables, in its order (the six target
    // buttons in their order).
    static const QStringList &runLockedControls();
    static const QStringList &targetButtons();
    // Their captions, in the same order.
    static const QStringList &targetCaptions();
    // Why Start cannot run on the checked target (none checked, or one this
    // build has no writer for); empty when it can.
    QString unusableTargetReason() const;

signals:
    void titleChanged(const QString &title);
    // The application is to terminate (the connection was given up, or after
    // the restart of a lost connection).
    void quitRequested();
    void stateChanged(KestraMain::RunState state);

private:
    void buildControls();
    void wireHandlers();
    // The Xpression writer and its connection, and the sample pages.
    void wireXpressionAndSample();
    std::function<void()> guarded(std::function<void()> handler);
    LogicalControl &c(const QString &name) const { return m_controls(name); }
    bool checked(const QString &name) const { return m_controls(name).isChecked(); }
    void setStatus(const QString &text, int color);
    void setState(RunState state);

    void targetClicked(const QString &name);
    void applyTargetVisibility();
    void applyOutputSettings();
    void dropResults();
    bool validationFails(const QString &text, const QString &focus);
    bool operate(const QString &name, bool value);

    MeetConnection &m_connection;
    SettingsStore m_kestraKey;
    SettingsStore m_marlowenKey;
    OperatorPrompt &m_prompt;
    TickSource &m_ticks;
    DisplayRecord &m_record;
    DeviceTransport &m_transport;
    std::function<void()> m_restart;
    Hooks m_hooks;

    ControlSet m_controls;
    KestraSettings m_settings;
    EventSlotTable m_slots{};
    DebugTrace m_trace;
    WriterRegistry m_writers;
    std::unique_ptr<DisplayLines> m_lines;
    std::unique_ptr<ScorePoll> m_poll;
    std::unique_ptr<DisplayCycle> m_cycle;
    std::unique_ptr<LostConnectionHandler> m_lostConnection;
    std::unique_ptr<NowUpListeners> m_listeners;
    std::array<QTimer, 4> m_timers;

    std::unique_ptr<MeetSelection> m_selection;
    std::unique_ptr<ResultsGraphic> m_results;

    RunState m_state = RunState::Stopped;
    bool m_programClosing = false;
    bool m_created = false;
    bool m_shown = false;
    bool m_closed = false;
    bool m_settingsWritten = false;
    // NumEvents of each column at Start (the second only in dual display).
    std::array<int, 2> m_eventCount{};
    QString m_title;
    QString m_lastError;
};

} // namespace kestra
