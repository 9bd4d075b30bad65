#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>

using namespace kestra;
using kestra::test::TempDir;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

std::string contents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return "<unreadable>";
    return file.readAll().toStdString();
}

// Every value of section Options set away from its default, under the
// spellings a hand or another program might use.
const QByteArray EveryValueChanged = "[options]\n"
                                     "COMPORT=UDP\n"
                                     "udpport=2000\n"
                                     "IPAddr=10.1.1.255\n"
                                     "BaseAddr=1000\n"
                                     "Interval=5\n"
                                     "IntervalMax=50\n"
                                     "CycleRate=9\n"
                                     "NameFormat=3\n"
                                     "UseSingleNCAA=0\n"
                                     "NCAATeam=2\n"
                                     "MySQLServer=10.1.1.9\n"
                                     "MySQLDatabase=xp\n"
                                     "MySQLUser=gfx\n"
                                     "MySQLPass=pw\n"
                                     "UseDaktronics=0\n"
                                     "UseBarco=0\n"
                                     "UseWhiteWay=1\n"
                                     "UseFile=0\n"
                                     "UseXML=0\n"
                                     "UseXpression=0\n"
                                     "NCAAMode=1\n"
                                     "OutputFileName=/srv/out.txt\n"
                                     "STXETX=1\n";

// Which fields a moment reads: a field read shows the stored value, a field
// not read keeps the default it started with.
void expectGroups(const KestraSettings &s, bool show, bool mysql, bool create)
{
    const KestraSettings d;
    EXPECT_EQ(s.COMPort, show ? S("UDP") : d.COMPort);
    EXPECT_EQ(s.UDPPort, show ? S("2000") : d.UDPPort);
    EXPECT_EQ(s.IPAddr, show ? S("10.1.1.255") : d.IPAddr);
    EXPECT_EQ(s.BaseAddr, show ? 1000 : d.BaseAddr);
    EXPECT_EQ(s.Interval, show ? 5 : d.Interval);
    EXPECT_EQ(s.IntervalMax, show ? 50 : d.IntervalMax);
    EXPECT_EQ(s.CycleRate, show ? 9 : d.CycleRate);
    EXPECT_EQ(s.NameFormat, show ? 3 : d.NameFormat);
    EXPECT_EQ(s.UseSingleNCAA, show ? false : d.UseSingleNCAA);
    EXPECT_EQ(s.NCAATeam, show ? 2 : d.NCAATeam);
    EXPECT_EQ(s.MySQLServer, mysql ? S("10.1.1.9") : d.MySQLServer);
    EXPECT_EQ(s.MySQLDatabase, mysql ? S("xp") : d.MySQLDatabase);
    EXPECT_EQ(s.MySQLUser, mysql ? S("gfx") : d.MySQLUser);
    EXPECT_EQ(s.MySQLPass, mysql ? S("pw") : d.MySQLPass);
    EXPECT_EQ(s.selectedTarget(), create ? OutputTarget::WhiteWay : OutputTarget::Daktronics);
    EXPECT_EQ(s.NCAAMode, create);
    EXPECT_EQ(s.OutputFileName, create ? S("/srv/out.txt") : QString());
    EXPECT_EQ(s.STXETX, create);
}

} // namespace

TEST(KestraSettings, AFirstRunWithAnEmptyStoreGivesEveryDefault)
{
    TempDir dir;
    const SettingsStore key = SettingsStore::kestraKey(dir.path());
    KestraSettings s;
    s.COMPort = S("junk");
    s.MySQLUser = S("junk");
    s.UseBarco = true;
    s.readAtCreate(key);
    s.readAtShow(key);

    EXPECT_EQ(s.COMPort, S("COM2"));
    EXPECT_EQ(s.UDPPort, S("12345"));
    EXPECT_EQ(s.IPAddr, S("255.255.255.255"));
    EXPECT_EQ(s.BaseAddr, 760);
    EXPECT_EQ(s.Interval, 60);
    EXPECT_EQ(s.IntervalMax, 180);
    EXPECT_EQ(s.CycleRate, 20);
    EXPECT_EQ(s.NameFormat, 0);
    EXPECT_TRUE(s.UseSingleNCAA);
    EXPECT_EQ(s.NCAATeam, 0);
    EXPECT_EQ(s.MySQLServer, QString());
    EXPECT_EQ(s.MySQLDatabase, QString());
    EXPECT_EQ(s.MySQLUser, QString());
    EXPECT_EQ(s.MySQLPass, QString());
    EXPECT_TRUE(s.UseDaktronics);
    EXPECT_FALSE(s.UseBarco || s.UseWhiteWay || s.UseFile || s.UseXML || s.UseXpression);
    EXPECT_EQ(s.selectedTarget(), OutputTarget::Daktronics);
    EXPECT_FALSE(s.NCAAMode);
    EXPECT_EQ(s.OutputFileName, QString());
    EXPECT_FALSE(s.STXETX);
}

TEST(KestraSettings, EachMomentReadsItsOwnValuesOnly)
{
    TempDir dir;
    QFile file(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(EveryValueChanged);
    file.close();
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
        (s.*m.read)(key);
        expectGroups(s, m.show, m.mysql, m.create);
    }
}

TEST(KestraSettings, TheCloseWritesTheNineValuesInTheirOrder)
{
    TempDir dir;
    SettingsStore key = SettingsStore::kestraKey(dir.path());
    ASSERT_TRUE(key.WriteString(S("Options"), S("ComPort"), S("COM1")));
    KestraSettings s;
    s.selectTarget(OutputTarget::XML);
    s.NCAAMode = true;
    s.OutputFileName = S("/home/op/board.xml");
    s.COMPort = S("UDP"); // written by the setup window only
    s.Interval = 5;
    ASSERT_TRUE(s.writeAtClose(key));
    EXPECT_EQ(contents(key.filePath()), "[Options]\n"
                                        "ComPort=COM1\n"
                                        "UseDaktronics=0\n"
                                        "UseBarco=0\n"
                                        "UseWhiteWay=0\n"
                                        "UseFile=0\n"
                                        "UseXML=1\n"
                                        "UseXpression=0\n"
                                        "NCAAMode=1\n"
                                        "OutputFileName=/home/op/board.xml\n"
                                        "STXETX=0\n");

    KestraSettings back;
    back.readAtCreate(key);
    EXPECT_EQ(back.selectedTarget(), OutputTarget::XML);
    EXPECT_EQ(back.OutputFileName, S("/home/op/board.xml"));
}

TEST(KestraSettings, TheTargetIsTheLastRadioButtonLeftChecked)
{
    struct Flags {
        bool dak, barco, whiteWay, file, xml, xpression;
    };
    const struct {
        Flags flags;
        OutputTarget expected;
    } cases[] = {
        {{true, false, false, false, false, false}, OutputTarget::Daktronics},
        {{false, true, false, false, false, false}, OutputTarget::Barco},
        {{true, false, true, false, false, false}, OutputTarget::WhiteWay},
        {{true, true, false, false, true, false}, OutputTarget::XML},
        {{false, false, false, true, true, true}, OutputTarget::Xpression},
        {{false, false, false, false, false, false}, OutputTarget::None},
        {{true, true, true, true, true, true}, OutputTarget::Xpression},
    };
    for (const auto &c : cases) {
        KestraSettings s;
        s.UseDaktronics = c.flags.dak;
        s.UseBarco = c.flags.barco;
        s.UseWhiteWay = c.flags.whiteWay;
        s.UseFile = c.flags.file;
        s.UseXML = c.flags.xml;
        s.UseXpression = c.flags.xpression;
        EXPECT_EQ(s.selectedTarget(), c.expected) << int(c.expected);
        s.selectTarget(s.selectedTarget());
        EXPECT_EQ(s.selectedTarget(), c.expected);
        EXPECT_EQ(int(s.UseDaktronics) + s.UseBarco + s.UseWhiteWay + s.UseFile + s.UseXML + s.UseXpression,
                  c.expected == OutputTarget::None ? 0 : 1);
    }
}

TEST(KestraSettings, StoredValuesReachTheWindowUncheckedAndBadNumbersFallBack)
{
    TempDir dir;
    QFile file(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Options]\r\nBaseAddr=768\r\nInterval=sixty\r\nIntervalMax=\r\nCycleRate=-4\r\n"
               "UseSingleNCAA=yes\r\nNCAATeam=7\r\nComPort=/dev/ttyUSB0\r\n");
    file.close();
    KestraSettings s;
    s.readAtShow(SettingsStore::kestraKey(dir.path()));
    EXPECT_EQ(s.BaseAddr, 768);
    EXPECT_EQ(s.Interval, 60);
    EXPECT_EQ(s.IntervalMax, 180);
    EXPECT_EQ(s.CycleRate, -4);
    EXPECT_TRUE(s.UseSingleNCAA);
    EXPECT_EQ(s.NCAATeam, 7);
    EXPECT_EQ(s.COMPort, S("/dev/ttyUSB0"));
}
