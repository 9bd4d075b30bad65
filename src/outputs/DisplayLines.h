#pragma once

#include "outputs/DisplayRecord.h"

#include <QString>

namespace kestra {

class DisplayContext;
struct EventSlot;

// The failure contexts that go with the line routines' device errors.
inline const QString kErrorSendingEventScore = QStringLiteral("Error sending event score");
inline const QString kErrorBlankingEventScore = QStringLiteral("Error blanking event score");

// Writes scored routines and now-up competitors into the event and now-up
// lines of the block, and hands a changed line to the checked line target. A
// failed send is told to the operator once and changes nothing else: the block
// keeps the new values.
class DisplayLines {
public:
    DisplayLines(DisplayRecord &record, DisplayContext &context);

    // The display slot of an event: its rank 1..6 among the ticked events of
    // column 1, then, in dual display, of column 2. 0 when the event is not
    // ticked, not in the row, or ranks beyond the sixth.
    int DisplaySlot(int eventNumber, int side) const;

    // Places the routine held in the slot (its Event field is the event
    // number). Nothing is written or sent for an event without a display slot.
    void FillEventLine(const EventSlot &slot, int side);
    // Blanks what FillEventLine wrote, but the title, which is written anew.
    void BlankEventLine(int eventNumber, int side);
    // Places the competitor up next; empty texts clear the line. Sends nothing
    // when the four fields would not change.
    void FillNowUpLine(int eventNumber, int side, const QString &num, const QString &name,
                       const QString &gym);

private:
    QString titleOf(int eventNumber, int side) const;
    void sendEventLine(int slot, int side, const QString &failureContext);

    DisplayRecord &m_record;
    DisplayContext &m_context;
};

} // namespace kestra
