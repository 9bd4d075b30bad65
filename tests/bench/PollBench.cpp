// The score poll against a million-row queue, through the store, on each engine.
//
//   bench_PollBench [--sqlite FOLDER] [--postgres HOST:PORT --alias NAME] [--layout busy|huge]
//                   [google benchmark flags]
//   bench_PollBench --print-sql sqlite|postgres [--layout busy|huge]
//       prints the statement exactly as the store sends it, for raw runs
#include "PollBench.h"

#include "meetdb/MeetStore.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <vector>

using namespace kestra;

namespace {

std::vector<std::unique_ptr<MeetStore>> stores;

void poll(benchmark::State &state, MeetStore *store, QString sql)
{
    qint64 rows = 0;
    for (auto _ : state) {
        QueryResult r = store->query(sql);
        benchmark::DoNotOptimize(r.value(QStringLiteral("Short Name")));
        rows = r.recordCount();
    }
    state.counters["rows"] = double(rows);
}

void pollNative(benchmark::State &state, MeetStore *store, QString sql)
{
    for (auto _ : state) {
        QueryResult r = store->queryNative(sql);
        benchmark::DoNotOptimize(r.recordCount());
    }
}

MeetStore *open(const QString &address, const QString &alias)
{
    auto store = MeetStore::forAddress(address);
    store->connect();
    store->openDatabase(alias);
    stores.push_back(std::move(store));
    return stores.back().get();
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv); // takes its own flags out
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    QString sqlite, postgres, alias = MeetSchema::defaultAlias(), printSql;
    bench::PollLayout layout = bench::layoutNamed(QStringLiteral("busy"));
    for (int i = 0; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--sqlite"))
            sqlite = args[i + 1];
        else if (args[i] == QLatin1String("--postgres"))
            postgres = args[i + 1];
        else if (args[i] == QLatin1String("--alias"))
            alias = args[i + 1];
        else if (args[i] == QLatin1String("--layout"))
            layout = bench::layoutNamed(args[i + 1]);
        else if (args[i] == QLatin1String("--print-sql"))
            printSql = args[i + 1];
    }
    const QString sql = bench::pollStatement(layout.pollMeet);
    if (!printSql.isEmpty()) {
        const StoreBackend b = printSql == QLatin1String("postgres") ? StoreBackend::Postgres : StoreBackend::Sqlite;
        std::printf("%s;\n", qPrintable(SqlDialect(b).translate(sql).replace(QLatin1Char('\r'), QString())));
        return 0;
    }
    try {
        if (!sqlite.isEmpty()) {
            MeetStore *s = open(sqlite, MeetSchema::defaultAlias());
            benchmark::RegisterBenchmark("Poll/SQLite", poll, s, sql)->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark("PollNotIn/SQLite", pollNative, s, bench::pollStatementNotIn(layout.pollMeet, StoreBackend::Sqlite))
                ->Unit(benchmark::kMillisecond)
                ->Iterations(3);
        }
        if (!postgres.isEmpty()) {
            MeetStore *p = open(postgres, alias);
            benchmark::RegisterBenchmark("Poll/PostgreSQL", poll, p, sql)->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark("PollNotIn/PostgreSQL", pollNative, p, bench::pollStatementNotIn(layout.pollMeet, StoreBackend::Postgres))
                ->Unit(benchmark::kMillisecond)
                ->Iterations(3);
        }
    } catch (const StoreError &e) {
        std::fprintf(stderr, "bench_PollBench: %s\n", e.what());
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    stores.clear();
    return 0;
}
