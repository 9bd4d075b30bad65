#pragma once

#include "outputs/BoardDecoder.h"
#include "outputs/DisplayRecord.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace kestra {

// A board's own copy of the display block, and what the board shows of it.
// Applying a frame writes its bytes into the copy and answers with the lines of
// every part of the board that now shows something else: an event line (with
// its gym and bonuses), a now-up line, a leader page, an NCAA group, the
// matrix. A frame that changes nothing shown answers with no lines.
//
// A send is often several frames (a Daktronics event line comes with its gym
// and bonuses), so what a spectator sees is the board once they have all
// arrived: settle() answers the lines of the parts that show something else
// than at the last settle(), one entry a part.
class BoardMirror {
public:
    BoardMirror();

    QStringList apply(const BoardFrame &frame);
    QStringList settle();

    const DisplayRecord &record() const { return m_record; }

    // What the board shows of each part, as one or more text lines.
    QString eventLine(int slot) const;
    QString nowUpLine(int slot) const;
    QStringList leaderPage(int page) const;
    QStringList ncaaGroup(int group) const;
    QStringList matrix() const;

private:
    QStringList render(int part) const;
    DisplayRecord m_record;
    std::vector<QStringList> m_settled; // by part, as last settled
    std::vector<bool> m_touched;        // by part, since the last settle
};

} // namespace kestra
