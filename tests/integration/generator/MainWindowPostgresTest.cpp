// The main window on a PostgreSQL server that goes away during a run: every
// timer stops, the loss is told once and the program restarts once. How the
// store tells the loss and the box's words are the store's and the handler's tests.
#include "support/MainRig.h"

#include "generator/NowUpListeners.h"
#include "results/ResultsGraphic.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

TEST(MainWindowOnPostgres, AServerThatGoesAwayDuringARunRestartsTheProgram)
{
    PrivatePostgres server;
    const QString address = S("%1:%2").arg(server.endpoint().host).arg(server.endpoint().port);
    seedMeet(address);
    TempDir config;
    RecordingPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    DirectConnection connection(address, S("gym-server"));
    int restarts = 0;
    int quits = 0;
    KestraMain main(connection, SettingsStore::kestraKey(config.path()), SettingsStore::marlowenKey(config.path()),
                    prompt, ticks, record, transport, [&] { ++restarts; });
    main.listeners().setPorts(0, 0);
    QObject::connect(&main, &KestraMain::quitRequested, [&] { ++quits; });
    ASSERT_TRUE(main.create());
    main.show();
    ASSERT_TRUE(main.start());
    ResultsGraphic &results = main.openResults();
    results(S("btnAdd")).click();
    results(S("btnStart")).click();
    ASSERT_TRUE(results.cycle().timer().isActive());
    prompt.messages.clear(); // the now-up clears of Start on a port that cannot open

    server.stop();
    main.Timer1Timer();
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(main.timer(t).isActive()) << t;
    EXPECT_FALSE(results.cycle().timer().isActive());
    ASSERT_EQ(prompt.messages.size(), 1u);
    EXPECT_TRUE(prompt.messages[0].text.contains(S("\"gym-server\""))) << prompt.messages[0].text.toStdString();
    EXPECT_EQ(restarts, 1);
    EXPECT_EQ(quits, 1);
    // A second failing tick on the way out is not told again.
    main.Timer3Timer();
    EXPECT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(restarts, 1);
}
