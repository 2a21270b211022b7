// What each topic tells.
#include "server/accounts/people.h"
#include "server/desk/locks.h"
#include "unit/web/account_requests.h"
#include "unit/web/live_client.h"

using namespace web;
using namespace web_test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {
struct LiveTopics : FollowsLive<AccountRequests> {
    int salvos_made = 0;

    LiveTopics()
    {
        add_router("r1", 8, 4);
        add_router("r2", 8, 4);
        as("ana");
    }

    static std::vector<std::string> kinds(const json& data)
    {
        std::vector<std::string> all;
        for (const json& each : data)
            all.push_back(each["kind"]);
        return all;
    }

    std::string take(int destination, int source)
    {
        return json_of(
            ask(method::put,
                "/api/v1/routers/r1/destinations/" + std::to_string(destination) + "/route",
                json{{"source", source}}.dump()))["id"];
    }

    std::string add_salvo(const std::string& router)
    {
        const json salvo = {
            {"name", "Salvo " + std::to_string(++salvos_made)},
            {"rows", json::array({{{"router", router}, {"destination", 1}, {"source", 2}}})}};
        return json_of(ask(method::post, "/api/v1/salvos", salvo.dump()))["id"];
    }

    void set_rights(const std::string& person, desk::rights may)
    {
        accounts::person wanted = server.accounts.people.at(person);
        wanted.may = std::move(may);
        const desk::actor ana{"ana", "test", {desk::right::administer, {}, {}}};
        accounts::set_person(server.accounts, now, ana, person, wanted);
    }
};
} // namespace

TEST_F(LiveTopics, ARouterTellsAllOfIt)
{
    const stream_id client = follow("routers/r1");
    const json data = snapshot(client);
    EXPECT_EQ(data["router"]["name"], "ROUTER r1");
    EXPECT_THAT(data["sources"], SizeIs(8));
    EXPECT_EQ(data["destinations"][3]["name"], "DST 4");
    for (const char* const name : {"wishes", "problems", "locks", "stages"})
        EXPECT_EQ(data[name], json::array()) << name;

    take(1, 5);
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("wish"));
    EXPECT_EQ(told[0]["wish"]["sourceName"], "SRC 6");
    EXPECT_EQ(told[0]["wish"]["person"]["name"], "Ana K.");
    carries_out("r1", 1, 5);
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("wish", "routes"));
    EXPECT_EQ(told[0]["wish"], json());
    EXPECT_EQ(told[1]["routes"][0][3]["id"], "ana");

    ask(method::put, "/api/v1/routers/r1/destinations/2/lock", R"({"mode":"lock"})");
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("router", "lock"));
    EXPECT_EQ(told[0]["router"]["locks"], 1);
    EXPECT_EQ(told[1]["lock"]["destinationName"], "DST 3");

    ask(method::patch, "/api/v1/routers/r1/destinations/2", R"({"alias":"TX"})");
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("sources", "destinations", "lock"));
    EXPECT_EQ(told[1]["count"], 4);
    EXPECT_EQ(told[1]["rows"][0]["alias"], "TX");
    EXPECT_EQ(told[2]["lock"]["destinationName"], "TX");

    ask(method::put, "/api/v1/routers/r1/stage", R"({"rows":[{"destination":1,"source":0}]})");
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("staged"));
    EXPECT_EQ(told[0]["staged"]["destinations"], json::parse("[1]"));
}

TEST_F(LiveTopics, ARouterTellsWhatWentWrongUntilItIsAccepted)
{
    const stream_id client = follow("routers/r1");
    take(1, 5);
    desk::trace_take(server.desk, now, "r1", 1, 5);
    desk::trace_take_answer(server.desk, now, "r1", "NAK 0005");
    told(client);
    json last = changes(client);
    ASSERT_THAT(kinds(last), ElementsAre("router", "wish", "problem"));
    EXPECT_EQ(last[0]["router"]["problems"], 1);
    EXPECT_EQ(last[2]["problem"]["outcome"], "refused");
    ask(method::post, "/api/v1/routers/r1/destinations/1/accept");
    last = changes(client);
    EXPECT_EQ(last.back(), json::parse(R"({"kind":"problem","destination":1,"problem":null})"));
}

TEST_F(LiveTopics, RoutersTellWhichThereAre)
{
    const stream_id client = follow("routers");
    EXPECT_THAT(snapshot(client)["routers"], SizeIs(2));
    shows("r1", 1, 5);
    EXPECT_THAT(changes(client), IsEmpty()) << "that is of the router's own topic";
    ask(method::patch, "/api/v1/routers/r1", R"({"name":"STUDIO A"})");
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("router"));
    EXPECT_EQ(told[0]["router"]["name"], "STUDIO A");
    ask(method::remove, "/api/v1/routers/r2");
    told = changes(client);
    EXPECT_EQ(told, json::parse(R"([{"kind":"routerRemoved","id":"r2"}])"));
    add_router("r3", 8, 4);
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("router"));
    EXPECT_EQ(told[0]["router"]["id"], "r3");
}

TEST_F(LiveTopics, OperationsTellRowsAsTheyEnd)
{
    const stream_id client = follow("operations");
    EXPECT_THAT(snapshot(client)["operations"], IsEmpty());
    const std::string id = take(1, 5);
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("operation"));
    EXPECT_EQ(told[0]["operation"]["id"], id);
    carries_out("r1", 1, 5);
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("rows"));
    EXPECT_EQ(told[0]["state"], "ended");
    EXPECT_EQ(told[0]["counts"], json::parse(R"({"confirmed":1})"));
    EXPECT_EQ(told[0]["rows"][0]["result"]["outcome"], "confirmed");

    EXPECT_THAT(snapshot(follow("operations"))["operations"], SizeIs(1));
    wait(20s);
    wait(20s);
    wait(20s);
    EXPECT_THAT(snapshot(follow("operations"))["operations"], IsEmpty()) << "it is too old";
}

TEST_F(LiveTopics, SalvosTellWhatIsSavedAndDeleted)
{
    const stream_id client = follow("salvos");
    EXPECT_THAT(snapshot(client)["salvos"], IsEmpty());
    const std::string id = add_salvo("r1");
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("salvo"));
    EXPECT_EQ(told[0]["salvo"]["rowCount"], 1);
    ask(method::remove, "/api/v1/salvos/" + id);
    told = changes(client);
    EXPECT_EQ(told, (json::array({{{"kind", "salvoDeleted"}, {"id", id}}})));
    ask(method::post, "/api/v1/salvos/" + id + "/restore");
    EXPECT_THAT(kinds(changes(client)), ElementsAre("salvo"));
}

TEST_F(LiveTopics, OperatorsTellWhoIsHereAndWhatTheyLookAt)
{
    const stream_id client = follow("operators");
    EXPECT_EQ(snapshot(client)["operators"][0]["connections"], 1);
    as("ben");
    const stream_id other = connect();
    says(other, R"({"type":"presence","screen":"Routing","router":"r1"})");
    wait(1s);
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("operators"));
    const json& ben = told[0]["operators"][1];
    EXPECT_EQ(ben["person"]["name"], "Ben L.");
    EXPECT_EQ(ben["screen"], "Routing");
    EXPECT_EQ(ben["router"], "r1");
    drop_stream(server, now, other);
    wait(1s);
    EXPECT_EQ(changes(client)[0]["operators"][1]["connections"], 0);
}

TEST_F(LiveTopics, MineAreStagesSettingsUndoAndNotices)
{
    const stream_id client = follow("me");
    json data = snapshot(client);
    EXPECT_EQ(data["stages"], json::array());
    EXPECT_EQ(data["settings"]["theme"], "system");
    EXPECT_EQ(data["undo"], 0);

    ask(method::patch, "/api/v1/people/me/settings", R"({"theme":"dark"})");
    json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("settings"));
    EXPECT_EQ(told[0]["settings"]["theme"], "dark");

    ask(method::put, "/api/v1/routers/r1/stage", R"({"rows":[{"destination":1,"source":0}]})");
    EXPECT_THAT(kinds(changes(client)), ElementsAre("stage"));
    shows("r1", 1, 7);
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("stage"));
    EXPECT_EQ(told[0]["stage"]["rows"][0]["changed"], true);
    shows("r1", 2, 7);
    EXPECT_THAT(changes(client), IsEmpty()) << "nothing is staged there";

    take(3, 5);
    carries_out("r1", 3, 5);
    wait(1s);
    told = changes(client);
    EXPECT_EQ(told, json::parse(R"([{"kind":"undo","undo":1,"redo":0}])"));

    desk::set_lock(server.desk, now, {"ana", "panel", engineer.may}, "r1", 0, desk::lock_mode::lock,
                   "", {});
    desk::remove_lock(server.desk, now, engineer, "r1", 0, true, "wrong studio");
    told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("notice"));
    EXPECT_EQ(told[0]["notice"]["text"], "erna broke your lock on DST 1: 'wrong studio'");
    const std::string notice = told[0]["notice"]["id"];
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/people/me/notices"))["notices"][0]["id"], notice);
    EXPECT_EQ(ask(method::remove, "/api/v1/people/me/notices/" + notice).status, 204);
    told = changes(client);
    EXPECT_EQ(told, (json::array({{{"kind", "noticeDismissed"}, {"id", notice}}})));
    EXPECT_THAT(json_of(ask(method::get, "/api/v1/people/me/notices"))["notices"], IsEmpty());
}

TEST_F(LiveTopics, TheServerTellsHowItDoes)
{
    const stream_id client = follow("server");
    EXPECT_EQ(snapshot(client)["server"]["instance"], desk::text_of(server.instance));
    wait(1s);
    changes(client); // as it was seen first
    wait(2s);
    EXPECT_THAT(changes(client), IsEmpty()) << "that time passes is nothing new";
    server.journal.news.health.failure = "disk full";
    pass();
    wait(1s);
    const json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("server"));
    EXPECT_THAT(told[0]["server"]["warnings"], SizeIs(1));
}

TEST_F(LiveTopics, ATraceTellsFramesAsTheyPass)
{
    server.routers.stopping = false; // the routers have no address: no process is started
    pass();
    routers::trace_reader& trace = server.routers.backends.at("r1").trace;
    const auto passes = [&](const std::string& raw) {
        routers::traced_frame frame;
        frame.at = now;
        frame.raw = raw;
        trace.frames.push_back(frame);
        ++trace.sent;
    };
    passes("one");
    const stream_id client = follow("trace/r1");
    const json first = snapshot(client);
    EXPECT_EQ(first["frames"][0]["raw"], "one") << first;
    passes("two");
    passes("three");
    const json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("frames"));
    ASSERT_THAT(told[0]["frames"], SizeIs(2));
    EXPECT_EQ(told[0]["frames"][1]["number"], 3);
    EXPECT_EQ(told[0]["frames"][1]["raw"], "three");
}

TEST_F(LiveTopics, NobodyIsToldOfWhatTheyMayNotView)
{
    set_rights("ben", {desk::right::none, {{"r1", desk::right::view}}, {}});
    const std::string seen = add_salvo("r1");
    add_salvo("r2");
    as("ben");
    EXPECT_EQ(told(follow("routers/r2")).at(0)["code"], "noRight");
    EXPECT_EQ(told(follow("trace/r1")).at(0)["code"], "noRight");
    const stream_id routers = follow("routers");
    const stream_id salvos = follow("salvos");
    const stream_id operations = follow("operations");
    EXPECT_THAT(snapshot(routers)["routers"], SizeIs(1));
    EXPECT_THAT(snapshot(salvos)["salvos"], SizeIs(1));
    told(operations);
    as("ana");
    ask(method::patch, "/api/v1/routers/r2", R"({"name":"STUDIO B"})");
    const std::string unseen = add_salvo("r2");
    ask(method::post, "/api/v1/salvos/" + unseen + "/take", "{}");
    ask(method::remove, "/api/v1/salvos/" + unseen);
    EXPECT_THAT(changes(routers), IsEmpty());
    EXPECT_THAT(told(salvos), IsEmpty());
    EXPECT_THAT(told(operations), IsEmpty());
    ask(method::remove, "/api/v1/salvos/" + seen);
    EXPECT_THAT(kinds(changes(salvos)), ElementsAre("salvoDeleted"));
}

TEST_F(LiveTopics, RowsAreCountedAmongThoseThatMayBeViewed)
{
    set_rights("ben", {desk::right::none, {{"r2", desk::right::view}}, {}});
    as("ben");
    const stream_id client = follow("operations");
    told(client);
    as("ana");
    const json salvo = {
        {"name", "both"},
        {"rows", json::array({{{"router", "r1"}, {"destination", 1}, {"source", 2}},
                              {{"router", "r2"}, {"destination", 1}, {"source", 2}}})}};
    const std::string id = json_of(ask(method::post, "/api/v1/salvos", salvo.dump()))["id"];
    ask(method::post, "/api/v1/salvos/" + id + "/take", "{}");
    EXPECT_THAT(changes(client)[0]["operation"]["rows"], SizeIs(1));
    carries_out("r2", 1, 2);
    const json told = changes(client);
    ASSERT_THAT(kinds(told), ElementsAre("rows"));
    EXPECT_EQ(told[0]["rows"][0]["row"], 0);
    EXPECT_EQ(told[0]["rows"][0]["result"]["router"], "r2");
}

TEST_F(LiveTopics, WhoeverLosesARightIsToldNoMore)
{
    as("ben");
    const stream_id client = follow("routers/r2");
    told(client);
    set_rights("ben", {desk::right::none, {{"r1", desk::right::view}}, {}});
    shows("r2", 1, 5);
    pass();
    wait(20ms);
    const std::vector<json> messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["code"], "noRight");
    EXPECT_EQ(messages[0]["topic"], "routers/r2");

    set_rights("ben", {});
    pass();
    EXPECT_EQ(closed[client], 1008);
}

TEST_F(LiveTopics, MineAreNoStagesOfRoutersThatMayNoLongerBeViewed)
{
    set_rights("ben", {desk::right::operate, {}, {}});
    pass();
    as("ben");
    for (const char* const router : {"r1", "r2"})
        ask(method::put, "/api/v1/routers/" + std::string(router) + "/stage",
            R"({"rows":[{"destination":1,"source":0}]})");
    const stream_id client = follow("me");
    EXPECT_THAT(snapshot(client)["stages"], SizeIs(2));
    set_rights("ben", {desk::right::none, {{"r1", desk::right::view}}, {}});
    pass();
    const json stages = snapshot(client)["stages"];
    ASSERT_THAT(stages, SizeIs(1));
    EXPECT_EQ(stages[0]["router"], "r1");
    shows("r2", 1, 5);
    EXPECT_THAT(changes(client), IsEmpty());
}

TEST_F(LiveTopics, SigningOutEndsAllThatTheSessionFollows)
{
    const stream_id client = follow("routers");
    ask(method::remove, "/api/v1/session");
    pass();
    EXPECT_EQ(closed[client], 1008);
}

TEST_F(LiveTopics, BeginAnewWithOtherNamesOfPeople)
{
    ask(method::put, "/api/v1/routers/r1/destinations/2/lock", R"({"mode":"lock"})");
    const stream_id client = follow("routers/r1");
    told(client);
    accounts::person ana = server.accounts.people.at("ana");
    ana.name = "Ana M.";
    accounts::set_person(server.accounts, now, {"ana", "test", ana.may}, "ana", ana);
    pass();
    EXPECT_EQ(snapshot(client)["locks"][0]["owner"]["name"], "Ana M.");
}

TEST_F(LiveTopics, MetricsAreOfRoutersThatMayBeViewed)
{
    set_rights("ben", {desk::right::none, {{"r1", desk::right::view}}, {}});
    as("ben");
    const std::string text = ask(method::get, "/metrics").body;
    EXPECT_THAT(text, testing::HasSubstr("router_link_up{router=\"r1\"} 1"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("\"r2\"")));
}
