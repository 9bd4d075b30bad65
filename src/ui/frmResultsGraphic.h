#pragma once

#include <QHash>
#include <QWidget>

class QListWidget;

namespace kestra {

class ResultsGraphic;

// "Display Results": the results window as the operator sees it, drawn over
// its logic. Non-modal, without a close box: Close is the way out, and it
// is the logic that decides (it refuses while the page cycle runs).
class frmResultsGraphic final : public QWidget {
    Q_OBJECT
public:
    // The logic must outlive the window.
    explicit frmResultsGraphic(ResultsGraphic &logic, QWidget *parent = nullptr);

    QWidget *widgetFor(const QString &name) const { return m_widgets.value(name); }

private:
    QWidget *place(const QString &name, QWidget *parent);
    QWidget *buildPage();
    QWidget *buildMeets();
    QWidget *buildQueue();
    void syncQueue();

    ResultsGraphic &m_logic;
    QHash<QString, QWidget *> m_widgets;
    QListWidget *m_queue = nullptr;
    bool m_syncing = false;
};

} // namespace kestra
