#include "TestSupport.h"

#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QThread>

#include <cstdlib>
#include <mutex>

namespace kestra::test {

TempDir::TempDir() : m_dir(QDir::tempPath() + QStringLiteral("/kestra-XXXXXX"))
{
    // Servers started as another user (postgres) must reach their folders.
    QFile::setPermissions(m_dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                            | QFileDevice::ExeOwner | QFileDevice::ReadGroup
                                            | QFileDevice::ExeGroup | QFileDevice::ReadOther
                                            | QFileDevice::ExeOther);
}

bool waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    QDeadlineTimer deadline(limit);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

PromptAnswer RecordingPrompt::ask(const PromptMessage &message)
{
    messages.push_back(message);
    if (m_whileShown)
        m_whileShown(message);
    if (!m_answers.empty()) {
        const PromptAnswer answer = m_answers.front();
        m_answers.erase(m_answers.begin());
        return answer;
    }
    return message.defaultAnswer();
}

QString sourceDir()
{
    const char *env = std::getenv("KESTRA_SOURCE_DIR");
    return env ? QString::fromLocal8Bit(env) : QStringLiteral(KESTRA_TEST_SOURCE_DIR);
}

QString buildDir()
{
    const char *env = std::getenv("KESTRA_BUILD_DIR");
    return env ? QString::fromLocal8Bit(env) : QStringLiteral(KESTRA_TEST_BUILD_DIR);
}

static void runServersScript(const QString &command, const QString &dir)
{
    QProcess script;
    script.setProcessChannelMode(QProcess::MergedChannels);
    script.start(sourceDir() + QStringLiteral("/tests/servers/testservers.sh"), {command, dir});
    if (!script.waitForFinished(120000) || script.exitStatus() != QProcess::NormalExit
        || script.exitCode() != 0) {
        ADD_FAILURE() << "testservers.sh " << command.toStdString() << " failed: "
                      << script.readAll().toStdString();
    }
}

static QString readFirstLine(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readLine()).trimmed();
}

namespace {
// Servers started by this process when no ctest fixture provides them.
struct OwnServers {
    QTemporaryDir dir{QDir::tempPath() + QStringLiteral("/kestra-servers-XXXXXX")};
    bool pg = false;
    bool mysql = false;
    ~OwnServers()
    {
        if (pg)
            runServersScript(QStringLiteral("stop-pg"), dir.path());
        if (mysql)
            runServersScript(QStringLiteral("stop-mysql"), dir.path());
    }
};
OwnServers &ownServers()
{
    static OwnServers servers;
    QFile::setPermissions(servers.dir.path(), QFile::permissions(servers.dir.path())
                                                  | QFileDevice::ExeOther | QFileDevice::ReadOther);
    return servers;
}
std::mutex serverMutex;

QString serversDirWith(const QString &portFile, const QString &startCommand, bool OwnServers::*flag)
{
    std::lock_guard lock(serverMutex);
    if (const char *env = std::getenv("KESTRA_TEST_SERVERS_DIR")) {
        const QString dir = QString::fromLocal8Bit(env);
        if (QFileInfo::exists(dir + QLatin1Char('/') + portFile))
            return dir;
    }
    OwnServers &own = ownServers();
    if (!(own.*flag)) {
        runServersScript(startCommand, own.dir.path());
        own.*flag = true;
    }
    return own.dir.path();
}
} // namespace

Endpoint sharedPostgres()
{
    const QString dir = serversDirWith(QStringLiteral("pg.port"), QStringLiteral("start-pg"),
                                       &OwnServers::pg);
    Endpoint e;
    e.port = readFirstLine(dir + QStringLiteral("/pg.port")).toInt();
    return e;
}

Endpoint sharedMariaDb()
{
    const QString dir = serversDirWith(QStringLiteral("mysql.port"), QStringLiteral("start-mysql"),
                                       &OwnServers::mysql);
    Endpoint e;
    e.port = readFirstLine(dir + QStringLiteral("/mysql.port")).toInt();
    e.socket = readFirstLine(dir + QStringLiteral("/mysql.sock"));
    return e;
}

void postgresExec(const Endpoint &server, const QString &database, const QString &sql)
{
    const QByteArray conninfo = QStringLiteral("host=%1 port=%2 user=postgres dbname=%3 connect_timeout=10")
                                    .arg(server.host).arg(server.port).arg(database).toUtf8();
    PGconn *conn = PQconnectdb(conninfo.constData());
    if (PQstatus(conn) != CONNECTION_OK) {
        ADD_FAILURE() << "cannot connect to PostgreSQL: " << PQerrorMessage(conn);
        PQfinish(conn);
        return;
    }
    PGresult *res = PQexec(conn, sql.toUtf8().constData());
    const ExecStatusType status = PQresultStatus(res);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        ADD_FAILURE() << "PostgreSQL: " << PQerrorMessage(conn) << " in: " << sql.toStdString();
    PQclear(res);
    PQfinish(conn);
}

QString createPostgresDatabase(const QString &prefix)
{
    static int counter = 0;
    const QString name = QStringLiteral("%1_%2_%3_%4")
                             .arg(prefix)
                             .arg(QCoreApplication::applicationPid())
                             .arg(++counter)
                             .arg(QRandomGenerator::global()->bounded(1000000));
    postgresExec(sharedPostgres(), QStringLiteral("postgres"),
                 QStringLiteral("create database %1").arg(name));
    return name;
}

PrivatePostgres::PrivatePostgres()
    : m_dir(QDir::tempPath() + QStringLiteral("/kestra-pg-XXXXXX"))
{
    QFile::setPermissions(m_dir.path(), QFile::permissions(m_dir.path()) | QFileDevice::ExeOther
                                            | QFileDevice::ReadOther);
    start();
}

PrivatePostgres::~PrivatePostgres()
{
    stop();
}

void PrivatePostgres::start()
{
    runServersScript(QStringLiteral("start-pg"), m_dir.path());
    m_port = readFirstLine(m_dir.path() + QStringLiteral("/pg.port")).toInt();
    m_running = true;
}

void PrivatePostgres::stop()
{
    if (!m_running)
        return;
    runServersScript(QStringLiteral("stop-pg"), m_dir.path());
    m_running = false;
}

Endpoint PrivatePostgres::endpoint() const
{
    Endpoint e;
    e.port = m_port;
    return e;
}

PtyPair::PtyPair()
{
    m_socat.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_socat.start(QStringLiteral("socat"),
                  {QStringLiteral("pty,raw,echo=0,link=") + deviceA(),
                   QStringLiteral("pty,raw,echo=0,link=") + deviceB()});
    const bool ready = waitUntil([this] {
        return QFileInfo::exists(deviceA()) && QFileInfo::exists(deviceB());
    });
    if (!ready)
        ADD_FAILURE() << "socat did not make the pseudo-terminal pair";
}

PtyPair::~PtyPair()
{
    m_socat.terminate();
    if (!m_socat.waitForFinished(3000))
        m_socat.kill();
    m_socat.waitForFinished(3000);
}

} // namespace kestra::test
