#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// Sets an environment variable for one scope.
class ScopedEnv {
public:
    ScopedEnv(const char *name, const QByteArray &value, bool set = true)
        : m_name(name), m_had(qEnvironmentVariableIsSet(name)), m_old(qgetenv(name))
    {
        if (set)
            qputenv(name, value);
        else
            qunsetenv(name);
    }
    ~ScopedEnv()
    {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }

private:
    const char *m_name;
    bool m_had;
    QByteArray m_old;
};

} // namespace

TEST(SettingsStore, TheKeysLieUnderTheConfigFolder)
{
    TempDir dir;
    {
        ScopedEnv config("XDG_CONFIG_HOME", dir.path().toLocal8Bit());
        EXPECT_EQ(SettingsStore::defaultFolder(), dir.path() + S("/Corvane"));
        EXPECT_EQ(SettingsStore::kestraKey().filePath(), dir.path() + S("/Corvane/Kestra.ini"));
        EXPECT_EQ(SettingsStore::marlowenKey().filePath(), dir.path() + S("/Corvane/Marlowen.ini"));
        EXPECT_EQ(SettingsStore::openKey(S("Software\\Corvane\\Marlowen")).filePath(),
                  dir.path() + S("/Corvane/Marlowen.ini"));
    }
    {
        ScopedEnv home("HOME", dir.path().toLocal8Bit());
        ScopedEnv config("XDG_CONFIG_HOME", QByteArray(), false);
        EXPECT_EQ(SettingsStore::defaultFolder(), dir.path() + S("/.config/Corvane"));
    }
    {
        ScopedEnv home("HOME", dir.path().toLocal8Bit());
        ScopedEnv config("XDG_CONFIG_HOME", QByteArray());
        EXPECT_EQ(SettingsStore::defaultFolder(), dir.path() + S("/.config/Corvane"));
    }
    EXPECT_EQ(SettingsStore::kestraKey(S("/srv/station")).filePath(), S("/srv/station/Kestra.ini"));
}

TEST(SettingsStore, AMissingKeyReadsAsDefaultsAndIsNotCreatedByReading)
{
    TempDir dir;
    const SettingsStore key = SettingsStore::kestraKey(dir.file(S("Corvane")));
    EXPECT_EQ(key.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM2"));
    EXPECT_EQ(key.ReadInteger(S("Options"), S("BaseAddr"), 760), 760);
    EXPECT_TRUE(key.ReadBool(S("Options"), S("UseSingleNCAA"), true));
    EXPECT_FALSE(key.ValueExists(S("Options"), S("COMPort")));
    EXPECT_FALSE(key.KeyExists(S("Options")));
    EXPECT_FALSE(QFileInfo::exists(dir.file(S("Corvane"))));
}

TEST(SettingsStore, WritesMakeThePrivateFileInTheOrderWritten)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.file(S("a/b/Corvane")));
    ASSERT_TRUE(key.WriteInteger(S("Servers"), S("NumServers"), 1));
    ASSERT_TRUE(key.WriteString(S("Servers\\Server1"), S("Name"), S("Arena")));
    ASSERT_TRUE(key.WriteString(S("Servers\\Server1"), S("IP"), S("10.0.0.5")));
    ASSERT_TRUE(key.WriteString(S(""), S("MarlowenServerName"), S("Arena")));
    ASSERT_TRUE(key.WriteBool(S("Custom"), S("Flag"), false));
    ASSERT_TRUE(key.WriteInteger(S("servers"), S("numservers"), 2));

    EXPECT_EQ(contents(dir.file(S("a/b/Corvane/Marlowen.ini"))), "MarlowenServerName=Arena\n"
                                                                 "\n"
                                                                 "[Servers]\n"
                                                                 "NumServers=2\n"
                                                                 "\n"
                                                                 "[Servers\\Server1]\n"
                                                                 "Name=Arena\n"
                                                                 "IP=10.0.0.5\n"
                                                                 "\n"
                                                                 "[Custom]\n"
                                                                 "Flag=0\n");
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(key.filePath()).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u) << "the key holds a password";
    // Only the key and its lock file: no temporary file is left behind.
    EXPECT_EQ(QDir(dir.file(S("a/b/Corvane"))).entryList(QDir::Files | QDir::Hidden),
              (QStringList{S("Marlowen.ini"), S("Marlowen.ini.lock")}));
}

TEST(SettingsStore, EveryReadSeesTheFileAsItIsNow)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Marlowen.ini")));
    ASSERT_TRUE(key.WriteString(S(""), S("MarlowenServerName"), S("First")));
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("First"));
    // The scoring product rewrites the file in place, same size, same second.
    put(key.filePath(), "MarlowenServerName=Other\n");
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("Other"));
    put(key.filePath(), "marlowenservername=Third\r\n");
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("Third"));
    // A write keeps what the other program wrote.
    ASSERT_TRUE(key.WriteInteger(S("Custom"), S("TeamID"), 3));
    EXPECT_EQ(contents(key.filePath()), "marlowenservername=Third\r\n\r\n[Custom]\r\nTeamID=3\r\n");
}

TEST(SettingsStore, ValueNamesMatchWithoutCaseAndKeepTheWrittenSpelling)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(key.WriteString(S("Options"), S("ComPort"), S("COM4")));
    EXPECT_EQ(key.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM4"));
    EXPECT_TRUE(key.ValueExists(S("OPTIONS"), S("comport")));
    ASSERT_TRUE(key.WriteString(S("Options"), S("COMPort"), S("UDP")));
    EXPECT_EQ(contents(key.filePath()), "[Options]\nComPort=UDP\n");
}

TEST(SettingsStore, DeleteKeyRemovesTheServerList)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Marlowen.ini")));
    ASSERT_TRUE(key.update([](SettingsDocument &doc) {
        doc.WriteString(S(""), S("MarlowenServerName"), S("B"));
        doc.WriteInteger(S("Servers"), S("NumServers"), 12);
        for (int n = 1; n <= 12; ++n)
            doc.WriteString(S("Servers\\Server") + QString::number(n), S("Name"), S("S") + QString::number(n));
        doc.WriteInteger(S("Custom"), S("TeamID"), 2);
        return true;
    }));
    ASSERT_TRUE(key.DeleteKey(S("Servers")));
    EXPECT_FALSE(key.KeyExists(S("Servers")));
    EXPECT_FALSE(key.KeyExists(S("Servers\\Server1")));
    EXPECT_FALSE(key.KeyExists(S("Servers\\Server12")));
    EXPECT_EQ(contents(key.filePath()), "MarlowenServerName=B\n\n[Custom]\nTeamID=2\n");

    // Nothing left to remove: success, and the file is not rewritten.
    struct stat before {};
    ::stat(QFile::encodeName(key.filePath()).constData(), &before);
    EXPECT_TRUE(key.DeleteKey(S("Servers")));
    struct stat after {};
    ::stat(QFile::encodeName(key.filePath()).constData(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_FALSE(key.DeleteKey(S(""))) << "the whole key is never removed this way";
    EXPECT_EQ(key.ReadString(S(""), S("MarlowenServerName"), S("")), S("B"));
}

TEST(SettingsStore, AnUnchangedWriteDoesNotReplaceTheFile)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Kestra.ini")));
    put(key.filePath(), "[Options]\nInterval = 60\n");
    struct stat before {};
    ::stat(QFile::encodeName(key.filePath()).constData(), &before);
    ASSERT_TRUE(key.WriteInteger(S("Options"), S("Interval"), 60));
    struct stat after {};
    ::stat(QFile::encodeName(key.filePath()).constData(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(contents(key.filePath()), "[Options]\nInterval = 60\n");
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
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(dir.file(S("real.ini"))).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
}

TEST(SettingsStore, AKeyThatCannotBeReadGivesDefaultsAndIsNotOverwritten)
{
    TempDir dir;
    // A folder where the file should be: reads fail, writes must not go on.
    ASSERT_TRUE(QDir().mkpath(dir.file(S("Kestra.ini"))));
    SettingsStore key(dir.file(S("Kestra.ini")));
    EXPECT_EQ(key.ReadInteger(S("Options"), S("Interval"), 60), 60);
    EXPECT_EQ(key.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM2"));
    EXPECT_FALSE(key.WriteInteger(S("Options"), S("Interval"), 30));
    EXPECT_FALSE(key.DeleteKey(S("Options")));
    EXPECT_TRUE(QFileInfo(dir.file(S("Kestra.ini"))).isDir());
}

TEST(SettingsStore, AWriteThatCannotReachTheDiskIsReported)
{
    TempDir dir;
    put(dir.file(S("blocker")), "not a folder");
    SettingsStore key = SettingsStore::kestraKey(dir.file(S("blocker/Corvane")));
    EXPECT_FALSE(key.WriteString(S("Options"), S("COMPort"), S("COM1")));
    EXPECT_EQ(key.ReadString(S("Options"), S("COMPort"), S("COM2")), S("COM2"));

    SettingsStore good(dir.file(S("Kestra.ini")));
    EXPECT_FALSE(good.WriteString(S("Options"), S("bad=name"), S("x")));
    EXPECT_FALSE(good.WriteString(S("Opt]ions"), S("Name"), S("x")));
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

TEST(SettingsStore, AnUpdateIsOneWriteOrNone)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Marlowen.ini")));
    ASSERT_TRUE(key.WriteInteger(S("Servers"), S("NumServers"), 1));
    EXPECT_FALSE(key.update([](SettingsDocument &doc) {
        doc.WriteInteger(S("Servers"), S("NumServers"), 5);
        return false;
    }));
    EXPECT_EQ(key.ReadInteger(S("Servers"), S("NumServers"), 0), 1);
    EXPECT_TRUE(key.update([](SettingsDocument &doc) {
        doc.removeSection(S("Servers"));
        doc.WriteInteger(S("Servers"), S("NumServers"), 1);
        doc.WriteString(S("Servers\\Server1"), S("Name"), S("Gym"));
        return true;
    }));
    EXPECT_EQ(contents(key.filePath()), "[Servers]\nNumServers=1\n\n[Servers\\Server1]\nName=Gym\n");
}
