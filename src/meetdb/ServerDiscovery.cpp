#include "meetdb/ServerDiscovery.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/simple-watch.h>
#include <libpq-fe.h>

#include <QDeadlineTimer>
#include <QMetaObject>
#include <QThreadPool>

#include <mutex>

namespace kestra {

namespace {

constexpr int DefaultPort = 5432;

QString serverText(const QString &address, int port)
{
    QString text = QStringLiteral("PostgreSQL@") + address;
    if (port != DefaultPort)
        text += QLatin1Char(':') + QString::number(port);
    return text;
}

// A refused or silent port is no server; one that answers, even to refuse a
// login or while it starts up, is.
bool localServerAnswers(int port)
{
    const QByteArray conninfo = QStringLiteral("hostaddr=127.0.0.1 port=%1 user=postgres dbname=postgres "
                                               "connect_timeout=2 sslmode=disable gssencmode=disable")
                                    .arg(port)
                                    .toLatin1();
    const PGPing ping = PQping(conninfo.constData());
    return ping == PQPING_OK || ping == PQPING_REJECT;
}

} // namespace

// One scan, shared by the object that started it and the worker that runs
// it: the worker may outlive the object, which then only cancels.
struct NetworkDiscovery::Job {
    std::mutex mutex;
    NetworkDiscovery *receiver = nullptr;
    bool cancelled = false;
    AvahiSimplePoll *poll = nullptr; // while a browse waits

    bool isCancelled()
    {
        const std::lock_guard lock(mutex);
        return cancelled;
    }
    void cancel()
    {
        const std::lock_guard lock(mutex);
        cancelled = true;
        receiver = nullptr;
        if (poll)
            avahi_simple_poll_wakeup(poll);
    }
    void setPoll(AvahiSimplePoll *p)
    {
        const std::lock_guard lock(mutex);
        poll = p;
    }
    void deliver(const ServerScan &scan)
    {
        const std::lock_guard lock(mutex);
        if (!receiver)
            return;
        // Queued to the receiver: dropped by Qt if it is destroyed before then.
        NetworkDiscovery *to = receiver;
        QMetaObject::invokeMethod(
            to,
            [to, scan] {
                to->m_job.reset();
                emit to->scanFinished(scan);
            },
            Qt::QueuedConnection);
    }
};

namespace {

// The state of one DNS-SD browse, reached from Avahi's callbacks.
struct Browse {
    AvahiSimplePoll *poll = nullptr;
    QStringList found;
    QString problem;

    void fail(const QString &why)
    {
        if (problem.isEmpty())
            problem = QStringLiteral("Avahi: ") + why;
        avahi_simple_poll_quit(poll);
    }
};

void onResolved(AvahiServiceResolver *resolver, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                const char *, const char *, const char *, const char *, const AvahiAddress *address, uint16_t port,
                AvahiStringList *, AvahiLookupResultFlags, void *userdata)
{
    auto *browse = static_cast<Browse *>(userdata);
    if (event == AVAHI_RESOLVER_FOUND && address) {
        char text[AVAHI_ADDRESS_STR_MAX];
        avahi_address_snprint(text, sizeof text, address);
        // A server seen on several interfaces or twice in a wait is one answer.
        const QString entry = serverText(QString::fromLatin1(text), port);
        if (!browse->found.contains(entry))
            browse->found.append(entry);
    }
    avahi_service_resolver_free(resolver);
}

void onBrowsed(AvahiServiceBrowser *browser, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
               const char *name, const char *type, const char *domain, AvahiLookupResultFlags, void *userdata)
{
    auto *browse = static_cast<Browse *>(userdata);
    AvahiClient *client = avahi_service_browser_get_client(browser);
    if (event == AVAHI_BROWSER_NEW) {
        // A service that cannot be resolved in the wait is not listed.
        avahi_service_resolver_new(client, interface, protocol, name, type, domain, AVAHI_PROTO_INET,
                                   AvahiLookupFlags(0), onResolved, browse);
    } else if (event == AVAHI_BROWSER_FAILURE) {
        browse->fail(QString::fromUtf8(avahi_strerror(avahi_client_errno(client))));
    }
}

void onClientState(AvahiClient *client, AvahiClientState state, void *userdata)
{
    if (state == AVAHI_CLIENT_FAILURE)
        static_cast<Browse *>(userdata)->fail(QString::fromUtf8(avahi_strerror(avahi_client_errno(client))));
}

// Browses IPv4 services of the type for the whole wait, unless cancelled.
Browse browseNetwork(NetworkDiscovery::Job &job, const QString &serviceType, std::chrono::milliseconds wait)
{
    Browse browse;
    browse.poll = avahi_simple_poll_new();
    if (!browse.poll) {
        browse.problem = QStringLiteral("Avahi: out of memory");
        return browse;
    }
    int error = 0;
    AvahiClient *client = avahi_client_new(avahi_simple_poll_get(browse.poll), AvahiClientFlags(0), onClientState,
                                           &browse, &error);
    if (!client) {
        browse.fail(QString::fromUtf8(avahi_strerror(error)));
    } else if (!avahi_service_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_INET, serviceType.toUtf8().constData(),
                                          nullptr, AvahiLookupFlags(0), onBrowsed, &browse)) {
        browse.fail(QString::fromUtf8(avahi_strerror(avahi_client_errno(client))));
    } else {
        job.setPoll(browse.poll);
        const QDeadlineTimer deadline(wait);
        while (browse.problem.isEmpty() && !job.isCancelled() && !deadline.hasExpired()) {
            if (avahi_simple_poll_iterate(browse.poll, int(deadline.remainingTime())) != 0)
                break;
        }
        job.setPoll(nullptr);
    }
    if (client)
        avahi_client_free(client); // with its browser and the resolvers still waiting
    avahi_simple_poll_free(browse.poll);
    return browse;
}

} // namespace

NetworkDiscovery::NetworkDiscovery(QObject *parent) : NetworkDiscovery(Options(), parent) {}

NetworkDiscovery::NetworkDiscovery(Options options, QObject *parent)
    : ServerDiscovery(parent), m_options(std::move(options))
{
}

NetworkDiscovery::~NetworkDiscovery()
{
    if (m_job)
        m_job->cancel();
}

void NetworkDiscovery::startScan()
{
    if (m_job)
        return;
    m_job = std::make_shared<Job>();
    m_job->receiver = this;
    // The waits run on a worker thread, never on the caller's event loop.
    QThreadPool::globalInstance()->start([job = m_job, options = m_options] {
        ServerScan scan;
        if (options.local && localServerAnswers(options.localPort))
            scan.servers.append(serverText(QStringLiteral("127.0.0.1"), options.localPort));
        if (options.network && !job->isCancelled()) {
            const Browse browse = browseNetwork(*job, options.serviceType, options.wait);
            scan.servers += browse.found;
            scan.networkProblem = browse.problem;
        }
        job->deliver(scan);
    });
}

} // namespace kestra
