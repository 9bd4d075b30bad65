#include "StoreFixture.h"

#include <QDateTime>

#include <tuple>
#include <vector>

namespace kestra::test {

FreshStore makeStore(StoreBackend backend)
{
    FreshStore f;
    f.backend = backend;
    if (backend == StoreBackend::Sqlite) {
        f.dir = std::make_unique<TempDir>();
        f.address = f.dir->path();
        f.store = MeetStore::forAddress(f.address);
        f.store->createDatabase();
    } else {
        const Endpoint pg = sharedPostgres();
        f.alias = createPostgresDatabase(QStringLiteral("kt_store"));
        f.address = QStringLiteral("%1:%2").arg(pg.host).arg(pg.port);
        f.store = MeetStore::forAddress(f.address);
    }
    f.store->connect();
    f.store->openDatabase(f.alias);
    MeetSchema::create(*f.store);
    return f;
}

std::unique_ptr<MeetStore> FreshStore::openAnother() const
{
    auto other = MeetStore::forAddress(address);
    other->connect();
    other->openDatabase(alias);
    return other;
}

void addSmallMeet(MeetStore &store)
{
    StoreTransaction t(store);
    store.insertRow(QStringLiteral("Events"), {{"EventID", 1}, {"Group", "Women"}, {"NumEvents", 4},
                                               {"Event1", "VAULT"}, {"Event2", "BARS"}, {"Event3", "BEAM"},
                                               {"Event4", "FLOOR"}});
    store.insertRow(QStringLiteral("Levels"), {{"EventID", 1}, {"Level", "5"}, {"LevelSort", "005"}});
    for (int meet : {1, 2}) {
        store.insertRow(QStringLiteral("Meets"), {{"MeetID", meet}, {"Name", QStringLiteral("Meet %1").arg(meet)},
                                                  {"Def_EventID", 1}});
    }
    store.insertRow(QStringLiteral("Gyms"), {{"GymID", 1}, {"Short Name", "Riverside"}, {"Official Name", "Riverside Gymnastics"}});
    store.insertRow(QStringLiteral("Gyms"), {{"GymID", 2}, {"Short Name", "Summit"}, {"Official Name", "Summit Club"}});
    const std::vector<std::tuple<int, int, QVariant>> gymnasts = {{1, 101, 1}, {1, 102, 2}, {1, 103, QVariant()}, {2, 101, 1}};
    for (const auto &[meet, num, gym] : gymnasts) {
        store.insertRow(QStringLiteral("Gymnasts"),
                        {{"MeetID", meet}, {"Num", num}, {"First_Name", QStringLiteral("First%1").arg(num)},
                         {"Last_Name", QStringLiteral("Last%1").arg(num)}, {"Level", "5"}, {"Events", 1},
                         {"Session", "1"}, {"Gym", gym}, {"Scratched", false}});
    }
    store.insertRow(QStringLiteral("ScoreApps"), {{"AppID", 2}, {"AppName", "Other"}});
    store.insertRow(QStringLiteral("ScoreApps"), {{"AppID", 4}, {"AppName", "Kestra"}});
    t.commit();
}

int addQueueRow(MeetStore &store, int meet, int event, const QString &session, int num,
                const QDateTime &dt, double score)
{
    return store
        .insertRow(QStringLiteral("ScoreQueue"),
                   {{"MeetID", meet}, {"EventID", 1}, {"Event", event}, {"Session", session}, {"DT", dt},
                    {"Num", num}, {"Level", "5"}, {"Score", score}, {"Changed", false},
                    {"FName", QStringLiteral("First%1").arg(num)}, {"LName", QStringLiteral("Last%1").arg(num)},
                    {"Judge1", 9.4}, {"Judge2", 9.6}, {"Adjust", 0.0}, {"Start", 10.0}, {"BScore", 9.5},
                    {"DBonus", -99.0}, {"EBonus", -99.0}})
        .toInt();
}

QVariant scalar(MeetStore &store, const QString &sql, const QVariantList &params)
{
    return store.queryNative(sql, params).value(0);
}

} // namespace kestra::test
