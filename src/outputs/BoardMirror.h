#pragma once

#include "outputs/BoardDecoder.h"
#include "outputs/DisplayRecord.h"

#include <QString>
#include <QStringList>

namespace kestra {

// A board's own copy of the display block, and what the board shows of it.
// Applying a frame writes its bytes into the copy and answers with the lines of
// every part of the board that now shows something else: an event line (with
// its gym and bonuses), a now-up line, a leader page, an NCAA group, the
// matrix. A frame that changes nothing shown answers with no lines.
class BoardMirror {
public:
    QStringList apply(const BoardFrame &frame);

    const DisplayRecord &record() const { return m_record; }

    // What the board shows of each part, as one or more text lines.
    QString eventLine(int slot) const;
    QString nowUpLine(int slot) const;
    QStringList leaderPage(int page) const;
    QString ncaaGroup(int group) const;
    QString matrix() const;

private:
    QStringList render(int part) const;
    DisplayRecord m_record;
};

} // namespace kestra
