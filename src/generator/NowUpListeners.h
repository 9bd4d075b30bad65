#pragma once

#include "generator/NowUpFaultLog.h"
#include "generator/NowUpParse.h"

#include <QByteArrayView>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

class QUdpSocket;

namespace kestra {

class TickSource;

// The two now-up listeners of the main window: RtcUdpServer1 takes XML
// datagrams on port 51521, RtcUdpServer2 comma lines on port 23467. Each
// datagram may fill or clear one now-up line of session column 1 through the
// fill call; nothing is ever sent back. The listeners know nothing of the
// generator's state: they serve datagrams from start() to stop(), running or
// not.
//
// A datagram that cannot be used changes nothing and is told on the log, one
// line per kind of fault a minute at most. When listening is lost or cannot
// begin (the port is held by another program, the socket fails), the listener
// logs it and tries again on its own, after 250 ms at first and then up to
// every 5 s, until it listens or stop() is called.
class NowUpListeners : public QObject {
    Q_OBJECT

public:
    using NameFormatSource = std::function<int()>;
    using FillNowUp = std::function<void(int eventNumber, int side, QString num, QString name, QString gym)>;

    enum class Channel { Xml = 0, Line = 1 };
    Q_ENUM(Channel)

    struct Counts {
        std::uint64_t received = 0;
        std::uint64_t filled = 0;
        std::uint64_t ignored = 0;
        std::uint64_t malformed = 0;
        // Datagrams that came while the backlog was full and were dropped.
        std::uint64_t dropped = 0;
        // Times listening began again after it was lost or had failed.
        std::uint64_t restarts = 0;
    };

    // nameFormat is asked for each NowUp datagram; fill is called as
    // DisplayLines::FillNowUpLine is, always with side 1.
    NowUpListeners(NameFormatSource nameFormat, FillNowUp fill, QObject *parent = nullptr);
    ~NowUpListeners() override;

    // Taken by the next start(). The program keeps the fixed ports; tests
    // pass 0 to pick a free port, which port() reports once listening. A
    // restart after a loss keeps the port listened on.
    void setPorts(quint16 xmlPort, quint16 linePort);
    void setAddress(const QHostAddress &address) { m_address = address; }
    // Where log lines go; standard error unless told otherwise. stop() and
    // the destructor write what the limit held back, so the sink must outlive
    // the listeners.
    void setLogSink(NowUpFaultLog::Sink sink);
    // The clock of the log's limit; the system clock unless told otherwise.
    void setTickSource(TickSource &ticks);
    // What becomes of a failure thrown by the fill call (a lost meet database
    // connection while the title is read, a trace file that cannot be
    // written): the main window hands it to the application-wide handler.
    // Without one it is logged. The listener goes on either way.
    void setFailureHandler(std::function<void(std::exception_ptr)> handler) { m_failureHandler = std::move(handler); }
    // Delay before the first retry; each failed retry doubles it up to most.
    void setRetryDelays(std::chrono::milliseconds first, std::chrono::milliseconds most);

    // Begins listening on both ports. True when both listen now; a listener
    // that cannot listen yet keeps trying by itself.
    bool start();
    // Closes both; datagrams not yet handled are dropped. Safe to call twice.
    void stop();
    bool isStarted() const { return m_started; }

    bool isListening(Channel channel) const;
    // The port listened on, or the port asked for while not listening.
    quint16 port(Channel channel) const;
    const Counts &counts(Channel channel) const;

    // One datagram each, as read from the socket; sender is for the log.
    // Answer what was made of it.
    NowUpParse RtcUdpServer1DataReceived(QByteArrayView datagram, const QString &sender = QString());
    NowUpParse RtcUdpServer2DataReceived(QByteArrayView datagram, const QString &sender = QString());

    // The listening socket, for tests that take listening away.
    QUdpSocket *socketForTesting(Channel channel) const;

signals:
    void listeningChanged(kestra::NowUpListeners::Channel channel, bool listening);

private:
    struct Listener;

    Listener &listener(Channel channel) const;
    bool listen(Listener &l);
    void dropSocket(Listener &l);
    void listeningLost(Listener &l, const QString &reason);
    void retryLater(Listener &l);
    void readPending(Listener &l);
    void drain(Listener &l);
    NowUpParse handle(Listener &l, QByteArrayView datagram, const QString &sender);
    void log(const Listener &l, const QString &kind, const QString &text);

    NameFormatSource m_nameFormat;
    FillNowUp m_fill;
    std::function<void(std::exception_ptr)> m_failureHandler;
    QHostAddress m_address{QHostAddress::Any};
    NowUpFaultLog::Sink m_sink;
    std::unique_ptr<TickSource> m_ownTicks;
    std::unique_ptr<NowUpFaultLog> m_log;
    std::chrono::milliseconds m_firstRetry{250};
    std::chrono::milliseconds m_mostRetry{5000};
    std::array<std::unique_ptr<Listener>, 2> m_listeners;
    bool m_started = false;
};

} // namespace kestra
