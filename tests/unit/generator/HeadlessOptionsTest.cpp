#include "generator/HeadlessOptions.h"

#include "setup/SettingsDocument.h"
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>

#include <functional>

using namespace kestra;

namespace {

QStringList args(std::initializer_list<const char *> list)
{
    QStringList out;
    for (const char *a : list)
        out.append(QString::fromUtf8(a));
    return out;
}

const std::array<bool, 6> allEvents{true, true, true, true, true, true};

TEST(HeadlessOptionsTest, goodLinesGiveTheirOptions)
{
    const struct {
        const char *what;
        QStringList arguments;
        std::function<void(const HeadlessOptions &)> check;
    } lines[] = {
        {"nothing at all: the stored server, every default", {},
         [](const HeadlessOptions &o) {
             EXPECT_TRUE(o.storeAddress.isEmpty() && o.serverName.isEmpty() && o.overrides.empty());
             EXPECT_FALSE(o.meetId || o.columns[0].eventGroup || o.dual || o.ncaa || o.rotation || o.target || o.help);
             EXPECT_EQ(o.columns[0].events, allEvents);
             EXPECT_FALSE(o.columns[0].eventsGiven);
         }},
        {"the demo's line",
         args({"--store", "/tmp/meet", "--meet", "1", "--group", "2", "--sessions", "1,2", "--events",
               "1,3,4", "--target", "daktronics", "--set", "Options/COMPort=UDP", "--set",
               "Options/UDPPort=40001", "--set", "Options/IPAddr=127.0.0.1", "--set",
               "Options/Interval=0"}),
         [](const HeadlessOptions &o) {
             EXPECT_EQ(o.storeAddress, QStringLiteral("/tmp/meet"));
             EXPECT_EQ(o.meetId, 1);
             EXPECT_EQ(o.columns[0].eventGroup, 2);
             EXPECT_EQ(o.columns[0].sessions, QStringList({"1", "2"}));
             EXPECT_EQ(o.columns[0].events, (std::array<bool, 6>{true, false, true, true, false, false}));
             EXPECT_TRUE(o.columns[0].eventsGiven);
             EXPECT_EQ(o.target, OutputTarget::Daktronics);
             ASSERT_EQ(o.overrides.size(), 4u);
             EXPECT_EQ(o.overrides[0], (SettingOverride{"Options", "COMPort", "UDP"}));
             EXPECT_EQ(o.overrides[3], (SettingOverride{"Options", "Interval", "0"}));
         }},
        {"values after an equals sign",
         args({"--server=Gym Hall", "--meet=7", "--events=6", "--rotation=3", "--target=White-Way"}),
         [](const HeadlessOptions &o) {
             EXPECT_EQ(o.serverName, QStringLiteral("Gym Hall"));
             EXPECT_EQ(o.meetId, 7);
             EXPECT_EQ(o.columns[0].events, (std::array<bool, 6>{false, false, false, false, false, true}));
             EXPECT_EQ(o.rotation, 3);
             EXPECT_EQ(o.target, OutputTarget::WhiteWay);
         }},
        {"dual columns with their own picks",
         args({"--dual", "--ncaa", "--sessions", " 1 ,1A", "--group2", "4", "--sessions2", "2,3,4,5",
               "--events2", "2,1"}),
         [](const HeadlessOptions &o) {
             EXPECT_TRUE(o.dual);
             EXPECT_TRUE(o.ncaa);
             EXPECT_EQ(o.columns[0].sessions, QStringList({"1", "1A"}));
             EXPECT_EQ(o.columns[1].eventGroup, 4);
             EXPECT_EQ(o.columns[1].sessions, QStringList({"2", "3", "4", "5"}));
             EXPECT_EQ(o.columns[1].events, (std::array<bool, 6>{true, true, false, false, false, false}));
             EXPECT_EQ(o.columns[0].events, allEvents);
         }},
        {"a later --set of the same value wins; values are put in the stored form",
         args({"--set", "Options/Interval=5", "--set", "options/interval= 9", "--set",
               "Options/MySQLPass=a=b", "--set", "Options/OutputFileName=", "--set", "Options/UseBarco=yes",
               "--set", "Options/STXETX=off", "--set", "Options/ComPort=udp", "--set",
               "Options/COMPort=/dev/ttyUSB0", "--set", "Options/IPAddr=255.255.255.255"}),
         [](const HeadlessOptions &o) {
             ASSERT_EQ(o.overrides.size(), 7u);
             EXPECT_EQ(o.overrides[0], (SettingOverride{"options", "interval", "9"}));
             EXPECT_EQ(o.overrides[1], (SettingOverride{"Options", "MySQLPass", "a=b"}));
             EXPECT_EQ(o.overrides[2], (SettingOverride{"Options", "OutputFileName", ""}));
             EXPECT_EQ(o.overrides[3], (SettingOverride{"Options", "UseBarco", "1"}));
             EXPECT_EQ(o.overrides[4], (SettingOverride{"Options", "STXETX", "0"}));
             EXPECT_EQ(o.overrides[5], (SettingOverride{"Options", "COMPort", "/dev/ttyUSB0"}));
             EXPECT_EQ(o.overrides[6], (SettingOverride{"Options", "IPAddr", "255.255.255.255"}));
         }},
        {"--help wins over anything else on the line", args({"--bogus", "--help", "--meet", "x"}),
         [](const HeadlessOptions &o) { EXPECT_TRUE(o.help); }},
    };
    for (const auto &line : lines) {
        SCOPED_TRACE(line.what);
        const auto result = HeadlessOptions::parse(line.arguments);
        ASSERT_TRUE(std::holds_alternative<HeadlessOptions>(result)) << std::get<QString>(result).toStdString();
        line.check(std::get<HeadlessOptions>(result));
    }
}

TEST(HeadlessOptionsTest, badLinesAreRefusedWithTheirMessage)
{
    const struct {
        QStringList arguments;
        const char *message;
    } lines[] = {
        {args({"--colour", "red"}), "unknown option \"--colour\" (see --help)"},
        {args({"meet.sqlite"}), "unexpected argument \"meet.sqlite\" (see --help)"},
        {args({"--"}), "unexpected argument \"--\" (see --help)"},
        {args({"--meet"}), "--meet needs a value"},
        {args({"--meet", "--dual"}), "--meet needs a value"},
        {args({"--store="}), "--store needs a value"},
        {args({"--meet", "0"}), "--meet: \"0\" is not a whole number above 0"},
        {args({"--rotation", "1.5"}), "--rotation: \"1.5\" is not a whole number above 0"},
        {args({"--meet", "1", "--meet", "2"}), "--meet is given twice"},
        {args({"--dual=yes"}), "--dual takes no value"},
        {args({"--test-pattern", "--dual"}), "--test-pattern needs --sample or --sample-only"},
        {args({"--store", "/x", "--server", "Hall"}), "give --store or --server, not both"},
        {args({"--sessions", "1,2,3,4,5"}), "--sessions: at most four sessions, got 5"},
        {args({"--sessions", "1,,2"}), "--sessions: an empty session in \"1,,2\""},
        {args({"--sessions", "ABCD"}), "--sessions: session \"ABCD\" is longer than 3 characters"},
        {args({"--sessions", "1,1"}), "--sessions: session \"1\" is given twice"},
        {args({"--events", "1,7"}), "--events: \"7\" is not an event number from 1 to 6"},
        {args({"--events", "1,,2"}), "--events: \"\" is not an event number from 1 to 6"},
        {args({"--events", "3,3"}), "--events: event 3 is given twice"},
        {args({"--target", "jumbo"}),
         "--target: \"jumbo\" is not one of daktronics, barco, whiteway, file, xml, xpression"},
        {args({"--set", "Interval=0"}), "--set: \"Interval=0\" is not Section/Name=Value"},
        {args({"--set", "Options/=0"}), "--set: \"Options/=0\" is not Section/Name=Value"},
        {args({"--set", "Options/ Interval=0"}), "--set: \" Interval\" is not a value name"},
        {args({"--set", "Servers/Server1/Name=A"}),
         "--set: only section Options holds Kestra's settings, not \"Servers\\Server1\""},
        {args({"--set", "Options/Intervall=0"}), "--set: \"Options/Intervall\" is not a setting of Kestra"},
        {args({"--set", "Options/Interval=abc"}), "--set: Options/Interval=abc: a whole number from 0 to 99"},
        {args({"--set", "Options/CycleRate=0"}), "--set: Options/CycleRate=0: a whole number from 1 to 99"},
        {args({"--set", "Options/NameFormat=4"}), "--set: Options/NameFormat=4: a whole number from 0 to 3"},
        {args({"--set", "Options/UDPPort=70000"}),
         "--set: Options/UDPPort=70000: a whole number from 0 to 65535"},
        {args({"--set", "Options/IPAddr=1.2.3.256"}),
         "--set: Options/IPAddr=1.2.3.256: an IPv4 address such as 127.0.0.1, or a host name"},
        {args({"--set", "Options/IPAddr=board one"}),
         "--set: Options/IPAddr=board one: an IPv4 address such as 127.0.0.1, or a host name"},
        {args({"--set", "Options/UseBarco=maybe"}), "--set: Options/UseBarco=maybe: 1 or 0"},
        {args({"--set", "Options/COMPort=COM9"}),
         "--set: Options/COMPort=COM9: COM1 to COM4, UDP, or the path of a serial device such as "
         "/dev/ttyUSB0"},
        {args({"--locate", "--set", "Options/Interval=5"}), "--locate takes no other option"},
        {args({"--sessions2", "1"}), "--group2, --sessions2 and --events2 need --dual"},
    };
    for (const auto &line : lines) {
        const auto result = HeadlessOptions::parse(line.arguments);
        ASSERT_TRUE(std::holds_alternative<QString>(result)) << line.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_EQ(std::get<QString>(result).toStdString(), line.message);
    }
}

TEST(HeadlessOptionsTest, usageNamesEveryOption)
{
    const QString usage = HeadlessOptions::usage();
    for (const char *option : {"--store", "--server", "--meet", "--group", "--sessions", "--events", "--target",
                               "--set", "--group2", "--sessions2", "--events2", "--dual", "--ncaa", "--rotation",
                               "--locate", "--version", "--help"})
        EXPECT_TRUE(usage.contains(QString::fromLatin1(option))) << option;
}

TEST(HeadlessOptionsTest, overlayKeyCopiesTheKeyWithTheOverridesAndLeavesTheOriginalOrFails)
{
    kestra::test::TempDir real;
    kestra::test::TempDir run;
    SettingsStore key = SettingsStore::kestraKey(real.path());
    ASSERT_TRUE(key.WriteString(QStringLiteral("Options"), QStringLiteral("ComPort"), QStringLiteral("COM1")));
    ASSERT_TRUE(key.WriteInteger(QStringLiteral("Options"), QStringLiteral("Interval"), 60));
    ASSERT_TRUE(key.WriteBool(QStringLiteral("Options"), QStringLiteral("UseBarco"), true));
    QFile file(key.filePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();

    const auto parsed = HeadlessOptions::parse(
        args({"--set", "Options/COMPort=UDP", "--set", "Options/Interval=0", "--set", "Options/IPAddr=127.0.0.1"}));
    const auto &options = std::get<HeadlessOptions>(parsed);
    const auto copy = overlayKey(key, run.path(), options.overrides);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->filePath().endsWith(QStringLiteral("/Kestra.ini")));
    EXPECT_TRUE(copy->filePath().startsWith(run.path()));
    // Overridden, spelled as the key first wrote them, and untouched values.
    EXPECT_EQ(copy->ReadString("Options", "ComPort", ""), QStringLiteral("UDP"));
    EXPECT_EQ(copy->ReadInteger("Options", "Interval", -1), 0);
    EXPECT_EQ(copy->ReadString("Options", "IPAddr", ""), QStringLiteral("127.0.0.1"));
    EXPECT_TRUE(copy->ReadBool("Options", "UseBarco", false));
    // The real key is byte for byte as it was.
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
    // Where no folder can be made there is no copy.
    EXPECT_FALSE(overlayKey(key, key.filePath() + QStringLiteral("/below"), options.overrides));
}

} // namespace
