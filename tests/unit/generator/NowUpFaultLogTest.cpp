// The limit on fault lines, on a clock set by hand. How a flood is held back to
// a line a minute is the listeners' test on a real socket.
#include "generator/NowUpFaultLog.h"

#include "support/TickSource.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace kestra;

namespace {

struct Logged {
    FakeTickSource ticks;
    QStringList lines;
    NowUpFaultLog log{[this](const QString &line) { lines << line; }, ticks, std::chrono::seconds(60)};
};

} // namespace

// Kinds are limited apart: b1 is written while a is held back.
TEST(NowUpFaultLimit, FlushTellsWhatWasHeldBackOnce)
{
    Logged l;
    l.log.report(QStringLiteral("a"), QStringLiteral("a1"));
    l.log.report(QStringLiteral("a"), QStringLiteral("a2"));
    l.log.report(QStringLiteral("a"), QStringLiteral("a3"));
    l.log.report(QStringLiteral("b"), QStringLiteral("b1"));
    l.log.flush();
    EXPECT_EQ(l.lines, (QStringList{"a1", "b1", "a: 2 more not shown"}));
    l.log.flush();
    EXPECT_EQ(l.lines.size(), 3);
    // The window still runs after a flush.
    l.log.report(QStringLiteral("a"), QStringLiteral("a4"));
    EXPECT_EQ(l.lines.size(), 3);
}

TEST(NowUpFaultLimit, AClockThatWrapsDoesNotSilenceTheLog)
{
    Logged l;
    l.ticks.set(0xFFFFFF00u);
    l.log.report(QStringLiteral("a"), QStringLiteral("before"));
    l.ticks.advance(0x200); // past the 32-bit wrap: the tick count is now small
    l.log.report(QStringLiteral("a"), QStringLiteral("after"));
    EXPECT_EQ(l.lines.size(), 2);
}
