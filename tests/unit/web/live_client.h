// A client of the live messages as the description asks for one: it keeps what it is told, and asks
// anew for what does not fit.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "unit/web/server_test.h"

namespace web_test {

struct live_copy {
    std::uint64_t revision = 0;
    web::json data;
};

struct live_model {
    std::string instance;
    std::map<std::string, live_copy> topics;
    std::set<std::string> broken; // a change did not follow on what it has
    std::size_t snapshots = 0;
    std::size_t changes = 0;

    void hears(const std::string& text);
};

// The message of a subscription to these, going on from what the client has of them.
std::string subscription_of(const live_model& model, const std::set<std::string>& topics);

// A fixture with clients of WebSockets.
template <typename Base>
struct FollowsLive : Base {
    web::stream_id connect()
    {
        auto of_requests = this->headers;
        this->headers.emplace_back("upgrade", "websocket");
        this->headers.emplace_back("sec-websocket-protocol", "router-control.v1");
        const web::request_id id = this->send(web::method::get, "/api/v1/live");
        this->headers = std::move(of_requests);
        EXPECT_EQ(this->answers[id].status, 101) << this->answers[id].body;
        return id;
    }

    void says(web::stream_id client, const std::string& text)
    {
        hear_stream(this->server, this->now, client, text);
        this->pass();
    }

    web::stream_id follow(const std::string& topic)
    {
        const web::stream_id client = connect();
        says(client, R"({"type":"subscribe","topics":[")" + topic + R"("]})");
        return client;
    }

    // What the client has been sent since the last call.
    std::vector<web::json> told(web::stream_id client)
    {
        std::vector<web::json> messages;
        for (const std::string& each : std::exchange(this->streams[client], {}))
            messages.push_back(web::json::parse(each));
        return messages;
    }

    // The one snapshot that it has been sent.
    web::json snapshot(web::stream_id client)
    {
        const std::vector<web::json> messages = told(client);
        EXPECT_EQ(messages.size(), 1U);
        return messages.empty() ? web::json() : messages.back()["data"];
    }

    // The list of what has changed by now; empty when nothing was told.
    web::json changes(web::stream_id client)
    {
        this->pass();
        this->wait(std::chrono::milliseconds(20));
        const std::vector<web::json> messages = told(client);
        EXPECT_LE(messages.size(), 1U);
        return messages.empty() ? web::json::array() : messages.back()["data"];
    }
};

} // namespace web_test
