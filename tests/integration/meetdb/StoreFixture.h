#pragma once

#include "meetdb/MeetStore.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <memory>
#include <string>

namespace kestra::test {

// A meet database of its own for one test: a fresh SQLite folder, or a fresh
// database on the shared PostgreSQL server (its name is the alias).
struct FreshStore {
    StoreBackend backend = StoreBackend::Sqlite;
    std::unique_ptr<TempDir> dir;
    QString address;
    QString alias = MeetSchema::defaultAlias();
    std::unique_ptr<MeetStore> store;

    // Opens another store on the same database, as a second program would.
    std::unique_ptr<MeetStore> openAnother() const;
};

// With the schema made.
FreshStore makeStore(StoreBackend backend);

inline std::string backendLabel(const testing::TestParamInfo<StoreBackend> &info)
{
    return info.param == StoreBackend::Sqlite ? "SQLite" : "PostgreSQL";
}

// A small meet world: event group 1 (4 apparatus, level "5"), meets 1 and 2,
// gyms 1 "Riverside" and 2 "Summit", gymnasts 101 (gym 1), 102 (gym 2) and 103
// (no gym) in meet 1, 101 in meet 2, and applications 2 and 4 in ScoreApps.
void addSmallMeet(MeetStore &store);
// Appends a ScoreQueue row and returns its DataID.
int addQueueRow(MeetStore &store, int meet, int event, const QString &session, int num,
                const QDateTime &dt, double score = 9.5);

// Runs engine SQL on the store and returns the first column of the first row.
QVariant scalar(MeetStore &store, const QString &sql, const QVariantList &params = {});

} // namespace kestra::test

#define KESTRA_BOTH_BACKENDS(Suite)                                                                 \
    INSTANTIATE_TEST_SUITE_P(Backends, Suite,                                                       \
                             testing::Values(kestra::StoreBackend::Sqlite,                          \
                                             kestra::StoreBackend::Postgres),                       \
                             kestra::test::backendLabel)
