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

#include <map>
#include <vector>

using namespace kestra;
using namespace kestra::test;

TEST(WireStall, NowUpsReachTheBlockAtOnceWhileBarcoFramesFillASerialLine)
{
    constexpr int kRecordPeriodMs = 700; // faster than a frame's three seconds on the wire
    constexpr int kNowUpPeriodMs = 100;
    constexpr int kRunMs = 9000;
    QElapsedTimer clock;
    clock.start();

    PtyPair cable;
    // The board reads a little faster than 19200 baud, in small bites, so
    // the pseudo-terminal holds back what it has not read.
    QSerialPort board;
    board.setPortName(cable.deviceB());
    board.setBaudRate(QSerialPort::Baud19200);
    board.setReadBufferSize(256);
    ASSERT_TRUE(board.open(QIODevice::ReadOnly)) << board.errorString().toStdString();
    QByteArray pending;
    qint64 frameSeenAt = -1;
    struct Received {
        QByteArray frame;
        qint64 firstByteAt;
    };
    std::vector<Received> received;
    QTimer reader;
    QObject::connect(&reader, &QTimer::timeout, [&] {
        for (char byte : board.read(48)) {
            if (pending.isEmpty() && byte != '\x02')
                continue;
            if (pending.isEmpty())
                frameSeenAt = clock.elapsed();
            pending += byte;
            if (pending.size() == 5701) {
                received.push_back({pending, frameSeenAt});
                pending.clear();
            }
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
    std::map<int, qint64> filledAt;
    NowUpListeners listeners([] { return 0; }, [&](int event, int side, QString num, QString name, QString gym) {
        lines.FillNowUpLine(event, side, num, name, gym);
        filledAt[num.toInt()] = clock.elapsed();
    });
    listeners.setPorts(0, 0);
    listeners.setLogSink([](const QString &) {});
    listeners.start();

    struct Produced {
        QByteArray frame;
        qint64 at;
    };
    std::vector<Produced> produced;
    QTimer recordTimer;
    QObject::connect(&recordTimer, &QTimer::timeout, [&] {
        produced.push_back({BarcoFrame(record), clock.elapsed()});
        EXPECT_EQ(barco.SendBarcoRecord(), DeviceErrors::Success);
    });
    recordTimer.start(kRecordPeriodMs);

    QUdpSocket sender;
    std::map<int, qint64> sentAt;
    int next = 100;
    QTimer nowUps;
    QObject::connect(&nowUps, &QTimer::timeout, [&] {
        const QByteArray datagram = "SCOREGEN,1,1," + QByteArray::number(next) + ",Gymnast " + QByteArray::number(next);
        sentAt[next++] = clock.elapsed();
        sender.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost),
                             listeners.port(NowUpListeners::Channel::Line));
    });
    nowUps.start(kNowUpPeriodMs);

    waitUntil([] { return false; }, std::chrono::milliseconds(kRunMs));
    nowUps.stop();
    waitUntil([&] { return filledAt.size() == sentAt.size(); }, std::chrono::milliseconds(500));

    ASSERT_GE(sentAt.size(), 60u);
    EXPECT_EQ(filledAt.size(), sentAt.size());
    for (const auto &[num, at] : sentAt) {
        ASSERT_TRUE(filledAt.count(num)) << "now-up " << num << " never reached the block";
        EXPECT_LE(filledAt[num] - at, 20) << "now-up " << num;
    }

    // At 19200 baud a frame takes three seconds: about three in the run, and
    // every one of them whole and as fresh as it could be.
    ASSERT_GE(received.size(), 2u);
    EXPECT_LT(received.size(), produced.size() / 2);
    for (std::size_t i = 0; i < received.size(); ++i) {
        std::size_t j = 0;
        while (j < produced.size() && produced[j].frame != received[i].frame)
            ++j;
        ASSERT_LT(j, produced.size()) << "frame " << i << " is no block that was made";
        // It was the newest when it began: the next block came after its
        // first byte (allowing for the board's own reading pace).
        if (j + 1 < produced.size())
            EXPECT_LT(received[i].firstByteAt, produced[j + 1].at + 200)
                << "frame " << i << " began at " << received[i].firstByteAt << " ms with block " << j
                << " of " << produced[j].at << " ms while block " << j + 1 << " of " << produced[j + 1].at
                << " ms was waiting";
    }
}
