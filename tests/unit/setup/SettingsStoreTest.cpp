#include "setup/SettingsStore.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestra;
using namespace kestra::test;

namespace {

struct stat fileStat(const QString &path)
{
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    return st;
}

} // namespace

TEST(SettingsStore, TheKeysLieUnderTheConfigFolder)
{
    TempDir dir;
    const QByteArray oldHome = qgetenv("HOME");
    const QByteArray oldConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("HOME", dir.path().toLocal8Bit());
    const struct {
        const char *config;
        const char *folder;
    } cases[] = {{"/srv/cfg", "/srv/cfg/Corvane"}, {"", "/.config/Corvane"}, {"relative", "/.config/Corvane"}};
    for (const auto &c : cases) {
        qputenv("XDG_CONFIG_HOME", c.config);
        const QString expected = c.config[0] == '/' ? S(c.folder) : dir.path() + S(c.folder);
        EXPECT_EQ(SettingsStore::defaultFolder(), expected) << c.config;
        EXPECT_EQ(SettingsStore::kestraKey().filePath(), expected + S("/Kestra.ini"));
        EXPECT_EQ(SettingsStore::openKey(S("Software\\Corvane\\Marlowen")).filePath(), expected + S("/Marlowen.ini"));
    }
    qputenv("HOME", oldHome);
    qputenv("XDG_CONFIG_HOME", oldConfig);
    EXPECT_EQ(SettingsStore::marlowenKey(S("/srv/station")).filePath(), S("/srv/station/Marlowen.ini"));
}

TEST(SettingsStore, AMissingKeyReadsAsDefaultsAndWritesMakeAPrivateFileInWrittenOrder)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.file(S("a/Corvane")));
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("none")), S("none"));
    EXPECT_EQ(key.ReadInteger(S("Servers"), S("NumServers"), 0), 0);
    EXPECT_TRUE(key.ReadBool(S("Custom"), S("Flag"), true));
    EXPECT_FALSE(QFileInfo::exists(dir.file(S("a")))) << "reading creates nothing";

    ASSERT_TRUE(key.WriteInteger(S("Servers"), S("NumServers"), 1));
    ASSERT_TRUE(key.WriteString(S("Servers\\Server1"), S("Name"), S("Arena")));
    ASSERT_TRUE(key.WriteString(S(""), S("MarlowenServerName"), S("Arena")));
    ASSERT_TRUE(key.WriteBool(S("Custom"), S("Flag"), false));
    ASSERT_TRUE(key.WriteInteger(S("servers"), S("numservers"), 2));
    EXPECT_EQ(key.ReadInteger(S("SERVERS"), S("NUMSERVERS"), 0), 2);
    EXPECT_EQ(contents(key.filePath()), "MarlowenServerName=Arena\n\n[Servers]\nNumServers=2\n\n"
                                        "[Servers\\Server1]\nName=Arena\n\n[Custom]\nFlag=0\n");
    EXPECT_EQ(fileStat(key.filePath()).st_mode & 0777, 0600u) << "the key holds a password";
    EXPECT_EQ(QDir(dir.file(S("a/Corvane"))).entryList(QDir::Files | QDir::Hidden),
              (QStringList{S("Marlowen.ini"), S("Marlowen.ini.lock")}))
        << "no temporary file is left behind";
}

TEST(SettingsStore, EveryReadSeesTheFileAsItIsNowAndAWriteKeepsWhatOthersWrote)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Marlowen.ini")));
    ASSERT_TRUE(key.WriteString(S(""), S("MarlowenServerName"), S("First")));
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("First"));
    // The scoring product rewrites the file in place: same size, same second.
    put(key.filePath(), "marlowenservername=Other\r\n");
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("Other"));
    ASSERT_TRUE(key.WriteInteger(S("Custom"), S("TeamID"), 3));
    EXPECT_EQ(contents(key.filePath()), "marlowenservername=Other\r\n\r\n[Custom]\r\nTeamID=3\r\n");
}

TEST(SettingsStore, AWriteThatChangesNothingLeavesTheFileAndAnUpdateThatGivesUpWritesNothing)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Marlowen.ini")));
    ASSERT_TRUE(key.WriteInteger(S("Custom"), S("TeamID"), 2));
    const ino_t inode = fileStat(key.filePath()).st_ino;
    EXPECT_TRUE(key.WriteInteger(S("custom"), S("teamid"), 2));
    EXPECT_EQ(fileStat(key.filePath()).st_ino, inode);
    // A change replaces the file whole, so that another program never reads half of it.
    ASSERT_TRUE(key.WriteInteger(S("Custom"), S("TeamID"), 3));
    EXPECT_NE(fileStat(key.filePath()).st_ino, inode);
    EXPECT_FALSE(key.update([](SettingsDocument &doc) { return !doc.removeSection(S("Custom")); }));
    EXPECT_EQ(key.ReadInteger(S("Custom"), S("TeamID"), 0), 3);
}

TEST(SettingsStore, ASharedFileKeepsItsPermissionsAndItsLink)
{
    TempDir dir;
    put(dir.file(S("real.ini")), "[Options]\nA=1\n");
    ASSERT_EQ(::chmod(QFile::encodeName(dir.file(S("real.ini"))).constData(), 0640), 0);
    ASSERT_TRUE(QFile::link(dir.file(S("real.ini")), dir.file(S("Kestra.ini"))));
    SettingsStore key(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(key.WriteInteger(S("Options"), S("B"), 2));
    EXPECT_TRUE(QFileInfo(dir.file(S("Kestra.ini"))).isSymLink());
    EXPECT_EQ(contents(dir.file(S("real.ini"))), "[Options]\nA=1\nB=2\n");
    EXPECT_EQ(fileStat(dir.file(S("real.ini"))).st_mode & 0777, 0640u);
}

TEST(SettingsStore, FailuresGiveDefaultsAndFalseAndNeverOverwrite)
{
    TempDir dir;
    // A folder where the file should be: reads fail, writes must not go on.
    ASSERT_TRUE(QDir().mkpath(dir.file(S("Kestra.ini"))));
    SettingsStore unreadable(dir.file(S("Kestra.ini")));
    EXPECT_EQ(unreadable.ReadInteger(S("Options"), S("Interval"), 60), 60);
    EXPECT_FALSE(unreadable.WriteInteger(S("Options"), S("Interval"), 30));
    EXPECT_TRUE(QFileInfo(dir.file(S("Kestra.ini"))).isDir());

    put(dir.file(S("blocker")), "not a folder");
    SettingsStore nowhere = SettingsStore::kestraKey(dir.file(S("blocker/Corvane")));
    EXPECT_FALSE(nowhere.WriteString(S("Options"), S("COMPort"), S("COM1")));
    EXPECT_EQ(nowhere.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM2"));

    SettingsStore good(dir.file(S("Marlowen.ini")));
    EXPECT_FALSE(good.WriteString(S("Options"), S("bad=name"), S("x")));
    EXPECT_FALSE(QFileInfo::exists(good.filePath()));
}

TEST(SettingsStore, AWriterWaitsForTheLockAndGivesUpAfterItsTimeout)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(key.WriteInteger(S("Options"), S("Interval"), 60));
    const int held = ::open(QFile::encodeName(dir.file(S("Kestra.ini.lock"))).constData(), O_RDWR);
    ASSERT_GE(held, 0);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    key.setLockTimeout(std::chrono::milliseconds(50));
    EXPECT_FALSE(key.WriteInteger(S("Options"), S("Interval"), 30));
    EXPECT_EQ(key.ReadInteger(S("Options"), S("Interval"), 0), 60) << "reads need no lock";
    ::close(held);
    EXPECT_TRUE(key.WriteInteger(S("Options"), S("Interval"), 30));
    EXPECT_EQ(key.ReadInteger(S("Options"), S("Interval"), 0), 30);
}
