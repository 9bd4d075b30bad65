#include "generator/NowUpFaultLog.h"

#include "support/TickSource.h"

#include <cstdio>

namespace kestra {

NowUpFaultLog::NowUpFaultLog(Sink sink, TickSource &ticks, std::chrono::milliseconds window)
    : m_sink(std::move(sink)), m_ticks(ticks), m_windowMs(static_cast<std::uint64_t>(window.count()))
{
}

NowUpFaultLog::Sink NowUpFaultLog::standardError()
{
    return [](const QString &line) {
        const QByteArray bytes = line.toLocal8Bit() + '\n';
        std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
        std::fflush(stderr);
    };
}

void NowUpFaultLog::report(const QString &kind, const QString &line)
{
    const std::uint64_t now = m_ticks.tickCount();
    auto it = m_kinds.find(kind);
    if (it != m_kinds.end() && now - it->writtenAt < m_windowMs) {
        ++it->heldBack;
        return;
    }
    QString text = line;
    if (it != m_kinds.end() && it->heldBack > 0)
        text += QStringLiteral(" (%1 more like it not shown)").arg(it->heldBack);
    m_kinds.insert(kind, Kind{now, 0});
    if (m_sink)
        m_sink(text);
}

void NowUpFaultLog::flush()
{
    for (auto it = m_kinds.begin(); it != m_kinds.end(); ++it) {
        if (it->heldBack == 0)
            continue;
        if (m_sink)
            m_sink(QStringLiteral("%1: %2 more not shown").arg(it.key()).arg(it->heldBack));
        it->heldBack = 0;
    }
}

std::uint64_t NowUpFaultLog::heldBack(const QString &kind) const
{
    const auto it = m_kinds.constFind(kind);
    return it == m_kinds.cend() ? 0 : it->heldBack;
}

} // namespace kestra
