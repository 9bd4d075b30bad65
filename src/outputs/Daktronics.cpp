#include "outputs/Daktronics.h"

#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/MeetFlags.h"

#include <stdexcept>

namespace kestra {

QByteArray DaktronicsFrame(int address, QByteArrayView data)
{
    QByteArray frame;
    frame.reserve(data.size() + 25);
    frame += '\x16';
    frame += "00000000";
    frame += '\x01';
    frame += "00401";
    frame += QByteArray::number(address).rightJustified(5, '0');
    frame += '\x02';
    frame.append(data.data(), data.size());
    frame += '\x04';
    frame += DaktronicsChecksum(QByteArrayView(frame).sliced(1));
    frame += '\x17';
    return frame;
}

DaktronicsWriter::DaktronicsWriter(const DisplayRecord &record, DeviceTransport &transport,
                                   const MeetFlags &meet, const DebugTrace &trace)
    : m_record(record), m_transport(transport), m_meet(meet), m_trace(trace)
{
}

QByteArray DaktronicsWriter::frameOf(const Field &field) const
{
    return DaktronicsFrame(field.offset, m_record.view(field));
}

static void checkRange(int value, int last, const char *what)
{
    if (value < 1 || value > last)
        throw std::out_of_range(std::string("Daktronics ") + what + " out of range: " + std::to_string(value));
}

QList<QByteArray> DaktronicsWriter::eventFrames(int slot) const
{
    checkRange(slot, layout::kSlots, "slot");
    QList<QByteArray> frames{frameOf(layout::eventLine(slot)), frameOf(layout::eventGym(slot))};
    // Either bonus rule shows the D bonus; only the JN rule has an E bonus.
    if (m_meet.MeetsUseDBonus() || m_meet.MeetsUseJNBonus())
        frames.append(frameOf(layout::eventDBonus(slot)));
    if (m_meet.MeetsUseJNBonus())
        frames.append(frameOf(layout::eventEBonus(slot)));
    return frames;
}

QList<QByteArray> DaktronicsWriter::nowUpFrames(int slot) const
{
    checkRange(slot, layout::kSlots, "slot");
    return {frameOf(layout::nowUpLine(slot))};
}

QList<QByteArray> DaktronicsWriter::leaderFrames(int page) const
{
    checkRange(page, layout::kLeaderPageCount, "page");
    return {frameOf(layout::leaderPage(page)), frameOf(layout::leaderGyms(page))};
}

QList<QByteArray> DaktronicsWriter::ncaaFrames() const
{
    // Group 1 goes with the 46 bytes that follow it.
    QList<QByteArray> frames{frameOf(layout::kNcaaGroup1)};
    for (int group = 2; group <= layout::kNcaaGroupCount; ++group)
        frames.append(frameOf(layout::ncaaGroup(group)));
    frames.append(frameOf(layout::kNcaaEventScores));
    return frames;
}

QList<QByteArray> DaktronicsWriter::matrixFrames() const
{
    // Cut after the event heads and four rows: 48 + 4 * 65 = 308.
    const Field matrix = layout::kNcaaMatrix;
    const Field first{matrix.offset, 308};
    const Field second{matrix.offset + 308, matrix.length - 308};
    return {frameOf(first), frameOf(second)};
}

DeviceError DaktronicsWriter::send(const QList<QByteArray> &frames)
{
    m_trace.trace(frames);
    DeviceError result = DeviceErrors::Success;
    for (const QByteArray &frame : frames)
        result = m_transport.SendDeviceData(frame);
    return result;
}

DeviceError DaktronicsWriter::SendDaktronicsEvent(int slot) { return send(eventFrames(slot)); }
DeviceError DaktronicsWriter::SendDaktronicsNowUp(int slot) { return send(nowUpFrames(slot)); }
DeviceError DaktronicsWriter::SendDaktronicsLeader(int page) { return send(leaderFrames(page)); }
DeviceError DaktronicsWriter::SendDaktronicsNCAA() { return send(ncaaFrames()); }
DeviceError DaktronicsWriter::SendDaktronicsMatrix() { return send(matrixFrames()); }

DeviceError DaktronicsWriter::sendEventLine(int slot, int) { return SendDaktronicsEvent(slot); }
DeviceError DaktronicsWriter::sendNowUpLine(int slot, int) { return SendDaktronicsNowUp(slot); }
DeviceError DaktronicsWriter::sendLeaderPage(int page) { return SendDaktronicsLeader(page); }
DeviceError DaktronicsWriter::sendNCAA() { return SendDaktronicsNCAA(); }
DeviceError DaktronicsWriter::sendMatrix() { return SendDaktronicsMatrix(); }

} // namespace kestra
