// Random changes, and clients that read slowly, fall behind, go and come back: what each has put
// together from what it was told is what it gets when it asks.
#include <deque>
#include <random>

#include "server/accounts/people.h"
#include "server/desk/locks.h"
#include "server/web/live_data.h"
#include "server/web/live_topics.h"
#include "unit/web/live_client.h"
#include "unit/web/live_house.h"

using namespace web;
using namespace web_test;

namespace {
constexpr std::size_t WEIGHT = 600 << 10; // that each message counts, so that few are too many
const std::vector<std::string> TOPICS = {"routers",    "operations", "salvos",   "operators",
                                         "me",         "server",     "trace/r1", "routers/r1",
                                         "routers/r2", "routers/r3"};

struct follower {
    stream_id stream = 0; // 0: away
    std::set<std::string> topics;
    live_model model;
    std::deque<std::string> unread;
};

struct history_of_clients : live_house {
    std::vector<follower> followers{5};

    explicit history_of_clients(unsigned seed) : live_house(seed)
    {
        server.clients.send = [this](stream_id stream, live_bytes bytes) {
            for (follower& each : followers)
                if (each.stream == stream) each.unread.push_back(*bytes);
        };
        server.clients.unsent_bytes = [this](stream_id stream) {
            for (const follower& each : followers)
                if (each.stream == stream) return each.unread.size() * WEIGHT;
            return std::size_t{0};
        };
        server.clients.close = [this](stream_id stream, int, const std::string&) {
            for (follower& each : followers)
                if (each.stream == stream) leave(each);
        };
    }

    static void leave(follower& each)
    {
        each.stream = 0;
        each.unread.clear(); // was under way, and never came
    }

    void come(follower& each)
    {
        headers = {{"upgrade", "websocket"}, {"sec-websocket-protocol", "router-control.v1"}};
        each.stream = send(method::get, "/api/v1/live");
        headers.clear();
        each.topics.clear();
        for (const std::string& topic : TOPICS)
            if (below(2) != 0) each.topics.insert(topic);
        each.topics.insert("routers/r1");
        std::erase_if(each.model.topics,
                      [&](const auto& topic) { return !each.topics.contains(topic.first); });
        hear_stream(server, now, each.stream, subscription_of(each.model, each.topics));
    }

    void go(follower& each)
    {
        const stream_id stream = each.stream;
        leave(each);
        drop_stream(server, now, stream);
    }

    void read_one(follower& each)
    {
        if (each.unread.empty()) return;
        each.model.hears(each.unread.front());
        each.unread.pop_front();
        if (each.unread.empty()) drain_stream(server, now, each.stream);
    }

    void step()
    {
        follower& each = followers[below(followers.size())];
        switch (below(8)) {
        case 0:
            each.stream == 0 ? come(each) : go(each);
            break;
        case 1:
        case 2:
        case 3:
            if (each.stream != 0) read_one(each);
            break;
        case 4:
            wait(std::chrono::milliseconds(below(20) == 0 ? 4000 : below(40)));
            break;
        default:
            change_something();
        }
        if (below(2) == 0) pass();
    }

    // Everybody follows everything that there is.
    void come_to_rest()
    {
        for (int i = 0; i < 80; ++i) {
            for (follower& each : followers) {
                if (each.stream == 0) come(each);
                while (!each.unread.empty())
                    read_one(each);
                if (i == 40) // of a router that was removed, and is there again
                    hear_stream(server, now, each.stream, subscription_of(each.model, each.topics));
            }
            wait(std::chrono::milliseconds(20));
        }
    }

    void expect_the_same(const follower& each)
    {
        EXPECT_TRUE(each.model.broken.empty()) << *each.model.broken.begin();
        for (const std::string& name : each.topics) {
            const live_topic topic = *read_topic(name, "guest");
            if (topic.what == live_topic::kind::router &&
                desk::find_live(server.desk, topic.subject) == nullptr)
                continue;
            const desk::actor guest{"guest", "api", {desk::right::administer, {}, {}}};
            json wanted = snapshot_data({server, now, topic, guest});
            const auto found = each.model.topics.find(name);
            ASSERT_NE(found, each.model.topics.end()) << name;
            json has = found->second.data;
            make_comparable(has, wanted);
            EXPECT_EQ(nlohmann::json::diff(sorted(has), sorted(wanted)), nlohmann::json::array())
                << name;
        }
        const auto router = each.model.topics.find("routers/r1");
        if (router != each.model.topics.end()) expect_what_is_got("r1", router->second.data);
    }
};
} // namespace

TEST(LiveHistory, LeavesEachClientWithWhatItGetsWhenItAsks)
{
    std::size_t changes = 0;
    std::size_t snapshots = 0;
    for (unsigned seed = 0; seed < 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        history_of_clients history(seed);
        for (int i = 0; i < 300; ++i)
            history.step();
        history.come_to_rest();
        for (const follower& each : history.followers) {
            history.expect_the_same(each);
            changes += each.model.changes;
            snapshots += each.model.snapshots;
        }
        EXPECT_TRUE(history.server.live.changed.empty());
    }
    EXPECT_GT(changes, snapshots / 2) << "much of it came by changes";
}
