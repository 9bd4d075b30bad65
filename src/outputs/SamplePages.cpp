#include "outputs/SamplePages.h"

#include "outputs/DisplayContext.h"
#include "outputs/MeetFlags.h"
#include "support/Formatting.h"

#include <algorithm>
#include <array>
#include <functional>

namespace kestra {

namespace {

struct Competitor {
    const char *first;
    const char *last;
    const char *gym;
    double eventScoreA;
    double aaScoreA;
    double aaScoreB;
    double d;
    double e;
    double dBonus;
    double eBonus;
    double nd;
};

constexpr double kNoValue = -99;

const std::array<Competitor, 8> kCompetitors = {{
    {"Luke", "Skywalker", "Jedi", 16.25, 63.225, 39.225, 6.5, 9.85, 0.1, 0.1, -0.1},
    {"Princess", "Leia", "General", 16.0, 63.15, 39.15, 6.6, 9.4, 0.2, 0.2, 0},
    {"Darth", "Vader", "Lord", 15.525, 62.875, 38.875, 5.8, 9.725, 0.3, 0.3, 0},
    {"Han", "Solo", "Smuggler", 15.475, 61.95, 37.95, 6.1, 9.675, 0.4, 0.4, -0.3},
    {"Obi-Wan", "Kenobi", "Master", 15.325, 61.3, 37.3, 5.9, 9.425, 0.5, 0.5, 0},
    {"R2", "D2", "Droid", 15.1, 61.0, 37.0, 5.7, 9.4, 0.6, 0.6, 0},
    {"Kylo", "Ren", "Sith", 15.0, 60.645, 36.645, 5.6, 9.4, 0.7, 0.7, 0},
    {"C3", "PO", "Cyborg", 14.875, 60.15, 35.15, 5.5, 9.375, 0.8, 0.8, 0},
}};

const Competitor &row(int index)
{
    return kCompetitors.at(std::size_t(index - 1));
}

const char *const kTail = "AbCdEfGhIjKlMnOpQrStUvWxYzAbCdEfGhIjKl";

// The first `length` letters of the pattern's tail, whose last letter shows
// where a board cuts a field.
QString tail(int length)
{
    return QString::fromLatin1(kTail, length);
}

QString n(int number)
{
    return QString::number(number);
}

QString picture(double value, const char *pic, int width)
{
    return formatRightAligned(formatFloat(value, QString::fromLatin1(pic)), width);
}

QString score6(double value)
{
    return picture(value, "#0.000", 6);
}

QString score7(double value)
{
    return picture(value, "#0.000", 7);
}

QString total7(double value)
{
    return picture(value, "##0.000", 7);
}

// The team scores' rounding: to three places after each addition.
double round3(double value)
{
    return parseNumber(formatFloat(value, QStringLiteral("##0.000")).toLatin1());
}

} // namespace

SamplePages::SamplePages(DisplayRecord &record, const DisplayContext &context, const MeetFlags &meet,
                         std::function<QString(int event)> shortTitle)
    : m_record(record), m_context(context), m_meet(meet), m_shortTitle(std::move(shortTitle))
{
}

double SamplePages::sampleScore(int index) const
{
    return m_meet.MeetsScoreMethod() ? row(index).eventScoreA : row(index).e;
}

void SamplePages::seed()
{
    m_random.seed(m_seed ? *m_seed : QRandomGenerator::system()->generate());
}

double SamplePages::fiveBestOfSix()
{
    std::array<double, 6> drawn{};
    for (double &value : drawn)
        value = sampleScore(int(m_random.bounded(6)) + 1);
    std::sort(drawn.begin(), drawn.end(), std::greater<>());
    double sum = 0;
    for (int i = 0; i < 5; ++i)
        sum = round3(sum + drawn[std::size_t(i)]);
    return sum;
}

DeviceError SamplePages::show(bool testPattern, bool ncaa)
{
    m_testPattern = testPattern;
    m_record.clearAll();
    for (int side = 1; side <= (m_context.isDual() ? 2 : 1); ++side) {
        for (int event = 1; event <= m_context.numEvents(side); ++event)
            FillSampleEvent(event, side);
    }
    fillLeaderPages();

    DisplayWriter *writer = m_context.checkedWriter();
    const bool xpression = writer && writer->targetName() == QLatin1String("rdoXpression");
    const bool board = writer && writer->kind() == TargetKind::Line && !xpression;
    if (xpression)
        writer->sendLeaderPage(1); // rewrites all three pages
    for (int page = 1; board && page <= layout::kLeaderPageCount; ++page)
        writer->sendLeaderPage(page);

    if (ncaa) {
        m_record.clearNcaa();
        m_record.blank(layout::kNcaaMatrix);
        fillNcaa();
        fillMatrix();
        if (board) {
            writer->sendNCAA();
            writer->sendMatrix();
        }
    }
    if (writer && writer->kind() == TargetKind::Record)
        return writer->sendRecord();
    return DeviceErrors::Success;
}

int SamplePages::countSlot(int eventNumber, int side, bool *found) const
{
    int count = 0;
    *found = false;
    for (int s = 1; s <= (m_context.isDual() ? 2 : 1); ++s) {
        for (int event = 1; event <= m_context.numEvents(s); ++event) {
            if (!m_context.isEventTicked(event, s))
                continue;
            ++count;
            if (s == side && event == eventNumber) {
                *found = true;
                return count;
            }
        }
    }
    return count;
}

void SamplePages::FillSampleEvent(int eventNumber, int side)
{
    bool found = false;
    const int count = countSlot(eventNumber, side, &found);
    if (found && count <= layout::kSlots)
        fillEvent(eventNumber, side, count);
    // With no box ticked, or more than six, the count names no slot of the
    // block: there is nothing to send.
    DisplayWriter *writer = m_context.checkedWriter();
    if (!writer || writer->kind() != TargetKind::Line || count < 1 || count > layout::kSlots)
        return;
    writer->sendEventLine(count, side);
    writer->sendNowUpLine(count, side);
}

void SamplePages::fillEvent(int e, int side, int slot)
{
    using namespace layout;
    DisplayRecord &r = m_record;
    if (m_testPattern) {
        r.pack(nowUpTitle(slot), QStringLiteral("NOWUP") + n(e));
        r.pack(nowUpNum(slot), n(e) + QStringLiteral("00") + n(e));
        r.pack(nowUpName(slot), QStringLiteral("N") + n(e) + QLatin1Char('-') + tail(37));
        r.pack(nowUpGym(slot), QStringLiteral("GymN") + n(e) + QLatin1Char('-') + tail(14));
        r.pack(eventTitle(slot), QStringLiteral("EVENT") + n(e));
        r.pack(eventNum(slot), n(e) + QStringLiteral("000"));
        r.pack(eventName(slot), n(e) + QLatin1Char('-') + tail(38));
        r.pack(eventScore(slot), formatRightAligned(n(e) + QStringLiteral("0.000"), 6));
        r.pack(eventDScore(slot), n(e) + QStringLiteral("0.00"));
        r.pack(eventEScore(slot), n(e) + QStringLiteral("0.000"));
        r.pack(eventND(slot), QLatin1Char('-') + n(e) + QStringLiteral(".0"));
        r.pack(eventGym(slot), QStringLiteral("Gym") + n(e) + QLatin1Char('-') + tail(15));
        r.pack(eventDBonus(slot), QStringLiteral("0.") + n(e) + QStringLiteral("00"));
        r.pack(eventEBonus(slot), QStringLiteral("0.") + n(e));
        return;
    }
    const Competitor &c = row(e);
    const QString title = m_context.eventTitle(side, e).toUpper();
    const QString name = formatName(QString::fromLatin1(c.first), QString::fromLatin1(c.last), m_context.nameFormat());
    const QString gym = QString::fromLatin1(c.gym);
    r.pack(eventTitle(slot), title);
    r.pack(nowUpTitle(slot), title);
    r.pack(eventNum(slot), n(e * 1000));
    r.pack(nowUpNum(slot), n(e * 1000));
    r.pack(eventName(slot), name);
    r.pack(nowUpName(slot), name);
    r.pack(eventGym(slot), gym);
    r.pack(nowUpGym(slot), gym);
    const bool bonuses = m_meet.MeetsUseDBonus() || m_meet.MeetsUseJNBonus();
    if (m_meet.MeetsScoreMethod()) {
        r.pack(eventScore(slot), score6(c.eventScoreA));
        r.pack(eventDScore(slot), formatFloat(c.d, QStringLiteral("#0.00")));
        r.pack(eventEScore(slot), formatFloat(c.e, QStringLiteral("#0.000")));
        r.pack(eventDBonus(slot), bonuses ? formatFloat(c.dBonus, QStringLiteral("#0.000")) : QString());
        r.pack(eventEBonus(slot), bonuses ? formatFloat(c.eBonus, QStringLiteral("#0.0")) : QString());
    } else {
        r.pack(eventScore(slot), score6(c.e));
        for (const Field &field : {eventDScore(slot), eventEScore(slot), eventDBonus(slot), eventEBonus(slot)})
            r.blank(field);
    }
    r.pack(eventND(slot), c.nd == kNoValue ? QString() : formatFloat(c.nd, QStringLiteral("#0.0")));
}

void SamplePages::fillLeaderPages()
{
    using namespace layout;
    static const char *const sampleTitles[3][2] = {
        {"Leader 1", "FLOOR"}, {"Leader 2", "ALL-AROUND"}, {"Leader 3", "FLOOR"}};
    const bool method1 = m_meet.MeetsScoreMethod();
    for (int p = 1; p <= kLeaderPageCount; ++p) {
        if (m_testPattern) {
            m_record.pack(leaderTitle1(p), QStringLiteral("L") + n(p) + QStringLiteral("-T1-") + tail(14));
            m_record.pack(leaderTitle2(p), QStringLiteral("LEADER") + n(p) + QStringLiteral("-T2"));
        } else {
            m_record.pack(leaderTitle1(p), QString::fromLatin1(sampleTitles[p - 1][0]));
            m_record.pack(leaderTitle2(p), QString::fromLatin1(sampleTitles[p - 1][1]));
        }
        for (int k = 1; k <= kLeaderLinesShown; ++k) {
            if (m_testPattern) {
                const int m = 10 * p + k;
                m_record.pack(leaderRank(p, k), n(m));
                m_record.pack(leaderName(p, k), n(m) + QLatin1Char('-') + tail(37));
                m_record.pack(leaderGym(p, k), QStringLiteral("Gym") + n(m) + QLatin1Char('-') + tail(14));
                m_record.pack(leaderScore(p, k), score7(100 * p + k));
                continue;
            }
            const Competitor &c = row(k);
            const double score = p == 2 ? (method1 ? c.aaScoreA : c.aaScoreB) : sampleScore(k);
            m_record.pack(leaderRank(p, k), n(k));
            m_record.pack(leaderName(p, k), formatName(QString::fromLatin1(c.first), QString::fromLatin1(c.last),
                                                       m_context.nameFormat()));
            m_record.pack(leaderGym(p, k), QString::fromLatin1(c.gym));
            m_record.pack(leaderScore(p, k), score7(score));
        }
    }
}

void SamplePages::fillNcaa()
{
    using namespace layout;
    static const char *const teams[6][2] = {{"Rebel Alliance", "FLOOR"},   {"First Order", "POMMEL"},
                                            {"The Resistance", "RINGS"},   {"Galactic Empire", "VAULT"},
                                            {"Jedi Order", "P BARS"},      {"Trade Federation", "H BAR"}};
    if (!m_testPattern)
        seed();
    for (int g = 1; g <= kNcaaGroupCount; ++g) {
        if (m_testPattern) {
            m_record.pack(ncaaTeam(g), QStringLiteral("NCAA") + n(g) + QStringLiteral("-TEAM-") + tail(9));
            m_record.pack(ncaaEvent(g), QStringLiteral("EVENT") + n(g));
            for (int k = 1; k <= kNcaaLineupLines; ++k) {
                m_record.pack(ncaaLineupName(g, k), n(g) + n(k) + QLatin1Char('-') + tail(37));
                m_record.pack(ncaaLineupScore(g, k), score6(10 * g + k));
                m_record.pack(ncaaEventScore(g, k), score6(10 * g + k));
            }
            m_record.pack(ncaaEventTotal(g), score7(g + 800));
            m_record.pack(ncaaTeamTotal(g), total7(g + 900));
            continue;
        }
        m_record.pack(ncaaTeam(g), QString::fromLatin1(teams[g - 1][0]));
        m_record.pack(ncaaEvent(g), QString::fromLatin1(teams[g - 1][1]));
        for (int k = 1; k <= kNcaaLineupLines; ++k) {
            m_record.pack(ncaaLineupName(g, k), formatName(QString::fromLatin1(row(k).first),
                                                           QString::fromLatin1(row(k).last), m_context.nameFormat()));
            m_record.pack(ncaaLineupScore(g, k), score6(sampleScore(k)));
        }
        double last = 0;
        for (int e = 1; e <= kMatrixEvents; ++e) {
            last = fiveBestOfSix();
            m_record.pack(ncaaEventScore(g, e), score6(last));
        }
        m_record.pack(ncaaEventTotal(g), score7(last));
        m_record.pack(ncaaTeamTotal(g), total7(last * 4));
    }
}

void SamplePages::fillMatrix()
{
    using namespace layout;
    const int events = std::min(m_context.numEvents(1), kMatrixEvents);
    for (int e = 1; e <= events; ++e) {
        m_record.pack(matrixTitle(e), m_testPattern ? QStringLiteral("EVENT") + n(e) : m_context.eventTitle(1, e).toUpper());
        m_record.pack(matrixShortTitle(e), m_testPattern ? QStringLiteral("E") + n(e)
                                                         : (m_shortTitle ? m_shortTitle(e).toUpper() : QString()));
    }
    if (!m_testPattern)
        seed();
    for (int r = 1; r <= kMatrixRows; ++r) {
        if (m_testPattern) {
            m_record.pack(matrixRank(r), n(r + 40));
            m_record.pack(matrixTeam(r), QStringLiteral("Matrix") + n(r) + QLatin1Char('-') + tail(12));
            m_record.pack(matrixTeamScore(r), total7(r + 400));
            for (int e = 1; e <= events; ++e)
                m_record.pack(matrixEventScore(r, e), score6(r + 40 + e / 1000.0));
            continue;
        }
        m_record.pack(matrixRank(r), n(r));
        m_record.pack(matrixTeam(r), QStringLiteral("Matrix Team ") + n(r));
        double total = 0;
        for (int e = 1; e <= events; ++e) {
            const double sum = fiveBestOfSix();
            m_record.pack(matrixEventScore(r, e), score6(sum));
            total = round3(total + sum);
        }
        m_record.pack(matrixTeamScore(r), total7(total));
    }
}

} // namespace kestra
