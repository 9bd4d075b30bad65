#include "PlainContext.h"

#include "support/MainRig.h"

#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/EventSlot.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

EventSlot routine(int event)
{
    EventSlot slot;
    slot.Num = 123;
    slot.FName = QStringLiteral("Simone");
    slot.LName = QStringLiteral("Arden");
    slot.ShortName = QStringLiteral("Harbor Gym");
    slot.Event = event;
    slot.Score = 14.2;
    slot.Start = 5.5;
    slot.BScore = 8.7;
    slot.Adjust = 0.3;
    slot.DBonus = 0.1;
    slot.EBonus = 0.2;
    return slot;
}

QByteArray bytesAt(const DisplayRecord &record, int offset, int length)
{
    return record.bytes().mid(offset, length);
}

class DisplayLinesTest : public ::testing::Test {
protected:
    DisplayRecord record;
    PlainContext context;
    RecordingWriter writer{S("rdoDaktronics"), TargetKind::Line};
    DisplayLines lines{record, context};

    void SetUp() override { context.writer = &writer; }
};

} // namespace

TEST_F(DisplayLinesTest, EventLineBytesAndFieldsOutsideTheLine)
{
    lines.FillEventLine(routine(2), 1);
    //                         title num  name                                    score dscr escore nd  (unused)
    const QByteArray line = "BARS  123 Simone Arden                            14.2005.50 8.700 0.3           ";
    ASSERT_EQ(line.size(), 81);
    EXPECT_EQ(bytesAt(record, 81, 81), line);
    EXPECT_EQ(bytesAt(record, 2281, 20), QByteArray("Harbor Gym          "));
    EXPECT_EQ(bytesAt(record, 3435, 6), QByteArray("0.100 "));
    EXPECT_EQ(bytesAt(record, 5684, 3), QByteArray("0.2"));
    // Nothing else moved.
    QByteArray rest = record.bytes();
    rest.replace(81, 81, QByteArray(81, ' '));
    rest.replace(2281, 20, QByteArray(20, ' '));
    rest.replace(3435, 6, QByteArray(6, ' '));
    rest.replace(5684, 3, QByteArray(3, ' '));
    EXPECT_EQ(rest, QByteArray(5699, ' '));
    EXPECT_EQ(writer.calls, QStringList{"event 2/1"});

    // The score is right-aligned, the other numbers left-aligned.
    EventSlot slot = routine(1);
    slot.Score = 9.65;
    slot.Start = 4.1;
    slot.BScore = 5.55;
    slot.Adjust = -0.1;
    lines.FillEventLine(slot, 1);
    EXPECT_EQ(bytesAt(record, 50, 21), QByteArray(" 9.6504.10 5.550 -0.1"));
}

TEST_F(DisplayLinesTest, LongTextsAreCutAndScoresOfAHundredLoseTheirLastDecimal)
{
    EventSlot slot = routine(1);
    slot.Num = 98765;
    slot.FName = QStringLiteral("Alexandrina-Maximiliana");
    slot.LName = QStringLiteral("Featherstonehaugh-Worthington");
    slot.ShortName = QStringLiteral("Northern Lights Gymnastics Academy");
    slot.Score = 100.0;
    slot.Start = 10.0;
    slot.BScore = 10.0;
    context.titles[1][0] = QStringLiteral("Vaulting table");
    lines.FillEventLine(slot, 1);
    EXPECT_EQ(bytesAt(record, 0, 6), QByteArray("VAULTI"));
    EXPECT_EQ(bytesAt(record, 6, 4), QByteArray("9876"));
    EXPECT_EQ(bytesAt(record, 10, 40), QByteArray("Alexandrina-Maximiliana Featherstonehaug"));
    EXPECT_EQ(bytesAt(record, 50, 6), QByteArray("100.00"));
    EXPECT_EQ(bytesAt(record, 56, 5), QByteArray("10.00"));
    EXPECT_EQ(bytesAt(record, 61, 6), QByteArray("10.000"));
    EXPECT_EQ(bytesAt(record, 71, 10), QByteArray(10, ' '));
    EXPECT_EQ(bytesAt(record, 2261, 20), QByteArray("Northern Lights Gymn"));
}

TEST_F(DisplayLinesTest, MinusNinetyNineBlanksOnlyItsOwnField)
{
    const struct {
        double EventSlot::*member;
        int offset;
        int length;
    } cases[] = {
        {&EventSlot::Adjust, 67, 4},
        {&EventSlot::DBonus, 3429, 6},
        {&EventSlot::EBonus, 5681, 3},
    };
    for (const auto &c : cases) {
        DisplayRecord full;
        DisplayLines fullLines(full, context);
        fullLines.FillEventLine(routine(1), 1);

        DisplayRecord one;
        DisplayLines oneLines(one, context);
        EventSlot slot = routine(1);
        slot.*(c.member) = -99;
        oneLines.FillEventLine(slot, 1);

        QByteArray expected = full.bytes();
        expected.replace(c.offset, c.length, QByteArray(c.length, ' '));
        EXPECT_EQ(one.bytes(), expected) << "field at " << c.offset;
    }
    // -99 in the score itself is a number like any other.
    EventSlot slot = routine(1);
    slot.Score = -99;
    lines.FillEventLine(slot, 1);
    EXPECT_EQ(bytesAt(record, 50, 6), QByteArray("-99.00"));
}

TEST_F(DisplayLinesTest, TheNameIsComposedInTheChosenFormatBlanksAndAll)
{
    // The formats themselves are formatName's table.
    EventSlot noFirstName = routine(1);
    noFirstName.FName.clear();
    context.format = 1;
    lines.FillEventLine(noFirstName, 1);
    EXPECT_EQ(record.read(layout::eventName(1)), QByteArray("Arden, ").leftJustified(40, ' '));
}

TEST_F(DisplayLinesTest, DisplaySlotIsTheRankAmongTickedEvents)
{
    struct Case {
        const char *what;
        bool dual;
        std::vector<std::pair<int, int>> unticked; // (event, side)
        int event;
        int side;
        int slot;
    };
    const Case cases[] = {
        {"single, all ticked", false, {}, 3, 1, 3},
        {"single, earlier box unticked", false, {{1, 1}}, 3, 1, 2},
        {"single, two earlier unticked", false, {{1, 1}, {2, 1}}, 4, 1, 2},
        {"single, the event itself unticked", false, {{3, 1}}, 3, 1, 0},
        {"single, beyond NumEvents", false, {}, 5, 1, 0},
        {"single, side 2 has no slot", false, {}, 1, 2, 0},
        {"dual, side 2 follows side 1", true, {}, 1, 2, 5},
        {"dual, side 2 third event", true, {}, 2, 2, 6},
        {"dual, seventh ticked event has none", true, {}, 3, 2, 0},
        {"dual, unticking side 1 moves side 2 down", true, {{2, 1}}, 3, 2, 6},
        {"dual, side 1 keeps its ranks", true, {{1, 2}}, 4, 1, 4},
        {"dual, side 2 unticked box", true, {{1, 2}}, 2, 2, 5},
    };
    for (const Case &c : cases) {
        PlainContext ctx;
        ctx.dual = c.dual;
        for (const auto &[event, side] : c.unticked)
            ctx.ticked[side][event] = false;
        DisplayRecord rec;
        DisplayLines l(rec, ctx);
        EXPECT_EQ(l.DisplaySlot(c.event, c.side), c.slot) << c.what;
    }
}

TEST_F(DisplayLinesTest, AnEventWithoutASlotWritesAndSendsNothing)
{
    // Unticked.
    context.ticked[1][2] = false;
    lines.FillEventLine(routine(2), 1);
    lines.BlankEventLine(2, 1);
    lines.FillNowUpLine(2, 1, QStringLiteral("12"), QStringLiteral("Someone"), QString());
    // Eight ticked events leave the last two without a slot.
    context.dual = true;
    context.titles[2] = {QStringLiteral("Floor"), QStringLiteral("Pommel"), QStringLiteral("Rings"),
                         QStringLiteral("Vault")};
    lines.FillEventLine(routine(4), 2);
    EXPECT_EQ(record.bytes(), QByteArray(5699, ' '));
    EXPECT_TRUE(writer.calls.empty());
}

TEST_F(DisplayLinesTest, BlankKeepsAFreshTitleAndClearsTheRest)
{
    lines.FillEventLine(routine(4), 1);
    context.titles[1][3] = QStringLiteral("Fx");
    lines.BlankEventLine(4, 1);
    QByteArray expected(5699, ' ');
    expected.replace(243, 2, "FX");
    EXPECT_EQ(record.bytes(), expected);
    EXPECT_EQ(writer.calls.back(), S("event 4/1"));
}

TEST_F(DisplayLinesTest, FailedSendsAreToldWithTheirContext)
{
    writer.result = DeviceErrors::SendFailed;
    lines.FillEventLine(routine(1), 1);
    lines.BlankEventLine(1, 1);
    lines.FillNowUpLine(1, 1, QStringLiteral("7"), QStringLiteral("Ana Bell"), QString());
    ASSERT_EQ(context.recorder.messages.size(), 3u);
    const char *contexts[] = {"Error sending event score", "Error blanking event score", "Error sending event score"};
    for (int i = 0; i < 3; ++i) {
        const PromptMessage &m = context.recorder.messages[std::size_t(i)];
        EXPECT_EQ(m.caption, QStringLiteral("Device Communication Error"));
        EXPECT_EQ(m.text, QString::fromLatin1(contexts[i]) + QStringLiteral("\r\rError while sending data"));
        EXPECT_EQ(m.icon, PromptIcon::Error);
        EXPECT_EQ(m.buttons, PromptButtons::Ok);
    }
    // The block keeps the new values.
    EXPECT_EQ(record.read(layout::nowUpName(1)).trimmed(), QByteArray("Ana Bell"));
}

TEST_F(DisplayLinesTest, RecordTargetsAndNoTargetAreNotCalled)
{
    RecordingWriter recordTarget(S("rdoBarco"), TargetKind::Record);
    context.writer = &recordTarget;
    lines.FillEventLine(routine(1), 1);
    lines.FillNowUpLine(1, 1, QStringLiteral("7"), QStringLiteral("Ana Bell"), QString());
    context.writer = nullptr;
    lines.FillEventLine(routine(2), 1);
    EXPECT_TRUE(recordTarget.calls.empty());
    EXPECT_EQ(record.read(layout::eventTitle(2)), QByteArray("BARS  "));
    EXPECT_EQ(record.read(layout::nowUpName(1)).trimmed(), QByteArray("Ana Bell"));
}

TEST_F(DisplayLinesTest, NowUpLineBytes)
{
    lines.FillNowUpLine(3, 1, QStringLiteral("412"), QStringLiteral("Kira Moss"), QStringLiteral("Valley Twisters"));
    const QByteArray line = "BEAM  412 Kira Moss                               Valley Twisters     ";
    ASSERT_EQ(line.size(), 70);
    EXPECT_EQ(bytesAt(record, 5401, 70), line);
    EXPECT_EQ(writer.calls, QStringList{"nowup 3/1"});
}

TEST_F(DisplayLinesTest, RepeatedNowUpSendsNothing)
{
    const QString longName = QStringLiteral("A competitor whose name runs past forty characters");
    lines.FillNowUpLine(1, 1, QStringLiteral("12"), longName, QStringLiteral("Gym"));
    for (int i = 0; i < 5; ++i)
        lines.FillNowUpLine(1, 1, QStringLiteral("12"), longName, QStringLiteral("Gym"));
    // Surrounding blanks do not count as a change either.
    lines.FillNowUpLine(1, 1, QStringLiteral(" 12 "), longName, QStringLiteral("Gym  "));
    EXPECT_EQ(writer.calls.size(), 1);
    lines.FillNowUpLine(1, 1, QStringLiteral("13"), longName, QStringLiteral("Gym"));
    EXPECT_EQ(writer.calls.size(), 2);
    // Clearing sends once, then nothing.
    lines.FillNowUpLine(1, 1, QString(), QString(), QString());
    lines.FillNowUpLine(1, 1, QString(), QString(), QString());
    EXPECT_EQ(writer.calls.size(), 3);
    EXPECT_EQ(bytesAt(record, 5261, 70), QByteArray("VAULT ") + QByteArray(64, ' '));
    // After the block is cleared the title goes out again.
    record.clearAll();
    lines.FillNowUpLine(1, 1, QString(), QString(), QString());
    EXPECT_EQ(writer.calls.size(), 4);
}
