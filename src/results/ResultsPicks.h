#pragma once

#include <QString>
#include <QStringList>

namespace kestra {

class ResultsGraphic;

// The picks a page is composed from, as KEY=VALUE words (the run without
// windows: --compose-page): meet, meet2..4, pct1..4, group, event, channel,
// title, sessions, levels, ages, gyms, places, fa, ncaa, grid, twoattempts, exhib,
// count, aa, designate, team, teamids.
QStringList resultsPickKeys();

// Makes the picks in the window's controls as the operator would, in the
// window's own order; the first that cannot be made is the answer, in words.
QString applyResultsPicks(ResultsGraphic &window, const QStringList &picks);

} // namespace kestra
