#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <stdexcept>

class QSqlDatabase;
class QSqlError;

namespace kestra {

class DebugTrace;
class MeetFlags;

// A failure to connect to the graphics system's MySQL server, to open one of
// its tables or to start a transaction there. It leaves the writer and reaches
// the operator as any failure of a handler does.
class XpressionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The four settings of "MySQL Settings for Xpression", used as they stand.
// The server may carry a port, "10.0.0.20:3307"; without one the client's
// default (3306) holds.
struct MySqlSettings {
    QString server;
    QString database;
    QString user;
    QString password;

    bool operator==(const MySqlSettings &) const = default;
};

// The connection to the graphics system's database, through Qt's MySQL
// driver. Once open it is kept until disconnect(): there is no keep-alive and
// no test of an open connection.
//
// Everything here runs on the main thread, so a server that does not answer
// would hold the whole program. The client is therefore given up after
// kConnectTimeoutSeconds on a connect and kIoTimeoutSeconds on a read or a
// write, and a connect that failed only after such a wait is not tried again
// for kHoldOffMs (the updates in between fail at once with the same message),
// so a graphics server that is switched off costs the event loop at most two
// seconds in ten. A refused connect (server stopped, host up) fails at once and
// is tried again at the next update.
class XpressionConnection {
public:
    static constexpr int kConnectTimeoutSeconds = 2; // a lost SYN is sent again after 1 s
    static constexpr int kIoTimeoutSeconds = 3;
    static constexpr int kHoldOffMs = 10000;

    XpressionConnection();
    ~XpressionConnection();
    XpressionConnection(const XpressionConnection &) = delete;
    XpressionConnection &operator=(const XpressionConnection &) = delete;

    bool isConnected() const;
    // Sets the four parameters and connects. Throws XpressionError.
    void connect(const MySqlSettings &settings);
    void disconnect();

    // Connects when not connected, then opens `table` (reads its columns).
    // A connection that the server has dropped since the last call (a restart,
    // an idle time-out) is made again once before the open is given up.
    // Throws XpressionError.
    QSqlDatabase openTable(const QString &table, const MySqlSettings &settings);

    // The server's error codes that mean the connection itself is gone.
    static bool isConnectionLoss(const QString &nativeCode);

private:
    QSqlDatabase database() const;

    QString m_name;
    MySqlSettings m_failedSettings;
    QString m_lastFailure;
    QDeadlineTimer m_holdOff;
};

// The Xpression target: keeps the rows of the graphics system's tables
// `scoreboard` (one a display slot) and `leaderboard` (eight a leader page) in
// step with the display block. Now-up lines go to the trace only; NCAA groups
// and the matrix never come here. Every call answers 0: a failure inside the
// transaction is rolled back and told to nobody (the next update tries
// again); a failure before it throws XpressionError.
class XpressionWriter final : public DisplayWriter {
public:
    // `settings` gives the four MySQL settings at each connect; `group` the
    // field Group of EventDisp1 or EventDisp2 by side, whose first letter is
    // the program letter of the scoreboard.
    XpressionWriter(const DisplayRecord &record, std::shared_ptr<XpressionConnection> connection,
                    const MeetFlags &meet, const DebugTrace &trace, std::function<MySqlSettings()> settings,
                    std::function<QString(int side)> group);

    QString targetName() const override { return QStringLiteral("rdoXpression"); }
    TargetKind kind() const override { return TargetKind::Line; }

    DeviceError SendXpressionEvent(int slot, int side);
    DeviceError SendXpressionNowUp(int slot, int side);
    // All three leader pages, whichever changed.
    DeviceError SendXpressionLeader();

    DeviceError sendEventLine(int slot, int side) override { return SendXpressionEvent(slot, side); }
    DeviceError sendNowUpLine(int slot, int side) override { return SendXpressionNowUp(slot, side); }
    DeviceError sendLeaderPage(int) override { return SendXpressionLeader(); }

    // The lines of DebugIOOutput.txt for each call.
    QByteArray eventTrace(int slot, int side) const;
    QByteArray nowUpTrace(int slot, int side) const;
    QList<QByteArray> leaderTrace() const;

    XpressionConnection &connection() { return *m_connection; }

private:
    QByteArray programLetter(int side) const;
    bool writesDBonus() const;
    bool writesEBonus() const;
    // Opens the table and runs `work` in one transaction; `work` answers the
    // failure of the first statement that fails, or an invalid error.
    void inTransaction(const QString &table, const std::function<QSqlError(QSqlDatabase &)> &work);

    const DisplayRecord &m_record;
    std::shared_ptr<XpressionConnection> m_connection;
    const MeetFlags &m_meet;
    const DebugTrace &m_trace;
    std::function<MySqlSettings()> m_settings;
    std::function<QString(int)> m_group;
};

} // namespace kestra
