#pragma once

#include <QString>

namespace kestra {

class DisplayWriter;
class OperatorPrompt;

// What the line fill routines read of the main window. The generator
// implements it over its controls and tables; side is the session column, 1
// or 2, and eventNumber the apparatus 1..6 within the selected Events row.
class DisplayContext {
public:
    virtual ~DisplayContext() = default;

    // NumEvents of EventDisp1 or EventDisp2; 0 while the table is closed.
    virtual int numEvents(int side) const = 0;
    // The Event<n> field of EventDisp1 or EventDisp2, as stored.
    virtual QString eventTitle(int side, int eventNumber) const = 0;
    // chkEvent<n><side>.
    virtual bool isEventTicked(int eventNumber, int side) const = 0;
    // chkDual.
    virtual bool isDual() const = 0;
    // The NameFormat setting.
    virtual int nameFormat() const = 0;
    // The writer of the checked target, or none.
    virtual DisplayWriter *checkedWriter() const = 0;
    virtual OperatorPrompt &prompt() const = 0;
};

} // namespace kestra
