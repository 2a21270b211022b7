#include <cstdlib>
#include <fstream>

#include "server/desk/takes.h"
#include "server/web/metrics_text.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

namespace {
struct Metrics : ServerTest {
    Metrics()
    {
        add_router("r1", 8, 4);
    }

    void take(int destination, int source)
    {
        desk::take_request wanted;
        wanted.rows = {{{"r1", destination, source}, {}}};
        desk::take(server.desk, now, {"ana", "gateway 10.0.0.7", engineer.may}, wanted);
        pass();
    }

    void router_takes(int destination, int source)
    {
        desk::trace_take(server.desk, now, "r1", destination, source);
        desk::trace_take_answer(server.desk, now, "r1", "");
        desk::trace_route(server.desk, now, "r1", destination, source);
        shows("r1", destination, source);
        pass();
    }

    std::string text()
    {
        const response answer = ask(method::get, "/metrics");
        EXPECT_EQ(answer.type, "text/plain; version=0.0.4; charset=utf-8");
        return answer.body;
    }
};
} // namespace

TEST_F(Metrics, NameAllThatTheDescriptionPromises)
{
    const std::string all = text();
    for (const char* const name :
         {"router_link_up", "router_state_age_seconds", "route_wishes_total",
          "route_confirm_seconds", "outside_changes_total", "backend_restarts_total",
          "trace_frames_total", "locks", "live_clients", "live_dropped_total", "gateway_clients",
          "gateway_errors_total", "journal_queue", "journal_failures_total", "http_requests_total",
          "http_seconds", "build_info", "process_cpu_seconds_total"})
        EXPECT_THAT(all, HasSubstr("# TYPE " + std::string(name) + " ")) << name;
}

TEST_F(Metrics, CountWishesByTheirEnds)
{
    take(1, 3);
    now.steady += 30ms;
    router_takes(1, 3);
    take(1, 3); // it shows that already
    take(2, 77);
    const std::string all = text();
    const std::string wishes = R"(route_wishes_total{router="r1",origin="gateway",outcome=")";
    EXPECT_THAT(all, HasSubstr(wishes + "confirmed\"} 2\n"));
    EXPECT_THAT(all, HasSubstr(wishes + "notSent\"} 1\n"));
    EXPECT_THAT(all, HasSubstr("route_confirm_seconds_bucket{router=\"r1\",le=\"0.02\"} 0\n"));
    EXPECT_THAT(all, HasSubstr("route_confirm_seconds_bucket{router=\"r1\",le=\"0.05\"} 1\n"));
    EXPECT_THAT(all, HasSubstr("route_confirm_seconds_bucket{router=\"r1\",le=\"+Inf\"} 1\n"));
    EXPECT_THAT(all, HasSubstr("route_confirm_seconds_sum{router=\"r1\"} 0.03\n"));
}

TEST_F(Metrics, HaveNoLabelThatAnybodyCanInvent)
{
    desk::take_request wanted;
    wanted.rows = {{{"of-my-own", 1, 1}, {}}};
    desk::take(server.desk, now, engineer, wanted);
    pass();
    ask(method::get, "/of-my-own");
    const std::string all = text();
    EXPECT_THAT(all, Not(HasSubstr("of-my-own")));
    EXPECT_THAT(all, HasSubstr("http_requests_total{route=\"none\",status=\"404\"} 1\n"));
}

TEST_F(Metrics, CountWhatChangesFromOutside)
{
    shows("r1", 0, 5);
    pass();
    EXPECT_THAT(text(), HasSubstr("outside_changes_total{router=\"r1\"} 1\n"));
}

TEST_F(Metrics, TellLinksAndTheAgeOfWhatIsShown)
{
    EXPECT_THAT(text(), HasSubstr("router_link_up{router=\"r1\"} 1\n"));
    desk::report_link(server.desk, now, "r1", desk::link_state::down, "gone");
    wait(2500ms);
    const std::string all = text();
    EXPECT_THAT(all, HasSubstr("router_link_up{router=\"r1\"} 0\n"));
    EXPECT_THAT(all, HasSubstr("router_state_age_seconds{router=\"r1\"} 2.5\n"));
}

TEST_F(Metrics, CountRequestsByOperationAndTheirTime)
{
    ask(method::get, "/health");
    ask(method::get, "/health");
    ask(method::get, "/ready");
    const std::string all = text();
    EXPECT_THAT(all, HasSubstr("http_requests_total{route=\"getHealth\",status=\"200\"} 2\n"));
    EXPECT_THAT(all, HasSubstr("http_requests_total{route=\"getReadiness\",status=\"200\"} 1\n"));
    EXPECT_THAT(all, HasSubstr("http_seconds_count 3\n"));
}

TEST_F(Metrics, CountHowOftenTheDiskBeginsToFail)
{
    const auto health = [this](const std::string& failure) {
        server.journal.news.health.failure = failure;
        pass();
    };
    health("disk full");
    health("disk full");
    EXPECT_THAT(text(), HasSubstr("journal_failures_total 1\n"));
    health("");
    health("read-only");
    EXPECT_THAT(text(), HasSubstr("journal_failures_total 2\n"));
}

// METRICS_FILE is for promtool, which checks all of it.
TEST_F(Metrics, HaveEveryKindOfFigureAfterATake)
{
    take(1, 3);
    router_takes(1, 3);
    const std::string all = text();
    for (const char* const kind : {"counter", "gauge", "histogram"})
        EXPECT_THAT(all, HasSubstr(std::string(" ") + kind + "\n"));
    if (const char* const file = std::getenv("METRICS_FILE")) std::ofstream(file) << all;
}
