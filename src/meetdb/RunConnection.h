#pragma once

#include "meetdb/ServerConnection.h"

#include <QString>

#include <memory>

namespace kestra {

// The meet server a run without windows names.
struct RunServer {
    // A store address for this run alone (see StoreAddress); wins over the name.
    QString address;
    // A registered server's Name; empty: MarlowenServerName of the key.
    QString serverName;
    // Empty: "Marlowen".
    QString alias;
};

// Connects a run without windows. The connect sequence is the operator
// program's, with the same checks and texts; each dialog goes to `prompt`
// (a LogPrompt: one log line, answered No), so the first refusal ends the
// attempt. Nothing is written to the shared key. On failure: null, and a
// one-line reason in *error. `prompt` must outlive the connection.
std::unique_ptr<ServerConnection> connectForRun(const RunServer &server, const SettingsStore &marlowenKey,
                                                OperatorPrompt &prompt, QString *error = nullptr);
// The same with the dialogs answered No silently: the caller tells the one
// line in *error.
std::unique_ptr<ServerConnection> connectForRun(const RunServer &server, const SettingsStore &marlowenKey,
                                                QString *error = nullptr);

} // namespace kestra
