#pragma once

#include <QObject>

class QSocketNotifier;

namespace kestra {

// SIGINT and SIGTERM as an event of the main loop: the handler only writes a
// byte to a pipe, and the loop reads it and emits stopRequested, so the
// orderly stop runs on the main thread like any other handler. One instance
// at a time; destroying it puts the previous handlers back.
class StopSignals final : public QObject {
    Q_OBJECT
public:
    explicit StopSignals(QObject *parent = nullptr);
    ~StopSignals() override;

    // False when the pipe or the handlers could not be set up.
    bool isInstalled() const { return m_installed; }
    // The last signal seen, 0 before any.
    int lastSignal() const { return m_last; }

signals:
    // Once for each signal received.
    void stopRequested(int signal);

private:
    void drain();

    QSocketNotifier *m_notifier = nullptr;
    bool m_installed = false;
    bool m_ownsPipe = false;
    int m_last = 0;
};

} // namespace kestra
