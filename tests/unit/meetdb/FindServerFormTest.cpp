#include "meetdb/FindNXServerForm.h"
#include "meetdb/RegisteredServersForm.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;

namespace {

// A discovery whose scans end when the test answers them.
class FakeDiscovery final : public ServerDiscovery {
public:
    void startScan() override { ++starts; }
    void answer(const QStringList &servers, const QString &networkProblem = {})
    {
        emit scanFinished(ServerScan{servers, networkProblem});
    }
    int starts = 0;
};

} // namespace

TEST(LocateServerWindow, EachScanEmptiesTheListAndSelectsTheFirstServerFound)
{
    const struct {
        const char *label;
        QStringList found;
        QString problem;
        const char *status;
    } scans[] = {
        {"no server", {}, {}, "No servers were found."},
        {"a local server only", {"PostgreSQL@127.0.0.1"}, {}, ""},
        {"no Avahi", {"PostgreSQL@127.0.0.1"}, "Avahi: Daemon not running",
         "The local network could not be searched (Avahi: Daemon not running)."},
    };
    FakeDiscovery discovery;
    FindNXServerForm form(discovery);
    LogicalControl &list = form(QStringLiteral("lstServers"));
    form.FormShow(); // the first scan starts by itself
    for (const auto &scan : scans) {
        SCOPED_TRACE(scan.label);
        if (!form.isScanning())
            form(QStringLiteral("btnScan")).click();
        EXPECT_TRUE(list.items().isEmpty());
        EXPECT_FALSE(form(QStringLiteral("btnOK")).isEnabled());
        EXPECT_FALSE(form(QStringLiteral("btnScan")).isEnabled()) << "one scan at a time";
        EXPECT_EQ(form(QStringLiteral("lblScanStatus")).text(), QStringLiteral("Searching for servers\u2026"));

        discovery.answer(scan.found, scan.problem);
        EXPECT_EQ(list.items(), scan.found);
        EXPECT_EQ(list.currentIndex(), scan.found.isEmpty() ? -1 : 0);
        EXPECT_EQ(form(QStringLiteral("btnOK")).isEnabled(), !scan.found.isEmpty());
        EXPECT_TRUE(form(QStringLiteral("btnScan")).isEnabled());
        EXPECT_EQ(form(QStringLiteral("lblScanStatus")).text(), QString::fromUtf8(scan.status));
    }
    EXPECT_EQ(discovery.starts, 3);
}

// GetSelectedServer hands the address to the server list, which makes a new
// row of it to name and save.
TEST(LocateServerWindow, ThePickedAddressBecomesANewRowOfTheServerList)
{
    const struct {
        const char *entry; // nullptr: the operator cancels
        const char *ip, *host;
    } cases[] = {
        {"PostgreSQL@127.0.0.1", "127.0.0.1", ""},
        {"PostgreSQL@scoring.local", "", "scoring.local"},
        {"PostgreSQL@10.0.0.5:5433", "", "10.0.0.5:5433"}, {nullptr, "", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.entry ? c.entry : "cancel");
        test::TempDir dir;
        SettingsStore key = SettingsStore::marlowenKey(dir.path());
        test::RecordingPrompt prompt;
        RegisteredServersForm servers(key, prompt);
        servers.loadList();
        servers.setLocator([&c]() -> std::optional<QString> {
            FakeDiscovery discovery;
            FindNXServerForm locate(discovery);
            locate.FormShow();
            if (!c.entry) {
                locate.btnCancelClick();
                return locate.GetSelectedServer();
            }
            discovery.answer({QStringLiteral("PostgreSQL@10.9.9.9"), QString::fromUtf8(c.entry)});
            locate(QStringLiteral("lstServers")).operatorSelect(1);
            locate.lstServersDblClick();
            EXPECT_EQ(locate.result(), FindNXServerForm::Result::Ok);
            return locate.GetSelectedServer();
        });
        servers.btnScanClick();
        if (!c.entry) {
            EXPECT_EQ(servers.state(), RegisteredServersForm::State::Browse) << "nothing picked, nothing changes";
            continue;
        }
        const ServerEntry row{c.ip[0] ? c.ip : c.host, c.ip, c.host, "LAN / WAN"};
        EXPECT_EQ(servers(QStringLiteral("EditName")).text(), row.Name);
        EXPECT_TRUE(RegisteredServers(key).entries().isEmpty()) << "saved only when the operator saves it";
        ASSERT_TRUE(servers.sbtnSaveClick());
        EXPECT_EQ(RegisteredServers(key).entries(), QList<ServerEntry>{row});
        EXPECT_TRUE(prompt.messages.empty());
    }
}
