// The now-up listeners on real sockets: ports, datagrams on the wire from
// 127.0.0.1 to the fill call, bad datagrams, the log, and listening lost and
// taken up again. What a datagram means is the parser's table; what a fill
// writes is the line routines'.
#include "generator/NowUpListeners.h"

#include "support/TestSupport.h"
#include "support/TickSource.h"

#include <QUdpSocket>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

using Channel = NowUpListeners::Channel;

QByteArray nowUpXml(int event, const char *first, const char *last = "Lee")
{
    return QStringLiteral("<NowUp Ev_Num=\"%1\" Num=\"9\" FName=\"%2\" LName=\"%3\"><Gym>G</Gym></NowUp>")
        .arg(event).arg(S(first), S(last)).toUtf8();
}

// Both listeners on free ports, each fill noted as "event/side num|name|gym".
struct Station {
    Station()
    {
        listeners.setPorts(0, 0);
        listeners.setTickSource(ticks);
        listeners.setLogSink([this](const QString &line) { log << line; });
        listeners.setRetryDelays(std::chrono::milliseconds(20), std::chrono::milliseconds(80));
    }
    void send(Channel channel, const QByteArray &datagram)
    {
        EXPECT_EQ(sender.writeDatagram(datagram, QHostAddress::LocalHost, listeners.port(channel)), datagram.size());
    }
    // Sends and waits until the listener has handled it.
    bool deliver(Channel channel, const QByteArray &datagram)
    {
        const auto before = listeners.counts(channel).received;
        send(channel, datagram);
        return waitUntil([&] { return listeners.counts(channel).received > before; });
    }

    int format = 0;
    QStringList filled;
    std::function<void()> duringFill;
    FakeTickSource ticks;
    QStringList log;
    NowUpListeners listeners{[this] { return format; }, [this](int event, int side, QString num, QString name, QString gym) {
                                 filled << QStringLiteral("%1/%2 %3|%4|%5").arg(event).arg(side).arg(num, name, gym);
                                 if (duringFill)
                                     duringFill();
                             }};
    QUdpSocket sender;
};

class NowUpListenersTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(station.listeners.start()); }
    Station station;
};

} // namespace

TEST_F(NowUpListenersTest, ListensOnTwoPortsOfAnyAddressAndFillsColumnOne)
{
    NowUpListeners fixed(nullptr, nullptr);
    EXPECT_EQ(fixed.port(Channel::Xml), 51521);
    EXPECT_EQ(fixed.port(Channel::Line), 23467);
    for (Channel c : {Channel::Xml, Channel::Line}) {
        EXPECT_TRUE(station.listeners.isListening(c));
        // Dual-stack, or IPv4 alone on a host without IPv6.
        const QHostAddress bound = station.listeners.socketForTesting(c)->localAddress();
        EXPECT_TRUE(bound == QHostAddress(QHostAddress::Any) || bound == QHostAddress(QHostAddress::AnyIPv4))
            << bound.toString().toStdString();
    }
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(2, "Ann")));
    station.format = 1; // asked for each datagram
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(2, "Ann")));
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,3,105,\"Ann Lee\""));
    ASSERT_TRUE(station.deliver(Channel::Line, "<NewScore Ev_Num=\"4\"/>")); // XML on the comma port
    ASSERT_TRUE(station.deliver(Channel::Xml, "SCOREGEN-LAST,1,3"));
    EXPECT_EQ(station.filled, (QStringList{"2/1 9|Ann Lee|G", "2/1 9|Lee, Ann|G", "3/1 105|Ann Lee|"}));
    EXPECT_EQ(station.listeners.counts(Channel::Xml).filled, 2u);
    EXPECT_EQ(station.listeners.counts(Channel::Xml).malformed, 1u);
    EXPECT_EQ(station.listeners.counts(Channel::Line).ignored, 1u);
}

TEST_F(NowUpListenersTest, AMalformedFloodIsLoggedOnceWithItsSenderAndTheListenerGoesOn)
{
    for (int i = 0; i < 200; ++i)
        station.send(Channel::Xml, "<NowUp Ev_Num=\"1\"");
    ASSERT_TRUE(waitUntil([&] { return station.listeners.counts(Channel::Xml).received == 200; }));
    ASSERT_EQ(station.log.size(), 1) << station.log.join(QLatin1Char('\n')).toStdString();
    const QString expected = QStringLiteral("now-up listener on UDP %1: malformed datagram of 17 bytes from "
                                            "127.0.0.1:%2: not well-formed XML, line 1, column 17: ")
                                 .arg(station.listeners.port(Channel::Xml))
                                 .arg(station.sender.localPort());
    EXPECT_TRUE(station.log[0].startsWith(expected)) << station.log[0].toStdString();

    // Another kind of fault is told at once; the flood's count comes with the
    // next line of its kind after a minute.
    ASSERT_TRUE(station.deliver(Channel::Xml, "<NewScore/>"));
    ASSERT_EQ(station.log.size(), 2);
    EXPECT_TRUE(station.log[1].contains(QStringLiteral("Ev_Num"))) << station.log[1].toStdString();
    station.ticks.advance(60000);
    ASSERT_TRUE(station.deliver(Channel::Xml, "<NowUp"));
    ASSERT_EQ(station.log.size(), 3);
    EXPECT_TRUE(station.log[2].contains(QStringLiteral("199 more like it"))) << station.log[2].toStdString();
    EXPECT_TRUE(station.filled.isEmpty());
}

TEST_F(NowUpListenersTest, OversizedAndBinaryDatagramsAreHarmless)
{
    for (const QByteArray &d : {QByteArray(65507, 'x'), QByteArray(1000, '\0'), QByteArray("\xff\xfe\xfd\x00\x01", 5), QByteArray(),
                                "<NowUp Ev_Num=\"1\" Num=\"1\" FName=\"" + QByteArray(60000, 'A') + "\" LName=\"B\"><Gym/></NowUp>"}) {
        ASSERT_TRUE(station.deliver(Channel::Xml, d));
        ASSERT_TRUE(station.deliver(Channel::Line, d));
    }
    ASSERT_EQ(station.filled.size(), 1);
    EXPECT_TRUE(station.filled[0].endsWith(S("AAA B|"))) << "the long name whole";
    EXPECT_TRUE(station.listeners.isListening(Channel::Xml) && station.listeners.isListening(Channel::Line));
}

TEST_F(NowUpListenersTest, AFillThatThrowsGoesToTheFailureHandlerOrTheLogAndTheListenerGoesOn)
{
    station.duringFill = [] { throw std::runtime_error("DebugIOOutput.txt cannot be written"); };
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,1,9,Ann"));
    ASSERT_EQ(station.log.size(), 1);
    EXPECT_TRUE(station.log[0].contains(QStringLiteral("not completed"))) << station.log[0].toStdString();

    std::vector<std::exception_ptr> handled;
    station.listeners.setFailureHandler([&](std::exception_ptr e) { handled.push_back(e); });
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,2,10,Bo"));
    EXPECT_EQ(handled.size(), 1u);
    EXPECT_EQ(station.log.size(), 1);
    station.duringFill = nullptr;
    ASSERT_TRUE(station.deliver(Channel::Line, "SCOREGEN,1,3,11,Cy"));
    EXPECT_EQ(station.filled.size(), 3);
}

// A fill may end in a modal box whose own loop serves the next datagrams of
// the same port before the first one is done.
TEST_F(NowUpListenersTest, DatagramsAreServedFromInsideAFill)
{
    bool servedInside = false;
    station.duringFill = [&] {
        if (station.filled.size() != 1)
            return;
        station.send(Channel::Xml, nowUpXml(2, "Inner"));
        servedInside = waitUntil([&] { return station.filled.size() == 2; });
    };
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "Outer")));
    EXPECT_TRUE(servedInside);
    EXPECT_EQ(station.filled, (QStringList{"1/1 9|Outer Lee|G", "2/1 9|Inner Lee|G"}));
}

TEST_F(NowUpListenersTest, AListenerThatLosesItsSocketListensAgainOnTheSamePort)
{
    for (const auto &[channel, abort] : {std::pair{Channel::Xml, false}, {Channel::Line, true}}) {
        SCOPED_TRACE(int(channel));
        const quint16 port = station.listeners.port(channel);
        station.log.clear();
        station.ticks.advance(60000); // each loss gets a line of its own
        QUdpSocket *socket = station.listeners.socketForTesting(channel);
        abort ? socket->abort() : socket->close();
        EXPECT_FALSE(station.listeners.isListening(channel));
        ASSERT_TRUE(waitUntil([&] { return station.listeners.isListening(channel); }));
        EXPECT_EQ(station.listeners.port(channel), port);
        EXPECT_EQ(station.listeners.counts(channel).restarts, 1u);
        ASSERT_EQ(station.log.size(), 2) << station.log.join(QLatin1Char('\n')).toStdString();
        EXPECT_TRUE(station.log[0].contains(QStringLiteral("listening lost"))) << station.log[0].toStdString();
        EXPECT_TRUE(station.log[1].contains(QStringLiteral("listening again"))) << station.log[1].toStdString();
        ASSERT_TRUE(station.deliver(channel, channel == Channel::Xml ? nowUpXml(1, "A") : QByteArray("SCOREGEN,1,1,1,A")));
    }
    EXPECT_EQ(station.filled.size(), 2);
}

TEST(NowUpListenersRetry, APortHeldByAnotherProgramIsTakenOnceFreeAndStopEndsTheRetries)
{
    Station station;
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
    EXPECT_TRUE(station.listeners.isListening(Channel::Line));
    ASSERT_EQ(station.log.size(), 1);
    EXPECT_TRUE(station.log[0].contains(S("cannot listen on")) && station.log[0].contains(QString::number(held)))
        << station.log[0].toStdString();
    waitUntil([] { return false; }, std::chrono::milliseconds(300)); // several retries go by, told once
    EXPECT_FALSE(station.listeners.isListening(Channel::Xml));
    EXPECT_EQ(station.log.size(), 1);
    holder.reset();
    ASSERT_TRUE(waitUntil([&] { return station.listeners.isListening(Channel::Xml); }));
    EXPECT_EQ(station.listeners.port(Channel::Xml), held);
    EXPECT_EQ(changes, QList<bool>{true});
    ASSERT_TRUE(station.deliver(Channel::Xml, nowUpXml(1, "A")));

    // Stopped while a port is held, a listener frees the other and retries no more.
    station.listeners.stop();
    QUdpSocket again;
    ASSERT_TRUE(again.bind(QHostAddress(QHostAddress::Any), held, QAbstractSocket::DontShareAddress));
    EXPECT_FALSE(station.listeners.start());
    const quint16 linePort = station.listeners.port(Channel::Line);
    station.listeners.stop();
    station.listeners.stop();
    again.close();
    waitUntil([] { return false; }, std::chrono::milliseconds(200));
    EXPECT_FALSE(station.listeners.isListening(Channel::Xml)) << "a stopped listener does not retry";
    EXPECT_EQ(station.listeners.socketForTesting(Channel::Xml), nullptr);
    QUdpSocket other;
    EXPECT_TRUE(other.bind(QHostAddress(QHostAddress::Any), linePort, QAbstractSocket::DontShareAddress));
}
