#pragma once

#include "outputs/DeviceTransport.h"

#include <QString>

#include <memory>
#include <vector>

namespace kestra {

// Line targets get each line the moment it changes; record targets get the
// whole block on their own timer and are never called when a line changes.
enum class TargetKind { Line, Record };

// One display target, a reader of the display block. Every call sends what the
// block holds now and answers with the device result of its last send. A call
// that a target takes nothing from answers success without doing anything, so
// each target overrides only the calls it serves.
class DisplayWriter {
public:
    virtual ~DisplayWriter() = default;

    // The name of the target's button on the main window, as "rdoDaktronics".
    virtual QString targetName() const = 0;
    virtual TargetKind kind() const = 0;

    // Event line of display slot 1..6 from session column 1 or 2.
    virtual DeviceError sendEventLine(int slot, int side);
    virtual DeviceError sendNowUpLine(int slot, int side);
    // Leader page 1..3, with its gyms.
    virtual DeviceError sendLeaderPage(int page);
    virtual DeviceError sendNCAA();
    virtual DeviceError sendMatrix();
    // The whole block.
    virtual DeviceError sendRecord();
};

// The program's targets, looked up by the name of the checked button.
class WriterRegistry {
public:
    // Replaces a writer of the same target.
    DisplayWriter &add(std::unique_ptr<DisplayWriter> writer);
    DisplayWriter *find(const QString &targetName) const;
    std::vector<DisplayWriter *> all() const;

private:
    std::vector<std::unique_ptr<DisplayWriter>> m_writers;
};

} // namespace kestra
