#pragma once

#include <QPointer>
#include <QWidget>

class QListWidget;
class QPushButton;
class QToolButton;

namespace kestra {

class LogicalControl;
class OzkcxCheckedCombo;

// Draws a checked list: a button with the list's text that drops down its
// items with their check marks, and the two buttons "Select All" and "Select
// None" (the second only while the list allows none). A click on an item goes
// to the logic with its Ctrl and Shift state; the marks shown are always the
// logic's. `control` carries the enabled state.
class CheckedComboBox final : public QWidget {
    Q_OBJECT
public:
    CheckedComboBox(OzkcxCheckedCombo &logic, LogicalControl &control, QWidget *parent = nullptr);

    QListWidget *itemList() const { return m_list; }
    // Drops the list down (a click on the text button does the same).
    void showItems();

private:
    void redraw();

    QPointer<OzkcxCheckedCombo> m_logic;
    QPushButton *m_text = nullptr;
    QToolButton *m_all = nullptr;
    QToolButton *m_none = nullptr;
    QWidget *m_popup = nullptr;
    QListWidget *m_list = nullptr;
};

} // namespace kestra
