#include "support/GeneratorFixture.h"

#include "meetdb/DevStore.h"
#include "meetdb/MeetSchema.h"
#include "outputs/Daktronics.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace kestra::test {

namespace {

const QStringList kTargets = {QStringLiteral("rdoDaktronics"), QStringLiteral("rdoBarco"),
                              QStringLiteral("rdoWhiteWay"),   QStringLiteral("rdoFile"),
                              QStringLiteral("rdoXML"),        QStringLiteral("rdoXpression")};

QString composed(const char *stem, int event, int side)
{
    return QLatin1String(stem) + QString::number(event) + QString::number(side);
}

// The field of a cursor's current row; null without one.
QVariant rowValue(const std::unique_ptr<TableCursor> &cursor, const QString &field)
{
    return cursor && cursor->isOpen() && cursor->hasRow() ? cursor->value(field) : QVariant();
}

} // namespace

DeviceError RecordingWriter::note(const QString &call)
{
    calls << call;
    return result;
}
DeviceError RecordingWriter::sendEventLine(int slot, int side)
{
    return note(QStringLiteral("event %1/%2").arg(slot).arg(side));
}
DeviceError RecordingWriter::sendNowUpLine(int slot, int side)
{
    return note(QStringLiteral("nowup %1/%2").arg(slot).arg(side));
}
DeviceError RecordingWriter::sendLeaderPage(int page) { return note(QStringLiteral("leader %1").arg(page)); }
DeviceError RecordingWriter::sendNCAA() { return note(QStringLiteral("ncaa")); }
DeviceError RecordingWriter::sendMatrix() { return note(QStringLiteral("matrix")); }
DeviceError RecordingWriter::sendRecord() { return note(QStringLiteral("record")); }

GeneratorFixture::GeneratorFixture() : m_dir(std::make_unique<TempDir>())
{
    m_store = DevStore::openOrCreate(m_dir->path());
    DevStore::createSchema(*m_store, false);
    addControls();
}

GeneratorFixture::GeneratorFixture(std::unique_ptr<MeetStore> store) : m_store(std::move(store))
{
    if (m_store->tableNames().isEmpty())
        MeetSchema::create(*m_store);
    addControls();
}

GeneratorFixture::~GeneratorFixture()
{
    closeTables();
}

void GeneratorFixture::closeTables()
{
    // Cursors go before the store they read.
    m_gymnasts.reset();
    m_eventDisp2.reset();
    m_eventDisp1.reset();
    m_meets.reset();
}

std::unique_ptr<MeetStore> GeneratorFixture::freshPostgresStore()
{
    const Endpoint pg = sharedPostgres();
    const QString alias = createPostgresDatabase(QStringLiteral("kt_gen"));
    auto store = MeetStore::forAddress(QStringLiteral("%1:%2").arg(pg.host).arg(pg.port));
    store->connect();
    store->openDatabase(alias);
    return store;
}

void GeneratorFixture::addControls()
{
    for (int side : {1, 2}) {
        for (int i = 1; i <= 6; ++i) {
            m_controls.add(composed("chkEvent", i, side)).setChecked(true);
            m_controls.add(composed("chkPause", i, side));
            m_controls.add(composed("EditNum", i, side));
            m_controls.add(composed("EditScore", i, side));
            m_controls.add(composed("EditWait", i, side));
        }
        const QString stem = QStringLiteral("cboSession") + QString::number(side);
        m_controls.add(stem);
        for (const char *suffix : {"x", "y", "z"})
            m_controls.add(stem + QLatin1String(suffix));
    }
    for (const char *name : {"chkDual", "chkNCAA", "chkPause", "chkDebugIO"})
        m_controls.add(QLatin1String(name));
    for (const QString &target : kTargets)
        m_controls.add(target);
    m_controls.add(QStringLiteral("lblStatus"));
    m_controls.add(QStringLiteral("btnClear"), QStringLiteral("Clear Events"));
}

TableCursor *GeneratorFixture::table(const QString &name)
{
    if (name == QLatin1String("Meets"))
        return m_meets.get();
    if (name == QLatin1String("EventDisp1"))
        return m_eventDisp1.get();
    if (name == QLatin1String("EventDisp2"))
        return m_eventDisp2.get();
    if (name == QLatin1String("Gymnasts"))
        return m_gymnasts.get();
    return nullptr;
}

int GeneratorFixture::numEvents(int side) const
{
    return rowValue(side == 1 ? m_eventDisp1 : m_eventDisp2, QStringLiteral("NumEvents")).toInt();
}

QString GeneratorFixture::eventTitle(int side, int eventNumber) const
{
    if (eventNumber < 1 || eventNumber > 6)
        return {};
    return rowValue(side == 1 ? m_eventDisp1 : m_eventDisp2, QStringLiteral("Event") + QString::number(eventNumber))
        .toString();
}

bool GeneratorFixture::isEventTicked(int eventNumber, int side) const
{
    const LogicalControl *box = m_controls.find(composed("chkEvent", eventNumber, side));
    return box && box->isChecked();
}

bool GeneratorFixture::isDual() const
{
    return m_controls(QStringLiteral("chkDual")).isChecked();
}

DisplayWriter *GeneratorFixture::checkedWriter() const
{
    for (const QString &target : kTargets) {
        if (m_controls(target).isChecked())
            return writers.find(target);
    }
    return nullptr;
}

bool GeneratorFixture::MeetsUseDBonus() const
{
    return rowValue(m_meets, QStringLiteral("UseDBonus")).toBool();
}

bool GeneratorFixture::MeetsUseJNBonus() const
{
    return rowValue(m_meets, QStringLiteral("UseJNBonus")).toBool();
}

bool GeneratorFixture::MeetsScoreMethod() const
{
    return rowValue(m_meets, QStringLiteral("ScoreMethod")).toInt() == 1;
}

void GeneratorFixture::addSmallMeet()
{
    MeetStore &s = *m_store;
    {
        StoreTransaction t(s);
        s.insertRow(QStringLiteral("Events"), {{"EventID", 1}, {"Group", "Women"}, {"NumEvents", 4}, {"NCAAScores", 5},
                                               {"Event1", "Vault"}, {"Event2", "Bars"}, {"Event3", "Beam"},
                                               {"Event4", "Floor"}});
        s.insertRow(QStringLiteral("Events"), {{"EventID", 2}, {"Group", "Men"}, {"NumEvents", 6}, {"NCAAScores", 5},
                                               {"Event1", "Floor"}, {"Event2", "Pommel"}, {"Event3", "Rings"},
                                               {"Event4", "Vault"}, {"Event5", "PBars"}, {"Event6", "HBar"}});
        s.insertRow(QStringLiteral("Levels"), {{"EventID", 1}, {"Level", "5"}, {"LevelSort", "005"}});
        s.insertRow(QStringLiteral("Levels"), {{"EventID", 2}, {"Level", "5"}, {"LevelSort", "005"}});
        s.insertRow(QStringLiteral("Meets"), {{"MeetID", 1}, {"Name", "Spring Open"}, {"Def_EventID", 1}});
        s.insertRow(QStringLiteral("Gyms"), {{"GymID", 1}, {"Short Name", "Riverside"}, {"Official Name", "Riverside Gymnastics"}});
        s.insertRow(QStringLiteral("Gyms"), {{"GymID", 2}, {"Short Name", "Summit"}, {"Official Name", "Summit Club"}});
        s.insertRow(QStringLiteral("Gyms"), {{"GymID", 3}, {"Short Name", "O'Neil Acro"}, {"Official Name", "O'Neil Acrobatics"}});
        const std::vector<std::tuple<int, QString, QString, QString, QVariant, int, QString>> gymnasts = {
            {101, "Ana", "Reyes", "1", 1, 1, "A"},   {102, "Bea", "Stone", "1", 2, 1, ""},
            {103, "Cara", "Lind", "2", 1, 1, ""},    {104, "Dee", "O'Brien", "O'B", 3, 1, ""},
            {105, "Eve", "Nogym", "1", QVariant(), 1, ""}, {201, "Finn", "Holt", "1", 2, 2, ""},
            {202, "Gus", "Marr", "2", 3, 2, ""}};
        for (const auto &[num, first, last, session, gym, events, team] : gymnasts) {
            s.insertRow(QStringLiteral("Gymnasts"),
                        {{"MeetID", 1}, {"Num", num}, {"First_Name", first}, {"Last_Name", last}, {"Level", "5"},
                         {"Events", events}, {"Session", session}, {"Gym", gym}, {"Team1", team},
                         {"Scratched", false}});
        }
        s.insertRow(QStringLiteral("ScoreApps"), {{"AppID", 2}, {"AppName", "Other"}});
        s.insertRow(QStringLiteral("ScoreApps"), {{"AppID", 4}, {"AppName", "Kestra"}});
        t.commit();
    }
    openTables();
}

void GeneratorFixture::openTables()
{
    closeTables();
    m_meets = m_store->openTable(QStringLiteral("Meets"), CursorOptions().orderBy(QStringLiteral("MeetID")));
    m_eventDisp1 = m_store->openTable(QStringLiteral("Events"), CursorOptions().orderBy(QStringLiteral("EventID")));
    m_eventDisp2 = m_store->openTable(QStringLiteral("Events"), CursorOptions().orderBy(QStringLiteral("EventID")));
    m_gymnasts = m_store->openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Num")));
    m_meets->first();
    m_eventDisp1->first();
    m_eventDisp2->first();
    m_gymnasts->first();
}

void GeneratorFixture::selectMeet(int meetId)
{
    if (!m_meets->locate(QStringLiteral("MeetID"), {meetId}))
        throw std::invalid_argument("no such meet");
}

void GeneratorFixture::selectEventGroup(int side, int eventId)
{
    TableCursor &events = side == 1 ? *m_eventDisp1 : *m_eventDisp2;
    if (!events.locate(QStringLiteral("EventID"), {eventId}))
        throw std::invalid_argument("no such event group");
}

int GeneratorFixture::addScore(int eventId, int event, const QString &session, int num, double score,
                               const QDateTime &dt)
{
    QDateTime when = dt;
    if (!when.isValid()) {
        when = m_nextDt;
        m_nextDt = m_nextDt.addSecs(7);
    }
    return m_store
        ->insertRow(QStringLiteral("ScoreQueue"),
                    {{"MeetID", 1}, {"EventID", eventId}, {"Event", event}, {"Session", session}, {"DT", when},
                     {"Num", num}, {"Level", "5"}, {"Score", score}, {"Changed", false},
                     {"FName", QStringLiteral("F%1").arg(num)}, {"LName", QStringLiteral("L%1").arg(num)},
                     {"Judge1", 9.4}, {"Judge2", 9.6}, {"Adjust", 0.1}, {"Start", 5.2}, {"BScore", score - 5.1},
                     {"DBonus", -99.0}, {"EBonus", -99.0}})
        .toInt();
}

QList<int> GeneratorFixture::markedRows()
{
    QueryResult r = m_store->query(QStringLiteral("select DataID from QueueDone where AppID = 4 order by DataID"));
    QList<int> ids;
    for (; !r.eof(); r.next())
        ids << r.value(QStringLiteral("DataID")).toInt();
    return ids;
}

bool GeneratorFixture::isMarked(int dataId)
{
    return markedRows().contains(dataId);
}

void GeneratorFixture::setSessions(int side, const QStringList &boxes)
{
    const QString stem = QStringLiteral("cboSession") + QString::number(side);
    const QStringList names = {stem, stem + QLatin1Char('x'), stem + QLatin1Char('y'), stem + QLatin1Char('z')};
    for (int i = 0; i < names.size(); ++i)
        m_controls(names[i]).setText(boxes.value(i));
}

void GeneratorFixture::tickOnly(int side, const QList<int> &events)
{
    for (int i = 1; i <= 6; ++i)
        m_controls(composed("chkEvent", i, side)).setChecked(events.contains(i));
}

void GeneratorFixture::setPaused(int event, int side, bool paused)
{
    m_controls(composed("chkPause", event, side)).setChecked(paused);
}

void GeneratorFixture::checkTarget(const QString &rdoName)
{
    for (const QString &target : kTargets)
        m_controls(target).setChecked(target == rdoName);
}

RecordingWriter &GeneratorFixture::recordTo(const QString &rdoName, TargetKind kind)
{
    auto &writer = static_cast<RecordingWriter &>(writers.add(std::make_unique<RecordingWriter>(rdoName, kind)));
    checkTarget(rdoName);
    return writer;
}

DisplayWriter &GeneratorFixture::daktronicsOverUdp(quint16 port)
{
    transport.applySettings(QStringLiteral("UDP"), 760, QStringLiteral("127.0.0.1"), QString::number(port));
    DisplayWriter &writer = writers.add(std::make_unique<DaktronicsWriter>(m_record, transport, *this, trace));
    checkTarget(QStringLiteral("rdoDaktronics"));
    return writer;
}

QStringList GeneratorFixture::statusRow(int event, int side) const
{
    return {m_controls(composed("EditNum", event, side)).text(), m_controls(composed("EditScore", event, side)).text(),
            m_controls(composed("EditWait", event, side)).text()};
}

} // namespace kestra::test
