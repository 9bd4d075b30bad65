// kestra-headless --locate against a real mDNS responder, and --version of
// both programs.
#include "integration/app/ChildProgram.h"

using namespace kestra;
using namespace kestra::test;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// The children read the D-Bus system bus from the environment they inherit.
struct SystemBus {
    explicit SystemBus(const QString &address) : m_old(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"))
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
    }
    ~SystemBus() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_old); }
    QByteArray m_old;
};

} // namespace

TEST(LocateServers, ListsWhatTheNetworkAnnouncesOneALine)
{
    MdnsResponder responder({{S("Main scoring"), S("scoring-a.local"), S("198.51.100.7"), 5432},
                             {S("Backup scoring"), S("scoring-b.local"), S("198.51.100.8"), 5433}});
    if (!responder.unavailable().isEmpty())
        GTEST_SKIP() << "no private mDNS responder here (" << responder.unavailable().toStdString()
                     << "); this test needs avahi-daemon, dbus-daemon and unshare as root";
    const SystemBus bus(responder.busAddress());
    ChildProgram locate("src/app/kestra-headless", {S("--locate")});
    EXPECT_EQ(locate.finish(), 0) << locate.errors().toStdString();
    QStringList lines = locate.output().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.removeAll(S("PostgreSQL@127.0.0.1")); // a server of this machine on 5432, if any
    lines.sort();
    EXPECT_EQ(lines, (QStringList{S("PostgreSQL@198.51.100.7"), S("PostgreSQL@198.51.100.8:5433")}));
}

TEST(LocateServers, WithoutTheAvahiDaemonSaysWhyAndEndsWith1)
{
    TempDir dir;
    const SystemBus bus(S("unix:path=") + dir.file(S("no-bus")));
    ChildProgram locate("src/app/kestra-headless", {S("--locate")});
    EXPECT_EQ(locate.finish(), 1);
    EXPECT_TRUE(locate.errors().startsWith(S("kestra-headless: the local network could not be searched: Avahi: ")))
        << locate.errors().toStdString();
}

TEST(ProgramVersion, BothProgramsTellTheBuildsVersionAndTheNotice)
{
    for (const char *program : {"kestra", "kestra-headless"}) {
        SCOPED_TRACE(program);
        ChildProgram child((S("src/app/") + S(program)).toUtf8().constData(), {S("--version")});
        EXPECT_EQ(child.finish(), 0);
        EXPECT_EQ(child.output(), S(program) + S(" ") + S(KESTRA_PROJECT_VERSION) +
                                      S("\nCopyright (c) 2026 Corvane.  All rights reserved.\n"));
    }
}
