#include "setup/SetupUnits.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>

#include <memory>

using namespace kestra;
using kestra::test::TempDir;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

class SetupUnitsTest : public testing::Test {
protected:
    TempDir dir;
    SettingsStore key = SettingsStore::kestraKey(dir.path());

    // The window as the main window opens it: from the working settings.
    SetupUnits &open(const KestraSettings &working)
    {
        setup = std::make_unique<SetupUnits>(working, key, [this] { ++portCloses; });
        setup->FormCreate();
        return *setup;
    }
    // A first run: the working settings read from an empty store.
    SetupUnits &openFromStore()
    {
        KestraSettings working;
        working.readAtCreate(key);
        working.readAtShow(key);
        return open(working);
    }
    LogicalControl &c(const char *name) { return (*setup)(S(name)); }
    std::string file() const
    {
        QFile f(key.filePath());
        return f.open(QIODevice::ReadOnly) ? f.readAll().toStdString() : std::string("<none>");
    }
    void putFile(const QByteArray &bytes)
    {
        QFile f(key.filePath());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }

    void countCloseRequests()
    {
        closeRequests = std::make_shared<int>(0);
        QObject::connect(setup.get(), &SetupUnits::closeRequested, [count = closeRequests] { ++*count; });
    }

    std::unique_ptr<SetupUnits> setup;
    int portCloses = 0;
    std::shared_ptr<int> closeRequests;
};

} // namespace

TEST_F(SetupUnitsTest, AFirstRunOpensOnTheDefaults)
{
    openFromStore();
    EXPECT_EQ(c("cboCOMPort").items(), (QStringList{S("COM1"), S("COM2"), S("COM3"), S("COM4"), S("UDP")}));
    EXPECT_EQ(c("cboCOMPort").currentIndex(), 1);
    EXPECT_EQ(c("cboCOMPort").text(), S("COM2"));
    EXPECT_EQ(c("rgrpAddr").items(), (QStringList{S("3F8"), S("2F8"), S("3E8"), S("2E8")}));
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 1) << "760 is 2F8";
    EXPECT_EQ(c("EditPort").text(), S("12345"));
    EXPECT_EQ(c("EditIP").text(), S("255.255.255.255"));
    EXPECT_EQ(c("EditRefreshMin").text(), S("60"));
    EXPECT_EQ(c("EditRefreshMax").text(), S("180"));
    EXPECT_EQ(c("EditCycleRate").text(), S("20"));
    EXPECT_TRUE(c("chkSingleNCAA").isChecked());
    EXPECT_EQ(c("rgrpTeam").currentIndex(), 0);
    EXPECT_EQ(c("rgrpNameFormat").currentIndex(), 0);
    EXPECT_EQ(c("rgrpNameFormat").items().at(0), S("First Last"));
    for (const char *edit : {"EditIPAddr", "EditDatabase", "EditUsername", "EditPassword"})
        EXPECT_EQ(c(edit).text(), QString()) << edit;
    // Not UDP: the base address counts, the UDP destination does not.
    EXPECT_TRUE(c("rgrpAddr").isEnabled());
    EXPECT_FALSE(c("EditPort").isEnabled());
    EXPECT_FALSE(c("EditIP").isEnabled());
    EXPECT_EQ(portCloses, 0);
}

TEST_F(SetupUnitsTest, ClosingAFirstRunWritesEveryValueInOrder)
{
    openFromStore();
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(file(), "[Options]\n"
                      "ComPort=COM2\n"
                      "UDPPort=12345\n"
                      "IPAddr=255.255.255.255\n"
                      "BaseAddr=760\n"
                      "Interval=60\n"
                      "IntervalMax=180\n"
                      "CycleRate=20\n"
                      "MySQLServer=\n"
                      "MySQLDatabase=\n"
                      "MySQLUser=\n"
                      "MySQLPass=\n"
                      "NameFormat=0\n"
                      "UseSingleNCAA=1\n"
                      "NCAATeam=0\n");
}

TEST_F(SetupUnitsTest, UdpDisablesTheBaseAddressButStillWritesIt)
{
    KestraSettings working;
    working.COMPort = S("UDP");
    working.BaseAddr = 1000;
    working.UDPPort = S("2000");
    working.IPAddr = S("192.168.10.255");
    open(working);
    EXPECT_EQ(c("cboCOMPort").currentIndex(), 4);
    EXPECT_FALSE(c("rgrpAddr").isEnabled());
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 2);
    EXPECT_TRUE(c("EditPort").isEnabled());
    EXPECT_TRUE(c("EditIP").isEnabled());
    ASSERT_TRUE(setup->FormClose());

    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.COMPort, S("UDP"));
    EXPECT_EQ(back.BaseAddr, 1000);
    EXPECT_EQ(back.UDPPort, S("2000"));
    EXPECT_EQ(back.IPAddr, S("192.168.10.255"));
}

TEST_F(SetupUnitsTest, AnInterfaceOutsideTheListSelectsNothingAndIsWrittenEmpty)
{
    putFile("[Options]\nComPort=COM9\n");
    openFromStore();
    EXPECT_EQ(c("cboCOMPort").currentIndex(), -1);
    EXPECT_EQ(c("cboCOMPort").text(), QString());
    EXPECT_TRUE(c("rgrpAddr").isEnabled());
    EXPECT_FALSE(c("EditPort").isEnabled());
    ASSERT_TRUE(setup->FormClose());
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.COMPort, QString()) << "the empty text, not the default";
    EXPECT_NE(file().find("ComPort=\n"), std::string::npos);
}

TEST_F(SetupUnitsTest, TheInterfaceIsFoundWhateverItsCase)
{
    KestraSettings working;
    working.COMPort = S("udp");
    open(working);
    EXPECT_EQ(c("cboCOMPort").text(), S("UDP"));
    EXPECT_FALSE(c("rgrpAddr").isEnabled());
}

TEST_F(SetupUnitsTest, ABaseAddressOutsideTheChoicesIsLeftAsStored)
{
    putFile("[Options]\nBaseAddr=768\nNameFormat=9\nNCAATeam=-1\n");
    openFromStore();
    EXPECT_EQ(c("rgrpAddr").currentIndex(), -1);
    EXPECT_EQ(c("rgrpNameFormat").currentIndex(), -1);
    EXPECT_EQ(c("rgrpTeam").currentIndex(), -1);
    ASSERT_TRUE(setup->FormClose());
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.BaseAddr, 768);
    EXPECT_EQ(back.NameFormat, 9);
    EXPECT_EQ(back.NCAATeam, -1);
    EXPECT_EQ(file(), "[Options]\n"
                      "BaseAddr=768\n"
                      "NameFormat=9\n"
                      "NCAATeam=-1\n"
                      "ComPort=COM2\n"
                      "UDPPort=12345\n"
                      "IPAddr=255.255.255.255\n"
                      "Interval=60\n"
                      "IntervalMax=180\n"
                      "CycleRate=20\n"
                      "MySQLServer=\n"
                      "MySQLDatabase=\n"
                      "MySQLUser=\n"
                      "MySQLPass=\n"
                      "UseSingleNCAA=1\n");
}

TEST_F(SetupUnitsTest, AChangeOfInterfacePairsTheBaseAddressAndClosesThePort)
{
    KestraSettings working;
    working.BaseAddr = 744;
    open(working);
    const struct {
        int select;
        int expectedAddr;
        bool udp;
    } steps[] = {
        {0, 0, false}, // COM1: 3F8
        {2, 2, false}, // COM3: 3E8
        {4, 2, true},  // UDP keeps 3E8
        {3, 3, false}, // COM4: 2E8
        {1, 1, false}, // COM2: 2F8
    };
    int closes = 0;
    for (const auto &step : steps) {
        c("cboCOMPort").operatorSelect(step.select);
        EXPECT_EQ(c("rgrpAddr").currentIndex(), step.expectedAddr) << step.select;
        EXPECT_EQ(c("rgrpAddr").isEnabled(), !step.udp) << step.select;
        EXPECT_EQ(c("EditPort").isEnabled(), step.udp) << step.select;
        EXPECT_EQ(c("EditIP").isEnabled(), step.udp) << step.select;
        EXPECT_EQ(portCloses, ++closes) << step.select;
    }
    c("rgrpAddr").operatorSelect(3);
    EXPECT_EQ(portCloses, ++closes);
    EXPECT_EQ(c("cboCOMPort").text(), S("COM2")) << "a base address does not change the interface";
    ASSERT_TRUE(setup->FormClose());
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.COMPort, S("COM2"));
    EXPECT_EQ(back.BaseAddr, 744);
}

TEST_F(SetupUnitsTest, APortChangeWithoutADeviceLayerIsHarmless)
{
    SetupUnits alone(KestraSettings{}, key, nullptr);
    alone.FormCreate();
    alone(S("cboCOMPort")).operatorSelect(0);
    alone(S("rgrpAddr")).operatorSelect(2);
    EXPECT_EQ(alone(S("rgrpAddr")).currentIndex(), 2);
}

TEST(SetupUnitsMasks, ThePortTakesZeroTo65535)
{
    using M = SetupUnits::MaskCheck;
    const struct {
        const char *text;
        M expected;
    } cases[] = {
        {"0", M::Acceptable},      {"7", M::Acceptable},      {"1234", M::Acceptable},
        {"09999", M::Invalid},     {"12345", M::Acceptable},  {"59999", M::Acceptable},
        {"64999", M::Acceptable},  {"65499", M::Acceptable},  {"65529", M::Acceptable},
        {"65535", M::Acceptable},  {"65536", M::Invalid},     {"65540", M::Invalid},
        {"70000", M::Invalid},     {"123456", M::Invalid},    {"", M::Intermediate},
        {"-1", M::Invalid},        {"12a", M::Invalid},       {" 80", M::Invalid},
    };
    for (const auto &c : cases)
        EXPECT_EQ(SetupUnits::checkPortText(S(c.text)), c.expected) << c.text;
}

TEST(SetupUnitsMasks, TheAddressTakesFourOctetsBlanksIgnored)
{
    using M = SetupUnits::MaskCheck;
    const struct {
        const char *text;
        M expected;
    } cases[] = {
        {"255.255.255.255", M::Acceptable},
        {"192.168.1.10", M::Acceptable},
        {"0.0.0.0", M::Acceptable},
        {"010.001.1.99", M::Acceptable},
        {"192.168. 1 .10", M::Acceptable},
        {" 10.0.0.1 ", M::Acceptable},
        {"192.168.1.", M::Intermediate},
        {"192", M::Intermediate},
        {"", M::Intermediate},
        {"256.1.1.1", M::Invalid},
        {"1.2.3.300", M::Invalid},
        {"1.2.3.4.5", M::Invalid},
        {"1..2.3", M::Invalid},
        {"a.b.c.d", M::Invalid},
        {"host.local", M::Invalid},
    };
    for (const auto &c : cases)
        EXPECT_EQ(SetupUnits::checkIPText(S(c.text)), c.expected) << c.text;
}

TEST_F(SetupUnitsTest, MaskedEditsRefuseWhatCannotFitAndRevertWhatIsUnfinished)
{
    KestraSettings working;
    working.COMPort = S("UDP");
    open(working);

    EXPECT_FALSE(setup->EditPortChange(S("12a")));
    EXPECT_EQ(c("EditPort").text(), S("12345"));
    EXPECT_TRUE(setup->EditPortChange(S("")));
    setup->EditPortExit();
    EXPECT_EQ(c("EditPort").text(), S("12345")) << "an empty port goes back to the last complete one";
    EXPECT_TRUE(setup->EditPortChange(S("2001")));
    setup->EditPortExit();
    EXPECT_EQ(c("EditPort").text(), S("2001"));

    EXPECT_FALSE(setup->EditIPChange(S("300.1.1.1")));
    EXPECT_TRUE(setup->EditIPChange(S("10. 0.0.2")));
    setup->EditIPExit();
    EXPECT_EQ(c("EditIP").text(), S("10.0.0.2")) << "blanks are dropped";
    EXPECT_TRUE(setup->EditIPChange(S("10.0.")));
    // Closing with an unfinished address writes the last complete one.
    ASSERT_TRUE(setup->FormClose());
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.UDPPort, S("2001"));
    EXPECT_EQ(back.IPAddr, S("10.0.0.2"));
}

TEST_F(SetupUnitsTest, SpinsHoldTheirRangesAndTheMinimumMayExceedTheMaximum)
{
    KestraSettings working;
    working.Interval = 150;
    working.IntervalMax = 0;
    working.CycleRate = 20;
    open(working);
    EXPECT_EQ(c("EditRefreshMin").text(), S("99"));
    EXPECT_EQ(c("EditRefreshMax").text(), S("1"));
    EXPECT_EQ(c("EditRefreshMax").property(S("maximum")).toInt(), 999);
    EXPECT_EQ(c("EditCycleRate").property(S("minimum")).toInt(), 1);

    c("EditRefreshMax").operatorSetText(S("1000"));
    EXPECT_EQ(c("EditRefreshMax").text(), S("999"));
    c("EditRefreshMax").operatorSetText(S("10"));
    c("EditCycleRate").operatorSetText(S("abc"));
    EXPECT_EQ(c("EditCycleRate").text(), S("20"));
    c("EditRefreshMin").operatorSetText(S("90"));
    ASSERT_TRUE(setup->FormClose());
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.Interval, 90);
    EXPECT_EQ(back.IntervalMax, 10);
    EXPECT_EQ(back.CycleRate, 20);
}

TEST_F(SetupUnitsTest, EveryControlReachesItsValueAndTheMainWindowReadsItBack)
{
    openFromStore();
    c("cboCOMPort").operatorSelect(4);
    setup->EditPortChange(S("5000"));
    setup->EditIPChange(S("10.9.8.7"));
    c("EditRefreshMin").operatorSetText(S("30"));
    c("EditRefreshMax").operatorSetText(S("90"));
    c("EditCycleRate").operatorSetText(S("15"));
    c("chkSingleNCAA").operatorSetChecked(false);
    c("rgrpTeam").operatorSelect(2);
    c("rgrpNameFormat").operatorSelect(1);
    c("EditIPAddr").operatorSetText(S("127.0.0.1"));
    c("EditDatabase").operatorSetText(S("graphics"));
    c("EditUsername").operatorSetText(S("xpression"));
    c("EditPassword").operatorSetText(S(" s3cret;=\" "));
    ASSERT_TRUE(setup->FormClose());

    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.COMPort, S("UDP"));
    EXPECT_EQ(back.BaseAddr, 760);
    EXPECT_EQ(back.UDPPort, S("5000"));
    EXPECT_EQ(back.IPAddr, S("10.9.8.7"));
    EXPECT_EQ(back.Interval, 30);
    EXPECT_EQ(back.IntervalMax, 90);
    EXPECT_EQ(back.CycleRate, 15);
    EXPECT_FALSE(back.UseSingleNCAA);
    EXPECT_EQ(back.NCAATeam, 2);
    EXPECT_EQ(back.NameFormat, 1);
    EXPECT_EQ(back.MySQLServer, S("127.0.0.1"));
    EXPECT_EQ(back.MySQLDatabase, S("graphics"));
    EXPECT_EQ(back.MySQLUser, S("xpression"));
    EXPECT_EQ(back.MySQLPass, S(" s3cret;=\" "));
}

TEST_F(SetupUnitsTest, OnlyTheFirstCloseWritesAndTheCloseButtonAsksForIt)
{
    openFromStore();
    countCloseRequests();
    c("btnClose").click();
    EXPECT_EQ(*closeRequests, 1);
    EXPECT_EQ(file(), "<none>") << "the button asks; the window's close writes";

    ASSERT_TRUE(setup->FormClose());
    EXPECT_TRUE(setup->isClosed());
    putFile("[Options]\nComPort=COM4\n");
    c("cboCOMPort").operatorSelect(0);
    EXPECT_TRUE(setup->FormClose());
    EXPECT_EQ(file(), "[Options]\nComPort=COM4\n");
}

TEST_F(SetupUnitsTest, TheHeadingButtonsDoNothing)
{
    openFromStore();
    EXPECT_EQ(c("sbtnHelp").property(S("hint")).toString(), S("Help"));
    EXPECT_EQ(c("sbtnClose").property(S("hint")).toString(), S("Close Window"));
    countCloseRequests();
    c("sbtnHelp").click();
    c("sbtnClose").click();
    EXPECT_EQ(*closeRequests, 0);
    EXPECT_EQ(portCloses, 0);
    EXPECT_EQ(c("btnClose").text(), S("&Close"));
    EXPECT_EQ(c("EditPassword").property(S("passwordChar")).toString(), S("*"));
}

TEST_F(SetupUnitsTest, AFailedWriteIsReportedAndTheWindowStillCloses)
{
    QFile blocker(dir.file(S("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    key = SettingsStore::kestraKey(dir.file(S("blocker/Corvane")));
    openFromStore();
    EXPECT_FALSE(setup->FormClose());
    EXPECT_TRUE(setup->isClosed());
}
