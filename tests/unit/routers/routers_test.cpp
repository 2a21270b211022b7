// Backends' places are taken by shell scripts that say what a backend would.
#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#include "server/desk/locks.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/takes.h"
#include "server/routers/routers.h"
#include "support/backend_script.h"
#include "support/patience.h"
#include "support/temporary_directory.h"

using namespace routers;
using namespace std::chrono_literals;
using desk::link_state;
using testing::HasSubstr;

namespace {
class RoutersRun : public testing::Test {
  protected:
    desk::desk_state desk = desk::make_desk(1);
    temporary_directory folder;
    running_routers routers;
    desk::actor anna{"anna", "test", {desk::right::administer, {}, {}}};
    desk::monotonic passed{}; // beyond the clock's time

    RoutersRun()
    {
        routers.folder = folder.path;
        runs(becomes_ready() + LISTENS);
    }

    // All of them.
    void runs(const std::string& script)
    {
        routers.program = folder.file("backend", "#!/bin/sh\n" + script);
        std::filesystem::permissions(routers.program, std::filesystem::perms::owner_all);
    }

    desk::moment now() const
    {
        const auto steady = std::chrono::steady_clock::now().time_since_epoch();
        return {std::chrono::duration_cast<desk::monotonic>(steady) + passed,
                desk::wall(1'000'000'000)};
    }

    void set_router(const std::string& id, const std::string& address = "10.0.0.5", int port = 4711)
    {
        desk::router_settings settings;
        settings.id = id;
        settings.name = id;
        settings.address = address;
        settings.port = port;
        EXPECT_EQ(desk::set_router(desk, now(), anna, settings).why, desk::reason::none);
    }

    void remove_router(const std::string& id)
    {
        EXPECT_EQ(desk::remove_router(desk, now(), anna, id).why, desk::reason::none);
    }

    void serve_once(int time_out_ms)
    {
        std::vector<pollfd> descriptors;
        add_poll_descriptors(routers, descriptors);
        poll(descriptors.data(), descriptors.size(), time_out_ms);
        serve_routers(routers, desk, now(), descriptors);
    }

    template <typename condition>
    testing::AssertionResult serve_until(condition done)
    {
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline)
                return testing::AssertionFailure() << "it does not come to that";
            serve_once(next_due(routers, desk, now()) ? 5 : 50);
        }
        return testing::AssertionSuccess();
    }

    auto is_ready(const std::string& id)
    {
        return [this, id] {
            return desk.live.at(id).link == link_state::ready;
        };
    }

    std::string text_of(const std::string& file) const
    {
        std::ostringstream text;
        text << std::ifstream(folder.path / file).rdbuf();
        return text.str();
    }

    desk::ulid take(const std::string& id, int destination, int source)
    {
        desk::take_request request;
        request.rows.push_back({{id, destination, source}, {}});
        return desk::take(desk, now(), anna, request).batch;
    }
};
} // namespace

TEST_F(RoutersRun, RunsABackendForEachRouter)
{
    set_router("east", "10.0.0.5");
    set_router("west", "10.0.0.6");
    serve_routers(routers, desk, now());
    ASSERT_TRUE(serve_until(is_ready("east")));
    ASSERT_TRUE(serve_until(is_ready("west")));
    EXPECT_THAT(text_of("east.conf"), HasSubstr("ip address=10.0.0.5\n"));
    EXPECT_THAT(text_of("west.conf"), HasSubstr("ip address=10.0.0.6\n"));
}

TEST_F(RoutersRun, StartsABackendAnewWhenItsSettingsAreOthers)
{
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    set_router("main", "10.0.0.7");
    serve_routers(routers, desk, now());
    EXPECT_TRUE(routers.backends.at("main").ending);
    ASSERT_TRUE(serve_until([this] { return routers.backends.at("main").starts == 2; }));
    ASSERT_TRUE(serve_until(is_ready("main")));
    EXPECT_THAT(text_of("main.conf"), HasSubstr("ip address=10.0.0.7\n"));
}

TEST_F(RoutersRun, EndsTheBackendOfARemovedRouter)
{
    set_router("main");
    set_router("other");
    ASSERT_TRUE(serve_until(is_ready("main")));
    remove_router("main");
    serve_routers(routers, desk, now());
    EXPECT_TRUE(routers.backends.contains("main"));
    ASSERT_TRUE(serve_until([this] { return !routers.backends.contains("main"); }));
    EXPECT_TRUE(is_running(routers.backends.at("other")));
}

TEST_F(RoutersRun, StartsAnewForARouterThatIsSetAgain)
{
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    remove_router("main");
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    EXPECT_EQ(routers.backends.at("main").starts, 2U);
}

TEST_F(RoutersRun, StartsAnewForARouterThatIsSetAgainWhileItEnds)
{
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    remove_router("main");
    serve_routers(routers, desk, now());
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    EXPECT_EQ(routers.backends.at("main").starts, 2U);
}

TEST_F(RoutersRun, CarriesOutATakeAtOnce)
{
    set_router("east");
    set_router("west");
    ASSERT_TRUE(serve_until(is_ready("east")));
    ASSERT_TRUE(serve_until(is_ready("west")));
    take("west", 0, 1);
    desk.changes.clear();
    serve_routers(routers, desk, now());
    EXPECT_TRUE(desk.orders.empty());
    ASSERT_TRUE(serve_until(
        [this] { return text_of("west.conf.heard").find("queue=flush") != std::string::npos; }));
    EXPECT_EQ(text_of("east.conf.heard"), "");
}

TEST_F(RoutersRun, SendsTheRestWhenABackendReadsOn)
{
    runs(becomes_ready() + "while [ ! -e \"$2.reads\" ]; do sleep 0.01; done\n" + "exec 3>&1\n" +
         LISTENS); // its output stays open, and tells nothing
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    auto& process = routers.backends.at("main").process;
    parent_link::send_bytes(process, std::string(100'000, '\n'));
    take("main", 0, 1);
    serve_routers(routers, desk, now());
    ASSERT_FALSE(process.unsent.empty());
    folder.file("main.conf.reads", "");
    ASSERT_TRUE(serve_until(
        [this] { return text_of("main.conf.heard").find("queue=flush") != std::string::npos; }));
}

TEST_F(RoutersRun, ServesThoseThatHaveSomethingToSay)
{
    set_router("main");
    serve_routers(routers, desk, now());
    std::vector<pollfd> descriptors;
    add_poll_descriptors(routers, descriptors);
    ASSERT_GT(poll(descriptors.data(), descriptors.size(), PATIENCE_MS), 0);
    serve_routers(routers, desk, now());
    EXPECT_TRUE(routers.backends.at("main").log.empty());
    serve_routers(routers, desk, now(), descriptors);
    EXPECT_FALSE(routers.backends.at("main").log.empty());
}

TEST_F(RoutersRun, TellsTheDeskOfTheTime)
{
    set_router("main");
    ASSERT_TRUE(serve_until(is_ready("main")));
    take("main", 0, 1);
    const desk::monotonic due = next_due(routers, desk, now()).value();
    EXPECT_LE(due, now().steady + desk::SEND_LIMIT);
    passed = desk::SEND_LIMIT;
    serve_routers(routers, desk, now());
    EXPECT_EQ(desk.live.at("main").ending, desk::reason::not_sent_in_time);
    EXPECT_TRUE(routers.backends.at("main").ending);
    EXPECT_TRUE(serve_until([this] { return routers.backends.at("main").starts == 2; }));
}

TEST_F(RoutersRun, KnowsWhatIsDueFirst)
{
    routers.program = "/no/backend";
    set_router("east");
    set_router("west");
    desk::moment time{1h, {}};
    serve_routers(routers, desk, time);
    EXPECT_EQ(next_due(routers, desk, time), 1h + FIRST_PAUSE);
    routers.backends.at("west").start_at = 1h + 150ms;
    EXPECT_EQ(next_due(routers, desk, time), 1h + 150ms);
    EXPECT_EQ(desk::set_lock(desk, time, anna, "east", 0, desk::lock_mode::lock, "", 100ms).why,
              desk::reason::none);
    EXPECT_EQ(next_due(routers, desk, time), 1h + 100ms);
}

TEST_F(RoutersRun, EndsThemAllForGood)
{
    set_router("east");
    set_router("west");
    ASSERT_TRUE(serve_until(is_ready("east")));
    EXPECT_TRUE(any_running(routers));
    stop_routers(routers, now());
    ASSERT_TRUE(serve_until([this] { return !any_running(routers); }));
    set_router("north");
    serve_routers(routers, desk, now());
    EXPECT_FALSE(any_running(routers));
    EXPECT_EQ(desk.live.at("east").link, link_state::off);
}
