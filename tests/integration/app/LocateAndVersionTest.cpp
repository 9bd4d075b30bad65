// kestra-headless --locate against a real mDNS responder, and the short
// answers of both programs.
#include "integration/app/ChildProgram.h"

#include <QScopeGuard>

using namespace kestra;
using namespace kestra::test;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// The children reach the Avahi daemon on the D-Bus system bus they inherit.
auto useSystemBus(const QString &address)
{
    auto restore = qScopeGuard([old = qgetenv("DBUS_SYSTEM_BUS_ADDRESS")] { qputenv("DBUS_SYSTEM_BUS_ADDRESS", old); });
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
    return restore;
}

} // namespace

TEST(LocateServers, ListsWhatTheNetworkAnnouncesOneALine)
{
    // A private responder announces two scoring servers (NAME=HOST=ADDRESS=PORT).
    TempDir dir;
    const QString script = sourceDir() + S("/tests/servers/mdns.sh");
    QProcess responder;
    responder.start(script, {S("start"), dir.path(), S("Main scoring=scoring-a.local=198.51.100.7=5432"),
                             S("Backup scoring=scoring-b.local=198.51.100.8=5433")});
    ASSERT_TRUE(responder.waitForFinished(60000));
    if (responder.exitCode() == 77)
        GTEST_SKIP() << "no private mDNS responder here (" << responder.readAllStandardError().trimmed().toStdString()
                     << "); this test needs avahi-daemon, dbus-daemon and unshare as root";
    ASSERT_EQ(responder.exitCode(), 0) << responder.readAllStandardError().toStdString();
    const auto stop = qScopeGuard([&] { QProcess::execute(script, {S("stop"), dir.path()}); });
    const auto bus = useSystemBus(QString::fromUtf8(responder.readAllStandardOutput().trimmed()));
    ChildProgram locate("src/app/kestra-headless", {S("--locate")});
    EXPECT_EQ(locate.finish(), 0) << locate.errors().toStdString();
    QStringList lines = locate.output().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.removeAll(S("PostgreSQL@127.0.0.1")); // a server of this machine on 5432, if any
    lines.sort();
    EXPECT_EQ(lines, (QStringList{S("PostgreSQL@198.51.100.7"), S("PostgreSQL@198.51.100.8:5433")}));
}

TEST(LocateServers, ShortAnswersVersionAndNoAvahi)
{
    TempDir dir;
    const auto bus = useSystemBus(S("unix:path=") + dir.file(S("no-bus")));
    const QString notice = S("\nCopyright (c) 2026 Corvane.  All rights reserved.\n");
    const struct {
        const char *program, *argument;
        int status;
        QString output, errors;
    } runs[] = {
        {"kestra", "--version", 0, S("kestra " KESTRA_PROJECT_VERSION) + notice, {}},
        {"kestra-headless", "--version", 0, S("kestra-headless " KESTRA_PROJECT_VERSION) + notice, {}},
        {"kestra-headless", "--locate", 1, {},
         S("kestra-headless: the local network could not be searched: Avahi: Daemon not running\n")},
    };
    for (const auto &run : runs) {
        SCOPED_TRACE(std::string(run.program) + " " + run.argument);
        ChildProgram child((S("src/app/") + S(run.program)).toUtf8().constData(), {S(run.argument)});
        EXPECT_EQ(child.finish(), run.status);
        if (!run.output.isEmpty()) { // --locate may find a server of this machine
            EXPECT_EQ(child.output(), run.output);
        }
        EXPECT_EQ(child.errors(), run.errors);
    }
}
