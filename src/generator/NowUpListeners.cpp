#include "generator/NowUpListeners.h"

#include "support/TickSource.h"

#include <QNetworkDatagram>
#include <QSignalBlocker>
#include <QTimer>
#include <QUdpSocket>

#include <deque>
#include <exception>

namespace kestra {

namespace {

// Datagrams taken from one socket per wake-up, so that a flood on one port
// cannot hold the event loop away from timers and the other port.
constexpr int kReadsPerWakeUp = 64;
// Datagrams read but not yet handled; beyond this they are dropped and
// counted rather than let a flood grow without bound.
constexpr std::size_t kBacklog = 1024;
constexpr int kReadFailuresToRestart = 3;

QString senderText(const QHostAddress &address, quint16 port)
{
    if (address.isNull())
        return QStringLiteral("unknown sender");
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    const QString host = isV4 ? QHostAddress(v4).toString() : address.toString();
    return QStringLiteral("%1:%2").arg(host).arg(port);
}

} // namespace

struct NowUpListeners::Listener {
    Channel channel;
    quint16 askedPort = 0; // as set; 0 picks a free port
    quint16 boundPort = 0; // the port listened on since start(), kept for restarts
    QUdpSocket *socket = nullptr;
    QTimer retry;
    std::chrono::milliseconds nextDelay{0};
    bool failing = false; // listening was lost or could not begin, not yet back
    int readFailures = 0; // reads in a row that failed
    std::deque<QNetworkDatagram> backlog;
    bool drainQueued = false;
    Counts counts;

    QString label() const
    {
        return QStringLiteral("now-up listener on UDP %1").arg(boundPort ? boundPort : askedPort);
    }
};

NowUpListeners::NowUpListeners(NameFormatSource nameFormat, FillNowUp fill, QObject *parent)
    : QObject(parent),
      m_nameFormat(std::move(nameFormat)),
      m_fill(std::move(fill)),
      m_sink(NowUpFaultLog::standardError()),
      m_ownTicks(std::make_unique<SystemTickSource>()),
      m_log(std::make_unique<NowUpFaultLog>(m_sink, *m_ownTicks))
{
    const struct {
        Channel channel;
        quint16 port;
    } made[] = {{Channel::Xml, kNowUpXmlPort}, {Channel::Line, kNowUpLinePort}};
    for (const auto &m : made) {
        auto l = std::make_unique<Listener>();
        l->channel = m.channel;
        l->askedPort = m.port;
        l->retry.setSingleShot(true);
        Listener *raw = l.get();
        connect(&l->retry, &QTimer::timeout, this, [this, raw] {
            if (m_started)
                listen(*raw);
        });
        m_listeners[static_cast<std::size_t>(m.channel)] = std::move(l);
    }
}

NowUpListeners::~NowUpListeners()
{
    // Whoever listens to listeningChanged may be gone already.
    const QSignalBlocker quiet(this);
    stop();
}

NowUpListeners::Listener &NowUpListeners::listener(Channel channel) const
{
    return *m_listeners[static_cast<std::size_t>(channel)];
}

void NowUpListeners::setPorts(quint16 xmlPort, quint16 linePort)
{
    listener(Channel::Xml).askedPort = xmlPort;
    listener(Channel::Line).askedPort = linePort;
}

void NowUpListeners::setLogSink(NowUpFaultLog::Sink sink)
{
    m_sink = std::move(sink);
    m_log->setSink(m_sink);
}

void NowUpListeners::setTickSource(TickSource &ticks)
{
    m_log->flush();
    m_log = std::make_unique<NowUpFaultLog>(m_sink, ticks);
}

void NowUpListeners::setRetryDelays(std::chrono::milliseconds first, std::chrono::milliseconds most)
{
    m_firstRetry = first;
    m_mostRetry = std::max(first, most);
}

bool NowUpListeners::start()
{
    if (m_started)
        return isListening(Channel::Xml) && isListening(Channel::Line);
    m_started = true;
    bool all = true;
    for (auto &l : m_listeners) {
        l->boundPort = 0;
        l->failing = false;
        l->nextDelay = m_firstRetry;
        all = listen(*l) && all;
    }
    return all;
}

void NowUpListeners::stop()
{
    if (!m_started)
        return;
    m_started = false;
    for (auto &l : m_listeners) {
        l->retry.stop();
        l->backlog.clear();
        const bool was = l->socket != nullptr;
        dropSocket(*l);
        if (was)
            emit listeningChanged(l->channel, false);
    }
    m_log->flush();
}

bool NowUpListeners::isListening(Channel channel) const
{
    const Listener &l = listener(channel);
    return l.socket && l.socket->state() == QAbstractSocket::BoundState;
}

quint16 NowUpListeners::port(Channel channel) const
{
    const Listener &l = listener(channel);
    return l.boundPort ? l.boundPort : l.askedPort;
}

const NowUpListeners::Counts &NowUpListeners::counts(Channel channel) const
{
    return listener(channel).counts;
}

QUdpSocket *NowUpListeners::socketForTesting(Channel channel) const
{
    return listener(channel).socket;
}

void NowUpListeners::dropSocket(Listener &l)
{
    if (!l.socket)
        return;
    QUdpSocket *socket = l.socket;
    l.socket = nullptr;
    socket->disconnect(this);
    socket->abort();
    // It may be the sender of the signal being handled.
    socket->deleteLater();
}

bool NowUpListeners::listen(Listener &l)
{
    l.retry.stop();
    dropSocket(l);

    auto *socket = new QUdpSocket(this);
    const quint16 port = l.boundPort ? l.boundPort : l.askedPort;
    // Not shared: a second program on the port would silently take datagrams
    // meant for this one. A copy of the program that is just closing can hold
    // the port for a moment, which the retry rides out.
    if (!socket->bind(m_address, port, QAbstractSocket::DontShareAddress)) {
        const QString why = socket->errorString();
        delete socket;
        log(l, QStringLiteral("listen"),
            QStringLiteral("cannot listen on %1 port %2: %3; trying again")
                .arg(m_address == QHostAddress(QHostAddress::Any) ? QStringLiteral("any address")
                                                                  : m_address.toString())
                .arg(port)
                .arg(why));
        l.failing = true;
        retryLater(l);
        return false;
    }

    l.socket = socket;
    l.boundPort = socket->localPort();
    l.readFailures = 0;
    connect(socket, &QUdpSocket::readyRead, this, [this, &l] { readPending(l); });
    connect(socket, &QAbstractSocket::errorOccurred, this, [this, &l](QAbstractSocket::SocketError) {
        if (!l.socket)
            return;
        const QString why = l.socket->errorString();
        if (l.socket->state() != QAbstractSocket::BoundState)
            listeningLost(l, why);
        else
            log(l, QStringLiteral("socket"), QStringLiteral("socket error: %1").arg(why));
    });
    connect(socket, &QAbstractSocket::stateChanged, this, [this, &l](QAbstractSocket::SocketState state) {
        if (state == QAbstractSocket::UnconnectedState)
            listeningLost(l, QStringLiteral("the socket was closed"));
    });

    if (l.failing) {
        ++l.counts.restarts;
        log(l, QStringLiteral("listening again"), QStringLiteral("listening again"));
    }
    l.failing = false;
    l.nextDelay = m_firstRetry;
    emit listeningChanged(l.channel, true);
    return true;
}

void NowUpListeners::listeningLost(Listener &l, const QString &reason)
{
    if (!m_started || !l.socket)
        return;
    log(l, QStringLiteral("lost"), QStringLiteral("listening lost (%1); starting it again").arg(reason));
    dropSocket(l);
    l.failing = true;
    l.nextDelay = m_firstRetry;
    retryLater(l);
    emit listeningChanged(l.channel, false);
}

void NowUpListeners::retryLater(Listener &l)
{
    l.retry.start(l.nextDelay);
    l.nextDelay = std::min(l.nextDelay * 2, m_mostRetry);
}

void NowUpListeners::readPending(Listener &l)
{
    QUdpSocket *socket = l.socket;
    for (int i = 0; socket && i < kReadsPerWakeUp && socket->hasPendingDatagrams(); ++i) {
        QNetworkDatagram datagram = socket->receiveDatagram();
        if (!datagram.isValid()) {
            // Told through errorOccurred; a socket that keeps failing to
            // read is as good as lost.
            if (++l.readFailures >= kReadFailuresToRestart)
                listeningLost(l, QStringLiteral("reading keeps failing: %1").arg(socket->errorString()));
            break;
        }
        l.readFailures = 0;
        if (l.backlog.size() >= kBacklog) {
            ++l.counts.dropped;
            log(l, QStringLiteral("backlog"),
                QStringLiteral("datagram from %1 dropped: %2 are waiting to be handled")
                    .arg(senderText(datagram.senderAddress(), static_cast<quint16>(datagram.senderPort())))
                    .arg(l.backlog.size()));
            continue;
        }
        l.backlog.push_back(std::move(datagram));
    }
    // Handled from the event loop rather than here: a handler that ends in a
    // modal box then still lets later datagrams of this port through, as a
    // nested loop does not deliver readyRead to a socket inside its own.
    if (!l.backlog.empty() && !l.drainQueued) {
        l.drainQueued = true;
        QMetaObject::invokeMethod(this, [this, &l] { drain(l); }, Qt::QueuedConnection);
    }
}

void NowUpListeners::drain(Listener &l)
{
    l.drainQueued = false;
    while (m_started && !l.backlog.empty()) {
        const QNetworkDatagram datagram = std::move(l.backlog.front());
        l.backlog.pop_front();
        handle(l, datagram.data(),
               senderText(datagram.senderAddress(), static_cast<quint16>(datagram.senderPort())));
    }
}

NowUpParse NowUpListeners::RtcUdpServer1DataReceived(QByteArrayView datagram, const QString &sender)
{
    return handle(listener(Channel::Xml), datagram, sender);
}

NowUpParse NowUpListeners::RtcUdpServer2DataReceived(QByteArrayView datagram, const QString &sender)
{
    return handle(listener(Channel::Line), datagram, sender);
}

NowUpParse NowUpListeners::handle(Listener &l, QByteArrayView datagram, const QString &sender)
{
    ++l.counts.received;
    const NowUpParse parsed = l.channel == Channel::Xml
                                  ? parseNowUpXml(datagram, m_nameFormat ? m_nameFormat() : 0)
                                  : parseScoreGenLine(datagram);
    const QString from = sender.isEmpty() ? QStringLiteral("unknown sender") : sender;
    if (!parsed.action) {
        const bool malformed = parsed.malformed();
        ++(malformed ? l.counts.malformed : l.counts.ignored);
        log(l, faultName(parsed.fault),
            QStringLiteral("%1 datagram of %2 bytes from %3: %4")
                .arg(malformed ? QStringLiteral("malformed") : QStringLiteral("ignored"))
                .arg(datagram.size())
                .arg(from, parsed.detail));
        return parsed;
    }
    ++l.counts.filled;
    if (!m_fill)
        return parsed;
    const NowUpAction &a = *parsed.action;
    // Nothing may escape into the event loop.
    try {
        m_fill(a.eventNumber, 1, a.num, a.name, a.gym);
    } catch (...) {
        if (m_failureHandler) {
            const std::exception_ptr failure = std::current_exception();
            try {
                m_failureHandler(failure);
            } catch (...) {
                log(l, QStringLiteral("fill"), QStringLiteral("the failure handler failed in turn"));
            }
        } else {
            QString what = QStringLiteral("unknown failure");
            try {
                throw;
            } catch (const std::exception &e) {
                what = QString::fromLocal8Bit(e.what());
            } catch (...) {
            }
            log(l, QStringLiteral("fill"),
                QStringLiteral("now-up line of event %1 from %2 not completed: %3").arg(a.eventNumber).arg(from, what));
        }
    }
    return parsed;
}

void NowUpListeners::log(const Listener &l, const QString &kind, const QString &text)
{
    const QString label = l.label();
    m_log->report(label + QStringLiteral(", ") + kind, label + QStringLiteral(": ") + text);
}

} // namespace kestra
