#include "setup/KestraSettings.h"

#include "setup/SettingsDocument.h"
#include "setup/SettingsStore.h"

namespace kestra {

namespace {

// The defaults of a first run are those of a new working copy.
const KestraSettings &defaults()
{
    static const KestraSettings first;
    return first;
}

const QString &options()
{
    static const QString section = QString::fromLatin1(KestraSettings::Section);
    return section;
}

void readMySql(KestraSettings &s, const SettingsDocument &key)
{
    s.MySQLServer = key.ReadString(options(), QStringLiteral("MySQLServer"), defaults().MySQLServer);
    s.MySQLDatabase = key.ReadString(options(), QStringLiteral("MySQLDatabase"), defaults().MySQLDatabase);
    s.MySQLUser = key.ReadString(options(), QStringLiteral("MySQLUser"), defaults().MySQLUser);
    s.MySQLPass = key.ReadString(options(), QStringLiteral("MySQLPass"), defaults().MySQLPass);
}

} // namespace

void KestraSettings::readAtCreate(const SettingsDocument &key)
{
    UseDaktronics = key.ReadBool(options(), QStringLiteral("UseDaktronics"), defaults().UseDaktronics);
    UseBarco = key.ReadBool(options(), QStringLiteral("UseBarco"), defaults().UseBarco);
    UseWhiteWay = key.ReadBool(options(), QStringLiteral("UseWhiteWay"), defaults().UseWhiteWay);
    UseFile = key.ReadBool(options(), QStringLiteral("UseFile"), defaults().UseFile);
    UseXML = key.ReadBool(options(), QStringLiteral("UseXML"), defaults().UseXML);
    UseXpression = key.ReadBool(options(), QStringLiteral("UseXpression"), defaults().UseXpression);
    NCAAMode = key.ReadBool(options(), QStringLiteral("NCAAMode"), defaults().NCAAMode);
    OutputFileName = key.ReadString(options(), QStringLiteral("OutputFileName"), defaults().OutputFileName);
    STXETX = key.ReadBool(options(), QStringLiteral("STXETX"), defaults().STXETX);
    readMySql(*this, key);
}

void KestraSettings::readAtShow(const SettingsDocument &key)
{
    COMPort = key.ReadString(options(), QStringLiteral("COMPort"), defaults().COMPort);
    UDPPort = key.ReadString(options(), QStringLiteral("UDPPort"), defaults().UDPPort);
    IPAddr = key.ReadString(options(), QStringLiteral("IPAddr"), defaults().IPAddr);
    BaseAddr = key.ReadInteger(options(), QStringLiteral("BaseAddr"), defaults().BaseAddr);
    Interval = key.ReadInteger(options(), QStringLiteral("Interval"), defaults().Interval);
    IntervalMax = key.ReadInteger(options(), QStringLiteral("IntervalMax"), defaults().IntervalMax);
    CycleRate = key.ReadInteger(options(), QStringLiteral("CycleRate"), defaults().CycleRate);
    NameFormat = key.ReadInteger(options(), QStringLiteral("NameFormat"), defaults().NameFormat);
    UseSingleNCAA = key.ReadBool(options(), QStringLiteral("UseSingleNCAA"), defaults().UseSingleNCAA);
    NCAATeam = key.ReadInteger(options(), QStringLiteral("NCAATeam"), defaults().NCAATeam);
}

void KestraSettings::readAfterSetup(const SettingsDocument &key)
{
    readAtShow(key);
    readMySql(*this, key);
}

void KestraSettings::writeAtClose(SettingsDocument &key) const
{
    key.WriteBool(options(), QStringLiteral("UseDaktronics"), UseDaktronics);
    key.WriteBool(options(), QStringLiteral("UseBarco"), UseBarco);
    key.WriteBool(options(), QStringLiteral("UseWhiteWay"), UseWhiteWay);
    key.WriteBool(options(), QStringLiteral("UseFile"), UseFile);
    key.WriteBool(options(), QStringLiteral("UseXML"), UseXML);
    key.WriteBool(options(), QStringLiteral("UseXpression"), UseXpression);
    key.WriteBool(options(), QStringLiteral("NCAAMode"), NCAAMode);
    key.WriteString(options(), QStringLiteral("OutputFileName"), OutputFileName);
    key.WriteBool(options(), QStringLiteral("STXETX"), STXETX);
}

// Each moment reads one snapshot of the file: the values belong together.
void KestraSettings::readAtCreate(const SettingsStore &kestraKey) { readAtCreate(kestraKey.read()); }
void KestraSettings::readAtShow(const SettingsStore &kestraKey) { readAtShow(kestraKey.read()); }
void KestraSettings::readAfterSetup(const SettingsStore &kestraKey) { readAfterSetup(kestraKey.read()); }

bool KestraSettings::writeAtClose(SettingsStore &kestraKey) const
{
    return kestraKey.update([this](SettingsDocument &doc) {
        writeAtClose(doc);
        return true;
    });
}

} // namespace kestra
