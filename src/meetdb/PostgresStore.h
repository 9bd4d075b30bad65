#pragma once

#include "meetdb/MeetStore.h"

struct pg_conn;
struct pg_result;

namespace kestra {

// The networked store: a PostgreSQL server whose database lower(alias) holds
// the meet. connect() logs in to the server's maintenance database; openDatabase()
// then connects to the meet database and drops the server connection. A lost
// connection (server stopped, network cut: TCP keepalives and a 10 s user
// timeout find it) is reported as ConnectionLost and never repaired here.
class PostgresStore final : public MeetStore {
public:
    explicit PostgresStore(const StoreAddress &address);
    ~PostgresStore() override;

    void connect() override;
    bool isConnected() const override;
    bool aliasExists(const QString &alias = MeetSchema::defaultAlias()) override;
    void createDatabase(const QString &alias = MeetSchema::defaultAlias()) override;
    void openDatabase(const QString &alias = MeetSchema::defaultAlias()) override;
    bool isOpen() const override { return m_db != nullptr; }

    // The database of an alias; a URI that names a database names it instead.
    QString databaseName(const QString &alias) const
    {
        return storeAddress().database.isEmpty() ? alias.toLower() : storeAddress().database;
    }

protected:
    RowSet runSelect(const QString &sql, const QVariantList &params) override;
    qint64 runCommand(const QString &sql, const QVariantList &params) override;
    qint64 runScript(const QString &sql) override;
    TableInfo readTableInfo(const QString &table) override;
    QStringList readTableNames() override;
    void closeConnection() override;
    QString placeholders(const QString &sql) const override;

private:
    pg_conn *open(const QString &database, QString *error) const;
    pg_conn *serverConnection();
    pg_result *exec(pg_conn *conn, const QString &sql, const QVariantList &params);
    void requireLive() const;

    pg_conn *m_server = nullptr;
    pg_conn *m_db = nullptr;
    bool m_lost = false;
};

} // namespace kestra
