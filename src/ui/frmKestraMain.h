#pragma once

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class QAction;
class QGridLayout;
class QGroupBox;

namespace kestra {

class ControlSet;
class DisplayRecord;
class LogicalControl;
class OutputStatus;
class frmOutputStatus;

// The main window as the operator sees it: one widget a logical control of
// the main window's logic, found by the control's name. The window draws the
// controls' state and forwards the operator's actions; every decision stays
// with the logic.
//
// Layout: the ribbon's commands in a menu and a tool bar, the meet selector,
// the two session columns (event group, sessions, and six event rows of
// Display and Pause boxes with the Num, Score and Waiting fields), and on the
// right the run controls, the status box and the display target. Controls
// that the layout does not name are drawn in a group of their own, so none
// is left out.
class frmKestraMain final : public QMainWindow {
    Q_OBJECT
public:
    // The controls and the block must outlive the window.
    frmKestraMain(ControlSet &controls, const DisplayRecord &record, QWidget *parent = nullptr);
    ~frmKestraMain() override;

    // The widget drawn for a control, nullptr when there is none.
    QWidget *widgetFor(const QString &name) const { return m_widgets.value(name); }
    // The names drawn outside the planned layout.
    const QStringList &unplacedControls() const { return m_unplaced; }

    // The "Output Status" window: made on the first call, then found,
    // restored and raised.
    frmOutputStatus *showOutputStatus();
    OutputStatus &outputStatus() { return *m_status; }

    // What the window does when it closes, before it goes: the logic's close.
    void setCloseHandler(std::function<void()> handler) { m_onClose = std::move(handler); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    QWidget *place(const QString &name, QWidget *parent);
    QWidget *placeLabel(const QString &name, const QString &fallback, QWidget *parent);
    QWidget *buildSelection();
    QGroupBox *buildColumn(int column);
    QWidget *buildRunPanel();
    void buildMenus();
    void addCommand(QMenu *menu, const QString &name, const QString &caption);
    void placeTheRest(QWidget *parent, QGridLayout *grid);
    QString hintOf(const QString &name, const char *property, const QString &fallback) const;

    ControlSet &m_controls;
    std::unique_ptr<OutputStatus> m_status;
    QPointer<frmOutputStatus> m_statusWindow;
    QHash<QString, QWidget *> m_widgets;
    QStringList m_unplaced;
    std::function<void()> m_onClose;
    bool m_closed = false;
};

} // namespace kestra
