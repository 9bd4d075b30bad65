#include "outputs/DeviceTransport.h"

#include "outputs/SerialPortLine.h"
#include "support/OperatorPrompt.h"

#include <QHostInfo>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSerialPortInfo>
#include <QUdpSocket>

#include <algorithm>
#include <utility>

namespace kestra {

namespace {
Q_LOGGING_CATEGORY(lcTransport, "kestra.outputs.transport")
}

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

class QtDatagramLine final : public DatagramLine {
public:
    bool connectTo(const QHostAddress &address, quint16 port) override
    {
        disconnect();
        m_socket = std::make_unique<QUdpSocket>();
        const QHostAddress any = address.protocol() == QAbstractSocket::IPv6Protocol
                                     ? QHostAddress(QHostAddress::AnyIPv6)
                                     : QHostAddress(QHostAddress::AnyIPv4);
        if (!m_socket->bind(any, 0)) {
            m_error = m_socket->errorString();
            m_socket.reset();
            return false;
        }
        m_destination = address;
        m_port = port;
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

// The UDP port as a number, or 0 when the text is not one.
quint16 portNumber(const QString &text)
{
    bool ok = false;
    const uint number = text.trimmed().toUInt(&ok);
    return ok && number <= 65535 ? quint16(number) : quint16(0);
}

} // namespace

std::unique_ptr<SerialLine> LineFactory::makeSerialLine()
{
    return std::make_unique<SerialPortLine>();
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
    m_lookup.reset();
    m_held.clear();
    m_heldLost = false;
    m_udpState = UdpState::Unresolved;
}

void DeviceTransport::applySettings(const QString &comPort, quint16 baseAddr, const QString &ipAddr,
                                    const QString &udpPort)
{
    if (comPort != m_portName || baseAddr != m_baseAddress)
        ClosePort();
    m_portName = comPort;
    m_baseAddress = baseAddr;
    setUdpDestination(ipAddr, udpPort);
    // Settings handed over again are the moment to try a failed name anew.
    if (m_udpState == UdpState::Failed)
        m_udpState = UdpState::Unresolved;
    if (m_portName == QStringLiteral("UDP"))
        connectUdp();
}

void DeviceTransport::resolveUdp()
{
    m_lookup.reset();
    m_udpHost.clear();
    auto failed = [this](const QString &why) {
        m_udpProblem = why;
        m_udpState = UdpState::Failed;
        m_udpFailedAt.start();
    };
    if (portNumber(m_udpPort) == 0)
        return failed(QStringLiteral("UDP port \"%1\" is not a port number").arg(m_udpPort));
    const QString name = m_udpAddress.trimmed();
    if (name.isEmpty())
        return failed(QStringLiteral("no UDP address is set"));
    QHostAddress numeric;
    if (numeric.setAddress(name)) {
        m_udpHost = numeric;
        m_udpState = UdpState::Resolved;
        return;
    }
    // The answer comes back on the event loop; a destination changed in the
    // meantime deletes the receiver, and the stale answer with it.
    m_udpState = UdpState::Resolving;
    m_lookup = std::make_unique<QObject>();
    QHostInfo::lookupHost(name, m_lookup.get(), [this](const QHostInfo &info) { lookedUp(info); });
}

void DeviceTransport::lookedUp(const QHostInfo &info)
{
    m_lookup.release()->deleteLater();
    for (const QHostAddress &candidate : info.addresses()) {
        if (candidate.protocol() == QAbstractSocket::IPv4Protocol) {
            m_udpHost = candidate;
            break;
        }
    }
    if (m_udpHost.isNull() && !info.addresses().isEmpty())
        m_udpHost = info.addresses().constFirst();
    if (m_udpHost.isNull()) {
        m_udpProblem = QStringLiteral("cannot resolve \"%1\": %2").arg(m_udpAddress.trimmed(), info.errorString());
        m_udpState = UdpState::Failed;
        m_udpFailedAt.start();
        m_heldLost = !m_held.isEmpty();
        m_held.clear();
        return;
    }
    m_udpState = UdpState::Resolved;
    // The held frames go now, in order; a failure among them is told at the
    // next send, as a failure after a send's own return always is.
    while (!m_held.isEmpty()) {
        if (sendDatagram(m_held.takeFirst()) != DeviceErrors::Success) {
            m_heldLost = true;
            m_held.clear();
        }
    }
}

bool DeviceTransport::connectUdp()
{
    if (isUdpConnected())
        return true;
    if (m_udpState == UdpState::Unresolved)
        resolveUdp();
    if (m_udpState == UdpState::Failed) {
        m_lastFailure = m_udpProblem;
        return false;
    }
    if (m_udpState != UdpState::Resolved)
        return false;
    if (!m_udp)
        m_udp = m_factory->makeDatagramLine();
    if (!m_udp->connectTo(m_udpHost, portNumber(m_udpPort))) {
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

DeviceError DeviceTransport::sendDatagram(QByteArrayView frame)
{
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

DeviceError DeviceTransport::SendDeviceData(QByteArrayView frame, FrameKind kind)
{
    const DeviceError result = sendFrame(frame, kind);
    // The operator's box carries the error table's words; the log says why,
    // once for each new reason rather than once a frame.
    if (result == DeviceErrors::Success) {
        m_loggedFailure.clear();
    } else {
        const QString text = DeviceErrorText(result);
        const QString why = result == DeviceErrors::SendFailed || result == DeviceErrors::PortOpenFailed
                                ? text + QStringLiteral(": ") + m_lastFailure
                                : text;
        if (why != m_loggedFailure)
            qCWarning(lcTransport).noquote() << why;
        m_loggedFailure = why;
    }
    return result;
}

DeviceError DeviceTransport::sendFrame(QByteArrayView frame, FrameKind kind)
{
    if (m_portName == QStringLiteral("UDP")) {
        if (m_udpState == UdpState::Failed && m_udpFailedAt.elapsed() >= kLookupRetryMs)
            resolveUdp();
        if (m_udpState == UdpState::Unresolved)
            resolveUdp();
        if (m_udpState == UdpState::Resolving) {
            m_held.push(frame.toByteArray(), kind);
            return DeviceErrors::Success;
        }
        if (m_udpState == UdpState::Failed) {
            m_heldLost = false;
            m_lastFailure = m_udpProblem;
            return DeviceErrors::SendFailed;
        }
        const DeviceError result = sendDatagram(frame);
        if (std::exchange(m_heldLost, false))
            return DeviceErrors::SendFailed;
        return result;
    }
    if (!m_serial) {
        const DeviceError opened = OpenPort();
        if (opened != DeviceErrors::Success)
            return opened;
    }
    // A failed write leaves the port as it is: no reopen, no retry.
    if (!m_serial->write(frame, kind)) {
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
    const QString device = deviceForPortName(m_portName);
    if (!line->open(device)) {
        m_lastFailure = device + QStringLiteral(": ") + line->errorString();
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
