// What each moment of the main window reads from Kestra's key. The defaults of
// a first run are what Setup writes back on its first close; what the main
// window's close writes, and what the stored target flags check, its tests hold.
#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

TEST(KestraSettings, EachMomentReadsItsOwnValuesAndBadNumbersFallBack)
{
    TempDir dir;
    // Every value away from its default, under spellings another hand may use.
    put(dir.file(S("Kestra.ini")), "[options]\nCOMPORT=UDP\nudpport=2000\nBaseAddr=1000\nInterval=5\n"
                                   "NCAATeam=2\nUseSingleNCAA=0\nMySQLServer=10.1.1.9\nMySQLPass=pw\n"
                                   "UseDaktronics=0\nUseWhiteWay=1\nNCAAMode=1\nOutputFileName=/srv/o.txt\n"
                                   "IntervalMax=sixty\nCycleRate=-4\n");
    const SettingsStore key = SettingsStore::kestraKey(dir.path());
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
        EXPECT_EQ(s.IntervalMax, 180) << "not a number: the default";
        EXPECT_EQ(s.CycleRate, m.show ? -4 : 20) << "stored values reach the window unchecked";
        EXPECT_EQ(s.MySQLServer, m.mysql ? S("10.1.1.9") : QString());
        EXPECT_EQ(s.MySQLPass, m.mysql ? S("pw") : QString());
        EXPECT_EQ(s.UseWhiteWay, m.create);
        EXPECT_EQ(s.UseDaktronics, !m.create);
        EXPECT_EQ(s.NCAAMode, m.create);
        EXPECT_EQ(s.OutputFileName, m.create ? S("/srv/o.txt") : QString());
    }
}
