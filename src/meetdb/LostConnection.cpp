#include "meetdb/LostConnection.h"

#include "meetdb/StoreError.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMetaObject>
#include <QProcess>

namespace kestra {

Q_LOGGING_CATEGORY(lcConnection, "kestra.connection")

LostConnectionHandler::LostConnectionHandler(OperatorPrompt &prompt, Hooks hooks)
    : m_prompt(prompt), m_hooks(std::move(hooks))
{
}

QString LostConnectionHandler::lostConnectionText(const QString &serverName)
{
    return QStringLiteral("Kestra is no longer able to communicate with the server \"%1\".").arg(serverName)
           + QStringLiteral("\rThe connection to the server has been lost.\r\rKestra will now be restarted.");
}

void LostConnectionHandler::restartProgram()
{
    const QString program = QCoreApplication::applicationFilePath();
    if (!QProcess::startDetached(program, QCoreApplication::arguments().mid(1)))
        qCWarning(lcConnection, "could not start %s again; start it by hand", qPrintable(program));
    if (QCoreApplication *app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, &QCoreApplication::quit, Qt::QueuedConnection);
}

void LostConnectionHandler::HandleApplicationException(std::exception_ptr failure)
{
    if (!failure || m_restarting)
        return;
    QString text;
    try {
        std::rethrow_exception(failure);
    } catch (const StoreError &e) {
        if (e.kind() == StoreError::Kind::ConnectionLost) {
            m_restarting = true;
            // Off first: the box below keeps the event loop, and with it the timers, running.
            if (m_hooks.stopTimers)
                m_hooks.stopTimers();
            PromptMessage m;
            m.caption = QStringLiteral("Marlowen Server Connection");
            m.icon = PromptIcon::Error;
            m.buttons = PromptButtons::Ok;
            m.text = lostConnectionText(m_hooks.serverName ? m_hooks.serverName() : QString());
            m_prompt.ask(m);
            if (m_hooks.restart)
                m_hooks.restart();
            else
                restartProgram();
            return;
        }
        text = e.message();
    } catch (const std::exception &e) {
        text = QString::fromLocal8Bit(e.what());
    } catch (...) {
        text = QStringLiteral("An unexpected error occurred.");
    }
    PromptMessage m;
    m.caption = m_hooks.applicationTitle ? m_hooks.applicationTitle() : QString();
    if (m.caption.isEmpty())
        m.caption = QStringLiteral("Kestra");
    m.icon = PromptIcon::Error;
    m.buttons = PromptButtons::Ok;
    m.text = text;
    m_prompt.tell(m);
}

bool LostConnectionHandler::guard(const std::function<void()> &work)
{
    try {
        work();
        return true;
    } catch (...) {
        HandleApplicationException(std::current_exception());
        return false;
    }
}

} // namespace kestra
