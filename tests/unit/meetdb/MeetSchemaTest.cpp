#include "meetdb/MeetSchema.h"

#include <gtest/gtest.h>

#include <QHash>
#include <QSet>

using namespace kestra;

// The tables and their columns are read and written on both engines by the
// store tests; here what holds across the whole schema.
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
