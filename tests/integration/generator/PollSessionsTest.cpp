// The poll's session filter run on both engines: which queue rows the ticks
// of a column take for each way of filling the session boxes.
#include "generator/ScorePoll.h"

#include "support/GeneratorFixture.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

std::unique_ptr<GeneratorFixture> makeFixture(StoreBackend backend)
{
    if (backend == StoreBackend::Sqlite)
        return std::make_unique<GeneratorFixture>();
    return std::make_unique<GeneratorFixture>(GeneratorFixture::freshPostgresStore());
}

class PollSessionsTest : public testing::TestWithParam<StoreBackend> {};

} // namespace

TEST_P(PollSessionsTest, TheBoxesChooseTheSessionsTaken)
{
    auto f = makeFixture(GetParam());
    f->addSmallMeet();
    f->options.Interval = 0;
    f->tickOnly(1, {1});
    ScorePoll poll(*f);

    const struct {
        const char *what;
        QStringList boxes;
        QStringList taken; // sessions, in the order the rows came
    } cases[] = {
        {"all boxes empty: every session", {}, {"1", "2", "O'B", "1"}},
        {"primary only", {"1"}, {"1", "1"}},
        {"primary and x", {"1", "2"}, {"1", "2", "1"}},
        {"a quote in z", {"2", "", "", "O'B"}, {"2", "O'B"}},
        {"all four", {"O'B", "9", "2", "1"}, {"1", "2", "O'B", "1"}},
        {"extra boxes without the primary", {"", "2", "O'B", ""}, {"1", "2", "O'B", "1"}},
        {"no such session", {"7"}, {}},
    };
    for (const auto &c : cases) {
        f->store().execute(QStringLiteral("delete from ScoreQueue"));
        f->slotTable = {};
        f->addScore(1, 1, "1", 101);
        f->addScore(1, 1, "2", 103);
        f->addScore(1, 1, "O'B", 104);
        f->addScore(1, 1, "1", 102);
        f->setSessions(1, c.boxes);
        for (int t = 0; t < 5; ++t) {
            f->clock.advance(4000);
            poll.tick(1);
        }
        QueryResult r = f->store().query(QStringLiteral(
            "select s.Session from ScoreQueue s, QueueDone q where q.DataID = s.DataID and q.AppID = 4 order by s.DT"));
        QStringList taken;
        for (; !r.eof(); r.next())
            taken << r.value(QStringLiteral("Session")).toString();
        EXPECT_EQ(taken, c.taken) << c.what;
    }
}

INSTANTIATE_TEST_SUITE_P(Backends, PollSessionsTest,
                         testing::Values(StoreBackend::Sqlite, StoreBackend::Postgres),
                         [](const testing::TestParamInfo<StoreBackend> &info) {
                             return std::string(info.param == StoreBackend::Sqlite ? "SQLite" : "PostgreSQL");
                         });
