#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace kestra {

class DataRows;

// A drop-down list of check boxes whose items are a column of a data set;
// its selection becomes the value list of an SQL "in (...)" clause. This is
// the logic: items and their check marks, the click rules, the text, the
// selection lists. A widget only draws it and forwards clicks with their
// modifiers.
class OzkcxCheckedCombo : public QObject {
    Q_OBJECT
public:
    enum State { None = 0, One = 1, Multiple = 2, All = 3 };

    explicit OzkcxCheckedCombo(const QString &name, QObject *parent = nullptr);

    const QString &name() const { return m_name; }

    // Where the items come from. Setting no source is ignored: the old one
    // stays.
    void setDataSource(DataRows *source);
    DataRows *dataSource() const { return m_source; }
    // The column that gives an item its description.
    void setDataField(const QString &field) { m_dataField = field; }
    const QString &dataField() const { return m_dataField; }
    // Whether the operator may leave nothing checked.
    void setAllowNone(bool allow);
    bool allowNone() const { return m_allowNone; }
    void setOnSelectChange(std::function<void()> handler) { m_onSelectChange = std::move(handler); }

    // Reads the items again from the source. An unchanged list keeps every
    // check mark; a changed one is all checked (selectAll) or none.
    void LoadItems(bool selectAll);
    void SelectAll();
    void SelectNone();
    void SetChecked(int index, bool checked);
    bool IsChecked(int index) const;
    // Puts the source on the first row whose description field equals the
    // item's, or on its last row when none does.
    void MoveToItem(int index);
    // The checked items' values of `fieldName`, comma separated: quote mode 1
    // in single quotes (inner ones doubled), 2 in double quotes, any other as
    // they stand.
    QString GetSelection(const QString &fieldName, int quoteMode);
    // While set, the text says "All" whatever is checked.
    void SetAllSelected(bool value);

    // The operator clicks an item in the drop-down: alone it selects that
    // item only; with Ctrl it toggles it; with Shift it checks the range from
    // the last clicked item (or the first) to this one.
    void itemClicked(int index, bool ctrl, bool shift);

    const QString &text() const { return m_text; }
    int SelectState() const { return m_state; }
    int SelectedCount() const { return m_selectedCount; }
    bool AllSelected() const { return m_allSelected; }
    int itemCount() const { return int(m_items.size()); }
    QString description(int index) const;
    QStringList descriptions() const;

signals:
    // The items, their marks or the text changed.
    void changed();

private:
    struct Item {
        QString description;
        bool checked = false;
    };
    bool sourceReady() const;
    void keepOneUnlessNoneAllowed(int index);
    void remakeText();
    void selectionChanged();

    QString m_name;
    DataRows *m_source = nullptr;
    QString m_dataField;
    bool m_allowNone = false;
    std::function<void()> m_onSelectChange;
    std::vector<Item> m_items;
    int m_selectedCount = 0;
    int m_state = None;
    bool m_allSelected = false;
    bool m_updatingList = false;
    int m_lastClicked = -1;
    QStringList m_currentList;
    QString m_text = QStringLiteral("None");
};

} // namespace kestra
