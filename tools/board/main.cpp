// kestra-board: a virtual board for development and demos. It takes
// Daktronics, White Way or Barco frames from a UDP port and/or a serial line,
// keeps its own copy of the display block and prints what a board shows: one
// line per part that changed, once the frames of one send have all arrived.
#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"
#include "support/Formatting.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QHostAddress>
#include <QNetworkDatagram>
#include <QSerialPort>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

using namespace kestra;

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(signalPipe[1], &byte, 1);
}

QString stamp()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz"));
}

void printLine(std::FILE *stream, const QString &line)
{
    std::fprintf(stream, "[%s] %s\n", qPrintable(stamp()), line.toLocal8Bit().constData());
    std::fflush(stream);
}

// Frames of one send arrive within milliseconds (over a serial line, one
// after the other); the board is printed once they have stopped coming for
// kQuietMs, and at the latest kLatestMs after the first of them.
constexpr int kQuietMs = 150;
constexpr int kLatestMs = 1000;

std::unique_ptr<FrameDecoder> decoderFor(const QString &format)
{
    if (format == QLatin1String("daktronics"))
        return std::make_unique<DaktronicsDecoder>();
    if (format == QLatin1String("whiteway"))
        return std::make_unique<WhiteWayDecoder>();
    if (format == QLatin1String("barco"))
        return std::make_unique<BarcoDecoder>();
    if (format == QLatin1String("auto"))
        return std::make_unique<AutoDecoder>();
    return nullptr;
}

class Board {
public:
    Board(bool rawFrames, const QString &format)
        : m_rawFrames(rawFrames), m_datagramDecoder(decoderFor(format)), m_serialDecoder(decoderFor(format))
    {
        m_quiet.setSingleShot(true);
        m_latest.setSingleShot(true);
        QObject::connect(&m_quiet, &QTimer::timeout, [this] { settle(); });
        QObject::connect(&m_latest, &QTimer::timeout, [this] { settle(); });
    }

    void take(const DecodeResult &result, const QString &source)
    {
        for (const QString &error : result.errors)
            printLine(stderr, source + QStringLiteral(": ") + error);
        for (const QString &warning : result.warnings)
            printLine(stderr, source + QStringLiteral(": warning: ") + warning);
        for (const BoardFrame &frame : result.frames) {
            const QStringList changed = m_mirror.apply(frame);
            if (!m_rawFrames)
                continue;
            printLine(stdout, QStringLiteral("%1: frame at %2, %3 bytes")
                                  .arg(source)
                                  .arg(frame.address, 5, 10, QLatin1Char('0'))
                                  .arg(frame.data.size()));
            for (const QString &line : changed)
                printLine(stdout, line);
        }
        if (m_rawFrames) {
            m_mirror.settle();
            return;
        }
        if (!result.frames.empty()) {
            m_quiet.start(kQuietMs);
            if (!m_latest.isActive())
                m_latest.start(kLatestMs);
        }
    }

    void settle()
    {
        m_quiet.stop();
        m_latest.stop();
        for (const QString &line : m_mirror.settle())
            printLine(stdout, line);
    }

    FrameDecoder &serialDecoder() { return *m_serialDecoder; }
    const FrameDecoder &datagramDecoder() const { return *m_datagramDecoder; }

private:
    bool m_rawFrames;
    BoardMirror m_mirror;
    std::unique_ptr<FrameDecoder> m_datagramDecoder;
    std::unique_ptr<FrameDecoder> m_serialDecoder;
    QTimer m_quiet;
    QTimer m_latest;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    useCNumberConventions();
    QCoreApplication::setApplicationName(QStringLiteral("kestra-board"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A virtual scoreboard. It reads Daktronics, White Way or Barco frames from a "
                       "UDP port or a serial line and prints what a board shows, one line per score."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption udpOption(QStringLiteral("udp"), QStringLiteral("Listen for frames on this UDP port (0: any free port)."),
                                       QStringLiteral("PORT"));
    const QCommandLineOption bindOption(QStringLiteral("bind"),
                                        QStringLiteral("Address to listen on (default 0.0.0.0)."),
                                        QStringLiteral("ADDR"), QStringLiteral("0.0.0.0"));
    const QCommandLineOption serialOption(QStringLiteral("serial"),
                                          QStringLiteral("Read frames from this serial device at 19200 8N1."),
                                          QStringLiteral("DEVICE"));
    const QCommandLineOption formatOption(
        QStringLiteral("format"),
        QStringLiteral("The frames to expect: daktronics, whiteway, barco, or auto (default: recognised from the "
                       "first good frame)."),
        QStringLiteral("FORMAT"), QStringLiteral("auto"));
    const QCommandLineOption framesOption(
        QStringLiteral("frames"),
        QStringLiteral("Raw view: print every good frame as it arrives, with the lines it changed."));
    parser.addOptions({udpOption, bindOption, serialOption, formatOption, framesOption});
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "kestra-board: %s (see --help)\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(helpOption)) {
        // Named as a person types it, not by the path it was started from.
        QString help = parser.helpText();
        help.replace(0, help.indexOf(QLatin1Char(' '), 7), QStringLiteral("Usage: kestra-board"));
        std::fputs(help.toLocal8Bit().constData(), stdout);
        return 0;
    }

    const QString format = parser.value(formatOption).trimmed().toLower().remove(QLatin1Char('-'));
    if (!decoderFor(format)) {
        std::fprintf(stderr, "kestra-board: --format takes daktronics, whiteway, barco or auto, not \"%s\"\n",
                     qPrintable(parser.value(formatOption)));
        return 2;
    }

    if (!parser.isSet(udpOption) && !parser.isSet(serialOption)) {
        std::fprintf(stderr, "kestra-board: give --udp PORT and/or --serial DEVICE (see --help)\n");
        return 2;
    }

    Board board(parser.isSet(framesOption), format);

    QUdpSocket udp;
    if (parser.isSet(udpOption)) {
        bool ok = false;
        const uint port = parser.value(udpOption).toUInt(&ok);
        QHostAddress address;
        if (!ok || port > 65535) {
            std::fprintf(stderr, "kestra-board: \"%s\" is not a UDP port\n", qPrintable(parser.value(udpOption)));
            return 2;
        }
        if (!address.setAddress(parser.value(bindOption))) {
            std::fprintf(stderr, "kestra-board: \"%s\" is not an IP address\n", qPrintable(parser.value(bindOption)));
            return 2;
        }
        if (!udp.bind(address, static_cast<quint16>(port), QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint)) {
            std::fprintf(stderr, "kestra-board: cannot listen on %s:%u: %s\n", qPrintable(address.toString()), port,
                         qPrintable(udp.errorString()));
            return 1;
        }
        QObject::connect(&udp, &QUdpSocket::readyRead, [&] {
            while (udp.hasPendingDatagrams()) {
                const QNetworkDatagram datagram = udp.receiveDatagram();
                const QString source = QStringLiteral("udp %1:%2")
                                           .arg(datagram.senderAddress().toString())
                                           .arg(datagram.senderPort());
                board.take(board.datagramDecoder().decodeDatagram(datagram.data()), source);
            }
        });
        printLine(stdout, QStringLiteral("listening on udp %1:%2").arg(address.toString()).arg(udp.localPort()));
    }

    QSerialPort serial;
    if (parser.isSet(serialOption)) {
        serial.setPortName(parser.value(serialOption));
        serial.setBaudRate(QSerialPort::Baud19200);
        serial.setDataBits(QSerialPort::Data8);
        serial.setParity(QSerialPort::NoParity);
        serial.setStopBits(QSerialPort::OneStop);
        serial.setFlowControl(QSerialPort::NoFlowControl);
        if (!serial.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "kestra-board: cannot open %s: %s\n", qPrintable(serial.portName()),
                         qPrintable(serial.errorString()));
            return 1;
        }
        const QString source = QStringLiteral("serial %1").arg(parser.value(serialOption));
        QObject::connect(&serial, &QSerialPort::readyRead,
                         [&] { board.take(board.serialDecoder().feed(serial.readAll()), source); });
        QObject::connect(&serial, &QSerialPort::errorOccurred, [&](QSerialPort::SerialPortError error) {
            if (error == QSerialPort::ResourceError) {
                printLine(stderr, source + QStringLiteral(": line lost: ") + serial.errorString());
                serial.close();
            }
        });
        printLine(stdout, QStringLiteral("reading %1 at 19200 8N1").arg(parser.value(serialOption)));
    }

    // Ctrl-C and TERM end the event loop from the loop itself.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0) {
        std::perror("kestra-board: socketpair");
        return 1;
    }
    QSocketNotifier signalNotifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signalNotifier, &QSocketNotifier::activated, [&] {
        char byte = 0;
        [[maybe_unused]] const ssize_t n = ::read(signalPipe[0], &byte, 1);
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    const int code = app.exec();
    board.settle();
    printLine(stdout, QStringLiteral("board closed"));
    return code;
}
