#include "outputs/DebugTrace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace kestra {

namespace {
const QString kFileName = QStringLiteral("DebugIOOutput.txt");
}

DebugTrace &DebugTrace::instance()
{
    static DebugTrace trace;
    return trace;
}

QString DebugTrace::defaultPath()
{
    const QString exeDir = QCoreApplication::instance() ? QCoreApplication::applicationDirPath()
                                                        : QString();
    if (!exeDir.isEmpty()) {
        const QFileInfo dir(exeDir);
        if (dir.isDir() && dir.isWritable())
            return QDir(exeDir).filePath(kFileName);
    }
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty() || !QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/Kestra/") + kFileName;
}

void DebugTrace::setEnabled(bool enabled)
{
    m_enabledSource = nullptr;
    m_enabled = enabled;
}

void DebugTrace::trace(const QList<QByteArray> &frames) const
{
    if (!isEnabled())
        return;
    const QString file = path();
    QDir().mkpath(QFileInfo(file).absolutePath());
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Append)) {
        throw TraceError(QStringLiteral("Cannot open the trace file \"%1\": %2")
                             .arg(file, out.errorString())
                             .toStdString());
    }
    QByteArray block;
    for (const QByteArray &frame : frames) {
        block += frame;
        block += "\r\n";
    }
    const bool written = out.write(block) == block.size() && out.flush();
    const QString error = out.errorString();
    out.close();
    if (!written || out.error() != QFileDevice::NoError) {
        throw TraceError(QStringLiteral("Cannot write the trace file \"%1\": %2")
                             .arg(file, error)
                             .toStdString());
    }
}

} // namespace kestra
