#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <vector>

namespace kestra {

// A small read-only data set held in memory: named columns, rows of values and
// a current row, as the results window's lists and look-ups use it (sessions,
// levels, age groups, gyms of a meet, team codes). Those lists are a few
// hundred rows at most and are read afresh when their source changes.
class DataRows {
public:
    // Replaces the content and opens the set on its first row; tells the
    // listener of the change.
    void reset(QStringList columns, std::vector<QVariantList> rows);
    // Empties the set and closes it.
    void close();
    bool isOpen() const { return m_open; }

    int rowCount() const { return int(m_rows.size()); }
    bool isEmpty() const { return m_rows.empty(); }
    const QStringList &columns() const { return m_columns; }
    int columnIndex(const QString &field) const;

    // A field of a row; null for a null value, an unknown field or a row out
    // of range.
    QVariant value(int row, const QString &field) const;
    // The same as text, a null value as the empty text.
    QString text(int row, const QString &field) const { return value(row, field).toString(); }

    // The current row: -1 when the set is empty or closed.
    int currentRow() const { return m_current; }
    void setCurrentRow(int row);
    QVariant current(const QString &field) const { return value(m_current, field); }

    // Called after every reset or close: the "data changed" of a data source.
    void setChangeListener(std::function<void()> listener) { m_changed = std::move(listener); }

private:
    QStringList m_columns;
    std::vector<QVariantList> m_rows;
    int m_current = -1;
    bool m_open = false;
    std::function<void()> m_changed;
};

} // namespace kestra
