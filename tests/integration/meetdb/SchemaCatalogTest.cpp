// The schema as the engines' own catalogs report it, against expectations
// written out by hand.
#include "StoreFixture.h"


using namespace kestra;
using namespace kestra::test;

namespace {

struct Column {
    const char *name;
    const char *sqlite;   // declared type
    const char *postgres; // information_schema type, with length or precision
    bool required;
};

class SchemaCatalog : public testing::TestWithParam<StoreBackend> {
protected:
    void SetUp() override { f = makeStore(GetParam()); }

    // Name, type and required flag of each column, from the engine's catalog.
    QStringList catalogColumns(const QString &table)
    {
        QStringList out;
        if (GetParam() == StoreBackend::Sqlite) {
            QueryResult r = f.store->queryNative(QStringLiteral("PRAGMA table_info(\"%1\")").arg(table));
            for (; !r.eof(); r.next()) {
                out << QStringLiteral("%1 %2%3").arg(r.value(QStringLiteral("name")).toString(),
                                                     r.value(QStringLiteral("type")).toString(),
                                                     r.value(QStringLiteral("notnull")).toInt() ? " required" : "");
            }
        } else {
            QueryResult r = f.store->queryNative(
                QStringLiteral("SELECT column_name, data_type, character_maximum_length, numeric_precision, "
                               "numeric_scale, is_nullable FROM information_schema.columns "
                               "WHERE table_schema = 'public' AND table_name = ? ORDER BY ordinal_position"),
                {table.toLower()});
            for (; !r.eof(); r.next()) {
                QString type = r.value(1).toString();
                if (!r.value(2).isNull())
                    type += QStringLiteral("(%1)").arg(r.value(2).toInt());
                else if (type == QLatin1String("numeric"))
                    type += QStringLiteral("(%1,%2)").arg(r.value(3).toInt()).arg(r.value(4).toInt());
                out << QStringLiteral("%1 %2%3").arg(r.value(0).toString(), type,
                                                     r.value(5).toString() == QLatin1String("NO") ? " required" : "");
            }
        }
        return out;
    }

    QStringList expected(const std::vector<Column> &columns)
    {
        QStringList out;
        for (const Column &c : columns) {
            const bool lite = GetParam() == StoreBackend::Sqlite;
            out << QStringLiteral("%1 %2%3").arg(lite ? QString::fromUtf8(c.name) : QString::fromUtf8(c.name).toLower(),
                                                 QString::fromLatin1(lite ? c.sqlite : c.postgres),
                                                 c.required ? " required" : "");
        }
        return out;
    }

    QStringList indexNames(const QString &table)
    {
        QStringList out;
        QueryResult r = GetParam() == StoreBackend::Sqlite
                            ? f.store->queryNative(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'index' "
                                                                  "AND tbl_name = ? AND sql IS NOT NULL ORDER BY name"),
                                                   {table})
                            : f.store->queryNative(QStringLiteral("SELECT indexname FROM pg_indexes WHERE tablename = ? "
                                                                  "AND indexname NOT LIKE '%\\_pkey' ORDER BY indexname"),
                                                   {table.toLower()});
        for (; !r.eof(); r.next())
            out << r.value(0).toString();
        return out;
    }

    // "parent(child fields -> parent fields) delete/update" for each foreign key.
    QStringList foreignKeys(const QString &table)
    {
        QStringList out;
        if (GetParam() == StoreBackend::Sqlite) {
            QueryResult r = f.store->queryNative(QStringLiteral("PRAGMA foreign_key_list(\"%1\")").arg(table));
            QMap<int, QStringList> byId;
            QMap<int, QString> head;
            for (; !r.eof(); r.next()) {
                const int id = r.value(QStringLiteral("id")).toInt();
                head[id] = QStringLiteral("%1 %2/%3").arg(r.value(QStringLiteral("table")).toString(),
                                                          r.value(QStringLiteral("on_delete")).toString(),
                                                          r.value(QStringLiteral("on_update")).toString());
                byId[id] << r.value(QStringLiteral("from")).toString() + QStringLiteral("->")
                                + r.value(QStringLiteral("to")).toString();
            }
            for (auto it = head.cbegin(); it != head.cend(); ++it)
                out << it.value() + QLatin1Char(' ') + byId[it.key()].join(QLatin1Char(','));
        } else {
            QueryResult r = f.store->queryNative(
                QStringLiteral("SELECT confrelid::regclass::text, confdeltype, confupdtype, "
                               "(SELECT string_agg(a.attname || '->' || p.attname, ',' ORDER BY k.i) "
                               "   FROM unnest(c.conkey, c.confkey) WITH ORDINALITY AS k(ck, pk, i) "
                               "   JOIN pg_attribute a ON a.attrelid = c.conrelid AND a.attnum = k.ck "
                               "   JOIN pg_attribute p ON p.attrelid = c.confrelid AND p.attnum = k.pk) "
                               "FROM pg_constraint c WHERE c.conrelid = ?::regclass AND c.contype = 'f'"),
                {table.toLower()});
            auto rule = [](const QString &code) {
                return code == QLatin1String("c") ? QStringLiteral("CASCADE")
                       : code == QLatin1String("r") ? QStringLiteral("RESTRICT")
                                                    : QStringLiteral("NO ACTION");
            };
            for (; !r.eof(); r.next()) {
                out << QStringLiteral("%1 %2/%3 %4").arg(r.value(0).toString(), rule(r.value(1).toString()),
                                                        rule(r.value(2).toString()), r.value(3).toString());
            }
        }
        std::sort(out.begin(), out.end(), [](const QString &a, const QString &b) {
            return a.compare(b, Qt::CaseInsensitive) < 0;
        });
        return out;
    }

    FreshStore f;
};

} // namespace

TEST_P(SchemaCatalog, HasEveryTableInDictionaryOrder)
{
    QStringList schema;
    for (const TableDef &t : MeetSchema::tables())
        schema << t.name;
    EXPECT_EQ(f.store->tableNames(), schema);
}

TEST_P(SchemaCatalog, ScoringTablesHaveTheirColumnsAndTypes)
{
    std::vector<Column> queue = {
        {"DataID", "INTEGER", "integer", true},          {"MeetID", "INT", "integer", true},
        {"EventID", "INT", "integer", true},             {"Event", "SMALLINT", "smallint", true},
        {"Session", "VARCHAR(3)", "character varying(3)", true},
        {"DT", "DATETIME", "timestamp without time zone", true},
        {"Num", "SMALLINT", "smallint", false},          {"Level", "VARCHAR(3)", "character varying(3)", false},
        {"Score", "FLOAT", "real", false},               {"Changed", "BOOLEAN", "boolean", false},
        {"FName", "VARCHAR(20)", "character varying(20)", false},
        {"LName", "VARCHAR(25)", "character varying(25)", false}};
    for (const char *judge : {"Judge1", "Judge2", "Judge3", "Judge4", "Judge5", "Judge6", "Judge7", "Adjust",
                              "Start", "BScore", "DBonus", "EBonus"})
        queue.push_back({judge, "FLOAT", "real", false});
    EXPECT_EQ(catalogColumns(QStringLiteral("ScoreQueue")), expected(queue));

    EXPECT_EQ(catalogColumns(QStringLiteral("QueueDone")),
              expected({{"AppID", "INT", "integer", true}, {"DataID", "INT", "integer", true}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("ScoreApps")),
              expected({{"AppID", "INTEGER", "integer", true},
                        {"AppName", "VARCHAR(25)", "character varying(25)", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("DBVersion")), expected({{"Version", "UNSIGNED INT", "bigint", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("Sessions")),
              expected({{"MeetID", "INT", "integer", true},
                        {"Session", "VARCHAR(3)", "character varying(3)", true},
                        {"Desc", "VARCHAR(20)", "character varying(20)", false},
                        {"SDate", "DATE", "date", false},
                        {"Open_Warmup", "TIME", "time without time zone", false},
                        {"Timed_Warmup", "TIME", "time without time zone", false},
                        {"March_In", "TIME", "time without time zone", false},
                        {"Awards", "TIME", "time without time zone", false},
                        {"EventID", "INT", "integer", false},
                        {"NumFlights", "TINYINT", "smallint", false},
                        {"RotationID", "INT", "integer", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("Budgets")),
              expected({{"MeetID", "INT", "integer", true},
                        {"Category", "VARCHAR(30)", "character varying(30)", true},
                        {"Budget", "DECIMAL(16,4)", "numeric(16,4)", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("EmailTemplates")),
              expected({{"Name", "VARCHAR(40)", "character varying(40)", true}, {"Message", "TEXT", "text", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("Gyms")).mid(0, 3),
              expected({{"GymID", "INT", "integer", true},
                        {"Official Name", "VARCHAR(40)", "character varying(40)", false},
                        {"Short Name", "VARCHAR(20)", "character varying(20)", false}}));
    EXPECT_EQ(catalogColumns(QStringLiteral("Meets")).value(22),
              expected({{"BannerImage", "BLOB", "bytea", false}}).value(0));
}

TEST_P(SchemaCatalog, GymnastsHasAllItsFields)
{
    const QStringList cols = catalogColumns(QStringLiteral("Gymnasts"));
    ASSERT_EQ(cols.size(), 196);
    const std::vector<std::pair<int, Column>> at = {
        {0, {"MeetID", "INT", "integer", true}},
        {1, {"Num", "SMALLINT", "smallint", true}},
        {32, {"E1Final", "FLOAT", "real", false}},
        {86, {"E7AAFinal", "FLOAT", "real", false}},
        {95, {"AAFlag", "BOOLEAN", "boolean", false}},
        {118, {"E1Hold", "SMALLINT", "smallint", false}},
        {167, {"E1SaveTime", "DATETIME", "timestamp without time zone", false}},
        {180, {"E7Status", "VARCHAR(8)", "character varying(8)", false}},
        {195, {"E7EBonus", "FLOAT", "real", false}}};
    for (const auto &[index, column] : at)
        EXPECT_EQ(cols[index], expected({column})[0]);
}

TEST_P(SchemaCatalog, IndexesCarryTheTableInTheirNames)
{
    const bool lite = GetParam() == StoreBackend::Sqlite;
    auto names = [&](QStringList list) {
        if (!lite) {
            for (QString &n : list)
                n = n.toLower();
        }
        list.sort(Qt::CaseSensitive);
        return list;
    };
    EXPECT_EQ(indexNames(QStringLiteral("ScoreQueue")),
              names({"ScoreQueue_$SQL$FOREIGNKEY$DETAIL$INDEX#0$Meets", "ScoreQueue_byDT",
                     "ScoreQueue_byMeetGroupEventSess"}));
    EXPECT_EQ(indexNames(QStringLiteral("QueueDone")),
              names({"QueueDone_$SQL$FOREIGNKEY$DETAIL$INDEX#0$ScoreApps",
                     "QueueDone_$SQL$FOREIGNKEY$DETAIL$INDEX#0$ScoreQueue"}));
    EXPECT_EQ(indexNames(QStringLiteral("Gymnasts")).size(), 12);
    EXPECT_EQ(indexNames(QStringLiteral("Host")).size(), 0);
    // PostgreSQL keys cannot ignore case, so the key gets a unique index of its own.
    EXPECT_EQ(indexNames(QStringLiteral("JudgePanels")).size(), lite ? 4 : 5);
    EXPECT_EQ(indexNames(QStringLiteral("PartAwrd")), names({"PartAwrd_xEventID"}));

    // The case-insensitive index column: COLLATE NOCASE, lower(...).
    const QString definition =
        lite ? scalar(*f.store, QStringLiteral("SELECT sql FROM sqlite_master WHERE name = 'ScoreQueue_byMeetGroupEventSess'")).toString()
             : scalar(*f.store, QStringLiteral("SELECT indexdef FROM pg_indexes WHERE indexname = 'scorequeue_bymeetgroupeventsess'")).toString();
    EXPECT_TRUE(definition.contains(lite ? QStringLiteral("\"Session\" COLLATE NOCASE")
                                         : QStringLiteral("lower((session)::text)")))
        << definition.toStdString();
}

TEST_P(SchemaCatalog, ReferencesCarryTheirRules)
{
    const bool lite = GetParam() == StoreBackend::Sqlite;
    auto fk = [&](const char *parent, const char *rules, const char *fields) {
        QString p = QString::fromLatin1(parent);
        QString f = QString::fromLatin1(fields);
        if (!lite) {
            p = p.toLower();
            f = f.toLower();
        }
        return QStringLiteral("%1 %2 %3").arg(p, QString::fromLatin1(rules), f);
    };
    EXPECT_EQ(foreignKeys(QStringLiteral("QueueDone")),
              (QStringList{fk("ScoreApps", "CASCADE/CASCADE", "AppID->AppID"),
                           fk("ScoreQueue", "CASCADE/CASCADE", "DataID->DataID")}));
    EXPECT_EQ(foreignKeys(QStringLiteral("Gymnasts")),
              (QStringList{fk("Events", "RESTRICT/CASCADE", "Events->EventID"),
                           fk("Gyms", "RESTRICT/CASCADE", "Gym->GymID"),
                           fk("Levels", "RESTRICT/CASCADE", "Events->EventID,Level->Level"),
                           fk("Meets", "RESTRICT/CASCADE", "MeetID->MeetID")}));
    // The LevelSort reference has no unique parent, so it is a trigger, not a key.
    EXPECT_EQ(foreignKeys(QStringLiteral("AgeDate")),
              (QStringList{fk("Events", "RESTRICT/CASCADE", "EventID->EventID"),
                           fk("Levels", "CASCADE/CASCADE", "EventID->EventID,Level->Level"),
                           fk("Meets", "RESTRICT/CASCADE", "MeetID->MeetID")}));
    EXPECT_EQ(foreignKeys(QStringLiteral("JudgePanels")).size(), 3);
    EXPECT_TRUE(foreignKeys(QStringLiteral("Host")).isEmpty());
}

KESTRA_BOTH_BACKENDS(SchemaCatalog);
