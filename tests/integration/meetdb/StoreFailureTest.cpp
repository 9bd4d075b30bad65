// What the store says when things go wrong: missing tables, locked files, a
// file that is no database, a server that goes away. Unreachable stores are
// the connect sequence's and the headless program's refusals.
#include "StoreFixture.h"

#include <QFile>

#include <sqlite3.h>

using namespace kestra;
using namespace kestra::test;

namespace {

StoreError::Kind kindOf(const std::function<void()> &action, QString *message = nullptr)
{
    try {
        action();
    } catch (const StoreError &e) {
        if (message)
            *message = e.message();
        return e.kind();
    }
    ADD_FAILURE() << "no StoreError";
    return StoreError::Kind::Database;
}

class StoreFailures : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override { f = makeStore(GetParam()); }
    FreshStore f;
};

} // namespace

TEST_P(StoreFailures, AMissingTableOrBadStatementIsADatabaseErrorInPlainWords)
{
    QString message;
    EXPECT_EQ(kindOf([&] { f.store->query(QStringLiteral("select * from Gymnast where MeetID = 1")); }, &message),
              StoreError::Kind::Database);
    EXPECT_TRUE(message.startsWith(backendName(GetParam()) + QStringLiteral(" store ") + f.address)) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("gymnast"), Qt::CaseInsensitive)) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("statement: select * from Gymnast where MeetID = 1"))) << message.toStdString();

    EXPECT_EQ(kindOf([&] { f.store->query(QStringLiteral("selec Num from Gymnasts")); }), StoreError::Kind::Database);
    EXPECT_EQ(kindOf([&] { f.store->query(QStringLiteral("select NoSuchField from Gymnasts")); }), StoreError::Kind::Database);
    // A misspelt quoted name is an error, never a text value.
    EXPECT_EQ(kindOf([&] { f.store->query(QStringLiteral("select \"Shortname\" from Gyms")); }), StoreError::Kind::Database);
    // The store stays usable after a failed statement, in a transaction too.
    EXPECT_EQ(f.store->query(QStringLiteral("select count(*) from Gyms")).value(0).toInt(), 0);
    {
        StoreTransaction t(*f.store);
        EXPECT_THROW(f.store->execute(QStringLiteral("insert into Nowhere values (1)")), StoreError);
    }
    EXPECT_FALSE(f.store->inTransaction());
    EXPECT_EQ(f.store->query(QStringLiteral("select count(*) from Gyms")).value(0).toInt(), 0);
}

KESTRA_BOTH_BACKENDS(StoreFailures);

TEST(SqliteStoreFailures, ALockedFileIsReportedAfterTheBusyTimeout)
{
    FreshStore f = makeStore(StoreBackend::Sqlite);
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(QStringLiteral("%1/Marlowen.sqlite").arg(f.address).toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE; INSERT INTO Countries (Country) VALUES ('CAN')", nullptr, nullptr, nullptr),
              SQLITE_OK);
    f.store->setBusyTimeout(150);
    QString message;
    EXPECT_EQ(kindOf([&] { f.store->execute(QStringLiteral("insert into Countries (Country) values ('USA')")); }, &message),
              StoreError::Kind::Database);
    EXPECT_TRUE(message.contains(QStringLiteral("locked by another program"))) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("waited 150 ms"))) << message.toStdString();
    // Readers are not held up by the writer.
    EXPECT_EQ(f.store->query(QStringLiteral("select count(*) from Countries")).value(0).toInt(), 0);
    ASSERT_EQ(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);
    EXPECT_EQ(f.store->execute(QStringLiteral("insert into Countries (Country) values ('USA')")), 1);
    EXPECT_EQ(f.store->query(QStringLiteral("select count(*) from Countries")).value(0).toInt(), 2);
}

TEST(SqliteStoreFailures, AFileThatIsNoDatabaseIsRefusedAtOpen)
{
    TempDir dir;
    QFile file(dir.file(QStringLiteral("Marlowen.sqlite")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();
    auto store = MeetStore::forAddress(dir.path());
    store->connect();
    EXPECT_TRUE(store->aliasExists());
    QString message;
    EXPECT_EQ(kindOf([&] { store->openDatabase(); }, &message), StoreError::Kind::Database);
    EXPECT_TRUE(message.contains(QStringLiteral("not a database"))) << message.toStdString();
    EXPECT_FALSE(store->isOpen());
}

TEST(PostgresStoreFailures, AStoppedServerIsALostConnectionAndStaysLost)
{
    PrivatePostgres server;
    const Endpoint e = server.endpoint();
    postgresExec(e, QStringLiteral("postgres"), QStringLiteral("create database marlowen"));
    auto store = MeetStore::forAddress(QStringLiteral("%1:%2").arg(e.host).arg(e.port));
    store->connect();
    ASSERT_TRUE(store->aliasExists());
    store->openDatabase();
    MeetSchema::create(*store);
    auto meets = store->openTable(QStringLiteral("Meets"));
    EXPECT_TRUE(meets->isEmpty());

    server.stop();
    QString message;
    EXPECT_EQ(kindOf([&] { store->query(QStringLiteral("select * from DBVersion")); }, &message),
              StoreError::Kind::ConnectionLost);
    EXPECT_TRUE(message.contains(QStringLiteral("connection to the server is lost"))) << message.toStdString();
    EXPECT_FALSE(store->isConnected());
    EXPECT_EQ(kindOf([&] { meets->refresh(); }), StoreError::Kind::ConnectionLost);

    // Never mended behind the program's back: the program restarts itself.
    server.start();
    EXPECT_EQ(kindOf([&] { store->execute(QStringLiteral("delete from Host")); }), StoreError::Kind::ConnectionLost);
    auto again = MeetStore::forAddress(QStringLiteral("%1:%2").arg(e.host).arg(e.port));
    again->connect();
    again->openDatabase();
    // (The test server runs without synchronous commits, so what the last
    // moments wrote may be gone after its immediate stop; only the link counts.)
    EXPECT_EQ(again->query(QStringLiteral("select 1 + 1")).value(0).toInt(), 2);
}
