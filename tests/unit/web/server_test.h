// A server without sockets, processes and disk: requests are asked, routers are played by telling
// the desk what they say, time passes when the test says so.
#pragma once

#include <gmock/gmock.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/trace.h"
#include "server/web/dispatch.h"
#include "server/web/serving.h"
#include "server/web/target.h"

namespace web_test {

struct ServerTest : testing::Test {
    web::server server;
    desk::moment now{std::chrono::seconds(1000), std::chrono::hours(24 * 365 * 56)};
    desk::actor engineer{"erna", "panel", {desk::right::administer, {}, {}}};
    std::map<web::request_id, web::response> answers;
    std::map<web::stream_id, std::vector<std::string>> streams; // what was sent on each
    std::map<web::stream_id, int> closed;                       // with which code; 0: finished
    std::size_t unsent = 0;                                     // what each stream says
    web::request_id last_request = 0;
    std::vector<std::pair<std::string, std::string>> headers; // of each request, by small letters
    std::string address = "127.0.0.1";

    ServerTest()
    {
        server.settings.demonstration = true; // nobody needs to sign in
        server.desk = desk::make_desk(1);
        server.instance = desk::make_id(server.desk.ids, now.utc);
        server.started = now;
        server.routers.stopping = true; // no backend is started
        server.kept = UINT64_MAX;       // the journal is faster than anything
        server.clients.answer = [this](web::request_id id, web::response response) {
            EXPECT_FALSE(answers.contains(id)) << "a request was answered twice";
            answers[id] = std::move(response);
        };
        server.clients.open_body = [this](web::request_id id, web::response head) {
            answers[id] = std::move(head);
            streams[id] = {};
            return id;
        };
        server.clients.open_websocket = [this](web::request_id id, const std::string&) {
            answers[id] = {101, "", "", {}};
            streams[id] = {};
            return id;
        };
        server.clients.send = [this](web::stream_id id, std::shared_ptr<const std::string> text) {
            streams[id].push_back(*text);
        };
        server.clients.unsent_bytes = [this](web::stream_id) {
            return unsent;
        };
        server.clients.finish = [this](web::stream_id id) {
            closed[id] = 0;
        };
        server.clients.close = [this](web::stream_id id, int code, const std::string&) {
            closed[id] = code;
        };
    }

    // A router whose link is ready, of so many sources and destinations, where destination n shows
    // source n.
    void add_router(const std::string& id, int sources = 8, int destinations = 8)
    {
        desk::router_settings settings;
        settings.id = id;
        settings.name = "ROUTER " + id;
        ASSERT_EQ(desk::set_router(server.desk, now, engineer, settings).why, desk::reason::none);
        desk::report_link(server.desk, now, id, desk::link_state::reading, "");
        desk::report_counts(server.desk, id, sources, destinations);
        std::vector<std::string> names;
        for (int i = 0; i < sources; ++i)
            names.push_back("SRC " + std::to_string(i + 1));
        desk::report_names(server.desk, id, desk::side::sources, names);
        names.clear();
        for (int i = 0; i < destinations; ++i)
            names.push_back("DST " + std::to_string(i + 1));
        desk::report_names(server.desk, id, desk::side::destinations, names);
        for (int i = 0; i < destinations; ++i)
            shows(id, i, i < sources ? i : 0);
        desk::report_link(server.desk, now, id, desk::link_state::ready, "");
        pass();
    }

    void shows(const std::string& router, int destination, int source)
    {
        const std::pair<int, int> route{destination, source};
        desk::report_routes(server.desk, now, router, {&route, 1});
    }

    // The backend sends the take, and the router does and reports it.
    void carries_out(const std::string& router, int destination, int source)
    {
        desk::trace_take(server.desk, now, router, destination, source);
        desk::trace_take_answer(server.desk, now, router, "");
        desk::trace_route(server.desk, now, router, destination, source);
        shows(router, destination, source);
        pass();
    }

    void pass()
    {
        web::pass(server, now);
    }

    void wait(std::chrono::milliseconds time)
    {
        now.steady += time;
        now.utc += time;
        pass();
    }

    // Sends it and does not wait for its answer, which comes into `answers`.
    web::request_id send(web::method method, const std::string& target,
                         const std::string& body = {})
    {
        web::request request;
        request.method = method;
        request.address = address;
        request.body = body;
        request.headers = {{"host", "localhost"}};
        if (!body.empty()) request.headers["content-type"] = "application/json";
        for (const auto& [name, value] : headers)
            request.headers[name] = value;
        std::string error;
        EXPECT_TRUE(web::read_target(target, request, error)) << error;
        web::take_request(server, now, ++last_request, request);
        return last_request;
    }

    // The answer must come at once.
    web::response ask(web::method method, const std::string& target, const std::string& body = {})
    {
        const web::request_id id = send(method, target, body);
        EXPECT_TRUE(answers.contains(id)) << "no answer to " << target;
        return answers[id];
    }

    static web::json json_of(const web::response& response)
    {
        return web::json::parse(response.body, nullptr, false);
    }
};

inline std::string header_of(const web::response& response, std::string_view name)
{
    for (const auto& [each, value] : response.headers)
        if (each == name) return value;
    return {};
}

} // namespace web_test
