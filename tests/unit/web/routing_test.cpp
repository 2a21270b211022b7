#include "server/accounts/people.h"
#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {
constexpr auto ROUTES = "/api/v1/routers/r1/routes";

struct Routing : ServerTest {
    Routing()
    {
        add_router("r1", 4, 4);
        desk::set_lock(server.desk, now, engineer, "r1", 3, desk::lock_mode::lock, "Live feed", {});
    }

    json routes(const std::string& since = {})
    {
        return json_of(ask(method::get, ROUTES + since));
    }

    std::string revision()
    {
        return std::to_string(find_live(server.desk, "r1")->revision);
    }

    // Of what has changed since, as the answer has them.
    std::vector<int> destinations_since(const std::string& revision)
    {
        const json all =
            routes("?since=" + revision + "&instance=" + desk::text_of(server.instance));
        EXPECT_FALSE(all["complete"]);
        std::vector<int> destinations;
        for (const json& route : all["routes"])
            destinations.push_back(route["destination"]);
        return destinations;
    }
};
} // namespace

TEST_F(Routing, ListsWhatEveryDestinationShows)
{
    const json all = routes();
    EXPECT_EQ(all["router"], "r1");
    EXPECT_EQ(all["instance"], desk::text_of(server.instance));
    EXPECT_EQ(std::to_string(all["revision"].get<int>()), revision());
    EXPECT_TRUE(all["complete"]);
    ASSERT_EQ(all["routes"].size(), 4U);
    EXPECT_EQ(web::text_of(all["routes"][1]),
              R"({"destination":1,"destinationName":"DST 2","source":1,"sourceName":"SRC 2",)"
              R"("state":"confirmed","confirmed":"2025-12-18T00:00:00.000Z"})");
    EXPECT_EQ(web::text_of(all["routes"][3]["lock"]),
              R"({"router":"r1","destination":3,"destinationName":"DST 4","mode":"lock",)"
              R"("owner":{"id":"erna","name":"erna"},"reason":"Live feed",)"
              R"("since":"2025-12-18T00:00:00.000Z"})");
}

TEST_F(Routing, TellsOneAsTheListDoes)
{
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/routers/r1/destinations/3/route")),
              routes()["routes"][3]);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r1/destinations/4/route").status, 404);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r9/routes").status, 404);
}

TEST_F(Routing, TellsWhatIsWishedAndWhatWentWrong)
{
    wait(5ms);
    ask(method::put, "/api/v1/routers/r1/destinations/1/route", R"({"source":2})");
    json route = routes()["routes"][1];
    const std::string operation = route["wish"]["operation"];
    EXPECT_EQ(web::text_of(route["wish"]),
              R"({"operation":")" + operation +
                  R"(","row":0,"source":2,"sourceName":"SRC 3","person":{"id":"guest",)"
                  R"("name":"guest"},"state":"queued","wished":"2025-12-18T00:00:00.005Z"})");
    wait(2ms);
    desk::trace_take(server.desk, now, "r1", 1, 2);
    EXPECT_EQ(routes()["routes"][1]["wish"]["sent"], "2025-12-18T00:00:00.007Z");
    desk::trace_take_answer(server.desk, now, "r1", "NAK 0005");
    route = routes()["routes"][1];
    EXPECT_FALSE(route.contains("wish"));
    EXPECT_EQ(web::text_of(route["problem"]),
              R"({"operation":")" + operation +
                  R"(","row":0,"source":2,"sourceName":"SRC 3","person":{"id":"guest",)"
                  R"("name":"guest"},"outcome":"refused","detail":"NAK 0005",)"
                  R"("ended":"2025-12-18T00:00:00.007Z"})");
}

TEST_F(Routing, TellsNothingThatHasBecomeUntrue)
{
    const auto same = [&] {
        return routes()["routes"];
    };
    json before = same();
    const std::pair<const char*, std::function<void()>> happenings[] = {
        {"a fact",
         [&] {
             shows("r1", 1, 2);
         }},
        {"a fact, after a pass",
         [&] {
             shows("r1", 1, 3), pass();
         }},
        {"a lock",
         [&] {
             desk::remove_lock(server.desk, now, engineer, "r1", 3, false, "");
         }},
        {"a name",
         [&] {
             desk::report_names(server.desk, "r1", desk::side::sources, {"A"});
         }},
        {"an alias",
         [&] {
             desk::set_label(server.desk, now, engineer, "r1", desk::side::destinations, 0,
                             {"PGM", ""});
         }},
        {"a wish",
         [&] {
             ask(method::put, "/api/v1/routers/r1/destinations/1/route", R"({"source":2})");
         }},
        {"a person's name",
         [&] {
             accounts::person guest;
             guest.name = "Gast";
             accounts::set_person(server.accounts, now, engineer, "guest", guest);
         }},
        {"the link",
         [&] {
             desk::report_link(server.desk, now, "r1", desk::link_state::down, "gone");
         }},
    };
    for (const auto& [what, happens] : happenings) {
        happens();
        const json after = same();
        EXPECT_NE(after, before) << what;
        before = after;
    }
    EXPECT_EQ(before[1]["state"], "stale");
    EXPECT_EQ(before[1]["wish"]["person"]["name"], "Gast");
}

TEST_F(Routing, TellsWhatHasChangedSince)
{
    const std::string before = revision();
    EXPECT_THAT(destinations_since(before), testing::IsEmpty());
    shows("r1", 1, 2);
    shows("r1", 2, 0);
    EXPECT_THAT(destinations_since(before), testing::ElementsAre(1, 2));
    const std::string between = revision();
    pass();
    shows("r1", 2, 1);
    EXPECT_THAT(destinations_since(between), testing::ElementsAre(2));
    EXPECT_THAT(destinations_since(before), testing::ElementsAre(1, 2));
}

TEST_F(Routing, TellsAllWhenItCannotTellWhatHasChanged)
{
    const std::string instance = "&instance=" + desk::text_of(server.instance);
    const std::string before = revision();
    EXPECT_TRUE(routes("?since=" + before)["complete"]) << "of which instance?";
    EXPECT_TRUE(routes("?since=" + before + "&instance=01J00000000000000000000000")["complete"]);
    EXPECT_TRUE(routes("?since=" + std::to_string(1 + stoi(before)) + instance)["complete"]);
    desk::report_names(server.desk, "r1", desk::side::sources, {"A"});
    EXPECT_TRUE(routes("?since=" + before + instance)["complete"]);
    EXPECT_EQ(ask(method::get, ROUTES + std::string("?since=x")).status, 422);
    EXPECT_EQ(ask(method::get, ROUTES + std::string("?since=1&instance=x")).status, 422);
}

TEST_F(Routing, AnswersOnceMoreWithTheSameTag)
{
    const std::string tag = header_of(ask(method::get, ROUTES), "ETag");
    headers = {{"if-none-match", tag}};
    EXPECT_EQ(ask(method::get, ROUTES).status, 304);
    shows("r1", 1, 2);
    EXPECT_EQ(ask(method::get, ROUTES).status, 200);
}

TEST_F(Routing, SaysWhatABatchWouldDo)
{
    const response told = ask(method::patch, ROUTES,
                              R"({"rows":[{"destination":1,"source":2},)"
                              R"({"destination":2,"source":2},)"
                              R"({"destination":3,"source":1}],)"
                              R"("rule":"rest","dryRun":true})");
    EXPECT_EQ(told.status, 200);
    EXPECT_EQ(
        told.body,
        R"x({"checked":"2025-12-18T00:00:00.000Z","rule":"rest","change":1,"unchanged":1,)x"
        R"x("blocked":1,"rows":[{"router":"r1","destination":1,"destinationName":"DST 2",)x"
        R"x("source":2,"sourceName":"SRC 3","was":1,"wasName":"SRC 2","verdict":"change"},)x"
        R"x({"router":"r1","destination":2,"destinationName":"DST 3","source":2,)x"
        R"x("sourceName":"SRC 3","was":2,"wasName":"SRC 3","verdict":"unchanged"},)x"
        R"x({"router":"r1","destination":3,"destinationName":"DST 4","source":1,)x"
        R"x("sourceName":"SRC 2","was":3,"wasName":"SRC 4","verdict":"blocked",)x"
        R"x("reason":"destinationLocked","detail":"DST 4 is locked by erna (Live feed)"}]})x");
    EXPECT_TRUE(server.desk.house.batches.empty());
}

TEST_F(Routing, CarriesOutWhatCanGo)
{
    const request_id id =
        send(method::patch, ROUTES + std::string("?wait=2000"),
             R"({"rows":[{"destination":1,"source":2},{"destination":2,"source":2},)"
             R"({"destination":3,"source":1}],"rule":"rest","reason":"late"})");
    EXPECT_FALSE(answers.contains(id));
    carries_out("r1", 1, 2);
    ASSERT_TRUE(answers.contains(id));
    EXPECT_EQ(answers[id].status, 200);
    const json operation = json_of(answers[id]);
    EXPECT_EQ(operation["rule"], "rest");
    EXPECT_EQ(operation["reason"], "late");
    EXPECT_EQ(operation["counts"], json::parse(R"({"confirmed":2,"notSent":1})"));
    EXPECT_EQ(operation["rows"][2]["reason"], "destinationLocked");
    EXPECT_EQ(operation["rows"][2]["endedMs"], 0);
}

TEST_F(Routing, SaysWhyNothingGoes)
{
    const response refused =
        ask(method::patch, ROUTES,
            R"({"rows":[{"destination":1,"source":2},{"destination":3,"source":1}],"rule":"all"})");
    const std::string operation = json_of(refused)["operation"];
    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(refused.body,
              R"x({"type":"/problems/destination-locked","title":"Locked","status":409,)x"
              R"x("code":"destinationLocked","detail":"DST 4 is locked by erna (Live feed)",)x"
              R"x("router":"r1","destination":3,"lockedBy":{"id":"erna","name":"erna"},)x"
              R"x("operation":")x" +
                  operation +
                  R"x(","errors":[{"pointer":"/rows/0","code":"blockedByOtherRow",)x"
                  R"x("detail":"another row is blocked"},{"pointer":"/rows/1",)x"
                  R"x("code":"destinationLocked",)x"
                  R"x("detail":"DST 4 is locked by erna (Live feed)"}]})x");
}

TEST_F(Routing, RefusesRowsThatCannotBe)
{
    const auto errors_of = [&](const std::string& body) {
        const response refused = ask(method::patch, ROUTES, body);
        EXPECT_EQ(refused.status, 422) << body;
        std::string told;
        const json problem = json_of(refused);
        for (const json& error : problem["errors"])
            told +=
                error["pointer"].get<std::string>() + " " + error["code"].get<std::string>() + "; ";
        return told;
    };
    EXPECT_EQ(errors_of(R"({"rows":[{"destination":1,"source":2},{"destination":1,"source":3}]})"),
              "/rows/1/destination duplicateDestination; ");
    EXPECT_EQ(errors_of(R"({"rows":[{"destination":9,"source":2},{"destination":1,"source":9}]})"),
              "/rows/0/destination noSuchDestination; /rows/1/source noSuchSource; ");
    EXPECT_EQ(errors_of(R"({"rows":[{"source":2},{"destination":1},7]})"),
              "/rows/0/destination badValue; /rows/1/source badValue; /rows/2 badValue; "
              "/rows/2/destination badValue; /rows/2/source badValue; ");
    EXPECT_EQ(errors_of(R"({"rows":[]})"), "/rows badValue; ");
    EXPECT_EQ(errors_of(R"({"rule":"some","dryRun":1,"level":2})"),
              "/rows badValue; /rule badValue; /dryRun badValue; /level badValue; ");
    EXPECT_EQ(errors_of(R"({"rows":[{"destination":1,"source":2,"level":1}]})"),
              "/rows/0/level badValue; ");
    EXPECT_TRUE(server.desk.house.batches.empty());
}
