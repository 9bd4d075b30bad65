// The main window on a PostgreSQL server: a run takes and marks its scores
// there, and a server that goes away restarts the program.
#include "support/MainRig.h"

#include "generator/NowUpListeners.h"
#include "meetdb/DevStore.h"
#include "results/ResultsGraphic.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

TEST(MainWindowOnPostgres, OpensOnTheLastMeetAndRunsAPollTickOnTheServer)
{
    MainRig rig({}, "Interval=0\n", StoreBackend::Postgres);
    ASSERT_TRUE(rig.open());
    EXPECT_EQ(rig(S("cboSession1")).items(), (QStringList{"1", "2", "3"}));
    EXPECT_EQ(rig(S("lblEvent41")).text(), S("FLOOR"));
    ASSERT_TRUE(rig.main().selection().setNcaa(true));
    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("2")}));
    EXPECT_EQ(rig(S("rgrpRotation")).items().size(), 4);

    DevStore::FeedOptions options;
    options.meetId = 1;
    options.session = S("2");
    DevStore::ScoreFeed feed(rig.peer(), options);
    DevStore::FeedScore first;
    ASSERT_TRUE(feed.publish(&first));
    ASSERT_TRUE(rig.main().start()) << rig.main().lastError().toStdString();
    rig.main().Timer1Timer();
    EXPECT_EQ(rig(S("EditNum%1").arg(first.event) + S("1")).text(), QString::number(first.num));
    EXPECT_EQ(rig.scalar(S("select count(*) from QueueDone where AppID = 4 and DataID = %1").arg(first.dataId)).toInt(), 1);
    EXPECT_TRUE(rig.record.text(layout::eventName(first.event)).contains(first.lastName));
    rig.main().stop();
    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), 3);
    EXPECT_TRUE(rig.main().close());
    EXPECT_TRUE(rig.prompt.messages.empty());
}

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
    EXPECT_EQ(prompt.messages[0].caption, S("Marlowen Server Connection"));
    EXPECT_EQ(prompt.messages[0].text, S("Kestra is no longer able to communicate with the server \"gym-server\".\r"
                                         "The connection to the server has been lost.\r\rKestra will now be restarted."));
    EXPECT_EQ(restarts, 1);
    EXPECT_EQ(quits, 1);
    // A second failing tick on the way out is not told again.
    main.Timer3Timer();
    EXPECT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(restarts, 1);
}
