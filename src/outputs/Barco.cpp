#include "outputs/Barco.h"

#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"

namespace kestra {

QByteArray BarcoFrame(const DisplayRecord &record)
{
    QByteArray frame;
    frame.reserve(DisplayRecord::size() + 2);
    frame += '\x02';
    frame.append(record.data(), DisplayRecord::size());
    frame += '\x03';
    return frame;
}

BarcoWriter::BarcoWriter(const DisplayRecord &record, DeviceTransport &transport, const DebugTrace &trace)
    : m_record(record), m_transport(transport), m_trace(trace)
{
}

DeviceError BarcoWriter::SendBarcoRecord()
{
    const QByteArray frame = BarcoFrame(m_record);
    m_trace.trace({frame});
    return m_transport.SendDeviceData(frame, FrameKind::Record);
}

} // namespace kestra
