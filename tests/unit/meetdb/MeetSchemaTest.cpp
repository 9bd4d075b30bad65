#include "meetdb/MeetSchema.h"

#include <gtest/gtest.h>

#include <QSet>

using namespace kestra;

namespace {

QStringList tableNames()
{
    QStringList names;
    for (const TableDef &t : MeetSchema::tables())
        names << t.name;
    return names;
}

} // namespace

TEST(MeetSchema, HoldsTheThirtyEightTablesInDictionaryOrder)
{
    EXPECT_EQ(tableNames(),
              (QStringList{"Category", "Countries", "DBVersion", "EmailTemplates", "Events", "Gyms",
                           "Coaches", "Host", "JudgeDuties", "Judges", "Labels", "LabelSetup", "Levels",
                           "JNBonus", "DefAges", "DBonus", "Meets", "Gymnasts", "CoachAttend", "Budgets",
                           "Attend", "AgeGrp", "AgeDate", "NextID", "PartAwrd", "Renumber", "ReportQueue",
                           "Roster", "Rotations", "ScoreApps", "ScoreQueue", "QueueDone", "SessAgeGrp",
                           "Sessions", "JudgePanels", "States", "Transact", "Triggers"}));
}

TEST(MeetSchema, TablesHaveTheirFieldCounts)
{
    // Column names, types and required flags are read back from the engines'
    // own catalogs by the integration tests.
    const std::vector<std::pair<const char *, int>> counts = {
        {"Gymnasts", 196}, {"Meets", 43}, {"Events", 56}, {"Host", 57}, {"Attend", 31},
        {"ScoreQueue", 24}, {"JNBonus", 59}, {"PartAwrd", 37}, {"DBonus", 21}, {"Labels", 29},
        {"Judges", 26}, {"Renumber", 18}, {"Roster", 21}, {"Sessions", 11}, {"QueueDone", 2},
        {"DBVersion", 1}, {"NextID", 7}, {"Rotations", 14}, {"Gyms", 22}, {"SessAgeGrp", 11}};
    for (const auto &[table, count] : counts) {
        ASSERT_NE(MeetSchema::table(QString::fromLatin1(table)), nullptr) << table;
        EXPECT_EQ(MeetSchema::table(QString::fromLatin1(table))->fields.size(), count) << table;
    }
}

TEST(MeetSchema, NamesAreConsistentAcrossTablesAndEngines)
{
    // A field name is spelt the same wherever it appears, so a PostgreSQL
    // result column can be given back its schema spelling.
    QHash<QString, QString> seen;
    for (const TableDef &t : MeetSchema::tables()) {
        for (const FieldDef &f : t.fields) {
            const QString key = f.name.toLower();
            if (seen.contains(key)) {
                EXPECT_EQ(seen[key], f.name) << t.name.toStdString();
            }
            seen.insert(key, f.name);
        }
    }
    EXPECT_EQ(MeetSchema::fieldSpelling(QStringLiteral("short name")), QStringLiteral("Short Name"));
    EXPECT_EQ(MeetSchema::fieldSpelling(QStringLiteral("e11final")), QStringLiteral("e11final"));

    for (const StoreBackend b : {StoreBackend::Sqlite, StoreBackend::Postgres}) {
        QSet<QString> globals;
        for (const TableDef &t : MeetSchema::tables())
            globals.insert(MeetSchema::physicalName(t.name, b).toLower());
        for (const TableDef &t : MeetSchema::tables()) {
            for (const IndexDef &idx : t.indexes) {
                const QString name = MeetSchema::physicalIndexName(t, idx.name, b);
                EXPECT_FALSE(globals.contains(name.toLower())) << name.toStdString();
                globals.insert(name.toLower());
                EXPECT_LE(name.toUtf8().size(), 63) << name.toStdString(); // PostgreSQL's limit
            }
        }
    }
    EXPECT_EQ(MeetSchema::physicalIndexName(*MeetSchema::table(QStringLiteral("Gymnasts")),
                                            QStringLiteral("$SQL$FOREIGNKEY$DETAIL$INDEX#2$Meets"),
                                            StoreBackend::Postgres),
              QStringLiteral("gymnasts_$sql$foreignkey$detail$index#2$meets"));
}
