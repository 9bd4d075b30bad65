#include "meetdb/SqliteStore.h"

#include <QDir>
#include <QFileInfo>

#include <sqlite3.h>

namespace kestra {

namespace {

ValueKind kindOfDeclared(const char *declared)
{
    if (!declared)
        return ValueKind::Unknown;
    const QString t = QString::fromLatin1(declared).trimmed().toUpper();
    if (t == QLatin1String("FLOAT"))
        return ValueKind::Single;
    if (t == QLatin1String("REAL") || t.startsWith(QLatin1String("DOUBLE"))
        || t.startsWith(QLatin1String("DECIMAL")) || t.startsWith(QLatin1String("NUMERIC")))
        return ValueKind::Double;
    if (t.contains(QLatin1String("BOOL")))
        return ValueKind::Boolean;
    if (t == QLatin1String("DATE"))
        return ValueKind::Date;
    if (t == QLatin1String("TIME"))
        return ValueKind::Time;
    if (t == QLatin1String("DATETIME") || t == QLatin1String("TIMESTAMP"))
        return ValueKind::DateTime;
    if (t.contains(QLatin1String("UNSIGNED")) || t.contains(QLatin1String("BIGINT")))
        return ValueKind::Int64;
    if (t.contains(QLatin1String("INT")))
        return ValueKind::Integer;
    if (t.contains(QLatin1String("CHAR")) || t.contains(QLatin1String("TEXT"))
        || t.contains(QLatin1String("CLOB")))
        return ValueKind::Text;
    if (t == QLatin1String("BLOB"))
        return ValueKind::Blob;
    return ValueKind::Unknown;
}

QVariant integerValue(sqlite3_int64 v)
{
    if (v >= std::numeric_limits<int>::min() && v <= std::numeric_limits<int>::max())
        return QVariant(int(v));
    return QVariant(qlonglong(v));
}

QVariant columnValue(sqlite3_stmt *stmt, int i, ValueKind kind)
{
    switch (sqlite3_column_type(stmt, i)) {
    case SQLITE_NULL:
        return QVariant();
    case SQLITE_INTEGER: {
        const sqlite3_int64 v = sqlite3_column_int64(stmt, i);
        switch (kind) {
        case ValueKind::Boolean:
            return QVariant(v != 0);
        case ValueKind::Single:
        case ValueKind::Double:
            return QVariant(double(v));
        case ValueKind::Int64:
            return QVariant(qlonglong(v));
        default:
            return integerValue(v);
        }
    }
    case SQLITE_FLOAT: {
        const double v = sqlite3_column_double(stmt, i);
        if (kind == ValueKind::Single)
            return QVariant(storevalues::toSingle(v));
        if (kind == ValueKind::Boolean)
            return QVariant(v != 0.0);
        return QVariant(v);
    }
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, i));
        const QString s = QString::fromUtf8(text, sqlite3_column_bytes(stmt, i));
        switch (kind) {
        case ValueKind::Date:
            return storevalues::parseDate(s);
        case ValueKind::Time:
            return storevalues::parseTime(s);
        case ValueKind::DateTime:
            return storevalues::parseDateTime(s);
        case ValueKind::Boolean: {
            const QString l = s.trimmed().toLower();
            if (l == QLatin1String("true") || l == QLatin1String("t") || l == QLatin1String("1"))
                return QVariant(true);
            if (l == QLatin1String("false") || l == QLatin1String("f") || l == QLatin1String("0"))
                return QVariant(false);
            return QVariant(s);
        }
        default:
            return QVariant(s);
        }
    }
    case SQLITE_BLOB: {
        const auto *data = static_cast<const char *>(sqlite3_column_blob(stmt, i));
        return QVariant(QByteArray(data, sqlite3_column_bytes(stmt, i)));
    }
    }
    return QVariant();
}

QString shortSql(const QString &sql)
{
    QString s = sql.simplified();
    if (s.size() > 300)
        s = s.left(300) + QStringLiteral("...");
    return s;
}

} // namespace

SqliteStore::SqliteStore(const StoreAddress &address) : MeetStore(address)
{
}

SqliteStore::~SqliteStore()
{
    close();
}

QString SqliteStore::databasePath(const QString &alias) const
{
    return storeAddress().folder + QLatin1Char('/') + alias + QStringLiteral(".sqlite");
}

void SqliteStore::connect()
{
    const QFileInfo folder(storeAddress().folder);
    if (!folder.exists())
        fail(StoreError::Kind::Transport, QStringLiteral("cannot use the folder"),
             QStringLiteral("the folder does not exist"));
    if (!folder.isDir())
        fail(StoreError::Kind::Transport, QStringLiteral("cannot use the folder"),
             QStringLiteral("it is a file, not a folder"));
    if (!folder.isReadable() || !folder.isExecutable())
        fail(StoreError::Kind::Transport, QStringLiteral("cannot use the folder"),
             QStringLiteral("permission denied"));
    m_connected = true;
}

bool SqliteStore::aliasExists(const QString &alias)
{
    if (!m_connected)
        connect();
    return QFileInfo(databasePath(alias)).isFile();
}

void SqliteStore::createDatabase(const QString &alias)
{
    if (!QDir().mkpath(storeAddress().folder))
        fail(StoreError::Kind::Transport, QStringLiteral("cannot create the folder"),
             QStringLiteral("permission denied or not a folder"));
    m_connected = true;
    const QByteArray path = databasePath(alias).toUtf8();
    sqlite3 *db = nullptr;
    const int rc = sqlite3_open_v2(path.constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    QString reason;
    if (rc == SQLITE_OK) {
        // Readers never wait for the writer, and the writer only for the other writer.
        char *error = nullptr;
        if (sqlite3_exec(db, "PRAGMA journal_mode = WAL", nullptr, nullptr, &error) != SQLITE_OK) {
            reason = QString::fromUtf8(error);
            sqlite3_free(error);
        }
    } else {
        reason = QString::fromUtf8(db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
    }
    sqlite3_close_v2(db);
    if (!reason.isEmpty())
        fail(StoreError::Kind::Database, QStringLiteral("cannot create %1.sqlite").arg(alias), reason);
}

void SqliteStore::openDatabase(const QString &alias)
{
    if (!m_connected)
        connect();
    closeConnection();
    m_connected = true;
    const QString path = databasePath(alias);
    if (!QFileInfo(path).isFile())
        fail(StoreError::Kind::Database, QStringLiteral("cannot open %1.sqlite").arg(alias),
             QStringLiteral("the folder has no such file"));
    openFile(path, SQLITE_OPEN_READWRITE, QStringLiteral("cannot open %1.sqlite").arg(alias));
}

std::unique_ptr<SqliteStore> SqliteStore::inMemory()
{
    StoreAddress address;
    address.backend = StoreBackend::Sqlite;
    auto store = std::unique_ptr<SqliteStore>(new SqliteStore(address));
    store->m_connected = true;
    // URI names let the copy attach the meet's file by its path.
    store->openFile(QStringLiteral(":memory:"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI,
                    QStringLiteral("cannot make the local database"));
    return store;
}

void SqliteStore::openFile(const QString &path, int flags, const QString &what)
{
    sqlite3 *db = nullptr;
    int rc = sqlite3_open_v2(path.toUtf8().constData(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const QString reason = QString::fromUtf8(db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
        sqlite3_close_v2(db);
        fail(StoreError::Kind::Database, what, reason);
    }
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, m_busyMs);
    // A misspelt "name" must be an error, not a string.
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    char *error = nullptr;
    rc = sqlite3_exec(db, "PRAGMA foreign_keys = ON; SELECT count(*) FROM sqlite_master", nullptr,
                      nullptr, &error);
    if (rc != SQLITE_OK) {
        const QString reason = QString::fromUtf8(error ? error : sqlite3_errstr(rc));
        sqlite3_free(error);
        sqlite3_close_v2(db);
        fail(StoreError::Kind::Database, what, reason);
    }
    m_db = db;
    m_path = path;
}

void SqliteStore::setBusyTimeout(int milliseconds)
{
    m_busyMs = milliseconds;
    if (m_db)
        sqlite3_busy_timeout(m_db, m_busyMs);
}

void SqliteStore::finalizeAll()
{
    for (sqlite3_stmt *stmt : std::as_const(m_statements))
        sqlite3_finalize(stmt);
    m_statements.clear();
}

void SqliteStore::closeConnection()
{
    finalizeAll();
    if (m_db) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
    m_path.clear();
    m_connected = false;
}

void SqliteStore::engineFailure(int rc, const QString &sql)
{
    const QString message = QString::fromUtf8(sqlite3_errmsg(m_db));
    const int primary = rc & 0xFF;
    QString what;
    QString reason = message;
    if (primary == SQLITE_BUSY || primary == SQLITE_LOCKED) {
        what = QStringLiteral("the database file is locked by another program");
        reason = QStringLiteral("%1 (waited %2 ms)").arg(message).arg(m_busyMs);
    } else if (primary == SQLITE_CONSTRAINT) {
        what = QStringLiteral("a rule of the database refused the change");
    } else if (primary == SQLITE_READONLY) {
        what = QStringLiteral("the database file cannot be written");
    } else if (primary == SQLITE_IOERR || primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB
               || primary == SQLITE_FULL || primary == SQLITE_CANTOPEN) {
        what = QStringLiteral("the database file cannot be read or written");
    } else {
        what = QStringLiteral("statement failed");
    }
    const QString full = QStringLiteral("%1 store %2: %3: %4; statement: %5")
                             .arg(backendName(backend()), address(), what, reason, shortSql(sql));
    throw StoreError(StoreError::Kind::Database, backend(), full, message, QString::number(rc));
}

sqlite3_stmt *SqliteStore::prepare(const QString &sql)
{
    auto it = m_statements.constFind(sql);
    if (it != m_statements.cend())
        return *it;
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt *stmt = nullptr;
    const int rc = sqlite3_prepare_v2(m_db, text.constData(), int(text.size()), &stmt, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(stmt);
        engineFailure(rc, sql);
    }
    if (!stmt) // only blanks or comments
        return nullptr;
    if (m_statements.size() >= 128)
        finalizeAll();
    m_statements.insert(sql, stmt);
    return stmt;
}

void SqliteStore::bind(sqlite3_stmt *stmt, const QVariantList &params, const QString &sql)
{
    if (sqlite3_bind_parameter_count(stmt) != params.size()) {
        fail(StoreError::Kind::Database, QStringLiteral("statement failed"),
             QStringLiteral("%1 values for %2 placeholders; statement: %3")
                 .arg(params.size())
                 .arg(sqlite3_bind_parameter_count(stmt))
                 .arg(shortSql(sql)));
    }
    for (int i = 0; i < params.size(); ++i) {
        const QVariant &v = params[i];
        const int at = i + 1;
        if (!v.isValid() || v.isNull()) {
            sqlite3_bind_null(stmt, at);
            continue;
        }
        switch (v.metaType().id()) {
        case QMetaType::Bool:
            sqlite3_bind_int(stmt, at, v.toBool() ? 1 : 0);
            break;
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
            sqlite3_bind_int64(stmt, at, v.toLongLong());
            break;
        case QMetaType::Float:
            sqlite3_bind_double(stmt, at, double(v.toFloat()));
            break;
        case QMetaType::Double:
            sqlite3_bind_double(stmt, at, v.toDouble());
            break;
        case QMetaType::QDate:
            sqlite3_bind_text(stmt, at, storevalues::dateText(v.toDate()).toUtf8().constData(), -1,
                              SQLITE_TRANSIENT);
            break;
        case QMetaType::QTime:
            sqlite3_bind_text(stmt, at, storevalues::timeText(v.toTime()).toUtf8().constData(), -1,
                              SQLITE_TRANSIENT);
            break;
        case QMetaType::QDateTime:
            sqlite3_bind_text(stmt, at, storevalues::dateTimeText(v.toDateTime()).toUtf8().constData(),
                              -1, SQLITE_TRANSIENT);
            break;
        case QMetaType::QByteArray: {
            const QByteArray b = v.toByteArray();
            sqlite3_bind_blob64(stmt, at, b.constData(), sqlite3_uint64(b.size()), SQLITE_TRANSIENT);
            break;
        }
        default: {
            const QByteArray s = v.toString().toUtf8();
            sqlite3_bind_text64(stmt, at, s.constData(), sqlite3_uint64(s.size()), SQLITE_TRANSIENT,
                                SQLITE_UTF8);
            break;
        }
        }
    }
}

RowSet SqliteStore::runSelect(const QString &sql, const QVariantList &params)
{
    requireOpen();
    RowSet out;
    sqlite3_stmt *stmt = prepare(sql);
    if (!stmt) {
        out.columns = std::make_shared<const ColumnSet>(QStringList(), QList<ValueKind>());
        return out;
    }
    struct Reset {
        sqlite3_stmt *s;
        ~Reset()
        {
            sqlite3_reset(s);
            sqlite3_clear_bindings(s);
        }
    } reset{stmt};
    bind(stmt, params, sql);
    const int n = sqlite3_column_count(stmt);
    QStringList names;
    QList<ValueKind> kinds;
    for (int i = 0; i < n; ++i) {
        names << QString::fromUtf8(sqlite3_column_name(stmt, i));
        kinds << kindOfDeclared(sqlite3_column_decltype(stmt, i));
    }
    out.columns = std::make_shared<const ColumnSet>(names, kinds);
    for (;;) {
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_DONE)
            break;
        if (rc != SQLITE_ROW)
            engineFailure(rc, sql);
        QVariantList row;
        row.reserve(n);
        for (int i = 0; i < n; ++i)
            row << columnValue(stmt, i, kinds[i]);
        out.rows.push_back(std::move(row));
    }
    return out;
}

qint64 SqliteStore::runPrepared(sqlite3_stmt *stmt, const QVariantList &params, const QString &sql)
{
    struct Reset {
        sqlite3_stmt *s;
        ~Reset()
        {
            sqlite3_reset(s);
            sqlite3_clear_bindings(s);
        }
    } reset{stmt};
    bind(stmt, params, sql);
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE)
        engineFailure(rc, sql);
    return qint64(sqlite3_changes64(m_db));
}

qint64 SqliteStore::runCommand(const QString &sql, const QVariantList &params)
{
    requireOpen();
    sqlite3_stmt *stmt = prepare(sql);
    return stmt ? runPrepared(stmt, params, sql) : 0;
}

qint64 SqliteStore::runCommandRows(const QString &sql, const std::vector<QVariantList> &rows)
{
    requireOpen();
    sqlite3_stmt *stmt = prepare(sql);
    qint64 affected = 0;
    for (const QVariantList &row : rows)
        affected += stmt ? runPrepared(stmt, row, sql) : 0;
    return affected;
}

qint64 SqliteStore::runScript(const QString &sql)
{
    requireOpen();
    char *error = nullptr;
    const int rc = sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, &error);
    sqlite3_free(error);
    if (rc != SQLITE_OK)
        engineFailure(sqlite3_extended_errcode(m_db), sql);
    return qint64(sqlite3_changes64(m_db));
}

TableInfo SqliteStore::readTableInfo(const QString &table)
{
    const RowSet named = runSelect(
        QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name = ? COLLATE NOCASE"),
        {table});
    if (named.rows.empty())
        fail(StoreError::Kind::Database, QStringLiteral("there is no table %1").arg(table));
    TableInfo info;
    info.physical = named.rows.front().value(0).toString();
    const TableDef *def = MeetSchema::table(info.physical);
    info.name = def ? def->name : info.physical;
    QString quoted = info.physical;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    const RowSet cols = runSelect(QStringLiteral("PRAGMA table_info(\"%1\")").arg(quoted), {});
    QMap<int, QString> pk;
    QStringList types;
    for (const QVariantList &row : cols.rows) {
        const QString name = row.value(1).toString();
        info.fields << name;
        types << row.value(2).toString();
        info.kinds << kindOfDeclared(row.value(2).toString().toUtf8().constData());
        const int pkPos = row.value(5).toInt();
        info.notNull << (row.value(3).toInt() != 0 || pkPos > 0);
        if (pkPos > 0)
            pk.insert(pkPos, name);
    }
    info.primaryKey = pk.values();
    if (def) {
        if (const FieldDef *a = def->autoIncField())
            info.autoIncField = a->name;
    } else if (info.primaryKey.size() == 1
               && types.value(info.fieldIndex(info.primaryKey.first())).compare(QLatin1String("INTEGER"), Qt::CaseInsensitive) == 0) {
        info.autoIncField = info.primaryKey.first(); // the row id
    }
    return info;
}

QStringList SqliteStore::readTableNames()
{
    QStringList names;
    const RowSet rows = runSelect(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' "
                                                 "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY rowid"),
                                  {});
    for (const QVariantList &row : rows.rows)
        names << row.value(0).toString();
    return names;
}

} // namespace kestra
