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
#include <string>
#include <tuple>
#include <vector>

using namespace kestra;

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv); // takes its own flags out
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    auto option = [&](const char *name, const QString &otherwise = {}) {
        const qsizetype at = args.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < args.size() ? args[at + 1] : otherwise;
    };
    const bench::PollLayout layout = bench::layoutNamed(option("--layout", QStringLiteral("busy")));
    const QString sql = bench::pollStatement(layout.pollMeet), printSql = option("--print-sql");
    if (!printSql.isEmpty()) {
        const StoreBackend b = printSql == QLatin1String("postgres") ? StoreBackend::Postgres : StoreBackend::Sqlite;
        std::printf("%s;\n", qPrintable(SqlDialect(b).translate(sql).replace(QLatin1Char('\r'), QString())));
        return 0;
    }
    std::vector<std::unique_ptr<MeetStore>> stores;
    try {
        // Through the store, and raw without the dialect's rewrite of "not in".
        for (const auto &[address, backend, name] :
             {std::tuple{option("--sqlite"), StoreBackend::Sqlite, "SQLite"}, {option("--postgres"), StoreBackend::Postgres, "PostgreSQL"}}) {
            if (address.isEmpty())
                continue;
            MeetStore *s = stores.emplace_back(MeetStore::forAddress(address)).get();
            s->connect();
            s->openDatabase(backend == StoreBackend::Sqlite ? MeetSchema::defaultAlias() : option("--alias", MeetSchema::defaultAlias()));
            benchmark::RegisterBenchmark((std::string("Poll/") + name).c_str(), [s, sql](benchmark::State &state) {
                qint64 rows = 0;
                for (auto _ : state) {
                    QueryResult r = s->query(sql);
                    benchmark::DoNotOptimize(r.value(QStringLiteral("Short Name")));
                    rows = r.recordCount();
                }
                state.counters["rows"] = double(rows);
            })->Unit(benchmark::kMillisecond);
            const QString notIn = bench::pollStatementNotIn(layout.pollMeet, backend);
            benchmark::RegisterBenchmark((std::string("PollNotIn/") + name).c_str(), [s, notIn](benchmark::State &state) {
                for (auto _ : state)
                    benchmark::DoNotOptimize(s->queryNative(notIn).recordCount());
            })->Unit(benchmark::kMillisecond)->Iterations(3);
        }
    } catch (const StoreError &e) {
        std::fprintf(stderr, "bench_PollBench: %s\n", e.what());
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
