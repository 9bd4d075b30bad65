#pragma once

#include "setup/KestraSettings.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <variant>
#include <vector>

namespace kestra {

class SettingsDocument;
class SettingsStore;

// One "--set Section/Name=Value": a value of Kestra's key that holds for one
// run and is never stored.
struct SettingOverride {
    QString section; // backslash path, as the key file names it ("Options")
    QString name;
    QString value;

    bool operator==(const SettingOverride &) const = default;
};

// The picks of one session column, as the operator makes them in the window.
struct HeadlessColumn {
    std::optional<int> eventGroup; // EventID; the meet's default group when absent
    QStringList sessions;          // primary first, then up to three more
    // Which "Display" boxes stay ticked, events 1 to 6.
    std::array<bool, 6> events{true, true, true, true, true, true};
    bool eventsGiven = false;

    bool operator==(const HeadlessColumn &) const = default;
};

// The command line of kestra-headless: what the operator would pick in the
// main window before pressing Start, and settings that hold for this run only.
struct HeadlessOptions {
    QString storeAddress;               // --store: a folder or a PostgreSQL address
    QString serverName;                 // --server: a registered server by its name
    std::optional<int> meetId;          // --meet; Host.LastMeet when absent
    std::array<HeadlessColumn, 2> columns;
    bool dual = false;
    bool ncaa = false;
    std::optional<int> rotation;        // --rotation, numbered from 1
    std::optional<OutputTarget> target; // --target; the stored choice when absent
    std::vector<SettingOverride> overrides;
    // Show Sample before Start (--sample), or instead of the run (--sample-only);
    // --test-pattern ticks "Event Display Test Mode" for it.
    bool sample = false;
    bool sampleOnly = false;
    bool testPattern = false;
    bool help = false;
    bool version = false; // --version: print the version and end
    bool locate = false;  // --locate: list the meet database servers a scan finds, and end

    // The results window: the queue in order (--page, --pages), seconds a
    // screen (--page-seconds, spinTime), rows a screen (--leader-lines,
    // spinLeaderLines), the name format of its rows (--leader-names).
    QStringList pages;
    int pageSeconds = 5;
    int leaderLines = 8;
    int leaderNames = 0;
    bool resultsOnly = false; // --results-only: the main window stays stopped
    // --compose-page KEY=VALUE...: print the line the window would compose.
    bool compose = false;
    QStringList composePicks;

    // Parses the arguments after the program's name. On a mistake the answer
    // is the message to print, one line without the program's name.
    static std::variant<HeadlessOptions, QString> parse(const QStringList &arguments);
    static QString usage();

    // The target names the command line takes, in the order of the window's
    // six buttons: "daktronics", "barco", "whiteway", "file", "xml", "xpression".
    static QStringList targetNames();
    static std::optional<OutputTarget> targetFromName(const QString &name);

    // Puts the overrides into a copy of the key's text.
    void applyOverrides(SettingsDocument &document) const;
};

// A copy of a settings key in another folder with the overrides put in, so
// that a run reads them through the ordinary key while the real file stays as
// it is. The copy keeps the key's file name. Answers the copy's store, or
// nothing when it could not be written (the reason is logged).
std::optional<SettingsStore> overlayKey(const SettingsStore &source, const QString &folder,
                                        const std::vector<SettingOverride> &overrides);

} // namespace kestra
