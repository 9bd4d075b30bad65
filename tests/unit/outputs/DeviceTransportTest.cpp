#include "ScriptedLines.h"

#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

// The texts of the codes this transport gives; the others are pinned where
// the operator meets them (line fill, display cycle, told box tests).
TEST(DeviceErrorText, TheCodesNoOtherTestMeets)
{
    EXPECT_EQ(DeviceErrorText(DeviceErrors::BaseAddressNotDefined), QStringLiteral("The COM port base i/o address has not been defined"));
    EXPECT_EQ(DeviceErrorText(DeviceErrors::Success), QStringLiteral("Success"));
    EXPECT_EQ(DeviceErrorText(0xFFFFFFFFu), QStringLiteral("Unknown error code"));
}

TEST(DeviceTransport, PortNamesOpenTheirDevices)
{
    const struct {
        const char *name;
        const char *device;
    } cases[] = {
        {"COM1", "/dev/ttyS0"}, {"COM2", "/dev/ttyS1"}, {"COM4", "/dev/ttyS3"}, {"/dev/ttyUSB0", "/dev/ttyUSB0"},
        {"com1", "/dev/com1"}, // the names are COM1 to COM4 as written
    };
    for (const auto &c : cases) {
        EXPECT_EQ(DeviceTransport::deviceForPortName(QString::fromLatin1(c.name)), QString::fromLatin1(c.device))
            << c.name;
    }
}

TEST(DeviceTransport, AMissingDeviceIsCodeNineOnEverySend)
{
    TempDir dir;
    DeviceTransport transport;
    transport.setBaseAddress(760);
    for (const QString &name : {dir.file(QStringLiteral("no-such-tty")), QStringLiteral("udp"), QStringLiteral("Udp")}) {
        transport.setPortName(name);
        EXPECT_EQ(transport.SendDeviceData("frame"), DeviceErrors::PortOpenFailed) << name.toStdString();
        EXPECT_EQ(transport.SendDeviceData("frame"), DeviceErrors::PortOpenFailed) << name.toStdString();
        EXPECT_FALSE(transport.isPortOpen());
        EXPECT_FALSE(transport.lastFailure().isEmpty());
    }
}

// Each refused call tries again (the serial line test shows it on a held port).
TEST(DeviceTransport, ChecksNameThenAddressThenDeviceAndASendKeepsThePortOpen)
{
    for (const bool send : {false, true}) {
        SCOPED_TRACE(send ? "send" : "open");
        ScriptedLineLog log;
        DeviceTransport transport(std::make_unique<ScriptedFactory>(log));
        auto call = [&] { return send ? transport.SendDeviceData("x") : transport.OpenPort(); };
        transport.setBaseAddress(760);
        EXPECT_EQ(call(), DeviceErrors::PortNotDefined);
        transport.setBaseAddress(0);
        EXPECT_EQ(call(), DeviceErrors::PortNotDefined); // both missing: the name is told
        transport.setPortName(QStringLiteral("COM3"));
        EXPECT_EQ(call(), DeviceErrors::BaseAddressNotDefined);
        EXPECT_TRUE(log.opened.isEmpty());
        transport.setBaseAddress(1000);
        log.refuseOpen = true;
        EXPECT_EQ(call(), DeviceErrors::PortOpenFailed);
        log.refuseOpen = false;
        EXPECT_EQ(call(), DeviceErrors::Success);
        EXPECT_EQ(log.opened.last(), QStringLiteral("/dev/ttyS2"));
    }
    // Opened by the first send, kept, and opened again by the first send after a close.
    ScriptedLineLog log;
    auto transport = scriptedTransport(log);
    EXPECT_EQ(transport->SendDeviceData("a"), DeviceErrors::Success);
    EXPECT_EQ(transport->SendDeviceData("b"), DeviceErrors::Success);
    transport->ClosePort();
    transport->ClosePort(); // closing a closed port is harmless
    EXPECT_FALSE(transport->isPortOpen());
    EXPECT_EQ(transport->SendDeviceData("c"), DeviceErrors::Success);
    EXPECT_EQ(std::pair(log.opened.size(), log.closes), std::pair(qsizetype(2), 1));
    EXPECT_EQ(log.written, (QList<QByteArray>{"a", "b", "c"}));
}

namespace {

struct Receiver {
    QUdpSocket socket;
    Receiver() { EXPECT_TRUE(socket.bind(QHostAddress(QHostAddress::LocalHost), 0)); }
    QString port() const { return QString::number(socket.localPort()); }
    QList<QByteArray> take(int count)
    {
        QList<QByteArray> got;
        waitUntil([&] {
            while (socket.hasPendingDatagrams())
                got.append(socket.receiveDatagram().data());
            return got.size() >= count;
        });
        return got;
    }
};

} // namespace

TEST(DeviceTransport, UdpNeedsNoBaseAddressSendsOneDatagramPerFrameAndFollowsItsDestination)
{
    Receiver first;
    Receiver second;
    DeviceTransport transport;
    transport.setPortName(QStringLiteral("UDP"));
    transport.setBaseAddress(0);
    transport.setUdpDestination(QStringLiteral("127.0.0.1"), first.port());
    EXPECT_FALSE(transport.isUdpConnected());
    EXPECT_EQ(transport.SendDeviceData("first frame"), DeviceErrors::Success);
    EXPECT_TRUE(transport.isUdpConnected()); // connected on demand
    EXPECT_EQ(transport.SendDeviceData(QByteArray(5701, 'B')), DeviceErrors::Success);
    EXPECT_EQ(first.take(2), (QList<QByteArray>{"first frame", QByteArray(5701, 'B')}));

    transport.setUdpDestination(QStringLiteral("127.0.0.1"), second.port());
    EXPECT_FALSE(transport.isUdpConnected());
    EXPECT_EQ(transport.SendDeviceData("to second"), DeviceErrors::Success);
    EXPECT_EQ(second.take(1), QList<QByteArray>{"to second"});

    // One-way traffic: a board that is switched off looks like a working one.
    second.socket.close();
    for (int i = 0; i < 3; ++i, QCoreApplication::processEvents())
        EXPECT_EQ(transport.SendDeviceData("into the void"), DeviceErrors::Success);
}

TEST(DeviceTransport, AHostNameIsLookedUpInTheBackgroundWhileFramesWaitInOrder)
{
    Receiver board;
    DeviceTransport transport;
    transport.applySettings(QStringLiteral("UDP"), 760, QStringLiteral("localhost"), board.port());
    EXPECT_TRUE(transport.isUdpResolving()); // the answer comes on the event loop, not in this call
    EXPECT_FALSE(transport.isUdpConnected());
    EXPECT_EQ(transport.SendDeviceData("line 1"), DeviceErrors::Success);
    EXPECT_EQ(transport.SendDeviceData("block 1", FrameKind::Record), DeviceErrors::Success);
    EXPECT_EQ(transport.SendDeviceData("line 2"), DeviceErrors::Success);
    EXPECT_EQ(transport.SendDeviceData("block 2", FrameKind::Record), DeviceErrors::Success);
    EXPECT_EQ(board.take(3), (QList<QByteArray>{"line 1", "block 2", "line 2"}));
    EXPECT_FALSE(transport.isUdpResolving());
    EXPECT_EQ(transport.SendDeviceData("line 3"), DeviceErrors::Success);
    EXPECT_EQ(board.take(1), QList<QByteArray>{"line 3"});
}

TEST(DeviceTransport, AHostNameThatDoesNotResolveIsCodeTwoWithTheReason)
{
    DeviceTransport transport;
    transport.applySettings(QStringLiteral("UDP"), 760, QStringLiteral("no-such-host.invalid"), QStringLiteral("40001"));
    EXPECT_EQ(transport.SendDeviceData("held"), DeviceErrors::Success);
    ASSERT_TRUE(waitUntil([&] { return !transport.isUdpResolving(); }, std::chrono::seconds(20)));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(transport.SendDeviceData("x"), DeviceErrors::SendFailed);
        EXPECT_TRUE(transport.lastFailure().startsWith(QStringLiteral("cannot resolve \"no-such-host.invalid\"")))
            << transport.lastFailure().toStdString();
    }
}

TEST(DeviceTransport, SettingsConnectUdpAtOnceAndMoveTheSerialPort)
{
    Receiver board;
    ScriptedLineLog log;
    DeviceTransport transport(std::make_unique<ScriptedFactory>(log));
    transport.applySettings(QStringLiteral("UDP"), 760, QStringLiteral("127.0.0.1"), board.port());
    EXPECT_TRUE(transport.isUdpConnected());

    const auto serial = [&](const char *port) { transport.applySettings(S(port), 760, S("255.255.255.255"), S("12345")); };
    serial("COM1");
    EXPECT_FALSE(transport.isUdpConnected()); // destination changed, and serial needs no client
    ASSERT_EQ(transport.SendDeviceData("a"), DeviceErrors::Success);
    serial("COM1");
    EXPECT_TRUE(transport.isPortOpen()); // unchanged settings keep the port
    serial("COM3");
    EXPECT_FALSE(transport.isPortOpen());
    ASSERT_EQ(transport.SendDeviceData("b"), DeviceErrors::Success);
    EXPECT_EQ(log.opened, (QStringList{QStringLiteral("/dev/ttyS0"), QStringLiteral("/dev/ttyS2")}));
    EXPECT_EQ(log.closes, 1);
}
