// kestra-headless as a station runs it: a real embedded meet database fed by
// the scoring feed, the program as a child process sending Daktronics frames
// by UDP on loopback, and a socket that reads them as a board would.
#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"

#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"

#include <QFile>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

using namespace kestra;
using namespace kestra::test;

namespace {

// What a board shows, frame by frame: each new competitor of an event slot.
struct BoardView {
    DaktronicsDecoder decoder;
    BoardMirror mirror;
    QStringList rejected;
    std::map<int, QList<std::pair<QString, double>>> shown; // number and score, by slot
    std::size_t count = 0;

    void take(const DecodeResult &r)
    {
        rejected += r.errors;
        for (const BoardFrame &frame : r.frames) {
            mirror.apply(frame);
            for (int slot = 1; slot <= 6; ++slot) {
                const QString num = mirror.record().text(layout::eventNum(slot)).trimmed();
                auto &seen = shown[slot];
                if (!num.isEmpty() && (seen.isEmpty() || seen.back().first != num)) {
                    seen.append({num, mirror.record().text(layout::eventScore(slot)).toDouble()});
                    ++count;
                }
            }
        }
    }
    // Per event, the board shows that event's scores in the order they were
    // queued; all four events are ticked, so event n shows in slot n.
    void expectQueueOrder(const std::vector<DevStore::FeedScore> &fed)
    {
        EXPECT_TRUE(rejected.isEmpty()) << rejected.join(S("\n")).toStdString();
        EXPECT_EQ(count, fed.size());
        std::map<int, int> next;
        for (const DevStore::FeedScore &f : fed) {
            const auto onBoard = shown[f.event].value(next[f.event]++);
            EXPECT_EQ(onBoard.first, QString::number(f.num)) << "event " << f.event;
            EXPECT_NEAR(onBoard.second, f.score, 0.0006) << "event " << f.event;
        }
    }
};

// kestra-headless as a child with settings of its own.
struct Headless : ChildProgram {
    Headless(const TempDir &home, const QStringList &arguments)
        : ChildProgram("src/app/kestra-headless", arguments, &home)
    {
    }
    // Ends the run as a service manager does.
    int terminate() { return signal(SIGTERM); }
};

class HeadlessProcessTest : public testing::Test {
protected:
    TempDir home;
    TempDir meet;
    std::unique_ptr<MeetStore> store;

    void SetUp() override
    {
        store = seedMeet(meet.path());
    }

    std::vector<DevStore::FeedScore> feed(DevStore::ScoreFeed &feeder, int count)
    {
        std::vector<DevStore::FeedScore> out;
        for (int i = 0; i < count; ++i) {
            DevStore::FeedScore score;
            EXPECT_TRUE(feeder.publish(&score));
            out.push_back(score);
        }
        return out;
    }

    QList<int> queueDone()
    {
        QList<int> ids;
        QueryResult result = store->query(S("select DataID from QueueDone where AppID = 4 order by DataID"));
        for (result.first(); !result.eof(); result.next())
            ids.append(result.value(S("DataID")).toInt());
        return ids;
    }
};

TEST_F(HeadlessProcessTest, fedScoresReachTheBoardInQueueOrderAndAreMarkedDone)
{
    QUdpSocket board;
    ASSERT_TRUE(board.bind(QHostAddress(QHostAddress::LocalHost), 0));
    DevStore::ScoreFeed feeder(*store, DevStore::FeedOptions());
    std::vector<DevStore::FeedScore> fed = feed(feeder, 4);

    Headless run(home, {S("--store"), meet.path(), S("--target"), S("daktronics"), S("--set"),
                        S("Options/COMPort=UDP"), S("--set"),
                        S("Options/UDPPort=") + QString::number(board.localPort()), S("--set"),
                        S("Options/IPAddr=127.0.0.1"), S("--set"), S("Options/Interval=0")});

    BoardView view;
    auto read = [&] {
        while (board.hasPendingDatagrams())
            view.take(view.decoder.decodeDatagram(board.receiveDatagram().data()));
    };

    // Half the scores wait in the queue at Start; the rest come during the run.
    ASSERT_TRUE(waitUntil([&] { read(); return view.count >= 1; }, std::chrono::seconds(20)))
        << run.errors().toStdString();
    const std::vector<DevStore::FeedScore> more = feed(feeder, 4);
    fed.insert(fed.end(), more.begin(), more.end());
    waitUntil([&] { read(); return view.count >= fed.size(); }, std::chrono::seconds(40));
    EXPECT_EQ(run.terminate(), 0) << run.errors().toStdString();
    read();
    view.expectQueueOrder(fed);

    // Every row taken is marked for application 4, and no other.
    QList<int> fedIds;
    for (const DevStore::FeedScore &f : fed)
        fedIds.append(f.dataId);
    std::sort(fedIds.begin(), fedIds.end());
    EXPECT_EQ(queueDone(), fedIds);

    // The overrides held for the run only: the key was not written with them.
    const QString key = home.file(S("config/Corvane/Kestra.ini"));
    if (QFile::exists(key)) {
        QFile file(key);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_FALSE(file.readAll().contains("UDP"));
    }
}

TEST(HeadlessLostServerTest, aServerThatGoesAwayEndsTheRunWithAFailure)
{
    PrivatePostgres server;
    const Endpoint endpoint = server.endpoint();
    const QString address = S("%1:%2").arg(endpoint.host).arg(endpoint.port);
    seedMeet(address);
    TempDir home;
    Headless run(home, {S("--store"), address, S("--set"), S("Options/COMPort=UDP"), S("--set"),
                        S("Options/UDPPort=9"), S("--set"), S("Options/IPAddr=127.0.0.1")});
    ASSERT_TRUE(run.waitForError(S("running:"), std::chrono::seconds(20))) << run.errors().toStdString();
    server.stop();
    // The next poll finds the server gone: the operator is told, and the run
    // ends for its supervisor to start again.
    EXPECT_EQ(run.finish(30000), 1) << run.errors().toStdString();
    const QString errors = run.errors();
    EXPECT_EQ(errors.count(S("Kestra is no longer able to communicate with the server")), 1) << errors.toStdString();
    EXPECT_TRUE(errors.contains(S("kestra-headless: the connection to the meet database was lost")))
        << errors.toStdString();
}

TEST_F(HeadlessProcessTest, refusalsEndWithTheirStatusAndOneClearLine)
{
    TempDir empty;
    const struct {
        QStringList arguments;
        int status;
        const char *message;
    } lines[] = {
        {{"--colour", "red"}, 2, "kestra-headless: unknown option \"--colour\""},
        {{"--store", empty.path()}, 1, "kestra-headless: The \"Marlowen\" database alias could not be found on the server"},
        {{"--server", "Nope"}, 1,
         "kestra-headless: Kestra was unable to find the server \"Nope\" in the list of registered servers."},
        {{"--store", meet.path(), "--meet", "99"}, 3, "kestra-headless: --meet 99"},
        {{"--store", meet.path(), "--events", "5"}, 3,
         "kestra-headless: --events: Event 5 is not in the selected event group, which has 4 events."},
        {{"--store", "127.0.0.1:1"}, 1,
         "kestra-headless: Kestra was unable to connect to the server \"127.0.0.1:1\": PostgreSQL store "
         "127.0.0.1:1: cannot connect to the server: connection to server at \"127.0.0.1\", port 1 failed: "
         "Connection refused Is the server running"},
        {{"--store", "meetfolder"}, 1, "kestra-headless: \"meetfolder\" is not a PostgreSQL server that answers"},
    };
    for (const auto &line : lines) {
        SCOPED_TRACE(line.message);
        Headless run(home, line.arguments);
        EXPECT_EQ(run.finish(), line.status) << run.errors().toStdString();
        // Another program on this machine may hold the now-up ports; the
        // listeners then say so, which is not the refusal's business.
        QStringList told = run.errors().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        told.removeIf([](const QString &l) { return l.startsWith(S("now-up listener on UDP")); });
        // One line, told once: no echo of a dialog before the summary.
        ASSERT_EQ(told.size(), 1) << run.errors().toStdString();
        EXPECT_TRUE(told.front().startsWith(S(line.message))) << run.errors().toStdString();
    }
    EXPECT_TRUE(queueDone().isEmpty());
}

} // namespace
