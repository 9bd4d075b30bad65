#include "meetdb/StoreError.h"

namespace kestra {

QString backendName(StoreBackend backend)
{
    return backend == StoreBackend::Sqlite ? QStringLiteral("SQLite")
                                           : QStringLiteral("PostgreSQL");
}

// Engines end their messages with line breaks and indent hints with tabs; a
// failure is told in one line, in a box or a log alike.
StoreError::StoreError(Kind kind, StoreBackend backend, const QString &message,
                       const QString &reason, const QString &sqlState)
    : std::runtime_error(message.simplified().toStdString()),
      m_kind(kind),
      m_backend(backend),
      m_message(message.simplified()),
      m_reason(reason.simplified()),
      m_sqlState(sqlState)
{
}

QString kindName(StoreError::Kind kind)
{
    switch (kind) {
    case StoreError::Kind::ConnectionLost:
        return QStringLiteral("ConnectionLost");
    case StoreError::Kind::Transport:
        return QStringLiteral("Transport");
    case StoreError::Kind::Database:
        break;
    }
    return QStringLiteral("Database");
}

} // namespace kestra
