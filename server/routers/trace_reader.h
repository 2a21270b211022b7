// What the traffic between a backend and its router means: for the desk (desk/trace.h), and for
// people, the last frames in words.
//
// Nothing on the wire pairs an answer with its request but their order, and what both name. A
// router that confirms each request, as it is asked to, leaves no doubt but where an answer is
// lost. A refusal by a bare NAK is told of a take when all requests from the oldest up to the next
// that is answered were refused, or have been shown: one of a query is none of the take before it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <variant>
#include <vector>

#include "server/desk/desk.h"
#include "server/routers/diagnostics.h"

namespace routers {

constexpr std::size_t FRAMES_KEPT = 1000;         // the oldest is forgotten
constexpr std::size_t FRAME_BYTES_KEPT = 262'144; // likewise
constexpr std::size_t REQUESTS_UNANSWERED = 4096; // the oldest counts as never answered
static_assert(REQUESTS_UNANSWERED <= desk::TAKES_UNANSWERED, "the desk would forget takes first");

// Destinations and sources are positions, the router's own index less its base. Destinations may be
// beyond what is routed; a source that can be no position is UNKNOWN_SOURCE.
struct take_sent {
    int destination = 0;
    int source = 0;
};
struct take_answered {   // the oldest that had no answer
    std::string refusal; // "NAK 0005", "ER 05"; empty when it was not refused
};
struct take_unanswered {}; // the oldest that had no answer will have none
struct query_sent {
    int destination = 0;
};
struct query_unanswered { // the oldest for this destination
    int destination = 0;
    bool passed_over = false; // its answer may still come
};
struct route_told {
    int destination = 0;
    int source = 0;
};
using trace_step = std::variant<take_sent, take_answered, take_unanswered, query_sent,
                                query_unanswered, route_told>;

enum class meaning {
    take,
    query,
    request, // any other
    route,
    confirmation,
    refusal,
    answer,   // any other
    rejected, // the backend did not understand it
};

struct traced_frame {
    desk::moment at;
    direction way = direction::sent;
    routers::meaning meaning = meaning::request;
    int destination = 0; // of a take, a query, a route
    int source = 0;      // of a take, a route
    bool nak = false;    // of a refusal: by a NAK, else by an error answer
    int code = -1;       // of a refusal; below 0: it has none
    std::string raw;     // between start and end byte; empty for an ACK
};

struct request_sent {
    std::string mnemonic;
    std::string kind; // its first parameter
    int destination = 0;
    int source = 0;      // of a take
    bool shown = false;  // it is in the answer to a query after the take: that was not refused
    std::string refusal; // that names no request, and may be of this one; empty: none
};

struct trace_reader {
    std::uint64_t input_base = 0; // the router's index of position 0
    std::uint64_t output_base = 0;
    bool confirms = false;               // the router has confirmed a request on this connection
    std::deque<request_sent> unanswered; // oldest first
    std::deque<traced_frame> frames;     // oldest first
    std::size_t frame_bytes = 0;         // of their raw
    std::uint64_t sent = 0;              // how many there have been
    std::uint64_t received = 0;
};

// Appends what it means for the desk.
void read_trace(trace_reader& trace, const desk::moment& now, const diagnostic& told,
                std::vector<trace_step>& steps);

// The backend has ended: the next one begins anew. The frames stay. What had no answer will have
// none, which tells the desk nothing that the end of the link does not.
void end_trace(trace_reader& trace);

// Gives the steps on to the desk.
void tell_desk(desk::desk_state& desk, const desk::moment& now, const std::string& router,
               const std::vector<trace_step>& steps);

// "take MON A <- CAM 2", "query MON A", "MON A shows CAM 2", "refused: NAK 0005", and for the rest
// the frame as text, cut like every text. Names are those of now.
std::string text_of(const traced_frame& frame, const desk::desk_state& desk,
                    const std::string& router);

} // namespace routers
