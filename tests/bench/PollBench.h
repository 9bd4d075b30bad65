#pragma once

// Shared by the poll benchmark and its data builder.

#include "generator/ScorePoll.h"
#include "meetdb/SqlDialect.h"

#include <QString>

namespace kestra::bench {

// How the million queue rows are spread.
struct PollLayout {
    QString name;     // "busy" or "huge"
    int meets;        // meets in the store
    int pollMeet;     // the meet being polled
    int waiting;      // rows of that meet not yet taken by application 4
};

inline PollLayout layoutNamed(const QString &name)
{
    if (name == QLatin1String("huge"))
        return {QStringLiteral("huge"), 1, 1, 40};
    return {QStringLiteral("busy"), 500, 500, 40};
}

// The poll of one event, as the generator composes it.
inline QString pollStatement(int meet)
{
    return ScoreQueueSql(meet, 1, 1, {QStringLiteral("1")}).join(QStringLiteral("\r\n"));
}

// The same statement with only the alias fixed, keeping "not in": what an
// engine would be given without the dialect's rewrite.
inline QString pollStatementNotIn(int meet, StoreBackend backend)
{
    QString sql = pollStatement(meet);
    sql.replace(QStringLiteral("select ScoreQueue.*"), QStringLiteral("select s.*"));
    if (backend == StoreBackend::Postgres)
        sql.replace(QStringLiteral("\"Short Name\""), QStringLiteral("\"short name\""));
    return sql;
}

} // namespace kestra::bench
