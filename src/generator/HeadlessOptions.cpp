#include "generator/HeadlessOptions.h"

#include "results/ResultsPage.h"

#include "setup/SettingsDocument.h"
#include "setup/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>

namespace kestra {

namespace {

constexpr int MaxSessions = 4;
constexpr int SessionWidth = 3; // ScoreQueue.Session is a string of 3

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

// Kestra's key holds section Options alone; a value the program reads with
// a type or range it cannot take would silently read as its default, so the
// command line refuses it. Yes/no words become the stored 1 and 0.
QString checkSetting(SettingOverride &o)
{
    if (SettingsDocument::normalizeSection(o.section).compare(QLatin1String("Options"), Qt::CaseInsensitive) != 0)
        return QStringLiteral("only section Options holds Kestra's settings, not ") + quoted(o.section);
    enum Kind { Text, Number, Flag, Port, Address, Interface };
    struct Rule {
        const char *name;
        Kind kind;
        int low;
        int high;
    };
    static const Rule rules[] = {
        {"COMPort", Interface, 0, 0},    {"UDPPort", Port, 0, 65535},      {"IPAddr", Address, 0, 0},
        {"BaseAddr", Number, 0, 65535},  {"Interval", Number, 0, 99},      {"IntervalMax", Number, 0, 999},
        {"CycleRate", Number, 1, 99},    {"NameFormat", Number, 0, 3},     {"UseSingleNCAA", Flag, 0, 1},
        {"NCAATeam", Number, 0, 2},      {"MySQLServer", Text, 0, 0},      {"MySQLDatabase", Text, 0, 0},
        {"MySQLUser", Text, 0, 0},       {"MySQLPass", Text, 0, 0},        {"UseDaktronics", Flag, 0, 1},
        {"UseBarco", Flag, 0, 1},        {"UseWhiteWay", Flag, 0, 1},      {"UseFile", Flag, 0, 1},
        {"UseXML", Flag, 0, 1},          {"UseXpression", Flag, 0, 1},     {"NCAAMode", Flag, 0, 1},
        {"OutputFileName", Text, 0, 0},  {"STXETX", Flag, 0, 1}};
    QString name = o.name.compare(QLatin1String("ComPort"), Qt::CaseInsensitive) == 0 ? QStringLiteral("COMPort")
                                                                                       : o.name;
    const Rule *rule = nullptr;
    for (const Rule &r : rules) {
        if (name.compare(QLatin1String(r.name), Qt::CaseInsensitive) == 0)
            rule = &r;
    }
    const QString said = o.section + QLatin1Char('/') + o.name + QLatin1Char('=') + o.value;
    if (!rule)
        return quoted(o.section + QLatin1Char('/') + o.name) + QStringLiteral(" is not a setting of Kestra");
    const QString value = o.value.trimmed();
    switch (rule->kind) {
    case Text:
        return QString();
    case Number:
    case Port: {
        bool ok = false;
        const int n = value.toInt(&ok);
        if (!ok || n < rule->low || n > rule->high)
            return said + QStringLiteral(": a whole number from %1 to %2").arg(rule->low).arg(rule->high);
        o.value = QString::number(n);
        return QString();
    }
    case Flag: {
        static const QStringList yes = {QStringLiteral("1"), QStringLiteral("true"), QStringLiteral("yes"),
                                        QStringLiteral("on")};
        static const QStringList no = {QStringLiteral("0"), QStringLiteral("false"), QStringLiteral("no"),
                                       QStringLiteral("off")};
        if (yes.contains(value.toLower()))
            o.value = QStringLiteral("1");
        else if (no.contains(value.toLower()))
            o.value = QStringLiteral("0");
        else
            return said + QStringLiteral(": 1 or 0");
        return QString();
    }
    case Address: {
        // Digits and dots alone must make an IPv4 address; anything else a
        // host name, which the transport looks up in the background.
        static const QRegularExpression numeric(QStringLiteral("^[0-9.]+$"));
        static const QRegularExpression hostName(
            QStringLiteral("^(?=.{1,253}$)([A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?)(\\.[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?)*$"));
        const QStringList parts = value.split(QLatin1Char('.'));
        bool good = parts.size() == 4;
        for (const QString &part : parts) {
            bool ok = false;
            const int n = part.toInt(&ok);
            good = good && ok && part.size() <= 3 && n >= 0 && n <= 255;
        }
        if (!numeric.match(value).hasMatch())
            good = hostName.match(value).hasMatch();
        if (!good)
            return said + QStringLiteral(": an IPv4 address such as 127.0.0.1, or a host name");
        o.value = value;
        return QString();
    }
    case Interface: {
        static const QStringList names = {QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3"),
                                          QStringLiteral("COM4"), QStringLiteral("UDP")};
        if (names.contains(value.toUpper()))
            o.value = value.toUpper();
        else if (value.startsWith(QLatin1Char('/')) && value.size() > 1)
            o.value = value; // a serial device or a link to one
        else
            return said + QStringLiteral(": COM1 to COM4, UDP, or the path of a serial device such as /dev/ttyUSB0");
        return QString();
    }
    }
    return QString();
}

// Reads the options one by one; every failure is a message for the operator.
class Parser {
public:
    explicit Parser(const QStringList &arguments) : m_args(arguments) {}

    std::variant<HeadlessOptions, QString> run()
    {
        for (const QString &arg : m_args) {
            if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
                HeadlessOptions help;
                help.help = true;
                return help;
            }
            if (arg == QLatin1String("--version")) {
                HeadlessOptions version;
                version.version = true;
                return version;
            }
        }
        while (m_pos < m_args.size()) {
            if (!step())
                return m_error;
        }
        if (!finish())
            return m_error;
        return m_options;
    }

private:
    bool fail(const QString &message)
    {
        m_error = message;
        return false;
    }

    // The value of the option just read: "--opt value" or "--opt=value".
    bool takeValue(const QString &option, const std::optional<QString> &inline_, QString &value)
    {
        if (inline_) {
            value = *inline_;
        } else {
            if (m_pos >= m_args.size() || m_args.at(m_pos).startsWith(QLatin1String("--")))
                return fail(option + QStringLiteral(" needs a value"));
            value = m_args.at(m_pos++);
        }
        if (value.trimmed().isEmpty())
            return fail(option + QStringLiteral(" needs a value"));
        return true;
    }

    bool once(const QString &option)
    {
        if (m_seen.contains(option))
            return fail(option + QStringLiteral(" is given twice"));
        m_seen.insert(option);
        return true;
    }

    bool positive(const QString &option, const QString &text, int &out)
    {
        bool ok = false;
        const int value = text.trimmed().toInt(&ok);
        if (!ok || value < 1)
            return fail(option + QStringLiteral(": ") + quoted(text) + QStringLiteral(" is not a whole number above 0"));
        out = value;
        return true;
    }

    bool inRange(const QString &option, const QString &text, int low, int high, int &out)
    {
        bool ok = false;
        const int value = text.trimmed().toInt(&ok);
        if (!ok || value < low || value > high)
            return fail(QStringLiteral("%1: %2 is not a whole number from %3 to %4")
                            .arg(option, quoted(text))
                            .arg(low)
                            .arg(high));
        out = value;
        return true;
    }

    // A queue line, refused here rather than in the middle of a run.
    bool page(const QString &where, const QString &line)
    {
        if (const QString problem = ResultsPage::problemOf(line); !problem.isEmpty())
            return fail(where + QStringLiteral(": ") + problem);
        ++m_pageCount;
        m_options.pages << line;
        return true;
    }

    bool pagesFile(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return fail(QStringLiteral("--pages: cannot read ") + quoted(path) + QStringLiteral(": ") +
                        file.errorString());
        int number = 0;
        while (!file.atEnd()) {
            ++number;
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            if (!page(QStringLiteral("--pages %1 line %2").arg(path).arg(number), line))
                return false;
        }
        return true;
    }

    bool sessions(const QString &option, const QString &text, QStringList &out)
    {
        const QStringList parts = text.split(QLatin1Char(','));
        if (parts.size() > MaxSessions)
            return fail(option + QStringLiteral(": at most four sessions, got ") + QString::number(parts.size()));
        QStringList list;
        for (const QString &part : parts) {
            const QString session = part.trimmed();
            if (session.isEmpty())
                return fail(option + QStringLiteral(": an empty session in ") + quoted(text));
            if (session.size() > SessionWidth)
                return fail(option + QStringLiteral(": session ") + quoted(session) +
                            QStringLiteral(" is longer than 3 characters"));
            if (list.contains(session))
                return fail(option + QStringLiteral(": session ") + quoted(session) + QStringLiteral(" is given twice"));
            list.append(session);
        }
        out = list;
        return true;
    }

    bool events(const QString &option, const QString &text, HeadlessColumn &column)
    {
        std::array<bool, 6> ticked{};
        for (const QString &part : text.split(QLatin1Char(','))) {
            bool ok = false;
            const int event = part.trimmed().toInt(&ok);
            if (!ok || event < 1 || event > 6)
                return fail(option + QStringLiteral(": ") + quoted(part.trimmed()) +
                            QStringLiteral(" is not an event number from 1 to 6"));
            if (ticked[event - 1])
                return fail(option + QStringLiteral(": event ") + QString::number(event) +
                            QStringLiteral(" is given twice"));
            ticked[event - 1] = true;
        }
        column.events = ticked;
        column.eventsGiven = true;
        return true;
    }

    bool setting(const QString &text)
    {
        const qsizetype equals = text.indexOf(QLatin1Char('='));
        const QString path = equals < 0 ? text : text.left(equals);
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        if (equals < 0 || slash <= 0 || slash == path.size() - 1)
            return fail(QStringLiteral("--set: ") + quoted(text) + QStringLiteral(" is not Section/Name=Value"));
        SettingOverride o;
        o.section = path.left(slash);
        o.section.replace(QLatin1Char('/'), QLatin1Char('\\'));
        o.name = path.mid(slash + 1);
        o.value = text.mid(equals + 1);
        if (!SettingsDocument::isValidSection(o.section) || o.section.trimmed().isEmpty())
            return fail(QStringLiteral("--set: ") + quoted(path.left(slash)) + QStringLiteral(" is not a section name"));
        if (!SettingsDocument::isValidName(o.name))
            return fail(QStringLiteral("--set: ") + quoted(o.name) + QStringLiteral(" is not a value name"));
        if (const QString problem = checkSetting(o); !problem.isEmpty())
            return fail(QStringLiteral("--set: ") + problem);
        // A later --set of the same value wins, as it would on the key.
        std::erase_if(m_options.overrides, [&o](const SettingOverride &old) {
            return SettingsDocument::normalizeSection(old.section).compare(SettingsDocument::normalizeSection(o.section),
                                                                          Qt::CaseInsensitive) == 0 &&
                   old.name.compare(o.name, Qt::CaseInsensitive) == 0;
        });
        m_options.overrides.push_back(o);
        return true;
    }

    bool step()
    {
        QString arg = m_args.at(m_pos++);
        if (!arg.startsWith(QLatin1String("--")) || arg.size() == 2)
            return fail(QStringLiteral("unexpected argument ") + quoted(arg) + QStringLiteral(" (see --help)"));
        std::optional<QString> inlineValue;
        if (const qsizetype eq = arg.indexOf(QLatin1Char('=')); eq > 0) {
            inlineValue = arg.mid(eq + 1);
            arg = arg.left(eq);
        }
        auto flag = [&](bool &target) {
            if (inlineValue)
                return fail(arg + QStringLiteral(" takes no value"));
            if (!once(arg))
                return false;
            target = true;
            return true;
        };
        QString value;
        HeadlessColumn &first = m_options.columns[0];
        HeadlessColumn &second = m_options.columns[1];

        if (arg == QLatin1String("--dual"))
            return flag(m_options.dual);
        if (arg == QLatin1String("--ncaa"))
            return flag(m_options.ncaa);
        if (arg == QLatin1String("--locate"))
            return flag(m_options.locate);
        if (arg == QLatin1String("--results-only"))
            return flag(m_options.resultsOnly);
        if (arg == QLatin1String("--compose-page")) {
            if (inlineValue)
                return fail(arg + QStringLiteral(" takes KEY=VALUE words after it, not a value"));
            if (!once(arg))
                return false;
            m_options.compose = true;
            while (m_pos < m_args.size() && !m_args.at(m_pos).startsWith(QLatin1String("--"))) {
                const QString pick = m_args.at(m_pos++);
                if (pick.indexOf(QLatin1Char('=')) <= 0)
                    return fail(QStringLiteral("--compose-page: ") + quoted(pick) + QStringLiteral(" is not KEY=VALUE"));
                m_options.composePicks << pick;
            }
            return true;
        }
        if (arg == QLatin1String("--sample"))
            return flag(m_options.sample);
        if (arg == QLatin1String("--sample-only"))
            return flag(m_options.sampleOnly);
        if (arg == QLatin1String("--test-pattern"))
            return flag(m_options.testPattern);

        static const QStringList valued = {
            QStringLiteral("--store"),  QStringLiteral("--server"),    QStringLiteral("--meet"),
            QStringLiteral("--group"),  QStringLiteral("--sessions"),  QStringLiteral("--events"),
            QStringLiteral("--group2"), QStringLiteral("--sessions2"), QStringLiteral("--events2"),
            QStringLiteral("--target"), QStringLiteral("--set"),       QStringLiteral("--rotation"),
            QStringLiteral("--page"),   QStringLiteral("--pages"),     QStringLiteral("--page-seconds"),
            QStringLiteral("--leader-lines"), QStringLiteral("--leader-names")};
        if (!valued.contains(arg))
            return fail(QStringLiteral("unknown option ") + quoted(arg) + QStringLiteral(" (see --help)"));
        if (arg != QLatin1String("--set") && arg != QLatin1String("--page") && !once(arg))
            return false;
        if (!takeValue(arg, inlineValue, value))
            return false;

        if (arg == QLatin1String("--store")) {
            m_options.storeAddress = value.trimmed();
            return true;
        }
        if (arg == QLatin1String("--server")) {
            m_options.serverName = value.trimmed();
            return true;
        }
        if (arg == QLatin1String("--meet")) {
            int id = 0;
            if (!positive(arg, value, id))
                return false;
            m_options.meetId = id;
            return true;
        }
        if (arg == QLatin1String("--rotation")) {
            int n = 0;
            if (!positive(arg, value, n))
                return false;
            m_options.rotation = n;
            return true;
        }
        if (arg == QLatin1String("--group") || arg == QLatin1String("--group2")) {
            int id = 0;
            if (!positive(arg, value, id))
                return false;
            (arg.endsWith(QLatin1Char('2')) ? second : first).eventGroup = id;
            return true;
        }
        if (arg == QLatin1String("--sessions") || arg == QLatin1String("--sessions2"))
            return sessions(arg, value, (arg.endsWith(QLatin1Char('2')) ? second : first).sessions);
        if (arg == QLatin1String("--events") || arg == QLatin1String("--events2"))
            return events(arg, value, arg.endsWith(QLatin1Char('2')) ? second : first);
        if (arg == QLatin1String("--page"))
            return page(QStringLiteral("--page %1").arg(m_pageCount + 1), value.trimmed());
        if (arg == QLatin1String("--pages"))
            return pagesFile(value);
        if (arg == QLatin1String("--page-seconds"))
            return inRange(arg, value, 5, 99, m_options.pageSeconds);
        if (arg == QLatin1String("--leader-lines"))
            return inRange(arg, value, 4, 8, m_options.leaderLines);
        if (arg == QLatin1String("--leader-names"))
            return inRange(arg, value, 0, 3, m_options.leaderNames);
        if (arg == QLatin1String("--target")) {
            const auto target = HeadlessOptions::targetFromName(value);
            if (!target)
                return fail(QStringLiteral("--target: ") + quoted(value) + QStringLiteral(" is not one of ") +
                            HeadlessOptions::targetNames().join(QStringLiteral(", ")));
            m_options.target = target;
            return true;
        }
        return setting(value); // --set
    }

    bool finish()
    {
        if (m_options.compose &&
            (!m_options.pages.isEmpty() || m_options.resultsOnly || m_options.sample || m_options.sampleOnly))
            return fail(QStringLiteral(
                "--compose-page prints a line and ends: it takes no --page, --pages, --results-only or --sample"));
        if (m_options.resultsOnly && m_options.pages.isEmpty())
            return fail(QStringLiteral("--results-only needs a queue: --page or --pages"));
        if (m_options.locate && m_seen.size() + m_options.overrides.size() > 1)
            return fail(QStringLiteral("--locate takes no other option"));
        if (m_options.testPattern && !m_options.sample && !m_options.sampleOnly)
            return fail(QStringLiteral("--test-pattern needs --sample or --sample-only"));
        if (!m_options.storeAddress.isEmpty() && !m_options.serverName.isEmpty())
            return fail(QStringLiteral("give --store or --server, not both"));
        const HeadlessColumn &second = m_options.columns[1];
        if (!m_options.dual && (second.eventGroup || !second.sessions.isEmpty() || second.eventsGiven))
            return fail(QStringLiteral("--group2, --sessions2 and --events2 need --dual"));
        return true;
    }

    const QStringList &m_args;
    qsizetype m_pos = 0;
    HeadlessOptions m_options;
    QSet<QString> m_seen;
    QString m_error;
    int m_pageCount = 0;
};

} // namespace

std::variant<HeadlessOptions, QString> HeadlessOptions::parse(const QStringList &arguments)
{
    return Parser(arguments).run();
}

QStringList HeadlessOptions::targetNames()
{
    return {QStringLiteral("daktronics"), QStringLiteral("barco"), QStringLiteral("whiteway"),
            QStringLiteral("file"),       QStringLiteral("xml"),   QStringLiteral("xpression")};
}

std::optional<OutputTarget> HeadlessOptions::targetFromName(const QString &name)
{
    static const OutputTarget targets[] = {OutputTarget::Daktronics, OutputTarget::Barco, OutputTarget::WhiteWay,
                                           OutputTarget::File,       OutputTarget::XML,   OutputTarget::Xpression};
    QString key = name.trimmed().toLower();
    key.remove(QLatin1Char('-'));
    key.remove(QLatin1Char(' '));
    const qsizetype index = targetNames().indexOf(key);
    if (index < 0)
        return std::nullopt;
    return targets[index];
}

void HeadlessOptions::applyOverrides(SettingsDocument &document) const
{
    for (const SettingOverride &o : overrides)
        document.setValue(o.section, o.name, o.value);
}

QString HeadlessOptions::usage()
{
    return QStringLiteral(R"(Usage: kestra-headless [options]

Runs the display generator without windows: connects to the meet database,
makes the picks an operator would make in the main window, presses Start and
serves the run until SIGINT or SIGTERM, then Stop and the orderly close.
Operator messages and device errors are written to standard error, one line
each.

Meet database (one of; the server last chosen when neither is given):
  --store ADDRESS        a folder holding Marlowen.sqlite (absolute, ~/..., or
                         with a slash, relative to the current folder), or a
                         PostgreSQL address host[:port]
  --server NAME          a registered server, by its name

Selection (defaults: the meet the scoring product shows last, its default
event group, every session, every event):
  --meet ID              MeetID of the meet to follow
  --group EVENTID        event group of session column 1
  --sessions S[,S...]    up to four sessions of column 1, primary first
  --events 1,3,4         the events of column 1 to display (ticked boxes)
  --dual                 follow a second session column as well
  --group2, --sessions2, --events2
                         the same for column 2 (need --dual)
  --ncaa                 NCAA mode (needs --sessions)
  --rotation N           the NCAA rotation under way, from 1

Output:
  --target NAME          daktronics, barco, whiteway, file, xml or xpression;
                         the stored choice when absent
  --set Section/Name=Value
                         overrides a value of Kestra's settings (section
                         Options) for this run only, never stored; names and
                         ranges are checked; repeatable. For example:
                         --set Options/COMPort=UDP --set Options/UDPPort=40001
                         --set Options/IPAddr=127.0.0.1 --set Options/Interval=0

Results pages (the results window, cycling its queue on the leader pages
and the NCAA matrix; its Start follows the main window's):
  --page LINE            a queue line, as the results window shows it:
                         "[1][Vault][Events][VAULT][1]..." (repeatable, in
                         order); write one with --compose-page
  --pages FILE           queue lines, one a line; blank lines and lines
                         starting with # are skipped
  --page-seconds N       seconds a screen shows, 5 to 99 (default 5)
  --leader-lines N       rows a screen, 4 to 8 (default 8)
  --leader-names N       names in the rows: 0 "First Last", 1 "Last, First",
                         2 "F Last", 3 "Last" (default 0)
  --results-only         the results pages alone: the main window stays
                         stopped (no sessions or events needed)
  --compose-page KEY=VALUE...
                         prints the line the results window composes from
                         these picks, with its defaults for the rest, and ends:
                         meet=ID meet2=ID meet3=ID meet4=ID pct1..pct4=1-100
                         group=EVENTID event=NAME|N|AA|Team channel=1-3
                         title=TEXT levels=L,L ages=NAME,NAME sessions=S,S
                         gyms=GYMID,GYMID
                         places=N fa=0|1 ncaa=0|1 grid=0|1 twoattempts=0|1
                         exhib=0|1 count=N aa=N designate=gym|id|aa
                         team=1|2|3|none teamids=A,B

Sample pages (before a meet, to check the link and every field's place):
  --sample               Show Sample once on the chosen target before Start:
                         made-up competitors, leader pages and, with --ncaa,
                         NCAA groups and matrix; the run then goes on
  --sample-only          the same, then the orderly close instead of the run
  --test-pattern         with either: each field filled to its full width with
                         a text that names it ("Event Display Test Mode")

Other uses:
  --locate               lists the meet database servers found on this
                         machine and on the local network (DNS-SD,
                         _postgresql._tcp, for 2 seconds), one a line, and ends
  --version              the version and the maker's notice
  --help                 this text

Exit status: 0 after a stop by signal, 1 when the meet database could not be
used or the connection was given up, 2 for a mistake on the command line, 3
when Start refused the picks. With --sample-only: 0 once the sample is sent, 4
when a failure stopped it (the line before says why). With --locate: 0 after
the scan, 1 when the local network could not be searched (the reason is on
standard error).
)");
}

std::optional<SettingsStore> overlayKey(const SettingsStore &source, const QString &folder,
                                        const std::vector<SettingOverride> &overrides)
{
    if (!QDir().mkpath(folder))
        return std::nullopt;
    SettingsStore copy(QDir(folder).filePath(QFileInfo(source.filePath()).fileName()));
    // The key as it is now, parsed and written again: what cannot be read
    // reads as empty, as the program itself would see it.
    QSaveFile file(copy.filePath());
    if (!file.open(QIODevice::WriteOnly) || file.write(source.read().serialize()) < 0 || !file.commit())
        return std::nullopt;
    if (overrides.empty())
        return copy;
    const bool written = copy.update([&overrides](SettingsDocument &target) {
        for (const SettingOverride &o : overrides) {
            if (!target.setValue(o.section, o.name, o.value))
                return false;
        }
        return true;
    });
    if (!written)
        return std::nullopt;
    return copy;
}

} // namespace kestra
