// kestra, the operator program, as a process under the offscreen platform:
// it comes up on the server in use, and a signal closes it as the operator
// would, so the close writes the display target back.
#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace kestra;
using namespace kestra::test;

namespace {

class OperatorProgramTest : public testing::Test {
protected:
    TempDir home;
    std::unique_ptr<ChildProgram> program;

    void writeKey(const char *file, const QByteArray &text)
    {
        QDir(home.path()).mkpath(S("config/Corvane"));
        QFile key(home.file(S("config/Corvane/") + S(file)));
        ASSERT_TRUE(key.open(QIODevice::WriteOnly));
        key.write(text);
    }
    QByteArray readKey(const char *file)
    {
        QFile key(home.file(S("config/Corvane/") + S(file)));
        return key.open(QIODevice::ReadOnly) ? key.readAll() : QByteArray();
    }
    void SetUp() override
    {
        if (!QFileInfo::exists(builtProgram("src/app/kestra")))
            GTEST_SKIP() << "kestra is not built (no widgets in this build)";
    }
    void start() { program = std::make_unique<ChildProgram>("src/app/kestra", QStringList(), &home); }
    // Gives the program time to come up, then the signal; the exit status.
    int terminateAfter(std::chrono::milliseconds upTime)
    {
        waitUntil([] { return false; }, upTime);
        EXPECT_EQ(program->process().state(), QProcess::Running) << program->errors().toStdString();
        return program->signal(SIGTERM, 15000);
    }
};

TEST_F(OperatorProgramTest, aSignalClosesTheWindowInOrderAndTheTargetIsStored)
{
    const QString meet = home.file(S("meet"));
    seedMeet(meet);
    writeKey("Marlowen.ini", "MarlowenServerName=Gym Hall\n[Servers]\nNumServers=1\n[Servers\\Server1]\nName=Gym Hall\n"
                             "Host=" + meet.toUtf8() + "\nLocation=Local PC\n");
    writeKey("Kestra.ini", "[Options]\nUseBarco=1\n");
    start();
    EXPECT_EQ(terminateAfter(std::chrono::seconds(4)), 0) << program->errors().toStdString();
    const QByteArray key = readKey("Kestra.ini");
    // Only the close writes these.
    EXPECT_TRUE(key.contains("UseDaktronics=0")) << key.toStdString();
    EXPECT_TRUE(key.contains("UseBarco=1")) << key.toStdString();
    EXPECT_TRUE(key.contains("NCAAMode=0")) << key.toStdString();
    // The server in use stays the one chosen.
    EXPECT_TRUE(readKey("Marlowen.ini").startsWith("MarlowenServerName=Gym Hall"));
}

TEST_F(OperatorProgramTest, endingWhileTheServerListIsUpGivesUpWithoutAWindow)
{
    // No server in use: the list opens first, before any window.
    start();
    const int status = terminateAfter(std::chrono::seconds(3));
    EXPECT_EQ(status, 1) << program->errors().toStdString();
    EXPECT_FALSE(readKey("Kestra.ini").contains("UseDaktronics"));
}

} // namespace
