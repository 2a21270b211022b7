// A request as its handler gets it, and what it gives back. Handlers parse, call one function of
// the desk or the accounts, and render.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/desk/actor.h"
#include "server/desk/moment.h"
#include "server/web/json.h"
#include "server/web/message.h"
#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

struct call {
    const web::request& request;
    std::vector<std::string> values; // of the path's segments in braces, in order
    desk::actor actor;               // none, with an empty person, where nobody need sign in
    desk::moment now;
    json body; // discarded when there was none
};

// Given at once, or, when `later` is set, when that gives it: it is asked after every pass, and at
// `until` for the last time, when it must give one. When `opened` is set the response is the head
// of a stream, or, with a subprotocol, there is a WebSocket.
struct answer {
    web::response response;
    std::function<std::optional<web::response>(server& server, const desk::moment& now)> later{};
    desk::monotonic until{};
    bool changes = false; // something, although it answers a GET

    // What was asked for is done only by `later`: whoever asked must still be allowed to then.
    bool acts_later = false;

    // When the client has gone before.
    std::function<void(server& server, const desk::moment& now)> abandoned{};

    std::function<stream_owner(server& server, const desk::moment& now, stream_id stream)> opened{};
    std::string subprotocol{};
    bool remembered = false; // for whoever asks again: `later` is asked on when the client has gone
    std::string_view route = "none"; // the name of the route that it is of, for the metrics

    answer(web::response given) : response(std::move(given))
    {
    }
    answer(const problem& problem) : response(problem_response(problem))
    {
    }
    answer() = default;
};

response json_response(const json& body, int status = 200);

// Of an objection of the desk, or of the accounts: its code and its words.
problem problem_of(const desk::objection& objection, const std::string& router = {});
problem problem_of(const accounts::objection& objection);

// How long the request's `wait` holds the answer, in its range. False, with the problem, when it is
// no number of milliseconds from 0 to 65000.
bool read_wait(const call& call, std::chrono::milliseconds usual, std::chrono::milliseconds& wait,
               problem& wrong);

// {"id": "ana", "name": "Ana K."}, or a token; who is not there any more is named by the id.
json person_json(const server& server, const std::string& person);

} // namespace web
