// The serial path end to end: a real transport writing to one side of a socat
// pseudo-terminal pair, read back on the other side at 19200 8N1.
#include "OutputStation.h"

#include "outputs/BoardDecoder.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QSerialPort>

#include <gtest/gtest.h>

#include <memory>

using namespace kestra;
using namespace kestra::test;

namespace {

// The board's end of the cable.
class SerialReader {
public:
    explicit SerialReader(const QString &device)
    {
        m_port.setPortName(device);
        m_port.setBaudRate(QSerialPort::Baud19200);
        m_port.setDataBits(QSerialPort::Data8);
        m_port.setParity(QSerialPort::NoParity);
        m_port.setStopBits(QSerialPort::OneStop);
        EXPECT_TRUE(m_port.open(QIODevice::ReadOnly)) << m_port.errorString().toStdString();
    }
    QByteArray read(qsizetype count)
    {
        waitUntil([&] {
            m_port.waitForReadyRead(10);
            m_got += m_port.readAll();
            return m_got.size() >= count;
        });
        return m_got;
    }

private:
    QSerialPort m_port;
    QByteArray m_got;
};

QString realDevice(const QString &link)
{
    return QFileInfo(link).canonicalFilePath();
}

} // namespace

TEST(SerialLine, FramesArriveWholeAtTheOtherEnd)
{
    PtyPair cable;
    SerialReader board(cable.deviceB());
    OutputStation station(realDevice(cable.deviceA()));
    station.record.pack(layout::eventDBonus(1), QStringLiteral("0.100"));
    station.meet.useDBonus = true;
    EXPECT_EQ(station.writer.SendDaktronicsEvent(1), DeviceErrors::Success);
    EXPECT_TRUE(station.transport.isPortOpen());

    const QByteArray dBonus("\x16" "00000000" "\x01" "00401" "03429" "\x02" "0.100 " "\x04" "8D" "\x17");
    const QByteArray got = board.read(106 + 45 + 31);
    ASSERT_EQ(got.size(), 106 + 45 + 31);
    EXPECT_EQ(got.right(31), dBonus);
    EXPECT_EQ(got.left(21), QByteArray("\x16" "00000000" "\x01" "00401" "00000" "\x02"));
    EXPECT_EQ(got.mid(106, 21), QByteArray("\x16" "00000000" "\x01" "00401" "02261" "\x02"));

    DaktronicsDecoder decoder;
    const DecodeResult decoded = decoder.feed(got);
    EXPECT_TRUE(decoded.errors.isEmpty());
    ASSERT_EQ(decoded.frames.size(), 3u);
}

TEST(SerialLine, ALargeFrameReachesThePortWhole)
{
    PtyPair cable;
    SerialReader board(cable.deviceB());
    DeviceTransport transport;
    transport.setPortName(cable.deviceA()); // the link itself, not only /dev paths
    transport.setBaseAddress(760);
    QByteArray big(5701, 'x');
    for (int i = 0; i < big.size(); ++i)
        big[i] = char(i % 251);
    EXPECT_EQ(transport.SendDeviceData(big), DeviceErrors::Success);
    EXPECT_EQ(board.read(big.size()), big);
}

TEST(SerialLine, AnUnpluggedAdapterGivesCodeTwoOnEverySend)
{
    auto cable = std::make_unique<PtyPair>();
    DeviceTransport transport;
    transport.setPortName(realDevice(cable->deviceA()));
    transport.setBaseAddress(760);
    {
        SerialReader board(cable->deviceB());
        ASSERT_EQ(transport.SendDeviceData("hello"), DeviceErrors::Success);
        EXPECT_EQ(board.read(5), QByteArray("hello"));
    }
    cable.reset(); // the adapter goes away while the port is open
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(transport.SendDeviceData("anyone?"), DeviceErrors::SendFailed) << i;
    EXPECT_TRUE(transport.isPortOpen()); // no reopen until setup closes it
    transport.ClosePort();
    EXPECT_EQ(transport.SendDeviceData("anyone?"), DeviceErrors::PortOpenFailed);
}

TEST(SerialLine, APortHeldByAnotherProgramFailsToOpenUntilFree)
{
    PtyPair cable;
    DeviceTransport holder;
    holder.setPortName(realDevice(cable.deviceA()));
    holder.setBaseAddress(760);
    ASSERT_EQ(holder.OpenPort(), DeviceErrors::Success);

    DeviceTransport second;
    second.setPortName(realDevice(cable.deviceA()));
    second.setBaseAddress(760);
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::PortOpenFailed);
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::PortOpenFailed);
    holder.ClosePort();
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::Success);
}
