#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>
#include <QList>

namespace kestra {

class DebugTrace;
class DeviceTransport;
class MeetFlags;

// One Daktronics frame: a run of the display block with the offset at which it
// lies. 0x16, "00000000", 0x01, "00401", the address in five digits, 0x02, the
// data, 0x04, the checksum of everything after the 0x16 up to the 0x04, 0x17.
QByteArray DaktronicsFrame(int address, QByteArrayView data);

// The Daktronics target: moves slices of the block, never formats anything.
// Every call builds its frames, traces them, sends them back to back and
// answers with the result of the last send.
class DaktronicsWriter final : public DisplayWriter {
public:
    DaktronicsWriter(const DisplayRecord &record, DeviceTransport &transport, const MeetFlags &meet,
                     const DebugTrace &trace);

    QString targetName() const override { return QStringLiteral("rdoDaktronics"); }
    TargetKind kind() const override { return TargetKind::Line; }

    DeviceError SendDaktronicsEvent(int slot);
    DeviceError SendDaktronicsNowUp(int slot);
    DeviceError SendDaktronicsLeader(int page);
    DeviceError SendDaktronicsNCAA();
    DeviceError SendDaktronicsMatrix();

    DeviceError sendEventLine(int slot, int side) override;
    DeviceError sendNowUpLine(int slot, int side) override;
    DeviceError sendLeaderPage(int page) override;
    DeviceError sendNCAA() override;
    DeviceError sendMatrix() override;

    // The frames of each call, as they would go out now.
    QList<QByteArray> eventFrames(int slot) const;
    QList<QByteArray> nowUpFrames(int slot) const;
    QList<QByteArray> leaderFrames(int page) const;
    QList<QByteArray> ncaaFrames() const;
    QList<QByteArray> matrixFrames() const;

private:
    QByteArray frameOf(const Field &field) const;
    DeviceError send(const QList<QByteArray> &frames);

    const DisplayRecord &m_record;
    DeviceTransport &m_transport;
    const MeetFlags &m_meet;
    const DebugTrace &m_trace;
};

} // namespace kestra
