// The backend of one router: started, kept running, told what the desk orders; what it says goes
// into the desk. Whoever has a loop polls the descriptors of its process, and calls serve_backend
// when one is ready or something is due, then carries out what the desk has ordered by that.
//
// Nothing here waits for a backend. Its reports wait in its pipes when it says more than is read at
// once, and then so does it. One that does not read its records is sent no more than UNSENT_LIMIT.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "parent_link/parent_link.h"
#include "server/desk/desk.h"
#include "server/routers/link_reader.h"
#include "server/routers/trace_reader.h"
#include "server/routers/untold_routes.h"

namespace routers {

constexpr std::size_t UNSENT_LIMIT = 1'048'576; // bytes; a batch beyond it is dropped and counted
constexpr std::size_t LOG_LINES = 500;          // the oldest is forgotten
constexpr std::size_t ENDS_FOR_FAILING = 5;     // of a backend, within:
constexpr std::chrono::minutes ENDS_COUNT{1};
constexpr std::chrono::milliseconds FIRST_PAUSE{200}; // before the second start, then doubled
constexpr std::chrono::milliseconds LONGEST_PAUSE{5000};
constexpr std::chrono::milliseconds TIME_TO_END{200}; // then it is killed

// So long after its last burst a backend drops what it has staged, without a word: then the part
// that it has read of a batch. A batch that it may be reading at that moment is held until later.
constexpr std::chrono::seconds QUEUE_LIFE{5};
constexpr std::chrono::milliseconds AROUND_QUEUE_END{50};
// Of a byte: 0.6 to 4 measured, once 8, with five programs for each processor.
constexpr std::chrono::microseconds READING_TIME{50};
constexpr std::chrono::seconds LONGEST_READING{1};

struct log_line {
    desk::moment at;
    routers::level level = level::none;
    std::string text; // cut like every text
};

struct backend {
    std::string router;        // its id in the desk
    std::string program;       // the backend's
    std::string configuration; // the path of its file
    desk::router_settings settings;

    parent_link::backend_link process;
    bool wanted = false; // to run
    bool ending = false; // it has been told to end, and is sent nothing any more
    std::optional<desk::monotonic> kill_at;
    std::optional<desk::monotonic> start_at;
    std::deque<desk::monotonic> ends; // of its own accord, in the last ENDS_COUNT

    std::string held;                         // batches that are not to be written yet
    std::optional<desk::monotonic> last_take; // when the backend was seen to send one

    link_reader link;
    trace_reader trace;
    untold_routes untold;
    std::deque<log_line> log;           // what it said but for frames and debugging, oldest first
    info_report info;                   // as it told it last
    std::optional<std::size_t> sources; // names that it has told
    std::optional<std::size_t> destinations;

    // Since the beginning.
    std::uint64_t starts = 0;
    std::uint64_t watched = 0;   // the last of them whose descriptors are watched (routers.h)
    std::uint64_t dropped = 0;   // batches
    std::uint64_t forgotten = 0; // lines of the log
    std::uint64_t hurried = 0;   // empty lines
    std::uint64_t asked = 0; // for all routes, where the router had told one that no record brought
};

// Starts it with these settings, or anew when they are others. Without an address none runs. The
// files' folder must be there.
void run_backend(backend& backend, desk::desk_state& desk, const desk::moment& now,
                 const desk::router_settings& settings);

// Ends it for good. It has ended when is_running is false, TIME_TO_END later at the latest if it is
// served.
void stop_backend(backend& backend, const desk::moment& now);
bool is_running(const backend& backend);

std::optional<desk::monotonic> next_due(const backend& backend);

// Reads what there is, tells the desk, starts and ends what is due.
void serve_backend(backend& backend, desk::desk_state& desk, const desk::moment& now);

// An order of the desk for this router. One that is no longer true is passed over: a batch when the
// link is not ready, the end of a backend that has ended.
void carry_out(backend& backend, const desk::desk_state& desk, const desk::moment& now,
               const desk::order& order);

} // namespace routers
