#include "outputs/TransmitBuffer.h"

#include <algorithm>

namespace kestra {

void TransmitBuffer::push(QByteArray frame, FrameKind kind)
{
    if (kind == FrameKind::Record) {
        auto waiting = std::find_if(m_entries.begin(), m_entries.end(),
                                    [](const Entry &e) { return e.kind == FrameKind::Record; });
        if (waiting != m_entries.end()) {
            waiting->bytes = std::move(frame);
            ++m_replaced;
            return;
        }
    }
    m_entries.push_back({std::move(frame), kind});
}

QByteArray TransmitBuffer::takeFirst()
{
    if (m_entries.empty())
        return {};
    QByteArray frame = std::move(m_entries.front().bytes);
    m_entries.pop_front();
    return frame;
}

qsizetype TransmitBuffer::bytes() const
{
    qsizetype total = 0;
    for (const Entry &e : m_entries)
        total += e.bytes.size();
    return total;
}

} // namespace kestra
