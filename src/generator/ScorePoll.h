#pragma once

#include "outputs/DisplayLines.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>

namespace kestra {

class GeneratorContext;

// The application number under which this program marks the queue rows it
// has taken, in ScoreApps and QueueDone.
inline constexpr int kQueueAppId = 4;

// The texts of the four session boxes of one column: cboSession<s>, then
// cboSession<s>x, y and z.
using SessionBoxes = std::array<QString, 4>;

// The poll of the score queue for one session column: the oldest unhandled row
// of the event, joined to its gymnast's gym, in the sessions of the boxes (all
// sessions while the first box is empty), without the rows this program has
// marked. One line a clause, values written in literally.
QStringList ScoreQueueSql(int meetId, int eventId, int event, const SessionBoxes &sessions);

// The two poll timers' work: for each event of a session column, take the
// oldest waiting score into its EventSlot when the slot is free, mark it as
// taken, and put it up, hold it and blank it by the slot's deadlines. Side 1 is
// Timer1 with EventDisp1 and the controls ending in 1; side 2 is Timer3 with
// EventDisp2 and the controls ending in 2. Nothing here catches a failure: a
// store error leaves the tick and goes to the application-wide handler.
class ScorePoll {
public:
    explicit ScorePoll(GeneratorContext &context);

    // One tick of Timer1 (side 1) or Timer3 (side 2).
    void tick(int side);

    // What Start does to the team-on-event table: every cell -1, and the
    // number of events of each column (column 2 only in dual display).
    void resetTeams(int eventCount1, int eventCount2);
    // Notes that a competitor of `team` was just shown on `event`: the team
    // leaves every other event of that column.
    void NoteTeamOnEvent(int team, int event, int session);
    // The team last seen on an event of a column, -1 for none.
    int teamOnEvent(int event, int session) const;

    // The session box texts of a column as they stand.
    SessionBoxes sessionBoxes(int side) const;

private:
    void takeRows(int side, int meetId, int eventId, int numEvents);
    void showAndExpire(int side, int numEvents);
    void noteTeamOf(int num, int event, int side);
    std::int64_t now() const;

    GeneratorContext &m_context;
    DisplayLines m_lines;
    // [event - 1][side - 1]
    std::array<std::array<std::int32_t, 2>, 6> m_teamOnEvent{};
    std::array<int, 2> m_eventCount{};
};

} // namespace kestra
