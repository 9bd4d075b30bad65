#pragma once

#include "meetdb/ServerDiscovery.h"

namespace kestra::test {

// A discovery whose scans end when the test answers them.
class FakeDiscovery final : public ServerDiscovery {
public:
    void startScan() override { ++starts; }
    void answer(const QStringList &servers, const QString &networkProblem = {})
    {
        emit scanFinished(ServerScan{servers, networkProblem});
    }
    int starts = 0;
};

} // namespace kestra::test
