#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
struct Statistics : ServerTest {
    Statistics()
    {
        add_router("r1");
    }

    plain told()
    {
        return plain::parse(ask(method::get, "/api/v1/routers/r1/statistics").body);
    }

    void route(int destination, int source)
    {
        send(method::put,
             "/api/v1/routers/r1/destinations/" + std::to_string(destination) + "/route",
             plain{{"source", source}}.dump());
    }
};
} // namespace

TEST_F(Statistics, AreNothingAtFirst)
{
    const std::string start = time_text(std::chrono::floor<std::chrono::minutes>(now.utc));
    const plain nothing = plain::parse(R"({"confirmed": 0, "contradicted": 0, "refused": 0,
        "timedOut": 0, "notSent": 0, "linkLosses": 0})");
    EXPECT_EQ(told(), (plain{{"router", "r1"},
                             {"lastHour", nothing},
                             {"lastDay", nothing},
                             {"minutes", {{{"start", start}, {"takes", 0}, {"failures", 0}}}},
                             {"backendStarts", 0},
                             {"waiting", 0},
                             {"mostWaiting", 0}}));
}

TEST_F(Statistics, CountForAnHourAndADay)
{
    route(0, 3);
    wait(std::chrono::milliseconds(20));
    carries_out("r1", 0, 3);
    plain statistics = told();
    EXPECT_EQ(statistics["lastHour"]["confirmed"], 1);
    EXPECT_EQ(statistics["lastHour"]["slowestMs"], 20.0);
    EXPECT_NEAR(statistics["lastHour"]["medianMs"].get<double>(), 20, 0.6);
    EXPECT_EQ(statistics["lastDay"], statistics["lastHour"]);
    EXPECT_EQ(statistics["mostWaiting"], 1);
    wait(std::chrono::hours(1));
    server.routers.backends["r1"].starts = 2;
    statistics = told();
    EXPECT_EQ(statistics["minutes"].size(), 60U);
    EXPECT_EQ(statistics["lastHour"]["confirmed"], 0);
    EXPECT_EQ(statistics["lastDay"]["confirmed"], 1);
    EXPECT_EQ(statistics["backendStarts"], 2);
}

TEST_F(Statistics, TellWhatEachMinuteHad)
{
    route(0, 3);
    wait(std::chrono::milliseconds(20));
    carries_out("r1", 0, 3);
    wait(std::chrono::minutes(1));
    const plain statistics = told();
    ASSERT_EQ(statistics["minutes"].size(), 2U);
    EXPECT_EQ(statistics["minutes"][0]["takes"], 1);
    EXPECT_EQ(statistics["minutes"][0]["failures"], 0);
    EXPECT_EQ(statistics["minutes"][0]["slowestMs"], 20.0);
    EXPECT_EQ(statistics["minutes"][1]["takes"], 0);
}

TEST_F(Statistics, AreOfARouterThatIsThere)
{
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r7/statistics").status, 404);
}
