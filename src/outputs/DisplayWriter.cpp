#include "outputs/DisplayWriter.h"

#include <algorithm>

namespace kestra {

DeviceError DisplayWriter::sendEventLine(int, int) { return DeviceErrors::Success; }
DeviceError DisplayWriter::sendNowUpLine(int, int) { return DeviceErrors::Success; }
DeviceError DisplayWriter::sendLeaderPage(int) { return DeviceErrors::Success; }
DeviceError DisplayWriter::sendNCAA() { return DeviceErrors::Success; }
DeviceError DisplayWriter::sendMatrix() { return DeviceErrors::Success; }
DeviceError DisplayWriter::sendRecord() { return DeviceErrors::Success; }

DisplayWriter &WriterRegistry::add(std::unique_ptr<DisplayWriter> writer)
{
    const QString name = writer->targetName();
    auto existing = std::find_if(m_writers.begin(), m_writers.end(),
                                 [&](const auto &w) { return w->targetName() == name; });
    if (existing != m_writers.end()) {
        *existing = std::move(writer);
        return **existing;
    }
    m_writers.push_back(std::move(writer));
    return *m_writers.back();
}

DisplayWriter *WriterRegistry::find(const QString &targetName) const
{
    for (const auto &writer : m_writers) {
        if (writer->targetName() == targetName)
            return writer.get();
    }
    return nullptr;
}

std::vector<DisplayWriter *> WriterRegistry::all() const
{
    std::vector<DisplayWriter *> out;
    out.reserve(m_writers.size());
    for (const auto &writer : m_writers)
        out.push_back(writer.get());
    return out;
}

} // namespace kestra
