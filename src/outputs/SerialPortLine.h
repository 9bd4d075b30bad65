#pragma once

#include "outputs/DeviceTransport.h"
#include "outputs/TransmitBuffer.h"

#include <QElapsedTimer>
#include <QSerialPort>
#include <QTimer>

namespace kestra {

// The serial line on QSerialPort, 19200 8N1, that never holds up the event
// loop: write() hands a frame over and returns; the bytes go out from the
// loop as the wire takes them.
//
// Frames are started at the pace of the wire (10 bits a byte at 19200 baud),
// not as fast as the driver accepts them: a USB adapter or a pseudo-terminal
// swallows tens of kilobytes at once, and a board fed that way would show
// blocks many seconds old. So at most one frame is on its way at a time, and
// everything else waits in a TransmitBuffer, where a fresher whole block
// replaces a waiting one. A frame once started is finished whole.
class SerialPortLine final : public QObject, public SerialLine {
public:
    static constexpr int kBytesPerSecond = 19200 / 10;
    // The next frame is started this long before the wire finishes the
    // previous one, so the line does not fall idle between frames.
    static constexpr int kLeadMs = 20;

    SerialPortLine();
    ~SerialPortLine() override;

    bool open(const QString &device) override;
    bool write(QByteArrayView data, FrameKind kind) override;
    void close() override;
    QString errorString() const override { return m_error; }

    const TransmitBuffer &waiting() const { return m_waiting; }
    // Milliseconds the wire needs for a frame of this many bytes.
    static qint64 wireMs(qsizetype bytes) { return (bytes * 1000 + kBytesPerSecond - 1) / kBytesPerSecond; }

private:
    void pump();
    bool startFrame(const QByteArray &frame);
    void onError(QSerialPort::SerialPortError error);
    void fail();

    QSerialPort m_port;
    TransmitBuffer m_waiting;
    QTimer m_pace;
    QElapsedTimer m_clock;
    qint64 m_wireFreeAtMs = 0;
    bool m_pumping = false;
    // A write failed after the call that handed its frame over returned;
    // the next call is told.
    bool m_failedSinceWrite = false;
    QString m_error;
};

} // namespace kestra
