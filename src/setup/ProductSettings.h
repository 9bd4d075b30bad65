#pragma once

#include <QString>

namespace kestra {

class SettingsStore;

// The values of the scoring product's key (Marlowen) that Kestra itself reads
// and writes. The server list in the same key belongs to the server list's
// own code.
namespace ProductSettings {

// "MarlowenServerName" in the key itself: the server in use, empty when
// none was ever chosen.
QString readServerName(const SettingsStore &marlowenKey);
bool writeServerName(SettingsStore &marlowenKey, const QString &name);

} // namespace ProductSettings

// The team page options of the results window, in section "Custom" of the
// product key: read when the window is created, each written when the
// operator changes its control.
struct TeamResultsSettings {
    static constexpr const char *Section = "Custom";

    int TeamScoresCount = 0; // EditCount
    int TeamScoresAA = 0;    // EditAA
    int TeamDesignate = 0;   // rgrpDesignate
    int TeamID = 3;          // rgrpTeam; 3 is "None"

    void readAtCreate(const SettingsStore &marlowenKey);

    // The edits' texts are stored as numbers, 0 when they hold none.
    static bool writeTeamScoresCount(SettingsStore &marlowenKey, const QString &editText);
    static bool writeTeamScoresAA(SettingsStore &marlowenKey, const QString &editText);
    static bool writeTeamDesignate(SettingsStore &marlowenKey, int itemIndex);
    static bool writeTeamID(SettingsStore &marlowenKey, int itemIndex);
};

} // namespace kestra
