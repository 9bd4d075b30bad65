#include "PlainContext.h"

#include "support/MainRig.h"

#include "outputs/DisplayLines.h"
#include "outputs/DisplayRecord.h"
#include "outputs/EventSlot.h"

#include <gtest/gtest.h>

#include <functional>

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
}

// A routine on slot 1 changed one way at a time: the block is the full
// routine's but for the field the change lands in.
TEST_F(DisplayLinesTest, EachValueIsCutPaddedOrBlankedInItsOwnFieldOnly)
{
    lines.FillEventLine(routine(1), 1);
    const QByteArray full = record.bytes();
    const struct {
        const char *what;
        std::function<void(EventSlot &, PlainContext &)> change;
        int offset, length;
        QByteArray bytes;
    } cases[] = {
        {"the score right-aligned, the other numbers left",
         [](EventSlot &s, PlainContext &) { s.Score = 9.65, s.Start = 4.1, s.BScore = 5.55, s.Adjust = -0.1; }, 50, 21,
         " 9.6504.10 5.550 -0.1"},
        {"scores of a hundred lose their last decimal",
         [](EventSlot &s, PlainContext &) { s.Score = 100, s.Start = 10, s.BScore = 10; }, 50, 17, "100.0010.0010.000"},
        {"-99 blanks the neutral deduction", [](EventSlot &s, PlainContext &) { s.Adjust = -99; }, 67, 4, "    "},
        {"-99 blanks the D bonus", [](EventSlot &s, PlainContext &) { s.DBonus = -99; }, 3429, 6, "      "},
        {"-99 blanks the E bonus", [](EventSlot &s, PlainContext &) { s.EBonus = -99; }, 5681, 3, "   "},
        {"-99 as the score is a number", [](EventSlot &s, PlainContext &) { s.Score = -99; }, 50, 6, "-99.00"},
        {"a long title", [](EventSlot &, PlainContext &c) { c.titles[1][0] = S("Vaulting table"); }, 0, 6, "VAULTI"},
        {"a long number", [](EventSlot &s, PlainContext &) { s.Num = 98765; }, 6, 4, "9876"},
        {"a long name",
         [](EventSlot &s, PlainContext &) { s.FName = S("Alexandrina-Maximiliana"), s.LName = S("Featherstonehaugh-Worthington"); },
         10, 40, "Alexandrina-Maximiliana Featherstonehaug"},
        {"a long gym", [](EventSlot &s, PlainContext &) { s.ShortName = S("Northern Lights Gymnastics Academy"); }, 2261, 20,
         "Northern Lights Gymn"},
        // The formats themselves are formatName's table.
        {"no first name keeps the separator of the format",
         [](EventSlot &s, PlainContext &c) { s.FName.clear(), c.format = 1; }, 10, 40, QByteArray("Arden, ").leftJustified(40)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        PlainContext changedContext;
        EventSlot slot = routine(1);
        c.change(slot, changedContext);
        DisplayRecord changed;
        DisplayLines(changed, changedContext).FillEventLine(slot, 1);
        EXPECT_EQ(changed.bytes(), QByteArray(full).replace(c.offset, c.length, c.bytes));
    }
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
