#include "ui/frmFindNXServer.h"

#include "ui/ControlBinder.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMetaObject>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace kestra {

frmFindNXServer::frmFindNXServer(FindNXServerForm &logic, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), m_logic(logic)
{
    setObjectName(QStringLiteral("frmFindNXServer"));
    setWindowTitle(FindNXServerForm::Caption);
    setModal(true);
    ControlSet &c = m_logic.controls();

    QLabel *heading = ControlBinder::label(c(QStringLiteral("lblHeading")), this);
    QFont bold = heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    heading->setFont(bold);
    QLabel *instruction = ControlBinder::label(c(QStringLiteral("lblInstruction")), this);
    instruction->setWordWrap(true);

    LogicalControl &listControl = c(QStringLiteral("lstServers"));
    auto *listCaption = new QLabel(listControl.property(QStringLiteral("caption")).toString(), this);
    QListWidget *list = ControlBinder::list(listControl, this);
    listCaption->setBuddy(list);
    list->setMinimumSize(320, 160);
    connect(list, &QListWidget::itemDoubleClicked, this, [this] { m_logic.lstServersDblClick(); });

    QLabel *status = ControlBinder::label(c(QStringLiteral("lblScanStatus")), this);
    status->setWordWrap(true);
    auto *busy = new QProgressBar(this);
    busy->setObjectName(QStringLiteral("barScanning"));
    busy->setRange(0, 0); // no end known: a moving bar
    busy->setTextVisible(false);
    busy->setMaximumHeight(12);
    auto showScanning = [this, busy](bool scanning) {
        busy->setVisible(scanning);
        if (scanning)
            setCursor(Qt::BusyCursor);
        else
            unsetCursor();
    };
    showScanning(m_logic.isScanning());
    connect(&m_logic, &FindNXServerForm::scanningChanged, this, showScanning);

    auto *buttons = new QHBoxLayout;
    LogicalControl &helpControl = c(QStringLiteral("sbtnHelp"));
    auto *help = new QToolButton(this);
    help->setText(QStringLiteral("?"));
    ControlBinder::bindCommon(help, helpControl);
    connect(help, &QToolButton::clicked, &helpControl, &LogicalControl::click);
    buttons->addWidget(help);
    buttons->addStretch(1);
    for (const char *name : {"btnScan", "btnOK", "btnCancel"}) {
        QPushButton *button = ControlBinder::button(c(QString::fromLatin1(name)), this);
        button->setAutoDefault(false);
        button->setDefault(qstrcmp(name, "btnOK") == 0);
        buttons->addWidget(button);
    }

    connect(&m_logic, &FindNXServerForm::closeRequested, this, [this] {
        QDialog::done(m_logic.result() == FindNXServerForm::Result::Ok ? Accepted : Rejected);
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(instruction);
    layout->addSpacing(6);
    layout->addWidget(listCaption);
    layout->addWidget(list);
    layout->addWidget(status);
    layout->addWidget(busy);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void frmFindNXServer::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // The first scan starts once the window is painted.
    if (!m_scanPosted) {
        m_scanPosted = true;
        QMetaObject::invokeMethod(this, [this] { m_logic.FormShow(); }, Qt::QueuedConnection);
    }
}

void frmFindNXServer::reject()
{
    // Escape and every other way out: the Cancel button's action.
    m_logic.btnCancelClick();
}

std::optional<QString> frmFindNXServer::execute(ServerDiscovery &discovery, QWidget *owner)
{
    FindNXServerForm logic(discovery);
    frmFindNXServer window(logic, owner);
    window.exec();
    const QString address = logic.GetSelectedServer();
    if (logic.result() != FindNXServerForm::Result::Ok || address.isEmpty())
        return std::nullopt;
    return address;
}

std::optional<QString> frmFindNXServer::execute(QWidget *owner)
{
    NetworkDiscovery discovery;
    return execute(discovery, owner);
}

} // namespace kestra
