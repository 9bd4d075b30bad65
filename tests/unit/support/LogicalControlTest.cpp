#include "support/LogicalControl.h"
#include "support/OperatorPrompt.h"
#include "support/TickSource.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kestra;

TEST(LogicalControl, OperatorClickChangesStateBeforeTheHandlerRuns)
{
    ControlSet controls;
    LogicalControl &box = controls.add(QStringLiteral("chkPause"), QStringLiteral("Pause"));
    bool seenChecked = false;
    box.setClickHandler([&] { seenChecked = box.isChecked(); });
    box.operatorSetChecked(true);
    EXPECT_TRUE(seenChecked);
}

TEST(LogicalControl, ComposedNamesAreFoundAndUnknownOnesThrow)
{
    ControlSet controls;
    controls.add(QStringLiteral("chkEvent31"));
    EXPECT_EQ(&controls(QStringLiteral("chkEvent") + QString::number(3) + QString::number(1)),
              controls.find(QStringLiteral("chkEvent31")));
    EXPECT_THROW(controls(QStringLiteral("chkEvent71")), std::out_of_range);
    EXPECT_EQ(controls.find(QStringLiteral("nope")), nullptr);
}

TEST(TickSource, FakeClockWrapsLikeA32BitCount)
{
    FakeTickSource ticks(0xFFFFFF00u);
    ticks.advance(0x200);
    EXPECT_EQ(ticks.tickCount(), 0x100u);
}

TEST(TickSource, SystemClockStaysWithin32Bits)
{
    SystemTickSource ticks;
    EXPECT_LE(ticks.tickCount(), 0xFFFFFFFFull);
}

TEST(OperatorPrompt, TaskDialogBreaksAreTheTwoCharactersBackslashN)
{
    EXPECT_EQ(expandTaskDialogBreaks(QStringLiteral("a\\nb\\n\\nc")), QStringLiteral("a\nb\n\nc"));
    PromptMessage question;
    question.buttons = PromptButtons::YesNo;
    EXPECT_EQ(question.defaultAnswer(), PromptAnswer::No);
}
