#pragma once

#include <QString>

#include <stdexcept>

namespace kestra {

enum class StoreBackend { Sqlite, Postgres };

// Name of the backend as messages show it: "SQLite" or "PostgreSQL".
QString backendName(StoreBackend backend);

// Every failure of the meet database layer. The kind decides what the program
// does about it: a lost connection restarts the program, a transport failure
// sends the operator back to the server list, anything else is reported.
class StoreError : public std::runtime_error {
public:
    enum class Kind {
        ConnectionLost, // an established server connection is gone
        Transport,      // the server or folder cannot be reached, or the login is refused
        Database,       // everything else: bad SQL, missing table, constraint, locked file
    };

    // `message` is the whole plain-words text; `reason` the backend's own words.
    StoreError(Kind kind, StoreBackend backend, const QString &message, const QString &reason = {},
               const QString &sqlState = {});

    Kind kind() const { return m_kind; }
    StoreBackend backend() const { return m_backend; }
    QString message() const { return m_message; }
    QString reason() const { return m_reason; }
    // The SQLSTATE of a PostgreSQL failure, the extended result code of a SQLite
    // one as decimal text; empty when the failure did not come from the engine.
    QString sqlState() const { return m_sqlState; }

private:
    Kind m_kind;
    StoreBackend m_backend;
    QString m_message;
    QString m_reason;
    QString m_sqlState;
};

QString kindName(StoreError::Kind kind);

} // namespace kestra
