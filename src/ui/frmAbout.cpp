#include "ui/frmAbout.h"

#include "ui/ControlBinder.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace kestra {

frmAbout::frmAbout(KestraAbout &logic, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(KestraAbout::Caption);
    ControlSet &c = logic.controls();

    auto *layout = new QVBoxLayout(this);
    QLabel *heading = ControlBinder::label(c(QStringLiteral("lblHeading")), this);
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    heading->setFont(large);
    layout->addWidget(heading);
    layout->addSpacing(8);
    for (const char *name : {"lblProduct", "lblDescription", "lblVersion", "lblCopyright"}) {
        LogicalControl &control = c(QString::fromLatin1(name));
        QLabel *label = ControlBinder::label(control, this);
        if (control.property(QStringLiteral("bold")).toBool()) {
            QFont bold = label->font();
            bold.setBold(true);
            label->setFont(bold);
        }
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(label);
    }
    layout->addSpacing(8);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    QPushButton *ok = ControlBinder::button(c(QStringLiteral("btnOK")), this);
    ok->setDefault(true);
    buttons->addWidget(ok);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(&logic, &KestraAbout::closeRequested, this, &QDialog::accept);
}

void frmAbout::execute(QWidget *owner)
{
    KestraAbout logic;
    frmAbout window(logic, owner);
    window.exec();
}

} // namespace kestra
