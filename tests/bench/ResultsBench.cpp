// Results pages against large meets, on each engine: the local copy of one
// meet's gymnasts that every page build takes.
//
//   bench_ResultsBench [--gymnasts N] [--no-postgres] [google benchmark flags]
//
// Four meets of N gymnasts (default 2,000) each, the same competitor numbers
// in each meet, 100 gyms, four apparatus scored in full. SQLite in a
// temporary folder; PostgreSQL on the test server of tests/support.
#include "meetdb/DevStore.h"
#include "meetdb/MeetStore.h"
#include "results/LocalCopies.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDate>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <vector>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

void buildMeets(MeetStore &store, int gymnasts)
{
    DevStore::createSchema(store, true);
    QRandomGenerator random(7);
    StoreTransaction transaction(store);
    store.insertRow(S("Events"), {{S("EventID"), 1}, {S("Group"), S("Women")}, {S("NumEvents"), 4},
                                  {S("Event1"), S("VAULT")}, {S("Event2"), S("BARS")}, {S("Event3"), S("BEAM")},
                                  {S("Event4"), S("FLOOR")}, {S("TwoScore"), 0}});
    for (int level = 1; level <= 5; ++level)
        store.insertRow(S("Levels"), {{S("EventID"), 1}, {S("Level"), QString::number(level)},
                                      {S("LevelSort"), QString::number(level)}});
    for (int gym = 1; gym <= 100; ++gym)
        store.insertRow(S("Gyms"), {{S("GymID"), gym}, {S("Short Name"), S("Gym %1").arg(gym)},
                                    {S("Official Name"), S("Gymnastics Club %1").arg(gym)}});
    for (int meet = 1; meet <= 4; ++meet) {
        store.insertRow(S("Meets"), {{S("MeetID"), meet}, {S("Name"), S("Meet %1").arg(meet)},
                                     {S("Def_EventID"), 1}, {S("ScoreMethod"), 1}});
        for (int gym = 1; gym <= 100; ++gym)
            store.insertRow(S("Attend"), {{S("MeetID"), meet}, {S("GymID"), gym},
                                          {S("Short_Name"), S("Gym %1").arg(gym)}, {S("TeamND"), 0.0}});
        for (int num = 1; num <= gymnasts; ++num) {
            FieldValues row = {{S("MeetID"), meet},
                               {S("Num"), num},
                               {S("First_Name"), S("First%1").arg(num)},
                               {S("Last_Name"), S("Last%1").arg(num)},
                               {S("Level"), QString::number(1 + num % 5)},
                               {S("Session"), QString::number(1 + num % 4)},
                               {S("Gym"), 1 + num % 100},
                               {S("Team1"), QString::number(1 + num % 3)},
                               {S("Scratched"), false},
                               {S("Events"), 1},
                               {S("USCitizen"), num % 17 != 0},
                               {S("Birthday"), QDate(2010, 1, 1).addDays(num % 1500)}};
            double aa = 0;
            for (int e = 1; e <= 4; ++e) {
                const double start = 2.0 + random.bounded(20) * 0.1;
                const double b = 7.0 + random.bounded(60) * 0.05;
                const double final = start + b;
                aa += final;
                const QString n = QString::number(e);
                row.append({S("E%1S1").arg(n), b});
                row.append({S("E%1Final").arg(n), final});
                row.append({S("E%1Start").arg(n), start});
                row.append({S("E%1BScore").arg(n), b});
                row.append({S("E%1Adj").arg(n), 0.0});
                row.append({S("E%1Flag").arg(n), num % 7 != 0});
            }
            row.append({S("AA"), aa});
            row.append({S("AAAdj"), 0.0});
            store.insertRow(S("Gymnasts"), row);
        }
    }
    transaction.commit();
}

std::vector<std::unique_ptr<MeetStore>> stores;

void snapshot(benchmark::State &state, MeetStore *store)
{
    LocalCopies copies(*store);
    int rows = 0;
    for (auto _ : state)
        rows = copies.copy(S("KMRGymnasts"), S("Gymnasts"), S("MeetID = 1"), LocalCopies::gymnastFields());
    state.counters["rows"] = rows;
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    int gymnasts = 2000;
    if (const qsizetype at = args.indexOf(S("--gymnasts")); at >= 0)
        gymnasts = args.value(at + 1).toInt();
    const bool postgres = !args.contains(S("--no-postgres"));
    test::TempDir folder;
    try {
        stores.push_back(DevStore::openOrCreate(folder.path()));
        if (postgres) {
            const test::Endpoint server = test::sharedPostgres();
            const QString database = test::createPostgresDatabase(S("bench"));
            stores.push_back(DevStore::openOrCreate(S("%1:%2").arg(server.host).arg(server.port), database));
        }
        for (auto &store : stores) {
            std::fprintf(stderr, "building %d gymnasts in four meets on %s...\n", gymnasts,
                         qPrintable(backendName(store->backend())));
            buildMeets(*store, gymnasts);
            const QString name = backendName(store->backend());
            benchmark::RegisterBenchmark(qPrintable(S("Snapshot/") + name), snapshot, store.get())
                ->Unit(benchmark::kMillisecond);
        }
    } catch (const StoreError &e) {
        std::fprintf(stderr, "bench_ResultsBench: %s\n", e.what());
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    stores.clear();
    return 0;
}
