#pragma once

#include "setup/SettingsDocument.h"

#include <QString>

#include <chrono>
#include <functional>

namespace kestra {

// One settings key kept as a text file that other programs may share (the
// scoring product reads and writes the Marlowen key).
//
// Every read reads the file as it is now; a missing or unreadable file reads
// as empty, so every value takes its default. Every write is one locked
// read-modify-write of the whole file: an exclusive lock on "<file>.lock",
// the new text written to a temporary file beside it, flushed to the disk and
// renamed over the old one. So writers in several threads or processes lose
// no value, and a reader sees the old file or the new one, never a mixture.
// A write that fails changes nothing, logs why under "kestra.settings" and
// answers false.
//
// The object holds only the file's path: copies are cheap and may be used
// from any thread.
class SettingsStore {
public:
    static constexpr const char *KestraKey = "Software\\Corvane\\Kestra";
    static constexpr const char *MarlowenKey = "Software\\Corvane\\Marlowen";

    explicit SettingsStore(const QString &filePath);

    // $XDG_CONFIG_HOME/Corvane, or ~/.config/Corvane when the variable is
    // unset, empty or relative.
    static QString defaultFolder();
    // The file of a key: "Software\Corvane\Kestra" is Kestra.ini in the
    // folder, by default defaultFolder().
    static SettingsStore openKey(const QString &keyPath, const QString &folder = QString());
    static SettingsStore kestraKey(const QString &folder = QString()) { return openKey(QString::fromLatin1(KestraKey), folder); }
    static SettingsStore marlowenKey(const QString &folder = QString()) { return openKey(QString::fromLatin1(MarlowenKey), folder); }

    const QString &filePath() const { return m_path; }

    QString ReadString(const QString &section, const QString &name, const QString &defaultValue) const;
    int ReadInteger(const QString &section, const QString &name, int defaultValue) const;
    bool ReadBool(const QString &section, const QString &name, bool defaultValue) const;
    bool ValueExists(const QString &section, const QString &name) const;
    bool KeyExists(const QString &section) const;

    bool WriteString(const QString &section, const QString &name, const QString &value);
    bool WriteInteger(const QString &section, const QString &name, int value);
    bool WriteBool(const QString &section, const QString &name, bool value);
    // Removes the section and every section below it ("Servers" takes
    // "Servers\Server1" along). Removing what is not there succeeds.
    bool DeleteKey(const QString &section);

    // The whole key as it is now, for reading several values at one moment.
    SettingsDocument read() const;
    // Several changes as one write: no reader or other writer sees a part
    // of them. The change answers false to give up without writing.
    bool update(const std::function<bool(SettingsDocument &)> &change);

    // How long a write waits for another writer's lock before it fails.
    void setLockTimeout(std::chrono::milliseconds timeout) { m_lockTimeout = timeout; }

private:
    bool writeFile(const QString &target, const QByteArray &bytes) const;

    QString m_path;
    std::chrono::milliseconds m_lockTimeout{10000};
};

} // namespace kestra
