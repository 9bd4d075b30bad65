// The run without windows in-process: command-line picks reach the main
// window's controls the way an operator's would, and the run ends in order.
#include "generator/HeadlessOptions.h"
#include "generator/HeadlessRun.h"
#include "support/LogicalControl.h"

#include "integration/app/SeededMain.h"

#include <ostream>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

class HeadlessRunTest : public testing::Test, protected kestra::test::SeededMain {
protected:
    HeadlessOptions options(const QStringList &arguments)
    {
        const auto parsed = HeadlessOptions::parse(arguments);
        EXPECT_TRUE(std::holds_alternative<HeadlessOptions>(parsed));
        return std::get<HeadlessOptions>(parsed);
    }
};

TEST_F(HeadlessRunTest, picksReachTheControlsAndStartRuns)
{
    HeadlessRun run(*main, options({S("--meet"), S("1"), S("--sessions"), S("2,1"), S("--events"), S("1,3"),
                                    S("--target"), S("daktronics")}));
    ASSERT_EQ(run.begin(), HeadlessRun::Outcome::Running) << run.lastError().toStdString();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Running);
    EXPECT_EQ(c("cboSession1").text(), S("2"));
    EXPECT_EQ(c("cboSession1x").text(), S("1"));
    EXPECT_TRUE(c("chkEvent11").isChecked());
    EXPECT_FALSE(c("chkEvent21").isChecked());
    EXPECT_TRUE(c("chkEvent31").isChecked());
    EXPECT_FALSE(c("chkEvent41").isChecked());
    EXPECT_EQ(main->checkedTarget(), OutputTarget::Daktronics);

    const QString line = run.describe();
    EXPECT_TRUE(line.startsWith(S("running: meet \"Spring Classic 2024\", event group \"Women\", sessions 2,1, "
                                  "events VAULT BEAM; target Daktronics")))
        << line.toStdString();

    run.finish();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Stopped);
    EXPECT_TRUE(main->isClosed());
    run.finish(); // once is enough; a second call changes nothing
    EXPECT_TRUE(main->isClosed());
}

TEST_F(HeadlessRunTest, aSecondColumnWithItsOwnGroup)
{
    HeadlessRun run(*main, options({S("--dual"), S("--sessions"), S("1"), S("--group2"), S("2"), S("--sessions2"),
                                    S("3"), S("--events2"), S("1,6")}));
    ASSERT_EQ(run.begin(), HeadlessRun::Outcome::Running) << run.lastError().toStdString();
    EXPECT_TRUE(main->isDual());
    EXPECT_EQ(main->selection().numEvents(2), 6);
    EXPECT_EQ(c("cboSession2").text(), S("3"));
    EXPECT_TRUE(c("chkEvent12").isChecked());
    EXPECT_FALSE(c("chkEvent22").isChecked());
    EXPECT_TRUE(c("chkEvent62").isChecked());
    EXPECT_TRUE(main->timer(3).isActive());
    EXPECT_TRUE(run.describe().contains(S("column 2: event group \"Men\", sessions 3, events FLOOR HIBAR")))
        << run.describe().toStdString();
    run.finish();
}

struct Refusal {
    QStringList arguments;
    const char *error;
};

void PrintTo(const Refusal &refusal, std::ostream *os)
{
    *os << refusal.arguments.join(QLatin1Char(' ')).toStdString();
}

class HeadlessRunRefusals : public HeadlessRunTest, public testing::WithParamInterface<Refusal> {};

TEST_P(HeadlessRunRefusals, leaveTheGeneratorStoppedAndSayWhy)
{
    HeadlessRun run(*main, options(GetParam().arguments));
    EXPECT_EQ(run.begin(), HeadlessRun::Outcome::Refused);
    EXPECT_EQ(run.lastError(), S(GetParam().error));
    EXPECT_EQ(main->runState(), KestraMain::RunState::Stopped);
    run.finish();
    EXPECT_TRUE(main->isClosed());
}

INSTANTIATE_TEST_SUITE_P(
    HeadlessRunTest, HeadlessRunRefusals,
    testing::Values(Refusal{{S("--meet"), S("99")}, "--meet 99: There is no meet with MeetID 99."},
                    Refusal{{S("--group"), S("77")}, "--group 77: There is no event group with EventID 77."},
                    // Dual display with the same sessions of the same group: Start refuses.
                    Refusal{{S("--dual"), S("--sessions"), S("1"), S("--sessions2"), S("1")},
                            "Start refused the picks: The sessions must be different in a dual session using the "
                            "same events"},
                    Refusal{{S("--ncaa")}, "Start refused the picks: A session number must be entered for NCAA Mode"},
                    Refusal{{S("--events"), S("1,5")},
                            "--events: Event 5 is not in the selected event group, which has 4 events."},
                    Refusal{{S("--rotation"), S("3")}, "--rotation 3: The rotation is followed in NCAA mode only."}),
    [](const testing::TestParamInfo<Refusal> &info) { return "case" + std::to_string(info.index); });

} // namespace
