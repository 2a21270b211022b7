#include "unit/web/live_client.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {
struct Live : FollowsLive<ServerTest> {
    Live()
    {
        add_router("r1", 8, 4);
        add_router("r2", 8, 4);
    }

    void drains(stream_id client)
    {
        unsent = 0;
        drain_stream(server, now, client);
        pass();
    }

    std::uint64_t revision_of(const std::string& router)
    {
        return desk::find_live(server.desk, router)->revision;
    }
};
} // namespace

TEST_F(Live, IsForWebSocketsAlone)
{
    const response refused = ask(method::get, "/api/v1/live");
    EXPECT_EQ(refused.status, 426);
    EXPECT_EQ(header_of(refused, "Upgrade"), "websocket");
    EXPECT_EQ(json_of(refused), json::parse(R"({"type":"/problems/upgrade-required",
        "title":"For WebSockets","status":426,"code":"upgradeRequired","detail":
        "Ask for an upgrade to websocket with the subprotocol router-control.v1."})"));
    headers = {{"upgrade", "websocket"}, {"sec-websocket-protocol", "chat"}};
    EXPECT_EQ(ask(method::get, "/api/v1/live").status, 426);
}

TEST_F(Live, LetsNoPageOfOthersIn)
{
    headers = {{"upgrade", "websocket"},
               {"sec-websocket-protocol", "chat, router-control.v1"},
               {"origin", "http://example.net"}};
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/live"))["code"], "foreignOrigin");
    headers.back().second = "http://localhost";
    EXPECT_EQ(ask(method::get, "/api/v1/live").status, 101);
}

TEST_F(Live, BeginsWithASnapshot)
{
    const stream_id client = follow("routers/r1");
    const auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["type"], "snapshot");
    EXPECT_EQ(messages[0]["topic"], "routers/r1");
    EXPECT_EQ(messages[0]["revision"], revision_of("r1"));
    EXPECT_EQ(messages[0]["instance"], desk::text_of(server.instance));
    EXPECT_EQ(messages[0]["data"]["routes"]["sources"], json::parse("[0,1,2,3]"));
    EXPECT_EQ(messages[0]["data"]["routes"]["stale"], json::array());
}

TEST_F(Live, GathersChangesFor20Milliseconds)
{
    const stream_id client = follow("routers/r1");
    told(client);
    const std::uint64_t before = revision_of("r1");
    shows("r1", 1, 5);
    pass();
    wait(10ms);
    shows("r1", 1, 6);
    shows("r1", 0, 7);
    wait(9ms);
    EXPECT_THAT(told(client), IsEmpty());
    EXPECT_EQ(next_due(server, now), now.steady + 1ms);
    wait(1ms);
    const auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["type"], "change");
    EXPECT_EQ(messages[0]["previous"], before);
    EXPECT_EQ(messages[0]["revision"], before + 3);
    ASSERT_THAT(messages[0]["data"], SizeIs(1)) << messages[0];
    const json& routes = messages[0]["data"][0]["routes"];
    ASSERT_THAT(routes, SizeIs(2));
    EXPECT_EQ(routes[0][0], 0);
    EXPECT_EQ(routes[0][1], 7);
    EXPECT_EQ(routes[1][1], 6);
}

TEST_F(Live, SendsAllWhoMaySeeTheSameTheSameBytes)
{
    std::map<stream_id, live_bytes> last;
    server.clients.send = [&](stream_id stream, live_bytes bytes) {
        last[stream] = std::move(bytes);
    };
    const stream_id one = follow("routers/r1");
    const stream_id other = follow("routers/r1");
    EXPECT_EQ(last[one], last[other]);
    shows("r1", 1, 5);
    pass();
    wait(20ms);
    EXPECT_THAT(*last[one], HasSubstr("change"));
    EXPECT_EQ(last[one], last[other]);
}

TEST_F(Live, GoesOnFromWhatAClientHas)
{
    const std::string from =
        R"({"type":"subscribe","topics":["routers/r1"],"since":{"routers/r1":)" +
        std::to_string(revision_of("r1")) + R"(},"instance":")";
    follow("routers/r1");
    shows("r1", 2, 6);
    shows("r1", 2, 5);
    pass();
    const stream_id client = connect();
    says(client, from + desk::text_of(server.instance) + "\"}");
    auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["type"], "change");
    EXPECT_THAT(messages[0]["data"][0]["routes"], SizeIs(1));
    says(client, from + desk::text_of(desk::ulid{1, 1}) + "\"}"); // of another server
    messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["type"], "snapshot");
}

TEST_F(Live, SaysWhichTopicsThereAreNot)
{
    const stream_id client = follow("weather");
    auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0], json::parse(R"({"type":"error","code":"noSuchTopic","topic":"weather",
        "detail":"There is no topic weather."})"));
    says(client, R"({"type":"subscribe","topics":["routers/r9"]})");
    messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["code"], "noSuchRouter");
}

TEST_F(Live, EndsTopicsOfRemovedRouters)
{
    const stream_id client = follow("routers/r1");
    told(client);
    ASSERT_EQ(desk::remove_router(server.desk, now, engineer, "r1").why, desk::reason::none);
    pass();
    wait(20ms);
    const auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["code"], "noSuchRouter");
    EXPECT_THAT(server.live.clients.at(client).topics, IsEmpty());
}

TEST_F(Live, BeginsNoTopicOfARouterThatIsGone)
{
    const stream_id client = connect();
    unsent = ROOM_TO_BEGIN + 1;
    says(client, R"({"type":"subscribe","topics":["routers/r1","routers/r2"]})");
    ASSERT_EQ(desk::remove_router(server.desk, now, engineer, "r1").why, desk::reason::none);
    unsent = 0;
    drain_stream(server, now, client);
    pass();
    const auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0]["code"], "noSuchRouter");
    EXPECT_EQ(messages[1]["topic"], "routers/r2");
    EXPECT_EQ(messages[1]["type"], "snapshot");
}

TEST_F(Live, ListensNoLongerToWhatIsUnsubscribed)
{
    const stream_id client = follow("routers/r1");
    says(client, R"({"type":"unsubscribe","topics":["routers/r1"]})");
    told(client);
    shows("r1", 2, 6);
    pass();
    wait(20ms);
    EXPECT_THAT(told(client), IsEmpty());
}

TEST_F(Live, TellsWhenFactsBecomeStale)
{
    const stream_id client = follow("routers/r1");
    told(client);
    desk::report_link(server.desk, now, "r1", desk::link_state::down, "gone");
    pass();
    wait(20ms);
    const json message = told(client).at(0);
    EXPECT_EQ(message["data"].back(), json::parse(R"({"kind":"stale","destinations":[0,1,2,3]})"));
}

TEST_F(Live, BeatsEveryTenSecondsAndHearsForThirty)
{
    const stream_id client = connect();
    wait(10s);
    auto messages = told(client);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0]["type"], "heartbeat");
    EXPECT_TRUE(messages[0].contains("version"));
    says(client, R"({"type":"heartbeat","time":"2026-11-22T14:06:00.000Z"})");
    EXPECT_THAT(told(client), SizeIs(1)) << "each is answered at once";
    wait(29s);
    EXPECT_FALSE(closed.contains(client));
    wait(1s);
    EXPECT_EQ(closed[client], 1008);
    EXPECT_THAT(server.live.clients, IsEmpty());
    EXPECT_THAT(server.streams, IsEmpty());
}

TEST_F(Live, GivesASnapshotToWhoWasBehindAndClosesTheSecondTime)
{
    const stream_id client = follow("routers/r1");
    told(client);
    unsent = MOST_UNSENT + 1;
    shows("r1", 2, 6);
    pass();
    wait(20ms);
    EXPECT_THAT(told(client), IsEmpty());
    drains(client);
    EXPECT_EQ(told(client).at(0)["type"], "snapshot");
    unsent = MOST_UNSENT + 1;
    shows("r1", 2, 5);
    pass();
    wait(20ms);
    EXPECT_EQ(closed[client], 1013);
    EXPECT_EQ(server.live.dropped, 2);
}

TEST_F(Live, ClosesWhoIsTooFarBehindToBeToldOfATopicsEnd)
{
    const stream_id client = follow("routers/r1");
    unsent = MOST_UNSENT + 1;
    ASSERT_EQ(desk::remove_router(server.desk, now, engineer, "r1").why, desk::reason::none);
    pass();
    wait(20ms);
    EXPECT_EQ(closed[client], 1013) << "no snapshot would make good what it missed";
}

TEST_F(Live, LetsSnapshotsWaitForRoom)
{
    const stream_id client = connect();
    unsent = ROOM_TO_BEGIN + 1;
    says(client, R"({"type":"subscribe","topics":["routers/r1","routers/r2"]})");
    EXPECT_THAT(told(client), IsEmpty());
    drains(client);
    EXPECT_THAT(told(client), SizeIs(2));
}

TEST_F(Live, ClosesWhatIsNotUnderstood)
{
    for (const char* const text :
         {"", "{", "[]", "{}", R"({"type":"snapshot"})", R"({"type":"subscribe"})",
          R"({"type":"subscribe","topics":"routers"})",
          R"({"type":"subscribe","topics":[],"more":1})", R"({"type":"presence"})"}) {
        const stream_id client = connect();
        says(client, text);
        EXPECT_EQ(closed[client], 1008) << text;
    }
}

TEST_F(Live, EndsWithTheServer)
{
    const stream_id client = connect();
    server.stopping = true;
    headers = {{"upgrade", "websocket"}, {"sec-websocket-protocol", "router-control.v1"}};
    EXPECT_EQ(ask(method::get, "/api/v1/live").status, 503);
    end_streams(server, now);
    EXPECT_EQ(closed[client], 1001);
    EXPECT_THAT(server.live.clients, IsEmpty());
}

TEST_F(Live, LetsNoPersonTakeAllPlaces)
{
    for (std::size_t i = 0; i < LIVE_CLIENTS_OF_A_PERSON; ++i)
        connect();
    headers = {{"upgrade", "websocket"}, {"sec-websocket-protocol", "router-control.v1"}};
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/live"))["code"], "tooManyRequests");
    for (std::size_t i = 0; server.live.clients.size() < LIVE_CLIENTS; ++i)
        server.live.clients[1'000'000 + i];
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/live"))["code"], "overloaded");
}
