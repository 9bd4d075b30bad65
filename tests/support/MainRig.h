#pragma once

#include "generator/KestraMain.h"
#include "meetdb/DevStore.h"
#include "meetdb/MeetConnection.h"
#include "meetdb/MeetStore.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"
#include "setup/SettingsStore.h"
#include "support/TestSupport.h"
#include "support/TickSource.h"

#include <QByteArray>
#include <QList>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace kestra::test {

// A stand-in writer for any target, noting its calls in order:
// "event 3/1" (slot 3, side 1), "nowup 1/2", "leader 2", "ncaa", "matrix", "record".
class RecordingWriter final : public DisplayWriter {
public:
    RecordingWriter(QString targetName, TargetKind kind) : m_name(std::move(targetName)), m_kind(kind) {}
    QString targetName() const override { return m_name; }
    TargetKind kind() const override { return m_kind; }
    DeviceError sendEventLine(int slot, int side) override { return note(QStringLiteral("event %1/%2").arg(slot).arg(side)); }
    DeviceError sendNowUpLine(int slot, int side) override { return note(QStringLiteral("nowup %1/%2").arg(slot).arg(side)); }
    DeviceError sendLeaderPage(int page) override { return note(QStringLiteral("leader %1").arg(page)); }
    DeviceError sendNCAA() override { return note(QStringLiteral("ncaa")); }
    DeviceError sendMatrix() override { return note(QStringLiteral("matrix")); }
    DeviceError sendRecord() override { return note(QStringLiteral("record")); }

    QStringList calls;
    DeviceError result = DeviceErrors::Success; // the answer of every call

private:
    DeviceError note(const QString &call)
    {
        calls << call;
        return result;
    }
    QString m_name;
    TargetKind m_kind;
};

// The main window's logic over a real meet database seeded by DevStore: an
// SQLite file copied from one seeded template, so each test has its own, or a
// fresh database on the shared PostgreSQL test server. With it come a
// settings folder of its own, a recording prompt, a fake clock, and the
// display link sent by UDP to a loopback socket the test reads.
class MainRig {
public:
    // `prepare` changes the fresh store before the window opens; `settings`
    // is the text of Kestra.ini beyond the UDP link the rig sets up. The
    // window's boxes go to `prompt` unless `windowPrompt` is given.
    explicit MainRig(const std::function<void(MeetStore &)> &prepare = {}, const QByteArray &settings = {},
                     StoreBackend backend = StoreBackend::Sqlite, OperatorPrompt *windowPrompt = nullptr);
    ~MainRig();

    // create() then show(); false when creation gave up.
    bool open();

    KestraMain &main() { return *m_main; }
    LogicalControl &operator()(const QString &name) { return m_main->controls()(name); }
    // A second connection to the same database, as the scoring product has.
    MeetStore &peer();
    QVariant scalar(const QString &sql);
    // Frames received from the display link so far (waits briefly for more
    // when asked for at least `atLeast`).
    QList<QByteArray> frames(int atLeast = 0);
    // The frames received since the last call.
    QList<QByteArray> newFrames(int atLeast = 0);
    // The numbers of the window's running timers, as "1 3".
    QString runningTimers();
    // A recording writer for the target, made the checked one.
    RecordingWriter &recordTo(OutputTarget target, TargetKind kind = TargetKind::Record);

    TempDir dir;
    QString dbFolder; // SQLite: the folder; PostgreSQL: the server address
    QString alias = MeetSchema::defaultAlias();
    QString configFolder;
    RecordingPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    int restarts = 0;
    int quits = 0;
    std::unique_ptr<MeetConnection> connection;

private:
    QUdpSocket m_board;
    QList<QByteArray> m_frames;
    int m_seen = 0;
    std::unique_ptr<MeetStore> m_peer;
    std::unique_ptr<KestraMain> m_main;
};

// A meet database with the development seed at `address` (folder or server).
std::unique_ptr<MeetStore> seedMeet(const QString &address);

// A test over the main window, created and shown on the seeded store
// (changed first by `prepare` when given).
class OpenMainWindow : public testing::Test {
protected:
    explicit OpenMainWindow(const std::function<void(MeetStore &)> &prepare = {}) : rig(prepare) {}
    void SetUp() override { ASSERT_TRUE(rig.open()); }
    MainRig rig;
};

} // namespace kestra::test
