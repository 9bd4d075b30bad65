// White Way frames spelled out by hand from the page tables: head, page
// number, each field after a backslash at its full width, "\\" CR LF.
#include "ScriptedLines.h"

#include "outputs/DebugTrace.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"
#include "outputs/WhiteWay.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

QByteArray sp(int n)
{
    return QByteArray(n, ' ');
}

// "\" before every field, the fields given padded to their widths.
QByteArray fields(std::initializer_list<QByteArray> list)
{
    QByteArray out;
    for (const QByteArray &f : list)
        out += '\\' + f;
    return out;
}

QByteArray page(const char *number, const QByteArray &body)
{
    return QByteArray("w\\99999\\") + number + body + "\\\\\r\n";
}

class WhiteWayTest : public ::testing::Test {
protected:
    DisplayRecord record;
    ScriptedLineLog log;
    std::unique_ptr<DeviceTransport> transport = scriptedTransport(log);
    FixedMeetFlags meet;
    DebugTrace trace;
    WhiteWayWriter writer{record, *transport, meet, trace};
};

} // namespace

TEST_F(WhiteWayTest, EventFrameFollowsTheBonusRulesOfTheMeet)
{
    record.pack(layout::eventTitle(3), QStringLiteral("BEAM"));
    record.pack(layout::eventNum(3), QStringLiteral("412"));
    record.pack(layout::eventName(3), QStringLiteral("Kira Moss"));
    record.pack(layout::eventScore(3), QStringLiteral(" 9.650"));
    record.pack(layout::eventDScore(3), QStringLiteral("4.10"));
    record.pack(layout::eventEScore(3), QStringLiteral("5.550"));
    record.pack(layout::eventGym(3), QStringLiteral("Valley Twisters"));
    record.pack(layout::eventDBonus(3), QStringLiteral("0.100"));
    record.pack(layout::eventEBonus(3), QStringLiteral("0.1"));
    const QByteArray base = fields({"BEAM  ", "412 ", "Kira Moss" + sp(31), " 9.650", "4.10 ", "5.550 ", sp(4),
                                    "Valley Twisters     "});
    const struct {
        bool useD;
        bool useJN;
        QByteArray frame;
        int length;
    } cases[] = {
        {false, false, page("103", base), 114},
        {true, false, page("103", base + "\\0.100 "), 121},
        {false, true, page("103", base + "\\0.100 \\0.1"), 125},
        {true, true, page("103", base + "\\0.100 \\0.1"), 125},
    };
    for (const auto &c : cases) {
        meet.useDBonus = c.useD;
        meet.useJNBonus = c.useJN;
        EXPECT_EQ(writer.eventFrame(3), c.frame) << c.useD << c.useJN;
        EXPECT_EQ(c.frame.size(), c.length);
    }
}

TEST_F(WhiteWayTest, LeaderPutsTheGymBeforeTheScoreAndLeavesTheNinthLine)
{
    record.pack(layout::leaderTitle1(2), QStringLiteral("All-Around"));
    record.pack(layout::leaderTitle2(2), QStringLiteral("Lvl 9"));
    record.pack(layout::leaderRank(2, 1), QStringLiteral(" 1"));
    record.pack(layout::leaderName(2, 1), QStringLiteral("Ana Bell"));
    record.pack(layout::leaderScore(2, 1), QStringLiteral(" 38.450"));
    record.pack(layout::leaderGym(2, 1), QStringLiteral("Harbor"));
    record.pack(Field{957 + 30 + 8 * 49, 49}, QByteArrayView("ninth line, never sent"));
    QByteArray body = fields({"All-Around" + sp(10), "Lvl 9" + sp(5), " 1", "Ana Bell" + sp(32), "Harbor" + sp(14),
                              " 38.450"});
    for (int k = 2; k <= 8; ++k)
        body += fields({sp(2), sp(40), sp(20), sp(7)});
    const QByteArray expected = page("202", body);
    ASSERT_EQ(expected.size(), 631);
    EXPECT_EQ(writer.leaderFrame(2), expected);
}

TEST_F(WhiteWayTest, NcaaIsOnePageOfSixGroupsWithoutTheEventScores)
{
    record.pack(layout::ncaaTeam(1), QStringLiteral("Michigan"));
    record.pack(layout::ncaaEvent(1), QStringLiteral("FLOOR"));
    record.pack(layout::ncaaLineupName(1, 1), QStringLiteral("Ana Bell"));
    record.pack(layout::ncaaLineupScore(1, 1), QStringLiteral("9.850"));
    record.pack(layout::ncaaEventTotal(1), QStringLiteral(" 49.300"));
    record.pack(layout::ncaaTeamTotal(1), QStringLiteral("197.050"));
    record.pack(layout::ncaaEventScore(1, 1), QStringLiteral("49.100"));
    record.pack(Field{2215, 46}, QByteArrayView(QByteArray(46, 'X'))); // the gap after group 1
    const auto group = [](const QByteArray &team, const QByteArray &event, const QByteArray &firstLine) {
        QByteArray g = fields({team, event}) + firstLine;
        for (int line = 2; line <= 6; ++line)
            g += fields({sp(40), sp(6)});
        return g;
    };
    QByteArray body = group("Michigan" + sp(12), "FLOOR ", fields({"Ana Bell" + sp(32), "9.850 "})) +
                      fields({" 49.300", "197.050"});
    for (int g = 2; g <= 6; ++g) // absent groups: as long as filled ones, all spaces
        body += group(sp(20), sp(6), fields({sp(40), sp(6)})) + fields({sp(7), sp(7)});
    const QByteArray expected = page("301", body);
    ASSERT_EQ(expected.size(), 2007);
    EXPECT_EQ(writer.ncaaFrame(), expected);
}

TEST_F(WhiteWayTest, MatrixIsOnePage)
{
    record.pack(layout::matrixTitle(1), QStringLiteral("VAULT"));
    record.pack(layout::matrixShortTitle(1), QStringLiteral("VT"));
    record.pack(layout::matrixRank(1), QStringLiteral(" 1"));
    record.pack(layout::matrixTeam(1), QStringLiteral("Oklahoma"));
    record.pack(layout::matrixTeamScore(1), QStringLiteral("198.175"));
    record.pack(layout::matrixEventScore(1, 1), QStringLiteral("49.350"));
    QByteArray body = fields({"VAULT ", "VT"});
    for (int e = 2; e <= 6; ++e)
        body += fields({sp(6), sp(2)});
    body += fields({" 1", "Oklahoma" + sp(12), "198.175", "49.350"});
    body += fields({sp(6), sp(6), sp(6), sp(6), sp(6)});
    for (int r = 2; r <= 8; ++r)
        body += fields({sp(2), sp(20), sp(7), sp(6), sp(6), sp(6), sp(6), sp(6), sp(6)});
    const QByteArray expected = page("401", body);
    ASSERT_EQ(expected.size(), 667);
    EXPECT_EQ(writer.matrixFrame(), expected);
}

TEST_F(WhiteWayTest, NowUpOfTheEmptyBlockAndABackslashAsItStands)
{
    const QByteArray empty = page("501", fields({sp(6), sp(4), sp(40), sp(20)}));
    ASSERT_EQ(empty.size(), 89);
    record.pack(layout::nowUpName(6), QStringLiteral("A\\B"));
    EXPECT_EQ(writer.SendWhiteWayNowUp(1), DeviceErrors::Success);
    EXPECT_EQ(writer.sendNowUpLine(6, 2), DeviceErrors::Success);
    EXPECT_EQ(log.written, (QList<QByteArray>{empty, page("506", fields({sp(6), sp(4), "A\\B" + sp(37), sp(20)}))}));
}
