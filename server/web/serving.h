// The server's work between its turns: requests in, answers out, backends served, what is new given
// to the journal and to those who follow.
#pragma once

#include <optional>

#include "server/web/call.h"
#include "server/web/server.h"

namespace web {

// How long the answer to a change is held at most until the journal has kept it. While the journal
// cannot keep anything, which health and a metric tell, it is not held.
constexpr std::chrono::seconds LONGEST_KEEPING{2};

// An answer that is not given yet.
struct waiting_answer {
    web::answer answer;
    desk::monotonic begun{};   // when the request had come
    bool changes = false;      // it tells of a change, which is kept before
    std::uint64_t kept_to = 0; // the journal's record that it waits for; 0: none
    desk::monotonic kept_by{};
    bool gone = false; // its client; it is awaited to be remembered
};

// Answers now or in a later pass.
void take_request(server& server, const desk::moment& now, request_id id, const request& request);

// Its client has gone.
void drop_request(server& server, const desk::moment& now, request_id id);

// A stream's client has said something, has been sent everything, has gone.
void hear_stream(server& server, const desk::moment& now, stream_id id, const std::string& text);
void drain_stream(server& server, const desk::moment& now, stream_id id);
void drop_stream(server& server, const desk::moment& now, stream_id id);

// The server ends: what waits is answered with what is known, as at the end of its wait.
void end_waits(server& server, const desk::moment& now);

// And no stream goes on.
void end_streams(server& server, const desk::moment& now);

// After every turn of the loop, and when it is due. Serves the backends, gives the journal what
// there is to keep, tells the followers, answers what can be answered.
void pass(server& server, const desk::moment& now);

// When the next pass is due at the latest.
std::optional<desk::monotonic> next_due(const server& server, const desk::moment& now);

} // namespace web
