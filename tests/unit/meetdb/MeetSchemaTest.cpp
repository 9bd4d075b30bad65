#include "meetdb/MeetSchema.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
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

QString typeCode(const FieldDef &f)
{
    switch (f.type) {
    case FieldType::ShortString:
        return QStringLiteral("text(%1)").arg(f.size);
    case FieldType::NullString:
        return QStringLiteral("longtext(%1)").arg(f.size);
    case FieldType::Int8:
        return QStringLiteral("int8");
    case FieldType::Int16:
        return QStringLiteral("int16");
    case FieldType::Int32:
        return QStringLiteral("int32");
    case FieldType::Word32:
        return QStringLiteral("uint32");
    case FieldType::AutoInc:
        return QStringLiteral("autoinc");
    case FieldType::Single:
        return QStringLiteral("float32");
    case FieldType::Boolean:
        return QStringLiteral("bool");
    case FieldType::Date:
        return QStringLiteral("date");
    case FieldType::Time:
        return QStringLiteral("time");
    case FieldType::DateTime:
        return QStringLiteral("datetime");
    case FieldType::Currency:
        return QStringLiteral("currency");
    case FieldType::Memo:
        return QStringLiteral("memo");
    case FieldType::Blob:
        return QStringLiteral("blob");
    }
    return {};
}

// "Name type[ required]" for each field, in order.
QStringList describe(const QString &table)
{
    QStringList out;
    for (const FieldDef &f : MeetSchema::table(table)->fields)
        out << f.name + QLatin1Char(' ') + typeCode(f) + (f.required ? QStringLiteral(" required") : QString());
    return out;
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

TEST(MeetSchema, FieldCountsPerTable)
{
    const std::vector<std::pair<const char *, int>> counts = {
        {"Gymnasts", 196}, {"Meets", 43}, {"Events", 56}, {"Host", 57}, {"Attend", 31},
        {"ScoreQueue", 24}, {"JNBonus", 59}, {"PartAwrd", 37}, {"DBonus", 21}, {"Labels", 29},
        {"Judges", 26}, {"Renumber", 18}, {"Roster", 21}, {"Sessions", 11}, {"QueueDone", 2},
        {"DBVersion", 1}, {"NextID", 7}, {"Rotations", 14}, {"Gyms", 22}, {"SessAgeGrp", 11}};
    for (const auto &[table, count] : counts) {
        SCOPED_TRACE(table);
        ASSERT_NE(MeetSchema::table(QString::fromLatin1(table)), nullptr);
        EXPECT_EQ(MeetSchema::table(QString::fromLatin1(table))->fields.size(), count);
    }
}

TEST(MeetSchema, GymnastsFamiliesComeInDictionaryOrder)
{
    const TableDef *g = MeetSchema::table(QStringLiteral("Gymnasts"));
    ASSERT_NE(g, nullptr);
    const std::vector<std::pair<int, const char *>> at = {
        {0, "MeetID"}, {1, "Num"}, {17, "Order"}, {23, "Phonetic"}, {24, "E1S1"}, {30, "E1S7"},
        {31, "E1Adj"}, {32, "E1Final"}, {33, "E2S1"}, {77, "E6Final"}, {78, "E7S1"}, {86, "E7AAFinal"},
        {87, "AAAdj"}, {88, "AA"}, {89, "E1Flag"}, {94, "E6Flag"}, {95, "AAFlag"}, {96, "E1Order"},
        {101, "E6Order"}, {102, "E1Start"}, {108, "E7Start"}, {109, "MSOUpdate"}, {110, "E1BScore"},
        {117, "USAGVerified"}, {118, "E1Hold"}, {125, "E1Cover"}, {132, "E1SelectTime"},
        {139, "E1HoldTime"}, {146, "E1ReadyTime"}, {153, "E1StartTime"}, {160, "E1StopTime"},
        {167, "E1SaveTime"}, {173, "E7SaveTime"}, {174, "E1Status"}, {181, "E1DBonus"},
        {188, "TwoAttempts"}, {189, "E1EBonus"}, {195, "E7EBonus"}};
    for (const auto &[index, name] : at)
        EXPECT_EQ(g->fields.value(index).name, QString::fromLatin1(name)) << "field " << index;
    EXPECT_EQ(typeCode(g->fields[174]), QStringLiteral("text(8)"));
    EXPECT_EQ(typeCode(g->fields[132]), QStringLiteral("datetime"));
    EXPECT_EQ(typeCode(g->fields[118]), QStringLiteral("int16"));
    int required = 0;
    for (const FieldDef &f : g->fields)
        required += f.required ? 1 : 0;
    EXPECT_EQ(required, 2);
}

TEST(MeetSchema, ScoringTablesAsTheDictionaryGivesThem)
{
    EXPECT_EQ(describe(QStringLiteral("ScoreQueue")),
              (QStringList{"DataID autoinc", "MeetID int32 required", "EventID int32 required",
                           "Event int16 required", "Session text(3) required", "DT datetime required",
                           "Num int16", "Level text(3)", "Score float32", "Changed bool", "FName text(20)",
                           "LName text(25)", "Judge1 float32", "Judge2 float32", "Judge3 float32",
                           "Judge4 float32", "Judge5 float32", "Judge6 float32", "Judge7 float32",
                           "Adjust float32", "Start float32", "BScore float32", "DBonus float32",
                           "EBonus float32"}));
    EXPECT_EQ(describe(QStringLiteral("QueueDone")),
              (QStringList{"AppID int32 required", "DataID int32 required"}));
    EXPECT_EQ(describe(QStringLiteral("ScoreApps")), (QStringList{"AppID autoinc", "AppName longtext(25)"}));
    EXPECT_EQ(describe(QStringLiteral("DBVersion")), (QStringList{"Version uint32"}));
    EXPECT_EQ(describe(QStringLiteral("Sessions")),
              (QStringList{"MeetID int32 required", "Session text(3) required", "Desc text(20)",
                           "SDate date", "Open_Warmup time", "Timed_Warmup time", "March_In time",
                           "Awards time", "EventID int32", "NumFlights int8", "RotationID int32"}));
    EXPECT_EQ(describe(QStringLiteral("Renumber")).mid(14, 4),
              (QStringList{"Squad text(1)", "Age int16", "Age Division text(10)", "Order int16"}));
    const QStringList gyms = describe(QStringLiteral("Gyms"));
    EXPECT_EQ(gyms.mid(0, 3), (QStringList{"GymID int32 required", "Official Name text(40)", "Short Name text(20)"}));
    EXPECT_EQ(describe(QStringLiteral("Budgets")).last(), QStringLiteral("Budget currency"));
    EXPECT_EQ(describe(QStringLiteral("EmailTemplates")).last(), QStringLiteral("Message memo"));
    EXPECT_EQ(describe(QStringLiteral("Events")).mid(10, 1), (QStringList{"Ev1ScoreIDs text(200)"}));
    EXPECT_EQ(describe(QStringLiteral("Events")).mid(16, 1), (QStringList{"Ev1KeypadIDs longtext(1000)"}));
    EXPECT_EQ(describe(QStringLiteral("JNBonus")).mid(11, 9),
              (QStringList{"E1R1 float32", "E1R2 float32", "E1R3 float32", "E1R4 float32", "E1D1 float32",
                           "E1D2 float32", "E1D3 float32", "E1D4 float32", "E2R1 float32"}));
}

TEST(MeetSchema, KeysIndexesAndReferences)
{
    const TableDef *sq = MeetSchema::table(QStringLiteral("scorequeue"));
    ASSERT_NE(sq, nullptr);
    ASSERT_EQ(sq->primaryKey.size(), 1);
    EXPECT_EQ(sq->primaryKey[0].field, QStringLiteral("DataID"));
    ASSERT_EQ(sq->indexes.size(), 3);
    EXPECT_EQ(sq->indexes[0].name, QStringLiteral("byMeetGroupEventSess"));
    EXPECT_TRUE(sq->indexes[0].fields[3].caseInsensitive);
    EXPECT_FALSE(sq->indexes[0].fields[4].caseInsensitive);
    EXPECT_EQ(sq->indexes[2].name, QStringLiteral("$SQL$FOREIGNKEY$DETAIL$INDEX#0$Meets"));
    EXPECT_TRUE(sq->indexes[2].foreignKey);

    const TableDef *qd = MeetSchema::table(QStringLiteral("QueueDone"));
    ASSERT_EQ(qd->references.size(), 2);
    for (const ReferenceDef &r : qd->references) {
        EXPECT_TRUE(r.mustExist);
        EXPECT_EQ(r.onDelete, RefAction::Cascade);
        EXPECT_EQ(r.onUpdate, RefAction::Cascade);
    }

    const TableDef *jp = MeetSchema::table(QStringLiteral("JudgePanels"));
    ASSERT_EQ(jp->primaryKey.size(), 4);
    EXPECT_TRUE(jp->primaryKey[1].caseInsensitive);
    EXPECT_EQ(jp->references[2].parentTable, QStringLiteral("Sessions"));
    EXPECT_EQ(jp->references[2].fields, (QStringList{"MeetID", "Session"}));

    const TableDef *ageDate = MeetSchema::table(QStringLiteral("AgeDate"));
    ASSERT_EQ(ageDate->references.size(), 4);
    const ReferenceDef &levelSort = ageDate->references[2];
    EXPECT_EQ(levelSort.parentFields, (QStringList{"EventID", "LevelSort"}));
    EXPECT_FALSE(levelSort.mustExist);
    EXPECT_EQ(levelSort.onDelete, RefAction::None);
    EXPECT_EQ(levelSort.onUpdate, RefAction::Cascade);

    const TableDef *gyms = MeetSchema::table(QStringLiteral("Coaches"));
    EXPECT_EQ(gyms->references[0].onDelete, RefAction::Block);

    EXPECT_TRUE(MeetSchema::table(QStringLiteral("Host"))->indexes.isEmpty());
    EXPECT_TRUE(MeetSchema::table(QStringLiteral("NextID"))->primaryKey.isEmpty());
    const TableDef *part = MeetSchema::table(QStringLiteral("PartAwrd"));
    EXPECT_TRUE(part->primaryKey.isEmpty());
    ASSERT_EQ(part->indexes.size(), 1);
    EXPECT_TRUE(part->indexes[0].unique);

    const TableDef *rot = MeetSchema::table(QStringLiteral("Rotations"));
    EXPECT_EQ(rot->autoIncStart, 10);
    EXPECT_EQ(rot->autoIncStep, 1);
    EXPECT_EQ(MeetSchema::table(QStringLiteral("ScoreApps"))->autoIncStart, 1);
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

TEST(MeetSchema, VersionText)
{
    EXPECT_EQ(MeetSchema::ExpectedVersion, 0x050A0500u);
    EXPECT_EQ(MeetSchema::formatVersion(MeetSchema::ExpectedVersion), QStringLiteral("5.10.5.0"));
    EXPECT_EQ(MeetSchema::formatVersion(0x050A0501), QStringLiteral("5.10.5.1"));
    EXPECT_EQ(MeetSchema::formatVersion(0xFF000102), QStringLiteral("255.0.1.2"));
    EXPECT_EQ(MeetSchema::defaultAlias(), QStringLiteral("Marlowen"));
}

TEST(MeetSchema, DeclaredTypesLetTheStoreRecogniseEachKind)
{
    const TableDef *g = MeetSchema::table(QStringLiteral("Gymnasts"));
    const std::vector<std::tuple<const char *, const char *, const char *>> types = {
        {"E1Final", "FLOAT", "real"},          {"Scratched", "BOOLEAN", "boolean"},
        {"Birthday", "DATE", "date"},          {"E1SaveTime", "DATETIME", "timestamp(3)"},
        {"Num", "SMALLINT", "smallint"},       {"MeetID", "INT", "integer"},
        {"First_Name", "VARCHAR(20)", "varchar(20)"}};
    for (const auto &[field, lite, pg] : types) {
        EXPECT_EQ(MeetSchema::columnType(*g->field(QString::fromLatin1(field)), StoreBackend::Sqlite),
                  QString::fromLatin1(lite));
        EXPECT_EQ(MeetSchema::columnType(*g->field(QString::fromLatin1(field)), StoreBackend::Postgres),
                  QString::fromLatin1(pg));
    }
    const FieldDef version = MeetSchema::table(QStringLiteral("DBVersion"))->fields[0];
    EXPECT_EQ(MeetSchema::columnType(version, StoreBackend::Postgres), QStringLiteral("bigint"));
    const FieldDef open = *MeetSchema::table(QStringLiteral("Sessions"))->field(QStringLiteral("Open_Warmup"));
    EXPECT_EQ(MeetSchema::columnType(open, StoreBackend::Sqlite), QStringLiteral("TIME"));
}

TEST(MeetSchema, StatementsCreateKeysTheWayEachEngineNeeds)
{
    const QString lite = MeetSchema::createStatements(StoreBackend::Sqlite).join(QStringLiteral(";\n"));
    EXPECT_TRUE(lite.contains(QStringLiteral("\"DataID\" INTEGER PRIMARY KEY AUTOINCREMENT")));
    EXPECT_TRUE(lite.contains(QStringLiteral(
        "FOREIGN KEY (\"DataID\") REFERENCES \"ScoreQueue\" (\"DataID\") ON DELETE CASCADE ON UPDATE CASCADE")));
    EXPECT_TRUE(lite.contains(QStringLiteral(
        "CREATE INDEX \"ScoreQueue_byMeetGroupEventSess\" ON \"ScoreQueue\" (\"MeetID\", \"EventID\", \"Event\", \"Session\" COLLATE NOCASE, \"DT\")")));
    EXPECT_TRUE(lite.contains(QStringLiteral(
        "PRIMARY KEY (\"MeetID\", \"Session\" COLLATE NOCASE, \"EventNum\", \"JudgeID\")")));
    EXPECT_TRUE(lite.contains(QStringLiteral("INSERT INTO sqlite_sequence (name, seq) VALUES ('Rotations', 9)")));
    EXPECT_TRUE(lite.contains(QStringLiteral("CREATE TRIGGER \"Levels_cascade_AgeDate\" AFTER UPDATE OF \"EventID\", \"LevelSort\" ON \"Levels\"")));
    EXPECT_TRUE(lite.contains(QStringLiteral("\"Session\" VARCHAR(3) NOT NULL CHECK (length(\"Session\") <= 3)")));
    EXPECT_FALSE(lite.contains(QStringLiteral("REFERENCES \"Levels\" (\"EventID\", \"LevelSort\")")));

    const QString pg = MeetSchema::createStatements(StoreBackend::Postgres).join(QStringLiteral(";\n"));
    EXPECT_TRUE(pg.contains(QStringLiteral("\"rotationid\" integer PRIMARY KEY GENERATED BY DEFAULT AS IDENTITY (START WITH 10 INCREMENT BY 1) NOT NULL")));
    EXPECT_TRUE(pg.contains(QStringLiteral(
        "CREATE INDEX \"scorequeue_bymeetgroupeventsess\" ON \"scorequeue\" (\"meetid\", \"eventid\", \"event\", lower(\"session\"), \"dt\")")));
    EXPECT_TRUE(pg.contains(QStringLiteral("PRIMARY KEY (\"meetid\", \"session\", \"eventnum\", \"judgeid\")")));
    EXPECT_TRUE(pg.contains(QStringLiteral(
        "CREATE UNIQUE INDEX \"judgepanels_primary\" ON \"judgepanels\" (\"meetid\", lower(\"session\"), \"eventnum\", \"judgeid\")")));
    EXPECT_TRUE(pg.contains(QStringLiteral("ON DELETE RESTRICT ON UPDATE CASCADE")));
    EXPECT_TRUE(pg.contains(QStringLiteral("CREATE TRIGGER \"scorequeue_autoinc\" AFTER INSERT ON \"scorequeue\"")));

    // Tables come in dictionary order, each parent before its children.
    const QStringList statements = MeetSchema::createStatements(StoreBackend::Sqlite);
    int lastTable = -1;
    for (const TableDef &t : MeetSchema::tables()) {
        const int at = statements.indexOf(QRegularExpression(QStringLiteral("^CREATE TABLE \"%1\" .*").arg(t.name),
                                                             QRegularExpression::DotMatchesEverythingOption));
        EXPECT_GT(at, lastTable) << t.name.toStdString();
        lastTable = at;
    }
}
