#pragma once

#include "meetdb/MeetStore.h"

#include <QString>

#include <memory>

namespace kestra {

// The main window's way to its meet database: the connect sequence at
// creation, the change of server, and the store in use.
class MeetConnection {
public:
    virtual ~MeetConnection() = default;

    // The connect sequence of the window's creation. False when the operator
    // or the sequence gave up: the program ends without showing its window.
    virtual bool connectAtStartup() = 0;
    // The operator asks for another server. True when a store is connected
    // afterwards (the same or a new one); the caller reopens its tables.
    virtual bool changeServer() = 0;
    virtual bool isConnected() const = 0;
    // The store in use; only valid while isConnected().
    virtual MeetStore &store() = 0;
    // CurrentServerName: shown in the title and in the lost-connection text.
    virtual QString currentServerName() const = 0;
};

// One address, no dialogs: tests, tools, and runs given an address.
class DirectConnection final : public MeetConnection {
public:
    explicit DirectConnection(QString address, QString serverName = QString())
        : m_address(std::move(address)),
          m_name(serverName.isEmpty() ? m_address : std::move(serverName)) {}

    bool connectAtStartup() override
    {
        m_store = MeetStore::forAddress(m_address);
        m_store->connect();
        m_store->openDatabase();
        return true;
    }
    bool changeServer() override { return isConnected(); }
    bool isConnected() const override { return m_store && m_store->isOpen(); }
    MeetStore &store() override { return *m_store; }
    QString currentServerName() const override { return m_name; }

private:
    QString m_address;
    QString m_name;
    std::unique_ptr<MeetStore> m_store;
};

} // namespace kestra
