#include "setup/SetupUnits.h"

#include "setup/SettingsDocument.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace kestra {

namespace {

constexpr std::array<int, 4> BaseAddresses = {1016, 760, 1000, 744};

SetupUnits::MaskCheck checkMask(const QRegularExpression &expression, const QString &text)
{
    if (text.isEmpty())
        return SetupUnits::MaskCheck::Intermediate;
    const QRegularExpressionMatch match =
        expression.match(text, 0, QRegularExpression::PartialPreferCompleteMatch);
    if (match.hasMatch())
        return SetupUnits::MaskCheck::Acceptable;
    if (match.hasPartialMatch())
        return SetupUnits::MaskCheck::Intermediate;
    return SetupUnits::MaskCheck::Invalid;
}

QString withoutBlanks(QString text)
{
    text.remove(QLatin1Char(' '));
    return text;
}

} // namespace

SetupUnits::SetupUnits(const KestraSettings &working, SettingsStore kestraKey,
                       std::function<void()> closePort, QObject *parent)
    : QObject(parent), m_working(working), m_store(std::move(kestraKey)), m_closePort(std::move(closePort))
{
    LogicalControl &com = m_controls.add(QStringLiteral("cboCOMPort"));
    com.setItems(interfaces());
    com.setClickHandler([this] { cboCOMPortChange(); });

    LogicalControl &addr = m_controls.add(QStringLiteral("rgrpAddr"), QStringLiteral("I/O Base Address"));
    addr.setItems({QStringLiteral("3F8"), QStringLiteral("2F8"), QStringLiteral("3E8"), QStringLiteral("2E8")});
    addr.setClickHandler([this] { rgrpAddrClick(); });

    m_controls.add(QStringLiteral("EditPort"));
    m_controls.add(QStringLiteral("EditIP"));

    // Ranges and the values the spins hold before the opening replaces them.
    const struct {
        const char *name;
        int minimum, maximum, initial;
    } spins[] = {
        {"EditRefreshMin", 1, 99, 60},
        {"EditRefreshMax", 1, 999, 300},
        {"EditCycleRate", 1, 99, 60},
    };
    for (const auto &s : spins) {
        LogicalControl &spin = m_controls.add(QString::fromLatin1(s.name));
        spin.setProperty(QStringLiteral("minimum"), s.minimum);
        spin.setProperty(QStringLiteral("maximum"), s.maximum);
        setSpin(spin, s.initial);
        spin.setClickHandler([this, &spin] { spinChanged(spin); });
    }

    m_controls.add(QStringLiteral("chkSingleNCAA"), QStringLiteral("Use single NCAA lineup block?"));
    m_controls.add(QStringLiteral("rgrpTeam"), QStringLiteral("NCAA Team ID to use"))
        .setItems({QStringLiteral("Team1"), QStringLiteral("Team2"), QStringLiteral("Team3")});
    m_controls.add(QStringLiteral("rgrpNameFormat"), QStringLiteral("Name Display Format"))
        .setItems({QStringLiteral("First Last"), QStringLiteral("Last, First"), QStringLiteral("F Last"),
                   QStringLiteral("Last")});

    m_controls.add(QStringLiteral("EditIPAddr"));
    m_controls.add(QStringLiteral("EditDatabase"));
    m_controls.add(QStringLiteral("EditUsername"));
    m_controls.add(QStringLiteral("EditPassword")).setProperty(QStringLiteral("passwordChar"), QStringLiteral("*"));

    m_controls.add(QStringLiteral("btnClose"), QStringLiteral("&Close")).setClickHandler([this] { btnCloseClick(); });
    // Part of the heading's look; they do nothing.
    m_controls.add(QStringLiteral("sbtnHelp")).setProperty(QStringLiteral("hint"), QStringLiteral("Help"));
    m_controls.add(QStringLiteral("sbtnClose")).setProperty(QStringLiteral("hint"), QStringLiteral("Close Window"));
}

const QStringList &SetupUnits::interfaces()
{
    static const QStringList list = {QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3"),
                                     QStringLiteral("COM4"), QStringLiteral("UDP")};
    return list;
}

bool SetupUnits::isDevicePath(const QString &port)
{
    return port.startsWith(QStringLiteral("/dev/"));
}

int SetupUnits::baseAddressChoice(int baseAddr)
{
    const auto it = std::find(BaseAddresses.begin(), BaseAddresses.end(), baseAddr);
    return it == BaseAddresses.end() ? -1 : int(it - BaseAddresses.begin());
}

int SetupUnits::baseAddressOf(int choice)
{
    return choice >= 0 && choice < int(BaseAddresses.size()) ? BaseAddresses[std::size_t(choice)] : -1;
}

SetupUnits::MaskCheck SetupUnits::checkPortText(const QString &text)
{
    static const QRegularExpression port(QRegularExpression::anchoredPattern(QStringLiteral(
        "([0-9]{1,4}|[1-5][0-9]{4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-5])")));
    return checkMask(port, text);
}

SetupUnits::MaskCheck SetupUnits::checkIPText(const QString &text)
{
    static const QString octet = QStringLiteral("(25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)");
    static const QRegularExpression ip(
        QRegularExpression::anchoredPattern(QStringList(4, octet).join(QStringLiteral("\\."))));
    return checkMask(ip, withoutBlanks(text));
}

void SetupUnits::setSpin(LogicalControl &spin, int value)
{
    value = std::clamp(value, spin.property(QStringLiteral("minimum")).toInt(),
                       spin.property(QStringLiteral("maximum")).toInt());
    spin.setProperty(QStringLiteral("value"), value);
    spin.setText(QString::number(value));
}

void SetupUnits::spinChanged(LogicalControl &spin)
{
    bool ok = false;
    const int typed = spin.text().trimmed().toInt(&ok);
    setSpin(spin, ok ? typed : spin.property(QStringLiteral("value")).toInt());
}

int SetupUnits::choiceOrStored(const QString &group, int stored) const
{
    // A group shows no choice for a value outside its items; that value goes
    // back as it came rather than as "none".
    const int index = m_controls(group).currentIndex();
    return index >= 0 ? index : stored;
}

int SetupUnits::spinValue(const QString &name) const
{
    return m_controls(name).property(QStringLiteral("value")).toInt();
}

void SetupUnits::syncInterfaceText()
{
    LogicalControl &com = m_controls(QStringLiteral("cboCOMPort"));
    com.setText(com.currentIndex() >= 0 ? com.items().at(com.currentIndex()) : QString());
}

void SetupUnits::applyEnablement()
{
    const bool udp = m_controls(QStringLiteral("cboCOMPort")).text() == QStringLiteral("UDP");
    m_controls(QStringLiteral("rgrpAddr")).setEnabled(!udp);
    m_controls(QStringLiteral("EditPort")).setEnabled(udp);
    m_controls(QStringLiteral("EditIP")).setEnabled(udp);
}

void SetupUnits::FormCreate()
{
    LogicalControl &com = m_controls(QStringLiteral("cboCOMPort"));
    QStringList items = interfaces();
    for (const QString &device : std::as_const(m_devices)) {
        if (!items.contains(device))
            items << device;
    }
    const bool device = isDevicePath(m_working.COMPort);
    if (device && !items.contains(m_working.COMPort))
        items << m_working.COMPort;
    com.setItems(items);
    // The list names are upper case, so "com1" typed into the file finds
    // "COM1"; device paths are taken as they are.
    com.setCurrentIndex(int(items.indexOf(device ? m_working.COMPort : m_working.COMPort.toUpper())));
    syncInterfaceText();

    const int choice = baseAddressChoice(m_working.BaseAddr);
    if (choice >= 0)
        m_controls(QStringLiteral("rgrpAddr")).setCurrentIndex(choice);

    m_controls(QStringLiteral("EditPort")).setText(m_working.UDPPort);
    m_controls(QStringLiteral("EditIP")).setText(m_working.IPAddr);
    m_acceptedPort = m_working.UDPPort;
    m_acceptedIP = m_working.IPAddr;

    setSpin(m_controls(QStringLiteral("EditRefreshMin")), m_working.Interval);
    setSpin(m_controls(QStringLiteral("EditRefreshMax")), m_working.IntervalMax);
    setSpin(m_controls(QStringLiteral("EditCycleRate")), m_working.CycleRate);

    m_controls(QStringLiteral("chkSingleNCAA")).setChecked(m_working.UseSingleNCAA);
    m_controls(QStringLiteral("rgrpTeam")).setCurrentIndex(m_working.NCAATeam);
    m_controls(QStringLiteral("rgrpNameFormat")).setCurrentIndex(m_working.NameFormat);

    m_controls(QStringLiteral("EditIPAddr")).setText(m_working.MySQLServer);
    m_controls(QStringLiteral("EditDatabase")).setText(m_working.MySQLDatabase);
    m_controls(QStringLiteral("EditUsername")).setText(m_working.MySQLUser);
    m_controls(QStringLiteral("EditPassword")).setText(m_working.MySQLPass);

    applyEnablement();
}

void SetupUnits::cboCOMPortChange()
{
    const int index = m_controls(QStringLiteral("cboCOMPort")).currentIndex();
    if (index >= 0 && index < int(BaseAddresses.size()))
        m_controls(QStringLiteral("rgrpAddr")).setCurrentIndex(index);
    syncInterfaceText();
    applyEnablement();
    if (m_closePort)
        m_closePort();
}

void SetupUnits::rgrpAddrClick()
{
    if (m_closePort)
        m_closePort();
}

void SetupUnits::btnCloseClick()
{
    emit closeRequested();
}

bool SetupUnits::EditPortChange(const QString &text)
{
    if (checkPortText(text) == MaskCheck::Invalid)
        return false;
    m_controls(QStringLiteral("EditPort")).setText(text);
    return true;
}

void SetupUnits::EditPortExit()
{
    LogicalControl &edit = m_controls(QStringLiteral("EditPort"));
    if (edit.text() == m_acceptedPort)
        return;
    if (checkPortText(edit.text()) == MaskCheck::Acceptable)
        m_acceptedPort = edit.text();
    else
        edit.setText(m_acceptedPort);
}

bool SetupUnits::EditIPChange(const QString &text)
{
    if (checkIPText(text) == MaskCheck::Invalid)
        return false;
    m_controls(QStringLiteral("EditIP")).setText(text);
    return true;
}

void SetupUnits::EditIPExit()
{
    LogicalControl &edit = m_controls(QStringLiteral("EditIP"));
    if (edit.text() == m_acceptedIP)
        return;
    if (checkIPText(edit.text()) == MaskCheck::Acceptable)
        m_acceptedIP = withoutBlanks(edit.text());
    edit.setText(m_acceptedIP);
}

bool SetupUnits::FormClose()
{
    if (m_closed)
        return true;
    m_closed = true;
    EditPortExit();
    EditIPExit();

    const QString options = QString::fromLatin1(KestraSettings::Section);
    const int com = m_controls(QStringLiteral("cboCOMPort")).currentIndex();
    const int addr = m_controls(QStringLiteral("rgrpAddr")).currentIndex();
    const int nameFormat = choiceOrStored(QStringLiteral("rgrpNameFormat"), m_working.NameFormat);
    const int team = choiceOrStored(QStringLiteral("rgrpTeam"), m_working.NCAATeam);
    auto text = [this](const char *name) { return m_controls(QString::fromLatin1(name)).text(); };

    return m_store.update([&](SettingsDocument &key) {
        key.WriteString(options, QStringLiteral("ComPort"),
                        com >= 0 ? m_controls(QStringLiteral("cboCOMPort")).items().at(com) : QString());
        key.WriteString(options, QStringLiteral("UDPPort"), text("EditPort"));
        key.WriteString(options, QStringLiteral("IPAddr"), text("EditIP"));
        if (addr >= 0)
            key.WriteInteger(options, QStringLiteral("BaseAddr"), baseAddressOf(addr));
        key.WriteInteger(options, QStringLiteral("Interval"), spinValue(QStringLiteral("EditRefreshMin")));
        key.WriteInteger(options, QStringLiteral("IntervalMax"), spinValue(QStringLiteral("EditRefreshMax")));
        key.WriteInteger(options, QStringLiteral("CycleRate"), spinValue(QStringLiteral("EditCycleRate")));
        key.WriteString(options, QStringLiteral("MySQLServer"), text("EditIPAddr"));
        key.WriteString(options, QStringLiteral("MySQLDatabase"), text("EditDatabase"));
        key.WriteString(options, QStringLiteral("MySQLUser"), text("EditUsername"));
        key.WriteString(options, QStringLiteral("MySQLPass"), text("EditPassword"));
        key.WriteInteger(options, QStringLiteral("NameFormat"), nameFormat);
        key.WriteBool(options, QStringLiteral("UseSingleNCAA"),
                      m_controls(QStringLiteral("chkSingleNCAA")).isChecked());
        key.WriteInteger(options, QStringLiteral("NCAATeam"), team);
        return true;
    });
}

} // namespace kestra
