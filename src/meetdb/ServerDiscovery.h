#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>

namespace kestra {

// What one scan for meet database servers found.
struct ServerScan {
    // One text per server, "PostgreSQL@" + its address (+ ":port" when not
    // 5432): the server on this machine first, then the network's answers as
    // they came. The same server may stand twice, once as 127.0.0.1.
    QStringList servers;
    // Why the network was not searched; empty when it was. Not finding
    // anything is no problem.
    QString networkProblem;
};

// A means of finding meet database servers. A scan runs in the background;
// its result comes as scanFinished on the object's thread, so the caller's
// event loop goes on meanwhile.
class ServerDiscovery : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Starts a scan; does nothing while one is under way.
    virtual void startScan() = 0;

signals:
    void scanFinished(const kestra::ServerScan &scan);
};

// The real means: a PostgreSQL server answering on this machine's default
// port, then a DNS-SD browse for _postgresql._tcp over multicast DNS through
// the Avahi daemon, for a fixed wait. Destroying it ends a scan under way
// without a result.
class NetworkDiscovery final : public ServerDiscovery {
    Q_OBJECT
public:
    struct Options {
        bool local = true;
        int localPort = 5432;
        bool network = true;
        QString serviceType = QStringLiteral("_postgresql._tcp");
        std::chrono::milliseconds wait{2000};
    };

    explicit NetworkDiscovery(QObject *parent = nullptr);
    explicit NetworkDiscovery(Options options, QObject *parent = nullptr);
    ~NetworkDiscovery() override;

    void startScan() override;

    struct Job; // a scan under way, shared with the worker that runs it

private:
    Options m_options;
    std::shared_ptr<Job> m_job;
};

} // namespace kestra
