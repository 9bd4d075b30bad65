#pragma once

#include "meetdb/StoreError.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <utility>
#include <vector>

namespace kestra {

// How the store gives a column's values to the program.
enum class ValueKind {
    Integer,  // int (8, 16 and 32-bit fields)
    Int64,    // qlonglong (unsigned 32-bit fields, 64-bit expressions)
    Single,   // double holding a 32-bit float value
    Double,   // double
    Boolean,  // bool
    Date,     // QDate
    Time,     // QTime
    DateTime, // QDateTime (local time, as stored)
    Text,     // QString
    Blob,     // QByteArray
    Unknown,  // whatever the engine's value is
};

// The columns of a result: names as the engine gives them (PostgreSQL's
// lower-cased schema names are given back in the schema's spelling), looked up
// without regard to case.
class ColumnSet {
public:
    ColumnSet(QStringList names, QList<ValueKind> kinds);
    const QStringList &names() const { return m_names; }
    const QList<ValueKind> &kinds() const { return m_kinds; }
    int size() const { return int(m_names.size()); }
    // -1 when there is no such column; the first of equal names wins.
    int indexOf(const QString &name) const;

private:
    QStringList m_names;
    QList<ValueKind> m_kinds;
    QHash<QString, int> m_index;
};
using ColumnsPtr = std::shared_ptr<const ColumnSet>;

// The rows a statement returned, all read at once.
struct RowSet {
    ColumnsPtr columns;
    std::vector<QVariantList> rows;
};

// One row with its column names.
class StoreRecord {
public:
    StoreRecord() = default;
    StoreRecord(ColumnsPtr columns, QVariantList values, StoreBackend backend);
    bool isValid() const { return bool(m_columns); }
    QStringList fieldNames() const;
    int fieldIndex(const QString &name) const;
    bool hasField(const QString &name) const { return fieldIndex(name) >= 0; }
    // A null QVariant for a null value; throws StoreError for an unknown field.
    QVariant value(const QString &name) const;
    QVariant value(int index) const;
    const QVariantList &values() const { return m_values; }

private:
    ColumnsPtr m_columns;
    QVariantList m_values;
    StoreBackend m_backend = StoreBackend::Sqlite;
};

// Field names and values in order, for inserts and updates:
//   store.insertRow("ScoreApps", {{"AppID", 4}, {"AppName", "Kestra"}});
using FieldValues = QList<std::pair<QString, QVariant>>;

namespace storevalues {
// A double as the nearest 32-bit float, widened again.
double toSingle(double value);
// Text forms the SQLite store keeps: 'YYYY-MM-DD', 'HH:MM:SS[.zzz]',
// 'YYYY-MM-DD HH:MM:SS.zzz'.
QString dateText(const QDate &date);
QString timeText(const QTime &time);
QString dateTimeText(const QDateTime &dateTime);
QVariant parseDate(const QString &text);
QVariant parseTime(const QString &text);
QVariant parseDateTime(const QString &text);
// Brings a value to the kind of the column it is written to, so that a score
// given as double is stored as a 32-bit float and a date given as text stays text.
QVariant forColumn(const QVariant &value, ValueKind kind);
bool sameValue(const QVariant &a, const QVariant &b);
} // namespace storevalues

} // namespace kestra
