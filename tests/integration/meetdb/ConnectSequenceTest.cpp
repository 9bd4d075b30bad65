#include "meetdb/RunConnection.h"
#include "meetdb/ServerConnection.h"

#include "StoreFixture.h"

#include <functional>

using namespace kestra;
using namespace kestra::test;

namespace {

const QString WrongServer = S("Would you like to select a different server?");
const QString LocateOrCreate = S(
    "Would you like to try to locate a different server?  If not, please run Marlowen to create a new database.");

// A meet database that passes every check, on one backend, and the
// scoring product's key with the list of servers.
struct World {
    explicit World(StoreBackend b)
        : store(makeStore(b)), key(SettingsStore::marlowenKey(settingsDir.path())), alias(store.alias),
          address(store.address), admin(*store.store)
    {
        unreachable = b == StoreBackend::Postgres ? S("127.0.0.1:1")
                                                  : store.dir->file(S("no such folder"));
    }

    void registerServers(const QList<ServerEntry> &list, const QString &current)
    {
        RegisteredServers servers(key);
        ASSERT_TRUE(servers.rewrite(list));
        ASSERT_TRUE(servers.setCurrentServerName(current));
    }
    void setVersion(quint32 version)
    {
        admin.executeNative(S("update DBVersion set Version = ?"), {qint64(version)});
    }
    std::unique_ptr<ServerConnection> connection(RecordingPrompt &prompt)
    {
        auto c = std::make_unique<ServerConnection>(key, prompt);
        c->setAlias(alias);
        c->setTitleUpdater([this] { ++titleUpdates; });
        return c;
    }
    QString storedName() const { return RegisteredServers(key).currentServerName(); }

    FreshStore store;
    TempDir settingsDir;
    SettingsStore key;
    QString alias;
    QString address;
    QString unreachable;
    MeetStore &admin;
    int titleUpdates = 0;
};

class ConnectSequence : public testing::TestWithParam<StoreBackend> {};

} // namespace

TEST_P(ConnectSequence, EachRefusalAsksOnceAndNoGivesUp)
{
    const QString mismatch = S("The database version you are accessing on the server \"Arena\" is %1 than the "
                                            "database version that Kestra is expecting.");
    const QString accessed = S("Database version accessed: %1\\nDatabase version expected: 5.10.5.0\\n\\n");
    const QString olderWhy = S(
        "It is most likely because your version of Kestra is newer than the version of Marlowen that was used to "
        "create the database.  You should run Marlowen to update the database to the current version.");
    const QString newerWhy = S(
        "It is most likely because your version of Kestra is older than the version of Marlowen that was used to "
        "create the database.  You should consider updating Kestra to the most current version.  Please visit "
        "www.corvane.com for more information.");
    const QString selectOther =
        S("\\n\\nWould you like to select a different Marlowen Database on a different server?");
    const struct {
        const char *label;
        std::function<void(World &, ServerConnection &)> arrange;
        const char *caption;
        PromptIcon icon;
        QString instruction;
        QString text;
        bool reasonBehindExpander = false;
    } cases[] = {
        {"name in another case", [](World &w, ServerConnection &) { w.registerServers({{"Arena", "", w.address, "LAN / WAN"}}, "ARENA"); },
         "Marlowen Server Connection", PromptIcon::Error,
         "Kestra was unable to find the server \"ARENA\" in the list of registered servers.", WrongServer},
        {"address unreachable", [](World &w, ServerConnection &) { w.registerServers({{"Arena", "", w.unreachable, ""}}, "Arena"); },
         "Marlowen Server Connection", PromptIcon::Error, "Kestra was unable to connect to the server \"Arena\".",
         WrongServer, true},
        {"alias missing", [](World &w, ServerConnection &c) { c.setAlias(w.alias + "_absent"); },
         "Marlowen Server Connection", PromptIcon::Question,
         "The \"Marlowen\" database alias could not be found on the server \"Arena\".", LocateOrCreate},
        {"DBVersion missing", [](World &w, ServerConnection &) { w.admin.executeNative("drop table DBVersion"); },
         "Marlowen Server Connection", PromptIcon::Question,
         "The \"Marlowen\" database alias on the server \"Arena\" is not properly configured and cannot be used.",
         LocateOrCreate},
        {"older database", [](World &w, ServerConnection &) { w.setVersion(0x050A0400); },
         "Database Version Mismatch", PromptIcon::Warning, mismatch.arg("older"), accessed.arg("5.10.4.0") + olderWhy + selectOther},
        {"newer database", [](World &w, ServerConnection &) { w.setVersion(0x050A0501); },
         "Database Version Mismatch", PromptIcon::Warning, mismatch.arg("newer"), accessed.arg("5.10.5.1") + newerWhy + selectOther},
        {"a far newer database", [](World &w, ServerConnection &) { w.setVersion(0xFF000000); },
         "Database Version Mismatch", PromptIcon::Warning, mismatch.arg("newer"), accessed.arg("255.0.0.0") + newerWhy + selectOther},
    };
    for (const auto &k : cases) {
        SCOPED_TRACE(k.label);
        World w(GetParam());
        w.registerServers({{"Arena", "", w.address, "LAN / WAN"}}, S("Arena"));
        RecordingPrompt prompt;
        auto c = w.connection(prompt);
        int chooserCalls = 0;
        c->setChooser([&](SettingsStore &) -> std::optional<QString> { ++chooserCalls; return std::nullopt; });
        k.arrange(w, *c);
        const QString before = w.storedName();

        EXPECT_FALSE(c->connectAtStartup());
        ASSERT_EQ(prompt.messages.size(), 1u);
        const PromptMessage &m = prompt.messages.front();
        EXPECT_EQ(m.caption, QString::fromLatin1(k.caption));
        EXPECT_EQ(m.icon, k.icon);
        EXPECT_EQ(m.buttons, PromptButtons::YesNo); // Yes is the default in the windows
        EXPECT_EQ(m.instruction, k.instruction);
        EXPECT_EQ(m.text, k.text);
        if (k.reasonBehindExpander) {
            EXPECT_EQ(m.detailsCollapsedLabel, S("Show reason"));
            EXPECT_EQ(m.detailsExpandedLabel, S("Hide reason"));
            EXPECT_EQ(m.details, S("The reason is:\r") + c->reason());
            EXPECT_TRUE(m.details.contains(w.unreachable)) << m.details.toStdString();
        }
        EXPECT_EQ(chooserCalls, 0) << "No gives up without the server list";
        EXPECT_FALSE(c->isConnected());
        EXPECT_EQ(w.storedName(), before);
        EXPECT_EQ(w.titleUpdates, 0);
    }
}

TEST_P(ConnectSequence, YesOpensTheServerListAndTheChoiceIsStoredBeforeItIsTried)
{
    World w(GetParam());
    w.registerServers({{"Arena", "", w.unreachable, ""}, {"Backup", "", w.address, "Local PC"}},
                      S("Arena"));
    RecordingPrompt prompt;
    prompt.queueAnswer(PromptAnswer::Yes);
    auto c = w.connection(prompt);
    QString storedWhenChosen;
    c->setChooser([&](SettingsStore &key) -> std::optional<QString> {
        storedWhenChosen = RegisteredServers(key).currentServerName();
        return S("Backup");
    });
    ASSERT_TRUE(c->connectAtStartup());
    EXPECT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(storedWhenChosen, S("Arena"));
    EXPECT_EQ(c->currentServerName(), S("Backup"));
    EXPECT_EQ(w.storedName(), S("Backup"));
    EXPECT_TRUE(c->isConnected());
    EXPECT_EQ(w.titleUpdates, 2) << "once for the choice, once for the connection";

    // A bad choice is remembered: the next start goes straight to its dialog.
    RecordingPrompt again;
    w.registerServers({{"Backup", "", w.unreachable, ""}}, S("Backup"));
    auto next = w.connection(again);
    EXPECT_FALSE(next->connectAtStartup());
    ASSERT_EQ(again.messages.size(), 1u);
    EXPECT_EQ(again.messages.front().instruction, S("Kestra was unable to connect to the server \"Backup\"."));
}

TEST_P(ConnectSequence, CancelInTheListGivesUpAtStartAndKeepsTheServerInUseOnAChange)
{
    World w(GetParam());
    w.registerServers({{"Arena", "", w.address, ""}}, QString());
    RecordingPrompt prompt;
    int chooserCalls = 0;
    const auto cancel = [&](SettingsStore &) -> std::optional<QString> { return ++chooserCalls, std::nullopt; };
    auto start = w.connection(prompt);
    start->setChooser(cancel);
    EXPECT_FALSE(start->connectAtStartup());
    EXPECT_EQ(chooserCalls, 1);
    EXPECT_TRUE(prompt.messages.empty()) << "an empty name and Cancel end without a dialog";

    w.registerServers({{"Arena", "", w.address, ""}}, S("Arena"));
    auto c = w.connection(prompt);
    ASSERT_TRUE(c->connectAtStartup());
    EXPECT_TRUE(prompt.messages.empty());
    EXPECT_EQ(w.titleUpdates, 1);
    EXPECT_EQ(c->store().query(S("select Version from DBVersion")).value(0).toLongLong(), 0x050A0500);
    c->setChooser(cancel);
    EXPECT_TRUE(c->changeServer());
    EXPECT_TRUE(c->isConnected());
    EXPECT_EQ(c->currentServerName(), S("Arena"));
    EXPECT_TRUE(prompt.messages.empty());

    // With the server gone meanwhile, its dialog comes; No ends the program,
    // and so does Yes and Cancel in the list.
    w.registerServers({{"Arena", "", w.unreachable, ""}}, S("Arena"));
    EXPECT_FALSE(c->changeServer());
    EXPECT_FALSE(c->isConnected());
    ASSERT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(prompt.messages.front().instruction, S("Kestra was unable to connect to the server \"Arena\"."));
    prompt.queueAnswer(PromptAnswer::Yes);
    auto d = w.connection(prompt);
    d->setChooser(cancel);
    EXPECT_FALSE(d->connectAtStartup());
    EXPECT_EQ(chooserCalls, 4);
    EXPECT_EQ(prompt.messages.size(), 2u);
}

TEST_P(ConnectSequence, ARunConnectsByNameOrAddressAndWritesNothingShared)
{
    World w(GetParam());
    w.registerServers({{"Arena", "", w.address, ""}}, S("Elsewhere"));
    RecordingPrompt prompt;
    QString error;

    auto byName = connectForRun({QString(), S("Arena"), w.alias}, w.key, prompt, &error);
    ASSERT_TRUE(byName) << error.toStdString();
    EXPECT_TRUE(byName->isConnected());
    EXPECT_EQ(byName->currentServerName(), S("Arena"));

    auto byAddress = connectForRun({w.address, QString(), w.alias}, w.key, prompt, &error);
    ASSERT_TRUE(byAddress) << error.toStdString();
    EXPECT_EQ(byAddress->currentServerName(), w.address);
    EXPECT_TRUE(prompt.messages.empty());
    EXPECT_EQ(w.storedName(), S("Elsewhere"));

    // Every dialog is answered No; the reason comes back as one line (the
    // headless program's refusals hold the other reasons).
    ASSERT_TRUE(RegisteredServers(w.key).setCurrentServerName(QString()));
    EXPECT_FALSE(connectForRun({QString(), QString(), w.alias}, w.key, prompt, &error));
    EXPECT_TRUE(error.startsWith(S("no meet server is chosen"))) << error.toStdString();
    w.setVersion(0x050A0400);
    EXPECT_FALSE(connectForRun({QString(), S("Arena"), w.alias}, w.key, prompt, &error));
    EXPECT_TRUE(error.contains(S("is older than"))) << error.toStdString();
    // With the dialogs as log lines.
    EXPECT_FALSE(connectForRun({QString(), S("Arena"), w.alias}, w.key, &error));
    EXPECT_TRUE(error.contains(S("is older than"))) << error.toStdString();
    w.setVersion(0x050A0500);
    EXPECT_TRUE(connectForRun({QString(), S("Arena"), w.alias}, w.key, &error));
}

KESTRA_BOTH_BACKENDS(ConnectSequence);

TEST(ConnectSequenceOnPostgres, TheAddressWinsAndTheHostNameIsTheFallback)
{
    World w(StoreBackend::Postgres);
    const int port = sharedPostgres().port;
    const QString host = S("localhost:%1").arg(port);
    const struct {
        const char *ip;
        QString expectedAddress;
    } cases[] = {
        {"127.0.0.1", S("127.0.0.1:%1").arg(port)},
        {"127.0.0.2", S("localhost:%1").arg(port)}, // nothing listens there: refused at once
        {"", S("localhost:%1").arg(port)},
    };
    for (const auto &k : cases) {
        w.registerServers({{"Arena", k.ip, host, "LAN / WAN"}}, S("Arena"));
        RecordingPrompt prompt;
        auto c = w.connection(prompt);
        ASSERT_TRUE(c->connectAtStartup()) << k.ip;
        EXPECT_TRUE(prompt.messages.empty()) << k.ip;
        EXPECT_EQ(c->connectedAddress(), k.expectedAddress) << k.ip;
    }
}

TEST(ConnectSequenceOnPostgres, WhenBothFailTheReasonIsTheLastAttempts)
{
    World w(StoreBackend::Postgres);
    w.registerServers({{"Arena", "127.0.0.2", "127.0.0.1:1", ""}, {"Empty", "", "", ""}}, S("Arena"));
    RecordingPrompt prompt;
    prompt.queueAnswer(PromptAnswer::Yes);
    auto c = w.connection(prompt);
    c->setChooser([](SettingsStore &) -> std::optional<QString> { return S("Empty"); });
    EXPECT_FALSE(c->connectAtStartup());
    ASSERT_EQ(prompt.messages.size(), 2u);
    const QString first = prompt.messages[0].details;
    EXPECT_TRUE(first.contains(S("127.0.0.1:1"))) << first.toStdString();
    EXPECT_FALSE(first.contains(S("127.0.0.2"))) << first.toStdString();
    // An entry with neither address tries nothing and shows what was left.
    EXPECT_EQ(prompt.messages[1].instruction, S("Kestra was unable to connect to the server \"Empty\"."));
    EXPECT_EQ(prompt.messages[1].details, first);
}

TEST(ConnectSequenceOnPostgres, AUriNamesTheServerTheRoleAndTheDatabase)
{
    World w(StoreBackend::Postgres);
    const QString uri = S("postgresql://postgres@127.0.0.1:%1/%2?connect_timeout=3")
                            .arg(sharedPostgres().port)
                            .arg(w.alias.toLower());
    QString error;
    auto c = connectForRun({uri, QString(), QString()}, w.key, &error);
    ASSERT_TRUE(c) << error.toStdString();
    EXPECT_TRUE(c->isConnected());
    EXPECT_EQ(c->store().query(S("select count(*) from DBVersion")).recordCount(), 1);
}
