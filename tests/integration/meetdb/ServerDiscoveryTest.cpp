// The local half of a scan against real servers on this machine: a
// PostgreSQL server on the default port is found, a refused port is not.
#include "meetdb/ServerDiscovery.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QScopeGuard>

#include <optional>

using namespace kestra;
using namespace kestra::test;

namespace {

std::optional<ServerScan> scanThisMachine(int port)
{
    NetworkDiscovery::Options options;
    options.localPort = port;
    options.network = false;
    NetworkDiscovery discovery(options);
    std::optional<ServerScan> result;
    QObject::connect(&discovery, &ServerDiscovery::scanFinished, [&](const ServerScan &scan) { result = scan; });
    discovery.startScan();
    waitUntil([&] { return result.has_value(); });
    return result;
}

} // namespace

TEST(ServerDiscovery, APostgreSQLServerOnTheDefaultPortIsListedAndARefusedPortIsNot)
{
    // A throwaway server on the default port, which the script takes when written down.
    TempDir own;
    QFile port(own.file(QStringLiteral("pg.port")));
    ASSERT_TRUE(port.open(QIODevice::WriteOnly) && port.write("5432\n") == 5);
    port.close();
    const QString script = sourceDir() + QStringLiteral("/tests/servers/testservers.sh");
    if (QProcess::execute(script, {QStringLiteral("start-pg"), own.path()}) != 0)
        GTEST_SKIP() << "port 5432 of 127.0.0.1 is taken by another program; this test needs it free";
    const auto stop = qScopeGuard([&] { QProcess::execute(script, {QStringLiteral("stop-pg"), own.path()}); });
    const std::optional<ServerScan> found = scanThisMachine(5432);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->servers, QStringList{QStringLiteral("PostgreSQL@127.0.0.1")});

    const std::optional<ServerScan> none = scanThisMachine(1); // nothing listens there
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->servers.isEmpty());
    EXPECT_TRUE(none->networkProblem.isEmpty()) << "finding nothing is no problem";
}
