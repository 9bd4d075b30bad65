#include "meetdb/FindNXServerForm.h"

namespace kestra {

const QString FindNXServerForm::Caption = QStringLiteral("Locate Server");

FindNXServerForm::FindNXServerForm(ServerDiscovery &discovery, QObject *parent)
    : QObject(parent), m_discovery(discovery)
{
    m_controls.add(QStringLiteral("lblHeading"), Caption);
    m_controls.add(QStringLiteral("lblInstruction"),
                   QStringLiteral("Click Scan to begin searching for any available servers.  Once located, select "
                                  "the server on the list and click OK."));
    LogicalControl &list = m_controls.add(QStringLiteral("lstServers"));
    list.setProperty(QStringLiteral("caption"), QStringLiteral("Available Servers"));
    m_controls.add(QStringLiteral("lblScanStatus"));
    m_controls.add(QStringLiteral("btnScan"), QStringLiteral("Scan")).setClickHandler([this] { btnScanClick(); });
    m_controls.add(QStringLiteral("btnOK"), QStringLiteral("&OK")).setClickHandler([this] { btnOKClick(); });
    m_controls.add(QStringLiteral("btnCancel"), QStringLiteral("Ca&ncel")).setClickHandler([this] {
        btnCancelClick();
    });
    m_controls.add(QStringLiteral("sbtnHelp")).setProperty(QStringLiteral("hint"), QStringLiteral("Help"));
    m_controls(QStringLiteral("btnOK")).setEnabled(false);
    connect(&m_discovery, &ServerDiscovery::scanFinished, this, &FindNXServerForm::scanFinished);
}

void FindNXServerForm::FormShow()
{
    if (m_result == Result::Open)
        btnScanClick();
}

void FindNXServerForm::btnScanClick()
{
    if (m_scanning || m_result != Result::Open)
        return;
    LogicalControl &list = m_controls(QStringLiteral("lstServers"));
    list.setItems({});
    list.setCurrentIndex(-1);
    m_controls(QStringLiteral("btnOK")).setEnabled(false);
    m_controls(QStringLiteral("lblScanStatus")).setText(QStringLiteral("Searching for servers\u2026"));
    setScanning(true);
    m_discovery.startScan();
}

void FindNXServerForm::scanFinished(const ServerScan &scan)
{
    if (!m_scanning)
        return;
    LogicalControl &list = m_controls(QStringLiteral("lstServers"));
    list.setItems(scan.servers);
    const bool found = !scan.servers.isEmpty();
    list.setCurrentIndex(found ? 0 : -1);
    m_controls(QStringLiteral("btnOK")).setEnabled(found);
    QString status;
    if (!scan.networkProblem.isEmpty())
        status = QStringLiteral("The local network could not be searched (%1).").arg(scan.networkProblem);
    else if (!found)
        status = QStringLiteral("No servers were found.");
    m_controls(QStringLiteral("lblScanStatus")).setText(status);
    setScanning(false);
}

void FindNXServerForm::setScanning(bool scanning)
{
    m_scanning = scanning;
    m_controls(QStringLiteral("btnScan")).setEnabled(!scanning);
    emit scanningChanged(scanning);
}

QString FindNXServerForm::GetSelectedServer() const
{
    const LogicalControl &list = m_controls(QStringLiteral("lstServers"));
    const int index = list.currentIndex();
    if (index < 0 || index >= list.items().size())
        return QString();
    const QString &entry = list.items().at(index);
    const qsizetype at = entry.indexOf(QLatin1Char('@'));
    return at < 0 ? entry : entry.mid(at + 1, 999);
}

void FindNXServerForm::btnOKClick()
{
    if (m_controls(QStringLiteral("btnOK")).isEnabled())
        finish(Result::Ok);
}

void FindNXServerForm::btnCancelClick()
{
    finish(Result::Cancel);
}

void FindNXServerForm::lstServersDblClick()
{
    btnOKClick();
}

void FindNXServerForm::finish(Result result)
{
    m_result = result;
    emit closeRequested();
}

} // namespace kestra
