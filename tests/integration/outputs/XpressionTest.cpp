// The Xpression target against a real MariaDB on loopback, its tables made by
// the crew's script: the rows the writer keeps, what it swallows and what it
// tells, the window's connection around Start, Clear, Show Sample and a run,
// and kestra-headless --sample-only.
#include "outputs/DebugTrace.h"
#include "outputs/MeetFlags.h"
#include "outputs/Xpression.h"

#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTcpServer>
#include <QTcpSocket>

using namespace kestra;
using namespace kestra::test;
using namespace kestra::layout;

namespace {

QString address(const Endpoint &server)
{
    return S("%1:%2").arg(server.host).arg(server.port);
}

QString newDatabase()
{
    static int serial = 0;
    return S("kx_%1_%2").arg(QCoreApplication::applicationPid()).arg(++serial);
}

void createTables(const Endpoint &server, const QString &database)
{
    QProcess script;
    script.setProcessChannelMode(QProcess::MergedChannels);
    script.start(sourceDir() + S("/tools/xpression/create-graphics-tables.sh"),
                 {S("--database"), database, S("-h"), server.host, S("-P"), QString::number(server.port), S("-u"), S("root")});
    ASSERT_TRUE(script.waitForFinished(30000));
    ASSERT_EQ(script.exitCode(), 0) << script.readAll().toStdString();
}

// The graphics system's side of the tables: rows as lines, fields between
// '|', NULL as "NULL".
class GraphicsSide {
public:
    GraphicsSide(const Endpoint &server, const QString &database) : m_name(S("graphics-") + database)
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(S("QMYSQL"), m_name);
        db.setHostName(server.host);
        db.setPort(server.port);
        db.setDatabaseName(database);
        db.setUserName(S("root"));
        EXPECT_TRUE(db.open()) << db.lastError().text().toStdString();
    }
    ~GraphicsSide()
    {
        QSqlDatabase::database(m_name, false).close();
        QSqlDatabase::removeDatabase(m_name);
    }
    QStringList rows(const QString &sql)
    {
        QSqlQuery query(QSqlDatabase::database(m_name, false));
        EXPECT_TRUE(query.exec(sql)) << query.lastError().text().toStdString();
        QStringList out;
        while (query.next()) {
            QStringList fields;
            for (int i = 0; i < query.record().count(); ++i)
                fields << (query.isNull(i) ? S("NULL") : query.value(i).toString());
            out << fields.join(QLatin1Char('|'));
        }
        return out;
    }

private:
    QString m_name;
};

class XpressionTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(createTables(server, database));
        graphics = std::make_unique<GraphicsSide>(server, database);
    }
    void fillSlot(int slot, const char *num, const char *name, const char *dBonus = "", const char *eBonus = "")
    {
        const std::pair<Field, const char *> fields[] = {
            {eventTitle(slot), "BARS"}, {eventNum(slot), num},     {eventName(slot), name},
            {eventScore(slot), *num ? " 9.650" : ""}, {eventDScore(slot), *num ? "4.10" : ""},
            {eventEScore(slot), *num ? "5.550" : ""}, {eventND(slot), *num ? "0.1" : ""},
            {eventDBonus(slot), dBonus}, {eventEBonus(slot), eBonus}};
        for (const auto &[field, text] : fields)
            record.pack(field, S(text));
    }
    QStringList scoreboard() { return graphics->rows(S("select * from scoreboard order by position")); }

    Endpoint server = sharedMariaDb();
    QString database = newDatabase();
    std::unique_ptr<GraphicsSide> graphics;
    DisplayRecord record;
    FixedMeetFlags meet;
    DebugTrace trace;
    std::shared_ptr<XpressionConnection> connection = std::make_shared<XpressionConnection>();
    MySqlSettings settings{address(server), database, S("root"), QString()};
    XpressionWriter writer{record, connection, meet, trace, [this] { return settings; },
                           [](int side) { return side == 1 ? S("Women") : S("Men"); }};
};

} // namespace

TEST_F(XpressionTest, ScoreboardHoldsOneRowASlotInsertedOnceThenUpdated)
{
    // position|program|compNum|name|artistry|execution|difficulty|deduction|total|event|level|dbonus|ebonus
    const struct {
        const char *num, *name, *dBonus, *eBonus;
        bool useD, useJN;
        const char *row;
    } steps[] = {
        {"12", "Zoë Bell", "0.100", "0.2", false, true, "2|M|12|Zoë Bell||5.550|4.10|0.1|9.650|BARS||0.100|0.2"},
        // Without the bonus rules the old bonus values stay; artistry is never written.
        {"ABC", "Zoë Bell", "0.300", "0.4", false, false, "2|M|0|Zoë Bell|9.9|5.550|4.10|0.1|9.650|BARS||0.100|0.2"},
        {"7", "Ann O'Neil", "0.300", "0.4", true, false, "2|M|7|Ann O'Neil|9.9|5.550|4.10|0.1|9.650|BARS||0.300|0.2"},
        // A blanked slot keeps its row: empty strings, a NULL number, the title.
        {"", "", "", "", true, true, "2|M|NULL||9.9|||||BARS|||"},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(step.row);
        fillSlot(2, step.num, step.name, step.dBonus, step.eBonus);
        meet.useDBonus = step.useD;
        meet.useJNBonus = step.useJN;
        EXPECT_EQ(writer.SendXpressionEvent(2, 2), DeviceErrors::Success);
        EXPECT_EQ(scoreboard(), QStringList{S(step.row)});
        graphics->rows(S("update scoreboard set artistry = '9.9'"));
    }
    for (int round = 0; round < 2; ++round) {
        for (int slot = 1; slot <= 6; ++slot)
            writer.SendXpressionEvent(slot, 3); // no session column: no letter
    }
    EXPECT_EQ(scoreboard().size(), 6);
    EXPECT_TRUE(scoreboard().at(0).startsWith(S("1||NULL|"))) << scoreboard().at(0).toStdString();
}

TEST_F(XpressionTest, TheTraceTellsEachCallAndANowUpLineGoesNoFurther)
{
    TempDir dir;
    trace.setPath(dir.file(S("DebugIOOutput.txt")));
    trace.setEnabled(true);
    meet.useDBonus = true;
    fillSlot(3, "7", "Ann Lee", "0.100");
    record.pack(nowUpLine(3), QByteArrayView(QByteArray("BEAM  7   Ann Lee").leftJustified(50) + "Harbor"));
    record.pack(leaderTitle1(1), S("Vault"));
    record.pack(Field{leaderLineBase(1, 1), 49}, QByteArrayView(QByteArray(" 1Ann Lee").leftJustified(42) + " 38.450"));
    writer.SendXpressionNowUp(3, 1);
    EXPECT_TRUE(scoreboard().isEmpty());
    writer.SendXpressionEvent(3, 1);
    writer.SendXpressionLeader();
    QFile file(trace.path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray name = QByteArray("Ann Lee").leftJustified(40);
    EXPECT_EQ(file.readAll(), "3,W,,BEAM  ,7   ," + name + ",Harbor              \r\n" +
                                  "3,W,,BARS  ,7   ," + name + ", 9.650,4.10 ,5.550 ,0.100 ,0.1 \r\n" +
                                  "1,A,Vault,,1,Ann Lee,38.450" + QByteArray(",,,").repeated(7) + "\r\n" +
                                  "2,A,," + QByteArray(",,,").repeated(8) + "\r\n" +
                                  "3,A,," + QByteArray(",,,").repeated(8) + "\r\n");
}

TEST_F(XpressionTest, LeaderboardRewritesItsPagesInOneTransaction)
{
    const QString rowsA = S("select position, `rank`, place, name, score, title1 from leaderboard where program = 'A' order by id");
    graphics->rows(S("insert into leaderboard (position, program, `rank`, name) values (1, 'B', 1, 'other program')"));
    record.pack(leaderTitle1(1), S("Vault Leaders"));
    record.pack(Field{leaderLineBase(1, 1), 49}, QByteArrayView(QByteArray(" 1Ann Lee").leftJustified(42) + " 38.450"));
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(writer.SendXpressionLeader(), DeviceErrors::Success);
    QStringList rows = graphics->rows(rowsA);
    ASSERT_EQ(rows.size(), 24);
    EXPECT_EQ(rows[0], S("1|1|1|Ann Lee|38.450|Vault Leaders"));
    EXPECT_EQ(rows[1], S("1|2||||Vault Leaders"));
    EXPECT_EQ(rows[8], S("2|1||||")) << "a cleared page: eight rows of empty strings";
    EXPECT_EQ(rows[23], S("3|8||||"));
    EXPECT_EQ(graphics->rows(S("select name from leaderboard where program = 'B'")), QStringList{S("other program")});

    // A statement failing inside the transaction: the deletes are undone,
    // nobody is told, and the next update tries again.
    graphics->rows(S("alter table leaderboard drop column title2"));
    record.pack(leaderName(1, 1), S("Bea Bell"));
    EXPECT_EQ(writer.SendXpressionLeader(), DeviceErrors::Success);
    EXPECT_EQ(graphics->rows(rowsA), rows);
    graphics->rows(S("alter table leaderboard add column title2 varchar(10) not null default ''"));
    writer.SendXpressionLeader();
    EXPECT_EQ(graphics->rows(rowsA).value(0), S("1|1|1|Bea Bell|38.450|Vault Leaders"));
}

TEST_F(XpressionTest, AFailureToConnectOrOpenLeavesTheWriterAndTheNextUpdateTriesAgain)
{
    fillSlot(1, "5", "Ann Lee");
    const struct {
        const char *breakIt;
        const char *message;
    } cases[] = {
        {"drop table scoreboard", "The table \"scoreboard\" of the MySQL database \"%1\" for Xpression could not be opened: "},
        {"password", "Kestra could not connect to the MySQL server \"%2\" for Xpression: Access denied"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.breakIt);
        if (S(c.breakIt) == S("password")) {
            connection->disconnect();
            settings.password = S("wrong");
        } else {
            graphics->rows(S(c.breakIt));
        }
        try {
            writer.SendXpressionEvent(1, 1);
            ADD_FAILURE() << "no failure";
        } catch (const XpressionError &error) {
            EXPECT_TRUE(QString::fromUtf8(error.what()).startsWith(S(c.message).replace(S("%1"), database).replace(S("%2"), settings.server)))
                << error.what();
        }
        settings.password.clear();
        ASSERT_NO_FATAL_FAILURE(createTables(server, database));
        writer.SendXpressionEvent(1, 1);
        EXPECT_EQ(scoreboard().size(), 1);
    }
}

TEST(XpressionServerTest, AServerStartedAgainIsConnectedAgainWithoutTheWindowsHelp)
{
    PrivateMariaDb server;
    ASSERT_NO_FATAL_FAILURE(createTables(server.endpoint(), S("marlowen")));
    DisplayRecord record;
    FixedMeetFlags meet;
    DebugTrace trace;
    XpressionWriter writer(record, std::make_shared<XpressionConnection>(), meet, trace,
                           [&] { return MySqlSettings{address(server.endpoint()), S("marlowen"), S("root"), {}}; },
                           {});
    auto send = [&](const char *name) {
        record.pack(eventName(1), S(name));
        writer.SendXpressionEvent(1, 1);
        GraphicsSide graphics(server.endpoint(), S("marlowen"));
        return graphics.rows(S("select name from scoreboard"));
    };
    EXPECT_EQ(send("one"), QStringList{S("one")});
    // Restarted between two updates: the dropped connection is made again.
    server.stop();
    server.start();
    EXPECT_EQ(send("two"), QStringList{S("two")});
    // Stopped at an update: told; started again: the next update writes.
    server.stop();
    EXPECT_THROW(writer.SendXpressionEvent(1, 1), XpressionError);
    server.start();
    EXPECT_EQ(send("three"), QStringList{S("three")});
}

TEST(XpressionServerTest, AServerThatDoesNotAnswerIsGivenUpAfterTheTimeOutAndLeftAloneAWhile)
{
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    MySqlSettings settings{S("127.0.0.1:%1").arg(silent.serverPort()), S("marlowen"), S("root"), {}};
    XpressionConnection connection;
    auto attempts = [&silent] {
        int count = 0;
        silent.waitForNewConnection(200); // takes every connection waiting
        for (; silent.hasPendingConnections(); ++count)
            delete silent.nextPendingConnection();
        return count;
    };
    QElapsedTimer took;
    took.start();
    EXPECT_THROW(connection.connect(settings), XpressionError);
    EXPECT_LT(took.elapsed(), 8000) << "bounded by the connect time-out";
    EXPECT_THROW(connection.connect(settings), XpressionError);
    EXPECT_EQ(attempts(), 1) << "the update right after does not wait again";
    settings.user = S("other");
    EXPECT_THROW(connection.connect(settings), XpressionError);
    EXPECT_EQ(attempts(), 1) << "changed settings are tried at once";
}

TEST_F(XpressionTest, TheWindowKeepsTheConnectionOfStartWhileClearAndSampleCloseTheirOwn)
{
    MainRig rig({}, QStringLiteral("UseXpression=1\nMySQLServer=%1\nMySQLDatabase=%2\nMySQLUser=root\n")
                        .arg(settings.server, database)
                        .toUtf8());
    ASSERT_TRUE(rig.open());
    XpressionConnection &link = static_cast<XpressionWriter *>(rig.main().writers().find(S("rdoXpression")))->connection();
    const QString leaders = S("select count(*), min(name), min(title1) from leaderboard");

    ASSERT_TRUE(rig.main().showSample());
    EXPECT_FALSE(link.isConnected());
    EXPECT_EQ(scoreboard().size(), 4);
    EXPECT_EQ(scoreboard().value(0), S("1|W|1000|Luke Skywalker||9.850|6.50|-0.1|16.250|VAULT||0.100|0.1"));
    EXPECT_EQ(graphics->rows(leaders), QStringList{S("24|C3 PO|Leader 1")});

    rig(S("btnClear")).click();
    EXPECT_FALSE(link.isConnected());
    EXPECT_EQ(scoreboard().value(3), S("4|W|NULL|||||||FLOOR|||"));
    EXPECT_EQ(graphics->rows(leaders), QStringList{S("24||")});

    // In a run a table gone is told once a tick; the run goes on, and the
    // next tick finds it back.
    ASSERT_TRUE(rig.main().start());
    EXPECT_TRUE(link.isConnected());
    graphics->rows(S("drop table scoreboard"));
    rig.main().Timer1Timer();
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_TRUE(rig.prompt.messages[0].text.startsWith(S("The table \"scoreboard\""))) << rig.prompt.messages[0].text.toStdString();
    ASSERT_NO_FATAL_FAILURE(createTables(server, database));
    rig.main().Timer1Timer();
    EXPECT_EQ(scoreboard().size(), 4);
    EXPECT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);

    rig.main().stop();
    ASSERT_TRUE(rig.main().showSample());
    EXPECT_TRUE(link.isConnected()) << "Start's connection stays";
    rig.main().close();
    EXPECT_FALSE(link.isConnected());
}

TEST_F(XpressionTest, HeadlessSampleOnlyFillsTheTablesOrEndsWithOneLine)
{
    TempDir home;
    TempDir meetFolder;
    seedMeet(meetFolder.path());
    for (const QString &db : {database, S("no_such_db")}) {
        ChildProgram run("src/app/kestra-headless",
                         {S("--store"), meetFolder.path(), S("--target"), S("xpression"), S("--sample-only"),
                          S("--test-pattern"), S("--set"), S("Options/MySQLServer=") + settings.server, S("--set"),
                          S("Options/MySQLDatabase=") + db, S("--set"), S("Options/MySQLUser=root")},
                         &home);
        const bool good = db == database;
        EXPECT_EQ(run.finish(), good ? 0 : 4) << run.errors().toStdString();
        // One line, beside what a listener may say of a port another program holds.
        const QStringList lines = run.errors().split(QLatin1Char('\n'), Qt::SkipEmptyParts).filter(
            QRegularExpression(S("^(?!now-up listener)")));
        ASSERT_EQ(lines.size(), 1) << run.errors().toStdString();
        EXPECT_TRUE(lines[0].startsWith(good ? S("kestra-headless: sample sent: ")
                                             : S("kestra error: Kestra v")))
            << lines[0].toStdString();
        EXPECT_EQ(lines[0].contains(S("Unknown database 'no_such_db'")), !good);
    }
    EXPECT_EQ(graphics->rows(S("select compNum, name from scoreboard where position = 4")),
              QStringList{S("4000|4-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjKl")});
    EXPECT_EQ(graphics->rows(S("select title1 from leaderboard where position = 3 and `rank` = 8")),
              QStringList{S("L3-T1-AbCdEfGhIjKlMn")});
}
