#include "ui/frmOutputStatus.h"

#include "outputs/OutputStatus.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

namespace kestra {

namespace {

// Where each group sits in the window: rows of groups, left to right.
struct Placement {
    int row;
    int column;
    int columnSpan;
};

Placement placementOf(const QString &group)
{
    auto numberIn = [&](const char *prefix) { return group.mid(qsizetype(qstrlen(prefix))).toInt(); };
    if (group.startsWith(QStringLiteral("grpEvent"))) {
        const int s = numberIn("grpEvent");
        return {(s - 1) / 3, (s - 1) % 3, 1};
    }
    if (group.startsWith(QStringLiteral("grpLeader")))
        return {2, numberIn("grpLeader") - 1, 1};
    if (group == QStringLiteral("grpNCAAMatrix"))
        return {5, 0, 2};
    if (group.startsWith(QStringLiteral("grpNCAA"))) {
        const int g = numberIn("grpNCAA");
        return {3 + (g - 1) / 3, (g - 1) % 3, 1};
    }
    return {5, 2, 1}; // Now Up
}

} // namespace

frmOutputStatus::frmOutputStatus(OutputStatus &status, QWidget *parent)
    : QDialog(parent), m_status(status)
{
    setObjectName(QStringLiteral("frmOutputStatus"));
    setWindowTitle(QStringLiteral("Output Status"));
    setModal(false);
    setWindowFlags(windowFlags() | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);

    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    auto *content = new QWidget;
    auto *grid = new QGridLayout(content);
    for (const StatusGroup &group : status.groups()) {
        auto *box = new QGroupBox(group.caption);
        box->setObjectName(group.name);
        auto *cells = new QGridLayout(box);
        cells->setHorizontalSpacing(6);
        cells->setVerticalSpacing(1);
        for (const StatusCell &cell : group.cells) {
            LogicalControl &control = status.controls()(cell.name);
            auto *label = new QLabel(control.text(), box);
            label->setObjectName(cell.name);
            label->setTextFormat(Qt::PlainText);
            if (cell.isData) {
                label->setFont(fixed);
                label->setTextInteractionFlags(Qt::TextSelectableByMouse);
                connect(&control, &LogicalControl::changed, label,
                        [label, &control] { label->setText(control.text()); });
            }
            cells->addWidget(label, cell.row, cell.column, 1, cell.columnSpan);
        }
        const Placement at = placementOf(group.name);
        grid->addWidget(box, at.row, at.column, 1, at.columnSpan, Qt::AlignTop);
    }

    auto *scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    resize(1100, 800);
}

frmOutputStatus *frmOutputStatus::showFor(OutputStatus &status, QWidget *parent)
{
    auto *window = parent ? parent->findChild<frmOutputStatus *>(QStringLiteral("frmOutputStatus"),
                                                                 Qt::FindDirectChildrenOnly)
                          : nullptr;
    if (!window)
        window = new frmOutputStatus(status, parent);
    if (window->isMinimized())
        window->showNormal();
    else
        window->show();
    window->raise();
    window->activateWindow();
    return window;
}

void frmOutputStatus::showEvent(QShowEvent *event)
{
    m_status.setShown(true);
    QDialog::showEvent(event);
}

void frmOutputStatus::hideEvent(QHideEvent *event)
{
    m_status.setShown(false);
    QDialog::hideEvent(event);
}

} // namespace kestra
