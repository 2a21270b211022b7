// When a backend runs.
#include <gmock/gmock.h>

#include "server/desk/setup.h"
#include "unit/routers/backend_run.h"

using namespace routers;
using namespace std::chrono_literals;
using desk::link_state;
using testing::ElementsAre;
using testing::StartsWith;

using BackendStart = BackendRun;

TEST_F(BackendStart, StartsABackendThatEndsAnewAndSaysWhenItFails)
{
    run(says("<ERR>no good") + "exit 3\n");
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(serve_until([this] { return main.starts == 2; }));
    EXPECT_EQ(live().link, link_state::down);
    EXPECT_EQ(live().link_reason, "its backend exited with status 3: no good");
    ASSERT_TRUE(serve_until(link_is(link_state::failing)));
    EXPECT_EQ(main.starts, 5U);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1400ms); // 0, 0.2, 0.4, 0.8 s
    EXPECT_EQ(live().link_reason,
              "its backend exited with status 3, the end number 5 within a minute: no good");
    ASSERT_TRUE(main.start_at);
}

// It cannot be run, which counts as an end.
TEST_F(BackendStart, DoublesThePauseBetweenStarts)
{
    main.program = "/no/backend";
    desk::moment time{1h, {}};
    run_backend(main, desk, time, desk.house.routers.at("main").settings);
    std::vector<desk::monotonic> pauses;
    std::vector<link_state> states;
    for (int i = 0; i < 8; ++i) {
        pauses.push_back(next_due(main).value() - time.steady);
        states.push_back(live().link);
        time.steady = *next_due(main);
        serve_backend(main, desk, time);
    }
    EXPECT_THAT(pauses, ElementsAre(0ms, 200ms, 400ms, 800ms, 1600ms, 3200ms, 5s, 5s));
    EXPECT_EQ(states[3], link_state::down);
    EXPECT_EQ(states[4], link_state::failing);

    time.steady += ENDS_COUNT;
    serve_backend(main, desk, time);
    EXPECT_EQ(next_due(main), time.steady);
    EXPECT_EQ(live().link, link_state::down);
}

TEST_F(BackendStart, StartsNothingBeforeItIsDue)
{
    main.program = "/no/backend";
    desk::moment time{1h, {}};
    run_backend(main, desk, time, desk.house.routers.at("main").settings);
    serve_backend(main, desk, time);
    EXPECT_EQ(main.starts, 2U);
    time.steady += FIRST_PAUSE - 1us;
    serve_backend(main, desk, time);
    EXPECT_EQ(main.starts, 2U);
}

TEST_F(BackendStart, SaysThatAProgramCannotBeRun)
{
    main.program = "/no/backend";
    run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    EXPECT_EQ(live().link, link_state::down);
    EXPECT_THAT(live().link_reason, StartsWith("its backend cannot be started: Cannot run"));
    EXPECT_TRUE(next_due(main));
}

TEST_F(BackendStart, IsNotStartedAnewWhenItHasBeenStopped)
{
    main.program = "/no/backend";
    run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    stop_backend(main, now());
    EXPECT_FALSE(next_due(main));
}

TEST_F(BackendStart, NeedsNoneWithoutAnAddress)
{
    desk::router_settings settings = desk.house.routers.at("main").settings;
    settings.address = "";
    main.program = "/no/backend";
    run_backend(main, desk, now(), settings);
    EXPECT_EQ(live().link, link_state::off);
    EXPECT_FALSE(is_running(main));
    EXPECT_FALSE(next_due(main));
}

TEST_F(BackendStart, KeepsABackendWhoseSettingsAreTheSameToIt)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    desk::router_settings renamed = main.settings;
    renamed.name = "Other";
    run_backend(main, desk, now(), renamed);
    EXPECT_FALSE(main.ending);
    EXPECT_EQ(main.settings.name, "Other");
}

TEST_F(BackendStart, IsStoppedForGood)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(live().link, link_state::off);
    EXPECT_FALSE(next_due(main));
    EXPECT_EQ(main.starts, 1U);
}

TEST_F(BackendStart, IsKilledOnceWhenItDoesNotEnd)
{
    run("trap '' TERM\n" + becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::moment told = now();
    stop_backend(main, told);
    EXPECT_EQ(next_due(main), told.steady + TIME_TO_END);
    serve_backend(main, desk, {told.steady + TIME_TO_END - 1us, {}});
    EXPECT_TRUE(next_due(main));
    serve_backend(main, desk, {told.steady + TIME_TO_END, {}});
    EXPECT_FALSE(next_due(main));
    EXPECT_TRUE(serve_until([this] { return !is_running(main); }));
}

// The desk has ordered the end of one that has ended of its own accord.
TEST_F(BackendStart, EndsNoneOfAfterTheOneThatWasMeant)
{
    run("exit 3\n");
    ASSERT_TRUE(serve_until(link_is(link_state::failing)));
    ASSERT_FALSE(is_running(main));
    desk::router_settings settings = main.settings;
    const desk::actor eve{"eve", "test", {desk::right::engineer, {}, {}}};
    for (const char* const address : {"", "10.0.0.6"}) {
        settings.address = address;
        ASSERT_EQ(set_router(desk, now(), eve, settings).why, desk::reason::none);
        run_backend(main, desk, now(), settings);
        carry_out_orders();
        EXPECT_EQ(live().ending, desk::reason::none) << address;
        EXPECT_FALSE(main.ending);
    }
}
