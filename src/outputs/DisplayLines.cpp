#include "outputs/DisplayLines.h"

#include "outputs/DisplayContext.h"
#include "outputs/DisplayWriter.h"
#include "outputs/EventSlot.h"
#include "support/Formatting.h"

namespace kestra {

namespace {

constexpr double kNoValue = -99;

QString optionalValue(double value, const QString &picture)
{
    return value == kNoValue ? QString() : formatFloat(value, picture);
}

// The text a field would hold, trimmed, for the comparison of now-up lines.
QByteArray packedTrimmed(const QString &text, int width)
{
    QByteArray bytes(width, ' ');
    PackField(bytes.data(), width - 1, text);
    return bytes.trimmed();
}

} // namespace

DisplayLines::DisplayLines(DisplayRecord &record, DisplayContext &context)
    : m_record(record), m_context(context)
{
}

int DisplayLines::DisplaySlot(int eventNumber, int side) const
{
    int count = 0;
    const int lastSide = m_context.isDual() ? 2 : 1;
    for (int s = 1; s <= lastSide; ++s) {
        const int events = m_context.numEvents(s);
        for (int n = 1; n <= events; ++n) {
            if (!m_context.isEventTicked(n, s))
                continue;
            ++count;
            if (s == side && n == eventNumber)
                return count <= layout::kSlots ? count : 0;
        }
    }
    return 0;
}

QString DisplayLines::titleOf(int eventNumber, int side) const
{
    return m_context.eventTitle(side, eventNumber).toUpper();
}

void DisplayLines::sendEventLine(int slot, int side, const QString &failureContext)
{
    DisplayWriter *writer = m_context.checkedWriter();
    if (!writer || writer->kind() != TargetKind::Line)
        return;
    const DeviceError result = writer->sendEventLine(slot, side);
    if (result != DeviceErrors::Success)
        ShowDeviceError(m_context.prompt(), failureContext, result);
}

void DisplayLines::FillEventLine(const EventSlot &slot, int side)
{
    const int s = DisplaySlot(slot.Event, side);
    if (s == 0)
        return;
    m_record.pack(layout::eventTitle(s), titleOf(slot.Event, side));
    m_record.pack(layout::eventNum(s), QString::number(slot.Num));
    m_record.pack(layout::eventName(s), formatName(slot.FName, slot.LName, m_context.nameFormat()));
    m_record.pack(layout::eventScore(s), formatRightAligned(formatFloat(slot.Score, QStringLiteral("#0.000")), 6));
    m_record.pack(layout::eventDScore(s), formatFloat(slot.Start, QStringLiteral("#0.00")));
    m_record.pack(layout::eventEScore(s), formatFloat(slot.BScore, QStringLiteral("#0.000")));
    m_record.pack(layout::eventND(s), optionalValue(slot.Adjust, QStringLiteral("#0.0")));
    m_record.pack(layout::eventDBonus(s), optionalValue(slot.DBonus, QStringLiteral("#0.000")));
    m_record.pack(layout::eventEBonus(s), optionalValue(slot.EBonus, QStringLiteral("#0.0")));
    m_record.pack(layout::eventGym(s), slot.ShortName);
    sendEventLine(s, side, kErrorSendingEventScore);
}

void DisplayLines::BlankEventLine(int eventNumber, int side)
{
    const int s = DisplaySlot(eventNumber, side);
    if (s == 0)
        return;
    m_record.pack(layout::eventTitle(s), titleOf(eventNumber, side));
    for (const Field &field : {layout::eventNum(s), layout::eventName(s), layout::eventScore(s),
                               layout::eventDScore(s), layout::eventEScore(s), layout::eventND(s),
                               layout::eventGym(s), layout::eventDBonus(s), layout::eventEBonus(s)}) {
        m_record.blank(field);
    }
    sendEventLine(s, side, kErrorBlankingEventScore);
}

void DisplayLines::FillNowUpLine(int eventNumber, int side, const QString &num, const QString &name,
                                 const QString &gym)
{
    const int s = DisplaySlot(eventNumber, side);
    if (s == 0)
        return;
    const QString title = titleOf(eventNumber, side);
    const struct {
        Field field;
        const QString &text;
    } fields[] = {{layout::nowUpTitle(s), title},
                  {layout::nowUpNum(s), num},
                  {layout::nowUpName(s), name},
                  {layout::nowUpGym(s), gym}};
    bool same = true;
    for (const auto &f : fields) {
        if (packedTrimmed(f.text, f.field.length) != m_record.read(f.field).trimmed()) {
            same = false;
            break;
        }
    }
    if (same)
        return;
    for (const auto &f : fields)
        m_record.pack(f.field, f.text);

    DisplayWriter *writer = m_context.checkedWriter();
    if (!writer || writer->kind() != TargetKind::Line)
        return;
    const DeviceError result = writer->sendNowUpLine(s, side);
    if (result != DeviceErrors::Success)
        ShowDeviceError(m_context.prompt(), kErrorSendingEventScore, result);
}

} // namespace kestra
