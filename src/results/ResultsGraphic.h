#pragma once

#include "results/PageCycle.h"
#include "support/DataRows.h"
#include "support/LogicalControl.h"
#include "support/OzkcxCheckedCombo.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <map>
#include <memory>

namespace kestra {

class LocalCopies;
class PageBuilds;
class ResultsContext;

// The logic of the results window, "Display Results": the operator composes
// a queue of pages, each one line of bracketed fields, and the page cycle
// walks it on the leader pages and the NCAA matrix of the display block. Every
// control is a LogicalControl named as the window names it, or a checked
// list (chkcboSession, chkcboLevels, chkcboAges, chkcboGyms, chkcboTeamID);
// the widget only draws them.
class ResultsGraphic : public QObject {
    Q_OBJECT
public:
    explicit ResultsGraphic(ResultsContext &context, QObject *parent = nullptr);
    ~ResultsGraphic() override;

    ControlSet &controls() { return m_controls; }
    LogicalControl &operator()(const QString &name) const { return m_controls(name); }
    OzkcxCheckedCombo &checkedList(const QString &name) const;
    QStringList checkedListNames() const;
    PageCycle &cycle() { return *m_cycle; }
    const PageCycle &cycle() const { return *m_cycle; }

    // Creation: the registry values, the meet lists on the main window's
    // meet, the event group of that meet, the checked lists, the copies.
    void FormCreate();
    // The main window's meet changed.
    void ApplyMeet(int meetID);
    // btnClose: Clear first, then the window goes (closeRequested). Refused
    // while the cycle runs, as the button is disabled then.
    bool btnCloseClick();
    bool isClosed() const { return m_closed; }

    // --- The queue, as lstQueue holds it.
    const QStringList &queue() const;
    QSet<int> selectedLines() const { return m_selected; }
    // The operator's selection of lines in the list.
    void setSelectedLines(const QSet<int> &lines);
    // Appends lines as they stand (a pages file of the run without windows).
    void appendLines(const QStringList &lines);

    // --- Handlers, by the names the window gives them.
    bool ValidatePage();
    void btnAddClick();
    void btnAddEventClick();
    void btnRemoveClick();
    void sbtnUpClick();
    void sbtnDownClick();
    void btnStartClick();
    void btnStopClick();
    void btnClearClick();
    void ReloadLevels();
    void ReloadTeamIDs();

    // --- What the line composers and the page builds read.
    // The line btnAdd would add now, for the current cboEvents item.
    QString composeLine();
    // The birth-date bounds of the checked age groups: upper, lower.
    std::pair<QString, QString> AgeRangeDates();
    int meetId(int which) const; // 1..4, -1 when unset
    QVariant currentEvents(const QString &field) const;
    EventGroupHeads headsOf(int eventGroup) const;
    QString hostTieBreak() const;
    int nameFormat() const;

    // Results come from here; none by default.
    void setBuilds(std::unique_ptr<PageBuilds> builds);
    LocalCopies &copies() { return *m_copies; }

signals:
    void closeRequested();
    void queueChanged();

private:
    void buildControls();
    void wireHandlers();
    LogicalControl &c(const QString &name) const { return m_controls(name); }
    bool checked(const QString &name) const { return m_controls(name).isChecked(); }
    void guard(const std::function<void()> &handler);

    void loadMeets();
    void loadEvents();
    void loadMeetDetails();
    void loadAges();
    void fillLookup(LogicalControl &lookup, const DataRows &rows, const QString &key, const QString &shown);
    void selectLookupKey(LogicalControl &lookup, const QVariant &key);
    QVariant meetValue(int which, const QString &field) const;

    void dblcboMeet1Change();
    void dblcboEventsChange();
    void cboEventsChange();
    void sessionsChanged();
    void levelsChanged();
    void rgrpDesignateClick();
    void rgrpTeamClick();
    void chkMeetClick();
    void applyEnablement();
    void spinChanged(LogicalControl &spin);
    void digitsChanged(LogicalControl &edit, int maxDigits);

    QString selectionOf(const QString &list, const QString &field, int quoteMode) const;
    QString composeEventLine();
    QString composeTeamLine();
    void addCurrentLine();
    void setQueue(const QStringList &lines);
    void updateUpDown();

    ResultsContext &m_context;
    ControlSet m_controls;
    std::map<QString, std::unique_ptr<OzkcxCheckedCombo>> m_lists;
    std::unique_ptr<LocalCopies> m_copies;
    std::unique_ptr<PageBuilds> m_builds;
    std::unique_ptr<PageCycle> m_cycle;

    DataRows m_meets, m_events, m_sessions, m_gymAttend, m_levels, m_teamIds, m_ages, m_host;
    bool m_agesFromSessions = false;
    bool m_loading = false;
    bool m_closed = false;
    QSet<int> m_selected;
};

} // namespace kestra
