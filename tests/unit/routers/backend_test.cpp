// A backend's place is taken by a shell script that says what a backend would.
#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

#include "server/desk/deadlines.h"
#include "server/desk/reports.h"
#include "server/desk/start.h"
#include "server/desk/steps.h"
#include "server/desk/takes.h"
#include "server/desk/words.h"
#include "server/routers/backend.h"
#include "support/backend_script.h"
#include "support/frames.h"
#include "support/temporary_directory.h"

using namespace routers;
using namespace std::chrono_literals;
using desk::link_state;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

namespace {
constexpr auto PATIENCE = 60s; // only a failure lasts that long

class BackendRun : public testing::Test {
  protected:
    desk::desk_state desk = desk::make_desk(1);
    temporary_directory folder;
    backend main;
    desk::monotonic passed{}; // beyond the clock's time
    desk::actor anna{"anna", "test", {desk::right::operate, {}, {}}};

    BackendRun()
    {
        desk::router_settings settings;
        settings.id = "main";
        settings.name = "Main";
        settings.address = "10.0.0.5";
        desk::record_entry(desk, {{}, "", "", desk::router_set{settings}});
        desk.live["main"];
        main.router = "main";
        main.configuration = folder.path / "main.conf";
    }

    desk::moment now() const
    {
        const auto steady = std::chrono::steady_clock::now().time_since_epoch();
        return {std::chrono::duration_cast<desk::monotonic>(steady) + passed,
                desk::wall(1'000'000'000)};
    }

    void run(const std::string& script)
    {
        main.program = folder.file("backend", "#!/bin/sh\n" + script);
        std::filesystem::permissions(main.program, std::filesystem::perms::owner_all);
        run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    }

    // What a backend says of a message that it has received.
    static std::string receives(const std::string& message)
    {
        const std::string whole = frame(message);
        return says("<DBG>Router: MSG " + whole.substr(1, whole.size() - 2));
    }

    void carry_out_orders()
    {
        for (const desk::order& order : std::exchange(desk.orders, {}))
            carry_out(main, desk, now(), order);
    }

    template <typename condition>
    testing::AssertionResult serve_until(condition done)
    {
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline)
                return testing::AssertionFailure() << "link: " << live().link_reason;
            std::vector<pollfd> descriptors;
            add_poll_descriptors(main, descriptors);
            poll(descriptors.data(), descriptors.size(), next_due(main) ? 5 : 50);
            serve_backend(main, desk, now());
            carry_out_orders();
        }
        return testing::AssertionSuccess();
    }

    auto link_is(link_state state)
    {
        return [this, state] {
            return live().link == state;
        };
    }

    const desk::live_router& live() const
    {
        return desk.live.at("main");
    }

    std::string heard() const
    {
        std::ostringstream text;
        text << std::ifstream(main.configuration + ".heard").rdbuf();
        return text.str();
    }

    desk::ulid take(const std::vector<std::pair<int, int>>& rows)
    {
        desk::take_request request;
        for (const auto& [destination, source] : rows)
            request.rows.push_back({{"main", destination, source}, {}});
        const desk::take_answer answer = desk::take(desk, now(), anna, request);
        EXPECT_EQ(answer.why, desk::reason::none) << answer.detail;
        carry_out_orders();
        return answer.batch;
    }

    const desk::wish& row(const desk::ulid& batch) const
    {
        return desk.house.batches.at(batch).rows.at(0);
    }

    auto has_ended(const desk::ulid& batch)
    {
        return [this, batch] {
            return row(batch).end != desk::outcome::open;
        };
    }
};
} // namespace

TEST_F(BackendRun, TellsTheDeskWhatTheRouterHas)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    EXPECT_EQ(live().inputs, 2);
    EXPECT_EQ(live().outputs, 2);
    EXPECT_EQ(desk::destination_name(desk, "main", 1), "MON B");
    EXPECT_EQ(desk::source_shown(live(), 1), 0);
    EXPECT_TRUE(desk::is_fresh(live(), 1));
    EXPECT_EQ(main.info.identity.model, "TX4");
    EXPECT_EQ(main.log.front().text, "Connection sucessful.");
    std::ifstream file(main.configuration);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "ip address=10.0.0.5");
}

TEST_F(BackendRun, CountsNoMoreThanIsNamed)
{
    run(becomes_ready() + reports("*COMMAND=inputs\n*TYPE=message\ni2.name=CAM 3") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return live().inputs == 3; }));
    EXPECT_EQ(live().outputs, 2);
}

TEST_F(BackendRun, CountsNoMoreThanIsSet)
{
    run(becomes_ready() + reports("*COMMAND=info\n*TYPE=message\ninputs=1\noutputs=2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return live().inputs == 1; }));
    EXPECT_EQ(live().outputs, 2);
}

TEST_F(BackendRun, WritesABatchAsOneRun)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    take({{0, 1}, {1, desk::NO_SOURCE}});
    const std::string head = "*COMMAND=route output\n*TYPE=command\n";
    const std::string batch = head + "from input=1\nqueue=add\nto output=0\n\n" + head +
                              "queue=add\nto output=1\n\n" + head + "queue=flush\n\n";
    EXPECT_TRUE(serve_until([&] { return heard().size() >= batch.size(); }));
    EXPECT_EQ(heard(), batch);
}

TEST_F(BackendRun, ConfirmsATakeThatWasSentAndShown)
{
    const std::string sent = frame("N0TI\t1\t2");
    const std::string shown = frame("N0IQ\t1\t0\tN\tN\t2");
    run(becomes_ready() + WAITS_FOR_FLUSH + says("<DBG>Send to router: " + sent) +
        says("<DBG>Router: MSG " + shown.substr(1, shown.size() - 2)) +
        says("<DBG>Accepting route change output=0 input=1") +
        reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=1") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::confirmed);
    EXPECT_EQ(main.trace.frames.size(), 2U);
}

TEST_F(BackendRun, DoubtsAFactWhenTheRouterHasToldAnotherRoute)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 1; }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    passed = REPORT_LIMIT;
    const std::string question = "*COMMAND=report\n*TYPE=command\nwhat=outputs\n\n";
    ASSERT_TRUE(serve_until([&] { return heard() == question; }));
    EXPECT_EQ(main.asked, 1U);
    EXPECT_FALSE(desk::is_fresh(live(), 0));
    EXPECT_EQ(desk::source_shown(live(), 0), 0);
    EXPECT_TRUE(desk::is_fresh(live(), 1));
}

TEST_F(BackendRun, AsksNothingWhenItsRouterShowsWhatNoBackendReports)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t0") + receives("N0IQ\t2\t0\tN\tN\t3") +
        receives("N0IQ\t3\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 3; }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    passed = REPORT_LIMIT;
    ASSERT_TRUE(serve_until([this] { return !desk::is_fresh(live(), 1); }));
    EXPECT_EQ(desk::source_shown(live(), 0), desk::NO_SOURCE);
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, BelievesARecordThatBringsWhatTheRouterHasTold)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t2") +
        reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=1") + LISTENS);
    ASSERT_TRUE(serve_until(
        [this] { return main.trace.received == 1 && desk::source_shown(live(), 0) == 1; }));
    EXPECT_TRUE(main.untold.routes.empty());
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    passed = 2 * REPORT_LIMIT;
    serve_backend(main, desk, now());
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, HoldsABatchWhileTheBackendMayDropWhatItReads)
{
    run(becomes_ready() + says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.last_take.has_value(); }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::monotonic end = *main.last_take + QUEUE_LIFE;
    const desk::order order{desk::order::kind::send, "main", {{0, 1}}};

    carry_out(main, desk, {end - 2 * AROUND_QUEUE_END, {}}, order);
    ASSERT_TRUE(serve_until([this] { return !heard().empty(); }));
    const std::string batch = heard();
    EXPECT_THAT(batch, EndsWith("queue=flush\n\n"));

    carry_out(main, desk, {end - AROUND_QUEUE_END, {}}, order);
    carry_out(main, desk, {end - AROUND_QUEUE_END, {}}, order);
    EXPECT_EQ(main.held, batch + batch);
    EXPECT_EQ(next_due(main), end + AROUND_QUEUE_END);
    serve_backend(main, desk, {end + AROUND_QUEUE_END - 1us, {}});
    EXPECT_EQ(main.held, batch + batch);
    serve_backend(main, desk, {end + AROUND_QUEUE_END, {}});
    EXPECT_EQ(main.held, "");
    EXPECT_TRUE(serve_until([&] { return heard() == batch + batch + batch; }));
}

TEST_F(BackendRun, DropsWhatIsHeldForABackendThatEnds)
{
    run(becomes_ready() + says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.last_take.has_value(); }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    carry_out(main, desk, {*main.last_take + QUEUE_LIFE, {}},
              {desk::order::kind::send, "main", {{0, 1}}});
    EXPECT_FALSE(main.held.empty());
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(main.held, "");
    EXPECT_EQ(heard(), "");
}

TEST_F(BackendRun, HurriesTheReportOfAnAcceptedRoute)
{
    run(becomes_ready() + says("<DBG>Accepting route change output=0 input=1") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return !heard().empty(); }));
    EXPECT_EQ(heard(), "\n");
    EXPECT_EQ(main.hurried, 1U);
}

TEST_F(BackendRun, TakesNoLineFromTheRoutersText)
{
    const std::string shown = frame("N0KB\tN\ta\n<NOTE>Connection to router closed\n");
    run(becomes_ready() + says("<DBG>Router: MSG " + shown.substr(1, shown.size() - 2)) +
        says("<NOTE>Device is a \"a\n<NOTE>Connection to router closed\n\"") + LISTENS);
    ASSERT_TRUE(serve_until(
        [this] { return !main.log.empty() && main.log.back().text.starts_with("Device"); }));
    EXPECT_EQ(live().link, link_state::ready);
    EXPECT_EQ(main.log.back().text, "Device is a \"a <NOTE>Connection to router closed \"");
}

TEST_F(BackendRun, StartsABackendThatEndsAnewAndSaysWhenItFails)
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
TEST_F(BackendRun, DoublesThePauseBetweenStarts)
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

TEST_F(BackendRun, StartsNothingBeforeItIsDue)
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

TEST_F(BackendRun, EndsTheBackendThatHoldsWishesWhenTheLinkGoes)
{
    run("if [ -e \"$2.again\" ]; then exec cat >/dev/null; fi\n>\"$2.again\"\n" + becomes_ready() +
        WAITS_FOR_FLUSH + says("<NOTE>Connection suddenly dropped") +
        says("<NOTE>Connection to router closed") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::not_sent);
    EXPECT_EQ(row(batch).why, desk::reason::link_lost);
    EXPECT_EQ(main.starts, 2U);
    EXPECT_TRUE(is_running(main));
    EXPECT_TRUE(main.ends.empty());
    EXPECT_FALSE(main.kill_at);
}

// The link is lost, made again and used before anybody looks.
TEST_F(BackendRun, CallsNothingNotSentThatTheNextLinkHasCarried)
{
    run("if [ -e \"$2.again\" ]; then exec cat >/dev/null; fi\n" + becomes_ready() +
        WAITS_FOR_FLUSH + says("<NOTE>Connection suddenly dropped") +
        says("<NOTE>Connection to router closed") + becomes_ready() +
        says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + ">\"$2.again\"\n" + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!std::filesystem::exists(main.configuration + ".again") &&
           std::chrono::steady_clock::now() < deadline)
        usleep(1000);
    ASSERT_TRUE(serve_until([this] { return main.starts == 2; }));
    EXPECT_EQ(row(batch).end, desk::outcome::open);
    passed = desk::CONFIRMATION_LIMIT;
    desk::advance(desk, now());
    EXPECT_EQ(row(batch).end, desk::outcome::timed_out);
}

TEST_F(BackendRun, LeavesOpenWhatABackendKilledOnALinkMayHaveSent)
{
    run("trap '' TERM\n" + becomes_ready() + "while read line; do :; done\n");
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    desk::router_settings other = main.settings;
    other.port = 4711;
    run_backend(main, desk, now(), other);
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::timed_out);
    EXPECT_EQ(main.starts, 2U);
    EXPECT_EQ(main.settings.port, 4711);
}

TEST_F(BackendRun, SendsNothingUnlessTheLinkIsReady)
{
    run(says("<NOTE>Connection sucessful.") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::reading)));
    carry_out(main, desk, now(), {desk::order::kind::send, "main", {{0, 1}}});
    carry_out(main, desk, now(), {desk::order::kind::end_backend, "main", {}});
    EXPECT_FALSE(main.ending);
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(heard(), "");
}

TEST_F(BackendRun, DropsBatchesOfOneThatDoesNotRead)
{
    run(becomes_ready() + IS_DEAF);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    std::vector<std::pair<int, int>> rows;
    for (int i = 0; i < desk::ROUTED_POSITIONS; ++i)
        rows.emplace_back(i, 0);
    for (int i = 0; i < 200 && main.dropped == 0; ++i)
        carry_out(main, desk, now(), {desk::order::kind::send, "main", rows});
    EXPECT_EQ(main.dropped, 1U);
    EXPECT_EQ(main.log.back().text, "The backend does not read; a batch was dropped");
    EXPECT_LE(main.process.unsent.size(), UNSENT_LIMIT);
    EXPECT_THAT(main.process.unsent, EndsWith("queue=flush\n\n"));
}

// Reading to the end would never end.
TEST_F(BackendRun, IsServedInPartsWhenItNeverStopsTalking)
{
    run(becomes_ready() + "exec yes '<NOTE>flood' >&2\n");
    ASSERT_TRUE(serve_until([this] { return main.forgotten > 0; }));
    EXPECT_EQ(main.log.size(), LOG_LINES);
    EXPECT_LT(main.forgotten, 1'000'000U);
    EXPECT_EQ(live().link, link_state::ready);
    stop_backend(main, now());
    EXPECT_TRUE(serve_until([this] { return !is_running(main); }));
}

TEST_F(BackendRun, SaysThatAProgramCannotBeRun)
{
    main.program = "/no/backend";
    run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    EXPECT_EQ(live().link, link_state::down);
    EXPECT_THAT(live().link_reason, StartsWith("its backend cannot be started: Cannot run"));
    EXPECT_TRUE(next_due(main));
}

TEST_F(BackendRun, IsNotStartedAnewWhenItHasBeenStopped)
{
    main.program = "/no/backend";
    run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    stop_backend(main, now());
    EXPECT_FALSE(next_due(main));
}

TEST_F(BackendRun, NeedsNoneWithoutAnAddress)
{
    desk::router_settings settings = desk.house.routers.at("main").settings;
    settings.address = "";
    main.program = "/no/backend";
    run_backend(main, desk, now(), settings);
    EXPECT_EQ(live().link, link_state::off);
    EXPECT_FALSE(is_running(main));
    EXPECT_FALSE(next_due(main));
}

TEST_F(BackendRun, KeepsABackendWhoseSettingsAreTheSameToIt)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    desk::router_settings renamed = main.settings;
    renamed.name = "Other";
    run_backend(main, desk, now(), renamed);
    EXPECT_FALSE(main.ending);
    EXPECT_EQ(main.settings.name, "Other");
}

TEST_F(BackendRun, IsStoppedForGood)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(live().link, link_state::off);
    EXPECT_FALSE(next_due(main));
    EXPECT_EQ(main.starts, 1U);
}
