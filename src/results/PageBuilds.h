#pragma once

#include "results/PageCycle.h"

#include <QString>

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

// The rows of a queued page: who stands where, with which score.
class PageBuilds {
public:
    explicit PageBuilds(PageBuildContext context) : m_context(std::move(context)) {}
    virtual ~PageBuilds() = default;

    virtual ResultsRows BuildEventRows(const QString &line);
    virtual ResultsRows BuildTeamRows(const QString &line);

protected:
    PageBuildContext m_context;
};

} // namespace kestra
