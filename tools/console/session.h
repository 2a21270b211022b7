// The console between its desk and its person: serves the backends, runs lines of commands, prints
// what there is to tell. Whatever is printed has passed safe_text.
#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <optional>
#include <poll.h>
#include <span>
#include <string>
#include <string_view>

#include "console/answer.h"
#include "console/console_state.h"
#include "console/house_file.h"
#include "tools/common/descriptors.h"
#include "tools/common/words.h"

namespace console {

struct console_session {
    console_state console;
    bool json = false;   // one object a line in place of text
    bool follow = false; // show every change
    bool closing = false;
    bool quit = false;
    bool unread = false;                             // what is printed goes nowhere any more
    console::verdict worst = console::verdict::done; // of all that was run, and of its wishes

    std::optional<house_file> kept; // where the house is kept; none: nowhere

    common::owned_descriptor signals; // a signalfd
    int signal = 0;                   // one that has come, until somebody handles it; 0: none

    // Set by whoever runs the session.
    std::function<void(const std::string&)> print; // whole lines, above what is being typed
    std::function<void(const std::string&)> show;  // likewise, of an answer, which may be long
    std::function<void()> watch;                   // returns when enough has been seen
};

desk::moment now(); // on the system's clocks

// From here on these signals do nothing by themselves: a wait ends by one and says which.
void catch_signals(console_session& session, std::initializer_list<int> signals);

// Takes up one that has come, unless another still waits to be handled.
void take_signal(console_session& session);

// Whether the session goes on: nobody has left and no signal waits to be handled.
bool goes_on(const console_session& session);

// Serves all backends, then prints what has happened.
void serve_session(console_session& session);

// Tells what happened to the person's locks since they last were told, which they are once.
void tell_missed(console_session& session);

// Waits for a backend, for a signal, for something due or for what the caller watches (as poll has
// it), at most for the time-out, none without one; then serves the session.
void wait_session(console_session& session, std::span<pollfd> watched,
                  std::optional<std::chrono::milliseconds> time_out = std::nullopt);

// Runs a command. With `wait` its wishes are waited for.
void run_words(console_session& session, const std::vector<common::word>& words, bool wait);

// Runs the commands of a line, unless it is a comment, while the session goes on. With `wait` each
// wish is waited for before the next command.
void run_line(console_session& session, std::string_view line, bool wait);

// Its verdict counts.
void print_answer(console_session& session, const answer& answer);

// Says that something is wrong, which counts.
void complain(console_session& session, const std::string& sentence, verdict why);

// Until the link of the router in use is ready and, with `all`, of each other one it is known
// whether it is. False, and said, when the time is over first or there is no address.
bool wait_until_ready(console_session& session, std::chrono::milliseconds limit, bool all);

// Until the router in use has told all its routes, or no more for a second.
void wait_for_routes(console_session& session);

// Gives open wishes a moment to end unless a signal waits, ends all backends, says of which wishes
// it is not known what became of them, and writes the house.
void close_session(console_session& session);

} // namespace console
