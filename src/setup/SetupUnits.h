#pragma once

#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"
#include "support/LogicalControl.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace kestra {

// The logic of the setup window: the interface, base address and UDP
// destination of the display link, the display intervals, the NCAA options,
// the name format and the MySQL connection of the graphics target.
//
// It opens from the main window's working settings and writes to the store
// when it closes. There is no Cancel: every way of closing writes everything.
// The main window reads the values back afterwards (readAfterSetup).
class SetupUnits : public QObject {
    Q_OBJECT
public:
    enum class MaskCheck { Invalid, Intermediate, Acceptable };

    // closePort closes the open serial device so that the next send opens
    // the newly chosen one; it may be empty where no device layer exists.
    SetupUnits(const KestraSettings &working, SettingsStore kestraKey, std::function<void()> closePort,
               QObject *parent = nullptr);

    ControlSet &controls() { return m_controls; }
    LogicalControl &operator()(const QString &name) const { return m_controls(name); }

    // The serial devices of this machine (as /dev paths), offered after
    // "COM1" to "COM4" and "UDP". Set before FormCreate.
    void setSerialDevices(const QStringList &devices) { m_devices = devices; }

    // The opening: the working settings into the controls, then the
    // enablement rule. A stored device path that is not offered (an adapter
    // unplugged for now) is offered all the same, so it survives the close.
    void FormCreate();
    // A new interface: "COM1" to "COM4" select their conventional base
    // address, "UDP" keeps it; enablement; the serial device is closed.
    void cboCOMPortChange();
    // A new base address: the serial device is closed.
    void rgrpAddrClick();
    // Asks the window to close (closeRequested); the window then calls
    // FormClose as on every other way out.
    void btnCloseClick();
    // Writes the window's values to section "Options" in one write, in the
    // order ComPort, UDPPort, IPAddr, BaseAddr, Interval, IntervalMax,
    // CycleRate, MySQLServer, MySQLDatabase, MySQLUser, MySQLPass,
    // NameFormat, UseSingleNCAA, NCAATeam. A base address with no choice
    // leaves its stored value alone; a name format or team outside the
    // choices is written back as it was read; an interface outside the list
    // is written as empty text. Only the first call writes. False when the
    // file could not be written (the reason is logged).
    bool FormClose();
    bool isClosed() const { return m_closed; }

    // The masked edits. A change the mask cannot accept is refused (false)
    // and the text stays; an incomplete text is kept while the operator
    // types, and on leaving the field it goes back to the last complete one.
    // Blanks in the IP address are ignored and dropped on leaving.
    bool EditPortChange(const QString &text);
    void EditPortExit();
    bool EditIPChange(const QString &text);
    void EditIPExit();

    // 0 to 65535, as decimal digits.
    static MaskCheck checkPortText(const QString &text);
    // Four octets 0 to 255 joined by dots; blanks do not count.
    static MaskCheck checkIPText(const QString &text);

    // "COM1", "COM2", "COM3", "COM4", "UDP".
    static const QStringList &interfaces();
    // A device path such as /dev/ttyUSB0, which the link opens as it is.
    static bool isDevicePath(const QString &port);
    // The choices of rgrpAddr: 1016, 760, 1000, 744; -1 for another value.
    static int baseAddressChoice(int baseAddr);
    static int baseAddressOf(int choice);

signals:
    void closeRequested();

private:
    void applyEnablement();
    void syncInterfaceText();
    void spinChanged(LogicalControl &spin);
    void setSpin(LogicalControl &spin, int value);
    int spinValue(const QString &name) const;
    int choiceOrStored(const QString &group, int stored) const;

    ControlSet m_controls;
    KestraSettings m_working;
    QStringList m_devices;
    SettingsStore m_store;
    std::function<void()> m_closePort;
    QString m_acceptedPort;
    QString m_acceptedIP;
    bool m_closed = false;
};

} // namespace kestra
