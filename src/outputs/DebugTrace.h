#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <stdexcept>

namespace kestra {

// The trace file could not be written; the frames of that call are not sent.
class TraceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// DebugIOOutput.txt: while "Debug IO Output?" is ticked, every frame builder
// writes the frames it is about to send, each as it stands followed by CR LF.
// The file is appended to, never cut, and closed again before the first frame
// of the call goes out.
class DebugTrace {
public:
    DebugTrace() = default;

    static DebugTrace &instance();

    // Beside the executable when that folder is writable, otherwise
    // $XDG_STATE_HOME/Kestra (~/.local/state/Kestra).
    static QString defaultPath();

    QString path() const { return m_path.isEmpty() ? defaultPath() : m_path; }
    void setPath(const QString &path) { m_path = path; }

    // Whether chkDebugIO is ticked: a fixed value, or asked at each call.
    void setEnabled(bool enabled);
    void setEnabledSource(std::function<bool()> source) { m_enabledSource = std::move(source); }
    bool isEnabled() const { return m_enabledSource ? m_enabledSource() : m_enabled; }

    // Writes the frames if tracing is on. Throws TraceError when the file
    // cannot be opened or written.
    void trace(const QList<QByteArray> &frames) const;

private:
    QString m_path;
    bool m_enabled = false;
    std::function<bool()> m_enabledSource;
};

} // namespace kestra
