#include "support/OzkcxCheckedCombo.h"

#include "support/DataRows.h"

#include <QScopeGuard>

#include <algorithm>

namespace kestra {

OzkcxCheckedCombo::OzkcxCheckedCombo(const QString &name, QObject *parent) : QObject(parent), m_name(name) {}

void OzkcxCheckedCombo::setDataSource(DataRows *source)
{
    if (source)
        m_source = source;
}

bool OzkcxCheckedCombo::sourceReady() const
{
    return !m_updatingList && !m_dataField.isEmpty() && m_source && m_source->isOpen();
}

QString OzkcxCheckedCombo::description(int index) const
{
    return index >= 0 && index < itemCount() ? m_items[std::size_t(index)].description : QString();
}

QStringList OzkcxCheckedCombo::descriptions() const
{
    QStringList out;
    for (const Item &item : m_items)
        out << item.description;
    return out;
}

bool OzkcxCheckedCombo::IsChecked(int index) const
{
    return index >= 0 && index < itemCount() && m_items[std::size_t(index)].checked;
}

void OzkcxCheckedCombo::remakeText()
{
    const int checked = int(std::count_if(m_items.begin(), m_items.end(), [](const Item &i) { return i.checked; }));
    if (checked == 0) {
        m_text = QStringLiteral("None");
        m_state = None;
    } else if (checked == 1) {
        const auto it = std::find_if(m_items.begin(), m_items.end(), [](const Item &i) { return i.checked; });
        const int index = int(it - m_items.begin());
        m_text = it->description;
        m_state = One;
        MoveToItem(index); // the data set stands on the one selected row
    } else if (checked == itemCount()) {
        m_text = QStringLiteral("All");
        m_state = All;
    } else {
        m_text = QStringLiteral("Multiple");
        m_state = Multiple;
    }
    if (m_allSelected) {
        m_text = QStringLiteral("All");
        m_state = All;
    }
}

void OzkcxCheckedCombo::selectionChanged()
{
    remakeText();
    emit changed();
    if (m_onSelectChange)
        m_onSelectChange();
}

void OzkcxCheckedCombo::keepOneUnlessNoneAllowed(int index)
{
    if (!m_allowNone && m_selectedCount == 0 && !m_items.empty()) {
        m_items[std::size_t(index)].checked = true;
        m_selectedCount = 1;
    }
}

void OzkcxCheckedCombo::setAllowNone(bool allow)
{
    m_allowNone = allow;
    if (!allow && m_selectedCount == 0 && !m_items.empty()) {
        keepOneUnlessNoneAllowed(0);
        selectionChanged();
        return;
    }
    emit changed();
}

void OzkcxCheckedCombo::itemClicked(int index, bool ctrl, bool shift)
{
    if (index < 0 || index >= itemCount())
        return;
    if (!shift) {
        bool state = !m_items[std::size_t(index)].checked;
        if (!ctrl) {
            for (Item &item : m_items)
                item.checked = false;
            m_selectedCount = 0;
            state = true;
        }
        m_items[std::size_t(index)].checked = state;
        if (state) {
            ++m_selectedCount;
        } else {
            --m_selectedCount;
            keepOneUnlessNoneAllowed(index);
        }
    } else {
        const int anchor = m_lastClicked < 0 ? 0 : std::min(m_lastClicked, itemCount() - 1);
        for (int i = std::min(anchor, index); i <= std::max(anchor, index); ++i) {
            if (!m_items[std::size_t(i)].checked) {
                m_items[std::size_t(i)].checked = true;
                ++m_selectedCount;
            }
        }
    }
    m_lastClicked = index;
    selectionChanged();
}

void OzkcxCheckedCombo::SetChecked(int index, bool checked)
{
    if (index < 0 || index >= itemCount())
        return;
    Item &item = m_items[std::size_t(index)];
    if (item.checked != checked) {
        item.checked = checked;
        m_selectedCount += checked ? 1 : -1;
    }
    keepOneUnlessNoneAllowed(0);
    selectionChanged();
}

void OzkcxCheckedCombo::SelectAll()
{
    for (Item &item : m_items)
        item.checked = true;
    m_selectedCount = itemCount();
    selectionChanged();
}

void OzkcxCheckedCombo::SelectNone()
{
    for (Item &item : m_items)
        item.checked = false;
    m_selectedCount = 0;
    keepOneUnlessNoneAllowed(0);
    selectionChanged();
}

void OzkcxCheckedCombo::SetAllSelected(bool value)
{
    if (value == m_allSelected)
        return;
    m_allSelected = value;
    if (value)
        SelectAll();
    else
        selectionChanged();
}

void OzkcxCheckedCombo::LoadItems(bool selectAll)
{
    if (!sourceReady())
        return;
    m_updatingList = true;
    QStringList loaded;
    for (int row = 0; row < m_source->rowCount(); ++row)
        loaded << m_source->text(row, m_dataField);
    m_source->setCurrentRow(0);
    // Compared as one text, as the list was shown.
    if (loaded.join(QLatin1Char('\n')) != m_currentList.join(QLatin1Char('\n')) || loaded.size() != m_currentList.size()) {
        m_currentList = loaded;
        m_items.clear();
        for (const QString &description : std::as_const(loaded))
            m_items.push_back({description, false});
        m_selectedCount = 0;
        m_lastClicked = -1;
        m_updatingList = false;
        if (selectAll)
            SelectAll();
        else
            SelectNone();
        m_updatingList = true;
    }
    m_updatingList = false;
    selectionChanged();
}

void OzkcxCheckedCombo::MoveToItem(int index)
{
    if (!sourceReady() || index < 0 || index >= itemCount())
        return;
    m_updatingList = true;
    const auto done = qScopeGuard([this] { m_updatingList = false; });
    const QString wanted = m_items[std::size_t(index)].description;
    const int rows = m_source->rowCount();
    for (int row = 0; row < rows; ++row) {
        if (m_source->text(row, m_dataField) == wanted) {
            m_source->setCurrentRow(row);
            return;
        }
    }
    m_source->setCurrentRow(rows - 1);
}

QString OzkcxCheckedCombo::GetSelection(const QString &fieldName, int quoteMode)
{
    QString out;
    for (int i = 0; i < itemCount(); ++i) {
        if (!m_items[std::size_t(i)].checked)
            continue;
        MoveToItem(i);
        QString value = m_source ? m_source->current(fieldName).toString() : QString();
        if (quoteMode == 1)
            value = QLatin1Char('\'') + value.replace(QLatin1Char('\''), QStringLiteral("''")) + QLatin1Char('\'');
        else if (quoteMode == 2)
            value = QLatin1Char('"') + value + QLatin1Char('"');
        out += value + QLatin1Char(',');
    }
    out.chop(1);
    return out;
}

} // namespace kestra
