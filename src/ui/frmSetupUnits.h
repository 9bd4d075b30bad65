#pragma once

#include <QDialog>

#include <functional>

class QWidget;

namespace kestra {

class SetupUnits;
class SettingsStore;
struct KestraSettings;

// "Setup": the unit setup dialog. Draws the controls of its SetupUnits and
// forwards the operator's actions; every way of closing it (the Close button,
// the window's close button, Escape) writes the settings once.
class frmSetupUnits final : public QDialog {
    Q_OBJECT
public:
    // The logic must outlive the window. Runs the logic's opening.
    explicit frmSetupUnits(SetupUnits &logic, QWidget *parent = nullptr);

    // The main window's Setup command: the window over its owner, modal, and
    // gone when this returns; the caller then re-reads the settings
    // (KestraSettings::readAfterSetup). False when the settings could not be
    // written.
    static bool execute(const KestraSettings &working, const SettingsStore &kestraKey,
                        std::function<void()> closePort, QWidget *owner);

    void done(int result) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    SetupUnits &m_logic;
    bool m_written = true;
};

} // namespace kestra
