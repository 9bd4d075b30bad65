#pragma once

#include "outputs/DisplayRecord.h"
#include "support/LogicalControl.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <vector>

namespace kestra {

// One label of the status view: a data label mirrors a field of the block,
// raw, trailing spaces included; a caption only says what is beside it. Row
// and column place it in its group's grid.
struct StatusCell {
    QString name;
    bool isData = false;
    Field field;          // data labels only
    QString placeholder;  // data labels: shown until the first refresh; captions: the caption
    int row = 0;
    int column = 0;
    int columnSpan = 1;
};

struct StatusGroup {
    QString name;    // object name of the group box
    QString caption; // its title
    std::vector<StatusCell> cells;
};

// The logic of the "Output Status" window: a read-only mirror of the display
// block in 17 groups of labels. Its timer ticks once a second from creation;
// a tick while the window is hidden does nothing.
class OutputStatus : public QObject {
    Q_OBJECT
public:
    explicit OutputStatus(const DisplayRecord &record, QObject *parent = nullptr);

    const std::vector<StatusGroup> &groups() const { return m_groups; }
    // The labels as logical controls, found by their object names.
    ControlSet &controls() { return m_controls; }
    const ControlSet &controls() const { return m_controls; }
    int dataLabelCount() const { return m_dataCount; }
    int captionCount() const { return m_captionCount; }

    // The window tells whether it is on screen.
    void setShown(bool shown) { m_shown = shown; }
    bool isShown() const { return m_shown; }

    // The tick of Timer1: refreshes while shown.
    void Timer1Timer();
    // Sets every data label to its field's bytes as they stand.
    void refresh();

    QTimer &timer() { return m_timer; }

private:
    void build();

    const DisplayRecord &m_record;
    std::vector<StatusGroup> m_groups;
    ControlSet m_controls;
    QTimer m_timer;
    bool m_shown = false;
    int m_dataCount = 0;
    int m_captionCount = 0;
};

} // namespace kestra
