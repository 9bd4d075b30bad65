// kestra, the operator program, as a process under the offscreen platform:
// it comes up on the server in use, and a signal closes it as the operator
// would, so the close writes the display target back.
#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"
#include "unit/setup/SettingsFiles.h"

#include <QDir>
#include <QFileInfo>

using namespace kestra;
using namespace kestra::test;

TEST(OperatorProgramTest, aSignalClosesTheWindowInOrderAndTheTargetIsStored)
{
    if (!QFileInfo::exists(builtProgram("src/app/kestra")))
        GTEST_SKIP() << "kestra is not built (no widgets in this build)";
    TempDir home;
    const QString meet = home.file(S("meet")), keys = home.file(S("config/Corvane/"));
    seedMeet(meet);
    QDir().mkpath(keys);
    put(keys + S("Marlowen.ini"), "MarlowenServerName=Gym Hall\n[Servers]\nNumServers=1\n[Servers\\Server1]\nName=Gym Hall\n"
                                  "Host=" + meet.toUtf8() + "\nLocation=Local PC\n");
    put(keys + S("Kestra.ini"), "[Options]\nUseBarco=1\n");
    ChildProgram program("src/app/kestra", QStringList(), &home);
    waitUntil([] { return false; }, std::chrono::seconds(4)); // time to come up
    EXPECT_EQ(program.process().state(), QProcess::Running) << program.errors().toStdString();
    EXPECT_EQ(program.signal(SIGTERM, 15000), 0) << program.errors().toStdString();
    // Only the close writes these; the server in use stays the one chosen.
    const std::string key = contents(keys + S("Kestra.ini"));
    for (const char *line : {"UseDaktronics=0", "UseBarco=1", "NCAAMode=0"})
        EXPECT_NE(key.find(line), std::string::npos) << key;
    EXPECT_EQ(contents(keys + S("Marlowen.ini")).rfind("MarlowenServerName=Gym Hall", 0), 0u);
}
