#pragma once

#include <QVariant>

#include <exception>

namespace kestra {

class DisplayRecord;
class DisplayWriter;
class MeetStore;
class OperatorPrompt;
class SettingsStore;

// What the results window takes from the main window: the meet database in
// use, the display block both windows write (the results window its leader
// pages and matrix, the main window everything else), the writer of the
// checked target, the operator's boxes, the scoring product's settings key
// and the meet the main window follows.
class ResultsContext {
public:
    virtual ~ResultsContext() = default;
    virtual MeetStore &store() = 0;
    virtual DisplayRecord &record() = 0;
    virtual DisplayWriter *checkedWriter() const = 0;
    virtual OperatorPrompt &prompt() const = 0;
    virtual const SettingsStore &productKey() const = 0;
    // MeetID of the main window's meet; null when it has none.
    virtual QVariant mainMeetId() const = 0;
    // NCAAMode of that meet; false without one.
    virtual bool mainMeetNcaaMode() const = 0;
    // The application-wide handling of a failure that left a handler.
    virtual void handleException(std::exception_ptr error) = 0;
};

} // namespace kestra
