#pragma once

#include "support/OperatorPrompt.h"

#include <QString>

#include <exception>
#include <functional>

namespace kestra {

// The application-wide handler of failures that no handler of the program
// caught. A lost connection to the meet server ends in a restart: the timers
// stop, the operator is told, a new copy of the program starts and this one
// ends; only what is already on disk survives. Any other failure is shown
// and the program goes on.
class LostConnectionHandler {
public:
    struct Hooks {
        // Timer1 to Timer4 and the results window's timer off.
        std::function<void()> stopTimers;
        // CurrentServerName, for the message.
        std::function<QString()> serverName;
        // Starts the new copy and ends this one; restartProgram() when empty.
        std::function<void()> restart;
        // The caption of other failures; "Kestra" when empty.
        std::function<QString()> applicationTitle;
    };

    LostConnectionHandler(OperatorPrompt &prompt, Hooks hooks);

    void HandleApplicationException(std::exception_ptr failure);
    // Runs `work` and hands whatever it throws to HandleApplicationException.
    // True when it threw nothing.
    bool guard(const std::function<void()> &work);

    // Set once a restart is under way; later failures (another timer, a
    // datagram served inside the box) are then dropped.
    bool isRestarting() const { return m_restarting; }

    // Starts the program's own file with this run's arguments, detached, and
    // asks the application to quit once its event loop runs.
    static void restartProgram();

    // The lost-connection message for a server name.
    static QString lostConnectionText(const QString &serverName);

private:
    OperatorPrompt &m_prompt;
    Hooks m_hooks;
    bool m_restarting = false;
};

} // namespace kestra
