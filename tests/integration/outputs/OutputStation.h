#pragma once

// One station's output side, the real transport under the line fill routines
// and the Daktronics writer: four events on side 1, all ticked.

#include "outputs/Daktronics.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"

#include "unit/outputs/PlainContext.h"

namespace kestra::test {

struct OutputStation {
    DisplayRecord record;
    DeviceTransport transport;
    FixedMeetFlags meet;
    DebugTrace trace;
    DaktronicsWriter writer{record, transport, meet, trace};
    PlainContext context;
    DisplayLines lines{record, context};

    // `port` is a serial device, or "UDP" with the board's port on loopback.
    explicit OutputStation(const QString &port, const QString &udpPort = QString())
    {
        transport.setPortName(port);
        transport.setBaseAddress(760);
        transport.setUdpDestination(QStringLiteral("127.0.0.1"), udpPort);
        context.writer = &writer;
    }
};

} // namespace kestra::test
