// The schema as the engines' own catalogs report it, against expectations
// written out by hand. How the references act is the reference rules' test.
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

TEST_P(SchemaCatalog, TablesHaveTheirColumnsTypesAndRequiredFlags)
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
    EXPECT_EQ(catalogColumns(QStringLiteral("DBVersion")), expected({{"Version", "UNSIGNED INT", "bigint", false}}));
    // The other kinds: a decimal, a date, a time, a tiny integer, text, a blob.
    EXPECT_EQ(catalogColumns(QStringLiteral("Budgets")).value(2), expected({{"Budget", "DECIMAL(16,4)", "numeric(16,4)", false}})[0]);
    const QStringList sessions = catalogColumns(QStringLiteral("Sessions"));
    EXPECT_EQ(sessions.mid(3, 2), expected({{"SDate", "DATE", "date", false},
                                            {"Open_Warmup", "TIME", "time without time zone", false}}));
    EXPECT_EQ(sessions.value(9), expected({{"NumFlights", "TINYINT", "smallint", false}})[0]);
    EXPECT_EQ(catalogColumns(QStringLiteral("EmailTemplates")).value(1), expected({{"Message", "TEXT", "text", false}})[0]);
    EXPECT_EQ(catalogColumns(QStringLiteral("Meets")).value(22), expected({{"BannerImage", "BLOB", "bytea", false}})[0]);
    const QStringList gymnasts = catalogColumns(QStringLiteral("Gymnasts"));
    ASSERT_EQ(gymnasts.size(), 196);
    EXPECT_EQ(gymnasts[167], expected({{"E1SaveTime", "DATETIME", "timestamp without time zone", false}})[0]);
    EXPECT_EQ(gymnasts[195], expected({{"E7EBonus", "FLOAT", "real", false}})[0]);
}

KESTRA_BOTH_BACKENDS(SchemaCatalog);
