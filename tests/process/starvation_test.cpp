// What the tests do about a machine that has no time for the programs.
#include <chrono>
#include <deque>
#include <sched.h>
#include <thread>

#include "support/frames.h"
#include "support/process_test.h"
#include "support/replay.h"

using namespace std::chrono_literals;

namespace {
class Starvation : public ProcessTest {};

std::string a_core_for_us()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    EXPECT_EQ(sched_getaffinity(0, sizeof cores, &cores), 0);
    std::size_t core = 0;
    while (core < CPU_SETSIZE - 1 && !CPU_ISSET(core, &cores))
        ++core;
    return std::to_string(core);
}
} // namespace

// The routes come when the next request has gone out: its reply is the first of them, and the rest
// is thrown away.
TEST_F(Starvation, RoutesThatTheBackendHasThrownAwayAreAskedForAgain)
{
    router.answers = healthy_answers();
    const std::string routes = router.answers["QI 1 0"] + router.answers["QI 2 0"];
    router.answers.erase("QI 1 0");
    router.answers.erase("QI 2 0");
    router.answers["BK F"].insert(0, routes);
    start_on_router();
    ASSERT_TRUE(until([this] { return count_requests(router, "BK F") >= 1; }));
    router.answers = healthy_answers();
    EXPECT_NE(hear_route("o1.input.all=2"), "");
    EXPECT_GE(statuses_thrown_away(backend), 1);
}

TEST_F(Starvation, OfTheTestIsMeasured)
{
    until([turn = 0]() mutable {
        if (turn == 1) std::this_thread::sleep_for(700ms);
        return ++turn == 3;
    });
    EXPECT_GE(starved_for(), 680ms);
}

// Two that want one core.
TEST_F(Starvation, OfTheProgramsIsMeasured)
{
    const std::vector<std::string> loop = {"-c", a_core_for_us(), "sh", "-c",
                                           "while :; do :; done"};
    ASSERT_TRUE(start_backend(backend, "/usr/bin/taskset", loop, error)) << error;
    ASSERT_TRUE(start_backend(second_backend, "/usr/bin/taskset", loop, error)) << error;
    const auto end = std::chrono::steady_clock::now() + 2s;
    until([end] { return std::chrono::steady_clock::now() >= end; });
    EXPECT_GE(backend_unserved, 500ms);
    EXPECT_GE(starved_for() + 1ms, late + backend_unserved);
}

namespace {
struct play_result {
    bool departs;
    std::chrono::milliseconds starved;
};

// Results one after the other, the last of them for ever.
struct scripted_plays {
    std::deque<play_result> results;
    int played = 0;
    int judged = 0; // the number of the play
};

struct scripted_play {
    scripted_plays* plays;
    play_result result;

    explicit scripted_play(scripted_plays* all) : plays(all), result(all->results.front())
    {
        if (all->results.size() > 1) all->results.pop_front();
    }
    void run()
    {
        ++plays->played;
    }
    bool has_departed() const
    {
        return result.departs;
    }
    std::chrono::milliseconds starved_for() const
    {
        return result.starved;
    }
    void judge()
    {
        plays->judged = plays->played;
    }
};

int judged_of(const std::deque<play_result>& results)
{
    scripted_plays plays{.results = results};
    play_unstarved<scripted_play>(&plays);
    EXPECT_EQ(plays.played, plays.judged);
    return plays.judged;
}
} // namespace

TEST(Replay, ComesOnlyWhereAStarvedPlayHasRunPastADeadline)
{
    EXPECT_EQ(judged_of({{false, 0ms}}), 1);
    EXPECT_EQ(judged_of({{false, 9s}}), 1);
    EXPECT_EQ(judged_of({{true, 499ms}}), 1);
    EXPECT_EQ(judged_of({{true, 500ms}, {false, 500ms}}), 2);
    EXPECT_EQ(judged_of({{true, 9s}, {true, 9s}, {true, 0ms}}), 3);
    EXPECT_EQ(judged_of({{true, 9s}}), MOST_PLAYS);
}

TEST(Replay, ComesForADeadlineThatNothingExplains)
{
    const std::vector<std::vector<std::string>> accepted = {{"a"}, {"a", "b", "c"}};
    const std::string timeout = "<ERR>Timeout receiving message";
    EXPECT_FALSE(departs_by_deadline({}, accepted));
    EXPECT_FALSE(departs_by_deadline({"a", "b"}, accepted));
    EXPECT_TRUE(departs_by_deadline({"a", "b", timeout, "d"}, accepted));
    EXPECT_TRUE(departs_by_deadline({"<ERR>Timeout during query (d=0 s=0 l=0)"}, accepted));
    EXPECT_FALSE(departs_by_deadline({"a", "d", timeout}, accepted));
    EXPECT_FALSE(departs_by_deadline({timeout}, {{timeout}}));
}
