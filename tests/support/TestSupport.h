#pragma once

#include "support/OperatorPrompt.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <vector>

// Test failures show texts as text.
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace kestra::test {

inline QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// A folder of its own for one test, removed afterwards.
class TempDir {
public:
    TempDir();
    QString path() const { return m_dir.path(); }
    QString file(const QString &name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
};

// Runs the Qt event loop until the condition holds or the time is up.
bool waitUntil(const std::function<bool()> &condition,
               std::chrono::milliseconds limit = std::chrono::seconds(5));

// Answers prompts as a test tells it to and keeps every message.
class RecordingPrompt final : public OperatorPrompt {
public:
    PromptAnswer ask(const PromptMessage &message) override;
    void queueAnswer(PromptAnswer answer) { m_answers.push_back(answer); }
    // Runs while the "box" is up, as the nested loop of a real box would.
    void setWhileShown(std::function<void(const PromptMessage &)> hook) { m_whileShown = std::move(hook); }

    std::vector<PromptMessage> messages;

private:
    std::vector<PromptAnswer> m_answers;
    std::function<void(const PromptMessage &)> m_whileShown;
};

// A loopback server endpoint.
struct Endpoint {
    QString host = QStringLiteral("127.0.0.1");
    int port = 0;
    QString socket; // MariaDB only
};

// The PostgreSQL server of this test run: the one ctest started for all tests,
// or, for a test program run by hand, one started for this process.
Endpoint sharedPostgres();
// A new empty database on the shared PostgreSQL server.
QString createPostgresDatabase(const QString &prefix = QStringLiteral("kt"));
// Runs SQL on a PostgreSQL database through libpq; fails the test on error.
void postgresExec(const Endpoint &server, const QString &database, const QString &sql);

// The MariaDB server of this test run, found or started like sharedPostgres.
Endpoint sharedMariaDb();

// A PostgreSQL server owned by one test, which may stop and restart it.
class PrivatePostgres {
public:
    PrivatePostgres();
    ~PrivatePostgres();
    void start();
    void stop();
    Endpoint endpoint() const;

private:
    QTemporaryDir m_dir;
    int m_port = 0;
    bool m_running = false;
};

// Two linked pseudo-terminals made by socat: what is written to one is read
// from the other, like a null-modem cable.
class PtyPair {
public:
    PtyPair();
    ~PtyPair();
    QString deviceA() const { return m_dir.path() + QStringLiteral("/ttyA"); }
    QString deviceB() const { return m_dir.path() + QStringLiteral("/ttyB"); }

private:
    TempDir m_dir;
    QProcess m_socat;
};

QString sourceDir();
QString buildDir();

} // namespace kestra::test
