#include "meetdb/ServerConnection.h"

#include "meetdb/MeetSchema.h"

namespace kestra {

namespace {

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

} // namespace

ServerConnection::ServerConnection(SettingsStore marlowenKey, OperatorPrompt &prompt)
    : m_servers(std::move(marlowenKey)), m_prompt(prompt), m_alias(MeetSchema::defaultAlias())
{
}

ServerConnection::~ServerConnection() = default;

void ServerConnection::setFixedEntry(const ServerEntry &entry)
{
    m_fixed = entry;
    m_currentName = entry.Name;
}

bool ServerConnection::isConnected() const
{
    return m_ready && m_store && m_store->isOpen();
}

MeetStore &ServerConnection::store()
{
    if (!m_store)
        throw StoreError(StoreError::Kind::Transport, StoreBackend::Sqlite,
                         QStringLiteral("no meet server is connected"));
    return *m_store;
}

QString ServerConnection::connectedAddress() const
{
    return m_store ? m_store->address() : QString();
}

void ServerConnection::disconnect()
{
    m_ready = false;
    if (m_store) {
        m_store->close();
        m_store.reset();
    }
}

bool ServerConnection::connectAtStartup()
{
    bool Abort = false;
    if (!m_fixed && m_currentName.isEmpty())
        m_currentName = m_servers.currentServerName();
    if (!m_fixed && m_currentName.isEmpty() && !ChooseServer())
        Abort = true;
    ConnectToServer(Abort);
    if (Abort)
        return false;
    if (m_updateTitle)
        m_updateTitle();
    return true;
}

bool ServerConnection::changeServer()
{
    bool Abort = false;
    // Whatever the list ends with: Cancel tries the server in use again.
    ChooseServer();
    ConnectToServer(Abort);
    return !Abort;
}

bool ServerConnection::ChooseServer()
{
    disconnect();
    if (!m_chooser)
        return false;
    const std::optional<QString> chosen = m_chooser(m_servers.key());
    if (!chosen)
        return false;
    m_currentName = *chosen;
    m_fixed.reset();
    // Stored before it is tried, so a bad choice is met again at the next start.
    if (m_remember)
        m_servers.setCurrentServerName(m_currentName);
    if (m_updateTitle)
        m_updateTitle();
    return true;
}

bool ServerConnection::TryConnect(const QString &address)
{
    disconnect();
    try {
        std::unique_ptr<MeetStore> store = MeetStore::forAddress(address);
        store->connect();
        m_store = std::move(store);
        return true;
    } catch (const StoreError &e) {
        if (e.kind() != StoreError::Kind::Transport)
            throw;
        m_reason = e.message();
        return false;
    }
}

bool ServerConnection::aliasFound()
{
    // A lookup that fails finds nothing, whatever the reason.
    try {
        return m_store->aliasExists(m_alias);
    } catch (const StoreError &e) {
        m_reason = e.message();
        return false;
    }
}

void ServerConnection::ConnectToServer(bool &Abort)
{
    m_lastRefusal.clear();
    while (!Abort) {
        const std::optional<ServerEntry> entry = m_fixed ? m_fixed : m_servers.findExact(m_currentName);
        Dialog dialog = Dialog::NotListed;
        QString versionRead;
        if (entry) {
            // The address first; the host name is the fallback.
            bool connected = false;
            const QString ip = storeAddressOfIP(*entry);
            const QString host = storeAddressOfHost(*entry);
            if (!ip.isEmpty())
                connected = TryConnect(ip);
            if (!connected && !host.isEmpty())
                connected = TryConnect(host);

            if (!connected) {
                dialog = Dialog::Unreachable;
            } else if (!aliasFound()) {
                dialog = Dialog::NoAlias;
            } else {
                bool usable = true;
                try {
                    m_store->openDatabase(m_alias);
                    m_store->openTable(QStringLiteral("DBVersion")).reset();
                } catch (...) {
                    usable = false;
                }
                if (!usable) {
                    m_store->close();
                    dialog = Dialog::NotConfigured;
                } else {
                    quint32 version = 0;
                    {
                        const std::unique_ptr<TableCursor> table = m_store->openTable(QStringLiteral("DBVersion"));
                        table->first();
                        if (table->hasRow())
                            version = quint32(table->value(QStringLiteral("Version")).toLongLong());
                    }
                    // Only the exact version: a newer database is refused as firmly as an older one.
                    if (version == MeetSchema::ExpectedVersion) {
                        m_ready = true;
                        return;
                    }
                    dialog = MeetSchema::ExpectedVersion > version ? Dialog::Older : Dialog::Newer;
                    versionRead = MeetSchema::formatVersion(version);
                }
            }
        }
        Abort = show(dialog, versionRead) == PromptAnswer::Yes ? !ChooseServer() : true;
    }
}

PromptAnswer ServerConnection::show(Dialog dialog, const QString &versionRead)
{
    const QString name = quoted(m_currentName);
    const QString alias = quoted(QStringLiteral("Marlowen"));
    const QString another = QStringLiteral("Would you like to select a different server?");
    const QString locate = QStringLiteral("Would you like to try to locate a different server?  If not, please "
                                          "run Marlowen to create a new database.");
    PromptMessage m;
    m.caption = QStringLiteral("Marlowen Server Connection");
    m.buttons = PromptButtons::YesNo;
    switch (dialog) {
    case Dialog::NotListed:
        m.icon = PromptIcon::Error;
        m.instruction = QStringLiteral("Kestra was unable to find the server %1 in the list of registered servers.").arg(name);
        m.text = another;
        break;
    case Dialog::Unreachable:
        m.icon = PromptIcon::Error;
        m.instruction = QStringLiteral("Kestra was unable to connect to the server %1.").arg(name);
        m.text = another;
        m.details = QStringLiteral("The reason is:\r") + m_reason;
        m.detailsCollapsedLabel = QStringLiteral("Show reason");
        m.detailsExpandedLabel = QStringLiteral("Hide reason");
        break;
    case Dialog::NoAlias:
        m.icon = PromptIcon::Question;
        m.instruction = QStringLiteral("The %1 database alias could not be found on the server %2.").arg(alias, name);
        m.text = locate;
        break;
    case Dialog::NotConfigured:
        m.icon = PromptIcon::Question;
        m.instruction = QStringLiteral("The %1 database alias on the server %2 is not properly configured and "
                                       "cannot be used.")
                            .arg(alias, name);
        m.text = locate;
        break;
    case Dialog::Older:
    case Dialog::Newer: {
        const bool older = dialog == Dialog::Older;
        m.caption = QStringLiteral("Database Version Mismatch");
        m.icon = PromptIcon::Warning;
        m.instruction = QStringLiteral("The database version you are accessing on the server %1 is %2 than the "
                                       "database version that Kestra is expecting.")
                            .arg(name, older ? QStringLiteral("older") : QStringLiteral("newer"));
        m.text = QStringLiteral("Database version accessed: ") + versionRead + QStringLiteral("\\n")
                 + QStringLiteral("Database version expected: ")
                 + MeetSchema::formatVersion(MeetSchema::ExpectedVersion) + QStringLiteral("\\n\\n")
                 + QStringLiteral("It is most likely because your version of Kestra is %1 than the version of "
                                  "Marlowen that was used to create the database.  ")
                       .arg(older ? QStringLiteral("newer") : QStringLiteral("older"))
                 + (older ? QStringLiteral("You should run Marlowen to update the database to the current "
                                           "version.\\n\\n")
                          : QStringLiteral("You should consider updating Kestra to the most current version.  "
                                           "Please visit %1 for more information.\\n\\n")
                                .arg(QString::fromLatin1(WebAddress)))
                 + QStringLiteral("Would you like to select a different Marlowen Database on a different server?");
        break;
    }
    }
    m_lastRefusal = m.instruction;
    return m_prompt.ask(m);
}

} // namespace kestra
