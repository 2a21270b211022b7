// Takes around the moment at which the link is lost.
#include <cstdio>
#include <random>
#include <unistd.h>

#include "server/desk/words.h"
#include "support/routers_process.h"
#include "tools/common/random.h"

using namespace std::chrono_literals;

namespace {
constexpr int ROUTERS = 20;
constexpr int CUTS = 200; // of all together
constexpr int PORTS = 32;

class RoutersCut : public RoutersProcess {
  protected:
    struct cutting {
        int number = 0; // which router
        int cuts = 0;
        desk::monotonic next{}; // not before; set while the link is ready
        std::optional<desk::ulid> wish;
    };

    std::mt19937_64 random;
    std::vector<cutting> all;
    std::vector<desk::ulid> wishes;

    RoutersCut()
    {
        const std::uint64_t seed = std::random_device{}();
        std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
        random.seed(seed);
        confirmation_limit = desk::CONFIRMATION_LIMIT;
    }

    static std::string name_of(const cutting& each)
    {
        return "r" + std::to_string(each.number);
    }

    void pause_a_moment()
    {
        if (common::draw_chance(random, 0.8)) usleep(common::draw(random, 0U, 4000U));
    }

    // Each crosspoint once on each router.
    void take_one(cutting& each)
    {
        const auto answer = take(name_of(each), each.cuts, PORTS - 1 - each.cuts);
        if (answer.batch.is_none() || !answer.rows.at(0).goes) return; // the loss was seen already
        each.wish = answer.batch;
        wishes.push_back(answer.batch);
    }

    void cut_one(cutting& each)
    {
        if (common::draw_chance(random, 0.5)) {
            take_one(each);
            pause_a_moment();
            say(name_of(each), "drop");
        } else {
            say(name_of(each), "drop");
            pause_a_moment();
            take_one(each);
        }
        ++each.cuts;
        each.next = {};
    }

    void go_on(cutting& each)
    {
        if (each.wish && !has_ended(*each.wish)) return;
        each.wish.reset();
        if (!is_ready(name_of(each))) each.next = {};
        if (!is_ready(name_of(each)) || is_done(each)) return;
        // Also within the pacing of the take before, and around the status cycle.
        if (each.next == desk::monotonic{})
            each.next = now().steady + std::chrono::milliseconds(common::draw(random, 0, 400));
        if (now().steady >= each.next) cut_one(each);
    }

    static bool is_done(const cutting& each)
    {
        return each.cuts == CUTS / ROUTERS;
    }

    bool all_done()
    {
        bool done = true;
        for (cutting& each : all) {
            go_on(each);
            done = done && is_done(each) && !each.wish && is_ready(name_of(each));
        }
        return done;
    }
};
} // namespace

// What waits in a backend is made as soon as it has found its router again: so every router is
// ready again at the end.
TEST_F(RoutersCut, MakeNoTakeThatWasCalledNotSent)
{
    for (int i = 0; i < ROUTERS; ++i) {
        all.push_back({i, 0, {}, {}});
        ASSERT_NO_FATAL_FAILURE(add_router(name_of(all.back())));
    }
    ASSERT_TRUE(until([this] { return all_done(); }));
    for (const cutting& each : all)
        ASSERT_TRUE(catch_up(name_of(each)));

    std::map<std::string, int> outcomes;
    for (const desk::ulid& wish : wishes) {
        EXPECT_EQ(problem_of(wish), "");
        ++outcomes[desk::text_of(wish_of(wish).end)];
    }
    for (const auto& [outcome, count] : outcomes)
        std::printf("%s: %d\n", outcome.c_str(), count);
    EXPECT_GT(wishes.size(), CUTS / 4U);
}
