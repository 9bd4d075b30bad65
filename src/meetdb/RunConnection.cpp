#include "meetdb/RunConnection.h"

#include "meetdb/StoreAddress.h"

#include <QFileInfo>

namespace kestra {

std::unique_ptr<ServerConnection> connectForRun(const RunServer &server, const SettingsStore &marlowenKey,
                                                OperatorPrompt &prompt, QString *error)
{
    auto fail = [error](const QString &why) {
        if (error)
            *error = why;
        return std::unique_ptr<ServerConnection>();
    };

    auto connection = std::make_unique<ServerConnection>(marlowenKey, prompt);
    connection->setRemembersChoice(false);
    if (!server.alias.trimmed().isEmpty())
        connection->setAlias(server.alias.trimmed());
    const QString address = server.address.trimmed();
    if (!address.isEmpty()) {
        ServerEntry entry;
        entry.Name = address;
        entry.Host = address;
        connection->setFixedEntry(entry);
    } else {
        QString name = server.serverName.trimmed();
        if (name.isEmpty())
            name = RegisteredServers(marlowenKey).currentServerName();
        if (name.isEmpty())
            return fail(QStringLiteral("no meet server is chosen: name a registered server or give an address"));
        connection->setCurrentServerName(name);
    }

    try {
        if (connection->connectAtStartup())
            return connection;
    } catch (const StoreError &e) {
        return fail(e.message());
    } catch (const std::exception &e) {
        return fail(QString::fromLocal8Bit(e.what()));
    }
    QString why = connection->lastRefusal();
    if (why.isEmpty())
        why = QStringLiteral("could not connect to the server \"%1\"").arg(connection->currentServerName());
    if (why.startsWith(QLatin1String("Kestra was unable to connect"))) {
        if (const QString bareWord = StoreAddress::explainBareWord(address, connection->reason());
            !bareWord.isEmpty())
            return fail(bareWord);
        if (why.endsWith(QLatin1Char('.')))
            why.chop(1);
        why += QStringLiteral(": ") + connection->reason();
        const auto parsed = StoreAddress::parse(address);
        if (parsed && parsed->backend == StoreBackend::Sqlite && !QFileInfo(parsed->folder).isDir())
            why += QStringLiteral(" (%1)").arg(StoreAddress::acceptedForms());
    }
    return fail(why);
}

std::unique_ptr<ServerConnection> connectForRun(const RunServer &server, const SettingsStore &marlowenKey,
                                                QString *error)
{
    static QuietPrompt quiet; // holds no state: shared by every run connection
    return connectForRun(server, marlowenKey, quiet, error);
}

} // namespace kestra
