#include "outputs/DeviceTransport.h"

#include "support/OperatorPrompt.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QHostInfo>
#include <QRegularExpression>
#include <QSerialPort>
#include <QSerialPortInfo>
#include <QUdpSocket>

#include <algorithm>

namespace kestra {

QString DeviceErrorText(DeviceError code)
{
    switch (code) {
    case DeviceErrors::Success: return QStringLiteral("Success");
    case DeviceErrors::TransmitTimeout: return QStringLiteral("Timeout waiting for transmit buffer to clear");
    case DeviceErrors::SendFailed: return QStringLiteral("Error while sending data");
    case DeviceErrors::ReceiveFailed: return QStringLiteral("Error while receiving data");
    case DeviceErrors::ChecksumError: return QStringLiteral("CheckSum (CRC) error");
    case DeviceErrors::ResponseTimeout: return QStringLiteral("Timeout waiting for a response");
    case DeviceErrors::TooMuchData: return QStringLiteral("Too much data received");
    case DeviceErrors::PortNotDefined: return QStringLiteral("The COM port to use has not been defined");
    case DeviceErrors::BaseAddressNotDefined:
        return QStringLiteral("The COM port base i/o address has not been defined");
    case DeviceErrors::PortOpenFailed: return QStringLiteral("Error opening COM port");
    case DeviceErrors::DriverOpenFailed: return QStringLiteral("Can't open the COM port driver");
    case DeviceErrors::NoUsbPylon: return QStringLiteral("Error opening USB port. No Marlowen USB Pylon found");
    default: return QStringLiteral("Unknown error code");
    }
}

void ShowDeviceError(OperatorPrompt &prompt, const QString &context, DeviceError code)
{
    PromptMessage message;
    message.caption = QStringLiteral("Device Communication Error");
    message.text = context + QStringLiteral("\r\r") + DeviceErrorText(code);
    message.icon = PromptIcon::Error;
    message.buttons = PromptButtons::Ok;
    prompt.tell(message);
}

QByteArray DaktronicsChecksum(QByteArrayView text)
{
    unsigned sum = 0;
    for (char c : text)
        sum += static_cast<unsigned char>(c);
    static const char digits[] = "0123456789ABCDEF";
    const unsigned low = sum & 0xFFu;
    const char pair[2] = {digits[low >> 4], digits[low & 0xFu]};
    return QByteArray(pair, 2);
}

namespace {

class QtSerialLine final : public SerialLine {
public:
    bool open(const QString &device) override
    {
        m_port.setPortName(device);
        m_port.setBaudRate(QSerialPort::Baud19200);
        m_port.setDataBits(QSerialPort::Data8);
        m_port.setParity(QSerialPort::NoParity);
        m_port.setStopBits(QSerialPort::OneStop);
        m_port.setFlowControl(QSerialPort::NoFlowControl);
        // Boards never answer; whatever arrives is dropped, in bounded room.
        m_port.setReadBufferSize(4096);
        QObject::connect(&m_port, &QSerialPort::readyRead, &m_port, [this] { m_port.readAll(); });
        return m_port.open(QIODevice::ReadWrite);
    }

    bool write(QByteArrayView data) override
    {
        if (!m_port.isOpen())
            return false;
        m_port.clearError();
        if (m_port.write(data.data(), data.size()) != data.size()) {
            m_port.clear(QSerialPort::Output);
            return false;
        }
        // Blocks as a write to the driver would: until the bytes are with the
        // system, allowing the frame's time on the wire at 19200 baud twice over.
        const qint64 wireMs = data.size() * 10 * 1000 / 19200;
        QDeadlineTimer deadline(2000 + 2 * wireMs);
        while (m_port.bytesToWrite() > 0) {
            if (deadline.hasExpired() || !m_port.waitForBytesWritten(int(deadline.remainingTime()))) {
                m_port.clear(QSerialPort::Output);
                return false;
            }
        }
        return m_port.error() == QSerialPort::NoError || m_port.error() == QSerialPort::TimeoutError;
    }

    void close() override { m_port.close(); }
    QString errorString() const override { return m_port.errorString(); }

private:
    QSerialPort m_port;
};

class QtDatagramLine final : public DatagramLine {
public:
    bool connectTo(const QString &address, const QString &port) override
    {
        disconnect();
        bool ok = false;
        const uint number = port.trimmed().toUInt(&ok);
        if (!ok || number == 0 || number > 65535) {
            m_error = QStringLiteral("UDP port \"%1\" is not a port number").arg(port);
            return false;
        }
        QHostAddress host;
        if (!host.setAddress(address.trimmed())) {
            const QHostInfo info = QHostInfo::fromName(address.trimmed());
            for (const QHostAddress &candidate : info.addresses()) {
                if (candidate.protocol() == QAbstractSocket::IPv4Protocol) {
                    host = candidate;
                    break;
                }
            }
            if (host.isNull() && !info.addresses().isEmpty())
                host = info.addresses().constFirst();
            if (host.isNull()) {
                m_error = QStringLiteral("cannot resolve \"%1\": %2").arg(address, info.errorString());
                return false;
            }
        }
        m_socket = std::make_unique<QUdpSocket>();
        const QHostAddress any = host.protocol() == QAbstractSocket::IPv6Protocol
                                     ? QHostAddress(QHostAddress::AnyIPv6)
                                     : QHostAddress(QHostAddress::AnyIPv4);
        if (!m_socket->bind(any, 0)) {
            m_error = m_socket->errorString();
            m_socket.reset();
            return false;
        }
        m_destination = host;
        m_port = static_cast<quint16>(number);
        return true;
    }

    void disconnect() override
    {
        m_socket.reset();
        m_destination.clear();
    }

    bool isConnected() const override { return m_socket != nullptr; }

    bool send(QByteArrayView datagram) override
    {
        if (!m_socket)
            return false;
        const QByteArray bytes = datagram.toByteArray();
        if (m_socket->writeDatagram(bytes, m_destination, m_port) != bytes.size()) {
            m_error = m_socket->errorString();
            return false;
        }
        return true;
    }

    QString errorString() const override { return m_error; }

private:
    std::unique_ptr<QUdpSocket> m_socket;
    QHostAddress m_destination;
    quint16 m_port = 0;
    QString m_error;
};

} // namespace

std::unique_ptr<SerialLine> LineFactory::makeSerialLine()
{
    return std::make_unique<QtSerialLine>();
}

std::unique_ptr<DatagramLine> LineFactory::makeDatagramLine()
{
    return std::make_unique<QtDatagramLine>();
}

DeviceTransport::DeviceTransport(std::unique_ptr<LineFactory> factory)
    : m_factory(factory ? std::move(factory) : std::make_unique<LineFactory>())
{
}

DeviceTransport::~DeviceTransport() = default;

DeviceTransport &DeviceTransport::instance()
{
    static DeviceTransport transport;
    return transport;
}

QString DeviceTransport::deviceForPortName(const QString &portName)
{
    static const QStringList com{QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3"),
                                 QStringLiteral("COM4")};
    const qsizetype index = com.indexOf(portName);
    if (index >= 0)
        return QStringLiteral("/dev/ttyS%1").arg(index);
    // /dev/ttyUSB0, /dev/serial/by-id/..., or a link made by socat.
    if (portName.startsWith(QLatin1Char('/')))
        return portName;
    // Any other name is looked for under /dev, as the serial port layer does.
    return QStringLiteral("/dev/") + portName;
}

QStringList DeviceTransport::serialDevices()
{
    static const QRegularExpression serial(QStringLiteral("^/dev/tty(S[0-9]+|USB[0-9]+|ACM[0-9]+)$"));
    QStringList devices;
    for (const QSerialPortInfo &port : QSerialPortInfo::availablePorts()) {
        const QString path = port.systemLocation();
        if (serial.match(path).hasMatch() && deviceForPortName(path) == path &&
            !QStringList{"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"}.contains(path))
            devices << path;
    }
    std::sort(devices.begin(), devices.end());
    return devices;
}

void DeviceTransport::setUdpDestination(const QString &address, const QString &port)
{
    if (address == m_udpAddress && port == m_udpPort)
        return;
    m_udpAddress = address;
    m_udpPort = port;
    disconnectUdp();
}

void DeviceTransport::applySettings(const QString &comPort, quint16 baseAddr, const QString &ipAddr,
                                    const QString &udpPort)
{
    if (comPort != m_portName || baseAddr != m_baseAddress)
        ClosePort();
    m_portName = comPort;
    m_baseAddress = baseAddr;
    setUdpDestination(ipAddr, udpPort);
    if (m_portName == QStringLiteral("UDP"))
        connectUdp();
}

bool DeviceTransport::connectUdp()
{
    if (isUdpConnected())
        return true;
    if (!m_udp)
        m_udp = m_factory->makeDatagramLine();
    if (!m_udp->connectTo(m_udpAddress, m_udpPort)) {
        m_lastFailure = m_udp->errorString();
        return false;
    }
    return true;
}

void DeviceTransport::disconnectUdp()
{
    if (m_udp)
        m_udp->disconnect();
}

bool DeviceTransport::isUdpConnected() const
{
    return m_udp && m_udp->isConnected();
}

DeviceError DeviceTransport::SendDeviceData(QByteArrayView frame)
{
    if (m_portName == QStringLiteral("UDP")) {
        if (!isUdpConnected()) {
            disconnectUdp();
            connectUdp();
        }
        if (!isUdpConnected())
            return DeviceErrors::SendFailed;
        if (!m_udp->send(frame)) {
            m_lastFailure = m_udp->errorString();
            return DeviceErrors::SendFailed;
        }
        return DeviceErrors::Success;
    }
    if (!m_serial) {
        const DeviceError opened = OpenPort();
        if (opened != DeviceErrors::Success)
            return opened;
    }
    // A failed write leaves the port as it is: no reopen, no retry.
    if (!m_serial->write(frame)) {
        m_lastFailure = m_serial->errorString();
        return DeviceErrors::SendFailed;
    }
    return DeviceErrors::Success;
}

DeviceError DeviceTransport::OpenPort()
{
    if (m_portName.isEmpty())
        return DeviceErrors::PortNotDefined;
    if (m_baseAddress == 0)
        return DeviceErrors::BaseAddressNotDefined;
    ClosePort();
    auto line = m_factory->makeSerialLine();
    if (!line->open(deviceForPortName(m_portName))) {
        m_lastFailure = line->errorString();
        return DeviceErrors::PortOpenFailed;
    }
    m_serial = std::move(line);
    return DeviceErrors::Success;
}

void DeviceTransport::ClosePort()
{
    if (m_serial) {
        m_serial->close();
        m_serial.reset();
    }
}

} // namespace kestra
