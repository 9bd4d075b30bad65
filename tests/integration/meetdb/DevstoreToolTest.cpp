// kestra-devstore as the demo runs it: each command's summary line and exit
// status, and a feed that stops on a signal. What the seed and the feed write
// is read back by the tests that use them in-process.
#include "StoreFixture.h"

#include <QFileInfo>
#include <QProcess>

#include <csignal>

using namespace kestra;
using namespace kestra::test;

namespace {

QString toolPath()
{
    return buildDir() + QStringLiteral("/tools/kestra-devstore");
}

int queued(const QString &folder)
{
    auto store = MeetStore::forAddress(folder);
    store->connect();
    store->openDatabase();
    return store->query(S("select count(*) from ScoreQueue")).value(0).toInt();
}

} // namespace

TEST(DevstoreTool, EachCommandTellsWhatItDidAndEndsWithItsStatus)
{
    if (!QFileInfo(toolPath()).isExecutable())
        GTEST_SKIP() << "kestra-devstore is not built";
    TempDir dir;
    const QString folder = dir.file(S("new/meet"));
    const struct {
        QStringList args;
        int status;
        const char *out, *err; // a part of the one line written, or nothing
    } runs[] = {
        {{"feed", dir.path()}, 1, "", "kestra-devstore: "},
        {{"create", folder}, 0, "Created 38 tables", ""},
        {{"create", folder}, 3, "", "already holds tables"},
        {{"create", folder, "--force"}, 0, "version 5.10.5.0", ""},
        {{"seed", folder}, 0, "3 meets, 16 gyms, 332 gymnasts, 5 sessions, 5 rotations", ""},
        {{"seed", folder}, 3, "", "already holds meets"},
        {{"feed", folder, "--count", "2"}, 0, "2 scores published", ""},
        {{"feed", folder, "--meet", "7"}, 1, "", "there is no meet 7"},
        {{"feed", folder, "--session", "9"}, 4, "", "has no gymnast left"},
        {{"feed", folder, "--count", "many"}, 2, "", "--count wants a number"},
        {{"drop", folder}, 2, "", "unknown command drop"},
        {{"seed", "127.0.0.1:1"}, 1, "", "cannot connect to the server"},
        {{"--help"}, 0, "Score = Start + BScore - Adjust + DBonus + EBonus", ""},
    };
    for (const auto &run : runs) {
        SCOPED_TRACE(run.args.join(QLatin1Char(' ')).toStdString());
        QProcess p;
        p.start(toolPath(), run.args);
        ASSERT_TRUE(p.waitForFinished(120000));
        const QString out = QString::fromLocal8Bit(p.readAllStandardOutput());
        const QString err = QString::fromLocal8Bit(p.readAllStandardError());
        EXPECT_EQ(p.exitCode(), run.status) << err.toStdString();
        EXPECT_TRUE(out.contains(S(run.out))) << out.toStdString();
        EXPECT_TRUE(err.startsWith(S("kestra-devstore: ")) == (run.status != 0)) << err.toStdString();
        EXPECT_TRUE(err.contains(S(run.err)) && err.count(QLatin1Char('\n')) <= 1) << err.toStdString();
    }
    EXPECT_EQ(queued(folder), 2);

    // Ctrl-C ends a slow feed between two scores, as the demo stops it.
    QProcess p;
    p.start(toolPath(), {S("feed"), folder, S("--every"), S("30")});
    ASSERT_TRUE(waitUntil([&] { return queued(folder) == 3; }, std::chrono::seconds(30)));
    ::kill(pid_t(p.processId()), SIGINT);
    ASSERT_TRUE(p.waitForFinished(10000)) << "the feed did not stop";
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_TRUE(QString::fromLocal8Bit(p.readAllStandardOutput()).contains(S("1 score published")));
    EXPECT_EQ(queued(folder), 3);
}
