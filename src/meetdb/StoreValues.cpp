#include "meetdb/StoreValues.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

namespace kestra {

ColumnSet::ColumnSet(QStringList names, QList<ValueKind> kinds)
    : m_names(std::move(names)), m_kinds(std::move(kinds))
{
    for (int i = 0; i < m_names.size(); ++i) {
        const QString key = m_names[i].toLower();
        if (!m_index.contains(key))
            m_index.insert(key, i);
    }
}

int ColumnSet::indexOf(const QString &name) const
{
    return m_index.value(name.toLower(), -1);
}

StoreRecord::StoreRecord(ColumnsPtr columns, QVariantList values, StoreBackend backend)
    : m_columns(std::move(columns)), m_values(std::move(values)), m_backend(backend)
{
}

QStringList StoreRecord::fieldNames() const
{
    return m_columns ? m_columns->names() : QStringList();
}

int StoreRecord::fieldIndex(const QString &name) const
{
    return m_columns ? m_columns->indexOf(name) : -1;
}

QVariant StoreRecord::value(const QString &name) const
{
    const int i = fieldIndex(name);
    if (i < 0) {
        throw StoreError(StoreError::Kind::Database, m_backend,
                         QStringLiteral("%1 store: the row has no field \"%2\"")
                             .arg(backendName(m_backend), name));
    }
    return m_values.value(i);
}

QVariant StoreRecord::value(int index) const
{
    if (index < 0 || index >= m_values.size()) {
        throw StoreError(StoreError::Kind::Database, m_backend,
                         QStringLiteral("%1 store: the row has no field number %2")
                             .arg(backendName(m_backend))
                             .arg(index));
    }
    return m_values[index];
}

namespace storevalues {

double toSingle(double value)
{
    return double(float(value));
}

QString dateText(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy-MM-dd"));
}

QString timeText(const QTime &time)
{
    return time.msec() ? time.toString(QStringLiteral("HH:mm:ss.zzz"))
                       : time.toString(QStringLiteral("HH:mm:ss"));
}

QString dateTimeText(const QDateTime &dateTime)
{
    return dateTime.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

QVariant parseDate(const QString &text)
{
    const QDate d = QDate::fromString(text.left(10), Qt::ISODate);
    return d.isValid() ? QVariant(d) : QVariant(text);
}

QVariant parseTime(const QString &text)
{
    QTime t = QTime::fromString(text, Qt::ISODateWithMs);
    if (!t.isValid())
        t = QTime::fromString(text, Qt::ISODate);
    if (!t.isValid() && text.size() > 12) // more than milliseconds
        t = QTime::fromString(text.left(12), Qt::ISODateWithMs);
    return t.isValid() ? QVariant(t) : QVariant(text);
}

QVariant parseDateTime(const QString &text)
{
    QString iso = text.trimmed();
    if (iso.size() > 10 && iso[10] == QLatin1Char(' '))
        iso[10] = QLatin1Char('T');
    // Microseconds (PostgreSQL) are cut to milliseconds.
    const int dot = iso.indexOf(QLatin1Char('.'), 19);
    if (dot > 0 && iso.size() > dot + 4)
        iso.truncate(dot + 4);
    QDateTime dt = QDateTime::fromString(iso, Qt::ISODateWithMs);
    if (!dt.isValid())
        dt = QDateTime::fromString(iso, Qt::ISODate);
    if (!dt.isValid()) {
        const QDate d = QDate::fromString(iso, Qt::ISODate);
        if (d.isValid())
            dt = d.startOfDay();
    }
    return dt.isValid() ? QVariant(dt) : QVariant(text);
}

QVariant forColumn(const QVariant &value, ValueKind kind)
{
    if (!value.isValid() || value.isNull())
        return QVariant();
    const int type = value.metaType().id();
    switch (kind) {
    case ValueKind::Single:
        if (type == QMetaType::Double || type == QMetaType::Float || type == QMetaType::Int
            || type == QMetaType::LongLong) {
            return QVariant(float(value.toDouble()));
        }
        break;
    case ValueKind::Date:
        if (type == QMetaType::QDateTime)
            return QVariant(value.toDateTime().date());
        break;
    case ValueKind::DateTime:
        if (type == QMetaType::QDate)
            return QVariant(value.toDate().startOfDay());
        break;
    default:
        break;
    }
    return value;
}

static bool isNumeric(int type)
{
    switch (type) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

bool sameValue(const QVariant &a, const QVariant &b)
{
    const bool an = !a.isValid() || a.isNull();
    const bool bn = !b.isValid() || b.isNull();
    if (an || bn)
        return an && bn;
    const int ta = a.metaType().id();
    const int tb = b.metaType().id();
    if (isNumeric(ta) && isNumeric(tb)) {
        if ((ta == QMetaType::Double || ta == QMetaType::Float || tb == QMetaType::Double
             || tb == QMetaType::Float))
            return a.toDouble() == b.toDouble();
        return a.toLongLong() == b.toLongLong();
    }
    if (ta == tb)
        return a == b;
    return a.toString() == b.toString();
}

} // namespace storevalues

} // namespace kestra
