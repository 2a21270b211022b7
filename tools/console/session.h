// The console between its desk and its person: serves the backends, runs lines of commands, prints
// what there is to tell.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <poll.h>
#include <span>
#include <string>
#include <string_view>

#include "console/answer.h"
#include "console/console_state.h"

namespace console {

struct console_session {
    console_state console;
    bool json = false;   // one object a line in place of text
    bool follow = false; // show every change
    bool quit = false;
    console::verdict worst = console::verdict::done; // of all that was run, and of its wishes
    std::function<void(const std::string&)> print;   // of whole lines; nothing in them but text
};

desk::moment now(); // on the system's clocks

// Serves all backends, then prints what has happened.
void serve_session(console_session& session);

// Waits for a backend, for something due or for what the caller watches (as poll has it), at most
// for the time-out, none without one; then serves the session.
void wait_session(console_session& session, std::span<pollfd> watched,
                  std::optional<std::chrono::milliseconds> time_out = std::nullopt);

// Runs the commands of a line up to "quit". With `wait` each wish is waited for before the next
// command.
void run_line(console_session& session, std::string_view line, bool wait);

// Until the link is ready. False when the time is over first.
bool wait_until_ready(console_session& session, const std::string& router,
                      std::chrono::milliseconds limit);

// Ends all backends.
void close_session(console_session& session);

} // namespace console
