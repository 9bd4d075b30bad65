// kestra-board: a virtual Daktronics board for development and demos. It takes
// frames from a UDP port and/or a serial line, keeps its own copy of the display
// block and prints what a board would show whenever that changes.
#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QHostAddress>
#include <QNetworkDatagram>
#include <QSerialPort>
#include <QSocketNotifier>
#include <QUdpSocket>

#include <csignal>
#include <cstdio>
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

class Board {
public:
    explicit Board(bool verbose) : m_verbose(verbose) {}

    void take(const DecodeResult &result, const QString &source)
    {
        for (const QString &error : result.errors)
            printLine(stderr, source + QStringLiteral(": ") + error);
        for (const BoardFrame &frame : result.frames) {
            if (m_verbose) {
                printLine(stdout, QStringLiteral("%1: frame at %2, %3 bytes")
                                      .arg(source)
                                      .arg(frame.address, 5, 10, QLatin1Char('0'))
                                      .arg(frame.data.size()));
            }
            for (const QString &line : m_mirror.apply(frame))
                printLine(stdout, line);
        }
    }

    DaktronicsDecoder &serialDecoder() { return m_serialDecoder; }
    const DaktronicsDecoder &datagramDecoder() const { return m_datagramDecoder; }

private:
    bool m_verbose;
    BoardMirror m_mirror;
    DaktronicsDecoder m_datagramDecoder;
    DaktronicsDecoder m_serialDecoder;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kestra-board"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Virtual Daktronics board: prints what a board would show as frames arrive."));
    parser.addHelpOption();
    const QCommandLineOption udpOption(QStringLiteral("udp"), QStringLiteral("Listen for frames on this UDP port (0: any free port)."),
                                       QStringLiteral("PORT"));
    const QCommandLineOption bindOption(QStringLiteral("bind"),
                                        QStringLiteral("Address to listen on (default 0.0.0.0)."),
                                        QStringLiteral("ADDR"), QStringLiteral("0.0.0.0"));
    const QCommandLineOption serialOption(QStringLiteral("serial"),
                                          QStringLiteral("Read frames from this serial device at 19200 8N1."),
                                          QStringLiteral("DEVICE"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Also print every good frame, changed or not."));
    parser.addOptions({udpOption, bindOption, serialOption, verboseOption});
    parser.process(app);

    if (!parser.isSet(udpOption) && !parser.isSet(serialOption)) {
        std::fprintf(stderr, "kestra-board: give --udp PORT and/or --serial DEVICE (see --help)\n");
        return 2;
    }

    Board board(parser.isSet(verboseOption));

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
    printLine(stdout, QStringLiteral("board closed"));
    return code;
}
