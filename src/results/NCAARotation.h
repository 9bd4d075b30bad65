#pragma once

#include "results/NCAATeams.h"

#include <QString>
#include <QVariant>

#include <array>
#include <functional>

namespace kestra {

class ControlSet;
class MeetStore;
class TableCursor;
struct KestraSettings;

// The best scores of one event, highest first; 0.0 where none was found.
using NCAAScoreList = std::array<double, 6>;

// Puts `score` at the first place whose value is below it, moving that place
// and the ones after it down; the last falls off. A score that beats no place
// changes nothing.
void InsertScore(NCAAScoreList &list, double score);
// The sum of the first `n` values, rounded to three decimals after each
// addition. Any `n` outside 1 to 6 counts all six.
double SumBestScores(int n, const NCAAScoreList &list);

// The NCAA team table as the rotation moves it: which teams a Start follows,
// the apparatus each team is on in the rotation the operator picks, its
// lineup there and its totals, all read afresh from the meet database. It
// reads the main window as the window leaves it: the table components Meets,
// EventDisp1/2, Sessions and Rotations (which follows Sessions), the session
// boxes, chkDual and rgrpRotation, and the settings NCAATeam and NameFormat.
// Store failures are not caught here.
class NCAARotation {
public:
    struct Window {
        std::function<MeetStore &()> store;
        // A table component by name; nullptr while it is closed.
        std::function<TableCursor *(const QString &)> table;
        const ControlSet &controls;
        const KestraSettings &settings;
    };

    explicit NCAARotation(Window window);

    // At Start: the teams of panel 1's sessions, then of panel 2's in dual
    // display, six at most, each panel in the order of the gyms' short names.
    void LoadNCAATeams(NCAATeams &teams) const;
    // The event of each team in the current rotation: 0 for a bye, -1 when
    // its squad's rotation names an event the group does not have.
    void FindNCAAEvents(NCAATeams &teams) const;
    // Lineups, event scores and totals of every team.
    void RefreshNCAAScores(NCAATeams &teams) const;
    // A tick of Timer4: both of the above on a copy, so a failure half way
    // leaves the table as it was last shown.
    void refresh(NCAATeams &teams) const;

private:
    TableCursor *eventGroup(int panel) const;
    QVariant meetId() const;
    QString teamField() const;

    Window m_window;
};

} // namespace kestra
