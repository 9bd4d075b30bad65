#include "ui/frmRegisteredServers.h"

#include "ui/ControlBinder.h"
#include "ui/frmFindNXServer.h"

#include "setup/SettingsStore.h"
#include "setup/SetupUnits.h"
#include "support/OperatorPrompt.h"

#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMetaObject>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QToolButton>
#include <QValidator>
#include <QVBoxLayout>

namespace kestra {

namespace {

// Lets through what the address mask can still complete.
class AddressMaskValidator final : public QValidator {
public:
    using QValidator::QValidator;
    State validate(QString &input, int &) const override
    {
        switch (SetupUnits::checkIPText(input)) {
        case SetupUnits::MaskCheck::Acceptable: return Acceptable;
        case SetupUnits::MaskCheck::Intermediate: return Intermediate;
        case SetupUnits::MaskCheck::Invalid: break;
        }
        return Invalid;
    }
};

void followControl(QWidget *widget, LogicalControl &control)
{
    auto sync = [widget, &control] { widget->setEnabled(control.isEnabled()); };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
    QObject::connect(&control, &LogicalControl::focusRequested, widget, [widget] { widget->setFocus(); });
}

QLineEdit *lineEdit(LogicalControl &control, int maxLength, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(control.name());
    edit->setMaxLength(maxLength);
    auto sync = [edit, &control] {
        if (edit->text() != control.text()) {
            const QSignalBlocker quiet(edit);
            edit->setText(control.text());
        }
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, edit, sync);
    QObject::connect(edit, &QLineEdit::textEdited, &control,
                     [&control](const QString &text) { control.operatorSetText(text); });
    followControl(edit, control);
    return edit;
}

} // namespace

frmRegisteredServers::frmRegisteredServers(RegisteredServersForm &logic, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), m_logic(logic)
{
    setObjectName(QStringLiteral("frmRegisteredServers"));
    setWindowTitle(QStringLiteral("Manage Servers"));
    setModal(true);
    ControlSet &c = m_logic.controls();

    // The list.
    LogicalControl &gridControl = c(QStringLiteral("grdServers"));
    auto *grid = new QTableWidget(this);
    grid->setObjectName(gridControl.name());
    const QStringList columns = gridControl.property(QStringLiteral("columns")).toStringList();
    grid->setColumnCount(int(columns.size()));
    grid->setHorizontalHeaderLabels(columns);
    grid->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    grid->verticalHeader()->hide();
    grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid->setSelectionMode(QAbstractItemView::SingleSelection);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->setMinimumSize(360, 180);
    auto syncGrid = [grid, &gridControl] {
        const QSignalBlocker quiet(grid);
        const QStringList names = gridControl.items();
        const QStringList locations = gridControl.property(QStringLiteral("locations")).toStringList();
        grid->setRowCount(int(names.size()));
        for (int row = 0; row < names.size(); ++row) {
            const QString cells[] = {names.at(row), row < locations.size() ? locations.at(row) : QString()};
            for (int column = 0; column < 2; ++column) {
                QTableWidgetItem *item = grid->item(row, column);
                if (!item)
                    grid->setItem(row, column, item = new QTableWidgetItem);
                item->setText(cells[column]);
            }
        }
        if (gridControl.currentIndex() >= 0)
            grid->setCurrentCell(gridControl.currentIndex(), 0);
        else
            grid->clearSelection();
    };
    syncGrid();
    connect(&gridControl, &LogicalControl::changed, grid, syncGrid);
    connect(grid, &QTableWidget::currentCellChanged, &gridControl, [&gridControl](int row) {
        if (row >= 0 && row != gridControl.currentIndex())
            gridControl.operatorSelect(row);
    });
    connect(grid, &QTableWidget::cellDoubleClicked, this, [this] { m_logic.grdServersDblClick(); });
    followControl(grid, gridControl);

    // The selected row's fields.
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("Server Name:"),
                   lineEdit(c(QStringLiteral("EditName")), RegisteredServersForm::NameLength, this));
    QLineEdit *ip = lineEdit(c(QStringLiteral("EditIP")), RegisteredServersForm::IPLength + 4, this);
    ip->setValidator(new AddressMaskValidator(ip));
    ip->installEventFilter(this);
    fields->addRow(QStringLiteral("IP Address:"), ip);
    // No cut while typing or pasting: the logic refuses a Host too long, in words.
    fields->addRow(QStringLiteral("Hostname:"),
                   lineEdit(c(QStringLiteral("EditHost")), RegisteredServersForm::HostLength + 1, this));
    QComboBox *location = ControlBinder::lookup(c(QStringLiteral("dbcboLocation")), this);
    fields->addRow(QStringLiteral("Location:"), location);

    // The row buttons.
    auto *rowButtons = new QHBoxLayout;
    const struct {
        const char *name;
        const char *glyph;
    } tools[] = {{"sbtnNew", "+"}, {"sbtnDelete", "\u2212"}, {"sbtnSave", "\u2713"}, {"sbtnCancel", "\u2715"},
                 {"sbtnHelp", "?"}};
    for (const auto &t : tools) {
        LogicalControl &control = c(QString::fromLatin1(t.name));
        auto *button = new QToolButton(this);
        button->setObjectName(control.name());
        button->setText(QString::fromUtf8(t.glyph));
        button->setToolTip(control.property(QStringLiteral("hint")).toString());
        connect(button, &QToolButton::clicked, &control, &LogicalControl::click);
        followControl(button, control);
        if (control.name() == QLatin1String("sbtnHelp"))
            rowButtons->addStretch(1);
        rowButtons->addWidget(button);
    }

    // The window's buttons.
    auto *windowButtons = new QHBoxLayout;
    for (const char *name : {"btnScan", "btnOK", "btnCancel"}) {
        LogicalControl &control = c(QString::fromLatin1(name));
        auto *button = new QPushButton(control.text(), this);
        button->setObjectName(control.name());
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, &control, &LogicalControl::click);
        followControl(button, control);
        if (control.name() == QLatin1String("btnOK"))
            button->setDefault(true);
        if (control.name() == QLatin1String("btnOK"))
            windowButtons->addStretch(1);
        windowButtons->addWidget(button);
    }

    const struct {
        QKeySequence keys;
        RegisteredServersForm::Key key;
    } shortcuts[] = {
        {QKeySequence(Qt::Key_Insert), RegisteredServersForm::Key::Insert},
        {QKeySequence(Qt::CTRL | Qt::Key_Delete), RegisteredServersForm::Key::CtrlDelete},
        {QKeySequence(Qt::CTRL | Qt::Key_Return), RegisteredServersForm::Key::CtrlEnter},
        {QKeySequence(Qt::CTRL | Qt::Key_Enter), RegisteredServersForm::Key::CtrlEnter},
        {QKeySequence(Qt::CTRL | Qt::Key_Backspace), RegisteredServersForm::Key::CtrlBackspace},
    };
    for (const auto &s : shortcuts) {
        auto *shortcut = new QShortcut(s.keys, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, key = s.key] { m_logic.keyPress(key); });
    }

    connect(&m_logic, &RegisteredServersForm::closeRequested, this, [this] {
        QDialog::done(m_logic.result() == RegisteredServersForm::Result::Ok ? Accepted : Rejected);
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(grid);
    layout->addLayout(rowButtons);
    layout->addLayout(fields);
    layout->addLayout(windowButtons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void frmRegisteredServers::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // Loaded once the window stands on the screen.
    if (!m_loadPosted) {
        m_loadPosted = true;
        QMetaObject::invokeMethod(
            this, [this] { if (!m_logic.isLoaded()) m_logic.loadList(); }, Qt::QueuedConnection);
    }
}

bool frmRegisteredServers::eventFilter(QObject *watched, QEvent *event)
{
    // Leaving the field, not the window: a box over it or another window
    // taking the focus is no exit.
    if (event->type() == QEvent::FocusOut && watched->objectName() == QLatin1String("EditIP") && isVisible()) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            m_logic.EditIPExit();
    }
    return QDialog::eventFilter(watched, event);
}

void frmRegisteredServers::reject()
{
    // Escape and every other way out: the Cancel button's action.
    m_logic.keyPress(RegisteredServersForm::Key::Escape);
}

std::optional<QString> frmRegisteredServers::execute(SettingsStore &marlowenKey, OperatorPrompt &prompt,
                                                     QWidget *owner, RegisteredServersForm::Locator locator)
{
    RegisteredServersForm logic(marlowenKey, prompt);
    frmRegisteredServers window(logic, owner);
    if (!locator)
        locator = [&window] { return frmFindNXServer::execute(&window); };
    logic.setLocator(std::move(locator));
    window.exec();
    if (logic.result() == RegisteredServersForm::Result::Ok)
        return logic.SelectedName();
    return std::nullopt;
}

} // namespace kestra
