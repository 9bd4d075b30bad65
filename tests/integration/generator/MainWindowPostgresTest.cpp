#include "support/MainRig.h"

#include "generator/NowUpListeners.h"
#include "generator/ScorePoll.h"
#include "meetdb/DevStore.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::MainRig;
using kestra::test::S;

TEST(MainWindowOnPostgres, OpensOnTheLastMeetAndRunsAPollTickOnTheServer)
{
    MainRig rig({}, "Interval=0\n", StoreBackend::Postgres);
    ASSERT_TRUE(rig.open());
    EXPECT_EQ(rig(S("dblcboMeets")).currentIndex(), 0);
    EXPECT_EQ(rig(S("cboSession1")).items(), (QStringList{S("1"), S("2"), S("3")}));
    EXPECT_EQ(rig(S("lblEvent41")).text(), S("FLOOR"));
    EXPECT_EQ(rig(S("rgrpRotation")).items().size(), 5); // four events and the first session's bye
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
    EXPECT_EQ(rig.scalar(S("select AppName from ScoreApps where AppID = 4")).toString(), S("Kestra"));
    rig.main().Timer1Timer();
    EXPECT_EQ(rig(S("EditNum%1").arg(first.event) + S("1")).text(), QString::number(first.num));
    EXPECT_EQ(rig.scalar(S("select count(*) from QueueDone where AppID = 4 and DataID = %1").arg(first.dataId)).toInt(),
              1);
    rig.main().stop();
    ASSERT_TRUE(rig.main().start());
    EXPECT_EQ(rig.scalar(S("select count(*) from ScoreApps")).toInt(), 1);
    rig.main().stop();

    ASSERT_TRUE(rig.main().selection().selectMeet(2));
    EXPECT_EQ(rig(S("cboSession1")).items(), QStringList{S("1")});
    EXPECT_EQ(rig(S("dblcboEvent1")).property(S("key")).toInt(), 3);
    EXPECT_TRUE(rig.main().close());
    EXPECT_TRUE(rig.prompt.messages.empty());
}

TEST(MainWindowOnPostgres, AServerThatGoesAwayDuringARunRestartsTheProgram)
{
    test::PrivatePostgres server;
    const test::Endpoint endpoint = server.endpoint();
    const QString address = S("%1:%2").arg(endpoint.host).arg(endpoint.port);
    {
        auto store = DevStore::openOrCreate(address);
        DevStore::createSchema(*store, false);
        DevStore::seed(*store);
    }
    test::TempDir config;
    test::RecordingPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    DirectConnection connection(address, S("gym-server"));
    int restarts = 0;
    KestraMain main(connection, SettingsStore::kestraKey(config.path()), SettingsStore::marlowenKey(config.path()),
                    prompt, ticks, record, transport, [&] { ++restarts; });
    main.listeners().setPorts(0, 0);
    int quits = 0;
    QObject::connect(&main, &KestraMain::quitRequested, [&] { ++quits; });
    ASSERT_TRUE(main.create());
    main.show();
    ASSERT_TRUE(main.start());
    prompt.messages.clear(); // the now-up clears of Start on a port that cannot open

    server.stop();
    main.Timer1Timer();
    for (int t = 1; t <= 4; ++t)
        EXPECT_FALSE(main.timer(t).isActive()) << t;
    ASSERT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(prompt.messages[0].caption, S("Marlowen Server Connection"));
    EXPECT_TRUE(prompt.messages[0].text.contains(S("\"gym-server\"")));
    EXPECT_EQ(restarts, 1);
    EXPECT_EQ(quits, 1);
    // A second failing tick on the way out is not told again.
    main.Timer3Timer();
    EXPECT_EQ(prompt.messages.size(), 1u);
    EXPECT_EQ(restarts, 1);
}
