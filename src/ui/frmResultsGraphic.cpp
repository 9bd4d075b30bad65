#include "ui/frmResultsGraphic.h"

#include "results/ResultsGraphic.h"
#include "support/LogicalControl.h"
#include "ui/CheckedComboBox.h"
#include "ui/ControlBinder.h"

#include <QFontMetrics>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// A spin edit of the logic: the range is the control's, a change goes to it
// as typed text, so the logic holds the range as it does for a headless run.
QSpinBox *spin(LogicalControl &control, QWidget *parent)
{
    auto *box = new QSpinBox(parent);
    box->setRange(control.property(S("minimum")).toInt(), control.property(S("maximum")).toInt());
    box->setValue(control.property(S("value")).toInt());
    ControlBinder::bindCommon(box, control);
    QObject::connect(box, &QSpinBox::valueChanged, &control,
                     [&control](int value) { control.operatorSetText(QString::number(value)); });
    QObject::connect(&control, &LogicalControl::changed, box, [box, &control] {
        const QSignalBlocker quiet(box);
        box->setValue(control.property(S("value")).toInt());
    });
    return box;
}

} // namespace

frmResultsGraphic::frmResultsGraphic(ResultsGraphic &logic, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint),
      m_logic(logic)
{
    setObjectName(S("frmResultsGraphic"));
    setWindowTitle(S("Display Results"));
    auto *layout = new QHBoxLayout(this);
    auto *left = new QVBoxLayout;
    left->addWidget(buildMeets());
    left->addWidget(buildPage());
    left->addStretch(1);
    layout->addLayout(left);
    layout->addWidget(buildQueue(), 1);
    connect(&logic, &ResultsGraphic::queueChanged, this, &frmResultsGraphic::syncQueue);
    connect(&logic(S("lstQueue")), &LogicalControl::changed, this, &frmResultsGraphic::syncQueue);
    syncQueue();
}

QWidget *frmResultsGraphic::place(const QString &name, QWidget *parent)
{
    LogicalControl &control = m_logic(name);
    const QString kind = control.property(S("kind")).toString();
    QWidget *widget = nullptr;
    if (kind == QLatin1String("spin"))
        widget = spin(control, parent);
    else if (kind == QLatin1String("checkedlist"))
        widget = new CheckedComboBox(m_logic.checkedList(name), control, parent);
    else
        widget = ControlBinder::create(control, parent);
    m_widgets.insert(name, widget);
    return widget;
}

QWidget *frmResultsGraphic::buildMeets()
{
    auto *box = new QGroupBox(S("Meets"), this);
    box->setObjectName(S("grpMeets"));
    auto *grid = new QGridLayout(box);
    for (int m = 1; m <= 4; ++m) {
        const QString n = QString::number(m);
        grid->addWidget(m == 1 ? new QLabel(S("Meet 1"), box) : place(S("chkMeet") + n, box), m, 0);
        grid->addWidget(place(S("dblcboMeet") + n, box), m, 1);
        grid->addWidget(place(S("EditPct") + n, box), m, 2);
        grid->addWidget(new QLabel(S("%"), box), m, 3);
    }
    grid->setColumnStretch(1, 1);
    return box;
}

QWidget *frmResultsGraphic::buildPage()
{
    auto *box = new QGroupBox(S("Page"), this);
    box->setObjectName(S("grpPage"));
    auto *form = new QFormLayout(box);
    form->addRow(S("Event Group:"), place(S("dblcboEvents"), box));
    form->addRow(S("Event:"), place(S("cboEvents"), box));
    form->addRow(place(S("lblSession"), box), place(S("chkcboSession"), box));
    form->addRow(place(S("lblLevel"), box), place(S("chkcboLevels"), box));
    form->addRow(place(S("lblAges"), box), place(S("chkcboAges"), box));
    form->addRow(place(S("lblGym"), box), place(S("chkcboGyms"), box));
    form->addRow(place(S("lblTeamID"), box), place(S("chkcboTeamID"), box));
    place(S("lblSpecific"), box)->hide(); // the team list's own label says it
    auto *teams = new QHBoxLayout;
    teams->addWidget(place(S("rgrpDesignate"), box));
    teams->addWidget(place(S("rgrpTeam"), box));
    form->addRow(teams);
    form->addRow(place(S("lblCount"), box), place(S("EditCount"), box));
    form->addRow(QString(), place(S("lblCountAll"), box));
    form->addRow(place(S("lblAA"), box), place(S("EditAA"), box));
    form->addRow(place(S("lblPlaces"), box), place(S("EditPlaces"), box));
    form->addRow(place(S("lblTitle"), box), place(S("EditTitle"), box));
    form->addRow(place(S("rgrpNameFormat"), box));
    auto *checks = new QGridLayout;
    const char *boxes[] = {"chkNCAA", "chkNCAAGrid", "chkFACannot", "chk2Attempt", "chkIncExhib"};
    for (int i = 0; i < 5; ++i)
        checks->addWidget(place(S(boxes[i]), box), i / 2, i % 2);
    form->addRow(checks);
    auto *leaders = new QHBoxLayout;
    for (int k = 1; k <= 3; ++k)
        leaders->addWidget(place(S("rdoLeader%1").arg(k), box));
    form->addRow(S("Channel:"), leaders);
    return box;
}

QWidget *frmResultsGraphic::buildQueue()
{
    auto *box = new QGroupBox(S("Queue"), this);
    box->setObjectName(S("grpQueue"));
    auto *column = new QVBoxLayout(box);
    m_queue = new QListWidget(box);
    m_queue->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_queue->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    ControlBinder::bindCommon(m_queue, m_logic(S("lstQueue")));
    m_widgets.insert(S("lstQueue"), m_queue);
    connect(m_queue, &QListWidget::itemSelectionChanged, this, [this] {
        if (m_syncing)
            return;
        QSet<int> lines;
        for (QListWidgetItem *item : m_queue->selectedItems())
            lines.insert(m_queue->row(item));
        m_logic.setSelectedLines(lines);
    });
    column->addWidget(m_queue, 1);
    auto *edit = new QHBoxLayout;
    for (const char *name : {"btnAdd", "btnAddEvent", "btnRemove", "sbtnUp", "sbtnDown"})
        edit->addWidget(place(S(name), box));
    column->addLayout(edit);
    auto *run = new QHBoxLayout;
    run->addWidget(new QLabel(S("Lines:"), box));
    run->addWidget(place(S("spinLeaderLines"), box));
    run->addWidget(new QLabel(S("Seconds:"), box));
    run->addWidget(place(S("spinTime"), box));
    for (const char *name : {"btnStart", "btnStop", "btnClear", "btnClose"})
        run->addWidget(place(S(name), box));
    column->addLayout(run);
    return box;
}

void frmResultsGraphic::syncQueue()
{
    m_syncing = true;
    const QStringList &lines = m_logic.queue();
    if (m_queue->count() != lines.size()) {
        m_queue->clear();
        m_queue->addItems(lines);
    }
    for (int i = 0; i < lines.size(); ++i) {
        m_queue->item(i)->setText(lines[i]);
        m_queue->item(i)->setSelected(m_logic.selectedLines().contains(i));
    }
    m_syncing = false;
}

} // namespace kestra
