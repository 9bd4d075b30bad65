// Results pages against large meets, on each engine: the local copy of one
// meet's gymnasts that every page build takes, then whole page builds (the
// copy included) beside the same statements run raw on the meet database.
//
//   bench_ResultsBench [--gymnasts N] [--no-postgres] [google benchmark flags]
//
// Four meets of N gymnasts (default 2,000) each, the same competitor numbers
// in each meet, 100 gyms, four apparatus scored in full. SQLite in a
// temporary folder; PostgreSQL on the test server of tests/support.
#include "meetdb/DevStore.h"
#include "meetdb/MeetStore.h"
#include "results/LocalCopies.h"
#include "results/PageBuilds.h"
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

// The copy an all-around page takes (the widest of a page's), and the copy of
// every column any page reads.
void snapshot(benchmark::State &state, MeetStore *store, bool allPages)
{
    LocalCopies copies(*store);
    const QStringList fields = allPages ? LocalCopies::gymnastFields() : LocalCopies::pageFields(-1);
    int rows = 0;
    for (auto _ : state)
        rows = copies.copy(S("KMRGymnasts"), S("Gymnasts"), S("MeetID = 1"), fields);
    state.counters["rows"] = rows;
    state.counters["columns"] = double(fields.size());
}

// A page as the cycle builds it: snapshot, ordering and places.
struct Pages {
    explicit Pages(MeetStore &store) : copies(store)
    {
        PageBuildContext context;
        context.remote = &store;
        context.copies = &copies;
        context.hostTieBreak = [] { return S("1"); };
        context.nameFormat = [] { return 3; };
        context.currentTwoScore = [] { return 0; };
        builds = std::make_unique<PageBuilds>(context);
    }
    LocalCopies copies;
    std::unique_ptr<PageBuilds> builds;
};

EventPageLine eventPage(int eventNumber)
{
    EventPageLine p;
    p.eventNumber = eventNumber;
    p.eventName = eventNumber == -1 ? S("AA") : S("VAULT");
    p.eventGroup = 1;
    p.meets[0] = 1;
    p.places = S("10");
    return p;
}

void page(benchmark::State &state, MeetStore *store, const QString &line, bool team)
{
    Pages pages(*store);
    std::size_t rows = 0;
    for (auto _ : state)
        rows = (team ? pages.builds->BuildTeamRows(line) : pages.builds->BuildEventRows(line)).size();
    state.counters["rows"] = double(rows);
}

// The statement a page orders by, run on the meet database, every row read.
void raw(benchmark::State &state, MeetStore *store, const QString &sql)
{
    int rows = 0;
    for (auto _ : state) {
        QueryResult result = store->query(sql);
        rows = 0;
        for (result.first(); !result.eof(); result.next())
            rows += result.value(0).isNull() ? 0 : 1;
    }
    state.counters["rows"] = rows;
}

QString eventStatement(int eventNumber)
{
    EventRun run;
    run.kind = eventNumber == -1 ? S("A") : S("E");
    run.meet = 1;
    run.eventGroup = 1;
    run.eventNumber = eventNumber;
    return TEventTieBreak().Statement(run).join(u'\n').replace(S("KMRGymnasts"), S("Gymnasts"));
}

void registerPages(MeetStore *store, const QString &name)
{
    const auto add = [&](const char *what, auto &&...args) {
        benchmark::RegisterBenchmark(qPrintable(S(what) + S("/") + name), args...)->Unit(benchmark::kMillisecond);
    };
    add("EventPage", page, store, eventPage(1).compose(), false);
    add("EventPageRaw", raw, store, eventStatement(1));
    add("AAPage", page, store, eventPage(-1).compose(), false);
    add("AAPageRaw", raw, store, eventStatement(-1));
    EventPageLine combined = eventPage(-1);
    combined.meets = {1, 2, 3, 4};
    combined.multipliers = {S("1.00"), S("1.00"), S("0.50"), S("0.50")};
    add("CombinedPage", page, store, combined.compose(), false);
    add("CombinedPageRaw", raw, store, PageBuilds::CombinedResultsSql(combined).join(u'\n'));
    TeamPageLine team;
    team.eventGroup = 1;
    team.meet = 1;
    team.scoreCount = S("3");
    team.numEvents = 4;
    add("TeamPage", page, store, team.compose(), true);
    TeamRun run;
    run.meet = 1;
    run.eventGroup = 1;
    run.numEvents = 4;
    add("TeamPageRaw", raw, store, TTeamTieBreak().Statement(run).join(u'\n').replace(S("KMRGymnasts"), S("Gymnasts")));
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
            benchmark::RegisterBenchmark(qPrintable(S("Snapshot/") + name), snapshot, store.get(), false)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(qPrintable(S("SnapshotAllColumns/") + name), snapshot, store.get(), true)
                ->Unit(benchmark::kMillisecond);
            registerPages(store.get(), name);
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
