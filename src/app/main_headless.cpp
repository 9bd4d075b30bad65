// kestra-headless: the generator without windows, for unattended stations and
// end-to-end tests. It makes the operator's picks from its command line,
// presses Start and serves the run until SIGINT or SIGTERM, then stops and
// closes in order. Operator messages and device errors are log lines.
#include "generator/HeadlessOptions.h"
#include "generator/HeadlessRun.h"
#include "generator/KestraMain.h"
#include "meetdb/RunConnection.h"
#include "meetdb/ServerDiscovery.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "setup/SettingsStore.h"
#include "support/ExeInfo.h"
#include "support/Formatting.h"
#include "support/OperatorPrompt.h"
#include "support/StopSignals.h"
#include "support/TickSource.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>

using namespace kestra;

namespace {

enum ExitStatus { Stopped = 0, StoreFailure = 1, UsageError = 2, Refused = 3, SampleFailed = 4 };

void say(const QString &line)
{
    std::fprintf(stderr, "kestra-headless: %s\n", line.toLocal8Bit().constData());
    std::fflush(stderr);
}

// Lists what a scan finds on standard output, one server a line.
int locate()
{
    NetworkDiscovery discovery;
    int status = Stopped;
    QObject::connect(&discovery, &ServerDiscovery::scanFinished, [&status](const ServerScan &scan) {
        for (const QString &server : scan.servers)
            std::fprintf(stdout, "%s\n", server.toLocal8Bit().constData());
        std::fflush(stdout);
        if (!scan.networkProblem.isEmpty()) {
            say(QStringLiteral("the local network could not be searched: ") + scan.networkProblem);
            status = StoreFailure;
        }
        QCoreApplication::quit();
    });
    discovery.startScan();
    QCoreApplication::exec();
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    useCNumberConventions();
    QCoreApplication::setApplicationName(QStringLiteral("kestra-headless"));

    const auto parsed = HeadlessOptions::parse(QCoreApplication::arguments().mid(1));
    if (const auto *error = std::get_if<QString>(&parsed)) {
        say(*error);
        return UsageError;
    }
    const HeadlessOptions &options = std::get<HeadlessOptions>(parsed);
    if (options.help) {
        std::fputs(HeadlessOptions::usage().toLocal8Bit().constData(), stdout);
        return Stopped;
    }
    if (options.version) {
        std::fputs(ExeInfo::ofThisBuild().versionText(QStringLiteral("kestra-headless")).toLocal8Bit().constData(),
                   stdout);
        return Stopped;
    }
    if (options.locate)
        return locate();
    // A signal that comes while connecting ends the run as soon as the loop runs.
    StopSignals stopSignals;
    if (!stopSignals.isInstalled()) {
        say(QStringLiteral("cannot install the signal handlers"));
        return StoreFailure;
    }

    // The run reads Kestra's key through a copy that carries the overrides;
    // what the close writes goes there too, so the real key stays as it is.
    QTemporaryDir runFolder;
    const SettingsStore marlowenKey = SettingsStore::marlowenKey();
    const auto kestraKey = runFolder.isValid()
                               ? overlayKey(SettingsStore::kestraKey(), runFolder.path(), options.overrides)
                               : std::nullopt;
    if (!kestraKey) {
        say(QStringLiteral("cannot make the run's copy of the settings in a temporary folder"));
        return StoreFailure;
    }

    LogPrompt prompt;
    RunServer server;
    server.address = options.storeAddress;
    server.serverName = options.serverName;
    QString error;
    const auto connection = connectForRun(server, marlowenKey, &error);
    if (!connection) {
        say(error.isEmpty() ? QStringLiteral("no connection to the meet database") : error);
        return StoreFailure;
    }

    SystemTickSource ticks;
    bool lost = false;
    bool stopping = false;
    KestraMain main(*connection, *kestraKey, marlowenKey, prompt, ticks, DisplayRecord::instance(),
                    DeviceTransport::instance(), [&lost] { lost = true; });
    HeadlessRun run(main, options);

    QObject::connect(&stopSignals, &StopSignals::stopRequested, &app, [&] {
        if (stopping)
            return;
        stopping = true;
        say(QStringLiteral("stopping"));
        run.finish();
        QCoreApplication::exit(Stopped);
    });
    QObject::connect(&main, &KestraMain::quitRequested, &app, [&] {
        // The connection was given up or lost: the station's supervisor
        // starts the program again. After a lost connection the orderly close
        // does not run: only the settings as last written carry over.
        say(lost ? QStringLiteral("the connection to the meet database was lost") : QStringLiteral("ending"));
        if (!lost)
            run.finish();
        QCoreApplication::exit(StoreFailure);
    });

    const HeadlessRun::Outcome outcome = run.begin();
    if (outcome == HeadlessRun::Outcome::GaveUp)
        return StoreFailure;
    if (outcome == HeadlessRun::Outcome::Refused) {
        say(run.lastError());
        run.finish();
        return Refused;
    }
    if (options.compose) {
        const std::optional<QString> line = run.composePage();
        if (line)
            std::fprintf(stdout, "%s\n", line->toUtf8().constData());
        else
            say(run.lastError());
        run.finish();
        return line ? Stopped : UsageError;
    }
    if (outcome == HeadlessRun::Outcome::SampleSent || outcome == HeadlessRun::Outcome::SampleFailed) {
        if (outcome == HeadlessRun::Outcome::SampleSent)
            say(run.describe());
        run.finish();
        return outcome == HeadlessRun::Outcome::SampleSent ? Stopped : SampleFailed;
    }
    say(run.describe());
    return QCoreApplication::exec();
}
