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

TEST(NowUpFaultLimit, AFloodOfOneKindWritesOneLineAMinute)
{
    Logged l;
    for (int i = 0; i < 10000; ++i)
        l.log.report(QStringLiteral("xml"), QStringLiteral("bad %1").arg(i));
    EXPECT_EQ(l.lines, QStringList{QStringLiteral("bad 0")});
    EXPECT_EQ(l.log.heldBack(QStringLiteral("xml")), 9999u);

    l.ticks.advance(59999);
    l.log.report(QStringLiteral("xml"), QStringLiteral("still within"));
    EXPECT_EQ(l.lines.size(), 1);

    l.ticks.advance(1);
    l.log.report(QStringLiteral("xml"), QStringLiteral("after"));
    ASSERT_EQ(l.lines.size(), 2);
    EXPECT_EQ(l.lines[1], QStringLiteral("after (10000 more like it not shown)"));
    EXPECT_EQ(l.log.heldBack(QStringLiteral("xml")), 0u);
}

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
