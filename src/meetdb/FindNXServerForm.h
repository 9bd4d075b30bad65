#pragma once

#include "meetdb/ServerDiscovery.h"
#include "support/LogicalControl.h"

#include <QObject>
#include <QString>

namespace kestra {

// The logic of "Locate Server", the window that finds meet database servers
// for the server list: lstServers lists what a scan found, btnScan starts a
// scan, btnOK (enabled once the list has entries) ends the window with the
// selected entry, btnCancel without one.
//
// A scan runs in the background: the window stays responsive, btnScan is
// disabled and lblScanStatus says a scan is under way until the answer comes.
class FindNXServerForm : public QObject {
    Q_OBJECT
public:
    enum class Result { Open, Ok, Cancel };
    static const QString Caption; // also the heading

    // The discovery must outlive the logic.
    explicit FindNXServerForm(ServerDiscovery &discovery, QObject *parent = nullptr);

    ControlSet &controls() { return m_controls; }
    LogicalControl &operator()(const QString &name) const { return m_controls(name); }

    // Once the window stands on the screen: the first scan, as if the
    // operator clicked Scan.
    void FormShow();
    void btnScanClick();
    void btnOKClick();
    void btnCancelClick();
    void lstServersDblClick();

    // The address part of the selected entry: what follows the first "@"
    // (at most 999 characters), the whole entry without one, empty with
    // nothing selected.
    QString GetSelectedServer() const;

    bool isScanning() const { return m_scanning; }
    Result result() const { return m_result; }

signals:
    void scanningChanged(bool scanning);
    // The window is to close; result() says how.
    void closeRequested();

private:
    void scanFinished(const ServerScan &scan);
    void setScanning(bool scanning);
    void finish(Result result);

    ControlSet m_controls;
    ServerDiscovery &m_discovery;
    bool m_scanning = false;
    Result m_result = Result::Open;
};

} // namespace kestra
