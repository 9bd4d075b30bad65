#pragma once

#include "meetdb/RegisteredServersForm.h"

#include <QDialog>

#include <optional>

class QWidget;

namespace kestra {

class OperatorPrompt;
class SettingsStore;

// "Manage Servers": the list of meet servers. Draws the controls of its
// RegisteredServersForm and forwards the operator's actions; the list loads
// once the window stands on the screen.
class frmRegisteredServers final : public QDialog {
    Q_OBJECT
public:
    // The logic must outlive the window.
    explicit frmRegisteredServers(RegisteredServersForm &logic, QWidget *parent = nullptr);

    // The server list of the connect sequence, modal over its owner: the
    // confirmed server's name, or nullopt for Cancel. Fits
    // ServerConnection::ServerChooser. Locate opens "Locate Server" over the
    // window unless another locator is given.
    static std::optional<QString> execute(SettingsStore &marlowenKey, OperatorPrompt &prompt, QWidget *owner,
                                          RegisteredServersForm::Locator locator = {});

    void reject() override;

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    RegisteredServersForm &m_logic;
    bool m_loadPosted = false;
};

} // namespace kestra
