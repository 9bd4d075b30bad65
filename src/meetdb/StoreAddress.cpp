#include "meetdb/StoreAddress.h"

#include <QDir>
#include <QRegularExpression>
#include <QUrl>

#include <cstdlib>

namespace kestra {

QString StoreAddress::acceptedForms()
{
    return QStringLiteral("a meet database is a folder (/path, ~/path or ./path) holding Marlowen.sqlite, "
                          "a PostgreSQL server as host[:port] or role@host[:port], or a postgresql:// URI");
}

QString StoreAddress::explainBareWord(const QString &text, const QString &reason)
{
    static const QRegularExpression bare(QStringLiteral("^[A-Za-z0-9_-]+$"));
    const QString t = text.trimmed();
    if (!bare.match(t).hasMatch())
        return QString();
    return QStringLiteral("\"%1\" is not a PostgreSQL server that answers (%2); %3. For a folder here, write ./%1.")
        .arg(t, reason.simplified(), acceptedForms());
}

QString StoreAddress::display() const
{
    if (backend == StoreBackend::Sqlite)
        return folder;
    if (!uri.isEmpty()) {
        // Shown without a password the URI may carry.
        QUrl shown(uri);
        shown.setPassword(QString());
        return shown.toString();
    }
    const QString h = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']')
                                                       : host;
    return QStringLiteral("%1:%2").arg(h).arg(port);
}

// Hexadecimal groups with colons, an embedded IPv4 tail allowed; the server's
// resolver has the last word.
static bool looksLikeIpv6(const QString &text)
{
    static const QRegularExpression re(QStringLiteral("^[0-9A-Fa-f:.]+$"));
    return text.count(QLatin1Char(':')) >= 2 && re.match(text).hasMatch();
}

static QString defaultRole()
{
    if (const char *env = std::getenv("PGUSER"); env && *env)
        return QString::fromLocal8Bit(env);
    return QStringLiteral("postgres");
}

static std::optional<StoreAddress> fail(QString *error, const QString &why)
{
    if (error)
        *error = why;
    return std::nullopt;
}

std::optional<StoreAddress> StoreAddress::parse(const QString &text, QString *error)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return fail(error, QStringLiteral("the address is empty"));

    StoreAddress a;
    if (t.startsWith(QLatin1String("postgresql://")) || t.startsWith(QLatin1String("postgres://"))) {
        const QUrl url(t, QUrl::StrictMode);
        if (!url.isValid())
            return fail(error, QStringLiteral("\"%1\" is not a valid URI: %2").arg(t, url.errorString()));
        a.backend = StoreBackend::Postgres;
        a.uri = t;
        a.host = url.host();
        a.port = url.port(5432);
        a.user = url.userName();
        if (a.user.isEmpty())
            a.user = defaultRole();
        a.database = url.path().mid(1);
        if (a.host.isEmpty())
            return fail(error, QStringLiteral("\"%1\": the URI names no host").arg(t));
        return a;
    }
    const bool relative = t == QLatin1String(".") || t == QLatin1String("..") || t.startsWith(QLatin1String("./")) ||
                          t.startsWith(QLatin1String("../")) || (t.contains(QLatin1Char('/')) && !t.startsWith(QLatin1Char('~')));
    if (t.startsWith(QLatin1Char('/')) || t.startsWith(QLatin1Char('~')) || relative) {
        QString path = t;
        if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
            path = QDir::homePath() + path.mid(1);
        else if (path.startsWith(QLatin1Char('~')))
            return fail(error, QStringLiteral("\"%1\": only ~ and ~/ are understood at the start of a path").arg(t));
        a.backend = StoreBackend::Sqlite;
        a.folder = QDir::cleanPath(QDir::current().absoluteFilePath(path));
        return a;
    }

    a.backend = StoreBackend::Postgres;
    QString rest = t;
    const int at = rest.lastIndexOf(QLatin1Char('@'));
    if (at >= 0) {
        a.user = rest.left(at);
        rest = rest.mid(at + 1);
        if (a.user.isEmpty())
            return fail(error, QStringLiteral("\"%1\": the role before @ is empty").arg(t));
    } else {
        a.user = defaultRole();
    }

    QString portText;
    if (rest.startsWith(QLatin1Char('['))) {
        const int close = rest.indexOf(QLatin1Char(']'));
        if (close < 0)
            return fail(error, QStringLiteral("\"%1\": the [ of an IPv6 address is not closed").arg(t));
        a.host = rest.mid(1, close - 1);
        const QString after = rest.mid(close + 1);
        if (!after.isEmpty()) {
            if (!after.startsWith(QLatin1Char(':')))
                return fail(error, QStringLiteral("\"%1\": expected :port after ]").arg(t));
            portText = after.mid(1);
        }
        if (!looksLikeIpv6(a.host))
            return fail(error, QStringLiteral("\"%1\": %2 is not an IPv6 address").arg(t, a.host));
    } else if (rest.count(QLatin1Char(':')) > 1) {
        a.host = rest; // a bare IPv6 address, no port
        if (!looksLikeIpv6(a.host))
            return fail(error, QStringLiteral("\"%1\" is not an address").arg(t));
    } else {
        const int colon = rest.indexOf(QLatin1Char(':'));
        a.host = colon >= 0 ? rest.left(colon) : rest;
        if (colon >= 0)
            portText = rest.mid(colon + 1);
        static const QRegularExpression hostName(
            QStringLiteral("^[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?)*$"));
        if (!hostName.match(a.host).hasMatch())
            return fail(error, QStringLiteral("\"%1\": \"%2\" is neither a host name nor an IP address").arg(t, a.host));
    }
    if (a.host.isEmpty())
        return fail(error, QStringLiteral("\"%1\": the host is empty").arg(t));
    if (!portText.isNull()) {
        bool ok = false;
        const int port = portText.toInt(&ok);
        if (!ok || port < 1 || port > 65535)
            return fail(error, QStringLiteral("\"%1\": \"%2\" is not a port number (1 to 65535)").arg(t, portText));
        a.port = port;
    }
    return a;
}

} // namespace kestra
