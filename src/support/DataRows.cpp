#include "support/DataRows.h"

namespace kestra {

void DataRows::reset(QStringList columns, std::vector<QVariantList> rows)
{
    m_columns = std::move(columns);
    m_rows = std::move(rows);
    m_open = true;
    m_current = m_rows.empty() ? -1 : 0;
    if (m_changed)
        m_changed();
}

void DataRows::close()
{
    m_columns.clear();
    m_rows.clear();
    m_open = false;
    m_current = -1;
    if (m_changed)
        m_changed();
}

int DataRows::columnIndex(const QString &field) const
{
    for (int i = 0; i < m_columns.size(); ++i) {
        if (m_columns[i].compare(field, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

QVariant DataRows::value(int row, const QString &field) const
{
    const int column = columnIndex(field);
    if (column < 0 || row < 0 || row >= rowCount())
        return QVariant();
    return m_rows[std::size_t(row)].value(column);
}

void DataRows::setCurrentRow(int row)
{
    if (row >= 0 && row < rowCount())
        m_current = row;
}

} // namespace kestra
