#include "server/web/live_events.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using namespace std::chrono_literals;

namespace {
struct LiveEvents : ServerTest {
    LiveEvents()
    {
        add_router("r1", 8, 4);
        add_router("r2", 8, 4);
    }

    // All that has been sent since the last call.
    std::string told(stream_id client)
    {
        std::string text;
        for (const std::string& each : std::exchange(streams[client], {}))
            text += each;
        return text;
    }

    stream_id follow(const std::string& topics)
    {
        const request_id id = send(method::get, "/api/v1/events?topics=" + topics);
        EXPECT_EQ(answers[id].status, 200) << answers[id].body;
        return id;
    }

    static std::string id_in(const std::string& event)
    {
        const auto begin = event.find("\nid: ") + 5;
        return event.substr(begin, event.find('\n', begin) - begin);
    }
};
} // namespace

TEST_F(LiveEvents, CarryTheMessages)
{
    const stream_id client = follow("routers/r1");
    EXPECT_EQ(answers[client].type, "text/event-stream");
    EXPECT_EQ(header_of(answers[client], "Cache-Control"), "no-store");
    const std::string event = told(client);
    EXPECT_THAT(event, StartsWith("event: snapshot\nid: "));
    EXPECT_THAT(event, HasSubstr("\ndata: {\"type\":\"snapshot\",\"topic\":\"routers/r1\","));
    EXPECT_TRUE(event.ends_with("}\n\n"));
    shows("r1", 1, 5);
    pass();
    wait(20ms);
    EXPECT_THAT(told(client), StartsWith("event: change\nid: "));
}

TEST_F(LiveEvents, GoOnAfterTheLastId)
{
    const std::string id = id_in(told(follow("routers/r1,routers/r2")));
    shows("r1", 1, 5);
    pass();
    headers = {{"last-event-id", id}};
    const std::string missing = told(follow("routers/r1"));
    EXPECT_THAT(missing, StartsWith("event: change\n"));
    EXPECT_EQ(missing.find("event:", 1), std::string::npos);
}

TEST_F(LiveEvents, BeginAnewWithAnIdThatTheyDoNotKnow)
{
    const std::string id = id_in(told(follow("routers/r1")));
    for (const std::string& other :
         {std::string("?"), std::string("MTIz"), std::string(5000, 'a'), id + "!"}) {
        headers = {{"last-event-id", other}};
        EXPECT_THAT(told(follow("routers/r1")), StartsWith("event: snapshot\n")) << other;
    }
    headers = {{"last-event-id", id}};
    server.instance = desk::make_id(server.desk.ids, now.utc);
    EXPECT_THAT(told(follow("routers/r1")), StartsWith("event: snapshot\n"));
}

TEST_F(LiveEvents, NeedTopicsThatThereAre)
{
    EXPECT_EQ(ask(method::get, "/api/v1/events").status, 422);
    const response refused = ask(method::get, "/api/v1/events?topics=routers/r1,weather");
    EXPECT_EQ(refused.status, 404);
    EXPECT_EQ(json_of(refused), json::parse(R"({"type":"/problems/no-such-topic",
        "title":"No such topic","status":404,"code":"noSuchTopic",
        "detail":"There is no topic weather."})"));
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/events?topics=routers/r9"))["code"],
              "noSuchRouter");
}

TEST_F(LiveEvents, BeatWithoutAnId)
{
    const stream_id client = follow("routers/r1");
    told(client);
    wait(10s);
    EXPECT_THAT(told(client), StartsWith("event: heartbeat\ndata: {\"type\":\"heartbeat\""));
    wait(60s);
    EXPECT_FALSE(closed.contains(client)) << "its clients say nothing";
}

TEST_F(LiveEvents, EndWhenNobodyIsSignedInAnyMore)
{
    const stream_id client = follow("routers/r1");
    server.settings.demonstration = false; // in which everybody was
    wait(10s);
    EXPECT_EQ(closed[client], 1008);
    EXPECT_THAT(server.live.clients, IsEmpty());
}
