#pragma once

#include "meetdb/FindNXServerForm.h"

#include <QDialog>

#include <optional>

class QWidget;

namespace kestra {

// "Locate Server": draws the controls of its FindNXServerForm and forwards
// the operator's actions. The first scan starts once the window stands on
// the screen; while a scan runs the window shows the busy cursor and a
// moving bar, and stays responsive.
class frmFindNXServer final : public QDialog {
    Q_OBJECT
public:
    // The logic must outlive the window.
    explicit frmFindNXServer(FindNXServerForm &logic, QWidget *parent = nullptr);

    // Modal over its owner: the address of the server the operator picked,
    // or nullopt for Cancel. Scans with the discovery given, or with the
    // network's own (NetworkDiscovery) without one.
    static std::optional<QString> execute(ServerDiscovery &discovery, QWidget *owner);
    static std::optional<QString> execute(QWidget *owner);

    void reject() override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    FindNXServerForm &m_logic;
    bool m_scanPosted = false;
};

} // namespace kestra
