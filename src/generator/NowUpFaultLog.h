#pragma once

#include <QHash>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>

namespace kestra {

class TickSource;

// One line per fault for an operator's log, without letting a sender that
// repeats the same mistake many times a second flood it: the first fault of a
// kind is written at once, later ones of that kind within the window are only
// counted, and the count rides along on the next line of that kind written
// after the window, or is told by flush().
class NowUpFaultLog {
public:
    using Sink = std::function<void(const QString &line)>;

    NowUpFaultLog(Sink sink, TickSource &ticks, std::chrono::milliseconds window = std::chrono::seconds(60));

    // Writes each line to standard error, as it stands.
    static Sink standardError();

    void setSink(Sink sink) { m_sink = std::move(sink); }

    // kind groups lines for the limit; line is what is written.
    void report(const QString &kind, const QString &line);
    // Writes how many lines of each kind were held back, and forgets them.
    void flush();

    // Lines of this kind held back since its last written line.
    std::uint64_t heldBack(const QString &kind) const;

private:
    struct Kind {
        std::uint64_t writtenAt = 0;
        std::uint64_t heldBack = 0;
    };

    Sink m_sink;
    TickSource &m_ticks;
    std::uint64_t m_windowMs;
    QHash<QString, Kind> m_kinds;
};

} // namespace kestra
