#include "ui/frmSetupUnits.h"

#include "outputs/DeviceTransport.h"
#include "setup/SetupUnits.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>
#include <QValidator>
#include <QVBoxLayout>

namespace kestra {

namespace {

// Lets through what the logic's mask can still complete.
class MaskValidator final : public QValidator {
public:
    using Check = SetupUnits::MaskCheck (*)(const QString &);
    MaskValidator(Check check, QObject *parent) : QValidator(parent), m_check(check) {}

    State validate(QString &input, int &) const override
    {
        switch (m_check(input)) {
        case SetupUnits::MaskCheck::Acceptable: return Acceptable;
        case SetupUnits::MaskCheck::Intermediate: return Intermediate;
        case SetupUnits::MaskCheck::Invalid: break;
        }
        return Invalid;
    }

private:
    Check m_check;
};

void followEnabled(QWidget *widget, LogicalControl &control)
{
    auto sync = [widget, &control] { widget->setEnabled(control.isEnabled()); };
    sync();
    QObject::connect(&control, &LogicalControl::changed, widget, sync);
}

QLineEdit *lineEdit(LogicalControl &control, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(control.name());
    auto sync = [edit, &control] {
        if (edit->text() != control.text()) {
            const QSignalBlocker quiet(edit);
            edit->setText(control.text());
        }
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, edit, sync);
    followEnabled(edit, control);
    return edit;
}

QSpinBox *spinEdit(LogicalControl &control, QWidget *parent)
{
    auto *spin = new QSpinBox(parent);
    spin->setObjectName(control.name());
    spin->setRange(control.property(QStringLiteral("minimum")).toInt(),
                   control.property(QStringLiteral("maximum")).toInt());
    auto sync = [spin, &control] {
        const QSignalBlocker quiet(spin);
        spin->setValue(control.property(QStringLiteral("value")).toInt());
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, spin, sync);
    QObject::connect(spin, &QSpinBox::valueChanged, &control,
                     [&control](int value) { control.operatorSetText(QString::number(value)); });
    followEnabled(spin, control);
    return spin;
}

// A radio group: a titled box with one button an item, none checked when the
// logic has no choice.
QGroupBox *radioGroup(LogicalControl &control, bool inARow, QWidget *parent)
{
    auto *box = new QGroupBox(control.text(), parent);
    box->setObjectName(control.name());
    QBoxLayout *layout = inARow ? static_cast<QBoxLayout *>(new QHBoxLayout(box)) : new QVBoxLayout(box);
    auto *group = new QButtonGroup(box);
    for (int i = 0; i < control.items().size(); ++i) {
        auto *button = new QRadioButton(control.items().at(i), box);
        button->setObjectName(control.name() + QStringLiteral("Item") + QString::number(i));
        group->addButton(button, i);
        layout->addWidget(button);
    }
    auto sync = [group, &control] {
        QAbstractButton *chosen = group->button(control.currentIndex());
        if (chosen == group->checkedButton())
            return;
        if (chosen) {
            chosen->setChecked(true);
        } else {
            group->setExclusive(false);
            group->checkedButton()->setChecked(false);
            group->setExclusive(true);
        }
    };
    sync();
    QObject::connect(&control, &LogicalControl::changed, box, sync);
    QObject::connect(group, &QButtonGroup::idClicked, &control, [&control](int id) { control.operatorSelect(id); });
    followEnabled(box, control);
    return box;
}

QLabel *label(const QString &text, QWidget *parent)
{
    return new QLabel(text, parent);
}

} // namespace

frmSetupUnits::frmSetupUnits(SetupUnits &logic, QWidget *parent) : QDialog(parent), m_logic(logic)
{
    setObjectName(QStringLiteral("frmSetupUnits"));
    setWindowTitle(QStringLiteral("Setup"));
    setModal(true);
    m_logic.FormCreate();
    ControlSet &c = m_logic.controls();

    // Heading.
    auto *heading = new QFrame(this);
    heading->setObjectName(QStringLiteral("pnlHeading"));
    heading->setFrameShape(QFrame::StyledPanel);
    auto *headingLayout = new QHBoxLayout(heading);
    auto *title = new QLabel(QStringLiteral("Setup Units"), heading);
    title->setObjectName(QStringLiteral("lblHeading"));
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    title->setFont(big);
    headingLayout->addWidget(title, 1);
    const struct {
        const char *name;
        const char *glyph;
    } headingButtons[] = {{"sbtnHelp", "?"}, {"sbtnClose", "\u2715"}};
    for (const auto &b : headingButtons) {
        LogicalControl &control = c(QString::fromLatin1(b.name));
        auto *button = new QToolButton(heading);
        button->setObjectName(control.name());
        button->setText(QString::fromUtf8(b.glyph));
        button->setToolTip(control.property(QStringLiteral("hint")).toString());
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, &control, &LogicalControl::click);
        headingLayout->addWidget(button);
    }

    // Communications Setup.
    auto *communications = new QGroupBox(QStringLiteral("Communications Setup"), this);
    communications->setObjectName(QStringLiteral("grpCommunications"));
    auto *commLayout = new QFormLayout(communications);
    LogicalControl &com = c(QStringLiteral("cboCOMPort"));
    auto *comBox = new QComboBox(communications);
    comBox->setObjectName(com.name());
    comBox->addItems(com.items());
    auto syncCom = [comBox, &com] {
        const QSignalBlocker quiet(comBox);
        comBox->setCurrentIndex(com.currentIndex());
    };
    syncCom();
    connect(&com, &LogicalControl::changed, comBox, syncCom);
    connect(comBox, &QComboBox::currentIndexChanged, &com, [&com](int index) { com.operatorSelect(index); });
    followEnabled(comBox, com);
    commLayout->addRow(label(QStringLiteral("Interface:"), communications), comBox);
    commLayout->addRow(radioGroup(c(QStringLiteral("rgrpAddr")), true, communications));

    auto *port = lineEdit(c(QStringLiteral("EditPort")), communications);
    port->setValidator(new MaskValidator(&SetupUnits::checkPortText, port));
    connect(port, &QLineEdit::textEdited, this, [this](const QString &text) { m_logic.EditPortChange(text); });
    connect(port, &QLineEdit::editingFinished, this, [this] { m_logic.EditPortExit(); });
    port->installEventFilter(this);
    commLayout->addRow(label(QStringLiteral("UDP Port:"), communications), port);

    auto *ip = lineEdit(c(QStringLiteral("EditIP")), communications);
    ip->setValidator(new MaskValidator(&SetupUnits::checkIPText, ip));
    connect(ip, &QLineEdit::textEdited, this, [this](const QString &text) { m_logic.EditIPChange(text); });
    connect(ip, &QLineEdit::editingFinished, this, [this] { m_logic.EditIPExit(); });
    ip->installEventFilter(this);
    commLayout->addRow(label(QStringLiteral("IP Addr:"), communications), ip);

    // Intervals and Settings.
    auto *intervals = new QGroupBox(QStringLiteral("Intervals and Settings"), this);
    intervals->setObjectName(QStringLiteral("grpIntervals"));
    auto *intervalGrid = new QGridLayout(intervals);
    intervalGrid->addWidget(label(QStringLiteral("Display scores for:"), intervals), 0, 0, 1, 3);
    const struct {
        const char *caption;
        const char *spin;
    } spins[] = {{"Minimum", "EditRefreshMin"}, {"Maximum", "EditRefreshMax"}, {"NCAA Cycle Rate:", "EditCycleRate"}};
    int row = 1;
    for (const auto &s : spins) {
        intervalGrid->addWidget(label(QString::fromLatin1(s.caption), intervals), row, 0);
        intervalGrid->addWidget(spinEdit(c(QString::fromLatin1(s.spin)), intervals), row, 1);
        intervalGrid->addWidget(label(QStringLiteral("secs"), intervals), row, 2);
        ++row;
    }
    LogicalControl &single = c(QStringLiteral("chkSingleNCAA"));
    auto *singleBox = new QCheckBox(single.text(), intervals);
    singleBox->setObjectName(single.name());
    auto syncSingle = [singleBox, &single] {
        const QSignalBlocker quiet(singleBox);
        singleBox->setChecked(single.isChecked());
    };
    syncSingle();
    connect(&single, &LogicalControl::changed, singleBox, syncSingle);
    connect(singleBox, &QCheckBox::clicked, &single, [&single](bool on) { single.operatorSetChecked(on); });
    followEnabled(singleBox, single);
    intervalGrid->addWidget(singleBox, row++, 0, 1, 3);
    intervalGrid->addWidget(radioGroup(c(QStringLiteral("rgrpTeam")), false, intervals), row, 0, 1, 3);
    intervalGrid->addWidget(radioGroup(c(QStringLiteral("rgrpNameFormat")), false, intervals), 0, 3, row + 1, 1);

    // MySQL Settings for Xpression.
    auto *mysql = new QGroupBox(QStringLiteral("MySQL Settings for Xpression"), this);
    mysql->setObjectName(QStringLiteral("grpMySQL"));
    auto *mysqlLayout = new QFormLayout(mysql);
    const struct {
        const char *caption;
        const char *edit;
    } texts[] = {{"MySQL Server IP:", "EditIPAddr"},
                 {"MySQL Database:", "EditDatabase"},
                 {"Username:", "EditUsername"},
                 {"Password:", "EditPassword"}};
    for (const auto &t : texts) {
        LogicalControl &control = c(QString::fromLatin1(t.edit));
        QLineEdit *edit = lineEdit(control, mysql);
        connect(edit, &QLineEdit::textEdited, &control,
                [&control](const QString &text) { control.operatorSetText(text); });
        mysqlLayout->addRow(label(QString::fromLatin1(t.caption), mysql), edit);
    }
    auto *password = findChild<QLineEdit *>(QStringLiteral("EditPassword"));
    password->setEchoMode(QLineEdit::Password);
    password->setStyleSheet(QStringLiteral("lineedit-password-character: %1;")
                                .arg(c(QStringLiteral("EditPassword")).property(QStringLiteral("passwordChar"))
                                         .toString()
                                         .at(0)
                                         .unicode()));

    LogicalControl &close = c(QStringLiteral("btnClose"));
    auto *closeButton = new QPushButton(close.text(), this);
    closeButton->setObjectName(close.name());
    closeButton->setDefault(true);
    connect(closeButton, &QPushButton::clicked, &close, &LogicalControl::click);
    connect(&m_logic, &SetupUnits::closeRequested, this, &QDialog::accept);

    auto *groups = new QHBoxLayout;
    groups->addWidget(communications);
    groups->addWidget(intervals);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(closeButton);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addLayout(groups);
    layout->addWidget(mysql);
    layout->addLayout(buttons);
}

bool frmSetupUnits::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusOut) {
        if (watched->objectName() == QStringLiteral("EditPort"))
            m_logic.EditPortExit();
        else if (watched->objectName() == QStringLiteral("EditIP"))
            m_logic.EditIPExit();
    }
    return QDialog::eventFilter(watched, event);
}

void frmSetupUnits::done(int result)
{
    if (!m_logic.isClosed())
        m_written = m_logic.FormClose();
    QDialog::done(result);
}

bool frmSetupUnits::execute(const KestraSettings &working, const SettingsStore &kestraKey,
                            std::function<void()> closePort, QWidget *owner)
{
    SetupUnits logic(working, kestraKey, std::move(closePort));
    logic.setSerialDevices(DeviceTransport::serialDevices());
    frmSetupUnits window(logic, owner);
    window.exec();
    return window.m_written;
}

} // namespace kestra
