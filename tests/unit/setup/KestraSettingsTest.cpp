#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

#include <vector>

using namespace kestra;
using namespace kestra::test;

namespace {

SettingsStore keyWith(const TempDir &dir, const QByteArray &bytes)
{
    put(dir.file(S("Kestra.ini")), bytes);
    return SettingsStore::kestraKey(dir.path());
}

} // namespace

TEST(KestraSettings, AFirstRunWithAnEmptyStoreGivesEveryDefault)
{
    TempDir dir;
    const SettingsStore key = SettingsStore::kestraKey(dir.path());
    KestraSettings s;
    s.COMPort = s.MySQLUser = S("junk");
    s.Interval = 1;
    s.UseBarco = true;
    s.readAtCreate(key);
    s.readAtShow(key);
    EXPECT_EQ(s.COMPort, S("COM2"));
    EXPECT_EQ(s.UDPPort, S("12345"));
    EXPECT_EQ(s.IPAddr, S("255.255.255.255"));
    EXPECT_EQ((std::vector<int>{s.BaseAddr, s.Interval, s.IntervalMax, s.CycleRate, s.NameFormat, s.NCAATeam}),
              (std::vector<int>{760, 60, 180, 20, 0, 0}));
    EXPECT_TRUE(s.UseSingleNCAA);
    EXPECT_EQ(s.MySQLServer + s.MySQLDatabase + s.MySQLUser + s.MySQLPass + s.OutputFileName, QString());
    EXPECT_EQ(s.selectedTarget(), OutputTarget::Daktronics);
    EXPECT_FALSE(s.UseBarco || s.UseWhiteWay || s.UseFile || s.UseXML || s.UseXpression || s.NCAAMode || s.STXETX);
}

TEST(KestraSettings, EachMomentReadsItsOwnValuesOnly)
{
    TempDir dir;
    // Every value away from its default, under spellings another hand may use.
    const SettingsStore key = keyWith(dir, "[options]\nCOMPORT=UDP\nudpport=2000\nBaseAddr=1000\nInterval=5\n"
                                           "NCAATeam=2\nUseSingleNCAA=0\nMySQLServer=10.1.1.9\nMySQLPass=pw\n"
                                           "UseDaktronics=0\nUseWhiteWay=1\nNCAAMode=1\nOutputFileName=/srv/o.txt\n");
    const struct {
        const char *moment;
        void (KestraSettings::*read)(const SettingsStore &);
        bool show, mysql, create;
    } moments[] = {
        {"create", &KestraSettings::readAtCreate, false, true, true},
        {"show", &KestraSettings::readAtShow, true, false, false},
        {"after setup", &KestraSettings::readAfterSetup, true, true, false},
    };
    for (const auto &m : moments) {
        SCOPED_TRACE(m.moment);
        KestraSettings s;
        const KestraSettings d;
        (s.*m.read)(key);
        EXPECT_EQ(s.COMPort, m.show ? S("UDP") : d.COMPort);
        EXPECT_EQ(s.UDPPort, m.show ? S("2000") : d.UDPPort);
        EXPECT_EQ(s.BaseAddr, m.show ? 1000 : d.BaseAddr);
        EXPECT_EQ(s.Interval, m.show ? 5 : d.Interval);
        EXPECT_EQ(s.NCAATeam, m.show ? 2 : d.NCAATeam);
        EXPECT_EQ(s.UseSingleNCAA, !m.show);
        EXPECT_EQ(s.MySQLServer, m.mysql ? S("10.1.1.9") : QString());
        EXPECT_EQ(s.MySQLPass, m.mysql ? S("pw") : QString());
        EXPECT_EQ(s.selectedTarget(), m.create ? OutputTarget::WhiteWay : OutputTarget::Daktronics);
        EXPECT_EQ(s.NCAAMode, m.create);
        EXPECT_EQ(s.OutputFileName, m.create ? S("/srv/o.txt") : QString());
    }
}

TEST(KestraSettings, StoredValuesReachTheWindowUncheckedAndBadNumbersFallBack)
{
    TempDir dir;
    KestraSettings s;
    s.readAtShow(keyWith(dir, "[Options]\r\nBaseAddr=768\r\nInterval=sixty\r\nIntervalMax=\r\nCycleRate=-4\r\n"
                              "UseSingleNCAA=yes\r\nComPort=/dev/ttyUSB0\r\n"));
    EXPECT_EQ(s.BaseAddr, 768);
    EXPECT_EQ(s.Interval, 60);
    EXPECT_EQ(s.IntervalMax, 180);
    EXPECT_EQ(s.CycleRate, -4);
    EXPECT_TRUE(s.UseSingleNCAA);
    EXPECT_EQ(s.COMPort, S("/dev/ttyUSB0"));
}

TEST(KestraSettings, TheCloseWritesItsNineValuesInOrderAndNothingElse)
{
    TempDir dir;
    SettingsStore key = keyWith(dir, "[Options]\nComPort=COM1\n");
    KestraSettings s;
    s.selectTarget(OutputTarget::XML);
    s.NCAAMode = true;
    s.OutputFileName = S("/home/op/board.xml");
    s.COMPort = S("UDP");
    ASSERT_TRUE(s.writeAtClose(key));
    EXPECT_EQ(contents(key.filePath()), "[Options]\nComPort=COM1\nUseDaktronics=0\nUseBarco=0\nUseWhiteWay=0\n"
                                        "UseFile=0\nUseXML=1\nUseXpression=0\nNCAAMode=1\n"
                                        "OutputFileName=/home/op/board.xml\nSTXETX=0\n");
}

TEST(KestraSettings, TheTargetIsTheLastRadioButtonLeftChecked)
{
    // Flags in the order UseDaktronics, UseBarco, UseWhiteWay, UseFile,
    // UseXML, UseXpression.
    const struct {
        const char *flags;
        OutputTarget expected;
    } cases[] = {
        {"100000", OutputTarget::Daktronics}, {"010000", OutputTarget::Barco},
        {"101000", OutputTarget::WhiteWay},   {"110010", OutputTarget::XML},
        {"000111", OutputTarget::Xpression},  {"000000", OutputTarget::None},
    };
    for (const auto &c : cases) {
        KestraSettings s;
        bool *flags[] = {&s.UseDaktronics, &s.UseBarco, &s.UseWhiteWay, &s.UseFile, &s.UseXML, &s.UseXpression};
        for (int i = 0; i < 6; ++i)
            *flags[i] = c.flags[i] == '1';
        EXPECT_EQ(s.selectedTarget(), c.expected) << c.flags;
        s.selectTarget(s.selectedTarget());
        int set = 0;
        for (bool *flag : flags)
            set += *flag;
        EXPECT_EQ(set, c.expected == OutputTarget::None ? 0 : 1) << c.flags;
        EXPECT_EQ(s.selectedTarget(), c.expected) << c.flags;
    }
}
