#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>

#include <vector>

namespace kestra {

class DebugTrace;
class DeviceTransport;
class MeetFlags;

// White Way pages: one line of text a page, fields between backslashes.
namespace whiteway {

// Page numbers: event 101..106, leader 201..203, NCAA 301, matrix 401,
// now-up 501..506.
constexpr int eventPage(int slot) { return 100 + slot; }
constexpr int leaderPage(int page) { return 200 + page; }
constexpr int kNcaaPage = 301;
constexpr int kMatrixPage = 401;
constexpr int nowUpPage(int slot) { return 500 + slot; }

// The fields of a page, in the order they travel, as slices of the block.
// An event page carries 0, 1 or 2 bonus fields (D bonus, then E bonus);
// other pages take 0. Empty for a page number that does not exist.
std::vector<Field> pageFields(int page, int bonusFields = 0);

} // namespace whiteway

// "w\99999\", the page number, each field after one backslash as it stands
// (nothing trimmed or escaped), then two backslashes, CR and LF.
QByteArray WhiteWayFrame(int page, const DisplayRecord &record, const std::vector<Field> &fields);

// The White Way target: the same page kinds at the same moments as
// Daktronics, one frame per call.
class WhiteWayWriter final : public DisplayWriter {
public:
    WhiteWayWriter(const DisplayRecord &record, DeviceTransport &transport, const MeetFlags &meet,
                   const DebugTrace &trace);

    QString targetName() const override { return QStringLiteral("rdoWhiteWay"); }
    TargetKind kind() const override { return TargetKind::Line; }

    DeviceError SendWhiteWayEvent(int slot);
    DeviceError SendWhiteWayNowUp(int slot);
    DeviceError SendWhiteWayLeader(int page);
    DeviceError SendWhiteWayNCAA();
    DeviceError SendWhiteWayMatrix();

    DeviceError sendEventLine(int slot, int side) override;
    DeviceError sendNowUpLine(int slot, int side) override;
    DeviceError sendLeaderPage(int page) override;
    DeviceError sendNCAA() override;
    DeviceError sendMatrix() override;

    // The frame of each call, as it would go out now.
    QByteArray eventFrame(int slot) const;
    QByteArray nowUpFrame(int slot) const;
    QByteArray leaderFrame(int page) const;
    QByteArray ncaaFrame() const;
    QByteArray matrixFrame() const;

private:
    QByteArray frameOf(int page, int bonusFields = 0) const;
    DeviceError send(const QByteArray &frame);

    const DisplayRecord &m_record;
    DeviceTransport &m_transport;
    const MeetFlags &m_meet;
    const DebugTrace &m_trace;
};

} // namespace kestra
