#include "generator/HeadlessRun.h"

#include "generator/KestraMain.h"
#include "generator/MeetSelection.h"
#include "results/ResultsGraphic.h"
#include "results/ResultsPicks.h"
#include "support/LogicalControl.h"

#include <QList>

#include <exception>

namespace kestra {

namespace {

QList<int> tickedList(const std::array<bool, 6> &events)
{
    QList<int> out;
    for (int i = 0; i < 6; ++i) {
        if (events[i])
            out.append(i + 1);
    }
    return out;
}

} // namespace

HeadlessRun::HeadlessRun(KestraMain &main, HeadlessOptions options) : m_main(main), m_options(std::move(options)) {}

bool HeadlessRun::pick(bool done, const QString &what, const QString &why)
{
    if (!done)
        m_lastError = what + QStringLiteral(": ") + why;
    return done;
}

HeadlessRun::Outcome HeadlessRun::begin()
{
    if (!m_main.create())
        return Outcome::GaveUp;
    m_main.show();

    // In the operator's order: the meet resets both event groups and empties
    // the sessions; the dual box gives column 2; sessions size the rotation.
    const HeadlessOptions &o = m_options;
    MeetSelection &selection = m_main.selection();
    const auto picked = [this, &selection](bool done, const QString &what) {
        return pick(done, what, selection.lastError());
    };
    if (o.meetId && !picked(selection.selectMeet(*o.meetId), QStringLiteral("--meet %1").arg(*o.meetId)))
        return Outcome::Refused;
    if (o.compose)
        return Outcome::Running;
    if (o.resultsOnly) {
        if (o.target && !pick(m_main.selectTarget(*o.target), QStringLiteral("--target"), m_main.lastError()))
            return Outcome::Refused;
        return startResults() ? Outcome::Running : Outcome::Refused;
    }
    if (!picked(selection.setDual(o.dual), QStringLiteral("--dual")))
        return Outcome::Refused;
    for (int side = 1; side <= (o.dual ? 2 : 1); ++side) {
        const HeadlessColumn &column = o.columns[side - 1];
        const QString suffix = side == 2 ? QStringLiteral("2") : QString();
        if (column.eventGroup &&
            !picked(selection.selectEventGroup(side, *column.eventGroup),
                    QStringLiteral("--group%1 %2").arg(suffix).arg(*column.eventGroup)))
            return Outcome::Refused;
        if (!column.sessions.isEmpty() &&
            !picked(selection.setSessions(side, column.sessions),
                    QStringLiteral("--sessions%1 %2").arg(suffix, column.sessions.join(QLatin1Char(',')))))
            return Outcome::Refused;
        // Without --events every event of the group stays ticked, as the
        // window shows it.
        if (column.eventsGiven &&
            !picked(selection.setTickedEvents(side, tickedList(column.events)), QStringLiteral("--events") + suffix))
            return Outcome::Refused;
    }
    if (!picked(selection.setNcaa(o.ncaa), QStringLiteral("--ncaa")))
        return Outcome::Refused;
    if (o.rotation && !picked(selection.setRotation(*o.rotation), QStringLiteral("--rotation %1").arg(*o.rotation)))
        return Outcome::Refused;
    if (o.target && !pick(m_main.selectTarget(*o.target), QStringLiteral("--target"), m_main.lastError()))
        return Outcome::Refused;

    if (o.sample || o.sampleOnly) {
        m_main.controls()(QStringLiteral("chkEventTest")).operatorSetChecked(o.testPattern);
        // A failure has been told (one log line); a run goes on regardless.
        const bool sent = m_main.showSample();
        if (o.sampleOnly)
            return sent ? Outcome::SampleSent : Outcome::SampleFailed;
    }

    if (!m_main.start()) {
        // Start has told the operator why (a log line); the summary says it again.
        m_lastError = QStringLiteral("Start refused the picks");
        if (!m_main.lastError().isEmpty())
            m_lastError += QStringLiteral(": ") + m_main.lastError();
        return Outcome::Refused;
    }
    if (!o.pages.isEmpty() && !startResults())
        return Outcome::Refused;
    return Outcome::Running;
}

bool HeadlessRun::startResults()
{
    ResultsGraphic &results = m_main.openResults();
    results(QStringLiteral("spinTime")).operatorSetText(QString::number(m_options.pageSeconds));
    results(QStringLiteral("spinLeaderLines")).operatorSetText(QString::number(m_options.leaderLines));
    results(QStringLiteral("rgrpNameFormat")).operatorSelect(m_options.leaderNames);
    results.appendLines(m_options.pages);
    results(QStringLiteral("btnStart")).click();
    if (!results.cycle().isRunning()) {
        m_lastError = QStringLiteral("the results pages could not start");
        return false;
    }
    return true;
}

std::optional<QString> HeadlessRun::composePage()
{
    ResultsGraphic &results = m_main.openResults();
    if (const QString problem = applyResultsPicks(results, m_options.composePicks); !problem.isEmpty()) {
        m_lastError = QStringLiteral("--compose-page: ") + problem;
        return std::nullopt;
    }
    if (!results.ValidatePage()) {
        m_lastError = QStringLiteral("--compose-page: Please choose different meets");
        return std::nullopt;
    }
    return results.composeLine();
}

void HeadlessRun::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    // On the way out after a lost connection the store may fail again;
    // the close still runs and nothing is thrown past the run.
    try {
        if (m_main.runState() != KestraMain::RunState::Stopped)
            m_main.stop();
    } catch (const std::exception &failure) {
        m_lastError = QString::fromLocal8Bit(failure.what());
    }
    try {
        if (m_main.isCreated())
            m_main.close();
    } catch (const std::exception &failure) {
        m_lastError = QString::fromLocal8Bit(failure.what());
    }
}

QString HeadlessRun::describe() const
{
    return (m_options.sampleOnly ? QStringLiteral("sample sent: ") : QStringLiteral("running: ")) + describeSelection();
}

QString HeadlessRun::describeSelection() const
{
    ControlSet &c = m_main.controls();
    auto shown = [&c](const QString &name) {
        const LogicalControl *control = c.find(name);
        if (!control || control->currentIndex() < 0)
            return QStringLiteral("none");
        return control->items().value(control->currentIndex());
    };
    auto sessions = [&c](int side) {
        QStringList list;
        for (const QString &box : MeetSelection::sessionBoxes(side)) {
            if (const LogicalControl *control = c.find(box); control && !control->text().isEmpty())
                list.append(control->text());
        }
        // Additional boxes count only behind a primary one.
        if (list.isEmpty() || c(MeetSelection::sessionBoxes(side).first()).text().isEmpty())
            return QStringLiteral("all");
        return list.join(QLatin1Char(','));
    };
    auto events = [this](int side) {
        QStringList list;
        for (int e = 1; e <= m_main.selection().numEvents(side); ++e) {
            if (m_main.selection().isEventTicked(e, side))
                list.append(m_main.selection().eventTitle(side, e).trimmed());
        }
        return list.isEmpty() ? QStringLiteral("none") : list.join(QLatin1Char(' '));
    };
    QString line = m_options.resultsOnly
                       ? QStringLiteral("the results pages alone, meet \"%1\"").arg(shown(QStringLiteral("dblcboMeets")))
                       : QStringLiteral("meet \"%1\", event group \"%2\", sessions %3, events %4")
                             .arg(shown(QStringLiteral("dblcboMeets")), shown(QStringLiteral("dblcboEvent1")),
                                  sessions(1), events(1));
    if (m_main.isDual())
        line += QStringLiteral("; column 2: event group \"%1\", sessions %2, events %3")
                    .arg(shown(QStringLiteral("dblcboEvent2")), sessions(2), events(2));
    if (m_main.controls()(QStringLiteral("chkNCAA")).isChecked())
        line += QStringLiteral("; NCAA mode");
    if (const ResultsGraphic *results = m_main.results(); results && results->cycle().isRunning())
        line += QStringLiteral("; results pages: %1 line(s), %2 s a screen")
                    .arg(results->queue().size())
                    .arg(m_options.pageSeconds);
    const KestraSettings &s = m_main.settings();
    const OutputTarget target = m_main.checkedTarget();
    const int button = int(target) - int(OutputTarget::Daktronics);
    line += QStringLiteral("; target %1").arg(target == OutputTarget::None ? QStringLiteral("none")
                                                                          : KestraMain::targetCaptions().value(button));
    if (target == OutputTarget::File || target == OutputTarget::XML)
        line += s.OutputFileName.isEmpty() ? QStringLiteral(" (no file chosen)")
                                           : QStringLiteral(" to %1").arg(s.OutputFileName);
    else if (target == OutputTarget::Xpression)
        line += QStringLiteral(" through MySQL server \"%1\", database \"%2\"").arg(s.MySQLServer, s.MySQLDatabase);
    else if (s.COMPort == QLatin1String("UDP"))
        line += QStringLiteral(" by UDP to %1:%2").arg(s.IPAddr, s.UDPPort);
    else
        line += QStringLiteral(" on %1").arg(s.COMPort);
    line += QStringLiteral("; scores shown %1 to %2 s").arg(s.Interval).arg(s.IntervalMax);
    return line;
}

} // namespace kestra
