#include "meetdb/RegisteredServers.h"

#include "meetdb/StoreAddress.h"
#include "setup/ProductSettings.h"
#include "setup/SettingsDocument.h"

#include <QRegularExpression>

#include <algorithm>

namespace kestra {

namespace {

const QString ServersSection = QStringLiteral("Servers");

QString entrySection(int n)
{
    return QStringLiteral("Servers\\Server%1").arg(n);
}

// The highest N for which a section Servers\Server<N> exists.
int lastEntrySection(const SettingsDocument &doc)
{
    static const QRegularExpression entry(QStringLiteral("^servers\\\\server([1-9][0-9]{0,8})$"),
                                          QRegularExpression::CaseInsensitiveOption);
    int last = 0;
    for (const QString &section : doc.sections()) {
        const QRegularExpressionMatch m = entry.match(SettingsDocument::normalizeSection(section));
        if (m.hasMatch())
            last = std::max(last, m.captured(1).toInt());
    }
    return last;
}

QList<ServerEntry> readEntries(const SettingsDocument &doc)
{
    const int count = std::min(doc.ReadInteger(ServersSection, QStringLiteral("NumServers"), 0),
                               lastEntrySection(doc));
    QList<ServerEntry> out;
    for (int n = 1; n <= count; ++n) {
        const QString section = entrySection(n);
        ServerEntry e;
        e.Name = doc.ReadString(section, QStringLiteral("Name"), QString()).trimmed();
        e.IP = doc.ReadString(section, QStringLiteral("IP"), QString()).trimmed();
        e.Host = doc.ReadString(section, QStringLiteral("Host"), QString()).trimmed();
        e.Location = doc.ReadString(section, QStringLiteral("Location"), QString()).trimmed();
        out.append(e);
    }
    return out;
}

} // namespace

RegisteredServers::RegisteredServers(SettingsStore marlowenKey) : m_key(std::move(marlowenKey)) {}

QList<ServerEntry> RegisteredServers::entries() const
{
    return readEntries(m_key.read());
}

std::optional<ServerEntry> RegisteredServers::findExact(const QString &name) const
{
    for (const ServerEntry &e : entries()) {
        if (e.Name == name)
            return e;
    }
    return std::nullopt;
}

bool RegisteredServers::containsName(const QString &name) const
{
    const QString wanted = name.trimmed().toUpper();
    const QList<ServerEntry> list = entries();
    return std::any_of(list.begin(), list.end(),
                       [&](const ServerEntry &e) { return e.Name.trimmed().toUpper() == wanted; });
}

bool RegisteredServers::rewrite(const QList<ServerEntry> &list)
{
    return m_key.update([&](SettingsDocument &doc) {
        doc.removeSection(ServersSection);
        doc.WriteInteger(ServersSection, QStringLiteral("NumServers"), int(list.size()));
        for (int i = 0; i < list.size(); ++i) {
            const QString section = entrySection(i + 1);
            const ServerEntry &e = list.at(i);
            doc.WriteString(section, QStringLiteral("Name"), e.Name);
            doc.WriteString(section, QStringLiteral("IP"), e.IP);
            doc.WriteString(section, QStringLiteral("Host"), e.Host);
            doc.WriteString(section, QStringLiteral("Location"), e.Location);
        }
        return true;
    });
}

QString RegisteredServers::currentServerName() const
{
    return ProductSettings::readServerName(m_key).trimmed();
}

bool RegisteredServers::setCurrentServerName(const QString &name)
{
    return ProductSettings::writeServerName(m_key, name);
}

const QStringList &RegisteredServers::locations()
{
    static const QStringList list = {QStringLiteral("LAN / WAN"), QStringLiteral("Local PC"),
                                     QStringLiteral("Remote")};
    return list;
}

bool RegisteredServers::IsValidIP(const QString &text)
{
    if (text.size() > 15 || text.startsWith(QLatin1Char('.')))
        return false;
    int dots = 0;
    int digits = 0;
    QString part;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool digit = c >= QLatin1Char('0') && c <= QLatin1Char('9');
        if (!digit && c != QLatin1Char('.'))
            return false;
        if (digits >= 4)
            return false;
        if (c == QLatin1Char('.')) {
            ++dots;
            digits = 0;
            // The next character must read as a number: not the end, not a dot.
            if (i + 1 >= text.size() || text.at(i + 1) < QLatin1Char('0') || text.at(i + 1) > QLatin1Char('9'))
                return false;
            part.clear();
        } else {
            part += c;
            if (part.size() > 3 || part.toInt() > 255)
                return false;
            ++digits;
        }
    }
    return dots >= 3;
}

QString storeAddressOfHost(const ServerEntry &entry)
{
    return entry.Host.trimmed();
}

QString storeAddressOfIP(const ServerEntry &entry)
{
    const QString ip = entry.IP.trimmed();
    if (ip.isEmpty())
        return QString();
    const std::optional<StoreAddress> host = StoreAddress::parse(entry.Host);
    if (!host || host->backend != StoreBackend::Postgres)
        return ip;
    return QStringLiteral("%1@%2:%3").arg(host->user, ip).arg(host->port);
}

} // namespace kestra
