#include "support/StopSignals.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

using namespace kestra;

namespace {

TEST(StopSignalsTest, eachSignalArrivesOnTheLoopInOrder)
{
    StopSignals stop;
    ASSERT_TRUE(stop.isInstalled());
    std::vector<int> seen;
    QObject::connect(&stop, &StopSignals::stopRequested, [&seen](int signal) { seen.push_back(signal); });
    ::raise(SIGTERM);
    ::raise(SIGINT);
    // Nothing runs inside the handler itself: the loop delivers them.
    EXPECT_TRUE(seen.empty());
    ASSERT_TRUE(kestra::test::waitUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<int>{SIGTERM, SIGINT}));
    EXPECT_EQ(stop.lastSignal(), SIGINT);
}

} // namespace
