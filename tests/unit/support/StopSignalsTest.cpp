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

TEST(StopSignalsTest, onlyOneAtATimeAndTheOldHandlersComeBack)
{
    struct sigaction before = {};
    ::sigaction(SIGTERM, nullptr, &before);
    {
        StopSignals first;
        ASSERT_TRUE(first.isInstalled());
        StopSignals second;
        EXPECT_FALSE(second.isInstalled());
    }
    // The second one going first did not take the first one's pipe; both
    // gone, the handler is the one from before.
    struct sigaction after = {};
    ::sigaction(SIGTERM, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    StopSignals again;
    EXPECT_TRUE(again.isInstalled());
}

} // namespace
