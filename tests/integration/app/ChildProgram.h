#pragma once

// A program of this build as a child process, under the offscreen platform
// and, given a home, with settings and state folders of its own there.

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>

namespace kestra::test {

inline QString builtProgram(const char *path)
{
    return buildDir() + QLatin1Char('/') + QString::fromUtf8(path);
}

class ChildProgram {
public:
    ChildProgram(const char *path, const QStringList &arguments, const TempDir *home = nullptr)
    {
        const QString program = builtProgram(path);
        if (!QFileInfo::exists(program))
            ADD_FAILURE() << path << " is not built";
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        if (home) {
            for (const char *folder : {"config", "state"}) {
                QDir(home->path()).mkpath(QString::fromLatin1(folder));
                env.insert(QStringLiteral("XDG_%1_HOME").arg(QString::fromLatin1(folder).toUpper()),
                           home->file(QString::fromLatin1(folder)));
            }
        }
        m_process.setProcessEnvironment(env);
        m_process.start(program, arguments);
        EXPECT_TRUE(m_process.waitForStarted(5000));
    }
    ~ChildProgram()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    // Sends the signal, then answers the exit status; -1 when it did not end
    // by itself.
    int signal(int number, int ms = 20000)
    {
        ::kill(pid_t(m_process.processId()), number);
        return finish(ms);
    }
    int finish(int ms = 20000)
    {
        if (!m_process.waitForFinished(ms) || m_process.exitStatus() != QProcess::NormalExit)
            return -1;
        return m_process.exitCode();
    }
    const QString &errors()
    {
        m_err += QString::fromLocal8Bit(m_process.readAllStandardError());
        return m_err;
    }
    const QString &output()
    {
        m_out += QString::fromLocal8Bit(m_process.readAllStandardOutput());
        return m_out;
    }
    bool waitForError(const QString &text, std::chrono::milliseconds limit = std::chrono::seconds(5))
    {
        return waitUntil([&] { return errors().contains(text); }, limit);
    }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
    QString m_out;
    QString m_err;
};

} // namespace kestra::test
