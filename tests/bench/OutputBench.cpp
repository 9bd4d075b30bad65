// Output benchmarks, run on demand (see README "Benchmarks"):
//  - the event loop's latency while Barco frames keep a 19200-baud serial line
//    (a socat pseudo-terminal pair read at the wire's pace) busy: the largest
//    gaps between wake-ups of a 5 ms probe timer;
//  - the XML document built from a full block, and built and saved.
// KESTRA_BENCH_SECONDS sets the length of the saturated run (default 60).
#include "outputs/Barco.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"
#include "outputs/XmlFile.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSerialPort>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

using namespace kestra;

namespace {

void fill(DisplayRecord &record, int seed)
{
    for (int offset = 0; offset < DisplayRecord::size(); offset += 10)
        record.pack(Field{offset, std::min(10, DisplayRecord::size() - offset)},
                    QByteArrayView(QByteArray::number(seed * 1000 + offset).rightJustified(9, ' ')));
}

void EventLoopWhileSaturated(benchmark::State &state)
{
    const int seconds = qEnvironmentVariableIsSet("KESTRA_BENCH_SECONDS")
                            ? qEnvironmentVariableIntValue("KESTRA_BENCH_SECONDS")
                            : 60;
    for (auto _ : state) {
        test::PtyPair cable;
        QSerialPort board;
        board.setPortName(cable.deviceB());
        board.setBaudRate(QSerialPort::Baud19200);
        board.setReadBufferSize(256);
        if (!board.open(QIODevice::ReadOnly)) {
            state.SkipWithError("cannot open the board's end of the pseudo-terminal pair");
            return;
        }
        qint64 receivedBytes = 0;
        QTimer reader; // the wire's pace: 1920 bytes a second
        QObject::connect(&reader, &QTimer::timeout, [&] { receivedBytes += board.read(38).size(); });
        reader.start(20);

        DisplayRecord record;
        DeviceTransport transport;
        transport.setPortName(cable.deviceA());
        transport.setBaseAddress(760);
        DebugTrace trace;
        BarcoWriter barco(record, transport, trace);
        int tick = 0;
        QTimer timer2; // as the display cycle does it, a changed block each time
        QObject::connect(&timer2, &QTimer::timeout, [&] {
            fill(record, ++tick);
            barco.SendBarcoRecord();
        });
        timer2.start(2000);

        std::vector<double> gaps;
        gaps.reserve(std::size_t(seconds) * 220);
        QElapsedTimer sinceLast;
        QTimer probe;
        probe.setTimerType(Qt::PreciseTimer);
        QObject::connect(&probe, &QTimer::timeout, [&] {
            gaps.push_back(double(sinceLast.nsecsElapsed()) / 1e6);
            sinceLast.restart();
        });
        QEventLoop loop;
        QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
        sinceLast.start();
        probe.start(5);
        loop.exec();

        std::sort(gaps.begin(), gaps.end());
        const auto at = [&](double q) { return gaps[std::min(gaps.size() - 1, std::size_t(q * double(gaps.size())))]; };
        state.counters["gap_p50_ms"] = at(0.5);
        state.counters["gap_p99_ms"] = at(0.99);
        state.counters["gap_p999_ms"] = at(0.999);
        state.counters["gap_max_ms"] = gaps.back();
        state.counters["wakeups"] = double(gaps.size());
        state.counters["records_made"] = tick;
        state.counters["bytes_on_wire_per_s"] = double(receivedBytes) / seconds;
    }
}

// The XML document of a full block, built alone or built and saved.
void Xml(benchmark::State &state, bool save)
{
    test::TempDir dir;
    const QString path = dir.file(QStringLiteral("scoring.xml"));
    DisplayRecord record;
    fill(record, 7);
    FixedMeetFlags meet;
    meet.useJNBonus = true;
    XmlFileWriter writer(record, meet, [&] { return path; }, [] { return 1; });
    for (auto _ : state) {
        if (!save)
            writer.buildDocument();
        else if (writer.WriteXmlFile() != DeviceErrors::Success)
            return state.SkipWithError("the XML file was not written");
    }
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    QCoreApplication app(argc, argv);
    benchmark::RegisterBenchmark("EventLoop/SaturatedSerialBarco", EventLoopWhileSaturated)
        ->Iterations(1)
        ->Unit(benchmark::kSecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Xml/Build", Xml, false)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Xml/BuildAndSave", Xml, true)->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
