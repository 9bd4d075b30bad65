#pragma once

#include "meetdb/StoreError.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace kestra {

class MeetStore;

// The types of the meet database's data dictionary.
enum class FieldType {
    ShortString, // single-byte text up to `size` characters (255 at most)
    NullString,  // longer text up to `size` characters
    Int8,
    Int16,
    Int32,
    Word32,  // unsigned 32-bit
    AutoInc, // 32-bit, assigned by the store on insert unless given
    Single,  // IEEE 754 single precision
    Boolean,
    Date,
    Time,
    DateTime,
    Currency, // 16 digits, 4 decimals
    Memo,     // text of any length
    Blob,
};

struct FieldDef {
    QString name;
    FieldType type = FieldType::Int32;
    int size = 0; // characters, text types only
    bool required = false;
};

struct IndexField {
    QString field;
    bool caseInsensitive = false;
};

struct IndexDef {
    QString name; // as the dictionary names it; unique per table only
    QList<IndexField> fields;
    bool unique = false;
    bool foreignKey = false; // one of the dictionary's foreign-key detail indexes
};

enum class RefAction { None, Cascade, Block };

struct ReferenceDef {
    QStringList fields;
    QString parentTable;
    QStringList parentFields;
    bool mustExist = true;
    RefAction onDelete = RefAction::None;
    RefAction onUpdate = RefAction::None;
};

struct TableDef {
    QString name;
    QList<FieldDef> fields;
    QList<IndexField> primaryKey;
    QList<IndexDef> indexes;
    QList<ReferenceDef> references;
    int autoIncStart = 1;
    int autoIncStep = 1;

    // Field lookups ignore case, as the store's name comparison does.
    const FieldDef *field(const QString &name) const;
    int fieldIndex(const QString &name) const;
    bool inPrimaryKey(const QString &name) const;
    // True when the field can never hold null: required or part of the primary key.
    bool neverNull(const QString &name) const;
    const FieldDef *autoIncField() const;
};

namespace MeetSchema {

// The version this program is built for, one byte a part: 5.10.5.0.
inline constexpr quint32 ExpectedVersion = 0x050A0500;
// "%d.%d.%d.%d" of the four bytes, most significant first.
QString formatVersion(quint32 version);

// The alias under which the program finds the meet database.
QString defaultAlias();

// All 38 tables in dictionary order.
const QList<TableDef> &tables();
// A table by name, ignoring case; nullptr when the schema has no such table.
const TableDef *table(const QString &name);
// The schema spelling of a field name seen in any table ("short name" gives
// "Short Name"); the name itself when no table has such a field.
QString fieldSpelling(const QString &name);

// Name of a table, field or index in the engine: as written for SQLite, lower
// case for PostgreSQL (which folds unquoted names).
QString physicalName(const QString &name, StoreBackend backend);
// Index names are per table in the dictionary but global in both engines.
QString physicalIndexName(const TableDef &table, const QString &indexName, StoreBackend backend);

// The declared column type of a field in each engine.
QString columnType(const FieldDef &field, StoreBackend backend);

// Every statement that creates the schema, in order: tables in dictionary
// order, their indexes, triggers and functions. Each element is one statement.
QStringList createStatements(StoreBackend backend);

// Creates all tables on the open, empty database of `store` in one transaction
// and writes the one `DBVersion` row.
void create(MeetStore &store);

} // namespace MeetSchema

} // namespace kestra
