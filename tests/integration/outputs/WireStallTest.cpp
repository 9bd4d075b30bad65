// A serial line saturated with Barco frames must not hold up the program:
// now-up datagrams still reach the block at once, and the board receives
// whole frames, each the newest block when it was started.
#include "generator/NowUpListeners.h"
#include "outputs/Barco.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "support/TestSupport.h"

#include "unit/outputs/PlainContext.h"

#include <QElapsedTimer>
#include <QSerialPort>
#include <QTimer>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

using namespace kestra;
using namespace kestra::test;

TEST(WireStall, NowUpsReachTheBlockAtOnceWhileBarcoFramesFillASerialLine)
{
    QElapsedTimer clock;
    clock.start();
    PtyPair cable;
    // The board reads a little faster than 19200 baud, in small bites, so the
    // pseudo-terminal holds back what it has not read.
    QSerialPort board;
    board.setPortName(cable.deviceB());
    board.setBaudRate(QSerialPort::Baud19200);
    board.setReadBufferSize(256);
    ASSERT_TRUE(board.open(QIODevice::ReadOnly)) << board.errorString().toStdString();
    QByteArray pending;
    std::vector<std::pair<QByteArray, qint64>> received; // frame, when its first byte came
    QTimer reader;
    QObject::connect(&reader, &QTimer::timeout, [&] {
        for (char byte : board.read(48)) {
            if (pending.isEmpty() && byte != '\x02')
                continue;
            if (pending.isEmpty())
                received.push_back({{}, clock.elapsed()});
            pending += byte;
            if (pending.size() == 5701)
                received.back().first = std::exchange(pending, {});
        }
    });
    reader.start(20);

    DisplayRecord record;
    DeviceTransport transport;
    transport.setPortName(cable.deviceA());
    transport.setBaseAddress(760);
    DebugTrace trace;
    BarcoWriter barco(record, transport, trace);
    PlainContext context;
    context.writer = &barco;
    DisplayLines lines(record, context);
    std::map<int, qint64> sentAt, filledAt;
    NowUpListeners listeners([] { return 0; }, [&](int event, int side, QString num, QString name, QString gym) {
        lines.FillNowUpLine(event, side, num, name, gym);
        filledAt[num.toInt()] = clock.elapsed();
    });
    listeners.setPorts(0, 0);
    listeners.setLogSink([](const QString &) {});
    listeners.start();

    std::vector<std::pair<QByteArray, qint64>> produced; // block, when it was made
    QTimer recordTimer; // faster than a frame's three seconds on the wire
    QObject::connect(&recordTimer, &QTimer::timeout, [&] {
        produced.push_back({BarcoFrame(record), clock.elapsed()});
        EXPECT_EQ(barco.SendBarcoRecord(), DeviceErrors::Success);
    });
    recordTimer.start(700);
    QUdpSocket sender;
    QTimer nowUps;
    QObject::connect(&nowUps, &QTimer::timeout, [&] {
        const int num = 100 + int(sentAt.size());
        sentAt[num] = clock.elapsed();
        sender.writeDatagram("SCOREGEN,1,1," + QByteArray::number(num) + ",Gymnast", QHostAddress(QHostAddress::LocalHost),
                             listeners.port(NowUpListeners::Channel::Line));
    });
    nowUps.start(100);
    waitUntil([] { return false; }, std::chrono::milliseconds(9000));
    nowUps.stop();
    waitUntil([&] { return filledAt.size() == sentAt.size(); }, std::chrono::milliseconds(500));

    ASSERT_GE(sentAt.size(), 60u);
    for (const auto &[num, at] : sentAt) {
        ASSERT_TRUE(filledAt.count(num)) << "now-up " << num << " never reached the block";
        EXPECT_LE(filledAt[num] - at, 20) << "now-up " << num;
    }
    // About three frames in the run, each whole and the newest block when it
    // began: the next block came after its first byte (allowing for the
    // board's reading pace).
    ASSERT_GE(received.size(), 2u);
    EXPECT_LT(received.size(), produced.size() / 2);
    for (std::size_t i = 0; i < received.size() && !received[i].first.isEmpty(); ++i) {
        const auto made = std::find_if(produced.begin(), produced.end(),
                                       [&](const auto &p) { return p.first == received[i].first; });
        ASSERT_NE(made, produced.end()) << "frame " << i << " is no block that was made";
        if (made + 1 != produced.end()) {
            EXPECT_LT(received[i].second, (made + 1)->second + 200)
                << "frame " << i << " began at " << received[i].second << " ms with block " << made - produced.begin()
                << " while a newer one of " << (made + 1)->second << " ms waited";
        }
    }
}
