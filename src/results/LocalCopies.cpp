#include "results/LocalCopies.h"

#include "meetdb/MeetStore.h"
#include "meetdb/SqliteStore.h"

namespace kestra {

namespace {

QString quoted(const QString &name)
{
    return QLatin1Char('"') + QString(name).replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

const TableDef &definition(const QString &table)
{
    const TableDef *def = MeetSchema::table(table);
    if (!def)
        throw StoreError(StoreError::Kind::Database, StoreBackend::Sqlite,
                         QStringLiteral("The meet database has no table %1 to copy.").arg(table));
    return *def;
}

} // namespace

LocalCopies::LocalCopies(MeetStore &remote) : m_remote(remote), m_local(SqliteStore::inMemory()) {}

LocalCopies::~LocalCopies() = default;

MeetStore &LocalCopies::local()
{
    return *m_local;
}

void LocalCopies::drop(const QString &copyName)
{
    m_local->executeNative(QStringLiteral("DROP TABLE IF EXISTS %1").arg(quoted(copyName)));
}

const QStringList &LocalCopies::gymnastFields()
{
    static const QStringList fields = [] {
        QStringList f = {QStringLiteral("MeetID"), QStringLiteral("Num"),     QStringLiteral("First_Name"),
                         QStringLiteral("Last_Name"), QStringLiteral("Level"), QStringLiteral("Birthday"),
                         QStringLiteral("Session"),   QStringLiteral("Gym"),   QStringLiteral("Team1"),
                         QStringLiteral("Team2"),     QStringLiteral("Team3"), QStringLiteral("Scratched"),
                         QStringLiteral("Events"),    QStringLiteral("USCitizen"), QStringLiteral("Country"),
                         QStringLiteral("AA"),        QStringLiteral("AAAdj"), QStringLiteral("AAFlag"),
                         QStringLiteral("E7AAFinal")};
        for (int n = 1; n <= 7; ++n) {
            for (const char *suffix : {"S1", "Adj", "Start", "BScore", "Status"})
                f << QStringLiteral("E%1%2").arg(n).arg(QLatin1String(suffix));
            if (n <= 6)
                f << QStringLiteral("E%1Final").arg(n) << QStringLiteral("E%1Flag").arg(n)
                  << QStringLiteral("E%1Order").arg(n);
        }
        return f;
    }();
    return fields;
}

QStringList LocalCopies::pageFields(int eventNumber)
{
    QStringList f = {QStringLiteral("MeetID"),  QStringLiteral("Num"),       QStringLiteral("First_Name"),
                     QStringLiteral("Last_Name"), QStringLiteral("Level"),   QStringLiteral("Birthday"),
                     QStringLiteral("Session"), QStringLiteral("Gym"),       QStringLiteral("Scratched"),
                     QStringLiteral("Events"),  QStringLiteral("USCitizen"), QStringLiteral("Country"),
                     QStringLiteral("AA"),      QStringLiteral("AAAdj"),     QStringLiteral("AAFlag"),
                     QStringLiteral("E7AAFinal")};
    const auto add = [&f](int n, std::initializer_list<const char *> suffixes) {
        for (const char *suffix : suffixes)
            f << QStringLiteral("E%1%2").arg(n).arg(QLatin1String(suffix));
    };
    if (eventNumber == 0) {
        f << QStringLiteral("Team1") << QStringLiteral("Team2") << QStringLiteral("Team3");
        for (int n = 1; n <= 6; ++n)
            add(n, {"Final", "Flag"});
    } else if (eventNumber < 0) {
        for (int n = 1; n <= 6; ++n)
            add(n, {"Final", "Start", "BScore"});
    } else {
        add(eventNumber, {"S1", "Adj", "Start", "BScore", "Status", "Final", "Flag", "Order"});
    }
    add(7, {"S1", "Adj", "Start", "BScore", "Status"});
    return f;
}

QList<FieldDef> LocalCopies::columnsOf(const QString &sourceTable, const QStringList &fields) const
{
    const TableDef &def = definition(sourceTable);
    QList<FieldDef> columns;
    for (const FieldDef &field : def.fields) {
        if (fields.isEmpty() || fields.contains(field.name, Qt::CaseInsensitive) || def.inPrimaryKey(field.name))
            columns << field;
    }
    return columns;
}

void LocalCopies::createLike(const QString &copyName, const QString &sourceTable, const QList<FieldDef> &fields)
{
    const TableDef &def = definition(sourceTable);
    QStringList columns;
    for (const FieldDef &field : fields)
        columns << quoted(field.name) + QLatin1Char(' ') + MeetSchema::columnType(field, StoreBackend::Sqlite);
    QStringList key;
    for (const IndexField &field : def.primaryKey)
        key << quoted(field.field);
    if (!key.isEmpty())
        columns << QStringLiteral("PRIMARY KEY (%1)").arg(key.join(QStringLiteral(", ")));
    drop(copyName);
    m_local->executeNative(QStringLiteral("CREATE TABLE %1 (%2)").arg(quoted(copyName), columns.join(QStringLiteral(", "))));
}

int LocalCopies::copy(const QString &copyName, const QString &sourceTable, const QString &where,
                      const QStringList &fields)
{
    const QList<FieldDef> columns = columnsOf(sourceTable, fields);
    createLike(copyName, sourceTable, columns);
    // An embedded meet database is read by SQLite itself, in one statement;
    // a server's rows come over the wire and are written here row by row.
    if (auto *sqlite = dynamic_cast<SqliteStore *>(&m_remote); sqlite && !sqlite->openedPath().isEmpty())
        return copyByAttach(copyName, sourceTable, where, columns);
    return copyRows(copyName, sourceTable, where, columns);
}

int LocalCopies::copyByAttach(const QString &copyName, const QString &sourceTable, const QString &where,
                              const QList<FieldDef> &fields)
{
    const TableDef &def = definition(sourceTable);
    QStringList columns;
    for (const FieldDef &field : fields)
        columns << quoted(field.name);
    const QString list = columns.join(QStringLiteral(", "));
    const QString path = static_cast<SqliteStore &>(m_remote).openedPath();
    m_local->executeNative(QStringLiteral("ATTACH DATABASE ? AS meet"), {path});
    int copied = 0;
    try {
        copied = int(m_local->executeNative(
            QStringLiteral("INSERT INTO %1 (%2) SELECT %2 FROM meet.%3%4")
                .arg(quoted(copyName), list, quoted(def.name),
                     where.isEmpty() ? QString() : QStringLiteral(" WHERE ") + where)));
    } catch (...) {
        m_local->executeNative(QStringLiteral("DETACH DATABASE meet"));
        throw;
    }
    m_local->executeNative(QStringLiteral("DETACH DATABASE meet"));
    return copied;
}

int LocalCopies::copyRows(const QString &copyName, const QString &sourceTable, const QString &where,
                          const QList<FieldDef> &fields)
{
    const TableDef &def = definition(sourceTable);
    QStringList remoteColumns;
    QStringList localColumns;
    QStringList marks;
    for (const FieldDef &field : fields) {
        remoteColumns << quoted(MeetSchema::physicalName(field.name, m_remote.backend()));
        localColumns << quoted(field.name);
        marks << QStringLiteral("?");
    }
    const QueryResult rows = m_remote.queryNative(
        QStringLiteral("SELECT %1 FROM %2%3")
            .arg(remoteColumns.join(QStringLiteral(", ")), quoted(MeetSchema::physicalName(def.name, m_remote.backend())),
                 where.isEmpty() ? QString() : QStringLiteral(" WHERE ") + where));
    const QString insert = QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                               .arg(quoted(copyName), localColumns.join(QStringLiteral(", ")),
                                    marks.join(QStringLiteral(", ")));
    m_local->begin();
    try {
        m_local->executeNativeRows(insert, rows.rowSet().rows);
        m_local->commit();
    } catch (...) {
        m_local->rollback();
        throw;
    }
    return rows.recordCount();
}

} // namespace kestra
