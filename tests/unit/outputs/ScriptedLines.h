#pragma once

// Serial lines for the faults a pseudo-terminal cannot make on demand: a port
// that refuses to open, a write that fails. Everything else in the tests goes
// through real pseudo-terminals and sockets.

#include "outputs/DeviceTransport.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <deque>
#include <functional>
#include <memory>

namespace kestra::test {

struct ScriptedLineLog {
    QStringList opened;
    QList<QByteArray> written;
    QList<FrameKind> kinds;
    int closes = 0;
    bool refuseOpen = false;
    std::deque<bool> writeResults; // front first; true when empty
    std::function<void(QByteArrayView)> onWrite;
};

class ScriptedSerialLine final : public SerialLine {
public:
    explicit ScriptedSerialLine(ScriptedLineLog &log) : m_log(log) {}
    bool open(const QString &device) override
    {
        m_log.opened.append(device);
        return !m_log.refuseOpen;
    }
    bool write(QByteArrayView data, FrameKind kind) override
    {
        if (m_log.onWrite)
            m_log.onWrite(data);
        bool ok = true;
        if (!m_log.writeResults.empty()) {
            ok = m_log.writeResults.front();
            m_log.writeResults.pop_front();
        }
        if (ok) {
            m_log.written.append(data.toByteArray());
            m_log.kinds.append(kind);
        }
        return ok;
    }
    void close() override { ++m_log.closes; }
    QString errorString() const override { return QStringLiteral("scripted failure"); }

private:
    ScriptedLineLog &m_log;
};

class ScriptedFactory final : public LineFactory {
public:
    explicit ScriptedFactory(ScriptedLineLog &log) : m_log(log) {}
    std::unique_ptr<SerialLine> makeSerialLine() override { return std::make_unique<ScriptedSerialLine>(m_log); }

private:
    ScriptedLineLog &m_log;
};

inline std::unique_ptr<DeviceTransport> scriptedTransport(ScriptedLineLog &log)
{
    auto transport = std::make_unique<DeviceTransport>(std::make_unique<ScriptedFactory>(log));
    transport->setPortName(QStringLiteral("COM2"));
    transport->setBaseAddress(760);
    return transport;
}

} // namespace kestra::test
