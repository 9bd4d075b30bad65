#pragma once

#include "results/PageCycle.h"
#include "results/ResultsPage.h"
#include "results/TieBreak.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace kestra {

class LocalCopies;
class MeetStore;

// What the page builds read besides the queue line: the meet database, the
// window's local copies, the host's tie-break rule and the window's name
// format at the time of the build, the apparatus of an event group, and the
// two-score event of the window's current event group.
struct PageBuildContext {
    MeetStore *remote = nullptr;
    LocalCopies *copies = nullptr;
    std::function<QString()> hostTieBreak;
    std::function<int()> nameFormat;
    std::function<EventGroupHeads(int eventGroup)> heads;
    std::function<int()> currentTwoScore;
};

// The places of one page as the host's rule gives them, walking the ordered
// entries: Count counts the competitors (with foreign athletes taking no
// place, the one after a foreign athlete takes no new count), Place follows
// the rule of Host.TieBreak where the score changes or repeats.
class PlaceRule {
public:
    PlaceRule(QString tieBreak, int places, bool noForeignPlace)
        : m_tieBreak(std::move(tieBreak)), m_places(places), m_noForeignPlace(noForeignPlace)
    {
    }
    // One competitor, whose score equals the one before or not: false when
    // the page is full and the walk stops. Places are checked only where the
    // score changes, so all who tie for the last place shown are shown.
    bool next(bool sameScore, const QString &mark, int status, bool citizen);
    int place() const { return m_place; }

private:
    QString m_tieBreak;
    int m_places = 0;
    bool m_noForeignPlace = false;
    int m_count = 0;
    int m_place = 0;
    bool m_lastCitizen = true;
    bool m_tiedCitizen = false;
    int m_lastStatus = 0;
};

// The rows of a queued page: who stands where, with which score. An event
// page over one meet is ordered by TEventTieBreak on a snapshot of the meet;
// over two to four meets the weighted scores are added on the server and
// ordered here; a team page by TTeamTieBreak.
class PageBuilds {
public:
    explicit PageBuilds(PageBuildContext context) : m_context(std::move(context)) {}
    virtual ~PageBuilds() = default;

    virtual ResultsRows BuildEventRows(const QString &line);
    virtual ResultsRows BuildTeamRows(const QString &line);

    // The statement of the combined route, one element a line.
    static QStringList CombinedResultsSql(const EventPageLine &page);

    TEventTieBreak &eventTieBreak() { return m_events; }
    TTeamTieBreak &teamTieBreak() { return m_teams; }

protected:
    ResultsRows SingleMeetRows(const EventPageLine &page);
    ResultsRows CombinedMeetRows(const EventPageLine &page);
    void snapshot(int meet, int eventNumber);

    PageBuildContext m_context;
    TEventTieBreak m_events;
    TTeamTieBreak m_teams;
};

} // namespace kestra
