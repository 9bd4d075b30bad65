#include "results/PageCycle.h"

#include "outputs/DeviceTransport.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"
#include "results/ResultsPage.h"

namespace kestra {

namespace {

bool isTarget(const DisplayWriter *writer, const char *name)
{
    return writer && writer->targetName() == QLatin1String(name);
}

} // namespace

PageCycle::PageCycle(DisplayRecord &record, OperatorPrompt &prompt, Hooks hooks, QObject *parent)
    : QObject(parent), m_record(record), m_prompt(prompt), m_hooks(std::move(hooks))
{
    m_timer.setObjectName(QStringLiteral("Timer1"));
    m_timer.setInterval(3000);
    connect(&m_timer, &QTimer::timeout, this, &PageCycle::Timer1Timer);
}

bool PageCycle::start(int periodSeconds)
{
    const QStringList lines = m_hooks.lines();
    if (lines.isEmpty())
        return false;
    for (int k = 1; k <= 4; ++k) {
        Channel &c = m_channels[std::size_t(k - 1)];
        c.PageDone = true;
        c.RowCursor = 0;
        c.PageRows.clear();
        c.NextLine = followingLine(lines, k, -1);
        c.CurrentLine = c.NextLine;
    }
    m_timer.setInterval(periodSeconds * 1000);
    m_timer.start();
    m_running = true;
    emit runningChanged(true);
    return true;
}

void PageCycle::stop()
{
    m_timer.stop();
    if (m_running) {
        m_running = false;
        emit runningChanged(false);
    }
}

int PageCycle::followingLine(const QStringList &lines, int k, int after) const
{
    // From just after `after` to the end, then from the start up to and
    // including it: a channel with one line finds that line again.
    const int count = int(lines.size());
    for (int step = 1; step <= count; ++step) {
        const int i = (after + step) % count;
        if (ResultsPage::channelOf(lines[i]) == k)
            return i;
    }
    return -1;
}

void PageCycle::Timer1Timer()
{
    // The timer stands through the whole tick, builds and boxes included; a
    // failure leaves it stopped and the cycle halted with Stop enabled.
    m_timer.stop();
    try {
        for (int k = 1; k <= 4; ++k)
            tickChannel(k);
    } catch (...) {
        if (m_hooks.failure)
            m_hooks.failure(std::current_exception());
        return;
    }
    if (m_running)
        m_timer.start();
}

void PageCycle::tickChannel(int k)
{
    Channel &c = m_channels[std::size_t(k - 1)];
    if (c.NextLine == -1)
        return;
    const QStringList lines = m_hooks.lines();
    if (c.PageDone) {
        c.RowCursor = 0;
        if (c.CurrentLine >= 0 && c.CurrentLine < lines.size())
            m_hooks.select(c.CurrentLine, false);
        c.CurrentLine = c.NextLine;
        m_hooks.select(c.CurrentLine, true);
        c.NextLine = followingLine(lines, k, c.CurrentLine);
        c.PageDone = false;
        c.PageRows = m_hooks.build(lines.value(c.CurrentLine));
    }
    const QString line = lines.value(c.CurrentLine);
    const QString title = QueueField(line, 2);
    const int rows = m_hooks.leaderLines ? m_hooks.leaderLines() : layout::kLeaderLinesShown;
    if (ResultsPage::isTeam(line)) {
        const TeamPageLine team = TeamPageLine::read(line);
        if (team.isMatrix())
            writeMatrixScreen(team.eventGroup, c, rows);
        else
            writeTeamScreen(k, title, c, rows);
    } else {
        writeIndividualScreen(k, title, QueueField(line, 4), c, rows);
    }
    if (c.RowCursor >= int(c.PageRows.size()))
        c.PageDone = true;
}

void PageCycle::writeIndividualScreen(int page, const QString &title, const QString &event, Channel &c, int rows)
{
    m_record.pack(layout::leaderTitle1(page), title.isEmpty() ? QStringLiteral("Event Results for:") : title);
    m_record.pack(layout::leaderTitle2(page),
                  event.toUpper() == QLatin1String("AA") ? QStringLiteral("ALL-AROUND") : event.toUpper());
    writeLeaderRows(page, c, rows, false);
}

void PageCycle::writeTeamScreen(int page, const QString &title, Channel &c, int rows)
{
    m_record.pack(layout::leaderTitle1(page), title.isEmpty() ? QStringLiteral("Team Results") : title);
    m_record.pack(layout::leaderTitle2(page), title.isEmpty() ? QString() : QStringLiteral("TEAM RANK"));
    writeLeaderRows(page, c, rows, true);
}

// The next `rows` rows of the channel's page, the lines past its end blank; a
// team's row names the team where a competitor's names the competitor.
void PageCycle::writeLeaderRows(int page, Channel &c, int rows, bool team)
{
    for (int line = 1; line <= rows; ++line) {
        if (c.RowCursor < int(c.PageRows.size())) {
            const ResultsRow &row = c.PageRows[std::size_t(c.RowCursor++)];
            m_record.pack(layout::leaderRank(page, line), row.Place);
            m_record.pack(layout::leaderName(page, line), team ? row.Team : row.Name);
            m_record.pack(layout::leaderGym(page, line), row.Team);
            m_record.pack(layout::leaderScore(page, line), row.Score);
        } else {
            for (const Field &f : {layout::leaderRank(page, line), layout::leaderName(page, line),
                                   layout::leaderGym(page, line), layout::leaderScore(page, line)})
                m_record.blank(f);
        }
    }
    sendLeader(page);
}

void PageCycle::writeMatrixScreen(int eventGroup, Channel &c, int rows)
{
    const EventGroupHeads heads = m_hooks.heads ? m_hooks.heads(eventGroup) : EventGroupHeads{};
    for (int i = 1; i <= layout::kMatrixEvents; ++i) {
        const bool present = i <= heads.numEvents;
        m_record.pack(layout::matrixTitle(i), present ? heads.titles[std::size_t(i - 1)].toUpper() : QString());
        m_record.pack(layout::matrixShortTitle(i),
                      present ? heads.shortTitles[std::size_t(i - 1)].toUpper() : QString());
    }
    for (int r = 1; r <= rows; ++r) {
        if (c.RowCursor < int(c.PageRows.size())) {
            const ResultsRow &row = c.PageRows[std::size_t(c.RowCursor++)];
            m_record.pack(layout::matrixRank(r), row.Place);
            m_record.pack(layout::matrixTeam(r), row.Team);
            m_record.pack(layout::matrixTeamScore(r), row.Score);
            for (int e = 1; e <= layout::kMatrixEvents; ++e) {
                const QString &score = row.Scores[std::size_t(e - 1)];
                m_record.pack(layout::matrixEventScore(r, e),
                              score == QLatin1String("0.000") ? QString() : score);
            }
        } else {
            m_record.blank({layout::matrixRowBase(r), 65});
        }
    }
    sendMatrix();
}

void PageCycle::sendLeader(int page)
{
    DisplayWriter *writer = m_hooks.writer ? m_hooks.writer() : nullptr;
    if (isTarget(writer, "rdoDaktronics") || isTarget(writer, "rdoWhiteWay") || isTarget(writer, "rdoXpression"))
        tell(writer->sendLeaderPage(page));
}

void PageCycle::sendMatrix()
{
    DisplayWriter *writer = m_hooks.writer ? m_hooks.writer() : nullptr;
    if (isTarget(writer, "rdoDaktronics") || isTarget(writer, "rdoWhiteWay"))
        tell(writer->sendMatrix());
}

void PageCycle::tell(unsigned int result)
{
    if (result != DeviceErrors::Success)
        ShowDeviceError(m_prompt, kErrorSendingEventScore, result);
}

void PageCycle::clear()
{
    const int rows = m_hooks.leaderLines ? m_hooks.leaderLines() : layout::kLeaderLinesShown;
    for (int page = 1; page <= layout::kLeaderPageCount; ++page) {
        m_record.blank(layout::leaderTitle1(page));
        m_record.blank(layout::leaderTitle2(page));
        for (int line = 1; line <= rows; ++line) {
            for (const Field &f : {layout::leaderRank(page, line), layout::leaderName(page, line),
                                   layout::leaderGym(page, line), layout::leaderScore(page, line)})
                m_record.blank(f);
        }
        DisplayWriter *writer = m_hooks.writer ? m_hooks.writer() : nullptr;
        if (isTarget(writer, "rdoDaktronics") || isTarget(writer, "rdoWhiteWay"))
            tell(writer->sendLeaderPage(page));
    }
}

} // namespace kestra
