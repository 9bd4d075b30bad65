#pragma once

// The main window's logic over a seeded embedded meet database, with settings
// in a folder of its own; shared by the in-process run and window tests.

#include "generator/KestraMain.h"
#include "generator/NowUpListeners.h"
#include "meetdb/DevStore.h"
#include "meetdb/MeetConnection.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "setup/SettingsStore.h"
#include "support/TickSource.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace kestra::test {

// A meet database with the development seed in `address` (folder or server).
inline std::unique_ptr<MeetStore> seedMeet(const QString &address)
{
    auto store = DevStore::openOrCreate(address);
    EXPECT_TRUE(DevStore::createSchema(*store, false));
    DevStore::seed(*store);
    return store;
}

struct SeededMain {
    TempDir dir;
    RecordingPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    std::unique_ptr<MeetConnection> connection;
    std::unique_ptr<KestraMain> main;

    SeededMain()
    {
        const QString meet = dir.file(QStringLiteral("meet"));
        seedMeet(meet);
        connection = std::make_unique<DirectConnection>(meet, QStringLiteral("Test Hall"));
        const QString config = dir.file(QStringLiteral("config"));
        main = std::make_unique<KestraMain>(*connection, SettingsStore::kestraKey(config),
                                            SettingsStore::marlowenKey(config), prompt, ticks, record, transport);
        // Ports of the system's own would clash with another station.
        main->listeners().setPorts(0, 0);
    }
    LogicalControl &c(const char *name) { return main->controls()(QString::fromUtf8(name)); }
};

} // namespace kestra::test
