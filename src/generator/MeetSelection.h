#pragma once

#include "outputs/MeetFlags.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <exception>
#include <functional>
#include <memory>

namespace kestra {

class ControlSet;
class LogicalControl;
class MeetStore;
class TableCursor;

// What the operator follows: one meet, the event group and up to four
// sessions of each session column, dual-session display, NCAA mode and the
// rotation under way. There is no separate state: the current rows of the
// table components are the selection, and the controls show it. The main
// window's logic (KestraMain) owns the lifecycle and calls in here to open,
// refresh and close the tables.
//
// Controls built here (drawing hints as KestraMain documents them):
// dblcboMeets, chkDual, chkNCAA, rgrpRotation, and per session column c the
// lookup dblcboEvent<c>, the four session boxes, their labels, grpStatus<c>
// and the six event rows lblEvent, chkEvent, chkPause, EditNum, EditScore,
// EditWait <i><c>.
class MeetSelection : public MeetFlags {
public:
    struct SessionRow {
        QString Session;
        QString Desc;
        int RotationID = 0;
    };

    // `store` gives the meet database in use (it changes with the server);
    // `guard` runs a handler and hands what it throws to the window's
    // failure handling.
    MeetSelection(ControlSet &controls, std::function<MeetStore &()> store,
                  std::function<void(const std::function<void()> &)> guard);
    ~MeetSelection() override;

    // The results window learns the meet chosen.
    void setMeetChangedHandler(std::function<void(int meetId)> handler) { m_meetChanged = std::move(handler); }

    // --- As the lifecycle uses it.
    // Opens the tables of the window in their order and fills the lookups.
    void openTables();
    void closeTables();
    // Start: the selection tables read again, so a change on the server
    // since opening reaches the run.
    void refreshForRun();
    // Host.LastMeet chosen as the operator would; nothing without a Host row.
    void selectLastMeet();
    bool hasHostRow() const;
    // Gymnasts, open only during a run.
    void openGymnasts();
    void closeGymnasts();

    // --- Selection as the operator makes it: each operates the control, so
    // the same handlers run. False, with lastError(), when the control is
    // disabled (during a run) or the value is not among its choices.
    bool selectMeet(int meetId);
    bool selectEventGroup(int side, int eventId);
    // Up to four sessions: the primary box, then the additional ones; the
    // boxes left over are emptied.
    bool setSessions(int side, const QStringList &sessions);
    // The Display boxes of one column: ticked exactly for these event numbers.
    bool setTickedEvents(int side, const QList<int> &events);
    bool setEventPaused(int eventNumber, int side, bool paused);
    bool setDual(bool dual);
    bool setNcaa(bool ncaa);
    // Rotation 1..n of rgrpRotation.
    bool setRotation(int rotation);
    const QString &lastError() const { return m_lastError; }

    // --- The window's handlers, by the names the window gives them.
    void dblcboMeetsChange();
    // The change handler of dblcboEvent1 and dblcboEvent2, told apart by side.
    void dblcboEvent1Change(int side);
    void cboSession1PropertiesChange();
    void chkDualClick();
    void RebuildSessionList();

    // --- What the rest of the program reads of the selection.
    // A table component by its name ("Meets", "EventDisp1", "EventDisp2",
    // "Sessions", "Rotations", "Host", "Gyms", "LevelChk", "Gymnasts");
    // nullptr while it is closed.
    TableCursor *table(const QString &name) const;
    int numEvents(int side) const;
    QString eventTitle(int side, int eventNumber) const;
    bool isEventTicked(int eventNumber, int side) const;
    bool isDual() const;
    bool isNcaa() const;
    // The text of the primary session box of a column.
    QString primarySession(int side) const;
    // EventID of the current row of EventDisp<side>; null without one.
    QVariant eventGroupId(int side) const;
    // The eight session boxes' source: the sessions of the selected meet.
    const QList<SessionRow> &memSessions() const { return m_memSessions; }

    bool MeetsUseDBonus() const override;
    bool MeetsUseJNBonus() const override;
    bool MeetsScoreMethod() const override;

    // "cboSession1", "cboSession1x", "cboSession1y", "cboSession1z" of a side.
    static QStringList sessionBoxes(int side);
    // The controls of session column 2 that chkDual enables.
    static QStringList secondColumnControls();
    // The most buttons rgrpRotation offers: six events and nine squads.
    static constexpr int MaxRotations = 15;

private:
    void buildControls();
    void wireHandlers();
    LogicalControl &c(const QString &name) const;
    bool checked(const QString &name) const;
    MeetStore &store() const { return m_store(); }
    TableCursor *eventDisp(int side) const;
    bool checkSide(int side);
    bool operate(const QString &name, const std::function<void(LogicalControl &)> &action);

    void fillLookups();
    void setLookupKey(LogicalControl &lookup, const QVariant &key);
    void meetSelectorClicked();
    void eventSelectorClicked(int side);
    void syncSessionBox(const QString &name);

    ControlSet &m_controls;
    std::function<MeetStore &()> m_store;
    std::function<void(const std::function<void()> &)> m_guard;
    std::function<void(int)> m_meetChanged;

    // Table components; empty while closed.
    std::unique_ptr<TableCursor> m_eventDisp1, m_eventDisp2, m_sessions, m_meets, m_gyms, m_levelChk,
        m_rotations, m_host, m_gymnasts;
    QList<SessionRow> m_memSessions;
    QHash<QString, int> m_sessionBoxIndex;
    QString m_lastError;
};

} // namespace kestra
