#include "meetdb/DevStore.h"

#include <QDate>
#include <QRandomGenerator>
#include <QTime>

#include <algorithm>
#include <cmath>

namespace kestra::DevStore {

namespace {

double round3(double v)
{
    return std::round(v * 1000.0) / 1000.0;
}

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

struct GymSeed {
    int id;
    const char *official;
    const char *shortName;
    const char *city;
    const char *state;
    bool women;
    bool men;
};

const GymSeed gyms[] = {
    {1, "Riverside Gymnastics Academy", "Riverside", "Riverside", "CA", true, true},
    {2, "Summit Gymnastics Club", "Summit", "Reno", "NV", true, true},
    {3, "Bayview Flyers Gymnastics", "Bayview", "San Diego", "CA", true, false},
    {4, "Northstar Gymnastics", "Northstar", "Portland", "OR", true, true},
    {5, "Cedar Valley Tumblers", "Cedar Valley", "Fresno", "CA", true, true},
    {6, "Harbor City Gymnastics", "Harbor City", "Long Beach", "CA", true, true},
    {7, "Pinecrest Athletics", "Pinecrest", "Sacramento", "CA", true, false},
    {8, "Lakeside Gymnastics Center", "Lakeside", "Tahoe City", "CA", true, true},
    {9, "Mesa Verde Gym Club", "Mesa Verde", "Tucson", "AZ", true, true},
    {10, "Golden Gate Gymnastics", "Golden Gate", "San Francisco", "CA", true, true},
    {11, "State University", "State", "Sacramento", "CA", true, false},
    {12, "Tech University", "Tech", "Tempe", "AZ", true, false},
    {13, "Coastal College", "Coastal", "Santa Cruz", "CA", true, false},
    {14, "Valley University", "Valley", "Fresno", "CA", true, false},
};

const char *const womenFirst[] = {"Emma", "Olivia", "Ava", "Sophia", "Mia", "Isabella", "Charlotte",
                                  "Amelia", "Harper", "Evelyn", "Abigail", "Ella", "Scarlett", "Grace",
                                  "Chloe", "Lily", "Aria", "Zoe", "Nora", "Hannah", "Maya", "Leah",
                                  "Ruby", "Ivy", "Sadie", "Quinn", "Jade", "Elena", "Clara", "Naomi"};
const char *const menFirst[] = {"Liam", "Noah", "Oliver", "Elijah", "James", "William", "Benjamin",
                                "Lucas", "Henry", "Mason", "Ethan", "Logan", "Jack", "Owen", "Leo",
                                "Caleb", "Isaac", "Ryan", "Nathan", "Dylan"};
const char *const lastNames[] = {
    "Smith", "Johnson", "Williams", "Brown", "Jones", "Garcia", "Miller", "Davis", "Rodriguez",
    "Martinez", "Hernandez", "Lopez", "Gonzalez", "Wilson", "Anderson", "Thomas", "Taylor", "Moore",
    "Jackson", "Martin", "Lee", "Perez", "Thompson", "White", "Harris", "Sanchez", "Clark", "Ramirez",
    "Lewis", "Robinson", "Walker", "Young", "Allen", "King", "Wright", "Scott", "Torres", "Nguyen",
    "Hill", "Flores", "O'Brien", "Muñoz", "Van der Berg", "McAllister"};

template <typename T, size_t N>
const T &pick(QRandomGenerator &rng, const T (&list)[N])
{
    return list[rng.bounded(int(N))];
}

QVariant orNull(const QString &text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

// A session of a seeded meet and the gymnasts it holds.
struct SessionPlan {
    int meet;
    const char *session;
    int eventId;
    int rotation; // index into the rotations made
    QStringList levels;
    int squads;
    int perSquad;
    bool men;
    bool college;
};

// Meet 3, "Collegiate Six 2024": six college teams in one session, rotating
// in Olympic order with two byes, so that every rotation has each apparatus
// once and two teams resting. Each team brings eight gymnasts; seven compete
// on an apparatus and the first six in its order count. It has a generator of
// its own, so the meets seeded before it stay as they were.
void seedCollegeSix(MeetStore &store)
{
    QRandomGenerator rng(20240302);
    auto insert = [&](const char *table, const FieldValues &values) {
        return store.insertRow(QString::fromLatin1(table), values);
    };
    insert("Meets", {{s("MeetID"), 3}, {s("Name"), s("Collegiate Six 2024")},
                     {s("Facility"), s("Harbor State Arena")}, {s("City"), s("Long Beach")}, {s("State"), s("CA")},
                     {s("Start_Date"), QDate(2024, 2, 17)}, {s("End_Date"), QDate(2024, 2, 17)},
                     {s("Director"), s("Morgan Ellis")}, {s("UseAgeDiv"), false}, {s("Num_Judges"), 2},
                     {s("Def_EventID"), 3}, {s("ScoreMethod"), 0}, {s("InternationalStyle"), false},
                     {s("NCAAMode"), true}, {s("UseDBonus"), false}, {s("UseJNBonus"), false},
                     {s("MeetCode"), s("CS24")}});
    insert("Gyms", {{s("GymID"), 15}, {s("Official Name"), s("Harbor State University")},
                    {s("Short Name"), s("Harbor State")}, {s("City"), s("Long Beach")}, {s("State"), s("CA")},
                    {s("Women"), true}, {s("Men"), false}, {s("MyGym"), false}, {s("Zone"), 1}});
    insert("Gyms", {{s("GymID"), 16}, {s("Official Name"), s("Northern University")},
                    {s("Short Name"), s("Northern")}, {s("City"), s("Eugene")}, {s("State"), s("OR")},
                    {s("Women"), true}, {s("Men"), false}, {s("MyGym"), false}, {s("Zone"), 2}});
    // Squad k starts k places further along vault, bye, bars, bye, beam, floor.
    const QString order = s("102034");
    FieldValues rotation = {{s("EventID"), 3}, {s("Name"), s("Six teams, two byes")}, {s("NumSquads"), 6},
                            {s("NumByes"), 2}};
    for (int k = 0; k < 6; ++k)
        rotation.append({QStringLiteral("Squad%1").arg(k + 1), order.mid(k) + order.left(k)});
    const QVariant rotationId = insert("Rotations", rotation);
    insert("Sessions", {{s("MeetID"), 3}, {s("Session"), s("1")}, {s("Desc"), s("Six teams")},
                        {s("SDate"), QDate(2024, 2, 17)}, {s("March_In"), QTime(18, 45)}, {s("EventID"), 3},
                        {s("NumFlights"), 1}, {s("RotationID"), rotationId}});

    const struct {
        int gym;
        const char *shortName;
        const char *code;
        const char *state;
        const char *city;
        QVariant teamND;
    } teams[] = {{11, "State", "STU", "CA", "Sacramento", QVariant()},
                 {12, "Tech", "TEC", "AZ", "Tempe", 0.0},
                 {13, "Coastal", "COA", "CA", "Santa Cruz", QVariant()},
                 {14, "Valley", "VAL", "CA", "Fresno", 0.0},
                 {15, "Harbor State", "HAR", "CA", "Long Beach", -0.2},
                 {16, "Northern", "NOR", "OR", "Eugene", QVariant()}};
    int num = 0;
    for (int squad = 0; squad < 6; ++squad) {
        const auto &team = teams[squad];
        insert("Attend", {{s("MeetID"), 3}, {s("GymID"), team.gym}, {s("Reg_Rcvd"), true}, {s("AutoCalc"), false},
                          {s("Short_Name"), s(team.shortName)}, {s("TeamND"), team.teamND}});
        for (int place = 1; place <= 8; ++place) {
            ++num;
            FieldValues v = {
                {s("MeetID"), 3}, {s("Num"), num}, {s("First_Name"), s(pick(rng, womenFirst))},
                {s("Last_Name"), s(pick(rng, lastNames))}, {s("Level"), s("D1")},
                {s("Birthday"), QDate(2004, 1, 1).addDays(int(rng.bounded(1400)))},
                {s("USAG"), QString::number(400000 + int(rng.bounded(500000)))}, {s("Session"), s("1")},
                {s("Gym"), team.gym}, {s("Team1"), s(team.code)}, {s("TSize"), s("AM")}, {s("Scratched"), false},
                {s("Events"), 3}, {s("USCitizen"), true}, {s("Country"), s("USA")}, {s("State"), s(team.state)},
                {s("Hometown"), s(team.city)}, {s("Squad"), QString(QChar(u'A' + squad))}, {s("Order"), place},
                {s("AAFlag"), place <= 3}, {s("TwoAttempts"), false}};
            for (int e = 1; e <= 4; ++e) {
                const int eventOrder = (place - 1 + (e - 1) * 3) % 8 + 1;
                if (eventOrder > 7)
                    continue;
                v.append({QStringLiteral("E%1Order").arg(e), eventOrder});
                v.append({QStringLiteral("E%1Flag").arg(e), eventOrder <= 6});
            }
            insert("Gymnasts", v);
        }
    }
}

} // namespace

std::unique_ptr<MeetStore> openOrCreate(const QString &address, const QString &alias)
{
    auto store = MeetStore::forAddress(address);
    if (store->backend() == StoreBackend::Sqlite)
        store->createDatabase(alias); // makes the folder too; a present file is kept
    store->connect();
    if (!store->aliasExists(alias))
        store->createDatabase(alias);
    store->openDatabase(alias);
    return store;
}

bool createSchema(MeetStore &store, bool force)
{
    if (!store.tableNames().isEmpty()) {
        if (!force)
            return false;
        store.dropAllTables();
    }
    MeetSchema::create(store);
    return true;
}

void seed(MeetStore &store)
{
    QRandomGenerator rng(20240301);
    StoreTransaction transaction(store);
    auto insert = [&](const char *table, const FieldValues &values) {
        return store.insertRow(QString::fromLatin1(table), values);
    };

    for (const auto &[code, name] : {std::pair{"USA", "United States"}, {"CAN", "Canada"}, {"MEX", "Mexico"}})
        insert("Countries", {{s("Country"), s(code)}, {s("FullCountry"), s(name)}});
    for (const auto &[code, name] : {std::pair{"AZ", "Arizona"}, {"CA", "California"}, {"NV", "Nevada"},
                                     {"OR", "Oregon"}, {"WA", "Washington"}})
        insert("States", {{s("State"), s(code)}, {s("FullState"), s(name)}, {s("APState"), s(name)}});
    for (const char *duty : {"Chief", "Panel A", "Panel B"})
        insert("JudgeDuties", {{s("Duty"), s(duty)}});
    for (const auto &[cat, type] : {std::pair{"Entry Fees", "I"}, {"Awards", "E"}, {"Judges", "E"}})
        insert("Category", {{s("Category"), s(cat)}, {s("Type"), s(type)}, {s("Include"), true}});

    // Event groups: an event of the store is a group of apparatus.
    struct GroupSeed {
        int id;
        const char *group;
        const char *levelName;
        QStringList titles;
        QStringList shorts;
        QStringList levels;
    };
    const QList<GroupSeed> groups = {
        {1, "Women", "Level", {"VAULT", "BARS", "BEAM", "FLOOR"}, {"VT", "UB", "BB", "FX"}, {"4", "5", "6", "7", "8"}},
        {2, "Men", "Level", {"FLOOR", "POMML", "RINGS", "VAULT", "PBARS", "HIBAR"},
         {"FX", "PH", "SR", "VT", "PB", "HB"}, {"5", "6", "7", "8"}},
        {3, "NCAA Women", "Div", {"VAULT", "BARS", "BEAM", "FLOOR"}, {"VT", "UB", "BB", "FX"}, {"D1"}},
    };
    for (const GroupSeed &g : groups) {
        FieldValues v = {{s("EventID"), g.id}, {s("Group"), s(g.group)}, {s("Level_Name"), s(g.levelName)},
                         {s("NumEvents"), int(g.titles.size())}, {s("TwoScore"), 0},
                         {s("NCAAScores"), 5}, {s("HighScoreLimit"), 20.0}, {s("LowScoreLimit"), 0.0}};
        for (int i = 0; i < g.titles.size(); ++i) {
            v.append({QStringLiteral("Event%1").arg(i + 1), g.titles[i]});
            v.append({QStringLiteral("Ev%1Short").arg(i + 1), g.shorts[i]});
        }
        store.insertRow(QStringLiteral("Events"), v);
        for (int i = 0; i < g.levels.size(); ++i) {
            const QString sort = QStringLiteral("%1").arg(i + 1, 3, 10, QLatin1Char('0'));
            store.insertRow(QStringLiteral("Levels"),
                            {{s("EventID"), g.id}, {s("Level"), g.levels[i]}, {s("LevelSort"), sort},
                             {s("TAMethod"), s("A")}, {s("StartingNum"), 100 * (i + 1)},
                             {s("UseDBonus"), g.id == 1}, {s("UseJNBonus"), g.id == 1}});
        }
    }

    insert("Meets", {{s("MeetID"), 1}, {s("Name"), s("Spring Classic 2024")},
                     {s("Facility"), s("Riverside Arena")}, {s("Address1"), s("400 Arena Way")},
                     {s("City"), s("Riverside")}, {s("State"), s("CA")}, {s("Zip"), s("92501")},
                     {s("Start_Date"), QDate(2024, 3, 1)}, {s("End_Date"), QDate(2024, 3, 3)},
                     {s("Director"), s("Dana Whitfield")}, {s("UseAgeDiv"), true}, {s("Num_Judges"), 4},
                     {s("Def_EventID"), 1}, {s("ScoreMethod"), 1}, {s("InternationalStyle"), false},
                     {s("NCAAMode"), false}, {s("UseDBonus"), true}, {s("UseJNBonus"), true},
                     {s("MeetCode"), s("SPR24")}, {s("Comp1"), false}});
    insert("Meets", {{s("MeetID"), 2}, {s("Name"), s("Winter Quad 2024")},
                     {s("Facility"), s("State University Pavilion")}, {s("City"), s("Sacramento")},
                     {s("State"), s("CA")}, {s("Start_Date"), QDate(2024, 1, 20)},
                     {s("End_Date"), QDate(2024, 1, 20)}, {s("Director"), s("Morgan Ellis")},
                     {s("UseAgeDiv"), false}, {s("Num_Judges"), 2}, {s("Def_EventID"), 3},
                     {s("ScoreMethod"), 0}, {s("InternationalStyle"), false}, {s("NCAAMode"), true},
                     {s("UseDBonus"), false}, {s("UseJNBonus"), false}, {s("MeetCode"), s("WQ24")}});

    for (const GymSeed &g : gyms) {
        insert("Gyms", {{s("GymID"), g.id}, {s("Official Name"), s(g.official)},
                        {s("Short Name"), s(g.shortName)}, {s("City"), s(g.city)}, {s("State"), s(g.state)},
                        {s("Women"), g.women}, {s("Men"), g.men}, {s("Rythmic"), false},
                        {s("Acro"), false}, {s("TNT"), false}, {s("MyGym"), g.id == 1},
                        {s("Zone"), 1 + g.id % 3}});
        const int meet = g.id <= 10 ? 1 : 2;
        // Neutral deductions are stored as the (negative) amount added to the team.
        QVariant nd;
        if (g.id == 3)
            nd = -0.2;
        else if (g.id == 7)
            nd = -0.1;
        else if (g.id == 12)
            nd = -0.5;
        else if (g.id % 2 == 0)
            nd = 0.0;
        insert("Attend", {{s("MeetID"), meet}, {s("GymID"), g.id}, {s("Short_Name"), s(g.shortName)},
                          {s("Reg_Rcvd"), true}, {s("AutoCalc"), false}, {s("TeamND"), nd}});
        insert("Coaches", {{s("CoachID"), g.id}, {s("GymID"), g.id}, {s("FirstName"), s(pick(rng, menFirst))},
                           {s("LastName"), s(pick(rng, lastNames))}, {s("State"), s(g.state)},
                           {s("U100"), true}});
        insert("CoachAttend", {{s("MeetID"), meet}, {s("CoachID"), g.id}, {s("USAGVerified"), true}});
    }
    insert("Budgets", {{s("MeetID"), 1}, {s("Category"), s("Entry Fees")}, {s("Budget"), 24500.0}});
    insert("Budgets", {{s("MeetID"), 1}, {s("Category"), s("Awards")}, {s("Budget"), 3200.5}});

    // Rotations: one character a rotation, the apparatus number, 0 a bye.
    struct RotationSeed {
        int eventId;
        const char *name;
        int byes;
        QStringList squads;
    };
    const QList<RotationSeed> rotations = {
        {1, "Women 5 squads", 1, {"12340", "23401", "34012", "40123", "01234"}},
        {1, "Women 4 squads", 0, {"1234", "2341", "3412", "4123"}},
        {2, "Men Olympic order", 0, {"123456", "234561", "345612", "456123", "561234", "612345"}},
        {3, "Quad meet", 0, {"1234", "2143", "3412", "4321"}},
    };
    QList<int> rotationIds;
    for (const RotationSeed &r : rotations) {
        FieldValues v = {{s("EventID"), r.eventId}, {s("Name"), s(r.name)},
                         {s("NumSquads"), int(r.squads.size())}, {s("NumByes"), r.byes}};
        for (int i = 0; i < r.squads.size(); ++i)
            v.append({QStringLiteral("Squad%1").arg(i + 1), r.squads[i]});
        rotationIds << store.insertRow(QStringLiteral("Rotations"), v).toInt();
    }

    const QList<SessionPlan> sessions = {
        {1, "1", 1, 0, {"4", "5"}, 5, 16, false, false},
        {1, "2", 1, 1, {"6", "7", "8"}, 4, 20, false, false},
        {1, "3", 2, 2, {"5", "6", "7", "8"}, 6, 14, true, false},
        {2, "1", 3, 3, {"D1"}, 4, 10, false, true},
    };
    const char *const descs[] = {"Levels 4-5", "Levels 6-8", "Men Levels 5-8", "Quad meet"};
    for (int i = 0; i < sessions.size(); ++i) {
        const SessionPlan &p = sessions[i];
        insert("Sessions", {{s("MeetID"), p.meet}, {s("Session"), s(p.session)}, {s("Desc"), s(descs[i])},
                            {s("SDate"), p.meet == 1 ? QDate(2024, 3, 1).addDays(i) : QDate(2024, 1, 20)},
                            {s("Open_Warmup"), QTime(8, 0)}, {s("Timed_Warmup"), QTime(8, 30)},
                            {s("March_In"), QTime(9, 15)}, {s("Awards"), QTime(12, 30)},
                            {s("EventID"), p.eventId}, {s("NumFlights"), 1},
                            {s("RotationID"), rotationIds[p.rotation]}});
    }

    int num = 100;
    for (const SessionPlan &p : sessions) {
        const int events = p.men ? 6 : 4;
        if (p.meet == 2)
            num = 0;
        for (int squad = 0; squad < p.squads; ++squad) {
            for (int order = 1; order <= p.perSquad; ++order) {
                ++num;
                const QString level = p.levels[(squad * p.perSquad + order - 1) * p.levels.size()
                                                / (p.squads * p.perSquad)];
                const int levelNo = level.toInt() ? level.toInt() : 10;
                const int gym = p.college ? 11 + squad : 1 + int(rng.bounded(10));
                const int age = p.college ? 18 + int(rng.bounded(4)) : levelNo + 3 + int(rng.bounded(4));
                const QDate birthday = QDate(2024, 3, 1).addYears(-age).addDays(-int(rng.bounded(365)));
                const bool specialist = p.men && rng.bounded(10) == 0;
                FieldValues v = {
                    {s("MeetID"), p.meet},
                    {s("Num"), num},
                    {s("First_Name"), s(p.men ? pick(rng, menFirst) : pick(rng, womenFirst))},
                    {s("Last_Name"), s(pick(rng, lastNames))},
                    {s("Level"), level},
                    {s("Birthday"), birthday},
                    {s("USAG"), QString::number(400000 + int(rng.bounded(500000)))},
                    {s("Session"), s(p.session)},
                    {s("Gym"), gym},
                    {s("TSize"), s(p.college ? "AM" : "CL")},
                    {s("Scratched"), !p.college && num % 97 == 0},
                    {s("Events"), p.eventId},
                    {s("USCitizen"), num % 41 != 0},
                    {s("Country"), s(num % 41 != 0 ? "USA" : "CAN")},
                    {s("State"), s(gyms[gym - 1].state)},
                    {s("Hometown"), s(gyms[gym - 1].city)},
                    {s("Squad"), QString(QChar(u'A' + squad))},
                    {s("Order"), order},
                    {s("AAFlag"), !specialist && (!p.college || order <= 3)},
                    {s("TwoAttempts"), false},
                };
                if (p.college) {
                    static const char *const codes[] = {"STU", "TEC", "COA", "VAL"};
                    v.append({s("Team1"), s(codes[squad])});
                } else {
                    v.append({s("Team1"), orNull(rng.bounded(5) ? level : QString())});
                    v.append({s("Team2"), orNull(rng.bounded(3) == 0 ? s(order % 2 ? "A" : "B") : QString())});
                }
                const int first = specialist ? 1 + int(rng.bounded(events)) : 1;
                for (int e = 1; e <= events; ++e) {
                    // The order on each apparatus turns with the apparatus.
                    int eventOrder = (order - 1 + (e - 1) * 3) % p.perSquad + 1;
                    bool competes = true;
                    bool counts = true;
                    if (specialist)
                        competes = e == first || e == first % events + 1;
                    if (p.college) {
                        competes = eventOrder <= 8;
                        counts = eventOrder <= 6;
                    }
                    if (!competes)
                        continue;
                    v.append({QStringLiteral("E%1Order").arg(e), eventOrder});
                    v.append({QStringLiteral("E%1Flag").arg(e), counts});
                }
                store.insertRow(QStringLiteral("Gymnasts"), v);
            }
        }
    }

    // Age groups: by ages for most levels, by birth dates for women's level 7.
    auto ageGroup = [&](const char *table, int eventId, const QString &level, const char *session,
                        int ageId, const char *name, int low, int high, QDate start = {}, QDate end = {}) {
        FieldValues v = {{s("EventID"), eventId}, {s("Level"), level}, {s("MeetID"), 1},
                         {s("AgeID"), ageId}, {s("Name"), s(name)}, {s("Use_Dates"), start.isValid()}};
        if (session)
            v.append({s("Session"), s(session)});
        if (start.isValid()) {
            v.append({s("Start_Date"), start});
            v.append({s("End_Date"), end});
        } else {
            v.append({s("Low_Age"), low});
            v.append({s("High_Age"), high});
        }
        insert(table, v);
    };
    for (const char *level : {"4", "5", "6"}) {
        ageGroup("AgeGrp", 1, s(level), nullptr, 1, "Junior", 6, 9);
        ageGroup("AgeGrp", 1, s(level), nullptr, 2, "Senior", 10, 99);
    }
    ageGroup("AgeGrp", 1, s("7"), nullptr, 1, "Child", 0, 0, QDate(2013, 1, 1), QDate(2016, 12, 31));
    ageGroup("AgeGrp", 1, s("7"), nullptr, 2, "Junior", 0, 0, QDate(2010, 1, 1), QDate(2012, 12, 31));
    ageGroup("AgeGrp", 1, s("7"), nullptr, 3, "Senior", 0, 0, QDate(1990, 1, 1), QDate(2009, 12, 31));
    ageGroup("AgeGrp", 1, s("8"), nullptr, 1, "Junior", 8, 12);
    ageGroup("AgeGrp", 1, s("8"), nullptr, 2, "Senior", 13, 99);
    for (const char *level : {"5", "6", "7", "8"}) {
        ageGroup("AgeGrp", 2, s(level), nullptr, 1, "Junior", 6, 11);
        ageGroup("AgeGrp", 2, s(level), nullptr, 2, "Senior", 12, 99);
    }
    ageGroup("SessAgeGrp", 1, s("8"), "2", 1, "8A", 8, 11);
    ageGroup("SessAgeGrp", 1, s("8"), "2", 2, "8B", 12, 13);
    ageGroup("SessAgeGrp", 1, s("8"), "2", 3, "8C", 14, 99);
    for (const GroupSeed &g : groups) {
        if (g.id == 3)
            continue;
        for (int i = 0; i < g.levels.size(); ++i) {
            insert("AgeDate", {{s("EventID"), g.id}, {s("Level"), g.levels[i]}, {s("MeetID"), 1},
                               {s("Age_Date"), g.id == 1 ? QDate(2023, 9, 1) : QDate(2024, 3, 1)},
                               {s("LevelSort"), QStringLiteral("%1").arg(i + 1, 3, 10, QLatin1Char('0'))}});
        }
    }
    insert("DefAges", {{s("EventID"), 1}, {s("Level"), s("4")}, {s("AgeID"), 1}, {s("Name"), s("Junior")},
                       {s("Low_Age"), 6}, {s("High_Age"), 9}, {s("Use_Dates"), false}});

    for (int j = 1; j <= 6; ++j) {
        insert("Judges", {{s("JudgeID"), j}, {s("FirstName"), s(pick(rng, womenFirst))},
                          {s("LastName"), s(pick(rng, lastNames))}, {s("Women"), true}, {s("Men"), j > 4},
                          {s("WRating"), s(j <= 2 ? "National" : "State")}, {s("State"), s("CA")}});
    }
    for (int e = 1; e <= 4; ++e) {
        insert("JudgePanels", {{s("MeetID"), 1}, {s("Session"), s("1")}, {s("EventNum"), e},
                               {s("JudgeID"), e}, {s("Duty"), s("Panel A")}});
    }

    seedCollegeSix(store);

    insert("Host", {{s("Name"), s("Riverside Gymnastics Academy")}, {s("City"), s("Riverside")},
                    {s("State"), s("CA")}, {s("Director"), s("Dana Whitfield")},
                    {s("EnableScoreboards"), true}, {s("LastMeet"), 1}, {s("TieBreak"), s("1")},
                    {s("CheckEvents"), true}, {s("PercentChoice"), 1}});
    transaction.commit();
}

SeedSummary seedSummary(MeetStore &store)
{
    auto count = [&](const char *table) {
        return store.queryNative(QStringLiteral("SELECT count(*) FROM %1")
                                     .arg(store.dialect().quoteName(QString::fromLatin1(table))))
            .value(0)
            .toInt();
    };
    SeedSummary s;
    s.meets = count("Meets");
    s.gyms = count("Gyms");
    s.gymnasts = count("Gymnasts");
    s.sessions = count("Sessions");
    s.rotations = count("Rotations");
    return s;
}

// ------------------------------------------------------------------ ScoreFeed

ScoreFeed::ScoreFeed(MeetStore &store, const FeedOptions &options) : m_store(store)
{
    m_meetId = options.meetId;
    if (m_meetId == 0) {
        QueryResult host = store.query(QStringLiteral("select LastMeet from Host"));
        m_meetId = host.value(0).toInt();
        if (m_meetId == 0)
            m_meetId = store.query(QStringLiteral("select min(MeetID) from Meets")).value(0).toInt();
    }
    QueryResult meet = store.queryNative(
        QStringLiteral("SELECT %1, %2, %3 FROM %4 WHERE %5 = ?")
            .arg(store.dialect().quoteName(QStringLiteral("Num_Judges")),
                 store.dialect().quoteName(QStringLiteral("UseDBonus")),
                 store.dialect().quoteName(QStringLiteral("UseJNBonus")),
                 store.dialect().quoteName(QStringLiteral("Meets")),
                 store.dialect().quoteName(QStringLiteral("MeetID"))),
        {m_meetId});
    if (meet.isEmpty()) {
        throw StoreError(StoreError::Kind::Database, store.backend(),
                         QStringLiteral("%1 store %2: there is no meet %3")
                             .arg(backendName(store.backend()), store.address())
                             .arg(m_meetId));
    }
    const int judges = meet.value(0).toInt();
    m_judges = judges >= 1 ? std::min(judges, 7) : 4;
    m_useDBonus = meet.value(1).toBool();
    m_useEBonus = meet.value(2).toBool();
    m_lastDt = store.query(QStringLiteral("select max(DT) as DT from ScoreQueue")).value(0).toDateTime();
    plan(options.session);
}

void ScoreFeed::plan(const QString &onlySession)
{
    const SqlDialect &d = m_store.dialect();
    QString sessionSql = QStringLiteral("select Session, EventID, RotationID from Sessions where MeetID = %1")
                             .arg(m_meetId);
    if (!onlySession.isEmpty())
        sessionSql += QStringLiteral(" and Session = ") + SqlDialect::quoteString(onlySession);
    sessionSql += QStringLiteral(" order by Session");
    QueryResult sessions = m_store.query(sessionSql);
    for (; !sessions.eof(); sessions.next()) {
        const QString session = sessions.value(QStringLiteral("Session")).toString();
        const int eventId = sessions.value(QStringLiteral("EventID")).toInt();
        const int numEvents = std::clamp(
            m_store.query(QStringLiteral("select NumEvents from Events where EventID = %1").arg(eventId))
                .value(0)
                .toInt(),
            0, 6);
        QStringList squadStrings;
        if (!sessions.value(QStringLiteral("RotationID")).isNull()) {
            QueryResult rot = m_store.query(QStringLiteral("select * from Rotations where RotationID = %1")
                                                .arg(sessions.value(QStringLiteral("RotationID")).toInt()));
            const int squads = std::clamp(rot.value(QStringLiteral("NumSquads")).toInt(), 0, 9);
            for (int k = 1; k <= squads; ++k)
                squadStrings << rot.value(QStringLiteral("Squad%1").arg(k)).toString();
        }
        QueryResult gymnasts = m_store.query(
            QStringLiteral("select * from Gymnasts where MeetID = %1 and Session = %2 and Scratched = FALSE "
                           "order by Squad, %3")
                .arg(m_meetId)
                .arg(SqlDialect::quoteString(session), d.quoteName(QStringLiteral("Order"))));
        // Per squad letter, per apparatus: (order, num) still to score.
        QHash<QString, QList<QPair<int, int>>> waiting;
        QSet<QString> squadLetters;
        for (; !gymnasts.eof(); gymnasts.next()) {
            const QString squad = gymnasts.value(QStringLiteral("Squad")).toString();
            squadLetters.insert(squad);
            for (int e = 1; e <= numEvents; ++e) {
                const QVariant order = gymnasts.value(QStringLiteral("E%1Order").arg(e));
                if (order.isNull() || !gymnasts.value(QStringLiteral("E%1Final").arg(e)).isNull())
                    continue;
                waiting[squad + QLatin1Char('/') + QString::number(e)].append(
                    {order.toInt(), gymnasts.value(QStringLiteral("Num")).toInt()});
            }
        }
        for (auto &list : waiting)
            std::sort(list.begin(), list.end());
        int rotationsCount = 0;
        for (const QString &sq : squadStrings)
            rotationsCount = std::max(rotationsCount, int(sq.size()));
        for (int r = 0; r < rotationsCount; ++r) {
            QList<QList<QPair<int, int>>> up;
            QList<int> upEvent;
            for (int k = 0; k < squadStrings.size(); ++k) {
                const int e = squadStrings[k].mid(r, 1).toInt();
                if (e < 1 || e > numEvents)
                    continue; // a bye
                const QString key = QString(QChar(u'A' + k)) + QLatin1Char('/') + QString::number(e);
                up << waiting.take(key);
                upEvent << e;
            }
            // Squads on different apparatus compete side by side.
            for (int i = 0;; ++i) {
                bool any = false;
                for (int k = 0; k < up.size(); ++k) {
                    if (i < up[k].size()) {
                        m_plan.append({up[k][i].second, upEvent[k]});
                        any = true;
                    }
                }
                if (!any)
                    break;
            }
        }
        // Whoever the rotation did not reach: apparatus by apparatus.
        QStringList rest = waiting.keys();
        std::sort(rest.begin(), rest.end(), [](const QString &a, const QString &b) {
            return a.section(QLatin1Char('/'), 1) + a < b.section(QLatin1Char('/'), 1) + b;
        });
        for (const QString &key : rest) {
            for (const auto &p : waiting[key])
                m_plan.append({p.second, key.section(QLatin1Char('/'), 1).toInt()});
        }
    }
}

bool ScoreFeed::publish(FeedScore *published)
{
    if (m_next >= m_plan.size())
        return false;
    const Entry entry = m_plan[m_next++];
    QueryResult g = m_store.query(QStringLiteral("select * from Gymnasts where MeetID = %1 and Num = %2")
                                      .arg(m_meetId)
                                      .arg(entry.num));
    if (g.isEmpty())
        return publish(published); // removed since the plan was made

    FeedScore f;
    f.meetId = m_meetId;
    f.num = entry.num;
    f.event = entry.event;
    f.eventId = g.value(QStringLiteral("Events")).toInt();
    f.session = g.value(QStringLiteral("Session")).toString();
    f.firstName = g.value(QStringLiteral("First_Name")).toString();
    f.lastName = g.value(QStringLiteral("Last_Name")).toString();
    f.level = g.value(QStringLiteral("Level")).toString();
    f.apparatus = m_store.query(QStringLiteral("select Event%1 from Events where EventID = %2")
                                    .arg(entry.event)
                                    .arg(f.eventId))
                      .value(0)
                      .toString();
    f.judges = m_judges;

    QRandomGenerator rng(quint32(m_meetId) * 1000003u + quint32(entry.num) * 101u + quint32(entry.event));
    const int levelNo = f.level.toInt() ? f.level.toInt() : 9;
    f.start = round3(2.0 + 0.35 * std::clamp(levelNo - 4, 0, 6) + rng.bounded(10) * 0.1);
    const double form = 7.2 + rng.bounded(2.3);
    std::vector<double> marks;
    for (int j = 0; j < m_judges; ++j) {
        double e = form + (int(rng.bounded(13)) - 6) * 0.05;
        e = std::clamp(std::round(e * 20.0) / 20.0, 5.0, 10.0);
        f.judge[j] = e;
        marks.push_back(e);
    }
    std::sort(marks.begin(), marks.end());
    if (marks.size() >= 4)
        marks = std::vector<double>(marks.begin() + 1, marks.end() - 1);
    double sum = 0;
    for (double m : marks)
        sum += m;
    f.bscore = round3(sum / double(marks.size()));
    const int deduction = int(rng.bounded(20));
    f.adjust = deduction == 0 ? 0.3 : deduction < 3 ? 0.1 : 0.0;
    f.dbonus = m_useDBonus ? int(rng.bounded(4)) * 0.1 : -99.0;
    f.ebonus = m_useEBonus ? int(rng.bounded(3)) * 0.1 : -99.0;
    f.score = round3(f.start + f.bscore - f.adjust + (m_useDBonus ? f.dbonus : 0.0)
                     + (m_useEBonus ? f.ebonus : 0.0));

    QDateTime now = QDateTime::currentDateTime();
    now.setTime(QTime(now.time().hour(), now.time().minute(), now.time().second(), now.time().msec()));
    if (m_lastDt.isValid() && now <= m_lastDt)
        now = m_lastDt.addMSecs(1);
    f.dt = now;
    m_lastDt = now;

    double aa = 0;
    bool anyFinal = false;
    const int numEvents = m_store.query(QStringLiteral("select NumEvents from Events where EventID = %1")
                                            .arg(f.eventId))
                              .value(0)
                              .toInt();
    for (int e = 1; e <= std::min(numEvents, 6); ++e) {
        const QVariant fin = e == f.event ? QVariant(f.score) : g.value(QStringLiteral("E%1Final").arg(e));
        if (!fin.isNull()) {
            aa = round3(aa + double(float(fin.toDouble())));
            anyFinal = true;
        }
    }

    FieldValues queue = {{QStringLiteral("MeetID"), f.meetId},   {QStringLiteral("EventID"), f.eventId},
                         {QStringLiteral("Event"), f.event},     {QStringLiteral("Session"), f.session},
                         {QStringLiteral("DT"), f.dt},           {QStringLiteral("Num"), f.num},
                         {QStringLiteral("Level"), f.level},     {QStringLiteral("Score"), f.score},
                         {QStringLiteral("Changed"), false},     {QStringLiteral("FName"), f.firstName},
                         {QStringLiteral("LName"), f.lastName},  {QStringLiteral("Adjust"), f.adjust},
                         {QStringLiteral("Start"), f.start},     {QStringLiteral("BScore"), f.bscore},
                         {QStringLiteral("DBonus"), f.dbonus},   {QStringLiteral("EBonus"), f.ebonus}};
    FieldValues gymnast = {{QStringLiteral("E%1Adj").arg(f.event), f.adjust},
                           {QStringLiteral("E%1Final").arg(f.event), f.score},
                           {QStringLiteral("E%1Start").arg(f.event), f.start},
                           {QStringLiteral("E%1BScore").arg(f.event), f.bscore},
                           {QStringLiteral("E%1DBonus").arg(f.event), f.dbonus},
                           {QStringLiteral("E%1EBonus").arg(f.event), f.ebonus},
                           {QStringLiteral("E%1SaveTime").arg(f.event), f.dt},
                           {QStringLiteral("AA"), anyFinal ? QVariant(aa) : QVariant()}};
    for (int j = 0; j < 7; ++j) {
        const bool used = j < f.judges;
        queue.append({QStringLiteral("Judge%1").arg(j + 1), used ? f.judge[j] : -99.0});
        gymnast.append({QStringLiteral("E%1S%2").arg(f.event).arg(j + 1), used ? QVariant(f.judge[j]) : QVariant()});
    }

    StoreTransaction transaction(m_store);
    f.dataId = m_store.insertRow(QStringLiteral("ScoreQueue"), queue).toInt();
    m_store.updateRows(QStringLiteral("Gymnasts"), gymnast,
                       {{QStringLiteral("MeetID"), f.meetId}, {QStringLiteral("Num"), f.num}});
    transaction.commit();
    if (published)
        *published = f;
    return true;
}

} // namespace kestra::DevStore
