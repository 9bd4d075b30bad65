#include "ui/frmKestraMain.h"

#include "outputs/OutputStatus.h"
#include "support/LogicalControl.h"
#include "ui/ControlBinder.h"
#include "ui/frmOutputStatus.h"

#include <QAction>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QToolBar>
#include <QVBoxLayout>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromLatin1(text);
}

QString eventName(const char *stem, int event, int column)
{
    return S(stem) + QString::number(event) + QString::number(column);
}

// Names the window draws itself or that are no widgets at all.
bool isDrawnElsewhere(const LogicalControl &control)
{
    const QString kind = control.property(QStringLiteral("kind")).toString();
    return control.name().startsWith(QLatin1String("Timer")) || kind == QLatin1String("timer") ||
           kind == QLatin1String("table") || kind == QLatin1String("hidden");
}

} // namespace

// A title the logic gives a control ("caption", "heading"), or the window's own.
QString frmKestraMain::hintOf(const QString &name, const char *property, const QString &fallback) const
{
    const LogicalControl *control = m_controls.find(name);
    const QString text = control ? control->property(S(property)).toString() : QString();
    return text.isEmpty() ? fallback : text;
}

frmKestraMain::frmKestraMain(ControlSet &controls, const DisplayRecord &record, QWidget *parent)
    : QMainWindow(parent), m_controls(controls), m_status(std::make_unique<OutputStatus>(record))
{
    setObjectName(S("frmKestraMain"));
    setWindowTitle(S("Kestra - Jumbotron Display Generator"));

    auto *central = new QWidget(this);
    auto *layout = new QVBoxLayout(central);
    layout->addWidget(buildSelection());
    auto *body = new QHBoxLayout;
    body->addWidget(buildColumn(1), 1);
    body->addWidget(buildColumn(2), 1);
    body->addWidget(buildRunPanel());
    layout->addLayout(body, 1);

    auto *more = new QGroupBox(S("More"), central);
    more->setObjectName(S("grpMore"));
    auto *moreGrid = new QGridLayout(more);
    placeTheRest(more, moreGrid);
    if (m_unplaced.isEmpty())
        more->hide();
    layout->addWidget(more);
    setCentralWidget(central);

    buildMenus();
}

frmKestraMain::~frmKestraMain()
{
    delete m_statusWindow;
}

QWidget *frmKestraMain::place(const QString &name, QWidget *parent)
{
    if (m_widgets.contains(name))
        return m_widgets.value(name);
    LogicalControl *control = m_controls.find(name);
    if (!control)
        return nullptr;
    QWidget *widget = ControlBinder::create(*control, parent);
    m_widgets.insert(name, widget);
    return widget;
}

// A fixed caption: the control's when the logic has one, else a plain label.
QWidget *frmKestraMain::placeLabel(const QString &name, const QString &fallback, QWidget *parent)
{
    if (QWidget *widget = place(name, parent))
        return widget;
    return new QLabel(fallback, parent);
}

QWidget *frmKestraMain::buildSelection()
{
    auto *box = new QGroupBox(hintOf(S("dblcboMeets"), "caption", S("Select a Meet")));
    box->setObjectName(S("grpSelectMeet"));
    auto *row = new QHBoxLayout(box);
    if (QWidget *meets = place(S("dblcboMeets"), box)) {
        meets->setMinimumWidth(320);
        row->addWidget(meets);
    }
    row->addStretch(1);
    return box;
}

QGroupBox *frmKestraMain::buildColumn(int column)
{
    const QString c = QString::number(column);
    auto *box = new QGroupBox(S("Session Column ") + c);
    box->setObjectName(S("grpColumn") + c);
    auto *outer = new QVBoxLayout(box);

    auto *picks = new QGridLayout;
    int row = 0;
    picks->addWidget(new QLabel(S("Event Group:"), box), row, 0);
    if (QWidget *group = place(S("dblcboEvent") + c, box))
        picks->addWidget(group, row, 1, 1, 3);
    ++row;
    picks->addWidget(new QLabel(S("Session:"), box), row, 0);
    if (QWidget *session = place(S("cboSession") + c, box))
        picks->addWidget(session, row, 1);
    if (QWidget *must = place(S("lblMust") + c, box))
        picks->addWidget(must, row, 2, 1, 2);
    ++row;
    picks->addWidget(placeLabel(S("lblAdditional") + c, S("-------- Additional --------"), box), row, 0, 1, 2,
                     Qt::AlignHCenter);
    if (QWidget *optional = place(column == 1 ? S("Label11") : S("lblOptional"), box))
        picks->addWidget(optional, row, 2, 1, 2, Qt::AlignHCenter);
    ++row;
    int slot = 1;
    for (const char *suffix : {"x", "y", "z"}) {
        if (QWidget *more = place(S("cboSession") + c + S(suffix), box))
            picks->addWidget(more, row, slot);
        ++slot;
    }
    outer->addLayout(picks);

    // "Generator Status": the six event rows of this column.
    const QString statusName = S("grpStatus") + c;
    LogicalControl *statusControl = m_controls.find(statusName);
    auto *status = new QGroupBox(statusControl && !statusControl->text().isEmpty() ? statusControl->text()
                                                                                   : S("Generator Status"),
                                 box);
    if (statusControl) {
        ControlBinder::bindCommon(status, *statusControl);
        m_widgets.insert(statusName, status);
    } else {
        status->setObjectName(statusName);
    }
    auto *grid = new QGridLayout(status);
    const char *headings[][2] = {{"lblEvent", "Event"}, {"chkEvent", "Display"}, {"chkPause", "Pause"},
                                 {"EditNum", "Num"},    {"EditScore", "Score"}, {"EditWait", "Waiting"}};
    for (int h = 0; h < 6; ++h) {
        const QString text = hintOf(eventName(headings[h][0], 1, column), "heading", S(headings[h][1]));
        auto *heading = new QLabel(text, status);
        heading->setAlignment(Qt::AlignCenter);
        grid->addWidget(heading, 0, h);
    }
    for (int event = 1; event <= 6; ++event) {
        if (QWidget *title = place(eventName("lblEvent", event, column), status))
            grid->addWidget(title, event, 0);
        int col = 1;
        for (const char *stem : {"chkEvent", "chkPause"}) {
            if (QWidget *tick = place(eventName(stem, event, column), status))
                grid->addWidget(tick, event, col, Qt::AlignCenter);
            ++col;
        }
        for (const char *stem : {"EditNum", "EditScore", "EditWait"}) {
            if (auto *field = qobject_cast<QLineEdit *>(place(eventName(stem, event, column), status))) {
                // Written by the poll only.
                field->setReadOnly(true);
                field->setFocusPolicy(Qt::ClickFocus);
                field->setAlignment(Qt::AlignCenter);
                field->setMaximumWidth(72);
                grid->addWidget(field, event, col);
            }
            ++col;
        }
    }
    grid->setRowStretch(7, 1);
    outer->addWidget(status, 1);
    return box;
}

QWidget *frmKestraMain::buildRunPanel()
{
    auto *panel = new QWidget;
    panel->setObjectName(S("pnlRun"));
    auto *column = new QVBoxLayout(panel);

    column->addWidget(new QLabel(hintOf(S("grpStatus"), "caption", S("Kestra is:")), panel));
    if (QWidget *state = place(S("grpStatus"), panel))
        column->addWidget(state);
    auto *run = new QHBoxLayout;
    for (const char *name : {"btnScoreStart", "btnScoreStop"}) {
        if (QWidget *button = place(S(name), panel)) {
            button->setMinimumHeight(36);
            run->addWidget(button);
        }
    }
    column->addLayout(run);
    for (const char *name : {"chkPause", "chkDual", "chkNCAA"}) {
        if (QWidget *box = place(S(name), panel))
            column->addWidget(box);
    }
    if (QWidget *rotation = place(S("rgrpRotation"), panel))
        column->addWidget(rotation);

    auto *target = new QGroupBox(hintOf(S("rdoDaktronics"), "caption", S("Jumbotron Type")), panel);
    target->setObjectName(S("grpJumbotronType"));
    auto *targets = new QGridLayout(target);
    int index = 0;
    for (const char *name : {"rdoDaktronics", "rdoBarco", "rdoWhiteWay", "rdoFile", "rdoXML", "rdoXpression"}) {
        // The six buttons share the group box, which makes them one group.
        if (QWidget *radio = place(S(name), target))
            targets->addWidget(radio, index / 2, index % 2);
        ++index;
    }
    int row = 3;
    for (const char *name : {"btnSelectFile", "lblFileName", "lblStatus", "chkSTXETX"}) {
        if (QWidget *widget = place(S(name), panel))
            targets->addWidget(widget, row++, 0, 1, 2);
    }
    column->addWidget(target);

    for (const char *name : {"chkEventTest", "chkDebugIO"}) {
        if (QWidget *box = place(S(name), panel))
            column->addWidget(box);
    }
    auto *display = new QHBoxLayout;
    for (const char *name : {"btnClear", "btnShowTest"}) {
        if (QWidget *button = place(S(name), panel))
            display->addWidget(button);
    }
    column->addLayout(display);
    column->addStretch(1);
    return panel;
}

void frmKestraMain::addCommand(QMenu *menu, const QString &name, const QString &caption)
{
    LogicalControl *control = m_controls.find(name);
    auto *action = menu->addAction(control && !control->text().isEmpty() ? control->text() : caption);
    action->setObjectName(S("act") + name);
    if (control) {
        auto sync = [action, control] {
            action->setEnabled(control->isEnabled());
            action->setVisible(control->isVisible());
        };
        sync();
        connect(control, &LogicalControl::changed, action, sync);
        connect(action, &QAction::triggered, control, [control] { control->click(); });
    }
    if (name == QLatin1String("Button1"))
        connect(action, &QAction::triggered, this, &frmKestraMain::showOutputStatus);
}

void frmKestraMain::buildMenus()
{
    // The ribbon's commands, each both a tool bar button and a menu entry.
    auto *bar = addToolBar(S("Commands"));
    bar->setObjectName(S("tbrRibbon"));
    bar->setMovable(false);
    const struct {
        const char *name;
        const char *caption;
    } commands[] = {{"dxbtnSetupUnits", "Setup"},
                    {"dxbtnLocateServer", "Manage Servers"},
                    {"dxbtnDisplayResults", "Results"},
                    {"Button1", "Output Status"},
                    {"dxbtnAbout", "About Kestra"}};
    for (const auto &command : commands) {
        const QString name = S(command.name);
        QWidget *widget = place(name, bar);
        if (!widget && name == QLatin1String("Button1")) {
            // The status view needs no logic: a plain button opens it.
            auto *button = new QPushButton(S(command.caption), bar);
            button->setObjectName(name);
            widget = button;
            m_widgets.insert(name, button);
        }
        if (!widget)
            continue;
        bar->addWidget(widget);
        if (name == QLatin1String("Button1")) {
            if (auto *button = qobject_cast<QPushButton *>(widget))
                connect(button, &QPushButton::clicked, this, &frmKestraMain::showOutputStatus);
        }
    }

    QMenu *file = menuBar()->addMenu(S("&File"));
    QAction *quit = file->addAction(S("E&xit"));
    quit->setObjectName(S("actExit"));
    connect(quit, &QAction::triggered, this, &QWidget::close);
    QMenu *tools = menuBar()->addMenu(S("&Tools"));
    for (const auto &command : commands) {
        if (S(command.name) == QLatin1String("dxbtnAbout"))
            continue;
        addCommand(tools, S(command.name), S(command.caption));
    }
    QMenu *help = menuBar()->addMenu(S("&Help"));
    addCommand(help, S("dxbtnAbout"), S("About Kestra"));
}

void frmKestraMain::placeTheRest(QWidget *parent, QGridLayout *grid)
{
    // Planned places first: the tool bar's commands are drawn later.
    static const QStringList later = {S("dxbtnSetupUnits"), S("dxbtnLocateServer"), S("dxbtnDisplayResults"),
                                      S("Button1"), S("dxbtnAbout")};
    int index = 0;
    for (LogicalControl *control : m_controls.all()) {
        const QString &name = control->name();
        if (m_widgets.contains(name) || later.contains(name) || isDrawnElsewhere(*control))
            continue;
        QWidget *widget = place(name, parent);
        grid->addWidget(widget, index / 3, index % 3);
        m_unplaced.append(name);
        ++index;
    }
}

frmOutputStatus *frmKestraMain::showOutputStatus()
{
    m_statusWindow = frmOutputStatus::showFor(*m_status, this);
    return m_statusWindow;
}

void frmKestraMain::closeEvent(QCloseEvent *event)
{
    if (!m_closed) {
        m_closed = true;
        if (m_statusWindow)
            m_statusWindow->close();
        if (m_onClose)
            m_onClose();
    }
    event->accept();
}

} // namespace kestra
