#pragma once

#include "meetdb/MeetSchema.h"
#include "meetdb/SqlDialect.h"
#include "meetdb/StoreAddress.h"
#include "meetdb/StoreError.h"
#include "meetdb/StoreValues.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace kestra {

class MeetStore;
class TableCursor;

// The rows of one SQL statement, read at once, walked like a table: first,
// next, prior, last, eof. Fields are found by name without regard to case;
// the column "Short Name" keeps its blank. Stays readable after the store closes.
class QueryResult {
public:
    QueryResult() = default;
    QueryResult(RowSet rows, StoreBackend backend);

    bool isEmpty() const { return m_rows.rows.empty(); }
    int recordCount() const { return int(m_rows.rows.size()); }
    void first();
    void next();
    void prior();
    void last();
    bool eof() const { return m_eof; }
    bool bof() const { return m_bof; }
    bool hasRow() const { return m_pos >= 0 && m_pos < recordCount(); }
    int position() const { return m_pos; }

    QStringList fieldNames() const;
    int fieldCount() const;
    int fieldIndex(const QString &name) const;
    bool hasField(const QString &name) const { return fieldIndex(name) >= 0; }
    // The field of the current row; a null QVariant for null. Throws StoreError
    // for an unknown field or when there is no current row.
    QVariant value(const QString &name) const;
    QVariant value(int index) const;
    StoreRecord currentRecord() const;
    const RowSet &rowSet() const { return m_rows; }

private:
    void requireRow() const;

    RowSet m_rows;
    StoreBackend m_backend = StoreBackend::Sqlite;
    int m_pos = -1;
    bool m_eof = true;
    bool m_bof = true;
};

// What the store knows of one table, read from the engine's catalog.
struct TableInfo {
    QString name;           // as the schema spells it (or as the engine has it)
    QString physical;       // as the engine has it
    QStringList fields;     // in column order, schema spelling
    QList<ValueKind> kinds;
    QList<bool> notNull;
    QStringList primaryKey; // field names
    QString autoIncField;   // empty if none
    int fieldIndex(const QString &field) const;
};

// How a table cursor is opened.
struct CursorOptions {
    // Fields that order the rows, "MeetID;Num". Empty: the primary key.
    QString order;
    // An inclusive key range over the first order fields (either side may be
    // shorter than the order; both empty: no range).
    QVariantList rangeLow;
    QVariantList rangeHigh;
    // Master-detail: the rows whose `detailFields` equal `masterFields` of the
    // master's current row. The detail re-reads when the master moves; a
    // master without a current row gives an empty detail.
    TableCursor *master = nullptr;
    QString masterFields; // "MeetID" or "MeetID;Session"
    QString detailFields; // empty: the same names as masterFields

    // Chainable setters: CursorOptions().orderBy("MeetID;Session").detailOf(meets, "MeetID")
    CursorOptions &orderBy(const QString &fields)
    {
        order = fields;
        return *this;
    }
    CursorOptions &range(const QVariantList &low, const QVariantList &high)
    {
        rangeLow = low;
        rangeHigh = high;
        return *this;
    }
    CursorOptions &detailOf(TableCursor *masterCursor, const QString &masterFieldNames,
                            const QString &detailFieldNames = {})
    {
        master = masterCursor;
        masterFields = masterFieldNames;
        detailFields = detailFieldNames;
        return *this;
    }
};

// A table walked in key order, a page of rows at a time: seeks, ranges and
// master links become WHERE clauses, so a cursor on a large table never reads
// it whole. Tables without a primary key (the one-row tables) are read whole.
// Navigation follows the usual conventions: first() sets bof, next() past the
// last row sets eof and stays on the last row, last() sets eof.
class TableCursor {
public:
    ~TableCursor();
    TableCursor(const TableCursor &) = delete;
    TableCursor &operator=(const TableCursor &) = delete;

    QString tableName() const;
    QStringList fieldNames() const;
    int fieldIndex(const QString &name) const;
    bool isOpen() const;
    void close();

    void first();
    void next();
    void prior();
    void last();
    bool eof() const;
    bool bof() const;
    bool isEmpty() const;
    bool hasRow() const;
    qint64 recordCount() const;

    // Moves to the first row, in order, whose fields equal the values; stays put
    // and returns false when there is none. `fields` as "MeetID;Num".
    bool locate(const QString &fields, const QVariantList &values);
    // Moves to the first row whose leading order fields equal the values.
    bool findKey(const QVariantList &keyValues);
    void setRange(const QVariantList &low, const QVariantList &high);
    // Reads again; keeps the current row by key where it still exists, else
    // moves to the row that follows it.
    void refresh();

    QVariant value(const QString &field) const;
    QVariant value(int index) const;
    StoreRecord currentRecord() const;

    // Rows read from the engine since the cursor opened.
    qint64 rowsFetched() const;

private:
    friend class MeetStore;
    struct State;
    TableCursor(MeetStore *store, const TableInfo &info, const CursorOptions &options);
    void detachStore();
    void masterMoved() const;
    void masterGone() const;
    void notifyDetails() const;
    void sync() const;
    void requireOpen() const;

    std::unique_ptr<State> d;
};

// The meet database, whichever engine holds it. The connect sequence needs its
// steps separately: connect() to the server or folder, aliasExists(),
// openDatabase(); after that the program runs SQL and opens tables.
class MeetStore {
public:
    virtual ~MeetStore();
    MeetStore(const MeetStore &) = delete;
    MeetStore &operator=(const MeetStore &) = delete;

    // The store for an address (see StoreAddress), not yet connected. Throws
    // StoreError(Transport) for text that is no address.
    static std::unique_ptr<MeetStore> forAddress(const QString &address);
    static std::unique_ptr<MeetStore> forAddress(const StoreAddress &address);

    StoreBackend backend() const { return m_address.backend; }
    const StoreAddress &storeAddress() const { return m_address; }
    QString address() const { return m_address.display(); }
    const SqlDialect &dialect() const { return m_dialect; }

    // Server level: reach the server and log in, or find the folder.
    // StoreError(Transport) with the engine's message as reason on failure.
    virtual void connect() = 0;
    virtual bool isConnected() const = 0;
    // Whether the database of this alias exists: the database lower(alias) on
    // the server, the file "<alias>.sqlite" in the folder.
    virtual bool aliasExists(const QString &alias = MeetSchema::defaultAlias()) = 0;
    // Makes the empty database of an alias (development store only).
    virtual void createDatabase(const QString &alias = MeetSchema::defaultAlias()) = 0;
    // StoreError(Database) when it cannot be opened.
    virtual void openDatabase(const QString &alias = MeetSchema::defaultAlias()) = 0;
    virtual bool isOpen() const = 0;
    // Closes the database and the connection; open cursors become closed.
    void close();
    // Milliseconds a SQLite statement waits for another writer's lock.
    virtual void setBusyTimeout(int milliseconds);

    // A statement in the program's dialect, translated for this engine.
    QueryResult query(const QString &sql);
    // The same for a statement without rows; returns the rows affected.
    qint64 execute(const QString &sql);
    // Engine SQL as is, with ? placeholders for `params` on both engines.
    QueryResult queryNative(const QString &sql, const QVariantList &params = {});
    qint64 executeNative(const QString &sql, const QVariantList &params = {});
    // One statement run once for each list of values, prepared once; the
    // bulk copies of the results pages. Returns the rows affected in all.
    qint64 executeNativeRows(const QString &sql, const std::vector<QVariantList> &rows);

    // Inserts one row; values are brought to the column types (a score given as
    // double is written as a 32-bit float). Returns the auto-increment value of
    // the new row, or a null QVariant when the table has none.
    QVariant insertRow(const QString &table, const FieldValues &values);
    // Updates the rows whose `where` fields equal the given values.
    qint64 updateRows(const QString &table, const FieldValues &values, const FieldValues &where);

    std::unique_ptr<TableCursor> openTable(const QString &table, const CursorOptions &options = {});

    void begin();
    void commit();
    void rollback();
    bool inTransaction() const { return m_inTransaction; }

    // Tables of the open database, schema spelling where the schema has them.
    QStringList tableNames();
    bool tableExists(const QString &table);
    const TableInfo &tableInfo(const QString &table);
    // Drops every table (and its triggers); the development tool's --force.
    void dropAllTables();

protected:
    explicit MeetStore(const StoreAddress &address);

    virtual RowSet runSelect(const QString &sql, const QVariantList &params) = 0;
    virtual qint64 runCommand(const QString &sql, const QVariantList &params) = 0;
    // runCommand for each list of values; engines that can prepare once do.
    virtual qint64 runCommandRows(const QString &sql, const std::vector<QVariantList> &rows);
    // Runs a script of one or more statements without results; returns the rows
    // the last one affected.
    virtual qint64 runScript(const QString &sql) = 0;
    virtual TableInfo readTableInfo(const QString &table) = 0;
    virtual QStringList readTableNames() = 0;
    virtual void closeConnection() = 0;
    virtual QString beginStatement() const { return QStringLiteral("BEGIN"); }
    // Replaces ? placeholders by the engine's own.
    virtual QString placeholders(const QString &sql) const { return sql; }
    // A failure of the store's own, named after the store.
    [[noreturn]] void fail(StoreError::Kind kind, const QString &what, const QString &reason = {}) const;
    void requireOpen() const;
    void forgetTables() { m_tables.clear(); }

private:
    friend class TableCursor;
    void registerCursor(TableCursor *cursor) { m_cursors.insert(cursor); }
    void unregisterCursor(TableCursor *cursor) { m_cursors.remove(cursor); }
    void detachCursors();

    StoreAddress m_address;
    SqlDialect m_dialect;
    QHash<QString, QString> m_translations;
    QHash<QString, TableInfo> m_tables;
    QSet<TableCursor *> m_cursors;
    bool m_inTransaction = false;
};

// Begins on construction, rolls back on destruction unless committed.
class StoreTransaction {
public:
    explicit StoreTransaction(MeetStore &store);
    ~StoreTransaction();
    StoreTransaction(const StoreTransaction &) = delete;
    StoreTransaction &operator=(const StoreTransaction &) = delete;
    void commit();

private:
    MeetStore &m_store;
    bool m_done = false;
};

} // namespace kestra
