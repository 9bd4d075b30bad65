// kestra-devstore as a developer runs it, on both engines.
#include "StoreFixture.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

#include <algorithm>
#include <csignal>

using namespace kestra;
using namespace kestra::test;

namespace {

struct ToolRun {
    int status = -1;
    QString out;
    QString err;
};

QString toolPath()
{
    return buildDir() + QStringLiteral("/tools/kestra-devstore");
}

ToolRun runTool(const QStringList &args)
{
    QProcess p;
    p.start(toolPath(), args);
    ToolRun r;
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        ADD_FAILURE() << "kestra-devstore did not finish: " << args.join(' ').toStdString();
        return r;
    }
    r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput());
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

// Where the tool should work: a folder that does not exist yet, or a database
// that does not exist yet on the shared server.
struct Target {
    std::unique_ptr<TempDir> dir;
    QString address;
    QString alias;

    QStringList args(const QString &command, QStringList extra = {}) const
    {
        QStringList a{command, address};
        if (!alias.isEmpty())
            a << QStringLiteral("--alias") << alias;
        return a + extra;
    }

    std::unique_ptr<MeetStore> open() const
    {
        auto s = MeetStore::forAddress(address);
        s->connect();
        s->openDatabase(alias.isEmpty() ? MeetSchema::defaultAlias() : alias);
        return s;
    }
};

Target makeTarget(StoreBackend backend)
{
    Target t;
    if (backend == StoreBackend::Sqlite) {
        t.dir = std::make_unique<TempDir>();
        t.address = t.dir->path() + QStringLiteral("/new/meet");
    } else {
        const Endpoint pg = sharedPostgres();
        t.address = QStringLiteral("%1:%2").arg(pg.host).arg(pg.port);
        t.alias = QStringLiteral("kt_tool_%1_%2").arg(QCoreApplication::applicationPid())
                      .arg(QRandomGenerator::global()->bounded(1000000));
    }
    return t;
}

class DevstoreTool : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override
    {
        if (!QFileInfo(toolPath()).isExecutable())
            GTEST_SKIP() << "kestra-devstore is not built at " << toolPath().toStdString();
        target = makeTarget(GetParam());
    }
    Target target;
};

} // namespace

TEST_P(DevstoreTool, CreatesOnceAndRecreatesOnlyWhenForced)
{
    ToolRun r = runTool(target.args(QStringLiteral("create")));
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("Created 38 tables"))) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("5.10.5.0")));
    auto store = target.open();
    EXPECT_EQ(store->tableNames().size(), 38);
    store->insertRow(QStringLiteral("Countries"), {{"Country", "USA"}});
    store->close();

    r = runTool(target.args(QStringLiteral("create")));
    EXPECT_EQ(r.status, 3);
    EXPECT_TRUE(r.err.contains(QStringLiteral("already holds tables"))) << r.err.toStdString();
    EXPECT_EQ(r.err.count(QLatin1Char('\n')), 1); // one line
    store = target.open();
    EXPECT_EQ(store->query(QStringLiteral("select count(*) from Countries")).value(0).toInt(), 1);
    store->close();

    r = runTool(target.args(QStringLiteral("create"), {QStringLiteral("--force")}));
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    store = target.open();
    EXPECT_EQ(store->query(QStringLiteral("select count(*) from Countries")).value(0).toInt(), 0);
    EXPECT_EQ(store->query(QStringLiteral("select Version from DBVersion")).value(0).toLongLong(), 0x050A0500);
}

TEST_P(DevstoreTool, SeedsTheSampleMeets)
{
    ToolRun r = runTool(target.args(QStringLiteral("seed")));
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("3 meets, 16 gyms, 332 gymnasts, 5 sessions, 5 rotations"))) << r.out.toStdString();
    EXPECT_EQ(runTool(target.args(QStringLiteral("seed"))).status, 3);

    // What the other tests lean on is checked where they use it; here what no test reads.
    auto s = target.open();
    auto count = [&](const QString &sql) { return s->query(sql).value(0).toInt(); };
    EXPECT_EQ(count(QStringLiteral("select LastMeet from Host")), 1);
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gymnasts where Birthday is null or Squad is null")), 0);
    EXPECT_GT(count(QStringLiteral("select count(*) from AgeGrp where Use_Dates = TRUE")), 0);
    EXPECT_GT(count(QStringLiteral("select count(*) from AgeDate")), 0);
    // Every gymnast competes somewhere, in an order.
    EXPECT_EQ(count(QStringLiteral("select count(*) from Gymnasts where E1Order is null and E2Order is null "
                                   "and E3Order is null and E4Order is null and E5Order is null and E6Order is null")),
              0);
}

TEST_P(DevstoreTool, FeedsScoresInRotationOrderAsTheScoringProductWould)
{
    ASSERT_EQ(runTool(target.args(QStringLiteral("seed"))).status, 0);
    ToolRun r = runTool(target.args(QStringLiteral("feed"), {QStringLiteral("--count"), QStringLiteral("9")}));
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("9 scores published"))) << r.out.toStdString();

    auto s = target.open();
    QueryResult q = s->query(QStringLiteral("select * from ScoreQueue order by DataID"));
    ASSERT_EQ(q.recordCount(), 9);
    QDateTime last;
    QList<int> events;
    for (; !q.eof(); q.next()) {
        for (const QString &field : q.fieldNames())
            EXPECT_FALSE(q.value(field).isNull()) << field.toStdString();
        EXPECT_EQ(q.value(QStringLiteral("MeetID")).toInt(), 1);
        EXPECT_EQ(q.value(QStringLiteral("Session")).toString(), QStringLiteral("1"));
        EXPECT_EQ(q.value(QStringLiteral("Changed")), QVariant(false));
        EXPECT_GT(q.value(QStringLiteral("DT")).toDateTime(), last);
        last = q.value(QStringLiteral("DT")).toDateTime();
        events << q.value(QStringLiteral("Event")).toInt();

        // Four judges: the E score drops the highest and lowest.
        std::vector<double> j;
        for (int i = 1; i <= 4; ++i)
            j.push_back(q.value(QStringLiteral("Judge%1").arg(i)).toDouble());
        std::sort(j.begin(), j.end());
        EXPECT_NEAR(q.value(QStringLiteral("BScore")).toDouble(), (j[1] + j[2]) / 2, 1e-4);
        EXPECT_EQ(q.value(QStringLiteral("Judge5")).toDouble(), -99.0);
        const double bonus = q.value(QStringLiteral("DBonus")).toDouble() + q.value(QStringLiteral("EBonus")).toDouble();
        EXPECT_GE(bonus, 0.0);
        EXPECT_NEAR(q.value(QStringLiteral("Score")).toDouble(),
                    q.value(QStringLiteral("Start")).toDouble() + q.value(QStringLiteral("BScore")).toDouble()
                        - q.value(QStringLiteral("Adjust")).toDouble() + bonus,
                    1e-4);

        // The gymnast carries the same score.
        QueryResult g = s->query(QStringLiteral("select * from Gymnasts where MeetID = 1 and Num = %1")
                                     .arg(q.value(QStringLiteral("Num")).toInt()));
        const QString final = QStringLiteral("E%1Final").arg(q.value(QStringLiteral("Event")).toInt());
        EXPECT_EQ(g.value(final).toDouble(), q.value(QStringLiteral("Score")).toDouble());
        EXPECT_EQ(g.value(QStringLiteral("AA")).toDouble(), q.value(QStringLiteral("Score")).toDouble());
    }
    // Rotation one of session 1: squads A to D on apparatus 1 to 4, squad E has a bye.
    EXPECT_EQ(events.mid(0, 8), (QList<int>{1, 2, 3, 4, 1, 2, 3, 4}));

    // The college meet has no bonus and two judges.
    r = runTool(target.args(QStringLiteral("feed"), {"--meet", "2", "--count", "2"}));
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    QueryResult c = s->query(QStringLiteral("select * from ScoreQueue where MeetID = 2"));
    ASSERT_EQ(c.recordCount(), 2);
    EXPECT_EQ(c.value(QStringLiteral("DBonus")).toDouble(), -99.0);
    EXPECT_EQ(c.value(QStringLiteral("EBonus")).toDouble(), -99.0);
    EXPECT_EQ(c.value(QStringLiteral("Judge3")).toDouble(), -99.0);
    EXPECT_NEAR(c.value(QStringLiteral("BScore")).toDouble(),
                (c.value(QStringLiteral("Judge1")).toDouble() + c.value(QStringLiteral("Judge2")).toDouble()) / 2, 1e-4);
}

TEST_P(DevstoreTool, FeedStopsCleanlyOnInterrupt)
{
    ASSERT_EQ(runTool(target.args(QStringLiteral("seed"))).status, 0);
    QProcess p;
    p.start(toolPath(), target.args(QStringLiteral("feed"), {"--every", "30", "--session", "2"}));
    ASSERT_TRUE(p.waitForStarted());
    auto s = target.open();
    ASSERT_TRUE(waitUntil([&] { return s->query(QStringLiteral("select count(*) from ScoreQueue")).value(0).toInt() == 1; },
                          std::chrono::seconds(30)));
    ::kill(pid_t(p.processId()), SIGINT);
    ASSERT_TRUE(p.waitForFinished(10000)) << "the feed did not stop";
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_TRUE(QString::fromLocal8Bit(p.readAllStandardOutput()).contains(QStringLiteral("stopped by signal")));
    EXPECT_EQ(s->query(QStringLiteral("select count(*) from ScoreQueue")).value(0).toInt(), 1);
    EXPECT_EQ(s->query(QStringLiteral("select Session from ScoreQueue")).value(0).toString(), QStringLiteral("2"));
}

KESTRA_BOTH_BACKENDS(DevstoreTool);

TEST(DevstoreToolUsage, ExplainsItselfAndRefusesBadCommandLines)
{
    if (!QFileInfo(toolPath()).isExecutable())
        GTEST_SKIP() << "kestra-devstore is not built";
    ToolRun help = runTool({QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    for (const char *text : {"create ADDRESS [--force]", "seed ADDRESS", "--every SECONDS", "--count N",
                             "Score = Start + BScore - Adjust + DBonus + EBonus", "highest and lowest", "SIGINT",
                             "Exit status"})
        EXPECT_TRUE(help.out.contains(QString::fromLatin1(text))) << text;

    for (const QStringList &args : {QStringList{}, QStringList{"drop", "/tmp/x"}, QStringList{"feed", "/tmp/x", "--count", "many"},
                                    QStringList{"create", "/tmp/x", "--every", "2"}}) {
        ToolRun r = runTool(args);
        EXPECT_EQ(r.status, 2) << args.join(' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("kestra-devstore: "))) << r.err.toStdString();
    }

    // Failures on a folder that holds no meet database until it is seeded.
    TempDir dir;
    const struct {
        QStringList args;
        int status;
        const char *error; // nullptr: anything
    } runs[] = {
        {{"feed", dir.path()}, 1, "Marlowen.sqlite"},
        {{"seed", dir.path()}, 0, nullptr},
        {{"feed", dir.path(), "--meet", "7"}, 1, "there is no meet 7"},
        {{"feed", dir.path(), "--session", "9"}, 4, nullptr},
        {{"seed", "127.0.0.1:1"}, 1, "cannot connect to the server"},
    };
    for (const auto &run : runs) {
        const ToolRun r = runTool(run.args);
        EXPECT_EQ(r.status, run.status) << run.args.join(' ').toStdString();
        if (run.error) {
            EXPECT_TRUE(r.err.contains(QString::fromLatin1(run.error))) << r.err.toStdString();
        }
    }
}
