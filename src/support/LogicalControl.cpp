#include "support/LogicalControl.h"

#include <stdexcept>

namespace kestra {

LogicalControl::LogicalControl(const QString &name, QObject *parent)
    : QObject(parent), m_name(name)
{
    setObjectName(name);
}

void LogicalControl::setChecked(bool checked)
{
    if (m_checked == checked)
        return;
    m_checked = checked;
    emit changed();
}

void LogicalControl::setEnabled(bool enabled)
{
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    emit changed();
}

void LogicalControl::setVisible(bool visible)
{
    if (m_visible == visible)
        return;
    m_visible = visible;
    emit changed();
}

void LogicalControl::setText(const QString &text)
{
    if (m_text == text)
        return;
    m_text = text;
    emit changed();
}

void LogicalControl::setItems(const QStringList &items)
{
    m_items = items;
    if (m_currentIndex >= m_items.size())
        m_currentIndex = -1;
    emit changed();
}

void LogicalControl::setCurrentIndex(int index)
{
    if (index < -1 || index >= m_items.size())
        index = -1;
    if (m_currentIndex == index)
        return;
    m_currentIndex = index;
    emit changed();
}

void LogicalControl::setColor(int color)
{
    if (m_color == color)
        return;
    m_color = color;
    emit changed();
}

void LogicalControl::setProperty(const QString &key, const QVariant &value)
{
    if (m_properties.value(key) == value && m_properties.contains(key))
        return;
    m_properties.insert(key, value);
    emit changed();
}

void LogicalControl::click()
{
    if (m_onClick)
        m_onClick();
}

void LogicalControl::operatorSetChecked(bool checked)
{
    setChecked(checked);
    click();
}

void LogicalControl::operatorSetText(const QString &text)
{
    setText(text);
    click();
}

void LogicalControl::operatorSelect(int index)
{
    setCurrentIndex(index);
    click();
}

ControlSet::ControlSet(QObject *parent) : QObject(parent) {}

LogicalControl &ControlSet::addPlaced(const QString &name, const QString &text, const char *kind, const char *group,
                                      int row, int column)
{
    LogicalControl &control = add(name, text);
    control.setProperty(QStringLiteral("kind"), QString::fromLatin1(kind));
    control.setProperty(QStringLiteral("group"), QString::fromLatin1(group));
    control.setProperty(QStringLiteral("row"), row);
    control.setProperty(QStringLiteral("column"), column);
    return control;
}

LogicalControl &ControlSet::add(const QString &name, const QString &text)
{
    auto *control = new LogicalControl(name, this);
    control->setText(text);
    m_controls.insert(name, control);
    m_ordered.push_back(control);
    connect(control, &LogicalControl::focusRequested, this, [this, name] {
        m_focused = name;
        emit focusMoved(name);
    });
    return *control;
}

LogicalControl &ControlSet::operator()(const QString &name) const
{
    LogicalControl *control = m_controls.value(name);
    if (!control)
        throw std::out_of_range("no control named " + name.toStdString());
    return *control;
}

LogicalControl *ControlSet::find(const QString &name) const
{
    return m_controls.value(name);
}

} // namespace kestra
