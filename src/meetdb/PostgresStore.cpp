#include "meetdb/PostgresStore.h"

#include "support/Formatting.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

#include <libpq-fe.h>

#include <cstdlib>
#include <vector>

namespace kestra {

namespace {

// Type OIDs of the built-in types the schema uses.
enum : Oid {
    BoolOid = 16,
    ByteaOid = 17,
    NameOid = 19,
    Int8Oid = 20,
    Int2Oid = 21,
    Int4Oid = 23,
    TextOid = 25,
    OidOid = 26,
    Float4Oid = 700,
    Float8Oid = 701,
    BpcharOid = 1042,
    VarcharOid = 1043,
    DateOid = 1082,
    TimeOid = 1083,
    TimestampOid = 1114,
    TimestampTzOid = 1184,
    NumericOid = 1700,
};

ValueKind kindOfOid(Oid type)
{
    switch (type) {
    case BoolOid:
        return ValueKind::Boolean;
    case Int2Oid:
    case Int4Oid:
        return ValueKind::Integer;
    case Int8Oid:
    case OidOid:
        return ValueKind::Int64;
    case Float4Oid:
        return ValueKind::Single;
    case Float8Oid:
    case NumericOid:
        return ValueKind::Double;
    case DateOid:
        return ValueKind::Date;
    case TimeOid:
        return ValueKind::Time;
    case TimestampOid:
    case TimestampTzOid:
        return ValueKind::DateTime;
    case TextOid:
    case VarcharOid:
    case BpcharOid:
    case NameOid:
        return ValueKind::Text;
    case ByteaOid:
        return ValueKind::Blob;
    default:
        return ValueKind::Unknown;
    }
}

ValueKind kindOfTypeName(const QString &type)
{
    if (type == QLatin1String("smallint") || type == QLatin1String("integer"))
        return ValueKind::Integer;
    if (type == QLatin1String("bigint"))
        return ValueKind::Int64;
    if (type == QLatin1String("real"))
        return ValueKind::Single;
    if (type == QLatin1String("double precision") || type.startsWith(QLatin1String("numeric")))
        return ValueKind::Double;
    if (type == QLatin1String("boolean"))
        return ValueKind::Boolean;
    if (type == QLatin1String("date"))
        return ValueKind::Date;
    if (type.startsWith(QLatin1String("time")) && !type.startsWith(QLatin1String("timestamp")))
        return ValueKind::Time;
    if (type.startsWith(QLatin1String("timestamp")))
        return ValueKind::DateTime;
    if (type.startsWith(QLatin1String("character")) || type == QLatin1String("text"))
        return ValueKind::Text;
    if (type == QLatin1String("bytea"))
        return ValueKind::Blob;
    return ValueKind::Unknown;
}

QByteArray decodeBytea(const char *text, int length)
{
    if (length >= 2 && text[0] == '\\' && text[1] == 'x')
        return QByteArray::fromHex(QByteArray(text + 2, length - 2));
    size_t n = 0;
    unsigned char *raw = PQunescapeBytea(reinterpret_cast<const unsigned char *>(text), &n);
    QByteArray out(reinterpret_cast<const char *>(raw), qsizetype(n));
    PQfreemem(raw);
    return out;
}

QVariant fieldValue(const PGresult *res, int row, int col, Oid type)
{
    if (PQgetisnull(res, row, col))
        return QVariant();
    const char *text = PQgetvalue(res, row, col);
    const int length = PQgetlength(res, row, col);
    switch (type) {
    case BoolOid:
        return QVariant(text[0] == 't');
    case Int2Oid:
    case Int4Oid:
        return QVariant(int(std::strtol(text, nullptr, 10)));
    case Int8Oid:
    case OidOid:
        return QVariant(qlonglong(std::strtoll(text, nullptr, 10)));
    case Float4Oid:
        return QVariant(double(parseSingle(QByteArrayView(text, length))));
    case Float8Oid:
    case NumericOid:
        return QVariant(parseNumber(QByteArrayView(text, length)));
    case DateOid:
        return storevalues::parseDate(QString::fromLatin1(text, length));
    case TimeOid:
        return storevalues::parseTime(QString::fromLatin1(text, length));
    case TimestampOid:
    case TimestampTzOid:
        return storevalues::parseDateTime(QString::fromLatin1(text, length));
    case ByteaOid:
        return QVariant(decodeBytea(text, length));
    default:
        return QVariant(QString::fromUtf8(text, length));
    }
}

QByteArray paramText(const QVariant &v)
{
    switch (v.metaType().id()) {
    case QMetaType::Bool:
        return v.toBool() ? QByteArray("t") : QByteArray("f");
    case QMetaType::Float:
        return QByteArray::number(double(v.toFloat()), 'g', 9);
    case QMetaType::Double:
        return QByteArray::number(v.toDouble(), 'g', 17);
    case QMetaType::QDate:
        return storevalues::dateText(v.toDate()).toUtf8();
    case QMetaType::QTime:
        return storevalues::timeText(v.toTime()).toUtf8();
    case QMetaType::QDateTime:
        return storevalues::dateTimeText(v.toDateTime()).toUtf8();
    case QMetaType::QByteArray:
        return QByteArray("\\x") + v.toByteArray().toHex();
    default:
        return v.toString().toUtf8();
    }
}

QString shortSql(const QString &sql)
{
    QString s = sql.simplified();
    if (s.size() > 300)
        s = s.left(300) + QStringLiteral("...");
    return s;
}

void ignoreNotice(void *, const char *)
{
}

} // namespace

PostgresStore::PostgresStore(const StoreAddress &address) : MeetStore(address)
{
}

PostgresStore::~PostgresStore()
{
    close();
}

pg_conn *PostgresStore::open(const QString &database, QString *error) const
{
    const StoreAddress &a = storeAddress();
    const QByteArray host = a.host.toUtf8();
    const QByteArray port = QByteArray::number(a.port);
    const QByteArray user = a.user.toUtf8();
    const QByteArray db = database.toUtf8();
    const char *keys[] = {"host", "port", "user", "dbname", "connect_timeout", "application_name",
                          "client_encoding", "keepalives", "keepalives_idle", "keepalives_interval",
                          "keepalives_count", "tcp_user_timeout", "options", nullptr};
    const char *values[] = {host.constData(), port.constData(), user.constData(), db.constData(),
                            "5", "kestra", "UTF8", "1", "5", "2", "3", "10000",
                            "-c DateStyle=ISO,YMD -c extra_float_digits=1 -c client_min_messages=warning",
                            nullptr};
    PGconn *conn = PQconnectdbParams(keys, values, 0);
    if (PQstatus(conn) != CONNECTION_OK) {
        if (error)
            *error = QString::fromUtf8(PQerrorMessage(conn)).trimmed();
        PQfinish(conn);
        return nullptr;
    }
    PQsetNoticeProcessor(conn, ignoreNotice, nullptr);
    return conn;
}

void PostgresStore::connect()
{
    if (m_server) {
        PQfinish(m_server);
        m_server = nullptr;
    }
    QString error;
    m_server = open(QStringLiteral("postgres"), &error);
    if (!m_server && error.contains(QLatin1String("does not exist")))
        m_server = open(QStringLiteral("template1"), &error);
    if (!m_server)
        fail(StoreError::Kind::Transport, QStringLiteral("cannot connect to the server"), error);
}

bool PostgresStore::isConnected() const
{
    return (m_server && PQstatus(m_server) == CONNECTION_OK) || (m_db && !m_lost);
}

pg_conn *PostgresStore::serverConnection()
{
    if (m_db && !m_lost)
        return m_db;
    if (!m_server)
        connect();
    return m_server;
}

bool PostgresStore::aliasExists(const QString &alias)
{
    PGconn *conn = serverConnection();
    PGresult *res = exec(conn, QStringLiteral("SELECT 1 FROM pg_database WHERE datname = $1"),
                         {databaseName(alias)});
    const bool found = PQntuples(res) > 0;
    PQclear(res);
    return found;
}

void PostgresStore::createDatabase(const QString &alias)
{
    if (aliasExists(alias))
        return;
    PGconn *conn = serverConnection();
    QString name = databaseName(alias);
    name.replace(QLatin1Char('"'), QLatin1String("\"\""));
    PQclear(exec(conn, QStringLiteral("CREATE DATABASE \"%1\" ENCODING 'UTF8' TEMPLATE template0").arg(name), {}));
}

void PostgresStore::openDatabase(const QString &alias)
{
    if (m_db) {
        PQfinish(m_db);
        m_db = nullptr;
    }
    m_lost = false;
    forgetTables();
    QString error;
    m_db = open(databaseName(alias), &error);
    if (!m_db)
        fail(StoreError::Kind::Database, QStringLiteral("cannot open the database %1").arg(databaseName(alias)), error);
    if (m_server) {
        PQfinish(m_server);
        m_server = nullptr;
    }
}

void PostgresStore::closeConnection()
{
    if (m_db)
        PQfinish(m_db);
    if (m_server)
        PQfinish(m_server);
    m_db = nullptr;
    m_server = nullptr;
    m_lost = false;
}

void PostgresStore::requireLive() const
{
    if (m_lost)
        fail(StoreError::Kind::ConnectionLost, QStringLiteral("the connection to the server is lost"));
}

QString PostgresStore::placeholders(const QString &sql) const
{
    if (!sql.contains(QLatin1Char('?')))
        return sql;
    QString out;
    int n = 0;
    for (const SqlDialect::Token &t : SqlDialect::tokenize(sql))
        out += (t.type == SqlDialect::Token::Symbol && t.text == QLatin1String("?"))
                   ? QStringLiteral("$%1").arg(++n)
                   : t.text;
    return out;
}

PGresult *PostgresStore::exec(PGconn *conn, const QString &sql, const QVariantList &params)
{
    const QByteArray text = sql.toUtf8();
    std::vector<QByteArray> storage;
    std::vector<const char *> values;
    storage.reserve(size_t(params.size()));
    for (const QVariant &v : params) {
        if (!v.isValid() || v.isNull()) {
            values.push_back(nullptr);
        } else {
            storage.push_back(paramText(v));
            values.push_back(storage.back().constData());
        }
    }
    PGresult *res = params.isEmpty()
                        ? PQexec(conn, text.constData())
                        : PQexecParams(conn, text.constData(), int(params.size()), nullptr,
                                       values.data(), nullptr, nullptr, 0);
    const ExecStatusType status = PQresultStatus(res);
    if (res && (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_EMPTY_QUERY))
        return res;

    QString message;
    if (res && PQresultErrorField(res, PG_DIAG_MESSAGE_PRIMARY)) {
        message = QString::fromUtf8(PQresultErrorField(res, PG_DIAG_MESSAGE_PRIMARY));
        if (const char *detail = PQresultErrorField(res, PG_DIAG_MESSAGE_DETAIL))
            message += QStringLiteral(" (%1)").arg(QString::fromUtf8(detail));
    } else {
        message = QString::fromUtf8(res ? PQresultErrorMessage(res) : PQerrorMessage(conn)).simplified();
    }
    const QString state = res ? QString::fromLatin1(PQresultErrorField(res, PG_DIAG_SQLSTATE)) : QString();
    PQclear(res);
    const bool lost = PQstatus(conn) == CONNECTION_BAD || state.startsWith(QLatin1String("08"))
                      || state == QLatin1String("57P01") || state == QLatin1String("57P02")
                      || state == QLatin1String("57P03");
    if (lost) {
        if (conn == m_db)
            m_lost = true;
        throw StoreError(StoreError::Kind::ConnectionLost, backend(),
                         QStringLiteral("%1 store %2: the connection to the server is lost: %3")
                             .arg(backendName(backend()), address(), message),
                         message, state);
    }
    QString what = QStringLiteral("statement failed");
    if (state.startsWith(QLatin1String("23")))
        what = QStringLiteral("a rule of the database refused the change");
    else if (state == QLatin1String("42P01"))
        what = QStringLiteral("a table is missing");
    throw StoreError(StoreError::Kind::Database, backend(),
                     QStringLiteral("%1 store %2: %3: %4; statement: %5")
                         .arg(backendName(backend()), address(), what, message, shortSql(sql)),
                     message, state);
}

RowSet PostgresStore::runSelect(const QString &sql, const QVariantList &params)
{
    requireOpen();
    requireLive();
    PGresult *res = exec(m_db, sql, params);
    RowSet out;
    const int cols = PQnfields(res);
    const int rows = PQntuples(res);
    QStringList names;
    QList<ValueKind> kinds;
    std::vector<Oid> types;
    for (int c = 0; c < cols; ++c) {
        names << MeetSchema::fieldSpelling(QString::fromUtf8(PQfname(res, c)));
        types.push_back(PQftype(res, c));
        kinds << kindOfOid(types.back());
    }
    out.columns = std::make_shared<const ColumnSet>(names, kinds);
    out.rows.reserve(size_t(rows));
    for (int r = 0; r < rows; ++r) {
        QVariantList row;
        row.reserve(cols);
        for (int c = 0; c < cols; ++c)
            row << fieldValue(res, r, c, types[size_t(c)]);
        out.rows.push_back(std::move(row));
    }
    PQclear(res);
    return out;
}

qint64 PostgresStore::runCommand(const QString &sql, const QVariantList &params)
{
    requireOpen();
    requireLive();
    PGresult *res = exec(m_db, sql, params);
    const qint64 n = QByteArray(PQcmdTuples(res)).toLongLong();
    PQclear(res);
    return n;
}

qint64 PostgresStore::runScript(const QString &sql)
{
    return runCommand(sql, {});
}

TableInfo PostgresStore::readTableInfo(const QString &table)
{
    const RowSet cls = runSelect(
        QStringLiteral("SELECT c.oid, c.relname FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace "
                       "WHERE n.nspname = current_schema() AND c.relkind IN ('r', 'p') "
                       "AND lower(c.relname) = lower($1)"),
        {table});
    if (cls.rows.empty())
        fail(StoreError::Kind::Database, QStringLiteral("there is no table %1").arg(table));
    const qlonglong oid = cls.rows.front().value(0).toLongLong();
    TableInfo info;
    info.physical = cls.rows.front().value(1).toString();
    const TableDef *def = MeetSchema::table(info.physical);
    info.name = def ? def->name : info.physical;
    const RowSet cols = runSelect(
        QStringLiteral("SELECT a.attname, format_type(a.atttypid, a.atttypmod), a.attnotnull, "
                       "a.attidentity <> '' OR coalesce(pg_get_expr(d.adbin, d.adrelid), '') LIKE 'nextval(%' "
                       "FROM pg_attribute a LEFT JOIN pg_attrdef d ON d.adrelid = a.attrelid AND d.adnum = a.attnum "
                       "WHERE a.attrelid = $1 AND a.attnum > 0 AND NOT a.attisdropped ORDER BY a.attnum"),
        {oid});
    for (const QVariantList &row : cols.rows) {
        const QString name = MeetSchema::fieldSpelling(row.value(0).toString());
        info.fields << (def && def->field(name) ? def->field(name)->name : name);
        info.kinds << kindOfTypeName(row.value(1).toString());
        info.notNull << row.value(2).toBool();
        if (row.value(3).toBool() && info.autoIncField.isEmpty())
            info.autoIncField = info.fields.last();
    }
    const RowSet pk = runSelect(
        QStringLiteral("SELECT a.attname FROM pg_index i JOIN pg_attribute a ON a.attrelid = i.indrelid "
                       "AND a.attnum = ANY (i.indkey) WHERE i.indrelid = $1 AND i.indisprimary "
                       "ORDER BY array_position(i.indkey::int2[], a.attnum)"),
        {oid});
    for (const QVariantList &row : pk.rows)
        info.primaryKey << info.fields.value(info.fieldIndex(row.value(0).toString()));
    return info;
}

QStringList PostgresStore::readTableNames()
{
    QStringList names;
    const RowSet rows = runSelect(
        QStringLiteral("SELECT c.relname FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace "
                       "WHERE n.nspname = current_schema() AND c.relkind IN ('r', 'p') ORDER BY c.oid"),
        {});
    for (const QVariantList &row : rows.rows)
        names << row.value(0).toString();
    return names;
}

} // namespace kestra
