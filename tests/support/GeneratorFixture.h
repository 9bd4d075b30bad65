#pragma once

// The main window as the poll and the display cycle see it, built from real
// parts: a meet database (a fresh SQLite folder, or any store handed in), the
// table components over it, a hand-made control set with every control those
// routines read or write, a display block, a clock the test moves, the working
// settings, the twelve event slots, a recording prompt and the writers of the
// targets.

#include "generator/GeneratorContext.h"
#include "meetdb/MeetStore.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"
#include "setup/KestraSettings.h"
#include "support/LogicalControl.h"
#include "support/TestSupport.h"
#include "support/TickSource.h"

#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace kestra::test {

// What a recording target was asked to do, in order: "event 3/1" (slot 3,
// side 1), "nowup 1/2", "leader 2", "ncaa", "matrix", "record".
class RecordingWriter final : public DisplayWriter {
public:
    RecordingWriter(const QString &targetName, TargetKind kind) : m_name(targetName), m_kind(kind) {}
    QString targetName() const override { return m_name; }
    TargetKind kind() const override { return m_kind; }
    DeviceError sendEventLine(int slot, int side) override;
    DeviceError sendNowUpLine(int slot, int side) override;
    DeviceError sendLeaderPage(int page) override;
    DeviceError sendNCAA() override;
    DeviceError sendMatrix() override;
    DeviceError sendRecord() override;

    QStringList calls;
    // The answer of every call.
    DeviceError result = DeviceErrors::Success;

private:
    DeviceError note(const QString &call);
    QString m_name;
    TargetKind m_kind;
};

class GeneratorFixture : public GeneratorContext {
public:
    // A fresh SQLite meet database in a folder of its own, with the schema.
    GeneratorFixture();
    // Over a store already connected and opened (a PostgreSQL database, or a
    // second program's view of the same folder); the schema is made when the
    // database has no tables.
    explicit GeneratorFixture(std::unique_ptr<MeetStore> store);
    ~GeneratorFixture() override;

    // The address of a fresh PostgreSQL database on the test server, with its alias.
    static std::unique_ptr<MeetStore> freshPostgresStore();

    // GeneratorContext.
    MeetStore &store() override { return *m_store; }
    ControlSet &controls() override { return m_controls; }
    DisplayRecord &record() override { return m_record; }
    TickSource &ticks() override { return clock; }
    const KestraSettings &settings() const override { return options; }
    EventSlotTable &eventSlots() override { return slotTable; }
    TableCursor *table(const QString &name) override;
    int numEvents(int side) const override;
    QString eventTitle(int side, int eventNumber) const override;
    bool isEventTicked(int eventNumber, int side) const override;
    bool isDual() const override;
    int nameFormat() const override { return options.NameFormat; }
    DisplayWriter *checkedWriter() const override;
    OperatorPrompt &prompt() const override { return recorder; }
    bool MeetsUseDBonus() const override;
    bool MeetsUseJNBonus() const override;
    bool MeetsScoreMethod() const override;

    // A small meet: event group 1 "Women" (Vault, Bars, Beam, Floor), group 2
    // "Men" (Floor, Pommel, Rings, Vault, PBars, HBar); meet 1; gyms 1
    // "Riverside", 2 "Summit", 3 "O'Neil Acro"; in meet 1 the women 101 and 102
    // (session "1", gyms 1 and 2, 101 on team "A"), 103 (session "2", gym 1),
    // 104 (session "O'B", gym 3), 105 (session "1", no gym), and the men 201
    // (session "1", gym 2) and 202 (session "2", gym 3); applications 2 and 4
    // in ScoreApps. Then opens the tables on meet 1, group 1 in both columns.
    void addSmallMeet();
    // Opens Meets, EventDisp1, EventDisp2 (both over Events) and Gymnasts as the
    // window does at Start, each on its first row.
    void openTables();
    void selectMeet(int meetId);
    void selectEventGroup(int side, int eventId);

    // Appends a score of meet 1 to the queue, each later than the one before
    // unless `dt` is given; returns its DataID.
    int addScore(int eventId, int event, const QString &session, int num, double score = 9.5,
                 const QDateTime &dt = {});
    // The DataIDs marked for this program, in order.
    QList<int> markedRows();
    bool isMarked(int dataId);

    // The session boxes of a column: cboSession<s>, then x, y and z.
    void setSessions(int side, const QStringList &boxes);
    // chkEvent<i><s> for the listed events ticked, the others not.
    void tickOnly(int side, const QList<int> &events);
    void setPaused(int event, int side, bool paused);
    // Checks one target button, unchecking the others.
    void checkTarget(const QString &rdoName);
    // A recording writer for a target, made the checked one.
    RecordingWriter &recordTo(const QString &rdoName, TargetKind kind);
    // The Daktronics writer over UDP to 127.0.0.1:port, made the checked target.
    DisplayWriter &daktronicsOverUdp(quint16 port);

    // Edit texts of the status row of an event: EditNum, EditScore, EditWait.
    QStringList statusRow(int event, int side) const;

    FakeTickSource clock{100000};
    KestraSettings options;
    EventSlotTable slotTable{};
    mutable RecordingPrompt recorder;
    WriterRegistry writers;
    DeviceTransport transport;
    DebugTrace trace;

private:
    void addControls();
    void closeTables();

    std::unique_ptr<TempDir> m_dir;
    std::unique_ptr<MeetStore> m_store;
    ControlSet m_controls;
    DisplayRecord m_record;
    std::unique_ptr<TableCursor> m_meets;
    std::unique_ptr<TableCursor> m_eventDisp1;
    std::unique_ptr<TableCursor> m_eventDisp2;
    std::unique_ptr<TableCursor> m_gymnasts;
    QDateTime m_nextDt{QDate(2024, 3, 2), QTime(9, 0, 0, 125)};
};

} // namespace kestra::test
