// "Show Sample": what the test pattern and the made-up content put into the
// block. What each target is sent: tests/unit/generator/ShowSampleTest.cpp.
#include "PlainContext.h"

#include "support/TestSupport.h"

#include "outputs/MeetFlags.h"
#include "outputs/SamplePages.h"
#include "support/Formatting.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;
using namespace kestra::layout;

namespace {

struct Sample {
    DisplayRecord record;
    PlainContext context;
    FixedMeetFlags meet;
    SamplePages pages{record, context, meet, [](int e) { return S("s%1").arg(e); }};
    QString at(std::initializer_list<Field> fields) const
    {
        QString text;
        for (const Field &field : fields)
            text += record.text(field);
        return text;
    }
};

} // namespace

TEST(SamplePagesTest, TheTestPatternFillsEachFieldToItsLastByte)
{
    for (int events : {6, 4}) {
        SCOPED_TRACE(events);
        Sample s;
        s.context.titles[1] = QStringList{"a", "b", "c", "d", "e", "f"}.mid(0, events);
        s.pages.show(true, true);
        for (int e = 1; e <= 6; ++e) {
            // '#' stands for the event number.
            const std::pair<Field, const char *> fields[] = {
                {eventTitle(e), "EVENT#"}, {eventNum(e), "#000"},
                {eventName(e), "#-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjKl"}, {eventScore(e), "#0.000"},
                {eventDScore(e), "#0.00"}, {eventEScore(e), "#0.000"}, {eventND(e), "-#.0"},
                {eventGym(e), "Gym#-AbCdEfGhIjKlMnO"}, {eventDBonus(e), "0.#00 "}, {eventEBonus(e), "0.#"},
                {nowUpTitle(e), "NOWUP#"}, {nowUpNum(e), "#00#"},
                {nowUpName(e), "N#-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK"}, {nowUpGym(e), "GymN#-AbCdEfGhIjKlMn"},
                {matrixTitle(e), "EVENT#"}, {matrixShortTitle(e), "E#"}, {matrixEventScore(3, e), "43.00#"}};
            for (const auto &[field, text] : fields) {
                EXPECT_EQ(s.at({field}), e <= events ? S(text).replace(QLatin1Char('#'), QString::number(e))
                                                     : QString(field.length, QLatin1Char(' ')))
                    << "event " << e << " at " << field.offset;
            }
        }
        EXPECT_EQ(s.at({leaderTitle1(3), leaderTitle2(3), leaderRank(3, 8), leaderName(3, 8), leaderScore(3, 8),
                        leaderGym(3, 8)}),
                  S("L3-T1-AbCdEfGhIjKlMnLEADER3-T23838-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK308.000"
                    "Gym38-AbCdEfGhIjKlMn"));
        EXPECT_EQ(s.at({ncaaTeam(6), ncaaEvent(6), ncaaLineupName(6, 5), ncaaLineupScore(6, 5), ncaaEventScore(6, 5),
                        ncaaEventTotal(6), ncaaTeamTotal(6)}),
                  S("NCAA6-TEAM-AbCdEfGhIEVENT665-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK65.00065.000806.000906.000"));
        EXPECT_EQ(s.at({matrixRank(8), matrixTeam(8), matrixTeamScore(8)}), S("48Matrix8-AbCdEfGhIjKl408.000"));
    }
}

TEST(SamplePagesTest, MadeUpContentFollowsTheScoringMethodAndTheBonusRules)
{
    const struct {
        bool method1, dBonus, jnBonus;
        const char *slot1;   // score, dscore, escore, nd, D bonus, E bonus
        const char *leaders; // page 1 line 8, page 2 line 1
    } cases[] = {
        {true, true, false, "16.2506.50 9.850 -0.10.100 0.1", " 14.875 63.225"},
        {true, false, false, "16.2506.50 9.850 -0.1         ", " 14.875 63.225"},
        {false, true, true, " 9.850           -0.1         ", "  9.375 39.225"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.slot1);
        Sample s;
        s.context.format = 1;
        s.meet.scoreMethod1 = c.method1;
        s.meet.useDBonus = c.dBonus;
        s.meet.useJNBonus = c.jnBonus;
        s.pages.show(false, false);
        EXPECT_EQ(s.at({eventScore(1), eventDScore(1), eventEScore(1), eventND(1), eventDBonus(1), eventEBonus(1)}),
                  S(c.slot1));
        EXPECT_EQ(s.at({leaderScore(1, 8), leaderScore(2, 1)}), S(c.leaders));
        EXPECT_EQ(s.at({eventTitle(4), eventNum(4), eventName(4), nowUpLine(4)}),
                  S("FLOOR 4000Solo, Han").leftJustified(50).repeated(2) + S("Smuggler").leftJustified(20));
        EXPECT_EQ(s.at({leaderTitle1(2), leaderTitle2(2), leaderRank(3, 7)}) + s.at({leaderName(3, 7)}).trimmed() +
                      s.at({leaderGym(3, 7)}).trimmed(),
                  S("Leader 2            ALL-AROUND7 Ren, KyloSith"));
    }
}

TEST(SamplePagesTest, NcaaGroupsAndMatrixComeOnlyInNcaaModeWithTotalsOfTheDraws)
{
    Sample s;
    s.meet.scoreMethod1 = true;
    s.record.pack(ncaaTeam(3), S("stale"));
    s.record.pack(matrixTeam(8), S("stale"));
    s.pages.show(false, false);
    for (const Field &region : {kNcaaGroup1, kNcaaGroups2To6, kNcaaEventScores, kNcaaMatrix})
        EXPECT_EQ(s.at({region}).trimmed(), QString()) << region.offset;

    s.pages.show(false, true);
    // A group's totals are its last draw's, five of six scores.
    const double last = parseNumber(s.at({ncaaEventScore(2, 6)}).toLatin1());
    EXPECT_EQ(s.at({ncaaEventTotal(2), ncaaTeamTotal(2)}), S(" %1%2").arg(s.at({ncaaEventScore(2, 6)}),
                                                                         formatFloat(last * 4, S("##0.000"))));
    EXPECT_EQ(s.at({matrixTitle(4), matrixShortTitle(4), matrixTeam(8), matrixEventScore(8, 5)}),
              S("FLOOR S4Matrix Team 8             "));
}
