#include "setup/ProductSettings.h"

#include "setup/SettingsStore.h"

namespace kestra {

namespace {

const QString &custom()
{
    static const QString section = QString::fromLatin1(TeamResultsSettings::Section);
    return section;
}

int numberOrZero(const QString &text)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok ? value : 0;
}

} // namespace

QString ProductSettings::readServerName(const SettingsStore &marlowenKey)
{
    return marlowenKey.ReadString(QString(), QStringLiteral("MarlowenServerName"), QString());
}

bool ProductSettings::writeServerName(SettingsStore &marlowenKey, const QString &name)
{
    return marlowenKey.WriteString(QString(), QStringLiteral("MarlowenServerName"), name);
}

void TeamResultsSettings::readAtCreate(const SettingsStore &marlowenKey)
{
    const SettingsDocument key = marlowenKey.read();
    const TeamResultsSettings defaults;
    TeamScoresCount = key.ReadInteger(custom(), QStringLiteral("TeamScoresCount"), defaults.TeamScoresCount);
    TeamScoresAA = key.ReadInteger(custom(), QStringLiteral("TeamScoresAA"), defaults.TeamScoresAA);
    TeamDesignate = key.ReadInteger(custom(), QStringLiteral("TeamDesignate"), defaults.TeamDesignate);
    TeamID = key.ReadInteger(custom(), QStringLiteral("TeamID"), defaults.TeamID);
}

bool TeamResultsSettings::writeTeamScoresCount(SettingsStore &marlowenKey, const QString &editText)
{
    return marlowenKey.WriteInteger(custom(), QStringLiteral("TeamScoresCount"), numberOrZero(editText));
}

bool TeamResultsSettings::writeTeamScoresAA(SettingsStore &marlowenKey, const QString &editText)
{
    return marlowenKey.WriteInteger(custom(), QStringLiteral("TeamScoresAA"), numberOrZero(editText));
}

bool TeamResultsSettings::writeTeamDesignate(SettingsStore &marlowenKey, int itemIndex)
{
    return marlowenKey.WriteInteger(custom(), QStringLiteral("TeamDesignate"), itemIndex);
}

bool TeamResultsSettings::writeTeamID(SettingsStore &marlowenKey, int itemIndex)
{
    return marlowenKey.WriteInteger(custom(), QStringLiteral("TeamID"), itemIndex);
}

} // namespace kestra
