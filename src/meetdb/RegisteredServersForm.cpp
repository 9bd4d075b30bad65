#include "meetdb/RegisteredServersForm.h"

#include "setup/SetupUnits.h"

#include <algorithm>

namespace kestra {

namespace {

const QString Caption = QStringLiteral("Manage Servers");

QString withoutBlanks(QString text)
{
    text.remove(QLatin1Char(' '));
    return text;
}

bool sortsBefore(const ServerEntry &a, const ServerEntry &b)
{
    const int byName = a.Name.compare(b.Name, Qt::CaseInsensitive);
    return byName != 0 ? byName < 0 : a.Name < b.Name;
}

} // namespace

RegisteredServersForm::RegisteredServersForm(SettingsStore marlowenKey, OperatorPrompt &prompt, QObject *parent)
    : QObject(parent), m_servers(std::move(marlowenKey)), m_prompt(prompt)
{
    LogicalControl &grid = m_controls.add(QStringLiteral("grdServers"));
    grid.setProperty(QStringLiteral("columns"), QStringList{QStringLiteral("Server Name"), QStringLiteral("Location")});
    grid.setClickHandler([this, &grid] {
        if (grid.currentIndex() != m_current && !selectRow(grid.currentIndex()))
            updateGrid();
    });

    m_controls.add(QStringLiteral("EditName")).setClickHandler([this] { fieldEdited(); });
    m_controls.add(QStringLiteral("EditHost")).setClickHandler([this] { fieldEdited(); });
    LogicalControl &ip = m_controls.add(QStringLiteral("EditIP"));
    ip.setClickHandler([this, &ip] {
        if (!ipMaskAccepts(ip.text())) {
            ip.setText(m_acceptedIP);
            return;
        }
        m_acceptedIP = ip.text();
        fieldEdited();
    });
    LogicalControl &location = m_controls.add(QStringLiteral("dbcboLocation"));
    location.setItems(RegisteredServers::locations());
    location.setClickHandler([this, &location] {
        const int i = location.currentIndex();
        location.setText(i >= 0 ? location.items().at(i) : QString());
        fieldEdited();
    });

    const struct {
        const char *name;
        const char *caption;
        const char *hint;
        void (RegisteredServersForm::*handler)();
    } buttons[] = {
        {"sbtnNew", "", "New Server (Insert)", &RegisteredServersForm::sbtnNewClick},
        {"sbtnDelete", "", "Delete Server (Ctrl+Delete)", &RegisteredServersForm::sbtnDeleteClick},
        {"sbtnSave", "", "Save Changes (Ctrl+Enter)", nullptr},
        {"sbtnCancel", "", "Cancel Changes (Ctrl+Backspace)", &RegisteredServersForm::sbtnCancelClick},
        {"btnScan", "&Locate New Server(s)", "", &RegisteredServersForm::btnScanClick},
        {"btnOK", "&Connect to Selected Server", "", &RegisteredServersForm::btnOKClick},
        {"btnCancel", "Ca&ncel", "", &RegisteredServersForm::btnCancelClick},
        {"sbtnHelp", "", "Help", nullptr},
    };
    for (const auto &b : buttons) {
        LogicalControl &button = m_controls.add(QString::fromLatin1(b.name), QString::fromLatin1(b.caption));
        if (*b.hint)
            button.setProperty(QStringLiteral("hint"), QString::fromLatin1(b.hint));
        if (b.handler)
            button.setClickHandler([this, h = b.handler] { (this->*h)(); });
    }
    m_controls(QStringLiteral("sbtnSave")).setClickHandler([this] { sbtnSaveClick(); });
    updateEnablement();
}

bool RegisteredServersForm::ipMaskAccepts(const QString &text)
{
    return SetupUnits::checkIPText(text) != SetupUnits::MaskCheck::Invalid;
}

void RegisteredServersForm::loadList()
{
    m_currentName = m_servers.currentServerName();
    LoadingList = true;
    m_rows.clear();
    for (const ServerEntry &e : m_servers.entries()) {
        if (!e.Name.isEmpty())
            m_rows.append(e);
    }
    std::stable_sort(m_rows.begin(), m_rows.end(), sortsBefore);
    m_state = State::Browse;
    m_current = indexOfName(m_currentName, Qt::CaseInsensitive);
    if (m_current < 0)
        m_current = m_rows.isEmpty() ? -1 : 0;
    LoadingList = false;
    m_loaded = true;
    updateGrid();
    showRow();
    updateEnablement();
}

int RegisteredServersForm::indexOfName(const QString &name, Qt::CaseSensitivity cs) const
{
    for (int i = 0; i < m_rows.size(); ++i) {
        if (m_rows.at(i).Name.compare(name, cs) == 0)
            return i;
    }
    return -1;
}

void RegisteredServersForm::updateGrid()
{
    LogicalControl &grid = m_controls(QStringLiteral("grdServers"));
    QStringList names;
    QStringList locations;
    for (const ServerEntry &e : m_rows) {
        names << e.Name;
        locations << e.Location;
    }
    grid.setProperty(QStringLiteral("locations"), locations);
    grid.setItems(names);
    grid.setCurrentIndex(m_current);
}

void RegisteredServersForm::showRow()
{
    const ServerEntry row = m_current >= 0 ? m_rows.at(m_current) : ServerEntry{};
    m_controls(QStringLiteral("EditName")).setText(row.Name);
    m_controls(QStringLiteral("EditIP")).setText(row.IP);
    m_controls(QStringLiteral("EditHost")).setText(row.Host);
    LogicalControl &location = m_controls(QStringLiteral("dbcboLocation"));
    location.setCurrentIndex(int(location.items().indexOf(row.Location)));
    location.setText(row.Location); // a value of the scoring product's outside the list is kept
    m_acceptedIP = row.IP;
}

void RegisteredServersForm::updateEnablement()
{
    const bool editing = m_state != State::Browse;
    m_controls(QStringLiteral("sbtnNew")).setEnabled(m_loaded);
    m_controls(QStringLiteral("sbtnDelete")).setEnabled(m_loaded && !m_rows.isEmpty());
    m_controls(QStringLiteral("sbtnSave")).setEnabled(editing);
    m_controls(QStringLiteral("sbtnCancel")).setEnabled(editing);
    m_controls(QStringLiteral("btnScan")).setEnabled(m_loaded);
    m_controls(QStringLiteral("btnOK")).setEnabled(m_loaded && !m_rows.isEmpty());
    for (const char *name : {"EditName", "EditIP", "EditHost", "dbcboLocation", "grdServers"})
        m_controls(QString::fromLatin1(name)).setEnabled(m_loaded);
}

void RegisteredServersForm::warn(const QString &caption, const QString &text)
{
    PromptMessage m;
    m.caption = caption;
    m.text = text;
    m.icon = PromptIcon::Warning;
    m.buttons = PromptButtons::Ok;
    m_prompt.ask(m);
}

void RegisteredServersForm::fieldEdited()
{
    if (m_loaded && m_state == State::Browse)
        beginEdit(false);
}

void RegisteredServersForm::beginEdit(bool clearFields)
{
    if (clearFields || m_current < 0) {
        m_state = State::Insert;
        OldName.clear();
        if (clearFields) {
            m_controls(QStringLiteral("EditName")).setText(QString());
            m_controls(QStringLiteral("EditIP")).setText(QString());
            m_controls(QStringLiteral("EditHost")).setText(QString());
            m_controls(QStringLiteral("dbcboLocation")).setCurrentIndex(-1);
            m_controls(QStringLiteral("dbcboLocation")).setText(QString());
            m_acceptedIP.clear();
        }
    } else {
        m_state = State::Edit;
        OldName = m_rows.at(m_current).Name;
    }
    updateEnablement();
}

bool RegisteredServersForm::post()
{
    if (m_state == State::Browse)
        return true;
    const QString name = m_controls(QStringLiteral("EditName")).text().trimmed().left(NameLength);
    const QString ip = withoutBlanks(m_controls(QStringLiteral("EditIP")).text());
    const QString host = m_controls(QStringLiteral("EditHost")).text().trimmed();

    if (!LoadingList) {
        if (!ip.isEmpty() && !RegisteredServers::IsValidIP(ip)) {
            EditIPExit();
            return false;
        }
        QStringList errors;
        if (name.isEmpty())
            errors << QStringLiteral("You must enter a name for this server.");
        if (ip.isEmpty() && host.isEmpty())
            errors << QStringLiteral("You must enter an IP Address or Hostname for this server.");
        if (host.size() > HostLength)
            errors << QStringLiteral("The Hostname or folder may be at most %1 characters long.").arg(HostLength);
        if (!errors.isEmpty()) {
            warn(QStringLiteral("Validation Error"), errors.join(QLatin1Char('\r')));
            return false;
        }
        // Against the stored list, which the scoring product may have changed meanwhile.
        if (name.compare(OldName, Qt::CaseInsensitive) != 0 && m_servers.containsName(name)) {
            warn(QStringLiteral("Duplicate Warning"),
                 QStringLiteral("A server with that name has already been entered.  Please choose a different name."));
            m_controls(QStringLiteral("EditName")).requestFocus();
            return false;
        }
    }

    LogicalControl &location = m_controls(QStringLiteral("dbcboLocation"));
    ServerEntry row{name, ip.left(IPLength), host,
                    (location.currentIndex() >= 0 ? location.items().at(location.currentIndex()) : location.text())
                        .left(LocationLength)};
    if (m_state == State::Insert)
        m_rows.append(row);
    else
        m_rows[m_current] = row;
    std::stable_sort(m_rows.begin(), m_rows.end(), sortsBefore);
    m_current = int(std::find(m_rows.begin(), m_rows.end(), row) - m_rows.begin());
    m_state = State::Browse;
    updateGrid();
    showRow();
    updateEnablement();
    save();
    return true;
}

bool RegisteredServersForm::save()
{
    if (m_servers.rewrite(m_rows))
        return true;
    warn(Caption, QStringLiteral("The list of servers could not be saved to \"%1\".\r\rThe list stays as it is in "
                                 "this window; the next change saves it again.")
                      .arg(m_servers.key().filePath()));
    return false;
}

void RegisteredServersForm::cancelEdit()
{
    if (m_state == State::Browse)
        return;
    m_state = State::Browse;
    showRow();
    updateEnablement();
}

bool RegisteredServersForm::selectRow(int row)
{
    if (!m_loaded || row < 0 || row >= m_rows.size())
        return false;
    const ServerEntry target = m_rows.at(row);
    if (!post())
        return false;
    m_current = int(std::find(m_rows.begin(), m_rows.end(), target) - m_rows.begin());
    updateGrid();
    showRow();
    return true;
}

bool RegisteredServersForm::EditIPExit()
{
    LogicalControl &edit = m_controls(QStringLiteral("EditIP"));
    const QString text = withoutBlanks(edit.text());
    edit.setText(text);
    m_acceptedIP = text;
    if (text.isEmpty() || RegisteredServers::IsValidIP(text))
        return true;
    PromptMessage m;
    m.caption = Caption;
    m.text = QStringLiteral("Invalid IP Address");
    m.icon = PromptIcon::Error;
    m.buttons = PromptButtons::Ok;
    m_prompt.ask(m);
    edit.requestFocus();
    return false;
}

void RegisteredServersForm::sbtnNewClick()
{
    if (!m_loaded || !post())
        return;
    beginEdit(true);
    m_controls(QStringLiteral("EditName")).requestFocus();
}

void RegisteredServersForm::sbtnDeleteClick()
{
    if (!m_loaded || m_rows.isEmpty())
        return;
    PromptMessage m;
    m.caption = QStringLiteral("Delete Warning");
    m.text = QStringLiteral("Are you sure you want to delete this server?");
    m.icon = PromptIcon::Question;
    m.buttons = PromptButtons::YesNoDefaultNo;
    if (m_prompt.ask(m) != PromptAnswer::Yes)
        return;
    // Deleting a row not yet saved only drops it.
    if (m_state == State::Insert) {
        cancelEdit();
        return;
    }
    m_state = State::Browse;
    m_rows.removeAt(m_current);
    m_current = std::min(m_current, int(m_rows.size()) - 1);
    updateGrid();
    showRow();
    updateEnablement();
    save();
}

bool RegisteredServersForm::sbtnSaveClick()
{
    return post();
}

void RegisteredServersForm::sbtnCancelClick()
{
    cancelEdit();
}

void RegisteredServersForm::btnScanClick()
{
    if (!m_loaded)
        return;
    const std::optional<QString> found = m_locator ? m_locator() : std::nullopt;
    const QString address = found ? found->trimmed() : QString();
    if (address.isEmpty() || !post())
        return;
    beginEdit(true);
    m_controls(QStringLiteral("EditName")).setText(address.left(NameLength));
    if (RegisteredServers::IsValidIP(address)) {
        m_controls(QStringLiteral("EditIP")).setText(address);
        m_acceptedIP = address;
    } else {
        m_controls(QStringLiteral("EditHost")).setText(address.left(HostLength));
    }
    LogicalControl &location = m_controls(QStringLiteral("dbcboLocation"));
    location.setCurrentIndex(0);
    location.setText(location.items().at(0));
    m_controls(QStringLiteral("EditName")).requestFocus();
}

void RegisteredServersForm::btnOKClick()
{
    if (!m_loaded || !post() || m_current < 0)
        return;
    m_selectedName = m_rows.at(m_current).Name;
    if (!m_currentName.isEmpty() && m_currentName != m_selectedName) {
        PromptMessage m;
        m.caption = QStringLiteral("Change Database Warning");
        m.text = QStringLiteral("You are currently set to use the Marlowen Database located on server \"%1\" and "
                                "you have chosen to change to the Marlowen Database located on server \"%2\".")
                     .arg(m_currentName, m_selectedName)
                 + QStringLiteral("\r\rAre you sure you want to change servers?");
        m.icon = PromptIcon::Question;
        m.buttons = PromptButtons::YesNo;
        if (m_prompt.ask(m) != PromptAnswer::Yes)
            return;
    }
    finish(Result::Ok);
}

void RegisteredServersForm::btnCancelClick()
{
    cancelEdit();
    finish(Result::Cancel);
}

void RegisteredServersForm::grdServersDblClick()
{
    if (m_controls(QStringLiteral("btnOK")).isEnabled())
        btnOKClick();
}

void RegisteredServersForm::finish(Result result)
{
    m_result = result;
    emit closeRequested();
}

bool RegisteredServersForm::keyPress(Key key)
{
    const char *button = nullptr;
    switch (key) {
    case Key::Insert: button = "sbtnNew"; break;
    case Key::CtrlDelete: button = "sbtnDelete"; break;
    case Key::CtrlEnter: button = "sbtnSave"; break;
    case Key::CtrlBackspace: button = "sbtnCancel"; break;
    case Key::Escape: button = "btnCancel"; break;
    }
    LogicalControl &control = m_controls(QString::fromLatin1(button));
    if (!control.isEnabled())
        return false;
    control.click();
    return true;
}

} // namespace kestra
