#pragma once

// A main window as plain data, for the line fill routines.

#include "outputs/DisplayContext.h"
#include "outputs/DisplayWriter.h"
#include "support/TestSupport.h"

#include <QString>

#include <array>

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
        titles[1] = {S("Vault"), S("Bars"), S("Beam"), S("Floor")};
        titles[2] = {S("Floor"), S("Pommel"), S("Rings")};
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

} // namespace kestra::test
