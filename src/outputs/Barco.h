#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>

namespace kestra {

class DebugTrace;
class DeviceTransport;

// 0x02, the whole display block as it stands, 0x03: 5,701 bytes with no
// address, length or checksum.
QByteArray BarcoFrame(const DisplayRecord &record);

// The Barco target: the whole block in one frame, from the record timer and
// from Clear. Its frames go to the transport as whole-record frames, so one
// still waiting on a busy serial line is replaced by the next.
class BarcoWriter final : public DisplayWriter {
public:
    BarcoWriter(const DisplayRecord &record, DeviceTransport &transport, const DebugTrace &trace);

    QString targetName() const override { return QStringLiteral("rdoBarco"); }
    TargetKind kind() const override { return TargetKind::Record; }

    DeviceError SendBarcoRecord();
    DeviceError sendRecord() override { return SendBarcoRecord(); }

private:
    const DisplayRecord &m_record;
    DeviceTransport &m_transport;
    const DebugTrace &m_trace;
};

} // namespace kestra
