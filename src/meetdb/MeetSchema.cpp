#include "meetdb/MeetSchema.h"

#include "meetdb/MeetStore.h"

#include <QHash>
#include <QRegularExpression>

#include <stdexcept>

namespace kestra {

namespace schematext {
extern const char *const dictionary;
}

const FieldDef *TableDef::field(const QString &name) const
{
    const int i = fieldIndex(name);
    return i >= 0 ? &fields[i] : nullptr;
}

int TableDef::fieldIndex(const QString &name) const
{
    for (int i = 0; i < fields.size(); ++i) {
        if (fields[i].name.compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

bool TableDef::inPrimaryKey(const QString &name) const
{
    for (const IndexField &f : primaryKey) {
        if (f.field.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

bool TableDef::neverNull(const QString &name) const
{
    const FieldDef *f = field(name);
    return f && (f->required || inPrimaryKey(name));
}

const FieldDef *TableDef::autoIncField() const
{
    for (const FieldDef &f : fields) {
        if (f.type == FieldType::AutoInc)
            return &f;
    }
    return nullptr;
}

namespace {

[[noreturn]] void bad(const QString &what)
{
    throw std::logic_error(("meet database dictionary: " + what).toStdString());
}

// Splits at commas outside braces, parentheses and double quotes.
QStringList splitTopLevel(const QString &text)
{
    QStringList parts;
    int depth = 0;
    bool quoted = false;
    QString current;
    for (const QChar c : text) {
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (!quoted && (c == QLatin1Char('{') || c == QLatin1Char('(')))
            ++depth;
        else if (!quoted && (c == QLatin1Char('}') || c == QLatin1Char(')')))
            --depth;
        if (c == QLatin1Char(',') && depth == 0 && !quoted) {
            parts << current.trimmed();
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.trimmed().isEmpty())
        parts << current.trimmed();
    return parts;
}

// E{1-3}{A,B} gives E1A, E1B, E2A, ...: the leftmost brace is the outer loop.
QStringList expandFamily(const QString &pattern)
{
    const int open = pattern.indexOf(QLatin1Char('{'));
    if (open < 0)
        return {pattern};
    int depth = 0;
    int close = -1;
    for (int i = open; i < pattern.size(); ++i) {
        if (pattern[i] == QLatin1Char('{'))
            ++depth;
        else if (pattern[i] == QLatin1Char('}') && --depth == 0) {
            close = i;
            break;
        }
    }
    if (close < 0)
        bad(QStringLiteral("unclosed brace in ") + pattern);
    const QString prefix = pattern.left(open);
    const QString inner = pattern.mid(open + 1, close - open - 1);
    const QStringList rest = expandFamily(pattern.mid(close + 1));

    QStringList choices;
    static const QRegularExpression range(QStringLiteral("^(\\d+)-(\\d+)$"));
    for (const QString &alternative : splitTopLevel(inner)) {
        const auto m = range.match(alternative);
        if (m.hasMatch()) {
            for (int n = m.captured(1).toInt(); n <= m.captured(2).toInt(); ++n)
                choices << QString::number(n);
        } else {
            choices << expandFamily(alternative);
        }
    }
    QStringList out;
    for (const QString &choice : choices) {
        for (const QString &tail : rest)
            out << prefix + choice + tail;
    }
    return out;
}

QString unquote(const QString &name)
{
    const QString t = name.trimmed();
    if (t.size() >= 2 && t.startsWith(QLatin1Char('"')) && t.endsWith(QLatin1Char('"')))
        return t.mid(1, t.size() - 2);
    return t;
}

void parseFields(TableDef &table, const QString &list)
{
    static const QRegularExpression itemPattern(QStringLiteral(
        R"(^("[^"]+"|\S+)\s+(text|longtext|int8|int16|int32|uint32|autoinc|float32|bool|date|time|datetime|currency|memo|blob)(?:\((\d+)(?:,\s*(\d+))?\))?(\s+required)?$)"));
    for (const QString &item : splitTopLevel(list)) {
        const auto m = itemPattern.match(item);
        if (!m.hasMatch())
            bad(QStringLiteral("field \"%1\" of %2").arg(item, table.name));
        const QString type = m.captured(2);
        FieldDef f;
        f.required = !m.captured(5).isEmpty();
        static const QHash<QString, FieldType> types = {
            {QStringLiteral("text"), FieldType::ShortString},
            {QStringLiteral("longtext"), FieldType::NullString},
            {QStringLiteral("int8"), FieldType::Int8},
            {QStringLiteral("int16"), FieldType::Int16},
            {QStringLiteral("int32"), FieldType::Int32},
            {QStringLiteral("uint32"), FieldType::Word32},
            {QStringLiteral("autoinc"), FieldType::AutoInc},
            {QStringLiteral("float32"), FieldType::Single},
            {QStringLiteral("bool"), FieldType::Boolean},
            {QStringLiteral("date"), FieldType::Date},
            {QStringLiteral("time"), FieldType::Time},
            {QStringLiteral("datetime"), FieldType::DateTime},
            {QStringLiteral("currency"), FieldType::Currency},
            {QStringLiteral("memo"), FieldType::Memo},
            {QStringLiteral("blob"), FieldType::Blob},
        };
        f.type = types.value(type);
        if (f.type == FieldType::ShortString || f.type == FieldType::NullString) {
            if (m.captured(3).isEmpty())
                bad(QStringLiteral("text field without size in ") + table.name);
            f.size = m.captured(3).toInt();
        } else if (f.type == FieldType::AutoInc && !m.captured(3).isEmpty()) {
            table.autoIncStart = m.captured(3).toInt();
            table.autoIncStep = m.captured(4).isEmpty() ? 1 : m.captured(4).toInt();
        }
        for (const QString &name : expandFamily(unquote(m.captured(1)))) {
            f.name = name;
            if (table.field(name))
                bad(QStringLiteral("field %1 twice in %2").arg(name, table.name));
            table.fields << f;
        }
    }
}

QList<IndexField> parseIndexFields(const TableDef &table, const QString &list)
{
    QList<IndexField> out;
    for (QString item : splitTopLevel(list)) {
        IndexField f;
        if (item.endsWith(QLatin1String(" ci"))) {
            f.caseInsensitive = true;
            item.chop(3);
        }
        f.field = unquote(item);
        const FieldDef *def = table.field(f.field);
        if (!def)
            bad(QStringLiteral("index field %1 not in %2").arg(f.field, table.name));
        f.field = def->name;
        out << f;
    }
    return out;
}

QStringList parseNames(const TableDef &table, const QString &list, bool check)
{
    QStringList out;
    for (const QString &item : splitTopLevel(list)) {
        const QString name = unquote(item);
        if (check && !table.field(name))
            bad(QStringLiteral("field %1 not in %2").arg(name, table.name));
        out << name;
    }
    return out;
}

void parseReference(TableDef &table, const QString &text)
{
    static const QRegularExpression re(
        QStringLiteral(R"(^(.+?)\s*->\s*(\w+)\((.+?)\)((?:\s+\w+)*)$)"));
    const auto m = re.match(text);
    if (!m.hasMatch())
        bad(QStringLiteral("reference \"%1\" of %2").arg(text, table.name));
    ReferenceDef r;
    r.fields = parseNames(table, m.captured(1), true);
    r.parentTable = m.captured(2);
    r.parentFields = parseNames(table, m.captured(3), false);
    r.mustExist = false;
    const QStringList words = m.captured(4).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (int i = 0; i < words.size(); ++i) {
        const QString &w = words[i];
        if (w == QLatin1String("exists")) {
            r.mustExist = true;
        } else if ((w == QLatin1String("delete") || w == QLatin1String("update")) && i + 1 < words.size()) {
            const QString &action = words[++i];
            const RefAction a = action == QLatin1String("cascade") ? RefAction::Cascade
                                : action == QLatin1String("block")  ? RefAction::Block
                                                                    : (bad(QStringLiteral("rule ") + action), RefAction::None);
            (w == QLatin1String("delete") ? r.onDelete : r.onUpdate) = a;
        } else {
            bad(QStringLiteral("word %1 in a reference of %2").arg(w, table.name));
        }
    }
    if (r.fields.size() != r.parentFields.size())
        bad(QStringLiteral("reference field counts differ in ") + table.name);
    table.references << r;
}

QList<TableDef> parseDictionary()
{
    QList<TableDef> tables;
    const QStringList lines = QString::fromUtf8(schematext::dictionary).split(QLatin1Char('\n'));
    for (const QString &raw : lines) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const int space = line.indexOf(QLatin1Char(' '));
        const QString word = line.left(space);
        const QString rest = line.mid(space + 1).trimmed();
        if (word == QLatin1String("table")) {
            TableDef t;
            t.name = rest;
            tables << t;
            continue;
        }
        if (tables.isEmpty())
            bad(QStringLiteral("text before the first table"));
        TableDef &t = tables.last();
        if (word == QLatin1String("fields")) {
            parseFields(t, rest);
        } else if (word == QLatin1String("primary")) {
            t.primaryKey = parseIndexFields(t, rest);
        } else if (word == QLatin1String("index") || word == QLatin1String("unique")
                   || word == QLatin1String("fkindex")) {
            const int colon = rest.indexOf(QLatin1String(": "));
            if (colon < 0)
                bad(QStringLiteral("index without fields in ") + t.name);
            IndexDef idx;
            idx.name = rest.left(colon);
            idx.fields = parseIndexFields(t, rest.mid(colon + 2));
            idx.unique = word == QLatin1String("unique");
            idx.foreignKey = word == QLatin1String("fkindex");
            t.indexes << idx;
        } else if (word == QLatin1String("ref")) {
            parseReference(t, rest);
        } else {
            bad(QStringLiteral("unknown line \"%1\"").arg(line));
        }
    }
    // Parents must come first and their fields must exist.
    for (int i = 0; i < tables.size(); ++i) {
        for (ReferenceDef &r : tables[i].references) {
            const TableDef *parent = nullptr;
            for (int j = 0; j <= i; ++j) {
                if (tables[j].name == r.parentTable)
                    parent = &tables[j];
            }
            if (!parent)
                bad(QStringLiteral("%1 refers to %2, which does not come before it").arg(tables[i].name, r.parentTable));
            for (QString &f : r.parentFields) {
                const FieldDef *def = parent->field(f);
                if (!def)
                    bad(QStringLiteral("%1.%2 does not exist").arg(parent->name, f));
                f = def->name;
            }
        }
    }
    return tables;
}

QString quoted(const QString &name)
{
    QString q = name;
    q.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + q + QLatin1Char('"');
}

QString physical(const QString &name, StoreBackend backend)
{
    return quoted(MeetSchema::physicalName(name, backend));
}

QString joinQuoted(const QStringList &names, StoreBackend backend)
{
    QStringList out;
    for (const QString &n : names)
        out << physical(n, backend);
    return out.join(QStringLiteral(", "));
}

QString indexColumns(const QList<IndexField> &fields, StoreBackend backend, bool caseInsensitive)
{
    QStringList out;
    for (const IndexField &f : fields) {
        const QString col = physical(f.field, backend);
        if (f.caseInsensitive && caseInsensitive)
            out << (backend == StoreBackend::Sqlite ? col + QStringLiteral(" COLLATE NOCASE")
                                                    : QStringLiteral("lower(%1)").arg(col));
        else
            out << col;
    }
    return out.join(QStringLiteral(", "));
}

QString actionSql(RefAction action)
{
    switch (action) {
    case RefAction::Cascade:
        return QStringLiteral("CASCADE");
    case RefAction::Block:
        return QStringLiteral("RESTRICT");
    case RefAction::None:
        break;
    }
    return QStringLiteral("NO ACTION");
}

bool hasCaseInsensitive(const QList<IndexField> &fields)
{
    for (const IndexField &f : fields) {
        if (f.caseInsensitive)
            return true;
    }
    return false;
}

QStringList tableStatements(const TableDef &t, StoreBackend backend)
{
    QStringList out;
    const QString table = physical(t.name, backend);
    const FieldDef *autoInc = t.autoIncField();
    QStringList lines;
    for (const FieldDef &f : t.fields) {
        QString line = physical(f.name, backend) + QLatin1Char(' ') + MeetSchema::columnType(f, backend);
        if (f.type == FieldType::AutoInc) {
            if (t.primaryKey.size() != 1 || t.primaryKey.first().field != f.name)
                bad(QStringLiteral("auto-increment field outside a one-field primary key in ") + t.name);
            if (backend == StoreBackend::Sqlite)
                line += QStringLiteral(" PRIMARY KEY AUTOINCREMENT");
            else
                line += QStringLiteral(" PRIMARY KEY GENERATED BY DEFAULT AS IDENTITY (START WITH %1 INCREMENT BY %2)")
                            .arg(t.autoIncStart)
                            .arg(t.autoIncStep);
        }
        if (f.required || t.inPrimaryKey(f.name))
            line += QStringLiteral(" NOT NULL");
        // SQLite keeps any length; the check makes it refuse what PostgreSQL refuses.
        if (backend == StoreBackend::Sqlite
            && (f.type == FieldType::ShortString || f.type == FieldType::NullString))
            line += QStringLiteral(" CHECK (length(%1) <= %2)").arg(physical(f.name, backend)).arg(f.size);
        lines << line;
    }
    if (!t.primaryKey.isEmpty() && !autoInc) {
        // PostgreSQL keys cannot hold expressions: the case-insensitive
        // uniqueness becomes an extra unique index below.
        lines << QStringLiteral("PRIMARY KEY (%1)")
                     .arg(indexColumns(t.primaryKey, backend, backend == StoreBackend::Sqlite));
    }
    for (const ReferenceDef &r : t.references) {
        if (!r.mustExist)
            continue;
        lines << QStringLiteral("FOREIGN KEY (%1) REFERENCES %2 (%3) ON DELETE %4 ON UPDATE %5")
                     .arg(joinQuoted(r.fields, backend), physical(r.parentTable, backend),
                          joinQuoted(r.parentFields, backend), actionSql(r.onDelete),
                          actionSql(r.onUpdate));
    }
    out << QStringLiteral("CREATE TABLE %1 (\n  %2\n)").arg(table, lines.join(QStringLiteral(",\n  ")));

    if (backend == StoreBackend::Postgres && hasCaseInsensitive(t.primaryKey)) {
        out << QStringLiteral("CREATE UNIQUE INDEX %1 ON %2 (%3)")
                   .arg(quoted(MeetSchema::physicalIndexName(t, QStringLiteral("PRIMARY"), backend)),
                        table, indexColumns(t.primaryKey, backend, true));
    }
    for (const IndexDef &idx : t.indexes) {
        out << QStringLiteral("CREATE %1INDEX %2 ON %3 (%4)")
                   .arg(idx.unique ? QStringLiteral("UNIQUE ") : QString(),
                        quoted(MeetSchema::physicalIndexName(t, idx.name, backend)), table,
                        indexColumns(idx.fields, backend, true));
    }

    if (autoInc && backend == StoreBackend::Sqlite && t.autoIncStart != 1) {
        out << QStringLiteral("INSERT INTO sqlite_sequence (name, seq) VALUES ('%1', %2)")
                   .arg(t.name)
                   .arg(t.autoIncStart - t.autoIncStep);
    }
    if (autoInc && backend == StoreBackend::Postgres) {
        // An explicit value does not move an identity sequence; without this the
        // store would later hand out that value again.
        const QString fn = quoted(MeetSchema::physicalName(t.name, backend) + QStringLiteral("_follow_autoinc"));
        const QString col = physical(autoInc->name, backend);
        out << QStringLiteral(
                   "CREATE OR REPLACE FUNCTION %1() RETURNS trigger LANGUAGE plpgsql AS $body$\n"
                   "DECLARE\n"
                   "  seq regclass := pg_get_serial_sequence('%2', '%3')::regclass;\n"
                   "  top bigint;\n"
                   "BEGIN\n"
                   "  SELECT max(%4) INTO top FROM inserted;\n"
                   "  IF top IS NOT NULL AND top >= coalesce(pg_sequence_last_value(seq) + 1,\n"
                   "      (SELECT seqstart FROM pg_sequence WHERE seqrelid = seq)) THEN\n"
                   "    PERFORM setval(seq, top, true);\n"
                   "  END IF;\n"
                   "  RETURN NULL;\n"
                   "END\n"
                   "$body$")
                   .arg(fn, table, MeetSchema::physicalName(autoInc->name, backend), col);
        out << QStringLiteral("CREATE TRIGGER %1 AFTER INSERT ON %2 REFERENCING NEW TABLE AS inserted "
                              "FOR EACH STATEMENT EXECUTE FUNCTION %3()")
                   .arg(quoted(MeetSchema::physicalName(t.name, backend) + QStringLiteral("_autoinc")),
                        table, fn);
    }

    // A reference whose parent fields are not unique cannot be a foreign key in
    // either engine; its one rule, key change cascades, is kept by a trigger on
    // the parent. Nothing checks that a parent exists.
    for (const ReferenceDef &r : t.references) {
        if (r.mustExist)
            continue;
        if (r.onUpdate != RefAction::Cascade || r.onDelete != RefAction::None)
            bad(QStringLiteral("a reference without a foreign key keeps only key-change cascade, in ") + t.name);
        const QString parent = physical(r.parentTable, backend);
        const QString name = MeetSchema::physicalName(
            QStringLiteral("%1_cascade_%2").arg(r.parentTable, t.name), backend);
        QStringList changed, sets, matches;
        for (int i = 0; i < r.fields.size(); ++i) {
            const QString p = physical(r.parentFields[i], backend);
            const QString c = physical(r.fields[i], backend);
            changed << QStringLiteral("OLD.%1 IS DISTINCT FROM NEW.%1").arg(p);
            sets << QStringLiteral("%1 = NEW.%2").arg(c, p);
            matches << QStringLiteral("%1 = OLD.%2").arg(c, p);
        }
        const QString update = QStringLiteral("UPDATE %1 SET %2 WHERE %3")
                                   .arg(table, sets.join(QStringLiteral(", ")),
                                        matches.join(QStringLiteral(" AND ")));
        if (backend == StoreBackend::Sqlite) {
            QString when = changed.join(QStringLiteral(" OR "));
            when.replace(QStringLiteral("IS DISTINCT FROM"), QStringLiteral("IS NOT"));
            out << QStringLiteral("CREATE TRIGGER %1 AFTER UPDATE OF %2 ON %3 WHEN %4\nBEGIN\n  %5;\nEND")
                       .arg(quoted(name), joinQuoted(r.parentFields, backend), parent, when, update);
        } else {
            out << QStringLiteral("CREATE OR REPLACE FUNCTION %1() RETURNS trigger LANGUAGE plpgsql AS $body$\n"
                                  "BEGIN\n  %2;\n  RETURN NULL;\nEND\n$body$")
                       .arg(quoted(name), update);
            out << QStringLiteral("CREATE TRIGGER %1 AFTER UPDATE OF %2 ON %3 FOR EACH ROW WHEN (%4) "
                                  "EXECUTE FUNCTION %1()")
                       .arg(quoted(name), joinQuoted(r.parentFields, backend), parent,
                            changed.join(QStringLiteral(" OR ")));
        }
    }
    return out;
}

} // namespace

namespace MeetSchema {

QString formatVersion(quint32 version)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg((version >> 24) & 0xFF)
        .arg((version >> 16) & 0xFF)
        .arg((version >> 8) & 0xFF)
        .arg(version & 0xFF);
}

QString defaultAlias()
{
    return QStringLiteral("Marlowen");
}

const QList<TableDef> &tables()
{
    static const QList<TableDef> all = parseDictionary();
    return all;
}

const TableDef *table(const QString &name)
{
    static const QHash<QString, int> byName = [] {
        QHash<QString, int> h;
        for (int i = 0; i < tables().size(); ++i)
            h.insert(tables()[i].name.toLower(), i);
        return h;
    }();
    const auto it = byName.constFind(name.toLower());
    return it == byName.cend() ? nullptr : &tables()[*it];
}

QString fieldSpelling(const QString &name)
{
    static const QHash<QString, QString> spellings = [] {
        QHash<QString, QString> h;
        for (const TableDef &t : tables()) {
            for (const FieldDef &f : t.fields) {
                if (!h.contains(f.name.toLower()))
                    h.insert(f.name.toLower(), f.name);
            }
        }
        return h;
    }();
    return spellings.value(name.toLower(), name);
}

QString physicalName(const QString &name, StoreBackend backend)
{
    return backend == StoreBackend::Postgres ? name.toLower() : name;
}

QString physicalIndexName(const TableDef &table, const QString &indexName, StoreBackend backend)
{
    return physicalName(table.name + QLatin1Char('_') + indexName, backend);
}

QString columnType(const FieldDef &field, StoreBackend backend)
{
    const bool lite = backend == StoreBackend::Sqlite;
    switch (field.type) {
    case FieldType::ShortString:
    case FieldType::NullString:
        return QStringLiteral("%1(%2)").arg(lite ? QStringLiteral("VARCHAR") : QStringLiteral("varchar")).arg(field.size);
    case FieldType::Int8:
        return lite ? QStringLiteral("TINYINT") : QStringLiteral("smallint");
    case FieldType::Int16:
        return lite ? QStringLiteral("SMALLINT") : QStringLiteral("smallint");
    case FieldType::Int32:
        // Not "INTEGER": a one-field INTEGER primary key would become SQLite's
        // row id and take null as "assign one".
        return lite ? QStringLiteral("INT") : QStringLiteral("integer");
    case FieldType::AutoInc:
        return lite ? QStringLiteral("INTEGER") : QStringLiteral("integer");
    case FieldType::Word32:
        return lite ? QStringLiteral("UNSIGNED INT") : QStringLiteral("bigint");
    case FieldType::Single:
        // FLOAT has REAL affinity in SQLite and tells the store to read 32 bits.
        return lite ? QStringLiteral("FLOAT") : QStringLiteral("real");
    case FieldType::Boolean:
        return lite ? QStringLiteral("BOOLEAN") : QStringLiteral("boolean");
    case FieldType::Date:
        return lite ? QStringLiteral("DATE") : QStringLiteral("date");
    case FieldType::Time:
        return lite ? QStringLiteral("TIME") : QStringLiteral("time(3)");
    case FieldType::DateTime:
        return lite ? QStringLiteral("DATETIME") : QStringLiteral("timestamp(3)");
    case FieldType::Currency:
        return lite ? QStringLiteral("DECIMAL(16,4)") : QStringLiteral("numeric(16,4)");
    case FieldType::Memo:
        return lite ? QStringLiteral("TEXT") : QStringLiteral("text");
    case FieldType::Blob:
        return lite ? QStringLiteral("BLOB") : QStringLiteral("bytea");
    }
    return {};
}

QStringList createStatements(StoreBackend backend)
{
    QStringList out;
    for (const TableDef &t : tables())
        out << tableStatements(t, backend);
    return out;
}

void create(MeetStore &store)
{
    StoreTransaction transaction(store);
    for (const QString &statement : createStatements(store.backend()))
        store.executeNative(statement);
    store.insertRow(QStringLiteral("DBVersion"),
                    {{QStringLiteral("Version"), QVariant::fromValue<qint64>(ExpectedVersion)}});
    transaction.commit();
}

} // namespace MeetSchema

} // namespace kestra
