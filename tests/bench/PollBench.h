#pragma once

// Shared by the poll benchmark and its data builder.

#include "meetdb/SqlDialect.h"

#include <QString>
#include <QStringList>

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

// The poll of one event, line by line as the generator composes it.
inline QString pollStatement(int meet)
{
    return QStringList{
        QStringLiteral("select ScoreQueue.*, g2.\"Short Name\" from ScoreQueue s, Gymnasts g1, Gyms g2"),
        QStringLiteral("where s.MeetID = %1").arg(meet),
        QStringLiteral("and s.EventID = 1"),
        QStringLiteral("and s.Event = 1"),
        QStringLiteral("and g1.meetid = s.meetid"),
        QStringLiteral("and g1.num = s.num"),
        QStringLiteral("and g1.gym = g2.gymid"),
        QStringLiteral("and (s.Session = '1'"),
        QStringLiteral(")"),
        QStringLiteral("and s.DataID not in (select DataId from QueueDone where AppID = 4)"),
        QStringLiteral("order by s.DT"),
    }
        .join(QStringLiteral("\r\n"));
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
