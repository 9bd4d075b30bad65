// The results page cycle over the main window on the seeded store, with
// page builds that give known rows; ticks are run by hand.
#include "outputs/DisplayRecord.h"
#include "results/PageBuilds.h"
#include "results/ResultsGraphic.h"
#include "results/ResultsPage.h"
#include "support/MainRig.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::S;

namespace {

// N rows for every page; each build counted.
class CountedRows final : public PageBuilds {
public:
    explicit CountedRows(int &builds) : PageBuilds({}), m_builds(builds) {}
    int rows = 20;
    ResultsRows BuildEventRows(const QString &) override { return make(); }
    ResultsRows BuildTeamRows(const QString &) override { return make(); }

private:
    ResultsRows make()
    {
        ++m_builds;
        ResultsRows out;
        for (int i = 1; i <= rows; ++i) {
            ResultsRow row;
            row.Place = QString::number(i);
            row.Name = S("Gymnast %1").arg(i);
            row.Team = S("Gym %1").arg(i);
            row.Score = S("  9.500");
            row.Scores = {S("49.100"), S("0.000"), S("48.900"), S("49.000"), QString(), QString()};
            out.push_back(row);
        }
        return out;
    }
    int &m_builds;
};

QString eventPage(int channel, const QString &title)
{
    EventPageLine page;
    page.channel = QString::number(channel);
    page.title = title;
    page.eventName = S("VAULT");
    page.meets[0] = 1;
    return page.compose();
}

class PageCycleTest : public test::OpenMainWindow {
protected:
    void SetUp() override
    {
        OpenMainWindow::SetUp();
        auto builds = std::make_unique<CountedRows>(buildCount);
        rows = builds.get();
        window().setBuilds(std::move(builds));
    }
    ResultsGraphic &window() { return rig.main().openResults(); }
    void start(const QStringList &lines)
    {
        window().appendLines(lines);
        window()(S("btnStart")).click();
        ASSERT_TRUE(window().cycle().isRunning());
    }
    void tick() { window().cycle().Timer1Timer(); }
    QString line(int page, int n) { return rig.record.text({layout::leaderLineBase(page, n), 49}).trimmed(); }

    int buildCount = 0;
    CountedRows *rows = nullptr;
};

TEST_F(PageCycleTest, TwentyRowsAtEightLinesAreThreeScreensThenThePageIsBuiltAgain)
{
    start({eventPage(1, S("Level 4 Vault"))});
    EXPECT_EQ(buildCount, 0) << "Start itself shows nothing";
    tick();
    EXPECT_EQ(rig.record.text(layout::leaderTitle1(1)).trimmed(), S("Level 4 Vault"));
    EXPECT_EQ(rig.record.text(layout::leaderTitle2(1)).trimmed(), S("VAULT"));
    EXPECT_EQ(line(1, 1), S("1 ") + S("Gymnast 1").leftJustified(40) + S("  9.500"));
    EXPECT_EQ(rig.record.text(layout::leaderGym(1, 8)).trimmed(), S("Gym 8"));
    tick();
    EXPECT_EQ(line(1, 1).left(12), S("9 Gymnast 9 "));
    tick();
    EXPECT_EQ(line(1, 4).left(12), S("20Gymnast 20"));
    for (int n = 5; n <= 8; ++n)
        EXPECT_EQ(line(1, n), QString()) << n;
    EXPECT_TRUE(window().cycle().channel(1).PageDone);
    EXPECT_EQ(buildCount, 1);
    tick(); // the channel's one line comes again, with scores as they now stand
    EXPECT_EQ(buildCount, 2);
    EXPECT_EQ(line(1, 1).left(10), S("1 Gymnast "));
    EXPECT_TRUE(window().cycle().timer().isActive());
}

TEST_F(PageCycleTest, APageWithoutRowsTakesItsTickAndOtherChannelsStayUntouched)
{
    rows->rows = 0;
    rig.record.pack(layout::leaderPage(1), S("page one as it was"));
    rig.record.pack(layout::leaderPage(3), S("page three as it was"));
    const QByteArray one = rig.record.read(layout::leaderPage(1));
    const QByteArray three = rig.record.read(layout::leaderPage(3));
    start({eventPage(2, QString())});
    tick();
    EXPECT_EQ(rig.record.text(layout::leaderTitle1(2)).trimmed(), S("Event Results for:"));
    for (int n = 1; n <= 8; ++n)
        EXPECT_EQ(line(2, n), QString()) << n;
    EXPECT_TRUE(window().cycle().channel(2).PageDone);
    tick();
    EXPECT_EQ(buildCount, 2) << "done at once, so built again on the next tick";
    EXPECT_EQ(rig.record.read(layout::leaderPage(1)), one);
    EXPECT_EQ(rig.record.read(layout::leaderPage(3)), three);
    EXPECT_EQ(window().cycle().channel(1).NextLine, -1);
}

TEST_F(PageCycleTest, TeamPagesAndTheMatrix)
{
    TeamPageLine team;
    team.eventGroup = 1;
    team.meet = 1;
    team.title = S("Level 4 Teams");
    TeamPageLine matrix = team;
    matrix.ncaa = matrix.grid = true;
    rows->rows = 2;
    start({team.compose(), matrix.compose()});
    tick();
    EXPECT_EQ(rig.record.text(layout::leaderTitle2(1)).trimmed(), S("TEAM RANK"));
    EXPECT_EQ(line(1, 1).left(10), S("1 Gym 1   ")) << "a team row shows the team as its name";
    EXPECT_EQ(rig.record.text(layout::matrixTitle(1)) + rig.record.text(layout::matrixShortTitle(1)), S("VAULT VT"));
    EXPECT_EQ(rig.record.text(layout::matrixTitle(5)).trimmed(), QString()) << "four events in the group";
    EXPECT_EQ(rig.record.read({layout::matrixRowBase(1), 65}),
              QByteArray("1 Gym 1                 9.50049.100      48.90049.000            "));
    EXPECT_EQ(rig.record.read({layout::matrixRowBase(3), 65}), QByteArray(65, ' '));
}

TEST_F(PageCycleTest, StartOnAnEmptyQueueChangesNothingAndClearKeepsLinesBelowTheScreen)
{
    window()(S("btnStart")).click();
    EXPECT_FALSE(window().cycle().isRunning());
    EXPECT_TRUE(window()(S("btnStart")).isEnabled());
    EXPECT_FALSE(window()(S("btnStop")).isEnabled());

    for (int n = 1; n <= 8; ++n)
        rig.record.pack(layout::leaderName(3, n), S("kept"));
    window()(S("spinLeaderLines")).operatorSetText(S("6"));
    window()(S("btnClear")).click();
    EXPECT_EQ(line(3, 6), QString());
    EXPECT_EQ(line(3, 7), S("kept"));
    EXPECT_EQ(line(3, 8), S("kept"));
}

// A Daktronics frame built from its table: start, zeros, address, data,
// checksum of everything between the start and the checksum.
QByteArray frame(int address, const QByteArray &data)
{
    QByteArray body = QByteArray("00000000") + '\x01' + "00401" + QByteArray::number(address).rightJustified(5, '0') +
                      '\x02' + data + '\x04';
    unsigned sum = 0;
    for (char c : body)
        sum += static_cast<unsigned char>(c);
    return '\x16' + body + QByteArray::number(sum % 256, 16).toUpper().rightJustified(2, '0') + '\x17';
}

TEST_F(PageCycleTest, OneTickSendsTheLeaderPageAndItsGymsToTheBoard)
{
    rows->rows = 1;
    rig.newFrames();
    start({eventPage(2, S("Level 4 Vault"))});
    tick();
    QByteArray page = QByteArray("Level 4 Vault").leftJustified(20) + QByteArray("VAULT").leftJustified(10) +
                      QByteArray("1 Gymnast 1").leftJustified(42) + "  9.500";
    page = page.leftJustified(471);
    const QByteArray gyms = QByteArray("Gym 1").leftJustified(160);
    EXPECT_EQ(rig.newFrames(2), (QList<QByteArray>{frame(957, page), frame(2541, gyms)}));
}

} // namespace
