// The console between its backend and its person: serves the backend, keeps the view, runs lines of
// commands and prints what there is to tell.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <poll.h>
#include <span>
#include <string>
#include <string_view>

#include "console/commands.h"
#include "parent_link/parent_link.h"

namespace console {

// The program's exit status.
constexpr int EXIT_GOOD = 0;
constexpr int EXIT_NOT_STARTED = 1;   // wrong arguments, or the backend did not come up
constexpr int EXIT_NOT_CONFIRMED = 2; // a route was not confirmed, or a command was refused
constexpr int EXIT_BACKEND_ENDED = 3; // by itself, after it had come up

struct console_session {
    parent_link::backend_link link;
    console_state state;
    std::deque<std::string> last_diagnostics;      // a few, for the case that the backend ends
    std::function<void(const std::string&)> print; // of whole lines, with their ends
    bool came_up = false;                          // the backend has sent a record
    bool unconfirmed = false;                      // a route has not been confirmed in time
    bool refused = false;                          // a command has not been understood
    bool quit = false;
};

// Returns false, with the reason printed, when the program cannot be run.
bool start_session(console_session& session, const std::string& backend,
                   const std::string& config_path);

// Serves the backend and prints what is to be shown.
void serve_session(console_session& session);

// For waits that only an event ends.
constexpr std::chrono::hours NO_TIME_LIMIT{24};

// Waits for the backend, for a route's time to be over or for what the caller watches (as poll has
// it), at most for the time-out; then serves the session.
void wait_session(console_session& session, std::span<pollfd> watched,
                  std::chrono::milliseconds time_out);

// Runs the commands of a line, waiting where one says so, up to "quit" or the backend's end.
void run_line(console_session& session, std::string_view line);

// Until every route is confirmed or unconfirmed, or the backend has ended.
void wait_for_routes(console_session& session);

// Prints how the backend ended, if it did so by itself; else gives it a moment to end. Returns the
// program's exit status as far as the backend goes.
int close_session(console_session& session);

} // namespace console
