// Builds the poll benchmark's store: a million ScoreQueue rows and a million
// QueueDone rows, spread as a layout says.
//
//   bench_PollBenchData ADDRESS [--alias NAME] [--layout busy|huge] [--rows N]
//
// busy: 500 meets of 2,000 scores each; meets 1 to 499 are over and every
// score of theirs was taken by application 4; meet 500 is the one being run,
// its newest 40 scores still waiting (another consumer, application 2, took
// them). huge: the same rows in a single meet. Each meet has 200 gymnasts in
// 20 gyms, so Gymnasts holds 100,000 rows in the busy layout.
#include "PollBench.h"

#include "meetdb/DevStore.h"
#include "meetdb/MeetStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

using namespace kestra;

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    auto option = [&](const char *name, const QString &otherwise) {
        const qsizetype at = args.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < args.size() ? args[at + 1] : otherwise;
    };
    const QString alias = option("--alias", MeetSchema::defaultAlias());
    qint64 rows = option("--rows", QStringLiteral("1000000")).toLongLong();
    const QString address = args.value(0);
    if (address.isEmpty() || address.startsWith(QLatin1String("--")) || rows < 1000) {
        std::fprintf(stderr, "usage: bench_PollBenchData ADDRESS [--alias NAME] [--layout busy|huge] [--rows N]\n");
        return 2;
    }
    const bench::PollLayout layout = bench::layoutNamed(option("--layout", QStringLiteral("busy")));
    const qint64 perMeet = rows / layout.meets;
    rows = perMeet * layout.meets;
    try {
        QElapsedTimer timer;
        timer.start();
        auto store = DevStore::openOrCreate(address, alias);
        const bool lite = store->backend() == StoreBackend::Sqlite;
        DevStore::createSchema(*store, true);
        // Bulk loading: a private PostgreSQL database needs no crash safety meanwhile.
        if (lite)
            store->executeNative(QStringLiteral("PRAGMA synchronous = OFF"));
        StoreTransaction t(*store);
        store->executeNative(QStringLiteral("INSERT INTO Events (EventID, NumEvents) VALUES (1, 4), (2, 6)"));
        store->executeNative(QStringLiteral("INSERT INTO Levels (EventID, Level) VALUES (1, '5'), (2, '5')"));
        store->executeNative(QStringLiteral("INSERT INTO ScoreApps (AppID, AppName) VALUES (2, 'Scoreboard'), (4, 'Kestra')"));

        // A numbers source of each engine.
        auto series = [&](const QString &n, const QString &body) {
            return lite ? QStringLiteral("WITH RECURSIVE n(r) AS (SELECT 1 UNION ALL SELECT r + 1 FROM n WHERE r < %1) %2")
                              .arg(n, body.arg(QStringLiteral("n")))
                        : body.arg(QStringLiteral("generate_series(1, %1) AS n(r)").arg(n));
        };
        auto into = [&](const QString &head, const QString &n, const QString &select) {
            // SQLite puts the WITH before INSERT; PostgreSQL selects from the function.
            store->executeNative(lite ? series(n, head + QLatin1Char(' ') + select)
                                      : head + QLatin1Char(' ') + select.arg(QStringLiteral("generate_series(1, %1) AS n(r)").arg(n)));
        };
        into(QStringLiteral("INSERT INTO Meets (MeetID, Name, Def_EventID)"), QString::number(layout.meets),
             QStringLiteral("SELECT r, 'Meet ' || CAST(r AS VARCHAR(10)), 1 FROM %1"));
        into(QStringLiteral("INSERT INTO Gyms (GymID, \"%1\")").arg(lite ? QStringLiteral("Short Name") : QStringLiteral("short name")),
             QStringLiteral("20"), QStringLiteral("SELECT r, 'Gym ' || CAST(r AS VARCHAR(10)) FROM %1"));
        into(QStringLiteral("INSERT INTO Gymnasts (MeetID, Num, First_Name, Last_Name, Level, Session, Gym, Events, Scratched)"),
             QString::number(layout.meets * 200),
             QStringLiteral("SELECT (r - 1) / 200 + 1, (r - 1) % 200 + 1, 'First', 'Last', '5', '1', (r - 1) % 20 + 1, 1, %2 FROM %1")
                 .arg(QStringLiteral("%1"), lite ? QStringLiteral("0") : QStringLiteral("false")));

        // Row r: meet, then within the meet k = its index: group, apparatus and
        // session turn with k; the competitor is one of the meet's 200.
        const QString k = QStringLiteral("((r - 1) % %1)").arg(perMeet);
        const QString dt = lite ? QStringLiteral("strftime('%Y-%m-%d %H:%M:%f', '2020-01-01', '+' || r || ' seconds')")
                                : QStringLiteral("timestamp '2020-01-01' + r * interval '1 second'");
        into(QStringLiteral("INSERT INTO ScoreQueue (DataID, MeetID, EventID, Event, Session, DT, Num, Level, Score, Changed, "
                            "FName, LName, Judge1, Judge2, Judge3, Judge4, Judge5, Judge6, Judge7, Adjust, Start, BScore, DBonus, EBonus)"),
             QString::number(rows),
             QStringLiteral("SELECT r, (r - 1) / %2 + 1, %3 % 2 + 1, (%3 / 2) % 4 + 1, CAST((%3 / 8) % 3 + 1 AS VARCHAR(3)), %4, "
                            "%3 % 200 + 1, '5', 9.0 + (r % 100) / 100.0, %5, 'First', 'Last', 9.1, 9.2, 9.3, 9.4, -99, -99, -99, "
                            "0.0, 10.0, 9.25, -99, -99 FROM %1")
                 .arg(QStringLiteral("%1"), QString::number(perMeet), k, dt, lite ? QStringLiteral("0") : QStringLiteral("false")));
        // Taken: every row but the newest `waiting` of the polled meet.
        const QString waiting = QStringLiteral("((r - 1) / %1 + 1 = %2 AND %3 >= %4)")
                                    .arg(perMeet)
                                    .arg(layout.pollMeet)
                                    .arg(k)
                                    .arg(perMeet - layout.waiting);
        into(QStringLiteral("INSERT INTO QueueDone (AppID, DataID)"), QString::number(rows),
             QStringLiteral("SELECT CASE WHEN %2 THEN 2 ELSE 4 END, r FROM %1").arg(QStringLiteral("%1"), waiting));
        t.commit();
        // PostgreSQL's autovacuum gathers statistics on its own, so a server
        // in use has them. Nobody runs ANALYZE on the embedded store, and its
        // planner then keeps to the meet's index, so none are made here.
        if (!lite)
            store->executeNative(QStringLiteral("ANALYZE"));
        const int queue = store->query(QStringLiteral("select count(*) from ScoreQueue")).value(0).toInt();
        const int done = store->query(QStringLiteral("select count(*) from QueueDone")).value(0).toInt();
        std::printf("%s layout %s: %d ScoreQueue rows, %d QueueDone rows, %d meets, built in %.1f s\n",
                    qPrintable(store->address()), qPrintable(layout.name), queue, done, layout.meets,
                    double(timer.elapsed()) / 1000.0);
    } catch (const StoreError &e) {
        std::fprintf(stderr, "bench_PollBenchData: %s\n", e.what());
        return 1;
    }
    return 0;
}
