// The Xpression target on a real MariaDB on loopback, its tables made by the
// crew's script: rows kept, failures swallowed or told, servers restarted or
// silent, and the window's and kestra-headless's use of it.
#include "outputs/DebugTrace.h"
#include "outputs/MeetFlags.h"
#include "outputs/Xpression.h"

#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QScopeGuard>

using namespace kestra;
using namespace kestra::test;
using namespace kestra::layout;

namespace {

// The crew's script with `-e` absent, or the mariadb client running `-e SQL`:
// the output lines, tabs shown as '|', NULL as "NULL".
QStringList run(const Endpoint &server, const QString &database, const QStringList &sql = {})
{
    QProcess process;
    process.start(sql.isEmpty() ? sourceDir() + S("/tools/xpression/create-graphics-tables.sh") : S("mariadb"),
                  QStringList{S("-h"), server.host, S("-P"), QString::number(server.port), S("-u"), S("root"),
                              S("--database"), database} + sql);
    EXPECT_TRUE(process.waitForFinished(30000) && process.exitCode() == 0) << process.readAllStandardError().toStdString();
    return QString::fromUtf8(process.readAllStandardOutput()).replace(QLatin1Char('\t'), QLatin1Char('|')).split(
        QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList sql(const Endpoint &server, const QString &database, const QString &statement)
{
    return run(server, database, {S("-N"), S("-B"), S("-e"), statement});
}

MySqlSettings settingsFor(const Endpoint &server, const QString &database)
{
    return {S("%1:%2").arg(server.host).arg(server.port), database, S("root"), {}};
}

class XpressionTest : public testing::Test {
protected:
    void SetUp() override { run(server, database); }
    QStringList sql(const QString &statement) { return ::sql(server, database, statement); }
    void fill(int slot, const QString &num, const QString &name, const char *dBonus, const char *eBonus)
    {
        record.pack(eventLine(slot), S("BARS  ") + num.leftJustified(4) + name.leftJustified(40) +
                                         (num.isEmpty() ? QString() : S(" 9.6504.10 5.550 0.1")));
        record.pack(eventDBonus(slot), S(dBonus));
        record.pack(eventEBonus(slot), S(eBonus));
    }

    static inline int serial = 0;
    Endpoint server = sharedMariaDb();
    QString database = S("kx_%1_%2").arg(QCoreApplication::applicationPid()).arg(++serial);
    DisplayRecord record;
    FixedMeetFlags meet;
    DebugTrace trace;
    XpressionWriter writer{record, std::make_shared<XpressionConnection>(), meet, trace,
                           [this] { return settingsFor(server, database); },
                           [](int side) { return side == 1 ? S("Women") : S("Men"); }};
};

} // namespace

TEST_F(XpressionTest, ScoreboardHoldsOneRowASlotInsertedOnceThenUpdatedAndNoNowUpLine)
{
    writer.SendXpressionNowUp(2, 2);
    EXPECT_EQ(sql(S("select count(*) from scoreboard")), QStringList{S("0")});

    // position|program|compNum|name|artistry|execution|difficulty|deduction|total|event|level|dbonus|ebonus
    const struct {
        const char *num, *name, *dBonus, *eBonus;
        bool useD, useJN;
        const char *row;
    } steps[] = {
        {"12", "Zoë O'Neil", "0.100", "0.2", false, true, "2|M|12|Zoë O'Neil||5.550|4.10|0.1|9.650|BARS||0.100|0.2"},
        // Old bonus values stay without the rules; artistry is never written.
        {"ABC", "Ann", "0.300", "0.4", false, false, "2|M|0|Ann|9.9|5.550|4.10|0.1|9.650|BARS||0.100|0.2"},
        {"7", "Ann", "0.300", "0.4", true, false, "2|M|7|Ann|9.9|5.550|4.10|0.1|9.650|BARS||0.300|0.2"},
        // A blanked slot: empty strings, a NULL number, the title kept.
        {"", "", "", "", true, true, "2|M|NULL||9.9|||||BARS|||"},
    };
    for (const auto &step : steps) {
        fill(2, S(step.num), S(step.name), step.dBonus, step.eBonus);
        meet.useDBonus = step.useD;
        meet.useJNBonus = step.useJN;
        EXPECT_EQ(writer.SendXpressionEvent(2, 2), DeviceErrors::Success);
        EXPECT_EQ(sql(S("select * from scoreboard")), QStringList{S(step.row)});
        sql(S("update scoreboard set artistry = '9.9'"));
    }
    for (int slot = 6; slot >= 1; --slot)
        writer.SendXpressionEvent(slot, 3); // no session column: no letter
    EXPECT_EQ(sql(S("select count(*), min(program) from scoreboard")), QStringList{S("6|")});
}

TEST_F(XpressionTest, LeaderboardRewritesItsPagesInOneTransaction)
{
    const QString rowsA = S("select position, `rank`, place, name, score, title1 from leaderboard where program = 'A' order by id");
    sql(S("insert into leaderboard (position, program, `rank`, name) values (1, 'B', 1, 'other')"));
    record.pack(leaderTitle1(1), S("Vault Leaders"));
    record.pack(Field{leaderLineBase(1, 1), 49}, QByteArrayView(QByteArray(" 1Ann").leftJustified(42) + " 38.450"));
    writer.SendXpressionLeader();
    writer.SendXpressionLeader();
    const QStringList rows = sql(rowsA);
    ASSERT_EQ(rows.size(), 24);
    EXPECT_EQ(rows.mid(0, 2), (QStringList{S("1|1|1|Ann|38.450|Vault Leaders"), S("1|2||||Vault Leaders")}));
    EXPECT_EQ(rows.mid(8, 1) + rows.mid(23), (QStringList{S("2|1||||"), S("3|8||||")})) << "cleared pages";
    EXPECT_EQ(sql(S("select name from leaderboard where program = 'B'")), QStringList{S("other")});

    // A failure inside: the deletes are undone, nobody is told, and the next
    // update writes the block as it then stands.
    sql(S("alter table leaderboard drop column title2"));
    record.pack(leaderName(1, 1), S("Bea"));
    EXPECT_EQ(writer.SendXpressionLeader(), DeviceErrors::Success);
    EXPECT_EQ(sql(rowsA), rows);
    sql(S("alter table leaderboard add column title2 varchar(10) not null default ''"));
    writer.SendXpressionLeader();
    EXPECT_EQ(sql(rowsA).value(0), S("1|1|1|Bea|38.450|Vault Leaders"));
}

TEST(XpressionServerTest, AServerStoppedAndStartedAgainIsWrittenAgainAtTheNextUpdate)
{
    // A server of this test alone: a restart keeps its port and its data.
    TempDir dir;
    auto servers = [&dir](const char *command) {
        QProcess::execute(sourceDir() + S("/tests/servers/testservers.sh"), {S(command), dir.path()});
    };
    servers("start-mysql");
    const auto stopAtEnd = qScopeGuard([&] { servers("stop-mysql"); });
    QFile portFile(dir.file(S("mysql.port")));
    ASSERT_TRUE(portFile.open(QIODevice::ReadOnly));
    const Endpoint server{S("127.0.0.1"), portFile.readAll().trimmed().toInt(), {}};
    run(server, S("marlowen"));
    DisplayRecord record;
    FixedMeetFlags meet;
    DebugTrace trace;
    XpressionWriter writer(record, std::make_shared<XpressionConnection>(), meet, trace,
                           [&] { return settingsFor(server, S("marlowen")); }, {});
    auto send = [&](const char *name) {
        record.pack(eventName(1), S(name));
        writer.SendXpressionEvent(1, 1);
        return sql(server, S("marlowen"), S("select name from scoreboard"));
    };
    EXPECT_EQ(send("one"), QStringList{S("one")});
    servers("stop-mysql");
    servers("start-mysql");
    EXPECT_EQ(send("two"), QStringList{S("two")}) << "restarted between updates: no message";
    servers("stop-mysql");
    EXPECT_THROW(writer.SendXpressionEvent(1, 1), XpressionError);
    servers("start-mysql");
    EXPECT_EQ(send("three"), QStringList{S("three")});
}

TEST(XpressionServerTest, AServerThatDoesNotAnswerHoldsTheCallerOnceAndThenNotForAWhile)
{
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    XpressionConnection connection;
    QElapsedTimer took;
    took.start();
    for (int update = 0; update < 3; ++update)
        EXPECT_THROW(connection.connect({S("127.0.0.1:%1").arg(silent.serverPort()), {}, {}, {}}), XpressionError);
    EXPECT_LT(took.elapsed(), 5000) << "one connect time-out, then no wait";
}

TEST_F(XpressionTest, TheWindowKeepsStartsConnectionAndToldFailuresLeaveTheRunGoing)
{
    const MySqlSettings s = settingsFor(server, database);
    MainRig rig({}, S("UseXpression=1\nMySQLServer=%1\nMySQLDatabase=%2\nMySQLUser=root\n").arg(s.server, database).toUtf8());
    ASSERT_TRUE(rig.open());
    XpressionConnection &link = static_cast<XpressionWriter *>(rig.main().writers().find(S("rdoXpression")))->connection();
    const QString leaders = S("select count(*), min(name), min(title1) from leaderboard");

    ASSERT_TRUE(rig.main().showSample());
    EXPECT_EQ(sql(S("select * from scoreboard where position = 1")),
              QStringList{S("1|W|1000|Luke Skywalker||9.850|6.50|-0.1|16.250|VAULT||0.100|0.1")});
    EXPECT_EQ(sql(leaders), QStringList{S("24|C3 PO|Leader 1")});
    rig(S("btnClear")).click();
    EXPECT_EQ(sql(S("select * from scoreboard where position = 4")), QStringList{S("4|W|NULL|||||||FLOOR|||")});
    EXPECT_EQ(sql(leaders), QStringList{S("24||")});
    EXPECT_FALSE(link.isConnected()) << "Clear and Show Sample close what they opened";

    ASSERT_TRUE(rig.main().start());
    EXPECT_TRUE(link.isConnected());
    sql(S("drop table scoreboard"));
    rig.main().Timer1Timer();
    ASSERT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_TRUE(rig.prompt.messages[0].text.startsWith(S("The table \"scoreboard\" of the MySQL database \"%1\"").arg(database)));
    run(server, database);
    rig.main().Timer1Timer();
    EXPECT_EQ(sql(S("select count(*) from scoreboard")), QStringList{S("4")});
    EXPECT_EQ(rig.prompt.messages.size(), 1u);
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    rig.main().close();
    EXPECT_FALSE(link.isConnected());
}

TEST_F(XpressionTest, HeadlessSampleOnlyFillsTheTablesOrEndsWithOneLine)
{
    TempDir home;
    TempDir meet;
    seedMeet(meet.path());
    for (const QString &db : {database, S("no_such_db")}) {
        ChildProgram run("src/app/kestra-headless",
                         {S("--store"), meet.path(), S("--target=xpression"), S("--sample-only"), S("--test-pattern"),
                          S("--set=Options/MySQLServer=") + settingsFor(server, db).server,
                          S("--set=Options/MySQLDatabase=") + db, S("--set=Options/MySQLUser=root")},
                         &home);
        EXPECT_EQ(run.finish(), db == database ? 0 : 4) << run.errors().toStdString();
        // One line, beside what a listener may say of a port another program holds.
        const QStringList lines = run.errors().split(QLatin1Char('\n'), Qt::SkipEmptyParts).filter(
            QRegularExpression(S("^(?!now-up listener)")));
        EXPECT_EQ(lines, QStringList{lines.value(0)});
        EXPECT_TRUE(lines.value(0).startsWith(db == database ? S("kestra-headless: sample sent: ")
                                                             : S("kestra error: Kestra v")));
        EXPECT_EQ(lines.value(0).endsWith(S("Unknown database 'no_such_db'")), db != database) << lines.value(0).toStdString();
    }
    EXPECT_EQ(sql(S("select compNum, name from scoreboard where position = 4 union all "
                    "select `rank`, title1 from leaderboard where position = 3 and `rank` = 8")),
              (QStringList{S("4000|4-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjKl"), S("8|L3-T1-AbCdEfGhIjKlMn")}));
}
