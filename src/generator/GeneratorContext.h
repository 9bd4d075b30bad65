#pragma once

#include "outputs/DisplayContext.h"
#include "outputs/EventSlot.h"
#include "outputs/MeetFlags.h"

#include <QString>

#include <array>

namespace kestra {

class ControlSet;
class DisplayRecord;
class MeetStore;
class TableCursor;
class TickSource;
struct KestraSettings;

// EventSlots[event - 1][side - 1]: six events by two session columns.
using EventSlotTable = std::array<std::array<EventSlot, 2>, 6>;

// What the poll, the display cycle and the listeners need of the main window.
// The main window's logic implements it over its own members; tests implement
// it over a real store and a hand-made control set.
class GeneratorContext : public DisplayContext, public MeetFlags {
public:
    // The meet database in use. Failures are StoreError and are not caught by
    // the poll or the display code.
    virtual MeetStore &store() = 0;
    // The window's controls by their names ("chkEvent31", "EditNum12", ...).
    virtual ControlSet &controls() = 0;
    virtual DisplayRecord &record() = 0;
    virtual TickSource &ticks() = 0;
    virtual const KestraSettings &settings() const = 0;
    virtual EventSlotTable &eventSlots() = 0;
    // A table component of the window by its name ("Meets", "EventDisp1",
    // "EventDisp2", "Sessions", "Gymnasts"); nullptr while it is closed.
    virtual TableCursor *table(const QString &name) = 0;
};

} // namespace kestra
