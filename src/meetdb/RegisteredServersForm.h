#pragma once

#include "meetdb/RegisteredServers.h"
#include "support/LogicalControl.h"
#include "support/OperatorPrompt.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace kestra {

// The logic of "Manage Servers", the window where the operator keeps the list
// of meet servers and picks the one to use.
//
// The window edits a sorted copy of the list (the grid grdServers, one row
// selected, its fields in EditName, EditIP, EditHost and dbcboLocation). A
// change the operator types starts an edit of the selected row, or a new row
// when the list is empty; saving it (sbtnSave, or moving to another row,
// Connect or Locate) validates it and rewrites the whole stored list at once,
// so the scoring product sees every saved change. Deleting does the same.
// Connect ends the window with the selected row's name, after a warning when
// that is not the server in use; Cancel ends it without one. Changes already
// saved stay saved either way.
class RegisteredServersForm : public QObject {
    Q_OBJECT
public:
    enum class State { Browse, Edit, Insert };
    enum class Result { Open, Ok, Cancel };
    // The window's keys; each acts only while its button is enabled.
    enum class Key { Insert, CtrlDelete, CtrlEnter, CtrlBackspace, Escape };
    // Server discovery: the address the operator picked, nullopt when none.
    using Locator = std::function<std::optional<QString>()>;

    // The widths of the window's table. Host also takes the whole path of a
    // store folder, up to the longest path the system opens; a longer one is
    // refused, never cut.
    static constexpr int NameLength = 80;
    static constexpr int IPLength = 15;
    static constexpr int HostLength = 4095;
    static constexpr int LocationLength = 80;

    RegisteredServersForm(SettingsStore marlowenKey, OperatorPrompt &prompt, QObject *parent = nullptr);

    ControlSet &controls() { return m_controls; }
    LogicalControl &operator()(const QString &name) const { return m_controls(name); }
    // Without a locator, Locate finds nothing.
    void setLocator(Locator locator) { m_locator = std::move(locator); }

    // The opening, once the window stands on the screen: CurrentName from
    // MarlowenServerName, the stored list without the entries that have no
    // name, and the row of CurrentName (case ignored) or the first selected.
    void loadList();
    bool isLoaded() const { return m_loaded; }

    const QList<ServerEntry> &rows() const { return m_rows; }
    int currentRow() const { return m_current; }
    State state() const { return m_state; }
    QString CurrentName() const { return m_currentName; }
    QString SelectedName() const { return m_selectedName; }
    Result result() const { return m_result; }

    // The operator picks a row in the grid; a pending edit is saved first,
    // and when that fails the selection stays.
    bool selectRow(int row);
    // Leaving EditIP: a text that is not an address is refused with
    // "Invalid IP Address" and the focus stays.
    bool EditIPExit();

    void sbtnNewClick();
    void sbtnDeleteClick();
    // Validates and saves the row in edit; true when nothing is pending after.
    bool sbtnSaveClick();
    void sbtnCancelClick();
    void btnScanClick();
    void btnOKClick();
    void btnCancelClick();
    void grdServersDblClick();
    // True when the key did something.
    bool keyPress(Key key);

    // Whether a text may stand in EditIP while it is typed: the octet mask,
    // blanks ignored (a complete text is checked again on leaving).
    static bool ipMaskAccepts(const QString &text);

signals:
    // The window is to close; result() says how.
    void closeRequested();

private:
    void fieldEdited();
    void beginEdit(bool clearFields);
    bool post();
    void cancelEdit();
    bool save();
    void showRow();
    void updateGrid();
    void updateEnablement();
    void warn(const QString &caption, const QString &text);
    void finish(Result result);
    int indexOfName(const QString &name, Qt::CaseSensitivity cs) const;

    ControlSet m_controls;
    RegisteredServers m_servers;
    OperatorPrompt &m_prompt;
    Locator m_locator;
    QList<ServerEntry> m_rows;
    int m_current = -1;
    State m_state = State::Browse;
    bool m_loaded = false;
    bool LoadingList = false;
    QString OldName;
    QString m_currentName;
    QString m_selectedName;
    QString m_acceptedIP;
    Result m_result = Result::Open;
};

} // namespace kestra
