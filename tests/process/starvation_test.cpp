// What the tests do about a machine that has no time for the programs.
#include "support/frames.h"
#include "support/process_test.h"

namespace {
class Starvation : public ProcessTest {};
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
