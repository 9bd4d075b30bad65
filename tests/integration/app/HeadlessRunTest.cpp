// The run without windows in-process: command-line picks reach the main
// window's controls the way an operator's would, a pick that cannot be made is
// refused in words, and the run ends in order.
#include "generator/HeadlessOptions.h"
#include "generator/HeadlessRun.h"

#include "support/MainRig.h"

using namespace kestra;
using namespace kestra::test;

namespace {

HeadlessOptions options(const QStringList &arguments)
{
    const auto parsed = HeadlessOptions::parse(arguments);
    EXPECT_TRUE(std::holds_alternative<HeadlessOptions>(parsed));
    return std::get<HeadlessOptions>(parsed);
}

} // namespace

TEST(HeadlessRunTest, picksReachTheControlsAndStartRuns)
{
    MainRig rig;
    HeadlessRun run(rig.main(), options({"--meet", "1", "--sessions", "2,1", "--events", "1,3", "--target", "daktronics"}));
    ASSERT_EQ(run.begin(), HeadlessRun::Outcome::Running) << run.lastError().toStdString();
    EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Running);
    EXPECT_EQ(rig(S("cboSession1")).text(), S("2"));
    EXPECT_EQ(rig(S("cboSession1x")).text(), S("1"));
    EXPECT_TRUE(rig(S("chkEvent31")).isChecked());
    EXPECT_FALSE(rig(S("chkEvent41")).isChecked());
    EXPECT_TRUE(run.describe().startsWith(S("running: meet \"Spring Classic 2024\", event group \"Women\", "
                                            "sessions 2,1, events VAULT BEAM; target Daktronics")))
        << run.describe().toStdString();
    run.finish();
    EXPECT_TRUE(rig.main().isClosed());
    run.finish(); // once is enough

    MainRig dual;
    HeadlessRun second(dual.main(), options({"--dual", "--sessions", "1", "--group2", "2", "--sessions2", "3",
                                             "--events2", "1,6"}));
    ASSERT_EQ(second.begin(), HeadlessRun::Outcome::Running) << second.lastError().toStdString();
    EXPECT_TRUE(dual(S("chkEvent62")).isChecked());
    EXPECT_FALSE(dual(S("chkEvent22")).isChecked());
    EXPECT_TRUE(dual.main().timer(3).isActive());
    EXPECT_TRUE(second.describe().contains(S("column 2: event group \"Men\", sessions 3, events FLOOR HIBAR")))
        << second.describe().toStdString();
}

TEST(HeadlessRunTest, refusedPicksLeaveTheGeneratorStoppedAndSayWhy)
{
    const struct {
        QStringList arguments;
        const char *error;
    } refusals[] = {
        {{"--meet", "99"}, "--meet 99: There is no meet with MeetID 99."},
        {{"--group", "77"}, "--group 77: There is no event group with EventID 77."},
        {{"--sessions", "9"}, "--sessions 9: Session \"9\" is not a session of the selected meet."},
        {{"--events", "1,5"}, "--events: Event 5 is not in the selected event group, which has 4 events."},
        {{"--rotation", "3"}, "--rotation 3: The rotation is followed in NCAA mode only."},
        {{"--ncaa", "--sessions", "1", "--rotation", "9"}, "--rotation 9: Rotation 9 is not offered; there are 5."},
        {{"--dual", "--sessions", "1", "--sessions2", "1"},
         "Start refused the picks: The sessions must be different in a dual session using the same events"},
        {{"--ncaa"}, "Start refused the picks: A session number must be entered for NCAA Mode"},
    };
    for (const auto &r : refusals) {
        SCOPED_TRACE(r.arguments.join(QLatin1Char(' ')).toStdString());
        MainRig rig;
        HeadlessRun run(rig.main(), options(r.arguments));
        EXPECT_EQ(run.begin(), HeadlessRun::Outcome::Refused);
        EXPECT_EQ(run.lastError(), S(r.error));
        EXPECT_EQ(rig.main().runState(), KestraMain::RunState::Stopped);
        run.finish();
        EXPECT_TRUE(rig.main().isClosed());
    }
}
