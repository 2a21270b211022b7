#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::ElementsAre;

namespace {
struct Routers : ServerTest {
    Routers()
    {
        add_router("r1", 3, 2);
    }

    json get(const std::string& target)
    {
        return json_of(ask(method::get, target));
    }

    // "422 badValue /port", of the first complaint.
    std::string refusal(method method, const std::string& target, const std::string& body)
    {
        const response answer = ask(method, target, body);
        const json problem = json_of(answer);
        std::string text = std::to_string(answer.status) + " " + problem.value("code", "");
        if (problem.contains("errors"))
            text += " " + problem["errors"][0]["pointer"].get<std::string>();
        return text;
    }

    // Simulated routers without anything behind them.
    std::map<std::string, std::set<std::string>> simulated;
    void simulate()
    {
        server.simulated.has = [this](const std::string& router) {
            return simulated.contains(router);
        };
        server.simulated.start = [this](const std::string& router, int sources, int, std::string&) {
            simulated[router] = {};
            return 40'000 + sources;
        };
        server.simulated.stop = [this](const std::string& router) {
            simulated.erase(router);
        };
        server.simulated.faults = [this](const std::string& router) {
            return simulated.at(router);
        };
        server.simulated.set_faults = [this](const std::string& router,
                                             const std::set<std::string>& wanted) {
            simulated.at(router) = wanted;
        };
    }
};

const char* const FRESH =
    R"({"id":"r1","name":"ROUTER r1","address":"","port":12345,"simulated":false,)"
    R"("sourceLimit":0,"destinationLimit":0,"firstNumber":1,"confirmationLimitMs":3000,)"
    R"("link":{"state":"ready","since":"2025-12-18T00:00:00.000Z"},"sources":3,"destinations":2,)"
    R"("routableSources":3,"routableDestinations":2,"problems":0,"locks":0,"revision":8})";
} // namespace

TEST_F(Routers, AreAsTheyAreNow)
{
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r1").body, FRESH);
    EXPECT_EQ(ask(method::get, "/api/v1/routers").body,
              std::string(R"({"revision":1,"routers":[)") + FRESH + "]}");
    const response refused = ask(method::get, "/api/v1/routers/r9");
    EXPECT_EQ(refused.status, 404);
    EXPECT_EQ(json_of(refused)["detail"], "there is no router \"r9\"");
}

TEST_F(Routers, TellHowFarTheyHaveBeenRead)
{
    wait(std::chrono::seconds(1));
    desk::report_link(server.desk, now, "r1", desk::link_state::down, "the router is gone");
    EXPECT_EQ(
        get("/api/v1/routers/r1")["link"].dump(),
        R"({"state":"down","reason":"the router is gone","since":"2025-12-18T00:00:01.000Z"})");
    EXPECT_EQ(get("/api/v1/routers/r1")["staleSince"], "2025-12-18T00:00:01.000Z");
    wait(std::chrono::seconds(1));
    desk::report_link(server.desk, now, "r1", desk::link_state::reading, "reading names");
    routers::backend& backend = server.routers.backends["r1"];
    backend.link.sources_reported = true;
    shows("r1", 1, 0);
    EXPECT_EQ(get("/api/v1/routers/r1")["link"]["progress"],
              json::parse(R"({"namesRead":3,"names":5,"routesRead":1,"routes":2})"));
    backend.link.destinations_reported = true;
    EXPECT_EQ(get("/api/v1/routers/r1")["link"]["progress"]["namesRead"], 5);
    desk::report_link(server.desk, now, "r1", desk::link_state::ready, "");
    EXPECT_EQ(get("/api/v1/routers/r1")["staleSince"], "2025-12-18T00:00:01.000Z");
    shows("r1", 0, 0);
    EXPECT_FALSE(get("/api/v1/routers/r1").contains("staleSince"));
    EXPECT_FALSE(get("/api/v1/routers/r1")["link"].contains("progress"));
}

TEST_F(Routers, SayWhatTheyAre)
{
    server.routers.backends["r1"].info.identity = {"MX-256", "", "Matrix 4.2", ""};
    EXPECT_EQ(get("/api/v1/routers/r1")["identity"].dump(),
              R"({"model":"MX-256","product":"Matrix 4.2"})");
}

TEST_F(Routers, AreAdded)
{
    const response added = ask(method::post, "/api/v1/routers",
                               R"({"id":"r3","name":"OB VAN 3","address":"192.0.2.10",
                                   "sourceLimit":16,"destinationLimit":16})");
    EXPECT_EQ(added.status, 201);
    EXPECT_EQ(header_of(added, "Location"), "/api/v1/routers/r3");
    EXPECT_EQ(added.body,
              R"({"id":"r3","name":"OB VAN 3","address":"192.0.2.10","port":12345,)"
              R"("simulated":false,"sourceLimit":16,"destinationLimit":16,"firstNumber":1,)"
              R"("confirmationLimitMs":3000,"link":{"state":"off","reason":"not connected yet",)"
              R"("since":"2025-12-18T00:00:00.000Z"},"sources":0,"destinations":0,)"
              R"("routableSources":16,"routableDestinations":16,"problems":0,"locks":0,)"
              R"("revision":1})");
    const response present = ask(method::get, "/api/v1/routers/r3");
    EXPECT_EQ(present.body, added.body);
    EXPECT_EQ(header_of(present, "ETag"), header_of(added, "ETag"));
}

TEST_F(Routers, GetAnIdOfTheirName)
{
    const struct {
        const char* name;
        const char* id;
    } cases[] = {{"STUDIO A", "studio-a"}, {"Studio  A!", "studio-a-2"},
                 {"  (OB) ", "ob"},        {"Zürich", "z-rich"},
                 {"***", "router"},        {"R1", "r1-2"}};
    for (const auto& each : cases) {
        const json body = {{"name", each.name}};
        EXPECT_EQ(json_of(ask(method::post, "/api/v1/routers", body.dump()))["id"], each.id);
    }
    const json body = {{"name", std::string(255, 'x')}};
    EXPECT_EQ(ask(method::post, "/api/v1/routers", body.dump()).status, 201);
}

TEST_F(Routers, AreRefusedWithThePlaceOfWhatIsWrong)
{
    const std::string all = "/api/v1/routers";
    EXPECT_EQ(refusal(method::post, all, ""), "422 badValue ");
    EXPECT_EQ(refusal(method::post, all, "{}"), "422 badValue /name");
    EXPECT_EQ(refusal(method::post, all, R"({"id":"r 9","name":"x"})"), "422 badValue /id");
    EXPECT_EQ(refusal(method::post, all, R"({"id":"r1","name":"x"})"), "409 nameTaken");
    for (const char* const member :
         {R"("address":"10.0.0.256")", R"("address":7)", R"("port":0)", R"("port":65536)",
          R"("sourceLimit":257)", R"("destinationLimit":-1)", R"("firstNumber":2)",
          R"("confirmationLimitMs":99)", R"("colour":"red")", R"("simulated":{})"}) {
        const std::string name =
            std::string(member).substr(1, std::string(member).find('"', 1) - 1);
        EXPECT_EQ(refusal(method::post, all, R"({"name":"x",)" + std::string(member) + "}"),
                  "422 badValue /" + name);
        if (name == "simulated") continue;
        EXPECT_EQ(refusal(method::patch, all + "/r1", "{" + std::string(member) + "}"),
                  "422 badValue /" + name);
    }
    EXPECT_EQ(refusal(method::patch, all + "/r1", R"({"name":""})"), "422 badValue /name");
    EXPECT_EQ(refusal(method::patch, all + "/r1", R"({"id":"r2"})"), "422 badValue /id");
    EXPECT_EQ(refusal(method::patch, all + "/r1", "{}"), "422 badValue ");
    EXPECT_EQ(refusal(method::patch, all + "/r9", R"({"name":"x"})"), "404 noSuchRouter");
    EXPECT_EQ(get("/api/v1/routers/r1").dump(), FRESH);
}

TEST_F(Routers, AreNotMoreThanThereCanBe)
{
    for (std::size_t i = 1; i < desk::ROUTERS; ++i) {
        desk::router_settings settings;
        settings.id = "x" + std::to_string(i);
        settings.name = "x";
        desk::set_router(server.desk, now, engineer, settings);
    }
    EXPECT_EQ(refusal(method::post, "/api/v1/routers", R"({"name":"x"})"), "409 tooManyAtOnce");
}

TEST_F(Routers, TakeNewSettings)
{
    const std::string tag = header_of(ask(method::get, "/api/v1/routers/r1"), "ETag");
    headers = {{"if-match", tag}, {"if-none-match", "*"}};
    const response changed =
        ask(method::patch, "/api/v1/routers/r1",
            R"({"name":"STUDIO A","confirmationLimitMs":2500,"firstNumber":0})");
    EXPECT_EQ(changed.status, 200);
    const json body = json_of(changed);
    EXPECT_EQ(body["name"], "STUDIO A");
    EXPECT_EQ(body["confirmationLimitMs"], 2500);
    EXPECT_EQ(body["firstNumber"], 0);
    EXPECT_EQ(body["port"], 12345);
    EXPECT_EQ(refusal(method::patch, "/api/v1/routers/r1", R"({"port":1})"),
              "412 changedMeanwhile");
    headers.clear();
    EXPECT_EQ(header_of(ask(method::get, "/api/v1/routers/r1"), "ETag"),
              header_of(changed, "ETag"));
}

TEST_F(Routers, AreRemovedAndReadAgain)
{
    EXPECT_EQ(ask(method::post, "/api/v1/routers/r1/read-again").status, 202);
    EXPECT_NE(desk::find_live(server.desk, "r1")->ending, desk::reason::none);
    EXPECT_TRUE(server.desk.orders.empty()) << "they are carried out at once";
    EXPECT_EQ(ask(method::remove, "/api/v1/routers/r1").status, 204);
    EXPECT_EQ(refusal(method::remove, "/api/v1/routers/r1", ""), "404 noSuchRouter");
    EXPECT_EQ(refusal(method::post, "/api/v1/routers/r1/read-again", ""), "404 noSuchRouter");
}

TEST_F(Routers, AreSimulatedInADemonstration)
{
    const std::string wanted =
        R"({"id":"r4","name":"T","simulated":{"sources":16,"destinations":8}})";
    EXPECT_EQ(refusal(method::post, "/api/v1/routers", wanted), "422 badValue /simulated");
    simulate();
    const json added = json_of(ask(method::post, "/api/v1/routers", wanted));
    EXPECT_EQ(added["simulated"], true);
    EXPECT_EQ(added["address"], "127.0.0.1");
    EXPECT_EQ(added["port"], 40'016);
    for (const char* const body : {R"({"port":1})", R"({"address":"10.0.0.1"})"}) {
        EXPECT_THAT(refusal(method::patch, "/api/v1/routers/r4", body),
                    testing::StartsWith("422 badValue /"));
    }
    EXPECT_EQ(ask(method::patch, "/api/v1/routers/r4", R"({"name":"U"})").status, 200);
    EXPECT_EQ(refusal(method::post, "/api/v1/routers",
                      R"({"name":"x","address":"10.0.0.1","simulated":{"sources":8,
                          "destinations":8}})"),
              "422 badValue /address");
    EXPECT_EQ(refusal(method::post, "/api/v1/routers",
                      R"({"name":"x","simulated":{"sources":0,"destinations":8}})"),
              "422 badValue /simulated/sources");
    EXPECT_EQ(ask(method::remove, "/api/v1/routers/r4").status, 204);
    EXPECT_TRUE(simulated.empty());
}

TEST_F(Routers, HaveFaultsWhenTheyAreSimulated)
{
    simulate();
    const std::string faults = "/api/v1/routers/r1/faults";
    EXPECT_EQ(refusal(method::get, faults, ""), "409 notSimulated");
    EXPECT_EQ(refusal(method::put, faults, R"({"faults":[]})"), "409 notSimulated");
    simulated["r1"] = {};
    EXPECT_EQ(ask(method::get, faults).body, R"({"router":"r1","faults":[]})");
    EXPECT_EQ(ask(method::put, faults, R"({"faults":["anotherSource"]})").body,
              R"({"router":"r1","faults":["anotherSource"]})");
    EXPECT_THAT(simulated["r1"], ElementsAre("anotherSource"));
    EXPECT_EQ(refusal(method::put, faults, R"({"faults":["tired"]})"), "422 badValue /faults/0");
    EXPECT_EQ(refusal(method::put, faults, R"({"faults":[1]})"), "422 badValue /faults/0");
    EXPECT_EQ(refusal(method::put, faults, R"({"faults":["droppedLink","droppedLink"]})"),
              "422 badValue /faults/1");
    EXPECT_EQ(refusal(method::put, faults, "{}"), "422 badValue /faults");
    EXPECT_THAT(simulated["r1"], ElementsAre("anotherSource"));
}
