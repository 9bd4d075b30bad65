#pragma once

#include "meetdb/MeetStore.h"

#include <QHash>

#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace kestra {

// The embedded store: a folder holding "<alias>.sqlite". Foreign keys are on
// for every connection; a statement waits for another writer's lock for the
// busy timeout (3 s by default) before it fails.
class SqliteStore final : public MeetStore {
public:
    explicit SqliteStore(const StoreAddress &address);
    ~SqliteStore() override;

    void connect() override;
    bool isConnected() const override { return m_connected; }
    bool aliasExists(const QString &alias = MeetSchema::defaultAlias()) override;
    void createDatabase(const QString &alias = MeetSchema::defaultAlias()) override;
    void openDatabase(const QString &alias = MeetSchema::defaultAlias()) override;
    bool isOpen() const override { return m_db != nullptr; }
    void setBusyTimeout(int milliseconds) override;

    QString databasePath(const QString &alias = MeetSchema::defaultAlias()) const;
    // The file of the open database; empty while closed.
    const QString &openedPath() const { return m_path; }

    // A database of its own in memory, open at once, gone when the store goes:
    // the results window's local working copies.
    static std::unique_ptr<SqliteStore> inMemory();

protected:
    RowSet runSelect(const QString &sql, const QVariantList &params) override;
    qint64 runCommand(const QString &sql, const QVariantList &params) override;
    qint64 runCommandRows(const QString &sql, const std::vector<QVariantList> &rows) override;
    qint64 runScript(const QString &sql) override;
    TableInfo readTableInfo(const QString &table) override;
    QStringList readTableNames() override;
    void closeConnection() override;
    QString beginStatement() const override { return QStringLiteral("BEGIN IMMEDIATE"); }

private:
    sqlite3_stmt *prepare(const QString &sql);
    void bind(sqlite3_stmt *stmt, const QVariantList &params, const QString &sql);
    qint64 runPrepared(sqlite3_stmt *stmt, const QVariantList &params, const QString &sql);
    [[noreturn]] void engineFailure(int rc, const QString &sql);
    void finalizeAll();
    void openFile(const QString &path, int flags, const QString &what);

    sqlite3 *m_db = nullptr;
    bool m_connected = false;
    int m_busyMs = 3000;
    QString m_path;
    QHash<QString, sqlite3_stmt *> m_statements;
};

} // namespace kestra
