#pragma once

#include "results/NCAATeams.h"

#include <QString>

#include <functional>

namespace kestra {

class DisplayWriter;
class GeneratorContext;

// The clockwork between the display block and the targets that are not told
// line by line: the whole block to a record target every 2 seconds (Timer2),
// the NCAA team blocks every CycleRate seconds (Timer4), and "Clear Events",
// which blanks the board without touching the generator's slots or queue.
class DisplayCycle {
public:
    explicit DisplayCycle(GeneratorContext &context);

    // Timer2: Barco, text file and XML file targets get the block as it stands.
    void timer2Tick();
    // Timer4: refresh the team table, then all six groups, or one team a tick
    // when UseSingleNCAA is set.
    void timer4Tick();
    // The row NCAACycleIndex into NCAA group 1, and sent.
    void SendNCAARow();
    // Every non-empty row r into NCAA group r, and sent; empty rows leave gaps.
    void SendNCAAAll();
    // "Clear Events": blank the whole board and send every part of it.
    void btnClearClick();

    // What Start does: the single-team cycle begins at row 1.
    void startRun() { m_cycleIndex = 1; }
    int NCAACycleIndex() const { return m_cycleIndex; }
    void setNCAACycleIndex(int index) { m_cycleIndex = index; }

    NCAATeams &teams() { return m_teams; }
    const NCAATeams &teams() const { return m_teams; }
    // Reads the team table afresh from the meet database; runs first on every
    // tick of Timer4. Its failures leave the tick. None by default.
    void setTeamsRefresh(std::function<void(NCAATeams &)> refresh) { m_refresh = std::move(refresh); }

    // The Xpression target's database connection, which "Clear Events"
    // opens for itself when it is not open, and closes again afterwards.
    struct XpressionLink {
        std::function<bool()> isConnected;
        std::function<bool()> connect; // true when connected
        std::function<void()> disconnect;
    };
    void setXpressionLink(XpressionLink link) { m_xpression = std::move(link); }

private:
    void writeGroup(int group, const NCAATeamRecord &team);
    void sendNcaa();
    void showXmlOutcome(unsigned int result);
    bool isChecked(const char *target) const;

    GeneratorContext &m_context;
    NCAATeams m_teams;
    int m_cycleIndex = 1;
    std::function<void(NCAATeams &)> m_refresh;
    XpressionLink m_xpression;
};

} // namespace kestra
