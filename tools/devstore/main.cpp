// kestra-devstore: stands up a meet database for development and feeds it
// scores as the scoring product would.
#include "meetdb/DevStore.h"
#include "meetdb/MeetStore.h"
#include "meetdb/StoreAddress.h"
#include "support/Formatting.h"

#include <QCoreApplication>
#include <QStringList>

#include <csignal>
#include <cstdio>
#include <ctime>

using namespace kestra;

namespace {

enum ExitStatus {
    Done = 0,
    StoreFailure = 1,
    UsageError = 2,
    Refused = 3,
    NothingToFeed = 4,
};

volatile std::sig_atomic_t stopRequested = 0;

void onSignal(int)
{
    stopRequested = 1;
}

const char *const helpText = R"(Usage: kestra-devstore COMMAND ADDRESS [options]

Stands up a meet database for development and feeds it scores.

ADDRESS is where the store lives:
  /path/to/folder, ~/folder   an embedded SQLite store, the file Marlowen.sqlite
                              in that folder
  host[:port], role@host      a PostgreSQL server (port 5432 by default, role
                              $PGUSER or postgres), database marlowen

Commands:
  create ADDRESS [--force]
      Makes the whole schema (38 tables, their keys, indexes and references)
      and the DBVersion row 5.10.5.0, creating the folder or the database as
      needed. A store that already holds tables is left alone unless --force,
      which drops every table and creates them again.

  seed ADDRESS [--force]
      Writes a fixed sample, the same every time: three meets ("Spring
      Classic 2024", meet 1, with bonuses and ScoreMethod 1; "Winter Quad
      2024", meet 2, a college meet without bonus; "Collegiate Six 2024", meet
      3, six college teams rotating with two byes, for NCAA mode); women's
      (VAULT BARS BEAM FLOOR), men's (FLOOR POMML RINGS VAULT PBARS HIBAR) and
      college event groups with two-letter codes; 16 gyms with Attend rows and
      some team neutral deductions; 332 gymnasts over 5 sessions and 10 levels
      with birthdays, team codes, squads, apparatus orders and flags; rotations
      with squad strings and byes; age groups by ages and by dates, age dates;
      one Host row whose LastMeet is meet 1. Creates the schema first when the store is
      empty. A store that already holds meets is left alone unless --force,
      which recreates the schema before seeding.

  feed ADDRESS [--meet ID] [--session S] [--count N] [--every SECONDS]
      Publishes scores for the gymnasts of a meet (default: Host.LastMeet) that
      have none yet, as the scoring product does: in rotation order (each
      squad on the apparatus its squad string names, 0 being a bye, competitors
      by their apparatus order), one ScoreQueue row each with every field
      filled, DT increasing, Changed false, and in the same transaction the
      gymnast's fields E<n>S1..E<n>S7, E<n>Adj, E<n>Final, E<n>Start,
      E<n>BScore, E<n>DBonus, E<n>EBonus, E<n>SaveTime and AA.
      The scores follow this rule: the panel has Meets.Num_Judges judges (4
      when unset); BScore is the judges' average with the highest and lowest
      dropped when there are four or more; Start is the difficulty; Adjust a
      neutral deduction; Score = Start + BScore - Adjust + DBonus + EBonus,
      where the bonuses are 0.0 to 0.3 if the meet uses them and -99 (no
      value, not added) if it does not. Unused judges are -99 in the queue.
      Scores depend only on meet, competitor and apparatus.
      Without --every all scores are written at once; with it, one every
      SECONDS seconds. --count N stops after N scores, --session S keeps to one
      session. Ctrl-C (SIGINT) or SIGTERM stops cleanly between two scores.

Options:
  --alias NAME   use the database of another alias than Marlowen
                 (NAME.sqlite in the folder, database lower(NAME) on a server)
  --help         show this text

Exit status: 0 done (a feed stopped by Ctrl-C included), 1 the store failed
(the message says why), 2 wrong command line, 3 refused: the store already
holds tables (create) or meets (seed), 4 nothing left to feed.
)";

void out(const QString &line)
{
    std::fprintf(stdout, "%s\n", line.toLocal8Bit().constData());
    std::fflush(stdout);
}

void err(const QString &line)
{
    std::fprintf(stderr, "kestra-devstore: %s\n", line.toLocal8Bit().constData());
}

struct Arguments {
    QString command;
    QString address;
    QString alias = MeetSchema::defaultAlias();
    bool force = false;
    int meet = 0;
    QString session;
    int count = -1;
    double every = 0;
};

bool parse(const QStringList &args, Arguments &a, QString *error)
{
    QStringList positional;
    for (int i = 1; i < args.size(); ++i) {
        const QString &arg = args[i];
        auto value = [&](QString *text) {
            if (i + 1 >= args.size()) {
                *error = arg + QStringLiteral(" needs a value");
                return false;
            }
            *text = args[++i];
            return true;
        };
        QString v;
        bool ok = true;
        if (arg == QLatin1String("--force")) {
            a.force = true;
        } else if (arg == QLatin1String("--alias")) {
            if (!value(&a.alias))
                return false;
        } else if (arg == QLatin1String("--session")) {
            if (!value(&a.session))
                return false;
        } else if (arg == QLatin1String("--meet")) {
            if (!value(&v))
                return false;
            a.meet = v.toInt(&ok);
            if (!ok || a.meet <= 0) {
                *error = QStringLiteral("--meet wants a meet number, not \"%1\"").arg(v);
                return false;
            }
        } else if (arg == QLatin1String("--count")) {
            if (!value(&v))
                return false;
            a.count = v.toInt(&ok);
            if (!ok || a.count < 0) {
                *error = QStringLiteral("--count wants a number of scores, not \"%1\"").arg(v);
                return false;
            }
        } else if (arg == QLatin1String("--every")) {
            if (!value(&v))
                return false;
            a.every = v.toDouble(&ok);
            if (!ok || a.every < 0) {
                *error = QStringLiteral("--every wants seconds, not \"%1\"").arg(v);
                return false;
            }
        } else if (arg.startsWith(QLatin1String("--"))) {
            *error = QStringLiteral("unknown option %1").arg(arg);
            return false;
        } else {
            positional << arg;
        }
    }
    if (positional.size() != 2) {
        *error = QStringLiteral("give a command and an address");
        return false;
    }
    a.command = positional[0];
    a.address = positional[1];
    if (!QStringList{"create", "seed", "feed"}.contains(a.command)) {
        *error = QStringLiteral("unknown command %1").arg(a.command);
        return false;
    }
    const bool feedOption = a.meet || !a.session.isEmpty() || a.count >= 0 || a.every > 0;
    if (a.command != QLatin1String("feed") && feedOption) {
        *error = QStringLiteral("--meet, --session, --count and --every belong to feed");
        return false;
    }
    if (a.command == QLatin1String("feed") && a.force) {
        *error = QStringLiteral("--force belongs to create and seed");
        return false;
    }
    return true;
}

// Waits between two scores, a tenth of a second at a time, so a signal ends it quickly.
void pause(double seconds)
{
    const int slices = int(seconds * 10.0 + 0.5);
    for (int i = 0; i < slices && !stopRequested; ++i) {
        timespec t{0, 100 * 1000 * 1000};
        nanosleep(&t, nullptr);
    }
}

int create(const Arguments &a)
{
    auto store = DevStore::openOrCreate(a.address, a.alias);
    if (!DevStore::createSchema(*store, a.force)) {
        err(QStringLiteral("%1 already holds tables; nothing changed (--force drops and recreates them)")
                .arg(store->address()));
        return Refused;
    }
    out(QStringLiteral("Created %1 tables in %2, version %3")
            .arg(store->tableNames().size())
            .arg(store->address(), MeetSchema::formatVersion(MeetSchema::ExpectedVersion)));
    return Done;
}

int seed(const Arguments &a)
{
    auto store = DevStore::openOrCreate(a.address, a.alias);
    if (store->tableNames().isEmpty()) {
        DevStore::createSchema(*store, false);
    } else if (!store->tableExists(QStringLiteral("Meets"))
               || store->query(QStringLiteral("select count(*) from Meets")).value(0).toInt() > 0) {
        if (!a.force) {
            err(QStringLiteral("%1 already holds meets; nothing changed (--force recreates the schema first)")
                    .arg(store->address()));
            return Refused;
        }
        DevStore::createSchema(*store, true);
    }
    DevStore::seed(*store);
    const DevStore::SeedSummary s = DevStore::seedSummary(*store);
    out(QStringLiteral("Seeded %1: %2 meets, %3 gyms, %4 gymnasts, %5 sessions, %6 rotations")
            .arg(store->address())
            .arg(s.meets)
            .arg(s.gyms)
            .arg(s.gymnasts)
            .arg(s.sessions)
            .arg(s.rotations));
    return Done;
}

int feed(const Arguments &a)
{
    auto store = MeetStore::forAddress(a.address);
    store->connect();
    store->openDatabase(a.alias);
    DevStore::FeedOptions options;
    options.meetId = a.meet;
    options.session = a.session;
    DevStore::ScoreFeed feed(*store, options);
    if (feed.remaining() == 0) {
        err(QStringLiteral("meet %1%2 has no gymnast left to score")
                .arg(feed.meetId())
                .arg(a.session.isEmpty() ? QString() : QStringLiteral(" session ") + a.session));
        return NothingToFeed;
    }
    int written = 0;
    while (!stopRequested && (a.count < 0 || written < a.count)) {
        if (written > 0 && a.every > 0) {
            pause(a.every);
            if (stopRequested)
                break;
        }
        DevStore::FeedScore f;
        if (!feed.publish(&f))
            break;
        ++written;
        out(QStringLiteral("%1  DataID %2  meet %3 session %4  #%5 %6 %7  %8  %9")
                .arg(f.dt.toString(QStringLiteral("HH:mm:ss.zzz")))
                .arg(f.dataId)
                .arg(f.meetId)
                .arg(f.session)
                .arg(f.num)
                .arg(f.firstName, f.lastName, f.apparatus)
                .arg(f.score, 0, 'f', 3));
    }
    out(QStringLiteral("%1 %2 published, %3 left%4")
            .arg(written)
            .arg(written == 1 ? QStringLiteral("score") : QStringLiteral("scores"))
            .arg(feed.remaining())
            .arg(stopRequested ? QStringLiteral(" (stopped by signal)") : QString()));
    return Done;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    useCNumberConventions();
    const QStringList args = QCoreApplication::arguments();
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
        std::fputs(helpText, stdout);
        return Done;
    }
    Arguments a;
    QString error;
    if (!parse(args, a, &error)) {
        err(error + QStringLiteral(" (see --help)"));
        return UsageError;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    try {
        if (a.command == QLatin1String("create"))
            return create(a);
        if (a.command == QLatin1String("seed"))
            return seed(a);
        return feed(a);
    } catch (const StoreError &e) {
        const QString bareWord = e.kind() == StoreError::Kind::Transport
                                     ? StoreAddress::explainBareWord(a.address, e.reason())
                                     : QString();
        err(bareWord.isEmpty() ? e.message() : bareWord);
        return StoreFailure;
    }
}
