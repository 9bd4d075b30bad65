// The local half of a scan against real servers on this machine: a
// PostgreSQL server on the default port is found, a refused port is not.
#include "meetdb/ServerDiscovery.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <memory>
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

bool postgresLogsIn(int port)
{
    PGconn *conn = PQconnectdb(("host=127.0.0.1 user=postgres dbname=postgres port=" + std::to_string(port)).c_str());
    const bool ok = PQstatus(conn) == CONNECTION_OK;
    PQfinish(conn);
    return ok;
}

} // namespace

TEST(ServerDiscovery, APostgreSQLServerOnTheDefaultPortIsListedAndARefusedPortIsNot)
{
    // Another test run may hold the port with a server of its own, which
    // answers all the same; anything else there makes the test meaningless.
    std::unique_ptr<PrivatePostgres> own;
    if (!postgresLogsIn(5432)) {
        own = std::make_unique<PrivatePostgres>(5432);
        if (!own->isRunning() && !postgresLogsIn(5432))
            GTEST_SKIP() << "port 5432 of 127.0.0.1 is held by a program that is not a PostgreSQL server";
    }
    const std::optional<ServerScan> found = scanThisMachine(5432);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->servers, QStringList{QStringLiteral("PostgreSQL@127.0.0.1")});

    const std::optional<ServerScan> none = scanThisMachine(1); // nothing listens there
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->servers.isEmpty());
    EXPECT_TRUE(none->networkProblem.isEmpty()) << "finding nothing is no problem";
}
