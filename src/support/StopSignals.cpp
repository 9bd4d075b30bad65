#include "support/StopSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kestra {

namespace {

int pipeEnds[2] = {-1, -1};
struct sigaction previousInt;
struct sigaction previousTerm;

void onSignal(int number)
{
    const unsigned char byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t n = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

StopSignals::StopSignals(QObject *parent) : QObject(parent)
{
    if (pipeEnds[0] >= 0 || ::pipe(pipeEnds) != 0)
        return;
    m_ownsPipe = true;
    for (int fd : pipeEnds) {
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    if (::sigaction(SIGINT, &action, &previousInt) != 0 || ::sigaction(SIGTERM, &action, &previousTerm) != 0)
        return;
    m_notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &StopSignals::drain);
    m_installed = true;
}

StopSignals::~StopSignals()
{
    if (m_installed) {
        ::sigaction(SIGINT, &previousInt, nullptr);
        ::sigaction(SIGTERM, &previousTerm, nullptr);
    }
    delete m_notifier;
    if (!m_ownsPipe)
        return;
    for (int &fd : pipeEnds) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void StopSignals::drain()
{
    unsigned char bytes[16];
    ssize_t n = 0;
    while ((n = ::read(pipeEnds[0], bytes, sizeof bytes)) > 0) {
        for (ssize_t i = 0; i < n; ++i) {
            m_last = bytes[i];
            emit stopRequested(m_last);
        }
    }
}

} // namespace kestra
