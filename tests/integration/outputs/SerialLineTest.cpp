// The serial path's failures on a socat pseudo-terminal pair read at 19200 8N1.
// Whole frames of every byte value reach the far end in the wire stall test.
#include "outputs/DeviceTransport.h"
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

void attach(DeviceTransport &transport, const QString &device)
{
    transport.setPortName(device);
    transport.setBaseAddress(760);
}

} // namespace

TEST(SerialLine, AnUnpluggedAdapterGivesCodeTwoOnEverySend)
{
    auto cable = std::make_unique<PtyPair>();
    DeviceTransport transport;
    attach(transport, realDevice(cable->deviceA()));
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
    attach(holder, realDevice(cable.deviceA()));
    ASSERT_EQ(holder.OpenPort(), DeviceErrors::Success);

    DeviceTransport second;
    attach(second, realDevice(cable.deviceA()));
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::PortOpenFailed);
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::PortOpenFailed);
    holder.ClosePort();
    EXPECT_EQ(second.SendDeviceData("x"), DeviceErrors::Success);
}
