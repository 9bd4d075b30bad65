#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QRandomGenerator>
#include <QString>

#include <functional>
#include <optional>

namespace kestra {

class DisplayContext;
class MeetFlags;

// "Show Sample": the whole display block filled with made-up content, or with
// a test pattern whose every text says which field it is and ends on the
// field's last byte, and sent to the checked target, so that a crew can check
// the link and the place of every field on the board before the meet. Only the
// meet's event titles, its NumEvents and its scoring flags are read.
class SamplePages {
public:
    // `shortTitle` gives the field Ev<e>Short of EventDisp1, for the matrix.
    SamplePages(DisplayRecord &record, const DisplayContext &context, const MeetFlags &meet,
                std::function<QString(int event)> shortTitle);

    // The NCAA draws start from this seed at each seeding; without it each
    // seeding takes a fresh one.
    void setSeed(std::optional<quint32> seed) { m_seed = seed; }

    // Show Sample from the blank block to the last send: the events of both
    // columns, the leader pages, and with `ncaa` the NCAA groups and matrix,
    // each sent as the checked target takes it. Writers' results are not
    // looked at; the answer is the record target's, for the XML status, or 0.
    DeviceError show(bool testPattern, bool ncaa);

    // One event and its now-up line, filled and sent. An event without a slot
    // sends the slot that the count reached again, if there is one.
    void FillSampleEvent(int eventNumber, int side);

private:
    int countSlot(int eventNumber, int side, bool *found) const;
    void fillEvent(int eventNumber, int side, int slot);
    void fillLeaderPages();
    void fillNcaa();
    void fillMatrix();
    double sampleScore(int row) const;
    // Six scores drawn from rows 1 to 6, the five best added.
    double fiveBestOfSix();
    void seed();

    DisplayRecord &m_record;
    const DisplayContext &m_context;
    const MeetFlags &m_meet;
    std::function<QString(int)> m_shortTitle;
    std::optional<quint32> m_seed;
    QRandomGenerator m_random;
    bool m_testPattern = false;
};

} // namespace kestra
