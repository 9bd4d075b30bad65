// The now-up listeners on real sockets: datagrams from 127.0.0.1 through the
// line routines into a real display block, and out as Daktronics frames to a
// board socket.
#include "NowUpStation.h"

#include "meetdb/LostConnection.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

using Channel = NowUpListeners::Channel;

QByteArray nowUpXml(int event, const char *num, const char *first, const char *last, const char *gym)
{
    return QStringLiteral("<NowUp Ev_Num=\"%1\" Num=\"%2\" FName=\"%3\" LName=\"%4\"><Gym>%5</Gym></NowUp>")
        .arg(event)
        .arg(QString::fromUtf8(num), QString::fromUtf8(first), QString::fromUtf8(last), QString::fromUtf8(gym))
        .toUtf8();
}

QByteArray newScoreXml(int event)
{
    return QStringLiteral("<NewScore Ev_Num=\"%1\"/>").arg(event).toUtf8();
}

class NowUpListenersTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(station.listeners.start()); }

    NowUpStation station;
};

} // namespace

TEST_F(NowUpListenersTest, ListensOnBothPortsOfAnyAddress)
{
    for (Channel c : {Channel::Xml, Channel::Line}) {
        EXPECT_TRUE(station.listeners.isListening(c));
        EXPECT_NE(station.listeners.port(c), 0);
        const QUdpSocket *socket = station.listeners.socketForTesting(c);
        ASSERT_NE(socket, nullptr);
        // Dual-stack, or IPv4 alone on a host without IPv6.
        const QHostAddress bound = socket->localAddress();
        EXPECT_TRUE(bound == QHostAddress(QHostAddress::Any) || bound == QHostAddress(QHostAddress::AnyIPv4))
            << bound.toString().toStdString();
    }
    EXPECT_NE(station.listeners.port(Channel::Xml), station.listeners.port(Channel::Line));
}

TEST(NowUpListenersPorts, TheFixedPortsByDefault)
{
    NowUpListeners listeners(nullptr, nullptr);
    EXPECT_EQ(listeners.port(Channel::Xml), 51521);
    EXPECT_EQ(listeners.port(Channel::Line), 23467);
    EXPECT_FALSE(listeners.isListening(Channel::Xml));
}

// Each step: a datagram to one port, the now-up line it changes (slot 0:
// none, and no frame), and every line of the region checked after it. Parse
// faults are the parser's own table; here one of each port shows that a
// refused datagram leaves the board alone.
TEST_F(NowUpListenersTest, DatagramsFillAndClearTheNowUpLines)
{
    const QByteArray longFloor =
        nowUpBytes("FLOOR", "1234", "Zo\xeb Featherstonehaugh-Worthington-Smythe", "Northern Lights Gymn");
    const QByteArray longXml =
        nowUpXml(4, "12345", "Zoë", "Featherstonehaugh-Worthington-Smythe", "Northern Lights Gymnastics Academy");
    const struct Step {
        const char *what;
        Channel channel;
        QByteArray datagram;
        int slot;
        QByteArray line;
    } steps[] = {
        {"NowUp fills slot 2", Channel::Xml, nowUpXml(2, "105", "Ann", "Lee", "Harbor Gym"), 2,
         nowUpBytes("BARS", "105", "Ann Lee", "Harbor Gym")},
        {"the same again sends nothing", Channel::Xml, nowUpXml(2, "105", "Ann", "Lee", "Harbor Gym"), 0, {}},
        {"a quoted comma name on event 3", Channel::Line, "SCOREGEN,1,3,105,\"Ann Lee\"", 3,
         nowUpBytes("BEAM", "105", "Ann Lee", "")},
        {"event 0 does nothing", Channel::Line, "SCOREGEN,1,0,105,Ann", 0, {}},
        {"SCOREGEN-LAST clears but the title", Channel::Line, "SCOREGEN-LAST,1,3", 3, nowUpBytes("BEAM", "", "", "")},
        {"NewScore clears but the title", Channel::Xml, newScoreXml(2), 2, nowUpBytes("BARS", "", "", "")},
        {"malformed XML changes nothing", Channel::Xml, "<NowUp Ev_Num=\"1\"", 0, {}},
        {"event 5 has no event in the row", Channel::Xml, nowUpXml(5, "1", "A", "B", "C"), 0, {}},
        {"long texts are cut, names go to Latin-1", Channel::Xml, longXml, 4, longFloor},
        {"the same long texts again send nothing", Channel::Xml, longXml, 0, {}},
    };
    std::array<QByteArray, 6> lines;
    lines.fill(QByteArray(70, ' '));
    const QByteArray outside = station.outsideNowUp();
    for (const Step &step : steps) {
        SCOPED_TRACE(step.what);
        ASSERT_TRUE(station.deliver(step.channel, step.datagram));
        if (step.slot)
            lines[step.slot - 1] = step.line;
        for (int s = 1; s <= 6; ++s)
            EXPECT_EQ(station.nowUpLine(s), lines[s - 1]) << "slot " << s;
        // The changed line goes out whole, at its own offset.
        const QList<QByteArray> frames = station.frames();
        ASSERT_EQ(frames.size(), step.slot ? 1 : 0);
        if (step.slot) {
            EXPECT_EQ(frames[0], DaktronicsFrame(5191 + 70 * step.slot, step.line));
        }
    }
    EXPECT_EQ(station.outsideNowUp(), outside);
    EXPECT_TRUE(station.context.recorder.messages.empty());
}

TEST_F(NowUpListenersTest, TheNameFollowsTheNameFormatOfTheMoment)
{
    const char *expected[] = {"Ann Lee", "Lee, Ann", "A Lee", "Lee"};
    for (int format = 0; format < 4; ++format) {
        station.context.format = format;
        ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "9", "Ann", "Lee", "G")));
        EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "9", expected[format], "G")) << format;
    }
    // The comma line carries its name whole; the format does not apply.
    station.context.format = 1;
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,9,\"Ann Lee\""));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "9", "Ann Lee", ""));
}

// The selection is read as each datagram comes: an unticked event has no
// line, the ones after it move up, and in dual display only column 1 is fed.
TEST_F(NowUpListenersTest, DatagramsFollowTheTickedEventsOfColumnOne)
{
    station.context.ticked[1][2] = false;
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(2, "105", "Ann", "Lee", "G")));
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,2,105,Ann"));
    EXPECT_EQ(station.nowUpRegion(), QByteArray(420, ' '));
    EXPECT_TRUE(station.frames().isEmpty());
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,3,7,Bo"));
    EXPECT_EQ(station.nowUpLine(2), nowUpBytes("BEAM", "7", "Bo", ""));

    station.context.dual = true;
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,7,Bo"));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "7", "Bo", ""));
    // Side 2's first event is slot 4 now, and no datagram can reach it.
    EXPECT_EQ(station.nowUpLine(4), QByteArray(70, ' '));
}

TEST_F(NowUpListenersTest, AMalformedFloodIsLoggedOnceWithItsSenderAndTheListenerGoesOn)
{
    for (int i = 0; i < 200; ++i)
        station.send(Channel::Xml, "<NowUp Ev_Num=\"1\"");
    ASSERT_TRUE(waitUntil([&] { return station.listeners.counts(Channel::Xml).received == 200; }));
    ASSERT_EQ(station.log.size(), 1) << station.log.join(QLatin1Char('\n')).toStdString();
    const QString line = station.log[0];
    const QString expected = QStringLiteral("now-up listener on UDP %1: malformed datagram of 17 bytes from "
                                            "127.0.0.1:%2: not well-formed XML, line 1, column 17: ")
                                 .arg(station.listeners.port(Channel::Xml))
                                 .arg(station.sender.localPort());
    EXPECT_TRUE(line.startsWith(expected)) << line.toStdString();
    EXPECT_EQ(station.listeners.counts(Channel::Xml).malformed, 200u);
    EXPECT_EQ(station.nowUpRegion(), QByteArray(420, ' '));

    // Another kind of fault is told at once; the flood's count comes with the
    // next line of its kind after a minute.
    ASSERT_TRUE(station.deliver(Channel::Xml, "<NewScore/>"));
    ASSERT_EQ(station.log.size(), 2);
    EXPECT_TRUE(station.log[1].contains(QStringLiteral("Ev_Num"))) << station.log[1].toStdString();
    station.ticks.advance(60000);
    ASSERT_TRUE(station.deliver(Channel::Xml, "<NowUp"));
    ASSERT_EQ(station.log.size(), 3);
    EXPECT_TRUE(station.log[2].contains(QStringLiteral("199 more like it"))) << station.log[2].toStdString();

    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "9", "Ann", "Lee", "G")));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "9", "Ann Lee", "G"));
}

TEST_F(NowUpListenersTest, OversizedAndBinaryDatagramsAreHarmless)
{
    const QByteArray datagrams[] = {
        QByteArray(65507, 'x'),
        "<NowUp Ev_Num=\"1\" Num=\"1\" FName=\"" + QByteArray(60000, 'A') + "\" LName=\"B\"><Gym/></NowUp>",
        "SCOREGEN,1,1,1," + QByteArray(60000, 'N'),
        QByteArray(1000, '\0'),
        QByteArray("\xff\xfe\xfd\x00\x01", 5),
        QByteArray(),
    };
    for (const QByteArray &d : datagrams) {
        ASSERT_TRUE(station.deliver(Channel::Xml, d));
        ASSERT_TRUE(station.deliver(Channel::Line, d));
    }
    // Only the two long names got through, cut to their fields.
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "1", QByteArray(40, 'N').constData(), ""));
    EXPECT_TRUE(station.listeners.isListening(Channel::Xml));
    EXPECT_TRUE(station.listeners.isListening(Channel::Line));
}

TEST_F(NowUpListenersTest, AFillThatThrowsIsLoggedAndTheListenerGoesOn)
{
    TempDir dir;
    // A folder where the trace file should be: the writer cannot open it.
    station.trace.setPath(dir.path());
    station.trace.setEnabled(true);
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,9,Ann"));
    ASSERT_EQ(station.log.size(), 1);
    EXPECT_TRUE(station.log[0].contains(QStringLiteral("not completed"))) << station.log[0].toStdString();
    station.trace.setEnabled(false);
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,2,10,Bo"));
    EXPECT_EQ(station.nowUpLine(2), nowUpBytes("BARS", "10", "Bo", ""));
    EXPECT_EQ(station.frames().size(), 1);
}

TEST_F(NowUpListenersTest, ALostConnectionGoesToTheApplicationWideHandler)
{
    RecordingPrompt operatorBox;
    bool restarted = false;
    LostConnectionHandler handler(operatorBox, {nullptr, [] { return QStringLiteral("MEETSRV"); },
                                                [&] { restarted = true; }, nullptr});
    station.listeners.setFailureHandler([&](std::exception_ptr e) { handler.HandleApplicationException(e); });
    station.context.connectionLost = true;
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,9,Ann"));
    EXPECT_TRUE(restarted);
    ASSERT_EQ(operatorBox.messages.size(), 1u);
    EXPECT_TRUE(operatorBox.messages[0].text.contains(QStringLiteral("MEETSRV")));
    EXPECT_TRUE(station.log.isEmpty());
    EXPECT_EQ(station.nowUpRegion(), QByteArray(420, ' '));
    // Until the program is gone, the listener stays up.
    station.context.connectionLost = false;
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,9,Ann"));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "9", "Ann", ""));
}

// A failed send ends in a modal box; while it is up, datagrams on the same
// port go on being served, as the box's own event loop runs.
TEST_F(NowUpListenersTest, DatagramsAreServedWhileADeviceErrorBoxIsUp)
{
    station.transport.setPortName(QString()); // every send fails: no port defined
    bool servedInside = false;
    station.context.recorder.setWhileShown([&](const PromptMessage &) {
        if (station.context.recorder.messages.size() != 1)
            return;
        station.send(Channel::Xml, nowUpXml(2, "8", "Inner", "One", "G"));
        servedInside = waitUntil([&] { return station.nowUpLine(2).contains("Inner One"); });
    });
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "7", "Outer", "One", "G")));
    EXPECT_TRUE(servedInside);
    ASSERT_EQ(station.context.recorder.messages.size(), 2u);
    EXPECT_TRUE(station.context.recorder.messages[0].text.contains(kErrorSendingEventScore));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "7", "Outer One", "G"));
    EXPECT_EQ(station.nowUpLine(2), nowUpBytes("BARS", "8", "Inner One", "G"));
}

TEST_F(NowUpListenersTest, AListenerThatLosesItsSocketListensAgainOnTheSamePort)
{
    const struct {
        const char *how;
        Channel channel;
        bool abort;
    } losses[] = {{"XML closed", Channel::Xml, false},
                  {"XML aborted", Channel::Xml, true},
                  {"line closed", Channel::Line, false},
                  {"line aborted", Channel::Line, true}};
    int event = 0;
    for (const auto &loss : losses) {
        SCOPED_TRACE(loss.how);
        const quint16 port = station.listeners.port(loss.channel);
        const auto restarts = station.listeners.counts(loss.channel).restarts;
        station.log.clear();
        station.ticks.advance(60000); // each loss gets a line of its own
        QUdpSocket *socket = station.listeners.socketForTesting(loss.channel);
        ASSERT_NE(socket, nullptr);
        if (loss.abort)
            socket->abort();
        else
            socket->close();
        EXPECT_FALSE(station.listeners.isListening(loss.channel));
        ASSERT_TRUE(waitUntil([&] { return station.listeners.isListening(loss.channel); }));
        EXPECT_EQ(station.listeners.port(loss.channel), port);
        EXPECT_EQ(station.listeners.counts(loss.channel).restarts, restarts + 1);
        ASSERT_EQ(station.log.size(), 2) << station.log.join(QLatin1Char('\n')).toStdString();
        EXPECT_TRUE(station.log[0].contains(QStringLiteral("listening lost"))) << station.log[0].toStdString();
        EXPECT_TRUE(station.log[1].contains(QStringLiteral("listening again"))) << station.log[1].toStdString();

        ++event;
        const QByteArray datagram = loss.channel == Channel::Xml ? nowUpXml(event, "1", "A", "B", "C")
                                                                  : QStringLiteral("SCOREGEN,1,%1,1,AB").arg(event).toUtf8();
        ASSERT_TRUE(station.deliver(loss.channel, datagram));
        EXPECT_NE(station.nowUpLine(event).mid(6), QByteArray(64, ' '));
    }
}

TEST(NowUpListenersRetry, APortHeldByAnotherProgramIsTakenOnceItIsFree)
{
    NowUpStation station;
    // Another program on the port, before the listeners start.
    auto holder = std::make_unique<QUdpSocket>();
    ASSERT_TRUE(holder->bind(QHostAddress(QHostAddress::Any), 0, QAbstractSocket::DontShareAddress));
    const quint16 held = holder->localPort();
    station.listeners.setPorts(held, 0);
    QList<bool> changes;
    QObject::connect(&station.listeners, &NowUpListeners::listeningChanged, [&](Channel c, bool on) {
        if (c == Channel::Xml)
            changes << on;
    });

    EXPECT_FALSE(station.listeners.start());
    EXPECT_FALSE(station.listeners.isListening(Channel::Xml));
    EXPECT_TRUE(station.listeners.isListening(Channel::Line));
    ASSERT_EQ(station.log.size(), 1);
    EXPECT_TRUE(station.log[0].contains(QStringLiteral("cannot listen on"))) << station.log[0].toStdString();
    EXPECT_TRUE(station.log[0].contains(QString::number(held))) << station.log[0].toStdString();

    // Several retries go by, told once.
    waitUntil([] { return false; }, std::chrono::milliseconds(300));
    EXPECT_FALSE(station.listeners.isListening(Channel::Xml));
    EXPECT_EQ(station.log.size(), 1);

    holder.reset();
    ASSERT_TRUE(waitUntil([&] { return station.listeners.isListening(Channel::Xml); }));
    EXPECT_EQ(station.listeners.port(Channel::Xml), held);
    EXPECT_EQ(changes, QList<bool>{true});
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "3", "A", "B", "C")));
    EXPECT_EQ(station.nowUpLine(1), nowUpBytes("VAULT", "3", "A B", "C"));
}

TEST(NowUpListenersRetry, StopClosesThePortsAndStartOpensThemAgain)
{
    NowUpStation station;
    ASSERT_TRUE(station.listeners.start());
    const quint16 port = station.listeners.port(Channel::Line);
    station.listeners.stop();
    station.listeners.stop();
    EXPECT_FALSE(station.listeners.isListening(Channel::Line));
    // The port is free for anyone once stopped.
    QUdpSocket other;
    EXPECT_TRUE(other.bind(QHostAddress(QHostAddress::Any), port, QAbstractSocket::DontShareAddress));
    other.close();

    ASSERT_TRUE(station.listeners.start());
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,2,4,Di"));
    EXPECT_EQ(station.nowUpLine(2), nowUpBytes("BARS", "4", "Di", ""));
}

TEST(NowUpListenersRetry, AStoppedListenerDoesNotRetry)
{
    NowUpStation station;
    QUdpSocket holder;
    ASSERT_TRUE(holder.bind(QHostAddress(QHostAddress::Any), 0, QAbstractSocket::DontShareAddress));
    station.listeners.setPorts(holder.localPort(), 0);
    EXPECT_FALSE(station.listeners.start());
    station.listeners.stop();
    holder.close();
    waitUntil([] { return false; }, std::chrono::milliseconds(200));
    EXPECT_FALSE(station.listeners.isListening(Channel::Xml));
    EXPECT_EQ(station.listeners.socketForTesting(Channel::Xml), nullptr);
}
