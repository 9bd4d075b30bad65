#pragma once

// A main window as plain data, for the line fill routines, and a target that
// notes what it was asked to send.

#include "outputs/DisplayContext.h"
#include "outputs/DisplayWriter.h"
#include "support/TestSupport.h"

#include <QString>

#include <array>
#include <vector>

namespace kestra::test {

struct PlainContext final : DisplayContext {
    std::array<QStringList, 3> titles; // [side], Event1..EventN
    std::array<std::array<bool, 7>, 3> ticked{};
    bool dual = false;
    int format = 0;
    DisplayWriter *writer = nullptr;
    mutable RecordingPrompt recorder;

    PlainContext()
    {
        titles[1] = {QStringLiteral("Vault"), QStringLiteral("Bars"), QStringLiteral("Beam"),
                     QStringLiteral("Floor")};
        titles[2] = {QStringLiteral("Floor"), QStringLiteral("Pommel"), QStringLiteral("Rings")};
        for (int side : {1, 2})
            for (int n = 1; n <= 6; ++n)
                ticked[side][n] = true;
    }

    int numEvents(int side) const override { return int(titles[side].size()); }
    QString eventTitle(int side, int eventNumber) const override { return titles[side].value(eventNumber - 1); }
    bool isEventTicked(int eventNumber, int side) const override { return ticked[side][eventNumber]; }
    bool isDual() const override { return dual; }
    int nameFormat() const override { return format; }
    DisplayWriter *checkedWriter() const override { return writer; }
    OperatorPrompt &prompt() const override { return recorder; }
};

struct NotedSend {
    QString call;
    int slot;
    int side;
    bool operator==(const NotedSend &) const = default;
};

class NotingWriter final : public DisplayWriter {
public:
    explicit NotingWriter(TargetKind kind = TargetKind::Line) : m_kind(kind) {}
    QString targetName() const override { return QStringLiteral("rdoNoting"); }
    TargetKind kind() const override { return m_kind; }
    DeviceError sendEventLine(int slot, int side) override { return note(QStringLiteral("event"), slot, side); }
    DeviceError sendNowUpLine(int slot, int side) override { return note(QStringLiteral("nowup"), slot, side); }

    std::vector<NotedSend> sends;
    DeviceError result = DeviceErrors::Success;

private:
    DeviceError note(const QString &call, int slot, int side)
    {
        sends.push_back({call, slot, side});
        return result;
    }
    TargetKind m_kind;
};

} // namespace kestra::test
