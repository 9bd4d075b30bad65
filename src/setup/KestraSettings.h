#pragma once

#include <QString>

namespace kestra {

class SettingsDocument;
class SettingsStore;

// The display target chosen by the six radio buttons of the main window.
// None when every button has been unchecked by the stored values.
enum class OutputTarget { None, Daktronics, Barco, WhiteWay, File, XML, Xpression };

// The main window's working copy of the settings in section "Options" of
// Kestra's key, with the defaults of a first run. Each routine touches exactly
// the values of its moment and leaves the others as they are.
struct KestraSettings {
    static constexpr const char *Section = "Options";

    // Read when the window is shown and after the setup window; written by
    // the setup window only.
    QString COMPort = QStringLiteral("COM2"); // stored as "ComPort"
    QString UDPPort = QStringLiteral("12345");
    QString IPAddr = QStringLiteral("255.255.255.255");
    int BaseAddr = 760;
    int Interval = 60;
    int IntervalMax = 180;
    int CycleRate = 20;
    int NameFormat = 0;
    bool UseSingleNCAA = true;
    int NCAATeam = 0;
    // Read when the window is created and after the setup window.
    QString MySQLServer;
    QString MySQLDatabase;
    QString MySQLUser;
    QString MySQLPass;
    // Read when the window is created, written when it closes.
    bool UseDaktronics = true;
    bool UseBarco = false;
    bool UseWhiteWay = false;
    bool UseFile = false;
    bool UseXML = false;
    bool UseXpression = false;
    bool NCAAMode = false;
    QString OutputFileName;
    bool STXETX = false;

    // The main window's creation: the six target flags, NCAAMode,
    // OutputFileName, STXETX, then the four MySQL texts.
    void readAtCreate(const SettingsStore &kestraKey);
    // The main window's showing: COMPort, UDPPort, IPAddr, BaseAddr,
    // Interval, IntervalMax, CycleRate, NameFormat, UseSingleNCAA, NCAATeam.
    void readAtShow(const SettingsStore &kestraKey);
    // After the setup window has closed: those of readAtShow, then the four
    // MySQL texts.
    void readAfterSetup(const SettingsStore &kestraKey);
    // The main window's close: UseDaktronics, UseBarco, UseWhiteWay, UseFile,
    // UseXML, UseXpression, NCAAMode, OutputFileName, STXETX, in one write.
    // False when the file could not be written (the reason is logged).
    bool writeAtClose(SettingsStore &kestraKey) const;

    void readAtCreate(const SettingsDocument &key);
    void readAtShow(const SettingsDocument &key);
    void readAfterSetup(const SettingsDocument &key);
    void writeAtClose(SettingsDocument &key) const;
};

} // namespace kestra
