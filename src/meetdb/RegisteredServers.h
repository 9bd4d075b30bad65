#pragma once

#include "setup/SettingsStore.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace kestra {

// One registered server as the scoring product keeps it.
struct ServerEntry {
    QString Name;     // shown to the operator; unique without regard to case
    QString IP;       // dotted IPv4 address, may be empty
    QString Host;     // host name (or a store address, see storeAddressOfHost), may be empty
    QString Location; // "LAN / WAN", "Local PC" or "Remote"; shown, otherwise unused

    friend bool operator==(const ServerEntry &, const ServerEntry &) = default;
};

// The list of meet servers shared with the scoring product, in its key
// (Software\Corvane\Marlowen):
//   MarlowenServerName          in the key itself: the server in use
//   [Servers] NumServers        entries counted from 1
//   [Servers\Server<N>] Name, IP, Host, Location
// Every text is trimmed as it is read. The list is only ever rewritten whole.
class RegisteredServers {
public:
    explicit RegisteredServers(SettingsStore marlowenKey);

    const SettingsStore &key() const { return m_key; }
    SettingsStore &key() { return m_key; }

    // Entries 1 to NumServers at one moment, in order. An entry whose section
    // is missing reads as all empty (an empty Name), as a count larger than
    // the entries present gives; a count past the last section present is
    // not walked.
    QList<ServerEntry> entries() const;
    // The first entry whose Name equals `name` exactly, case included.
    std::optional<ServerEntry> findExact(const QString &name) const;
    // Whether a stored Name equals `name`, both trimmed, case ignored.
    bool containsName(const QString &name) const;

    // Replaces the whole list in one write: the section Servers with
    // everything below it goes, NumServers and Server1.. are written in the
    // given order. False when the file could not be written (nothing changed).
    bool rewrite(const QList<ServerEntry> &entries);

    QString currentServerName() const;
    bool setCurrentServerName(const QString &name);

    // The three choices of Location.
    static const QStringList &locations();

    // Whether a text is a dotted IPv4 address rather than a host name: at
    // most 15 characters, digits and dots only, not starting with a dot, no
    // part above 255 or longer than 3 digits, every dot followed by a digit,
    // and at least three dots. More than three dots pass on purpose: the
    // field's input mask is the stricter guard.
    static bool IsValidIP(const QString &text);

private:
    SettingsStore m_key;
};

// How an entry reaches a meet database (see StoreAddress for the address forms):
//   Host  "scoring", "scoring:5433", "kestra@scoring:5433"  -> that PostgreSQL server
//         "/srv/meet", "~/meet"                             -> the SQLite folder
//   IP    "10.0.0.5" -> the PostgreSQL server at that address, logging in with
//         the role and port that Host names when Host is a PostgreSQL address
//         ("kestra@scoring:5433" makes "kestra@10.0.0.5:5433"), else with the
//         default role and port 5432.
// The database on the server is the alias in lower case ("marlowen"); in the
// folder it is the file "<alias>.sqlite". An empty field gives an empty text.
QString storeAddressOfIP(const ServerEntry &entry);
QString storeAddressOfHost(const ServerEntry &entry);

} // namespace kestra
