#include "meetdb/MeetStore.h"

#include <algorithm>

namespace kestra {

namespace {
constexpr int PageSize = 64;

QStringList splitFields(const QString &text)
{
    QStringList out;
    for (const QString &f : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        if (!f.trimmed().isEmpty())
            out << f.trimmed();
    }
    return out;
}

bool isNull(const QVariant &v)
{
    return !v.isValid() || v.isNull();
}
} // namespace

struct TableCursor::State {
    MeetStore *store = nullptr;
    TableInfo info;
    StoreBackend backend = StoreBackend::Sqlite;
    bool open = true;

    QStringList order;
    QStringList key; // order fields, then the rest of the primary key
    QList<int> keyColumn;
    QList<bool> keyNotNull;
    bool whole = false; // no unique key: the set is read whole

    QVariantList rangeLow, rangeHigh;

    TableCursor *master = nullptr;
    bool masterLost = false;
    QStringList masterFields, detailFields;
    QVariantList masterValues;
    bool masterRow = false;
    QList<TableCursor *> details;

    bool stale = true; // must (re)load before the next use
    bool loaded = false;

    ColumnsPtr columns;
    std::vector<QVariantList> buffer; // consecutive rows of the ordered set
    int pos = -1;
    bool hasStart = false; // buffer starts at the first row of the set
    bool hasEnd = false;   // buffer ends at the last row of the set
    bool eof = true;
    bool bof = true;
    qint64 fetched = 0;

    QString q(const QString &name) const { return store->dialect().quoteName(name); }

    [[noreturn]] void fail(const QString &what) const
    {
        throw StoreError(StoreError::Kind::Database, backend,
                         QStringLiteral("%1 store: table %2: %3").arg(backendName(backend), info.name, what));
    }

    QString field(const QString &name) const
    {
        const int i = info.fieldIndex(name);
        if (i < 0)
            fail(QStringLiteral("no field \"%1\"").arg(name));
        return info.fields[i];
    }

    QVariantList keyOf(const QVariantList &row) const
    {
        QVariantList k;
        for (int c : keyColumn)
            k << row.value(c);
        return k;
    }

    // Lexicographic comparison of the first values.size() key fields, nulls
    // sorting below every value as the ORDER BY below has them.
    QString compare(const QString &op, const QVariantList &values, QVariantList &params) const
    {
        const int m = int(values.size());
        bool plain = true;
        for (int i = 0; i < m; ++i)
            plain = plain && keyNotNull[i] && !isNull(values[i]);
        if (plain) {
            QStringList cols, marks;
            for (int i = 0; i < m; ++i) {
                cols << q(key[i]);
                marks << QStringLiteral("?");
                params << values[i];
            }
            if (m == 1)
                return QStringLiteral("%1 %2 ?").arg(cols[0], op);
            return QStringLiteral("(%1) %2 (%3)").arg(cols.join(QStringLiteral(", ")), op,
                                                       marks.join(QStringLiteral(", ")));
        }
        const bool greater = op.startsWith(QLatin1Char('>'));
        const bool strict = op.size() == 1;
        auto eq = [&](int j) {
            if (isNull(values[j]))
                return QStringLiteral("%1 IS NULL").arg(q(key[j]));
            params << values[j];
            return QStringLiteral("%1 = ?").arg(q(key[j]));
        };
        QStringList ors;
        for (int i = 0; i < m; ++i) {
            QStringList ands;
            for (int j = 0; j < i; ++j)
                ands << eq(j);
            const QString col = q(key[i]);
            if (greater) {
                if (isNull(values[i])) {
                    ands << QStringLiteral("%1 IS NOT NULL").arg(col);
                } else {
                    ands << QStringLiteral("%1 > ?").arg(col);
                    params << values[i];
                }
            } else {
                if (isNull(values[i])) {
                    ands << QStringLiteral("1 = 0");
                } else {
                    ands << (keyNotNull[i] ? QStringLiteral("%1 < ?").arg(col)
                                           : QStringLiteral("(%1 < ? OR %1 IS NULL)").arg(col));
                    params << values[i];
                }
            }
            ors << QLatin1Char('(') + ands.join(QStringLiteral(" AND ")) + QLatin1Char(')');
        }
        if (!strict) {
            QStringList ands;
            for (int j = 0; j < m; ++j)
                ands << eq(j);
            ors << QLatin1Char('(') + ands.join(QStringLiteral(" AND ")) + QLatin1Char(')');
        }
        return QLatin1Char('(') + ors.join(QStringLiteral(" OR ")) + QLatin1Char(')');
    }

    QStringList baseConditions(QVariantList &params) const
    {
        QStringList conds;
        if (masterLost || (master && !masterRow))
            return {QStringLiteral("1 = 0")};
        for (int i = 0; i < detailFields.size(); ++i) {
            if (isNull(masterValues.value(i)))
                return {QStringLiteral("1 = 0")}; // null matches nothing
            conds << QStringLiteral("%1 = ?").arg(q(detailFields[i]));
            params << masterValues[i];
        }
        if (!rangeLow.isEmpty())
            conds << compare(QStringLiteral(">="), rangeLow, params);
        if (!rangeHigh.isEmpty())
            conds << compare(QStringLiteral("<="), rangeHigh, params);
        return conds;
    }

    QString orderBy(bool descending) const
    {
        const QStringList &fields = whole ? order : key;
        QStringList items;
        for (int i = 0; i < fields.size(); ++i) {
            QString item = q(fields[i]) + (descending ? QStringLiteral(" DESC") : QStringLiteral(" ASC"));
            const bool nullable = whole ? true : !keyNotNull[i];
            if (nullable && backend == StoreBackend::Postgres)
                item += descending ? QStringLiteral(" NULLS LAST") : QStringLiteral(" NULLS FIRST");
            items << item;
        }
        return items.isEmpty() ? QString() : QStringLiteral(" ORDER BY ") + items.join(QStringLiteral(", "));
    }

    // `extra` conditions come after the base ones, and so do their parameters.
    std::vector<QVariantList> fetch(const QStringList &extra, const QVariantList &extraParams,
                                    bool descending, int limit)
    {
        QVariantList params;
        QStringList conds = baseConditions(params);
        conds << extra;
        params << extraParams;
        QString sql = QStringLiteral("SELECT * FROM %1").arg(q(info.name));
        if (!conds.isEmpty())
            sql += QStringLiteral(" WHERE ") + conds.join(QStringLiteral(" AND "));
        sql += orderBy(descending);
        if (limit > 0)
            sql += QStringLiteral(" LIMIT %1").arg(limit);
        QueryResult result = store->queryNative(sql, params);
        RowSet rows = result.rowSet();
        if (!columns)
            columns = rows.columns;
        fetched += qint64(rows.rows.size());
        if (descending)
            std::reverse(rows.rows.begin(), rows.rows.end());
        return std::move(rows.rows);
    }

    void setBuffer(std::vector<QVariantList> rows, int position, bool start, bool end)
    {
        buffer = std::move(rows);
        pos = buffer.empty() ? -1 : position;
        hasStart = start;
        hasEnd = end;
    }

    bool hasRow() const { return pos >= 0 && pos < int(buffer.size()); }
};

TableCursor::TableCursor(MeetStore *store, const TableInfo &info, const CursorOptions &options)
    : d(std::make_unique<State>())
{
    d->store = store;
    d->info = info;
    d->backend = store->backend();
    for (const QString &f : splitFields(options.order))
        d->order << d->field(f);
    if (d->order.isEmpty())
        d->order = info.primaryKey;
    d->key = d->order;
    if (info.primaryKey.isEmpty()) {
        d->whole = true;
    } else {
        for (const QString &pk : info.primaryKey) {
            if (!d->key.contains(pk, Qt::CaseInsensitive))
                d->key << pk;
        }
    }
    for (const QString &k : d->key) {
        const int c = info.fieldIndex(k);
        d->keyColumn << c;
        d->keyNotNull << info.notNull.value(c);
    }
    d->rangeLow = options.rangeLow;
    d->rangeHigh = options.rangeHigh;
    if (d->rangeLow.size() > d->key.size() || d->rangeHigh.size() > d->key.size())
        d->fail(QStringLiteral("a range has more values than the order has fields"));

    if (options.master) {
        d->master = options.master;
        d->masterFields = splitFields(options.masterFields);
        d->detailFields = splitFields(options.detailFields.isEmpty() ? options.masterFields
                                                                    : options.detailFields);
        if (d->masterFields.isEmpty() || d->masterFields.size() != d->detailFields.size())
            d->fail(QStringLiteral("the master link needs as many detail fields as master fields"));
        for (QString &f : d->detailFields)
            f = d->field(f);
        for (const QString &f : d->masterFields) {
            if (d->master->fieldIndex(f) < 0)
                d->fail(QStringLiteral("the master table %1 has no field \"%2\"").arg(d->master->tableName(), f));
        }
        d->master->d->details << this;
    }
    store->registerCursor(this);
}

TableCursor::~TableCursor()
{
    close();
}

void TableCursor::close()
{
    if (!d->open)
        return;
    d->open = false;
    if (d->master)
        d->master->d->details.removeAll(this);
    d->master = nullptr;
    for (TableCursor *detail : std::as_const(d->details))
        detail->masterGone();
    d->details.clear();
    if (d->store)
        d->store->unregisterCursor(this);
    d->buffer.clear();
    d->pos = -1;
}

void TableCursor::detachStore()
{
    d->store = nullptr;
    close();
}

void TableCursor::masterMoved() const
{
    d->stale = true;
}

void TableCursor::masterGone() const
{
    d->master = nullptr;
    d->masterLost = true;
    d->stale = true;
}

void TableCursor::notifyDetails() const
{
    for (TableCursor *detail : std::as_const(d->details))
        detail->masterMoved();
}

void TableCursor::requireOpen() const
{
    if (!d->open || !d->store)
        d->fail(QStringLiteral("the table is closed"));
}

QString TableCursor::tableName() const
{
    return d->info.name;
}

QStringList TableCursor::fieldNames() const
{
    return d->info.fields;
}

int TableCursor::fieldIndex(const QString &name) const
{
    return d->info.fieldIndex(name);
}

bool TableCursor::isOpen() const
{
    return d->open && d->store;
}

qint64 TableCursor::rowsFetched() const
{
    return d->fetched;
}

// Brings the cursor up to date with its master before any use.
void TableCursor::sync() const
{
    requireOpen();
    if (!d->stale)
        return;
    QVariantList values;
    bool row = false;
    if (d->master) {
        row = d->master->hasRow();
        if (row) {
            for (const QString &f : d->masterFields)
                values << d->master->value(f);
        }
    }
    d->stale = false;
    bool same = d->loaded && row == d->masterRow && values.size() == d->masterValues.size();
    for (int i = 0; same && i < values.size(); ++i)
        same = storevalues::sameValue(values[i], d->masterValues[i]);
    if (same)
        return;
    d->masterRow = row;
    d->masterValues = values;
    const_cast<TableCursor *>(this)->first();
}

void TableCursor::first()
{
    sync();
    d->loaded = true;
    if (d->whole) {
        d->setBuffer(d->fetch({}, {}, false, 0), 0, true, true);
    } else {
        auto rows = d->fetch({}, {}, false, PageSize);
        const bool end = int(rows.size()) < PageSize;
        d->setBuffer(std::move(rows), 0, true, end);
    }
    d->bof = true;
    d->eof = !d->hasRow();
    notifyDetails();
}

void TableCursor::last()
{
    sync();
    d->loaded = true;
    if (d->whole) {
        auto rows = d->fetch({}, {}, false, 0);
        const int n = int(rows.size());
        d->setBuffer(std::move(rows), n - 1, true, true);
    } else {
        auto rows = d->fetch({}, {}, true, PageSize);
        const int n = int(rows.size());
        d->setBuffer(std::move(rows), n - 1, n < PageSize, true);
    }
    d->eof = true;
    d->bof = !d->hasRow();
    notifyDetails();
}

void TableCursor::next()
{
    sync();
    if (!d->hasRow()) {
        d->eof = true;
        return;
    }
    if (d->pos + 1 < int(d->buffer.size())) {
        ++d->pos;
    } else if (d->hasEnd) {
        d->eof = true;
        return;
    } else {
        QVariantList params;
        const QString cond = d->compare(QStringLiteral(">"), d->keyOf(d->buffer[d->pos]), params);
        auto rows = d->fetch({cond}, params, false, PageSize);
        if (rows.empty()) {
            d->hasEnd = true;
            d->eof = true;
            return;
        }
        const bool end = int(rows.size()) < PageSize;
        rows.insert(rows.begin(), d->buffer[d->pos]);
        d->setBuffer(std::move(rows), 1, false, end);
    }
    d->bof = false;
    d->eof = false;
    notifyDetails();
}

void TableCursor::prior()
{
    sync();
    if (!d->hasRow()) {
        d->bof = true;
        return;
    }
    if (d->pos > 0) {
        --d->pos;
    } else if (d->hasStart) {
        d->bof = true;
        return;
    } else {
        QVariantList params;
        const QString cond = d->compare(QStringLiteral("<"), d->keyOf(d->buffer[d->pos]), params);
        auto rows = d->fetch({cond}, params, true, PageSize);
        if (rows.empty()) {
            d->hasStart = true;
            d->bof = true;
            return;
        }
        const bool start = int(rows.size()) < PageSize;
        const int at = int(rows.size()) - 1;
        rows.push_back(d->buffer[d->pos]);
        d->setBuffer(std::move(rows), at, start, false);
    }
    d->bof = false;
    d->eof = false;
    notifyDetails();
}

bool TableCursor::eof() const
{
    sync();
    return d->eof;
}

bool TableCursor::bof() const
{
    sync();
    return d->bof;
}

bool TableCursor::hasRow() const
{
    sync();
    return d->hasRow();
}

bool TableCursor::isEmpty() const
{
    sync();
    return d->buffer.empty();
}

qint64 TableCursor::recordCount() const
{
    sync();
    if (d->hasStart && d->hasEnd)
        return qint64(d->buffer.size());
    QVariantList params;
    const QStringList conds = d->baseConditions(params);
    QString sql = QStringLiteral("SELECT count(*) FROM %1").arg(d->q(d->info.name));
    if (!conds.isEmpty())
        sql += QStringLiteral(" WHERE ") + conds.join(QStringLiteral(" AND "));
    const QueryResult r = d->store->queryNative(sql, params);
    return r.value(0).toLongLong();
}

bool TableCursor::locate(const QString &fields, const QVariantList &values)
{
    sync();
    QStringList names = splitFields(fields);
    if (names.size() != values.size())
        d->fail(QStringLiteral("locate needs one value per field"));
    QList<int> cols;
    for (QString &n : names) {
        n = d->field(n);
        cols << d->info.fieldIndex(n);
    }
    if (d->hasStart && d->hasEnd) {
        for (int i = 0; i < int(d->buffer.size()); ++i) {
            bool match = true;
            for (int c = 0; match && c < cols.size(); ++c)
                match = storevalues::sameValue(d->buffer[i][cols[c]], values[c]);
            if (match) {
                d->pos = i;
                d->eof = d->bof = false;
                notifyDetails();
                return true;
            }
        }
        return false;
    }
    QStringList conds;
    QVariantList params;
    for (int i = 0; i < names.size(); ++i) {
        if (isNull(values[i])) {
            conds << QStringLiteral("%1 IS NULL").arg(d->q(names[i]));
        } else {
            conds << QStringLiteral("%1 = ?").arg(d->q(names[i]));
            params << storevalues::forColumn(values[i], d->info.kinds[cols[i]]);
        }
    }
    auto rows = d->fetch(conds, params, false, 1);
    if (rows.empty())
        return false;
    d->setBuffer(std::move(rows), 0, false, false);
    d->eof = d->bof = false;
    notifyDetails();
    return true;
}

bool TableCursor::findKey(const QVariantList &keyValues)
{
    sync();
    if (keyValues.isEmpty() || keyValues.size() > d->key.size())
        d->fail(QStringLiteral("a key of %1 values for an order of %2 fields")
                    .arg(keyValues.size())
                    .arg(d->key.size()));
    const QStringList fields = d->key.mid(0, keyValues.size());
    return locate(fields.join(QLatin1Char(';')), keyValues);
}

void TableCursor::setRange(const QVariantList &low, const QVariantList &high)
{
    requireOpen();
    if (low.size() > d->key.size() || high.size() > d->key.size())
        d->fail(QStringLiteral("a range has more values than the order has fields"));
    d->rangeLow = low;
    d->rangeHigh = high;
    d->buffer.clear();
    d->hasStart = d->hasEnd = false;
    first();
}

void TableCursor::refresh()
{
    sync();
    if (d->whole) {
        const int keep = d->pos;
        auto rows = d->fetch({}, {}, false, 0);
        const int n = int(rows.size());
        d->setBuffer(std::move(rows), qBound(0, keep, n - 1), true, true);
        d->eof = d->bof = !d->hasRow();
        notifyDetails();
        return;
    }
    if (!d->hasRow()) {
        d->buffer.clear();
        d->hasStart = false;
        first();
        return;
    }
    QVariantList params;
    const QString cond = d->compare(QStringLiteral(">="), d->keyOf(d->buffer[d->pos]), params);
    auto rows = d->fetch({cond}, params, false, PageSize);
    if (rows.empty()) {
        d->buffer.clear();
        d->hasEnd = false;
        last();
        d->eof = !d->hasRow();
        return;
    }
    const bool end = int(rows.size()) < PageSize;
    d->setBuffer(std::move(rows), 0, false, end);
    d->eof = d->bof = false;
    notifyDetails();
}

QVariant TableCursor::value(const QString &field) const
{
    sync();
    const int i = d->info.fieldIndex(field);
    if (i < 0)
        d->fail(QStringLiteral("no field \"%1\"").arg(field));
    return d->hasRow() ? d->buffer[d->pos].value(i) : QVariant();
}

QVariant TableCursor::value(int index) const
{
    sync();
    if (index < 0 || index >= d->info.fields.size())
        d->fail(QStringLiteral("no field number %1").arg(index));
    return d->hasRow() ? d->buffer[d->pos].value(index) : QVariant();
}

StoreRecord TableCursor::currentRecord() const
{
    sync();
    if (!d->hasRow())
        return {};
    ColumnsPtr cols = d->columns ? d->columns
                                 : std::make_shared<const ColumnSet>(d->info.fields, d->info.kinds);
    return StoreRecord(cols, d->buffer[d->pos], d->backend);
}

} // namespace kestra
