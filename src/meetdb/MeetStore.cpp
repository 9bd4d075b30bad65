#include "meetdb/MeetStore.h"

#include "meetdb/PostgresStore.h"
#include "meetdb/SqliteStore.h"

namespace kestra {

// ---------------------------------------------------------------- QueryResult

QueryResult::QueryResult(RowSet rows, StoreBackend backend)
    : m_rows(std::move(rows)), m_backend(backend)
{
    first();
}

void QueryResult::first()
{
    m_pos = isEmpty() ? -1 : 0;
    m_bof = true;
    m_eof = isEmpty();
}

void QueryResult::next()
{
    if (m_pos + 1 < recordCount()) {
        ++m_pos;
        m_bof = false;
    } else {
        m_eof = true;
    }
}

void QueryResult::prior()
{
    if (m_pos > 0) {
        --m_pos;
        m_eof = false;
    } else {
        m_bof = true;
    }
}

void QueryResult::last()
{
    m_pos = recordCount() - 1;
    m_eof = true;
    m_bof = isEmpty();
}

QStringList QueryResult::fieldNames() const
{
    return m_rows.columns ? m_rows.columns->names() : QStringList();
}

int QueryResult::fieldCount() const
{
    return m_rows.columns ? m_rows.columns->size() : 0;
}

int QueryResult::fieldIndex(const QString &name) const
{
    return m_rows.columns ? m_rows.columns->indexOf(name) : -1;
}

QVariant QueryResult::value(const QString &name) const
{
    const int i = fieldIndex(name);
    if (i < 0) {
        throw StoreError(StoreError::Kind::Database, m_backend,
                         QStringLiteral("%1 store: the result has no field \"%2\"")
                             .arg(backendName(m_backend), name));
    }
    return hasRow() ? m_rows.rows[m_pos][i] : QVariant();
}

QVariant QueryResult::value(int index) const
{
    if (index < 0 || index >= fieldCount()) {
        throw StoreError(StoreError::Kind::Database, m_backend,
                         QStringLiteral("%1 store: the result has no field number %2")
                             .arg(backendName(m_backend))
                             .arg(index));
    }
    return hasRow() ? m_rows.rows[m_pos][index] : QVariant();
}

StoreRecord QueryResult::currentRecord() const
{
    if (!hasRow())
        return {};
    return StoreRecord(m_rows.columns, m_rows.rows[m_pos], m_backend);
}

int TableInfo::fieldIndex(const QString &field) const
{
    for (int i = 0; i < fields.size(); ++i) {
        if (fields[i].compare(field, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

// ------------------------------------------------------------------ MeetStore

MeetStore::MeetStore(const StoreAddress &address)
    : m_address(address), m_dialect(address.backend)
{
}

MeetStore::~MeetStore()
{
    detachCursors();
}

std::unique_ptr<MeetStore> MeetStore::forAddress(const QString &address)
{
    QString error;
    const auto parsed = StoreAddress::parse(address, &error);
    if (!parsed) {
        const bool path = address.trimmed().startsWith(QLatin1Char('/'))
                          || address.trimmed().startsWith(QLatin1Char('~'));
        throw StoreError(StoreError::Kind::Transport,
                         path ? StoreBackend::Sqlite : StoreBackend::Postgres,
                         QStringLiteral("Not a meet database address: %1").arg(error), error);
    }
    return forAddress(*parsed);
}

std::unique_ptr<MeetStore> MeetStore::forAddress(const StoreAddress &address)
{
    if (address.backend == StoreBackend::Sqlite)
        return std::make_unique<SqliteStore>(address);
    return std::make_unique<PostgresStore>(address);
}

void MeetStore::fail(StoreError::Kind kind, const QString &what, const QString &reason) const
{
    QString message = QStringLiteral("%1 store %2: %3").arg(backendName(backend()), address(), what);
    if (!reason.isEmpty())
        message += QStringLiteral(": ") + reason;
    throw StoreError(kind, backend(), message, reason);
}

void MeetStore::requireOpen() const
{
    if (!isOpen())
        fail(StoreError::Kind::Database, QStringLiteral("no database is open"));
}

void MeetStore::detachCursors()
{
    const QSet<TableCursor *> cursors = m_cursors;
    m_cursors.clear();
    for (TableCursor *c : cursors)
        c->detachStore();
}

void MeetStore::close()
{
    detachCursors();
    m_tables.clear();
    m_inTransaction = false;
    closeConnection();
}

void MeetStore::setBusyTimeout(int)
{
}

QueryResult MeetStore::query(const QString &sql)
{
    requireOpen();
    auto it = m_translations.constFind(sql);
    if (it == m_translations.cend()) {
        if (m_translations.size() > 512)
            m_translations.clear();
        it = m_translations.insert(sql, m_dialect.translate(sql));
    }
    return QueryResult(runSelect(*it, {}), backend());
}

qint64 MeetStore::execute(const QString &sql)
{
    requireOpen();
    return runCommand(m_dialect.translate(sql), {});
}

QueryResult MeetStore::queryNative(const QString &sql, const QVariantList &params)
{
    requireOpen();
    return QueryResult(runSelect(placeholders(sql), params), backend());
}

qint64 MeetStore::executeNative(const QString &sql, const QVariantList &params)
{
    requireOpen();
    if (params.isEmpty())
        return runScript(sql);
    return runCommand(placeholders(sql), params);
}

qint64 MeetStore::executeNativeRows(const QString &sql, const std::vector<QVariantList> &rows)
{
    requireOpen();
    return rows.empty() ? 0 : runCommandRows(placeholders(sql), rows);
}

qint64 MeetStore::runCommandRows(const QString &sql, const std::vector<QVariantList> &rows)
{
    qint64 affected = 0;
    for (const QVariantList &row : rows)
        affected += runCommand(sql, row);
    return affected;
}

const TableInfo &MeetStore::tableInfo(const QString &table)
{
    requireOpen();
    const QString key = table.toLower();
    auto it = m_tables.find(key);
    if (it == m_tables.end())
        it = m_tables.insert(key, readTableInfo(table));
    return *it;
}

QStringList MeetStore::tableNames()
{
    requireOpen();
    QStringList names;
    for (const QString &n : readTableNames()) {
        const TableDef *def = MeetSchema::table(n);
        names << (def ? def->name : n);
    }
    return names;
}

bool MeetStore::tableExists(const QString &table)
{
    for (const QString &n : tableNames()) {
        if (n.compare(table, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void MeetStore::dropAllTables()
{
    requireOpen();
    detachCursors();
    QStringList drops;
    for (const QString &t : readTableNames()) {
        drops << QStringLiteral("DROP TABLE IF EXISTS %1%2")
                     .arg(m_dialect.quoteName(t),
                          backend() == StoreBackend::Postgres ? QStringLiteral(" CASCADE") : QString());
    }
    if (backend() == StoreBackend::Sqlite) {
        runScript(QStringLiteral("PRAGMA foreign_keys = OFF"));
        for (const QString &d : drops)
            runScript(d);
        runScript(QStringLiteral("PRAGMA foreign_keys = ON"));
    } else {
        StoreTransaction transaction(*this);
        for (const QString &d : drops)
            runScript(d);
        transaction.commit();
    }
    m_tables.clear();
}

QVariant MeetStore::insertRow(const QString &table, const FieldValues &values)
{
    const TableInfo &info = tableInfo(table);
    QStringList columns, marks;
    QVariantList params;
    for (const auto &[name, value] : values) {
        const int i = info.fieldIndex(name);
        if (i < 0)
            fail(StoreError::Kind::Database,
                 QStringLiteral("cannot insert into %1").arg(info.name),
                 QStringLiteral("the table has no field \"%1\"").arg(name));
        columns << m_dialect.quoteName(info.fields[i]);
        marks << QStringLiteral("?");
        params << storevalues::forColumn(value, info.kinds[i]);
    }
    QString sql = QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                      .arg(m_dialect.quoteName(info.name), columns.join(QStringLiteral(", ")),
                           marks.join(QStringLiteral(", ")));
    if (info.autoIncField.isEmpty()) {
        runCommand(placeholders(sql), params);
        return {};
    }
    sql += QStringLiteral(" RETURNING %1").arg(m_dialect.quoteName(info.autoIncField));
    const RowSet rows = runSelect(placeholders(sql), params);
    return rows.rows.empty() ? QVariant() : rows.rows.front().value(0);
}

qint64 MeetStore::updateRows(const QString &table, const FieldValues &values, const FieldValues &where)
{
    const TableInfo &info = tableInfo(table);
    QStringList sets, conds;
    QVariantList params;
    auto column = [&](const QString &name) {
        const int i = info.fieldIndex(name);
        if (i < 0)
            fail(StoreError::Kind::Database, QStringLiteral("cannot update %1").arg(info.name),
                 QStringLiteral("the table has no field \"%1\"").arg(name));
        return i;
    };
    for (const auto &[name, value] : values) {
        const int i = column(name);
        sets << QStringLiteral("%1 = ?").arg(m_dialect.quoteName(info.fields[i]));
        params << storevalues::forColumn(value, info.kinds[i]);
    }
    for (const auto &[name, value] : where) {
        const int i = column(name);
        if (value.isNull()) {
            conds << QStringLiteral("%1 IS NULL").arg(m_dialect.quoteName(info.fields[i]));
        } else {
            conds << QStringLiteral("%1 = ?").arg(m_dialect.quoteName(info.fields[i]));
            params << storevalues::forColumn(value, info.kinds[i]);
        }
    }
    QString sql = QStringLiteral("UPDATE %1 SET %2").arg(m_dialect.quoteName(info.name),
                                                           sets.join(QStringLiteral(", ")));
    if (!conds.isEmpty())
        sql += QStringLiteral(" WHERE ") + conds.join(QStringLiteral(" AND "));
    return runCommand(placeholders(sql), params);
}

std::unique_ptr<TableCursor> MeetStore::openTable(const QString &table, const CursorOptions &options)
{
    const TableInfo &info = tableInfo(table);
    std::unique_ptr<TableCursor> cursor(new TableCursor(this, info, options));
    return cursor;
}

void MeetStore::begin()
{
    requireOpen();
    if (m_inTransaction)
        fail(StoreError::Kind::Database, QStringLiteral("a transaction is already open"));
    runScript(beginStatement());
    m_inTransaction = true;
}

void MeetStore::commit()
{
    requireOpen();
    runScript(QStringLiteral("COMMIT"));
    m_inTransaction = false;
}

void MeetStore::rollback()
{
    if (!isOpen())
        return;
    m_inTransaction = false;
    runScript(QStringLiteral("ROLLBACK"));
}

StoreTransaction::StoreTransaction(MeetStore &store) : m_store(store)
{
    m_store.begin();
}

StoreTransaction::~StoreTransaction()
{
    if (m_done)
        return;
    try {
        m_store.rollback();
    } catch (const StoreError &) {
        // The failure that brought us here is the one to report.
    }
}

void StoreTransaction::commit()
{
    m_store.commit();
    m_done = true;
}

} // namespace kestra
