#include "meetdb/RegisteredServers.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace kestra;
using namespace kestra::test;

TEST(IsValidIP, TellsDottedAddressesFromHostNames)
{
    const struct {
        const char *text;
        bool valid;
    } cases[] = {
        {"127.0.0.1", true}, {"0.0.0.0", true}, {"255.255.255.255", true},
        {"192.168.001.010", true},                          // leading zeros are digits like any other
        {"1.2.3.4.5", true}, {"1.1.1.1.1.1.1.1", true},     // more than three dots pass on purpose
        {"10.0.0", false}, {"", false},                     // too few dots
        {"256.1.1.1", false}, {"1.2.3.256", false},         // a part above 255
        {"0255.1.1.1", false},                              // four digits in a part
        {".1.2.3", false}, {"1..2.3", false}, {"1.2.3.", false}, // a dot at an end or two together
        {"255.255.255.2555", false},                        // sixteen characters
        {"1.2.3.4 ", false}, {" 1.2.3.4", false},           // blanks count as characters
        {"1.2.3.-4", false}, {"scoring.local", false}, {"fe80::1", false}, {"1.2.3.4:5432", false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(RegisteredServers::IsValidIP(QString::fromLatin1(c.text)), c.valid) << '"' << c.text << '"';
}

TEST(RegisteredServerList, ReadsEntriesTrimmedInStoredOrder)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    put(key.filePath(), "MarlowenServerName=  Arena East  \r\n"
                        "[Servers]\r\nNumServers=4\r\n"
                        "[Servers\\Server1]\r\nName= Arena East \r\nIP= 10.0.0.5\r\nHost=\r\nLocation=LAN / WAN\r\n"
                        "[Servers\\Server2]\r\nName=\r\nIP=10.0.0.6\r\n"
                        "[Servers\\Server4]\r\nName=laptop\r\nHost=~/meet \r\nLocation=Local PC\r\n");
    const RegisteredServers servers(key);
    const QList<ServerEntry> list = servers.entries();
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[0], (ServerEntry{"Arena East", "10.0.0.5", "", "LAN / WAN"}));
    EXPECT_EQ(list[1], (ServerEntry{"", "10.0.0.6", "", ""})) << "an empty name is read as it is";
    EXPECT_EQ(list[2], ServerEntry{}) << "a missing entry reads as empty";
    EXPECT_EQ(list[3], (ServerEntry{"laptop", "", "~/meet", "Local PC"}));
    EXPECT_EQ(servers.currentServerName(), QStringLiteral("Arena East"));

    ASSERT_TRUE(servers.findExact(QStringLiteral("laptop")));
    EXPECT_FALSE(servers.findExact(QStringLiteral("Laptop"))) << "the connect sequence matches case and all";
    EXPECT_TRUE(servers.containsName(QStringLiteral(" LAPTOP ")));
    EXPECT_TRUE(servers.containsName(QStringLiteral("arena east")));
    EXPECT_FALSE(servers.containsName(QStringLiteral("arena")));
}

TEST(RegisteredServerList, ACountBeyondTheEntriesIsNotWalkedToTheEnd)
{
    const struct {
        const char *numServers;
        int expected;
    } cases[] = {{"2147483647", 2}, {"-3", 0}, {"two", 0}, {"1", 1}, {"0", 0}};
    for (const auto &c : cases) {
        TempDir dir;
        SettingsStore key = SettingsStore::marlowenKey(dir.path());
        put(key.filePath(), QByteArray("[Servers]\nNumServers=") + c.numServers
                                + "\n[Servers\\Server1]\nName=a\n[Servers\\Server2]\nName=b\n");
        EXPECT_EQ(RegisteredServers(key).entries().size(), c.expected) << c.numServers;
    }
}

TEST(RegisteredServerList, RewriteReplacesTheWholeListAndKeepsTheOtherValues)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    put(key.filePath(), "MarlowenServerName=old\r\n[Servers]\r\nNumServers=3\r\n"
                        "[Servers\\Server1]\r\nName=old\r\n[Servers\\Server2]\r\nName=gone\r\n"
                        "[Servers\\Server3]\r\nName=gone too\r\n[Custom]\r\nTeamID=1\r\n");
    RegisteredServers servers(key);
    const QList<ServerEntry> list = {{"Arena", "10.0.0.5", "", "LAN / WAN"}, {"Gym", "", "gym.local", "Remote"}};
    ASSERT_TRUE(servers.rewrite(list));
    EXPECT_EQ(servers.entries(), list);
    EXPECT_EQ(contents(key.filePath()),
              "MarlowenServerName=old\r\n\r\n[Custom]\r\nTeamID=1\r\n\r\n[Servers]\r\nNumServers=2\r\n\r\n"
              "[Servers\\Server1]\r\nName=Arena\r\nIP=10.0.0.5\r\nHost=\r\nLocation=LAN / WAN\r\n\r\n"
              "[Servers\\Server2]\r\nName=Gym\r\nIP=\r\nHost=gym.local\r\nLocation=Remote\r\n");

    ASSERT_TRUE(servers.rewrite({}));
    EXPECT_TRUE(servers.entries().isEmpty());
    EXPECT_EQ(key.ReadInteger(QStringLiteral("Servers"), QStringLiteral("NumServers"), -1), 0);
    EXPECT_FALSE(key.read().hasSection(QStringLiteral("Servers\\Server1")));
}

TEST(StoreAddressOfEntry, IPTakesTheRoleAndPortOfAServerHostName)
{
    ::setenv("PGUSER", "meetrole", 1);
    const struct {
        const char *ip;
        const char *host;
        const char *ipAddress;
        const char *hostAddress;
    } cases[] = {
        {"10.0.0.5", "", "10.0.0.5", ""},
        {"10.0.0.5", "scoring", "meetrole@10.0.0.5:5432", "scoring"},
        {"10.0.0.5", "kestra@scoring:5433", "kestra@10.0.0.5:5433", "kestra@scoring:5433"},
        {"10.0.0.5", "scoring:6000", "meetrole@10.0.0.5:6000", "scoring:6000"},
        {"10.0.0.5", "/srv/meet", "10.0.0.5", "/srv/meet"},
        {" 10.0.0.5 ", "not a host!", "10.0.0.5", "not a host!"},
        {"", "scoring:5433", "", "scoring:5433"},
        {"", "", "", ""},
    };
    for (const auto &c : cases) {
        ServerEntry e;
        e.IP = QString::fromLatin1(c.ip);
        e.Host = QString::fromLatin1(c.host);
        EXPECT_EQ(storeAddressOfIP(e), QString::fromLatin1(c.ipAddress)) << c.ip << " / " << c.host;
        EXPECT_EQ(storeAddressOfHost(e), QString::fromLatin1(c.hostAddress)) << c.ip << " / " << c.host;
    }
    ::unsetenv("PGUSER");
}
