// "Show Sample": what the test pattern and the made-up content put into the
// block, and what each kind of target is sent, in order.
#include "PlainContext.h"

#include "support/MainRig.h"

#include "outputs/MeetFlags.h"
#include "outputs/SamplePages.h"
#include "support/Formatting.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;
using namespace kestra::layout;

namespace {

// The pattern with '#' standing for the number it names.
QString pattern(const char *text, int number)
{
    return S(text).replace(QLatin1Char('#'), QString::number(number));
}

struct Sample {
    DisplayRecord record;
    PlainContext context;
    FixedMeetFlags meet;
    SamplePages pages{record, context, meet, [](int e) { return S("s%1").arg(e); }};
    QString at(const Field &field) const { return record.text(field); }
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
            const std::pair<Field, const char *> fields[] = {
                {eventTitle(e), "EVENT#"}, {eventNum(e), "#000"},
                {eventName(e), "#-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjKl"}, {eventScore(e), "#0.000"},
                {eventDScore(e), "#0.00"}, {eventEScore(e), "#0.000"}, {eventND(e), "-#.0"},
                {eventGym(e), "Gym#-AbCdEfGhIjKlMnO"}, {eventDBonus(e), "0.#00 "}, {eventEBonus(e), "0.#"},
                {nowUpTitle(e), "NOWUP#"}, {nowUpNum(e), "#00#"},
                {nowUpName(e), "N#-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK"}, {nowUpGym(e), "GymN#-AbCdEfGhIjKlMn"},
                {matrixTitle(e), "EVENT#"}, {matrixShortTitle(e), "E#"}, {matrixEventScore(3, e), "43.00#"}};
            for (const auto &[field, text] : fields) {
                EXPECT_EQ(s.at(field), e <= events ? pattern(text, e) : QString(field.length, QLatin1Char(' ')))
                    << "event " << e << " at " << field.offset;
            }
        }
        for (int p = 1; p <= 3; ++p) {
            EXPECT_EQ(s.at(leaderTitle1(p)), pattern("L#-T1-AbCdEfGhIjKlMn", p));
            EXPECT_EQ(s.at(leaderTitle2(p)), pattern("LEADER#-T2", p));
            for (int k = 1; k <= 8; ++k) {
                const int m = 10 * p + k;
                EXPECT_EQ(s.at(leaderRank(p, k)) + s.at(leaderName(p, k)) + s.at(leaderScore(p, k)) + s.at(leaderGym(p, k)),
                          pattern("##-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK", m) + pattern("#.000", 100 * p + k) +
                              pattern("Gym#-AbCdEfGhIjKlMn", m));
            }
        }
        for (int g = 1; g <= 6; ++g) {
            EXPECT_EQ(s.at(ncaaTeam(g)) + s.at(ncaaEvent(g)) + s.at(ncaaEventTotal(g)) + s.at(ncaaTeamTotal(g)),
                      pattern("NCAA#-TEAM-AbCdEfGhIEVENT#80#.00090#.000", g));
            for (int k = 1; k <= 6; ++k) {
                EXPECT_EQ(s.at(ncaaLineupName(g, k)), pattern("#-AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjK", 10 * g + k));
                EXPECT_EQ(s.at(ncaaLineupScore(g, k)) + s.at(ncaaEventScore(g, k)), pattern("#.000#.000", 10 * g + k));
            }
        }
        for (int r = 1; r <= 8; ++r) {
            EXPECT_EQ(s.at(matrixRank(r)) + s.at(matrixTeam(r)) + s.at(matrixTeamScore(r)),
                      pattern("4#Matrix#-AbCdEfGhIjKl40#.000", r));
        }
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
        s.meet = FixedMeetFlags{};
        s.meet.scoreMethod1 = c.method1;
        s.meet.useDBonus = c.dBonus;
        s.meet.useJNBonus = c.jnBonus;
        s.pages.show(false, false);
        EXPECT_EQ(s.at(eventScore(1)) + s.at(eventDScore(1)) + s.at(eventEScore(1)) + s.at(eventND(1)) +
                      s.at(eventDBonus(1)) + s.at(eventEBonus(1)),
                  S(c.slot1));
        EXPECT_EQ(s.at(leaderScore(1, 8)) + s.at(leaderScore(2, 1)), S(c.leaders));
        EXPECT_EQ(s.at(eventLine(4)).left(50), S("FLOOR 4000Solo, Han").leftJustified(50));
        EXPECT_EQ(s.at(nowUpLine(4)), S("FLOOR 4000Solo, Han").leftJustified(50) + S("Smuggler").leftJustified(20));
        EXPECT_EQ(s.at(leaderTitle1(2)) + s.at(leaderTitle2(2)), S("Leader 2            ALL-AROUND"));
        EXPECT_EQ(s.at(leaderRank(3, 7)) + s.at(leaderName(3, 7)).trimmed() + s.at(leaderGym(3, 7)).trimmed(),
                  S("7 Ren, KyloSith"));
    }
}

TEST(SamplePagesTest, NcaaGroupsAndMatrixComeOnlyInNcaaModeWithTeamTotalsOfTheDraws)
{
    Sample s;
    s.meet.scoreMethod1 = true;
    s.record.pack(ncaaTeam(3), S("stale"));
    s.record.pack(matrixTeam(8), S("stale"));
    s.pages.show(false, false);
    for (const Field &region : {kNcaaGroup1, kNcaaGroups2To6, kNcaaEventScores, kNcaaMatrix})
        EXPECT_EQ(s.at(region), QString(region.length, QLatin1Char(' ')));

    s.pages.setSeed(7);
    s.pages.show(false, true);
    EXPECT_EQ(s.at(ncaaTeam(4)) + s.at(ncaaEvent(4)), S("Galactic Empire     VAULT "));
    EXPECT_EQ(s.at(ncaaLineupName(6, 2)) + s.at(ncaaLineupScore(6, 2)), S("Princess Leia").leftJustified(40) + S("16.000"));
    for (int g = 1; g <= 6; ++g) {
        // Five of six drawn event scores, 15.100 to 16.250 each.
        const double lastEvent = parseNumber(s.at(ncaaEventScore(g, 6)).toLatin1());
        EXPECT_GE(lastEvent, 75.5);
        EXPECT_LE(lastEvent, 81.25);
        EXPECT_EQ(s.at(ncaaEventTotal(g)), S(" ") + s.at(ncaaEventScore(g, 6)));
        EXPECT_EQ(s.at(ncaaTeamTotal(g)), formatFloat(lastEvent * 4, S("##0.000")));
    }
    for (int r = 1; r <= 8; ++r) {
        double total = 0;
        for (int e = 1; e <= 4; ++e)
            total += parseNumber(s.at(matrixEventScore(r, e)).toLatin1());
        EXPECT_EQ(s.at(matrixTeamScore(r)), formatFloat(total, S("##0.000"))) << "row " << r;
        EXPECT_EQ(s.at(matrixEventScore(r, 5)) + s.at(matrixEventScore(r, 6)), QString(12, QLatin1Char(' ')));
    }
    EXPECT_EQ(s.at(matrixTitle(4)) + s.at(matrixShortTitle(4)) + s.at(matrixTeam(8)), S("FLOOR S4Matrix Team 8       "));
}

TEST(SamplePagesTest, EachKindOfTargetIsSentWhatItTakesInOrder)
{
    const QStringList leaders = {"leader 1", "leader 2", "leader 3"};
    const struct {
        const char *target;
        TargetKind kind;
        QList<int> ticked;
        QStringList calls;
    } cases[] = {
        // An unticked event sends again the slot its count reached: here 3.
        {"rdoDaktronics", TargetKind::Line, {1, 3, 4},
         QStringList{"event 1/1", "nowup 1/1", "event 3/1", "nowup 3/1", "event 2/1", "nowup 2/1", "event 3/1", "nowup 3/1"}
             + leaders + QStringList{"ncaa", "matrix"}},
        // No box ticked: no slot, and nothing is read for one.
        {"rdoWhiteWay", TargetKind::Line, {}, leaders + QStringList{"ncaa", "matrix"}},
        {"rdoXpression", TargetKind::Line, {2}, {"event 1/1", "nowup 1/1", "event 1/1", "nowup 1/1", "event 1/1",
                                                  "nowup 1/1", "event 1/1", "nowup 1/1", "leader 1"}},
        {"rdoBarco", TargetKind::Record, {1, 2}, {"record"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.target);
        Sample s;
        RecordingWriter writer(S(c.target), c.kind);
        writer.result = DeviceErrors::SendFailed; // not looked at
        s.context.writer = &writer;
        for (int e = 1; e <= 6; ++e)
            s.context.ticked[1][e] = c.ticked.contains(e);
        EXPECT_EQ(s.pages.show(false, true), c.kind == TargetKind::Record ? DeviceErrors::SendFailed : DeviceErrors::Success);
        EXPECT_EQ(writer.calls, c.calls);
        EXPECT_TRUE(s.context.recorder.messages.empty());
    }
}
