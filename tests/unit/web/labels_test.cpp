#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::ElementsAre;

namespace {
const std::string SOURCES = "/api/v1/routers/r1/sources";

using names = std::set<std::string, std::less<>>;

struct Labels : ServerTest {
    Labels()
    {
        add_router("r1", 4, 4);
        add_router("r2", 2, 2);
        server.desk.entries.clear();
    }

    void group(const std::string& router, int destination, const std::string& name)
    {
        desk::set_label(server.desk, now, engineer, router, desk::side::destinations, destination,
                        {"", name});
    }

    // "422 badValue /rows/1/index", of each complaint.
    std::string refusal(method method, const std::string& target, const std::string& body)
    {
        const response answer = ask(method, target, body);
        const json problem = json_of(answer);
        std::string text = std::to_string(answer.status);
        if (!problem.contains("errors")) return text + " " + problem.value("code", "");
        for (const json& each : problem["errors"])
            text +=
                " " + each["code"].get<std::string>() + " " + each["pointer"].get<std::string>();
        return text;
    }

    std::string groups(const std::string& query = {})
    {
        std::string text;
        const json answer = json_of(ask(method::get, "/api/v1/groups" + query));
        for (const json& each : answer["groups"])
            text += each.dump() + "\n";
        return text;
    }

    names groups_of_ben()
    {
        return server.accounts.people.at("ben").may.groups.value();
    }
};
} // namespace

TEST_F(Labels, AreSetForOne)
{
    const response set = ask(method::patch, SOURCES + "/SRC%202?by=name", R"({"alias":"CAM"})");
    EXPECT_EQ(set.body, R"({"index":1,"number":2,"name":"CAM","routerName":"SRC 2","alias":"CAM",)"
                        R"("group":"","routable":true})");
    EXPECT_EQ(header_of(set, "ETag"), header_of(ask(method::get, SOURCES + "/1"), "ETag"));
    EXPECT_EQ(json_of(ask(method::patch, SOURCES + "/1", R"({"group":"Cameras"})"))["alias"],
              "CAM");
    const json last = json_of(ask(method::patch, SOURCES + "/1", R"({"alias":""})"));
    EXPECT_EQ(last["name"], "SRC 2");
    EXPECT_EQ(last["group"], "Cameras");
    EXPECT_EQ(json_of(ask(method::patch, "/api/v1/routers/r1/destinations/1",
                          R"({"group":"Monitors"})"))["group"],
              "Monitors");
}

TEST_F(Labels, AreSetForSeveral)
{
    const response set = ask(method::patch, SOURCES,
                             R"({"rows":[{"index":2,"alias":"CAM","group":"Cameras"},{"index":0,
                                 "group":"Cameras"}]})");
    EXPECT_EQ(set.body, R"({"router":"r1","revision":12,"sources":[)"
                        R"({"index":2,"number":3,"name":"CAM","routerName":"SRC 3","alias":"CAM",)"
                        R"("group":"Cameras","routable":true},)"
                        R"({"index":0,"number":1,"name":"SRC 1","routerName":"SRC 1","alias":"",)"
                        R"("group":"Cameras","routable":true}]})");
    EXPECT_EQ(header_of(set, "ETag"), header_of(ask(method::get, SOURCES), "ETag"));
    headers = {{"if-match", header_of(set, "ETag")}};
    const std::string body = R"({"rows":[{"index":1,"alias":"VTR"}]})";
    EXPECT_EQ(ask(method::patch, SOURCES, body).status, 200);
    EXPECT_EQ(refusal(method::patch, SOURCES, body), "412 changedMeanwhile");
}

TEST_F(Labels, AreAllSetOrNone)
{
    const struct {
        const char* body;
        const char* refusal;
    } cases[] = {
        {R"({"rows":[{"index":2,"alias":"A"},{"index":2,"alias":"B"}]})",
         "422 badValue /rows/1/index"},
        {R"({"rows":[{"index":2,"alias":"A"},{"index":4,"alias":"B"}]})",
         "422 noSuchSource /rows/1/index"},
        {R"({"rows":[{"index":0,"alias":"A"},{"index":1024},{"alias":"B"},{"index":"1"}]})",
         "422 badValue /rows/1/index badValue /rows/2/index badValue /rows/3/index"},
        {R"({"rows":[{"index":0,"alias":"A"},{"index":1,"alias":1},{"index":2,"name":"B"},7]})",
         "422 badValue /rows/1/alias badValue /rows/2/name badValue /rows/3 badValue "
         "/rows/3/index"},
        {R"({"rows":[]})", "422 badValue /rows"},
        {"{}", "422 badValue /rows"},
        {"[]", "422 badValue  badValue /rows"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(refusal(method::patch, SOURCES, each.body), each.refusal) << each.body;
    EXPECT_EQ(refusal(method::patch, SOURCES + "/4", R"({"alias":"A"})"), "404 noSuchSource");
    EXPECT_EQ(refusal(method::patch, SOURCES + "/0", "{}"), "422 badValue ");
    EXPECT_EQ(refusal(method::patch, SOURCES + "/0", R"({"name":"A"})"), "422 badValue /name");
    EXPECT_TRUE(server.desk.entries.empty());
}

TEST_F(Labels, MakeGroups)
{
    group("r1", 3, "Recorders");
    group("r1", 0, "Monitors");
    group("r1", 1, "Recorders");
    group("r2", 1, "Monitors");
    ask(method::patch, SOURCES + "/2", R"({"group":"Cameras"})");
    const std::string of_r1 =
        R"({"router":"r1","side":"sources","name":"Cameras","members":[2]})"
        "\n"
        R"({"router":"r1","side":"destinations","name":"Monitors","members":[0]})"
        "\n"
        R"({"router":"r1","side":"destinations","name":"Recorders","members":[1,3]})"
        "\n";
    EXPECT_EQ(groups("?router=r1"), of_r1);
    EXPECT_EQ(groups(),
              of_r1 + R"({"router":"r2","side":"destinations","name":"Monitors","members":[1]})" +
                  "\n");
    EXPECT_EQ(groups("?router=r9"), "");
}

TEST_F(Labels, RenameAndDissolveGroups)
{
    const std::string monitors = "/api/v1/groups/r1/destinations/Monitors";
    group("r1", 0, "Monitors");
    group("r1", 1, "Monitors");
    group("r1", 2, "Studio floor");
    desk::set_label(server.desk, now, engineer, "r1", desk::side::sources, 0, {"", "Monitors"});
    EXPECT_EQ(refusal(method::patch, monitors, R"({"name":"Studio floor"})"), "409 nameTaken");
    EXPECT_EQ(refusal(method::patch, monitors, R"({"name":""})"), "422 badValue /name");
    EXPECT_EQ(refusal(method::patch, monitors, "{}"), "422 badValue /name");
    EXPECT_EQ(ask(method::patch, monitors, R"({"name":"Gallery"})").body,
              R"({"router":"r1","side":"destinations","name":"Gallery","members":[0,1]})");
    EXPECT_EQ(refusal(method::remove, monitors, ""), "404 noSuchGroup");
    EXPECT_EQ(ask(method::remove, "/api/v1/groups/r1/destinations/Studio%20floor").status, 204);
    EXPECT_EQ(refusal(method::remove, "/api/v1/groups/r1/levels/Gallery", ""), "404 noSuchGroup");
    EXPECT_EQ(refusal(method::remove, "/api/v1/groups/r9/sources/Gallery", ""), "404 noSuchRouter");
    EXPECT_EQ(groups(), R"({"router":"r1","side":"sources","name":"Monitors","members":[0]})"
                        "\n"
                        R"({"router":"r1","side":"destinations","name":"Gallery","members":[0,1]})"
                        "\n");
}

TEST_F(Labels, CarryRightsAlongWithAGroup)
{
    const std::string monitors = "/api/v1/groups/r1/destinations/Monitors";
    server.accounts.people["ben"].may.groups = names{"Monitors"};
    group("r1", 0, "Monitors");
    ask(method::patch, monitors, R"({"name":"Gallery"})");
    EXPECT_THAT(groups_of_ben(), ElementsAre("Gallery"));
    group("r1", 0, "Monitors");
    group("r2", 0, "Monitors");
    server.accounts.people["ben"].may.groups = names{"Monitors"};
    ask(method::patch, monitors, R"({"name":"Gallery"})");
    EXPECT_THAT(groups_of_ben(), ElementsAre("Gallery", "Monitors"));
    // Of sources there are no rights.
    desk::set_label(server.desk, now, engineer, "r1", desk::side::sources, 0, {"", "Gallery"});
    ask(method::patch, "/api/v1/groups/r1/sources/Gallery", R"({"name":"Cameras"})");
    EXPECT_THAT(groups_of_ben(), ElementsAre("Gallery", "Monitors"));
}
