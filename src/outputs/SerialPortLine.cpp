#include "outputs/SerialPortLine.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace kestra {

SerialPortLine::SerialPortLine()
{
    m_pace.setSingleShot(true);
    m_pace.setTimerType(Qt::PreciseTimer);
    connect(&m_pace, &QTimer::timeout, this, [this] { pump(); });
    connect(&m_port, &QSerialPort::bytesWritten, this, [this] { pump(); });
    // Boards never answer; whatever arrives is dropped, in bounded room.
    connect(&m_port, &QSerialPort::readyRead, this, [this] { m_port.readAll(); });
    connect(&m_port, &QSerialPort::errorOccurred, this, &SerialPortLine::onError);
    m_clock.start();
}

SerialPortLine::~SerialPortLine()
{
    close();
}

bool SerialPortLine::open(const QString &device)
{
    m_port.setPortName(device);
    m_port.setBaudRate(QSerialPort::Baud19200);
    m_port.setDataBits(QSerialPort::Data8);
    m_port.setParity(QSerialPort::NoParity);
    m_port.setStopBits(QSerialPort::OneStop);
    m_port.setFlowControl(QSerialPort::NoFlowControl);
    m_port.setReadBufferSize(4096);
    if (!m_port.open(QIODevice::ReadWrite)) {
        m_error = m_port.errorString();
        return false;
    }
    m_wireFreeAtMs = 0;
    m_failedSinceWrite = false;
    return true;
}

bool SerialPortLine::write(QByteArrayView data, FrameKind kind)
{
    // A failure since the last call is told now, and this frame still goes.
    const bool failedBefore = std::exchange(m_failedSinceWrite, false);
    if (!m_port.isOpen()) {
        m_error = QStringLiteral("the serial port is not open");
        return false;
    }
    m_waiting.push(data.toByteArray(), kind);
    pump();
    const bool failedNow = std::exchange(m_failedSinceWrite, false);
    return !failedBefore && !failedNow;
}

void SerialPortLine::close()
{
    m_waiting.clear();
    m_pace.stop();
    if (!m_port.isOpen())
        return;
    // Closing a tty with output still queued waits until the driver has sent
    // it; the port is being given up, so what is queued goes.
    const QSignalBlocker quiet(m_port);
    m_port.clear(QSerialPort::Output);
    m_port.close();
}

void SerialPortLine::pump()
{
    if (m_pumping || !m_port.isOpen())
        return;
    const QScopedValueRollback pumping(m_pumping, true);
    while (!m_waiting.isEmpty()) {
        // The frame before is still with Qt: wait for the driver to take it.
        if (m_port.bytesToWrite() > 0)
            return;
        const qint64 now = m_clock.elapsed();
        const qint64 startAt = m_wireFreeAtMs - kLeadMs;
        if (now < startAt) {
            m_pace.start(int(startAt - now));
            return;
        }
        const QByteArray frame = m_waiting.takeFirst();
        m_wireFreeAtMs = std::max(now, m_wireFreeAtMs) + wireMs(frame.size());
        if (!startFrame(frame)) {
            fail();
            return;
        }
    }
}

bool SerialPortLine::startFrame(const QByteArray &frame)
{
    m_port.clearError();
    if (m_port.write(frame) != frame.size())
        return false;
    // A try at once that does not wait: a device that has gone away (an
    // unplugged adapter) says so here rather than on a later tick.
    m_port.waitForBytesWritten(0);
    const QSerialPort::SerialPortError error = m_port.error();
    if (error == QSerialPort::TimeoutError)
        m_port.clearError();
    return error == QSerialPort::NoError || error == QSerialPort::TimeoutError;
}

void SerialPortLine::onError(QSerialPort::SerialPortError error)
{
    if (error == QSerialPort::WriteError || error == QSerialPort::ResourceError)
        fail();
}

void SerialPortLine::fail()
{
    if (m_failedSinceWrite)
        return;
    m_failedSinceWrite = true;
    m_error = m_port.errorString();
    m_waiting.clear();
    m_pace.stop();
    m_wireFreeAtMs = 0;
    // What is left of a frame cut short is dropped rather than sent later.
    const QSignalBlocker quiet(m_port);
    m_port.clear(QSerialPort::Output);
}

} // namespace kestra
