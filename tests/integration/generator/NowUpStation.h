#pragma once

// A station as the now-up listeners see it: a real display block, the real
// line routines, the Daktronics writer sending over the real transport to a
// board socket on loopback, and both listeners on free ports of any address.

#include "generator/NowUpListeners.h"
#include "meetdb/StoreError.h"
#include "outputs/Daktronics.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayContext.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"
#include "support/TestSupport.h"
#include "support/TickSource.h"

#include <QNetworkDatagram>
#include <QStringList>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <array>

namespace kestra::test {

// The main window's selection: four events on side 1, three on side 2.
struct NowUpContext final : DisplayContext {
    std::array<QStringList, 3> titles{QStringList{}, QStringList{"Vault", "Bars", "Beam", "Floor"},
                                      QStringList{"Floor", "Pommel", "Rings"}};
    std::array<std::array<bool, 7>, 3> ticked{};
    bool dual = false;
    int format = 0;
    // The Events row cannot be read: the meet server went away.
    bool connectionLost = false;
    DisplayWriter *writer = nullptr;
    mutable RecordingPrompt recorder;

    NowUpContext()
    {
        for (auto &side : ticked)
            side.fill(true);
    }
    int numEvents(int side) const override { return int(titles[side].size()); }
    QString eventTitle(int side, int n) const override
    {
        if (connectionLost)
            throw StoreError(StoreError::Kind::ConnectionLost, StoreBackend::Postgres,
                             QStringLiteral("server closed the connection unexpectedly"));
        return titles[side].value(n - 1);
    }
    bool isEventTicked(int n, int side) const override { return ticked[side][n]; }
    bool isDual() const override { return dual; }
    int nameFormat() const override { return format; }
    DisplayWriter *checkedWriter() const override { return writer; }
    OperatorPrompt &prompt() const override { return recorder; }
};

class NowUpStation {
public:
    using Channel = NowUpListeners::Channel;

    NowUpStation()
    {
        EXPECT_TRUE(board.bind(QHostAddress(QHostAddress::LocalHost), 0));
        transport.setPortName(QStringLiteral("UDP"));
        transport.setUdpDestination(QStringLiteral("127.0.0.1"), QString::number(board.localPort()));
        context.writer = &writer;
        listeners.setPorts(0, 0);
        listeners.setTickSource(ticks);
        listeners.setLogSink([this](const QString &line) { log << line; });
        listeners.setRetryDelays(std::chrono::milliseconds(20), std::chrono::milliseconds(80));
    }

    // Sends one datagram to a listener from the sender socket.
    void send(Channel channel, const QByteArray &datagram)
    {
        const qint64 sent = sender.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost),
                                                 listeners.port(channel));
        EXPECT_EQ(sent, datagram.size());
    }
    // Sends and waits until the listener has handled it.
    bool deliver(Channel channel, const QByteArray &datagram)
    {
        const auto before = listeners.counts(channel).received;
        send(channel, datagram);
        return waitUntil([&] { return listeners.counts(channel).received > before; });
    }
    // The frames that reached the board so far.
    QList<QByteArray> frames()
    {
        QList<QByteArray> got;
        while (board.hasPendingDatagrams())
            got.append(board.receiveDatagram().data());
        return got;
    }
    QByteArray nowUpLine(int slot) const { return record.read(layout::nowUpLine(slot)); }
    QByteArray nowUpRegion() const { return record.read(layout::kNowUpLines); }
    // Everything but the now-up lines, which no datagram may touch.
    QByteArray outsideNowUp() const
    {
        QByteArray all = record.bytes();
        all.remove(layout::kNowUpLines.offset, layout::kNowUpLines.length);
        return all;
    }

    DisplayRecord record;
    DeviceTransport transport;
    FixedMeetFlags meet;
    DebugTrace trace;
    DaktronicsWriter writer{record, transport, meet, trace};
    NowUpContext context;
    DisplayLines lines{record, context};
    FakeTickSource ticks;
    QStringList log;
    NowUpListeners listeners{[this] { return context.format; },
                             [this](int event, int side, QString num, QString name, QString gym) {
                                 lines.FillNowUpLine(event, side, num, name, gym);
                             }};
    QUdpSocket board;
    QUdpSocket sender;
};

// A now-up line as 70 bytes: title (6), num (4), name (40), gym (20).
inline QByteArray nowUpBytes(const char *title, const char *num, const char *name, const char *gym)
{
    auto field = [](const char *text, int width) {
        QByteArray f(text);
        f.truncate(width);
        return f.leftJustified(width, ' ');
    };
    return field(title, 6) + field(num, 4) + field(name, 40) + field(gym, 20);
}

} // namespace kestra::test
