#pragma once

#include "meetdb/MeetConnection.h"
#include "meetdb/RegisteredServers.h"
#include "support/OperatorPrompt.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace kestra {

// The connection to the meet server that the operator picked from the
// registered servers, with every dialog of the way there.
//
// An entry is tried by its IP, then by its Host (see storeAddressOfIP and
// storeAddressOfHost for how they become store addresses). A reachable
// server must hold the database of the alias, the table DBVersion must open,
// and its version must be exactly 5.10.5.0; otherwise the operator is asked
// whether to pick another server, and No gives up.
class ServerConnection final : public MeetConnection {
public:
    // The server list window: shown modally over the Marlowen key; the
    // confirmed server's name, or nullopt for Cancel.
    using ServerChooser = std::function<std::optional<QString>(SettingsStore &marlowenKey)>;

    // The maker's web address named in the dialog of a newer database.
    static constexpr const char *WebAddress = "www.corvane.com";

    ServerConnection(SettingsStore marlowenKey, OperatorPrompt &prompt);
    ~ServerConnection() override;

    // Without a chooser ChooseServer is a Cancel (no windows).
    void setChooser(ServerChooser chooser) { m_chooser = std::move(chooser); }
    // UpdateTitle of the main window, called when the server name changes
    // and when a connection is made.
    void setTitleUpdater(std::function<void()> update) { m_updateTitle = std::move(update); }
    // The alias whose database is opened; "Marlowen" unless a test or a
    // development store says otherwise. The dialogs name "Marlowen" anyway.
    void setAlias(const QString &alias) { m_alias = alias; }
    QString alias() const { return m_alias; }
    // Connect to this entry instead of looking the name up in the list (a run
    // given an address). CurrentServerName becomes the entry's Name.
    void setFixedEntry(const ServerEntry &entry);
    // Whether the chosen server's name is written to MarlowenServerName.
    // A run that names its server for itself leaves the shared key alone.
    void setRemembersChoice(bool remember) { m_remember = remember; }
    void setCurrentServerName(const QString &name) { m_currentName = name; }

    // MeetConnection. connectAtStartup: CurrentServerName from the key; when
    // empty, the server list; then the connect sequence. False: give up.
    bool connectAtStartup() override;
    // The server list, then the connect sequence, whatever the list ended
    // with: Cancel reconnects to the server in use. The caller has closed its
    // tables before and reopens them after. False: the program is to end.
    bool changeServer() override;
    bool isConnected() const override;
    MeetStore &store() override;
    QString currentServerName() const override { return m_currentName; }

    // The connect sequence, repeated until a usable database or Abort.
    void ConnectToServer(bool &Abort);
    // The server list window. True when the operator confirmed a server,
    // which is then CurrentServerName (and stored, see setRemembersChoice).
    bool ChooseServer();

    // What the last failed attempt reported.
    QString reason() const { return m_reason; }
    // The instruction of the last dialog shown, empty when none was.
    QString lastRefusal() const { return m_lastRefusal; }
    // The store address that connected, empty before.
    QString connectedAddress() const;

private:
    enum class Dialog { NotListed, Unreachable, NoAlias, NotConfigured, Older, Newer };

    bool TryConnect(const QString &address);
    bool aliasFound();
    void disconnect();
    PromptAnswer show(Dialog dialog, const QString &versionRead = {});

    RegisteredServers m_servers;
    OperatorPrompt &m_prompt;
    ServerChooser m_chooser;
    std::function<void()> m_updateTitle;
    QString m_alias;
    std::optional<ServerEntry> m_fixed;
    bool m_remember = true;
    bool m_ready = false; // the last sequence passed every check
    QString m_currentName;
    QString m_reason;
    QString m_lastRefusal;
    std::unique_ptr<MeetStore> m_store;
};

} // namespace kestra
