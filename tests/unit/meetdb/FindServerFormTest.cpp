#include "meetdb/FindNXServerForm.h"
#include "meetdb/RegisteredServersForm.h"

#include "support/FakeDiscovery.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::FakeDiscovery;
using kestra::test::RecordingPrompt;
using kestra::test::TempDir;
using Result = FindNXServerForm::Result;

namespace {

struct LocateWindow {
    LocateWindow() { QObject::connect(&form, &FindNXServerForm::closeRequested, [this] { ++closes; }); }
    LogicalControl &operator()(const char *name) { return form(QString::fromLatin1(name)); }

    FakeDiscovery discovery;
    FindNXServerForm form{discovery};
    int closes = 0;
};

} // namespace

TEST(LocateServerWindow, EachScanEmptiesTheListAndSelectsTheFirstServerFound)
{
    const struct {
        const char *label;
        QStringList found;
        QString problem;
        bool okEnabled;
        const char *status;
    } scans[] = {
        {"no server", {}, {}, false, "No servers were found."},
        {"a local server only", {"PostgreSQL@127.0.0.1"}, {}, true, ""},
        {"the local server and the network's",
         {"PostgreSQL@127.0.0.1", "PostgreSQL@10.0.0.5", "PostgreSQL@127.0.0.1"},
         {},
         true,
         ""},
        {"no Avahi", {"PostgreSQL@127.0.0.1"}, "Avahi: Daemon not running", true,
         "The local network could not be searched (Avahi: Daemon not running)."},
    };
    LocateWindow w;
    EXPECT_EQ(w("lblInstruction").text(), QStringLiteral("Click Scan to begin searching for any available servers.  "
                                                         "Once located, select the server on the list and click OK."));
    EXPECT_FALSE(w("btnOK").isEnabled());
    w.form.FormShow(); // the first scan starts by itself
    for (const auto &scan : scans) {
        SCOPED_TRACE(scan.label);
        if (w.discovery.starts > 0 && !w.form.isScanning())
            w("btnScan").click();
        EXPECT_TRUE(w.form.isScanning());
        EXPECT_TRUE(w("lstServers").items().isEmpty());
        EXPECT_FALSE(w("btnOK").isEnabled());
        EXPECT_FALSE(w("btnScan").isEnabled()) << "one scan at a time";
        EXPECT_EQ(w("lblScanStatus").text(), QStringLiteral("Searching for servers\u2026"));

        w.discovery.answer(scan.found, scan.problem);
        EXPECT_FALSE(w.form.isScanning());
        EXPECT_EQ(w("lstServers").items(), scan.found) << "duplicates stand";
        EXPECT_EQ(w("lstServers").currentIndex(), scan.found.isEmpty() ? -1 : 0);
        EXPECT_EQ(w("btnOK").isEnabled(), scan.okEnabled);
        EXPECT_TRUE(w("btnScan").isEnabled());
        EXPECT_EQ(w("lblScanStatus").text(), QString::fromUtf8(scan.status));
    }
    EXPECT_EQ(w.discovery.starts, 4);
    EXPECT_EQ(w.closes, 0);
}

TEST(LocateServerWindow, OKHandsBackTheAddressOfTheSelectedEntry)
{
    const struct {
        const char *entry;
        const char *address;
    } cases[] = {
        {"PostgreSQL@127.0.0.1", "127.0.0.1"},
        {"PostgreSQL@scoring.local", "scoring.local"},
        {"PostgreSQL@10.0.0.5:5433", "10.0.0.5:5433"},
        {"odd@one@two", "one@two"},
        {"no-at-sign", "no-at-sign"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.entry);
        LocateWindow w;
        w.form.FormShow();
        w.discovery.answer({QStringLiteral("PostgreSQL@10.9.9.9"), QString::fromUtf8(c.entry)});
        w("lstServers").operatorSelect(1);
        w.form.lstServersDblClick();
        EXPECT_EQ(w.closes, 1);
        EXPECT_EQ(w.form.result(), Result::Ok);
        EXPECT_EQ(w.form.GetSelectedServer(), QString::fromUtf8(c.address));
    }

    LocateWindow none;
    EXPECT_EQ(none.form.GetSelectedServer(), QString());
    none("btnOK").click();
    EXPECT_EQ(none.closes, 0) << "OK is disabled with an empty list";
    none("btnCancel").click();
    EXPECT_EQ(none.form.result(), Result::Cancel);
    none.discovery.answer({QStringLiteral("PostgreSQL@127.0.0.1")});
    EXPECT_TRUE(none("lstServers").items().isEmpty()) << "no scan was under way";
}

TEST(LocateServerWindow, TheServerListMakesANewRowOfThePickedAddress)
{
    const struct {
        const char *entry;
        const char *ip, *host;
    } cases[] = {
        {"PostgreSQL@127.0.0.1", "127.0.0.1", ""},
        {"PostgreSQL@scoring.local", "", "scoring.local"},
        {"PostgreSQL@10.0.0.5:5433", "", "10.0.0.5:5433"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.entry);
        TempDir dir;
        SettingsStore key = SettingsStore::marlowenKey(dir.path());
        RecordingPrompt prompt;
        RegisteredServersForm list(key, prompt);
        list.loadList();
        list.setLocator([&]() -> std::optional<QString> {
            LocateWindow w;
            w.form.FormShow();
            w.discovery.answer({QString::fromUtf8(c.entry)});
            w("btnOK").click();
            return w.form.GetSelectedServer();
        });
        list.btnScanClick();
        EXPECT_EQ(list.state(), RegisteredServersForm::State::Insert);
        const QString address = QString::fromUtf8(c.entry).mid(11);
        EXPECT_EQ(list(QStringLiteral("EditName")).text(), address);
        EXPECT_EQ(list(QStringLiteral("EditIP")).text(), QString::fromUtf8(c.ip));
        EXPECT_EQ(list(QStringLiteral("EditHost")).text(), QString::fromUtf8(c.host));
        EXPECT_EQ(list(QStringLiteral("dbcboLocation")).text(), QStringLiteral("LAN / WAN"));
        EXPECT_TRUE(RegisteredServers(key).entries().isEmpty()) << "saved only when the operator saves it";
        ASSERT_TRUE(list.sbtnSaveClick());
        EXPECT_EQ(RegisteredServers(key).entries(),
                  (QList<ServerEntry>{{address, QString::fromUtf8(c.ip), QString::fromUtf8(c.host), "LAN / WAN"}}));
        EXPECT_TRUE(prompt.messages.empty());
    }

    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    RecordingPrompt prompt;
    RegisteredServersForm list(key, prompt);
    list.loadList();
    list.setLocator([]() -> std::optional<QString> {
        LocateWindow w;
        w.form.FormShow();
        w("btnCancel").click();
        return w.form.GetSelectedServer();
    });
    list.btnScanClick();
    EXPECT_EQ(list.state(), RegisteredServersForm::State::Browse) << "a cancelled search changes nothing";
}
