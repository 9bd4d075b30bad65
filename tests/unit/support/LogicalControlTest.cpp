#include "support/LogicalControl.h"
#include "support/OperatorPrompt.h"
#include "support/TickSource.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;

TEST(LogicalControl, AnUnknownNameThrows)
{
    ControlSet controls;
    controls.add(QStringLiteral("chkEvent31"));
    EXPECT_NE(controls.find(QStringLiteral("chkEvent31")), nullptr);
    EXPECT_EQ(controls.find(QStringLiteral("nope")), nullptr);
    EXPECT_THROW(controls(QStringLiteral("chkEvent71")), std::out_of_range);
}

TEST(TickSource, FakeClockWrapsLikeA32BitCount)
{
    FakeTickSource ticks(0xFFFFFF00u);
    ticks.advance(0x200);
    EXPECT_EQ(ticks.tickCount(), 0x100u);
}

TEST(OperatorPrompt, TaskDialogBreaksAreTheTwoCharactersBackslashN)
{
    EXPECT_EQ(expandTaskDialogBreaks(QStringLiteral("a\\nb\\n\\nc")), QStringLiteral("a\nb\n\nc"));
    PromptMessage question;
    question.buttons = PromptButtons::YesNo;
    EXPECT_EQ(question.defaultAnswer(), PromptAnswer::No);
}
