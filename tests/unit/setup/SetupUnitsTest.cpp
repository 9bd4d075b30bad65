#include "setup/SetupUnits.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

#include <QFile>

#include <memory>
#include <tuple>

using namespace kestra;
using namespace kestra::test;

namespace {

class SetupUnitsTest : public testing::Test {
protected:
    TempDir dir;
    SettingsStore key = SettingsStore::kestraKey(dir.path());
    std::unique_ptr<SetupUnits> setup;
    int portCloses = 0;

    // Opens as the main window does: from its working settings, which are
    // read from the store unless given.
    SetupUnits &open(const QByteArray &stored = QByteArray())
    {
        if (!stored.isEmpty())
            put(key.filePath(), stored);
        KestraSettings working;
        working.readAtCreate(key);
        working.readAtShow(key);
        setup = std::make_unique<SetupUnits>(working, key, [this] { ++portCloses; });
        setup->FormCreate();
        return *setup;
    }
    LogicalControl &c(const char *name) { return (*setup)(S(name)); }
    std::string file() const { return contents(key.filePath()); }
    KestraSettings readBack() const
    {
        KestraSettings back;
        back.readAfterSetup(key);
        return back;
    }
};

} // namespace

TEST_F(SetupUnitsTest, AFirstRunOpensOnTheDefaultsAndClosingWritesThemInOrder)
{
    open();
    EXPECT_EQ(c("cboCOMPort").text(), S("COM2"));
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 1) << "760 is 2F8";
    EXPECT_EQ(c("EditRefreshMin").text() + c("EditRefreshMax").text() + c("EditCycleRate").text(), S("6018020"));
    EXPECT_TRUE(c("chkSingleNCAA").isChecked());
    EXPECT_TRUE(c("rgrpAddr").isEnabled());
    EXPECT_FALSE(c("EditPort").isEnabled() || c("EditIP").isEnabled());

    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(file(), "[Options]\nComPort=COM2\nUDPPort=12345\nIPAddr=255.255.255.255\nBaseAddr=760\n"
                      "Interval=60\nIntervalMax=180\nCycleRate=20\nMySQLServer=\nMySQLDatabase=\nMySQLUser=\n"
                      "MySQLPass=\nNameFormat=0\nUseSingleNCAA=1\nNCAATeam=0\n");
    EXPECT_EQ(portCloses, 0);
}

TEST_F(SetupUnitsTest, UdpDisablesTheBaseAddressButStillWritesIt)
{
    open("[Options]\nComPort=udp\nBaseAddr=1000\nIPAddr=192.168.10.255\n");
    EXPECT_EQ(c("cboCOMPort").text(), S("UDP")) << "the list is upper case";
    EXPECT_FALSE(c("rgrpAddr").isEnabled());
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 2);
    EXPECT_TRUE(c("EditPort").isEnabled() && c("EditIP").isEnabled());
    ASSERT_TRUE(setup->FormClose());
    const KestraSettings back = readBack();
    EXPECT_EQ(std::tuple(back.COMPort, back.BaseAddr, back.IPAddr), std::tuple(S("UDP"), 1000, S("192.168.10.255")));
}

TEST_F(SetupUnitsTest, AnInterfaceOutsideTheListSelectsNothingAndIsWrittenEmpty)
{
    open("[Options]\nComPort=COM9\n");
    EXPECT_EQ(c("cboCOMPort").currentIndex(), -1);
    EXPECT_TRUE(c("rgrpAddr").isEnabled());
    EXPECT_FALSE(c("EditPort").isEnabled());
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(readBack().COMPort, QString()) << "the empty text, not the default";
}

TEST_F(SetupUnitsTest, ChoicesOutsideTheRadioGroupsGoBackAsReadButTheBaseAddressIsLeftAlone)
{
    // Leading zeros show which values are written again and which are not.
    open("[Options]\nBaseAddr=0768\nNameFormat=09\nNCAATeam=-1\n");
    EXPECT_EQ(c("rgrpAddr").currentIndex(), -1);
    EXPECT_EQ(c("rgrpNameFormat").currentIndex(), -1);
    EXPECT_EQ(c("rgrpTeam").currentIndex(), -1);
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(file(), "[Options]\nBaseAddr=0768\nNameFormat=9\nNCAATeam=-1\nComPort=COM2\nUDPPort=12345\n"
                      "IPAddr=255.255.255.255\nInterval=60\nIntervalMax=180\nCycleRate=20\nMySQLServer=\n"
                      "MySQLDatabase=\nMySQLUser=\nMySQLPass=\nUseSingleNCAA=1\n");
}

TEST_F(SetupUnitsTest, TheMachinesSerialDevicesAreOfferedAndAStoredDevicePathIsKept)
{
    put(key.filePath(), "[Options]\nComPort=/dev/ttyUSB3\nBaseAddr=760\n");
    KestraSettings working;
    working.readAtShow(key);
    setup = std::make_unique<SetupUnits>(working, key, [this] { ++portCloses; });
    setup->setSerialDevices({S("/dev/ttyACM0"), S("/dev/ttyUSB0")});
    setup->FormCreate();
    EXPECT_EQ(c("cboCOMPort").items(), (QStringList{S("COM1"), S("COM2"), S("COM3"), S("COM4"), S("UDP"),
                                                    S("/dev/ttyACM0"), S("/dev/ttyUSB0"), S("/dev/ttyUSB3")}))
        << "the unplugged adapter stays on offer";
    EXPECT_EQ(c("cboCOMPort").text(), S("/dev/ttyUSB3"));
    EXPECT_TRUE(c("rgrpAddr").isEnabled());
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 1);
    c("cboCOMPort").operatorSelect(5);
    EXPECT_EQ(c("rgrpAddr").currentIndex(), 1) << "a device keeps the base address";
    EXPECT_EQ(portCloses, 1);
    c("cboCOMPort").operatorSelect(7);
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(readBack().COMPort, S("/dev/ttyUSB3"));
}

TEST_F(SetupUnitsTest, AChangeOfInterfacePairsTheBaseAddressAndClosesThePort)
{
    open("[Options]\nBaseAddr=744\n");
    const struct {
        int select, expectedAddr;
    } steps[] = {{0, 0}, {2, 2}, {4, 2}, {3, 3}, {1, 1}}; // COM1 3F8, COM3 3E8, UDP keeps, COM4 2E8, COM2 2F8
    int closes = 0;
    for (const auto &step : steps) {
        c("cboCOMPort").operatorSelect(step.select);
        EXPECT_EQ(c("rgrpAddr").currentIndex(), step.expectedAddr) << step.select;
        EXPECT_EQ(c("rgrpAddr").isEnabled(), step.select != 4) << step.select;
        EXPECT_EQ(c("EditIP").isEnabled(), step.select == 4) << step.select;
        EXPECT_EQ(portCloses, ++closes) << step.select;
    }
    c("rgrpAddr").operatorSelect(3);
    EXPECT_EQ(portCloses, ++closes);
    EXPECT_EQ(c("cboCOMPort").text(), S("COM2")) << "a base address leaves the interface";

    SetupUnits alone(KestraSettings{}, key, nullptr); // no device layer: harmless
    alone.FormCreate();
    alone(S("cboCOMPort")).operatorSelect(0);
    EXPECT_EQ(alone(S("rgrpAddr")).currentIndex(), 0);
}

TEST(SetupUnitsMasks, ThePortTakes0To65535AndTheAddressFourOctetsBlanksIgnored)
{
    using M = SetupUnits::MaskCheck;
    const struct {
        const char *text;
        M expected;
    } ports[] = {
        {"0", M::Acceptable},  {"64999", M::Acceptable}, {"65529", M::Acceptable}, {"65535", M::Acceptable},
        {"65536", M::Invalid}, {"65540", M::Invalid},    {"09999", M::Invalid},    {"123456", M::Invalid},
        {"", M::Intermediate}, {"-1", M::Invalid},       {" 80", M::Invalid},
    };
    for (const auto &p : ports)
        EXPECT_EQ(SetupUnits::checkPortText(S(p.text)), p.expected) << p.text;
    const struct {
        const char *text;
        M expected;
    } addresses[] = {
        {"255.255.255.255", M::Acceptable}, {"010.001.1.99", M::Acceptable}, {"192.168. 1 .10", M::Acceptable},
        {"192.168.1.", M::Intermediate},    {"", M::Intermediate},          {"256.1.1.1", M::Invalid},
        {"1.2.3.300", M::Invalid},          {"1.2.3.4.5", M::Invalid},      {"1..2.3", M::Invalid},
        {"host.local", M::Invalid},
    };
    for (const auto &a : addresses)
        EXPECT_EQ(SetupUnits::checkIPText(S(a.text)), a.expected) << a.text;
}

TEST_F(SetupUnitsTest, MaskedEditsRefuseWhatCannotFitAndRevertWhatIsUnfinished)
{
    open("[Options]\nComPort=UDP\n");
    EXPECT_FALSE(setup->EditPortChange(S("12a")));
    EXPECT_EQ(c("EditPort").text(), S("12345"));
    EXPECT_TRUE(setup->EditPortChange(S("")));
    setup->EditPortExit();
    EXPECT_EQ(c("EditPort").text(), S("12345")) << "an empty port goes back to the last complete one";
    EXPECT_TRUE(setup->EditPortChange(S("2001")));
    setup->EditPortExit();

    EXPECT_FALSE(setup->EditIPChange(S("300.1.1.1")));
    EXPECT_TRUE(setup->EditIPChange(S("10. 0.0.2")));
    setup->EditIPExit();
    EXPECT_EQ(c("EditIP").text(), S("10.0.0.2")) << "blanks are dropped";
    EXPECT_TRUE(setup->EditIPChange(S("10.0.")));
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(readBack().UDPPort, S("2001"));
    EXPECT_EQ(readBack().IPAddr, S("10.0.0.2")) << "closing with an unfinished address keeps the last complete one";
}

TEST_F(SetupUnitsTest, SpinsHoldTheirRangesAndTheMinimumMayExceedTheMaximum)
{
    open("[Options]\nInterval=150\nIntervalMax=0\n");
    EXPECT_EQ(c("EditRefreshMin").text(), S("99"));
    EXPECT_EQ(c("EditRefreshMax").text(), S("1"));
    c("EditRefreshMax").operatorSetText(S("1000"));
    EXPECT_EQ(c("EditRefreshMax").text(), S("999"));
    c("EditRefreshMax").operatorSetText(S("10"));
    c("EditCycleRate").operatorSetText(S("abc"));
    EXPECT_EQ(c("EditCycleRate").text(), S("20"));
    c("EditRefreshMin").operatorSetText(S("90"));
    ASSERT_TRUE(setup->FormClose());
    const KestraSettings back = readBack();
    EXPECT_EQ(std::tuple(back.Interval, back.IntervalMax, back.CycleRate), std::tuple(90, 10, 20));
}

TEST_F(SetupUnitsTest, OnlyTheFirstCloseWritesAndAFailedWriteIsReported)
{
    open();
    int closeRequests = 0;
    QObject::connect(setup.get(), &SetupUnits::closeRequested, [&] { ++closeRequests; });
    c("sbtnHelp").click();
    c("sbtnClose").click();
    EXPECT_EQ(closeRequests, 0) << "the heading's buttons do nothing";
    c("btnClose").click();
    EXPECT_EQ(closeRequests, 1);
    EXPECT_EQ(file(), "<none>") << "the button asks; the window's close writes";

    c("EditPassword").operatorSetText(S(" s3cret;=\" "));
    ASSERT_TRUE(setup->FormClose());
    EXPECT_EQ(readBack().MySQLPass, S(" s3cret;=\" "));
    ASSERT_TRUE(key.WriteString(S("Options"), S("ComPort"), S("COM4")));
    c("cboCOMPort").operatorSelect(0);
    EXPECT_TRUE(setup->FormClose());
    EXPECT_EQ(readBack().COMPort, S("COM4"));

    QFile blocker(dir.file(S("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    key = SettingsStore::kestraKey(dir.file(S("blocker/Corvane")));
    open();
    EXPECT_FALSE(setup->FormClose());
    EXPECT_TRUE(setup->isClosed());
}
