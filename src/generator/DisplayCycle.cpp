#include "generator/DisplayCycle.h"

#include "generator/GeneratorContext.h"
#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"
#include "setup/KestraSettings.h"
#include "support/LogicalControl.h"

#include <QScopeGuard>

namespace kestra {

DisplayCycle::DisplayCycle(GeneratorContext &context) : m_context(context) {}

bool DisplayCycle::isChecked(const char *target) const
{
    const DisplayWriter *writer = m_context.checkedWriter();
    return writer && writer->targetName() == QLatin1String(target);
}

void DisplayCycle::showXmlOutcome(DeviceError result)
{
    // The label tells the last XML write only; nothing else touches it.
    if (LogicalControl *status = m_context.controls().find(QStringLiteral("lblStatus")))
        status->setText(result == DeviceErrors::Success ? QStringLiteral("Success") : QStringLiteral("FAILED"));
}

void DisplayCycle::timer2Tick()
{
    DisplayWriter *writer = m_context.checkedWriter();
    if (!writer || writer->kind() != TargetKind::Record)
        return;
    // A failed Barco or text file write is not reported here: the next tick
    // tries again with the block as it then stands.
    const DeviceError result = writer->sendRecord();
    if (writer->targetName() == QLatin1String("rdoXML"))
        showXmlOutcome(result);
}

void DisplayCycle::timer4Tick()
{
    if (m_refresh)
        m_refresh(m_teams);
    if (!m_context.settings().UseSingleNCAA) {
        SendNCAAAll();
        return;
    }
    auto skipEmpty = [this] {
        while (m_cycleIndex <= NCAATeams::kRows && m_teams.row(m_cycleIndex).isEmpty())
            ++m_cycleIndex;
    };
    skipEmpty();
    if (m_cycleIndex > NCAATeams::kRows) {
        m_cycleIndex = 1;
        skipEmpty();
    }
    if (m_cycleIndex > NCAATeams::kRows) {
        // No team at all: nothing goes out, and the cycle waits at the start.
        m_cycleIndex = 1;
        return;
    }
    SendNCAARow();
    ++m_cycleIndex;
}

void DisplayCycle::writeGroup(int group, const NCAATeamRecord &team)
{
    DisplayRecord &record = m_context.record();
    record.pack(layout::ncaaTeam(group), team.ShortName);
    record.pack(layout::ncaaEvent(group), team.EventName);
    for (int line = 1; line <= layout::kNcaaLineupLines; ++line) {
        record.pack(layout::ncaaLineupName(group, line), team.Lineup[std::size_t(line - 1)].name);
        record.pack(layout::ncaaLineupScore(group, line), team.Lineup[std::size_t(line - 1)].score);
    }
    record.pack(layout::ncaaEventTotal(group), team.EventScore);
    record.pack(layout::ncaaTeamTotal(group), team.TeamScore);
    for (int event = 1; event <= 6; ++event)
        record.pack(layout::ncaaEventScore(group, event), team.EventTotals[std::size_t(event - 1)]);
}

void DisplayCycle::sendNcaa()
{
    if (!isChecked("rdoDaktronics") && !isChecked("rdoWhiteWay"))
        return;
    // The blanking words on the success path too: that is how the operator
    // has always seen an NCAA failure reported.
    const DeviceError result = m_context.checkedWriter()->sendNCAA();
    if (result != DeviceErrors::Success)
        ShowDeviceError(m_context.prompt(), kErrorBlankingEventScore, result);
}

void DisplayCycle::SendNCAARow()
{
    m_context.record().clearNcaa();
    writeGroup(1, m_teams.row(m_cycleIndex));
    sendNcaa();
}

void DisplayCycle::SendNCAAAll()
{
    m_context.record().clearNcaa();
    for (int r = 1; r <= NCAATeams::kRows; ++r) {
        if (!m_teams.row(r).isEmpty())
            writeGroup(r, m_teams.row(r));
    }
    sendNcaa();
}

void DisplayCycle::btnClearClick()
{
    bool connectedHere = false;
    if (isChecked("rdoXpression") && m_xpression.isConnected && m_xpression.connect && !m_xpression.isConnected())
        connectedHere = m_xpression.connect();
    // Closed again also when a failure leaves the click.
    const auto closeAgain = qScopeGuard([&] {
        if (connectedHere && m_xpression.disconnect)
            m_xpression.disconnect();
    });

    m_context.record().clearAll();
    DisplayLines lines(m_context.record(), m_context);
    for (int side : {1, 2}) {
        for (int event = 1; event <= 6; ++event)
            lines.BlankEventLine(event, side);
    }
    for (int side : {1, 2}) {
        for (int event = 1; event <= 6; ++event)
            lines.FillNowUpLine(event, side, QString(), QString(), QString());
    }

    // Only the line routines above report failures; the rest is sent once and
    // its results are not looked at.
    DisplayWriter *writer = m_context.checkedWriter();
    if (writer && (isChecked("rdoDaktronics") || isChecked("rdoWhiteWay"))) {
        for (int page = 1; page <= layout::kLeaderPageCount; ++page)
            writer->sendLeaderPage(page);
        writer->sendNCAA();
        writer->sendMatrix();
    }
    if (writer && isChecked("rdoXpression")) {
        // The Xpression target rewrites all leader pages in one call.
        writer->sendLeaderPage(1);
    }
    if (writer && writer->kind() == TargetKind::Record) {
        const DeviceError result = writer->sendRecord();
        if (isChecked("rdoXML"))
            showXmlOutcome(result);
    }
}

} // namespace kestra
