#include "server/desk/deadlines.h"
#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {
constexpr auto ROUTE = "/api/v1/routers/r1/destinations/4/route";
constexpr auto WAITED = "/api/v1/routers/r1/destinations/4/route?wait=5000";

struct DestinationRoute : ServerTest {
    DestinationRoute()
    {
        add_router("r1");
        desk::set_lock(server.desk, now, engineer, "r1", 7, desk::lock_mode::lock, "Live feed", {});
    }

    void takes(int source)
    {
        desk::trace_take(server.desk, now, "r1", 4, source);
        desk::trace_take_answer(server.desk, now, "r1", "");
    }

    // The code of the problem, then its status.
    std::string complaint(const response& response)
    {
        const json body = json_of(response);
        EXPECT_EQ(body.value("status", 0), response.status);
        return body.value("code", "none") + " " + std::to_string(response.status);
    }

    std::string code_of_body(const std::string& body)
    {
        return complaint(ask(method::put, ROUTE, body));
    }
};
} // namespace

TEST_F(DestinationRoute, IsUnderWayUntilTheRouterReportsIt)
{
    const response taken =
        ask(method::put, ROUTE, R"({"source":3,"ifSource":4,"reason":"camera 4 has no tally"})");
    EXPECT_EQ(taken.status, 202);
    const json operation = json_of(taken);
    const std::string id = operation["id"];
    EXPECT_EQ(header_of(taken, "Location"), "/api/v1/operations/" + id);
    EXPECT_EQ(taken.body,
              R"({"id":")" + id +
                  R"(","kind":"take","state":"open","rule":"all",)"
                  R"("actor":{"person":{"id":"guest","name":"guest"},"origin":"panel"},)"
                  R"("reason":"camera 4 has no tally","wished":"2025-12-18T00:00:00.000Z",)"
                  R"("counts":{"open":1},"rows":[{"router":"r1","destination":4,)"
                  R"("destinationName":"DST 5","source":3,"sourceName":"SRC 4","was":4,)"
                  R"("wasName":"SRC 5","outcome":"open","state":"queued"}]})");
}

TEST_F(DestinationRoute, WaitsForItsOutcome)
{
    const request_id id = send(method::put, WAITED, R"({"source":3})");
    wait(2ms);
    takes(3);
    wait(1ms);
    EXPECT_FALSE(answers.contains(id));
    desk::trace_route(server.desk, now, "r1", 4, 3);
    shows("r1", 4, 3);
    pass();
    ASSERT_TRUE(answers.contains(id));
    EXPECT_EQ(answers[id].status, 200);
    const json operation = json_of(answers[id]);
    EXPECT_EQ(operation["state"], "ended");
    EXPECT_EQ(operation["counts"], json::parse(R"({"confirmed":1})"));
    EXPECT_EQ(text_of(operation["rows"][0]),
              R"({"router":"r1","destination":4,"destinationName":"DST 5","source":3,)"
              R"("sourceName":"SRC 4","was":4,"wasName":"SRC 5","outcome":"confirmed",)"
              R"("sentMs":2.0,"answeredMs":2.0,"endedMs":3.0,"latencyMs":3.0})");
}

TEST_F(DestinationRoute, TellsThatItIsOpenStillWhenTheWaitIsOver)
{
    const request_id id =
        send(method::put, "/api/v1/routers/r1/destinations/4/route?wait=100", R"({"source":3})");
    wait(99ms);
    EXPECT_FALSE(answers.contains(id));
    wait(1ms);
    EXPECT_EQ(answers[id].status, 202);
}

TEST_F(DestinationRoute, NeedsNothingToBeSentForWhatItShows)
{
    const response taken = ask(method::put, ROUTE, R"({"source":4})");
    EXPECT_EQ(taken.status, 200);
    EXPECT_THAT(taken.body, HasSubstr(R"("outcome":"confirmed","unchanged":true,"endedMs":0.0,)"));
    EXPECT_EQ(ask(method::put, ROUTE, R"({"source":4,"sendUnchanged":true})").status, 202);
}

TEST_F(DestinationRoute, RoutesNoSourceAndByName)
{
    const response taken = ask(method::put, "/api/v1/routers/r1/destinations/DST%205/route?by=name",
                               R"({"source":null})");
    const json row = json_of(taken)["rows"][0];
    EXPECT_EQ(row["destination"], 4);
    EXPECT_TRUE(row["source"].is_null());
    EXPECT_FALSE(row.contains("sourceName"));
}

TEST_F(DestinationRoute, SaysWhoHasLockedIt)
{
    const response refused =
        ask(method::put, "/api/v1/routers/r1/destinations/7/route", R"({"source":3})");
    const std::string operation = json_of(refused)["operation"];
    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(refused.body,
              R"({"type":"/problems/destination-locked","title":"Locked","status":409,)"
              R"x("code":"destinationLocked","detail":"DST 8 is locked by erna (Live feed)",)x"
              R"("router":"r1","destination":7,"lockedBy":{"id":"erna","name":"erna"},)"
              R"("operation":")" +
                  operation + R"("})");
}

TEST_F(DestinationRoute, ChecksWhatTheAskerHasSeen)
{
    const response refused = ask(method::put, ROUTE, R"({"source":2,"ifSource":7})");
    EXPECT_EQ(complaint(refused), "changedSince 409");
    EXPECT_EQ(json_of(refused)["detail"], "DST 5 shows SRC 5 by now, it is not known by whom");
    EXPECT_EQ(complaint(ask(method::put, ROUTE, R"({"source":2,"ifSource":null})")),
              "changedSince 409");
}

TEST_F(DestinationRoute, RefusesValuesThatCannotBe)
{
    const response refused = ask(method::put, ROUTE, R"({"source":40})");
    EXPECT_EQ(refused.status, 422);
    EXPECT_EQ(refused.body,
              R"({"type":"/problems/no-such-source","title":"No such source","status":422,)"
              R"("code":"noSuchSource","detail":"ROUTER r1 has no source 41","router":"r1",)"
              R"("destination":4,"errors":[{"pointer":"/source","code":"noSuchSource",)"
              R"("detail":"ROUTER r1 has no source 41"}]})");
    for (const char* const body :
         {"{}", R"({"source":-1})", R"({"source":"3"})", R"({"source":3.5})", R"({"source":1024})",
          R"({"source":3,"ifSource":true})", R"({"source":3,"sendUnchanged":1})",
          R"({"source":3,"reason":7})", R"({"source":3,"level":1})", "[3]", ""})
        EXPECT_EQ(code_of_body(body), "badValue 422") << body;
    EXPECT_TRUE(server.desk.house.batches.empty()) << "nothing of this is a wish";
}

TEST_F(DestinationRoute, RefusesPlacesThatAreNotThere)
{
    const auto at = [&](const std::string& rest) {
        return complaint(ask(method::put, "/api/v1/routers/" + rest, R"({"source":3})"));
    };
    EXPECT_EQ(at("r9/destinations/4/route"), "noSuchRouter 404");
    EXPECT_EQ(at("r1/destinations/1024/route"), "noSuchDestination 404");
    EXPECT_EQ(at("r1/destinations/8/route"), "noSuchDestination 404");
    EXPECT_EQ(at("r1/destinations/-1/route"), "noSuchDestination 404");
    EXPECT_EQ(at("r1/destinations/DST%205/route"), "noSuchDestination 404");
    EXPECT_EQ(at("r1/destinations/4/route?by=name"), "noSuchDestination 404");
    EXPECT_EQ(at("r1/destinations/4/route?by=alias"), "badValue 422");
    EXPECT_EQ(at("r1/destinations/4/route?wait=x"), "badValue 422");
    desk::report_names(server.desk, "r1", desk::side::destinations, {"A", "SPARE", "SPARE"});
    EXPECT_EQ(at("r1/destinations/SPARE/route?by=name"), "nameNotUnique 409");
    EXPECT_THAT(ask(method::put, "/api/v1/routers/r1/destinations/SPARE/route?by=name", "{}").body,
                HasSubstr("SPARE is the name of 2 and 3."));
}

TEST_F(DestinationRoute, FailsAsItsOutcomeDoes)
{
    struct ending {
        std::function<void()> happens;
        const char* answer;
        const char* detail;
    };
    const ending endings[] = {
        {[&] {
             takes(3);
             desk::trace_query(server.desk, "r1", 4);
             desk::trace_route(server.desk, now, "r1", 4, 6);
         },
         "contradicted 502", "the router shows SRC 7 instead: taken by somebody else"},
        {[&] {
             desk::trace_take(server.desk, now, "r1", 4, 3);
             desk::trace_take_answer(server.desk, now, "r1", "NAK 0005");
         },
         "refused 502", "NAK 0005"},
        {[&] {
             takes(3);
             wait(3s);
             desk::advance(server.desk, now);
         },
         "timedOut 504", "the router has not reported it within 3 s"},
        {[&] {
             ask(method::put, ROUTE, R"({"source":5})");
             takes(5);
         },
         "superseded 409", "guest asked for SRC 6 before it was sent"},
        {[&] {
             wait(5s);
             desk::advance(server.desk, now);
             desk::report_backend_ended(server.desk, now, "r1");
         },
         "notSentInTime 503", "it could not be sent in time"},
    };
    for (const ending& each : endings) {
        add_router("r1");
        shows("r1", 4, 4);
        const request_id id = send(method::put, "/api/v1/routers/r1/destinations/4/route?wait=9000",
                                   R"({"source":3})");
        each.happens();
        pass();
        ASSERT_TRUE(answers.contains(id)) << each.answer;
        EXPECT_EQ(complaint(answers[id]), each.answer);
        EXPECT_EQ(json_of(answers[id])["detail"], each.detail);
        wait(10s);
        desk::advance(server.desk, now);
    }
    desk::report_link(server.desk, now, "r1", desk::link_state::down, "no answer");
    const response refused = ask(method::put, WAITED, R"({"source":3})");
    EXPECT_EQ(complaint(refused), "linkNotReady 503");
    EXPECT_EQ(json_of(refused)["detail"], "the link to ROUTER r1 is down: no answer");
}

TEST_F(DestinationRoute, IsLeftAsItIsAfterItWentWrong)
{
    const std::string accept = "/api/v1/routers/r1/destinations/4/accept";
    EXPECT_EQ(ask(method::post, accept).body,
              R"({"type":"/problems/nothing-to-do","title":"Nothing to do","status":409,)"
              R"("code":"nothingToDo","detail":"nothing went wrong on DST 5","router":"r1",)"
              R"("destination":4})");
    ask(method::put, ROUTE, R"({"source":3})");
    desk::trace_take(server.desk, now, "r1", 4, 3);
    desk::trace_take_answer(server.desk, now, "r1", "NAK 0005");
    EXPECT_EQ(ask(method::post, accept).status, 204);
    EXPECT_EQ(ask(method::post, accept).status, 409);
}
