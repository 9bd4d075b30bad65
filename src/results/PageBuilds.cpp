#include "results/PageBuilds.h"

namespace kestra {

ResultsRows PageBuilds::BuildEventRows(const QString &)
{
    return {};
}

ResultsRows PageBuilds::BuildTeamRows(const QString &)
{
    return {};
}

} // namespace kestra
