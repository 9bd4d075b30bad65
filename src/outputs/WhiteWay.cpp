#include "outputs/WhiteWay.h"

#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/MeetFlags.h"

#include <stdexcept>
#include <string>

namespace kestra {

namespace whiteway {

using namespace layout;

std::vector<Field> pageFields(int page, int bonusFields)
{
    std::vector<Field> fields;
    if (page >= 101 && page <= 106) {
        const int s = page - 100;
        fields = {eventTitle(s), eventNum(s),    eventName(s), eventScore(s),
                  eventDScore(s), eventEScore(s), eventND(s),   eventGym(s)};
        if (bonusFields >= 1)
            fields.push_back(eventDBonus(s));
        if (bonusFields >= 2)
            fields.push_back(eventEBonus(s));
    } else if (page >= 501 && page <= 506) {
        const int s = page - 500;
        fields = {nowUpTitle(s), nowUpNum(s), nowUpName(s), nowUpGym(s)};
    } else if (page >= 201 && page <= 203) {
        // The gym stands between name and score here, and the ninth line,
        // which the block keeps blank, is not sent.
        const int p = page - 200;
        fields = {leaderTitle1(p), leaderTitle2(p)};
        for (int k = 1; k <= kLeaderLinesShown; ++k) {
            fields.insert(fields.end(), {leaderRank(p, k), leaderName(p, k), leaderGym(p, k), leaderScore(p, k)});
        }
    } else if (page == kNcaaPage) {
        // All six groups; the event scores at 5045 have no field on this page.
        for (int g = 1; g <= kNcaaGroupCount; ++g) {
            fields.insert(fields.end(), {ncaaTeam(g), ncaaEvent(g)});
            for (int line = 1; line <= kNcaaLineupLines; ++line)
                fields.insert(fields.end(), {ncaaLineupName(g, line), ncaaLineupScore(g, line)});
            fields.insert(fields.end(), {ncaaEventTotal(g), ncaaTeamTotal(g)});
        }
    } else if (page == kMatrixPage) {
        for (int e = 1; e <= kMatrixEvents; ++e)
            fields.insert(fields.end(), {matrixTitle(e), matrixShortTitle(e)});
        for (int r = 1; r <= kMatrixRows; ++r) {
            fields.insert(fields.end(), {matrixRank(r), matrixTeam(r), matrixTeamScore(r)});
            for (int e = 1; e <= kMatrixEvents; ++e)
                fields.push_back(matrixEventScore(r, e));
        }
    }
    return fields;
}

} // namespace whiteway

QByteArray WhiteWayFrame(int page, const DisplayRecord &record, const std::vector<Field> &fields)
{
    QByteArray frame("w\\99999\\");
    frame += QByteArray::number(page);
    for (const Field &field : fields) {
        frame += '\\';
        frame += record.view(field);
    }
    frame += "\\\\\r\n";
    return frame;
}

WhiteWayWriter::WhiteWayWriter(const DisplayRecord &record, DeviceTransport &transport, const MeetFlags &meet,
                               const DebugTrace &trace)
    : m_record(record), m_transport(transport), m_meet(meet), m_trace(trace)
{
}

static int checked(int value, int last, const char *what)
{
    if (value < 1 || value > last)
        throw std::out_of_range(std::string("White Way ") + what + " out of range: " + std::to_string(value));
    return value;
}

QByteArray WhiteWayWriter::frameOf(int page, int bonusFields) const
{
    return WhiteWayFrame(page, m_record, whiteway::pageFields(page, bonusFields));
}

QByteArray WhiteWayWriter::eventFrame(int slot) const
{
    // Either bonus rule shows the D bonus; only the JN rule has an E bonus.
    const int bonus = m_meet.MeetsUseJNBonus() ? 2 : m_meet.MeetsUseDBonus() ? 1 : 0;
    return frameOf(whiteway::eventPage(checked(slot, layout::kSlots, "slot")), bonus);
}

QByteArray WhiteWayWriter::nowUpFrame(int slot) const
{
    return frameOf(whiteway::nowUpPage(checked(slot, layout::kSlots, "slot")));
}

QByteArray WhiteWayWriter::leaderFrame(int page) const
{
    return frameOf(whiteway::leaderPage(checked(page, layout::kLeaderPageCount, "page")));
}

QByteArray WhiteWayWriter::ncaaFrame() const
{
    return frameOf(whiteway::kNcaaPage);
}

QByteArray WhiteWayWriter::matrixFrame() const
{
    return frameOf(whiteway::kMatrixPage);
}

DeviceError WhiteWayWriter::send(const QByteArray &frame)
{
    // The frame ends in its own CR LF and the trace adds another.
    m_trace.trace({frame});
    return m_transport.SendDeviceData(frame);
}

DeviceError WhiteWayWriter::SendWhiteWayEvent(int slot) { return send(eventFrame(slot)); }
DeviceError WhiteWayWriter::SendWhiteWayNowUp(int slot) { return send(nowUpFrame(slot)); }
DeviceError WhiteWayWriter::SendWhiteWayLeader(int page) { return send(leaderFrame(page)); }
DeviceError WhiteWayWriter::SendWhiteWayNCAA() { return send(ncaaFrame()); }
DeviceError WhiteWayWriter::SendWhiteWayMatrix() { return send(matrixFrame()); }

DeviceError WhiteWayWriter::sendEventLine(int slot, int) { return SendWhiteWayEvent(slot); }
DeviceError WhiteWayWriter::sendNowUpLine(int slot, int) { return SendWhiteWayNowUp(slot); }
DeviceError WhiteWayWriter::sendLeaderPage(int page) { return SendWhiteWayLeader(page); }
DeviceError WhiteWayWriter::sendNCAA() { return SendWhiteWayNCAA(); }
DeviceError WhiteWayWriter::sendMatrix() { return SendWhiteWayMatrix(); }

} // namespace kestra
