#include "outputs/Xpression.h"

#include "outputs/DebugTrace.h"
#include "outputs/MeetFlags.h"

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <utility>

namespace kestra {

namespace {

// Failures inside a transaction are told to nobody; this category shows them
// when asked for (QT_LOGGING_RULES="kestra.outputs.xpression.info=true").
Q_LOGGING_CATEGORY(lcXpression, "kestra.outputs.xpression", QtWarningMsg)

const QString kDriver = QStringLiteral("QMYSQL");
// A connect that fails later than this has waited on the network.
constexpr qint64 kSlowConnectMs = 500;

QString errorText(const QSqlError &error)
{
    const QString text = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    return text.isEmpty() ? QStringLiteral("no reason given") : text;
}

// Blanks and control characters go at both ends; inside they stay.
QByteArrayView trimmed(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && static_cast<unsigned char>(bytes.front()) <= ' ')
        bytes = bytes.sliced(1);
    while (!bytes.isEmpty() && static_cast<unsigned char>(bytes.back()) <= ' ')
        bytes.chop(1);
    return bytes;
}

// An empty text is written as an empty string; the driver binds a null
// QString as NULL.
QVariant text(QByteArrayView bytes)
{
    const QString value = QString::fromLatin1(trimmed(bytes));
    return value.isNull() ? QVariant(QStringLiteral("")) : QVariant(value);
}

QString quotedColumns(const QStringList &names, const QString &suffix = QString())
{
    QStringList out;
    for (const QString &name : names)
        out << QLatin1Char('`') + name + QLatin1Char('`') + suffix;
    return out.join(QStringLiteral(", "));
}

// Prepares and runs one statement; the failure, or an invalid error.
QSqlError run(QSqlQuery &query, const QString &sql, const QVariantList &values = {})
{
    if (!query.prepare(sql))
        return query.lastError();
    for (const QVariant &value : values)
        query.addBindValue(value);
    return query.exec() ? QSqlError() : query.lastError();
}

} // namespace

// ---------------------------------------------------------------- connection

XpressionConnection::XpressionConnection()
{
    static std::atomic<int> serial{0};
    m_name = QStringLiteral("kestra-xpression-%1").arg(++serial);
}

XpressionConnection::~XpressionConnection()
{
    disconnect();
    if (QSqlDatabase::contains(m_name))
        QSqlDatabase::removeDatabase(m_name);
}

QSqlDatabase XpressionConnection::database() const
{
    return QSqlDatabase::contains(m_name) ? QSqlDatabase::database(m_name, false) : QSqlDatabase();
}

bool XpressionConnection::isConnected() const
{
    return database().isOpen();
}

void XpressionConnection::disconnect()
{
    QSqlDatabase db = database();
    if (db.isOpen())
        db.close();
}

bool XpressionConnection::isConnectionLoss(const QString &nativeCode)
{
    // 2000-2999: the client's own errors (server gone away, lost during a
    // query, cannot connect); 1927: MariaDB's "connection was killed", sent
    // at shutdown; 4031: MySQL's disconnect of an idle client.
    bool ok = false;
    const int code = nativeCode.trimmed().toInt(&ok);
    return ok && ((code >= 2000 && code <= 2999) || code == 1927 || code == 4031);
}

void XpressionConnection::connect(const MySqlSettings &settings)
{
    if (!m_holdOff.hasExpired() && settings == m_failedSettings)
        throw XpressionError(m_lastFailure.toStdString());
    if (!QSqlDatabase::contains(m_name))
        QSqlDatabase::addDatabase(kDriver, m_name);
    QSqlDatabase db = database();
    if (!db.isValid())
        throw XpressionError("Qt's MySQL driver (QMYSQL) is not installed; on Debian it is the package "
                             "libqt6sql6-mysql.");
    if (db.isOpen())
        db.close();

    static const QRegularExpression withPort(QStringLiteral("^([^:]*):(\\d{1,5})$"));
    const QRegularExpressionMatch match = withPort.match(settings.server.trimmed());
    db.setHostName(match.hasMatch() ? match.captured(1) : settings.server);
    db.setPort(match.hasMatch() ? match.captured(2).toInt() : -1);
    db.setDatabaseName(settings.database);
    db.setUserName(settings.user);
    db.setPassword(settings.password);
    db.setConnectOptions(QStringLiteral("MYSQL_OPT_CONNECT_TIMEOUT=%1;MYSQL_OPT_READ_TIMEOUT=%2;"
                                        "MYSQL_OPT_WRITE_TIMEOUT=%2")
                             .arg(kConnectTimeoutSeconds)
                             .arg(kIoTimeoutSeconds));
    QElapsedTimer took;
    took.start();
    if (db.open()) {
        m_holdOff = QDeadlineTimer();
        return;
    }
    m_lastFailure = QStringLiteral("Kestra could not connect to the MySQL server \"%1\" for Xpression: %2")
                        .arg(settings.server, errorText(db.lastError()));
    m_failedSettings = settings;
    m_holdOff = took.elapsed() >= kSlowConnectMs ? QDeadlineTimer(kHoldOffMs) : QDeadlineTimer();
    throw XpressionError(m_lastFailure.toStdString());
}

QSqlDatabase XpressionConnection::openTable(const QString &table, const MySqlSettings &settings)
{
    for (int attempt = 1;; ++attempt) {
        if (!isConnected())
            connect(settings);
        QSqlDatabase db = database();
        QSqlQuery open(db);
        if (open.exec(QStringLiteral("select * from `%1` limit 0").arg(table)))
            return db;
        const QSqlError error = open.lastError();
        if (attempt == 1 && isConnectionLoss(error.nativeErrorCode())) {
            disconnect();
            continue;
        }
        throw XpressionError(QStringLiteral("The table \"%1\" of the MySQL database \"%2\" for Xpression could "
                                            "not be opened: %3")
                                 .arg(table, db.databaseName(), errorText(error))
                                 .toStdString());
    }
}

// ---------------------------------------------------------------- writer

XpressionWriter::XpressionWriter(const DisplayRecord &record, std::shared_ptr<XpressionConnection> connection,
                                 const MeetFlags &meet, const DebugTrace &trace,
                                 std::function<MySqlSettings()> settings, std::function<QString(int side)> group)
    : m_record(record),
      m_connection(std::move(connection)),
      m_meet(meet),
      m_trace(trace),
      m_settings(std::move(settings)),
      m_group(std::move(group))
{
}

QByteArray XpressionWriter::programLetter(int side) const
{
    if ((side != 1 && side != 2) || !m_group)
        return {};
    return m_group(side).left(1).toLatin1();
}

bool XpressionWriter::writesDBonus() const
{
    return m_meet.MeetsUseDBonus() || m_meet.MeetsUseJNBonus();
}

bool XpressionWriter::writesEBonus() const
{
    return m_meet.MeetsUseJNBonus();
}

QByteArray XpressionWriter::eventTrace(int slot, int side) const
{
    using namespace layout;
    QByteArray line = QByteArray::number(slot) + ',' + programLetter(side) + ',';
    QList<Field> fields{eventTitle(slot), eventNum(slot), eventName(slot), eventScore(slot), eventDScore(slot),
                        eventEScore(slot)};
    if (writesDBonus())
        fields << eventDBonus(slot);
    if (writesEBonus())
        fields << eventEBonus(slot);
    fields << eventND(slot);
    for (const Field &field : fields)
        line += ',' + m_record.read(field);
    return line;
}

QByteArray XpressionWriter::nowUpTrace(int slot, int side) const
{
    using namespace layout;
    QByteArray line = QByteArray::number(slot) + ',' + programLetter(side) + ',';
    for (const Field &field : {nowUpTitle(slot), nowUpNum(slot), nowUpName(slot), nowUpGym(slot)})
        line += ',' + m_record.read(field);
    return line;
}

QList<QByteArray> XpressionWriter::leaderTrace() const
{
    using namespace layout;
    QList<QByteArray> lines;
    for (int page = 1; page <= kLeaderPageCount; ++page) {
        QByteArray line = QByteArray::number(page) + ",A";
        for (const Field &field : {leaderTitle1(page), leaderTitle2(page)})
            line += ',' + trimmed(m_record.view(field)).toByteArray();
        for (int k = 1; k <= kLeaderLinesShown; ++k) {
            for (const Field &field : {leaderRank(page, k), leaderName(page, k), leaderScore(page, k)})
                line += ',' + trimmed(m_record.view(field)).toByteArray();
        }
        lines << line;
    }
    return lines;
}

void XpressionWriter::inTransaction(const QString &table, const std::function<QSqlError(QSqlDatabase &)> &work)
{
    QSqlDatabase db = m_connection->openTable(table, m_settings ? m_settings() : MySqlSettings());
    if (!db.transaction()) {
        throw XpressionError(QStringLiteral("A transaction could not be started on the MySQL database \"%1\" "
                                            "for Xpression: %2")
                                 .arg(db.databaseName(), errorText(db.lastError()))
                                 .toStdString());
    }
    QSqlError failure = work(db);
    if (!failure.isValid()) {
        if (db.commit())
            return;
        failure = db.lastError();
    }
    // The tables keep their rows, the block its text; the next update tries
    // again. A connection that cannot even roll back is gone: the next
    // update connects anew.
    const bool rolledBack = db.rollback();
    qCInfo(lcXpression).noquote() << "update of" << table << "rolled back:" << errorText(failure);
    if (!rolledBack || XpressionConnection::isConnectionLoss(failure.nativeErrorCode()))
        m_connection->disconnect();
}

DeviceError XpressionWriter::SendXpressionEvent(int slot, int side)
{
    using namespace layout;
    m_trace.trace({eventTrace(slot, side)});
    const QByteArrayView num = trimmed(m_record.view(eventNum(slot)));
    bool numeric = false;
    const int number = num.toByteArray().toInt(&numeric);
    const QVariant compNum = num.isEmpty() ? QVariant(QMetaType::fromType<int>()) : QVariant(numeric ? number : 0);

    QList<std::pair<QString, QVariant>> columns = {
        {QStringLiteral("event"), text(m_record.view(eventTitle(slot)))},
        {QStringLiteral("program"), text(programLetter(side))},
        {QStringLiteral("compNum"), compNum},
        {QStringLiteral("name"), text(m_record.view(eventName(slot)))},
        {QStringLiteral("execution"), text(m_record.view(eventEScore(slot)))},
        {QStringLiteral("difficulty"), text(m_record.view(eventDScore(slot)))}};
    if (writesDBonus())
        columns.append({QStringLiteral("dbonus"), text(m_record.view(eventDBonus(slot)))});
    if (writesEBonus())
        columns.append({QStringLiteral("ebonus"), text(m_record.view(eventEBonus(slot)))});
    columns.append({QStringLiteral("deduction"), text(m_record.view(eventND(slot)))});
    columns.append({QStringLiteral("total"), text(m_record.view(eventScore(slot)))});
    columns.append({QStringLiteral("level"), text("")});
    QStringList names;
    QVariantList values;
    for (const auto &[name, value] : columns) {
        names << name;
        values << value;
    }

    inTransaction(QStringLiteral("scoreboard"), [&](QSqlDatabase &db) {
        QSqlQuery query(db);
        if (QSqlError error = run(query, QStringLiteral("select `position` from `scoreboard` where `position` = ?"), {slot});
            error.isValid())
            return error;
        if (query.next()) {
            return run(query,
                       QStringLiteral("update `scoreboard` set %1 where `position` = ?")
                           .arg(quotedColumns(names, QStringLiteral(" = ?"))),
                       values + QVariantList{slot});
        }
        return run(query,
                   QStringLiteral("insert into `scoreboard` (`position`, %1) values (?%2)")
                       .arg(quotedColumns(names), QStringLiteral(", ?").repeated(names.size())),
                   QVariantList{slot} + values);
    });
    return DeviceErrors::Success;
}

DeviceError XpressionWriter::SendXpressionNowUp(int slot, int side)
{
    m_trace.trace({nowUpTrace(slot, side)});
    // The graphics system has no now-up table: the line stops here, connected.
    if (!m_connection->isConnected())
        m_connection->connect(m_settings ? m_settings() : MySqlSettings());
    return DeviceErrors::Success;
}

DeviceError XpressionWriter::SendXpressionLeader()
{
    using namespace layout;
    m_trace.trace(leaderTrace());
    inTransaction(QStringLiteral("leaderboard"), [&](QSqlDatabase &db) {
        QSqlQuery query(db);
        for (int page = 1; page <= kLeaderPageCount; ++page) {
            // Pages of other program letters belong to someone else.
            if (QSqlError error = run(query, QStringLiteral("delete from leaderboard where position = %1 and program = 'A'").arg(page));
                error.isValid())
                return error;
            for (int k = 1; k <= kLeaderLinesShown; ++k) {
                const QVariantList values = {page,
                                             text("A"),
                                             k,
                                             text(m_record.view(leaderRank(page, k))),
                                             text(m_record.view(leaderName(page, k))),
                                             text(m_record.view(leaderScore(page, k))),
                                             text(m_record.view(leaderTitle1(page))),
                                             text(m_record.view(leaderTitle2(page)))};
                QSqlError error = run(query,
                                      QStringLiteral("insert into `leaderboard` (`position`, `program`, `rank`, `place`, "
                                                     "`name`, `score`, `title1`, `title2`) values (?, ?, ?, ?, ?, ?, ?, ?)"),
                                      values);
                if (error.isValid())
                    return error;
            }
        }
        return QSqlError();
    });
    return DeviceErrors::Success;
}

} // namespace kestra
