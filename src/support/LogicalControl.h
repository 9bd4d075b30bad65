#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <vector>

namespace kestra {

// The state of one control of a window as the logic sees it: checked, text,
// enabled, visible, list items. Windows only draw this state and forward the
// operator's actions, so every handler runs and is tested without a screen.
class LogicalControl : public QObject {
    Q_OBJECT
public:
    explicit LogicalControl(const QString &name, QObject *parent = nullptr);

    const QString &name() const { return m_name; }

    bool isChecked() const { return m_checked; }
    void setChecked(bool checked);
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    bool isVisible() const { return m_visible; }
    void setVisible(bool visible);
    // Caption of a button, label or box; text of an edit or combo box.
    const QString &text() const { return m_text; }
    void setText(const QString &text);
    // Items of a list or radio group, with the current one (-1 for none).
    const QStringList &items() const { return m_items; }
    void setItems(const QStringList &items);
    int currentIndex() const { return m_currentIndex; }
    void setCurrentIndex(int index);
    // Colour of a status box, as a 0x00BBGGRR value.
    int color() const { return m_color; }
    void setColor(int color);
    // Free-form value: the key of a lookup list, the hint of a control.
    QVariant property(const QString &key) const { return m_properties.value(key); }
    void setProperty(const QString &key, const QVariant &value);

    // What the operator does: the state changes first, then the handler runs,
    // as a click on a check box toggles it before its click handler is called.
    void setClickHandler(std::function<void()> handler) { m_onClick = std::move(handler); }
    void click();
    void operatorSetChecked(bool checked);
    void operatorSetText(const QString &text);
    void operatorSelect(int index);

    void requestFocus() { emit focusRequested(); }

signals:
    void changed();
    void focusRequested();

private:
    QString m_name;
    bool m_checked = false;
    bool m_enabled = true;
    bool m_visible = true;
    QString m_text;
    QStringList m_items;
    int m_currentIndex = -1;
    int m_color = 0;
    QHash<QString, QVariant> m_properties;
    std::function<void()> m_onClick;
};

// The controls of one window, found by name as the composed names of
// per-event controls require ("chkEvent" + event + side).
class ControlSet : public QObject {
    Q_OBJECT
public:
    explicit ControlSet(QObject *parent = nullptr);

    LogicalControl &add(const QString &name, const QString &text = QString());
    // A control of a window drawn on a grid: its kind ("button", "lookup" ...),
    // the group it sits in, and its row and column there.
    LogicalControl &addPlaced(const QString &name, const QString &text, const char *kind, const char *group, int row,
                              int column);
    LogicalControl &operator()(const QString &name) const; // throws std::out_of_range
    LogicalControl *find(const QString &name) const;
    const std::vector<LogicalControl *> &all() const { return m_ordered; }

    // The control that asked for the focus last, for tests and the window.
    QString focused() const { return m_focused; }

signals:
    void focusMoved(const QString &name);

private:
    QHash<QString, LogicalControl *> m_controls;
    std::vector<LogicalControl *> m_ordered;
    QString m_focused;
};

} // namespace kestra
