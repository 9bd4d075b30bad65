#pragma once

#include "support/KestraAbout.h"

#include <QDialog>

class QWidget;

namespace kestra {

// "About Kestra": draws the controls of its KestraAbout.
class frmAbout final : public QDialog {
    Q_OBJECT
public:
    // The logic must outlive the window.
    explicit frmAbout(KestraAbout &logic, QWidget *parent = nullptr);

    // Modal over its owner, with this build's texts.
    static void execute(QWidget *owner);
};

} // namespace kestra
