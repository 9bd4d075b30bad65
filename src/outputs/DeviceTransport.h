#pragma once

#include "outputs/TransmitBuffer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QString>

#include <memory>

class QHostInfo;

namespace kestra {

class OperatorPrompt;

// The result of a send: 0 for success. The whole vocabulary of the device
// layer is kept, receive-side codes included, though a one-way link only ever
// produces 0, 2, 7, 8 and 9.
using DeviceError = unsigned int;

namespace DeviceErrors {
enum : DeviceError {
    Success = 0,
    TransmitTimeout = 1,
    SendFailed = 2,
    ReceiveFailed = 3,
    ChecksumError = 4,
    ResponseTimeout = 5,
    TooMuchData = 6,
    PortNotDefined = 7,
    BaseAddressNotDefined = 8,
    PortOpenFailed = 9,
    DriverOpenFailed = 10,
    NoUsbPylon = 11,
};
} // namespace DeviceErrors

QString DeviceErrorText(DeviceError code);

// The report of a failed send: caption "Device Communication Error", the
// context, two carriage returns and the error text, stop icon, OK. Told, not
// asked: the send that failed does not wait for the operator.
void ShowDeviceError(OperatorPrompt &prompt, const QString &context, DeviceError code);

// Sum of the bytes modulo 256 as two upper-case hexadecimal digits.
QByteArray DaktronicsChecksum(QByteArrayView text);

// A serial line as the transport uses it. Opening configures 19200 baud, 8 data
// bits, no parity, one stop bit. A write hands one frame over without waiting
// for the wire, and answers false when the line refused it, or when a frame
// handed over earlier failed after its own call had returned.
class SerialLine {
public:
    virtual ~SerialLine() = default;
    virtual bool open(const QString &device) = 0;
    virtual bool write(QByteArrayView data, FrameKind kind) = 0;
    virtual void close() = 0;
    virtual QString errorString() const = 0;
};

// The sending side of UDP: one datagram per frame to one resolved
// destination, which may be a broadcast address. Nothing is ever received.
class DatagramLine {
public:
    virtual ~DatagramLine() = default;
    virtual bool connectTo(const QHostAddress &address, quint16 port) = 0;
    virtual void disconnect() = 0;
    virtual bool isConnected() const = 0;
    virtual bool send(QByteArrayView datagram) = 0;
    virtual QString errorString() const = 0;
};

// Makes the lines; the default makes a SerialPortLine and a QUdpSocket. Tests
// override it for faults that a pseudo-terminal cannot produce.
class LineFactory {
public:
    virtual ~LineFactory() = default;
    virtual std::unique_ptr<SerialLine> makeSerialLine();
    virtual std::unique_ptr<DatagramLine> makeDatagramLine();
};

// The one road by which frames leave the program: a serial port opened lazily
// and kept open, or the UDP client when the port name is "UDP". No call waits
// on the wire or on the name service: a serial frame is handed to the line's
// transmit buffer (see SerialPortLine), and the UDP host name is looked up in
// the background once per destination.
//
// While that look-up is under way, frames are held in a TransmitBuffer (same
// policy: a newer whole block replaces a held one, line frames keep their
// order) and answered 0; they go out the moment the address is known. When it
// fails, the held frames are dropped and every send answers 2 with the reason
// in lastFailure(); a send ten seconds or more after the failure starts one
// new look-up, so a station whose network comes up late recovers by itself.
class DeviceTransport {
public:
    explicit DeviceTransport(std::unique_ptr<LineFactory> factory = nullptr);
    ~DeviceTransport();
    DeviceTransport(const DeviceTransport &) = delete;
    DeviceTransport &operator=(const DeviceTransport &) = delete;

    // The program's transport, for the writers the main window makes.
    static DeviceTransport &instance();

    // COMPort: "COM1".."COM4" (/dev/ttyS0../dev/ttyS3), "UDP", or the path of
    // a device such as /dev/ttyUSB0. Empty until the settings are handed over.
    void setPortName(const QString &name) { m_portName = name; }
    const QString &portName() const { return m_portName; }
    // BaseAddr: only checked for being non-zero on the serial path.
    void setBaseAddress(quint16 address) { m_baseAddress = address; }
    quint16 baseAddress() const { return m_baseAddress; }
    // IPAddr and UDPPort, taken by the next connect. A changed destination
    // drops the current connection and its look-up.
    void setUdpDestination(const QString &address, const QString &port);
    const QString &udpAddress() const { return m_udpAddress; }
    const QString &udpPort() const { return m_udpPort; }

    // The output settings as the main window hands them over when it is shown
    // and when the setup window closes: port name, base address and UDP
    // destination, then a connect when the port name is "UDP". A serial port
    // open under another name or address is closed, so the next send opens
    // the new one.
    void applySettings(const QString &comPort, quint16 baseAddr, const QString &ipAddr, const QString &udpPort);

    // The UDP client's connect and disconnect. Connecting twice is harmless.
    // A host name starts its look-up here; until it is answered connectUdp()
    // is false and isUdpResolving() true. A numeric address needs none.
    bool connectUdp();
    void disconnectUdp();
    bool isUdpConnected() const;
    bool isUdpResolving() const { return m_udpState == UdpState::Resolving; }

    // Sends one frame and answers 0, or the code of what went wrong. 0 means
    // the frame was handed over: to the serial line's transmit buffer, to
    // the UDP socket, or held while the UDP host name is being looked up.
    DeviceError SendDeviceData(QByteArrayView frame, FrameKind kind = FrameKind::Line);
    DeviceError OpenPort();
    // Closes the serial port if it is open; the next send opens it again.
    void ClosePort();
    bool isPortOpen() const { return m_serial != nullptr; }

    // The system's words for the last failure (the operator is told the error
    // table's text). A failed send logs it, once for each new reason.
    const QString &lastFailure() const { return m_lastFailure; }

    // The device a port name opens.
    static QString deviceForPortName(const QString &portName);
    // The serial devices of this machine by path (/dev/ttyS*, /dev/ttyUSB*,
    // /dev/ttyACM*), sorted; /dev/ttyS0 to /dev/ttyS3 are left out, as
    // "COM1" to "COM4" name them already.
    static QStringList serialDevices();

    // After a failed look-up, the wait before a send tries again.
    static constexpr int kLookupRetryMs = 10000;

private:
    enum class UdpState { Unresolved, Resolving, Resolved, Failed };
    void resolveUdp();
    void lookedUp(const QHostInfo &info);
    DeviceError sendDatagram(QByteArrayView frame);
    DeviceError sendFrame(QByteArrayView frame, FrameKind kind);

    std::unique_ptr<LineFactory> m_factory;
    QString m_portName;
    quint16 m_baseAddress = 0;
    QString m_udpAddress;
    QString m_udpPort;
    std::unique_ptr<SerialLine> m_serial;
    std::unique_ptr<DatagramLine> m_udp;
    QString m_lastFailure;
    QString m_loggedFailure;

    UdpState m_udpState = UdpState::Unresolved;
    QHostAddress m_udpHost;
    QString m_udpProblem;          // why the destination cannot be used
    QElapsedTimer m_udpFailedAt;
    TransmitBuffer m_held;         // frames waiting for the look-up
    bool m_heldLost = false;       // held frames were dropped: told at the next send
    std::unique_ptr<QObject> m_lookup; // receives the look-up's answer; gone, the answer is ignored
};

} // namespace kestra
