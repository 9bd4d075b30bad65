#include "support/MainRig.h"

#include "generator/NowUpListeners.h"
#include "meetdb/DevStore.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace kestra::test {

namespace {

QString seededTemplate()
{
    static TempDir folder;
    static bool made = false;
    if (!made) {
        seedMeet(folder.path())->close();
        made = true;
    }
    return folder.file(QStringLiteral("Marlowen.sqlite"));
}

// One address and alias, no dialogs.
class AliasConnection final : public MeetConnection {
public:
    AliasConnection(QString address, QString alias) : m_address(std::move(address)), m_alias(std::move(alias)) {}
    bool connectAtStartup() override
    {
        m_store = MeetStore::forAddress(m_address);
        m_store->connect();
        m_store->openDatabase(m_alias);
        return true;
    }
    bool changeServer() override { return isConnected(); }
    bool isConnected() const override { return m_store && m_store->isOpen(); }
    MeetStore &store() override { return *m_store; }
    QString currentServerName() const override { return QStringLiteral("Test Server"); }

private:
    QString m_address;
    QString m_alias;
    std::unique_ptr<MeetStore> m_store;
};

} // namespace

std::unique_ptr<MeetStore> seedMeet(const QString &address)
{
    auto store = DevStore::openOrCreate(address);
    EXPECT_TRUE(DevStore::createSchema(*store, false));
    DevStore::seed(*store);
    return store;
}

MainRig::MainRig(const std::function<void(MeetStore &)> &prepare, const QByteArray &settings, StoreBackend backend,
                 OperatorPrompt *windowPrompt)
{
    configFolder = dir.file(QStringLiteral("config"));
    if (backend == StoreBackend::Sqlite) {
        dbFolder = dir.file(QStringLiteral("db"));
        QDir().mkpath(dbFolder);
        const QString file = dbFolder + QStringLiteral("/Marlowen.sqlite");
        EXPECT_TRUE(QFile::copy(seededTemplate(), file));
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    } else {
        const Endpoint server = sharedPostgres();
        alias = createPostgresDatabase(QStringLiteral("kt_main"));
        dbFolder = QStringLiteral("%1:%2").arg(server.host).arg(server.port);
        EXPECT_TRUE(DevStore::createSchema(peer(), false));
        DevStore::seed(peer());
    }
    if (prepare)
        prepare(peer());

    EXPECT_TRUE(m_board.bind(QHostAddress::LocalHost, 0));
    QObject::connect(&m_board, &QUdpSocket::readyRead, [this] {
        while (m_board.hasPendingDatagrams()) {
            QByteArray datagram(int(m_board.pendingDatagramSize()), '\0');
            m_board.readDatagram(datagram.data(), datagram.size());
            m_frames << datagram;
        }
    });
    QDir().mkpath(configFolder);
    QFile ini(configFolder + QStringLiteral("/Kestra.ini"));
    EXPECT_TRUE(ini.open(QIODevice::WriteOnly));
    QByteArray text = "[Options]\n";
    const QList<std::pair<QByteArray, QByteArray>> link = {
        {"ComPort", "UDP"}, {"IPAddr", "127.0.0.1"}, {"UDPPort", QByteArray::number(m_board.localPort())}};
    for (const auto &[name, value] : link) {
        if (!settings.toLower().contains(name.toLower() + '='))
            text += name + '=' + value + '\n';
    }
    ini.write(text + settings);
    ini.close();

    if (backend == StoreBackend::Sqlite)
        connection = std::make_unique<DirectConnection>(dbFolder, QStringLiteral("Test Server"));
    else
        connection = std::make_unique<AliasConnection>(dbFolder, alias);
    m_main = std::make_unique<KestraMain>(*connection, SettingsStore::kestraKey(configFolder),
                                          SettingsStore::marlowenKey(configFolder),
                                          windowPrompt ? *windowPrompt : prompt, ticks, record,
                                          transport, [this] { ++restarts; });
    QObject::connect(m_main.get(), &KestraMain::quitRequested, [this] { ++quits; });
    // Free ports: tests run side by side.
    m_main->listeners().setPorts(0, 0);
}

MainRig::~MainRig()
{
    m_main.reset();
    m_peer.reset();
}

bool MainRig::open()
{
    if (!m_main->create())
        return false;
    m_main->show();
    return true;
}

MeetStore &MainRig::peer()
{
    if (!m_peer) {
        m_peer = MeetStore::forAddress(dbFolder);
        m_peer->connect();
        m_peer->openDatabase(alias);
    }
    return *m_peer;
}

QVariant MainRig::scalar(const QString &sql)
{
    QueryResult result = peer().query(sql);
    result.first();
    return result.hasRow() ? result.value(0) : QVariant();
}

QList<QByteArray> MainRig::frames(int atLeast)
{
    // Datagrams already sent are read once the loop runs.
    waitUntil([&] { return atLeast > 0 && m_frames.size() >= atLeast; },
              std::chrono::milliseconds(atLeast > 0 ? 2000 : 20));
    return m_frames;
}

QList<QByteArray> MainRig::newFrames(int atLeast)
{
    const QList<QByteArray> fresh = frames(atLeast > 0 ? m_seen + atLeast : 0).mid(m_seen);
    m_seen = int(m_frames.size());
    return fresh;
}

QString MainRig::runningTimers()
{
    QStringList running;
    for (int t = 1; t <= 4; ++t) {
        if (m_main->timer(t).isActive())
            running << QString::number(t);
    }
    return running.join(QLatin1Char(' '));
}

RecordingWriter &MainRig::recordTo(OutputTarget target, TargetKind kind)
{
    const QString name = KestraMain::targetButtons()[int(target) - int(OutputTarget::Daktronics)];
    auto &writer = static_cast<RecordingWriter &>(m_main->writers().add(std::make_unique<RecordingWriter>(name, kind)));
    EXPECT_TRUE(m_main->selectTarget(target));
    return writer;
}

} // namespace kestra::test
