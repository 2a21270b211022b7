// The thread that owns the database while the server runs. It is given what is to be kept and what
// is asked; what became of that is taken when the descriptor is readable. Nobody waits for the disk
// here but at the end.
//
// What is given is kept in order, as much as there is in one transaction. When the disk fails it
// waits in memory and is tried again every second; beyond the bound the oldest is lost, and
// counted. A disk that is at the same records for too long, or lets half of the bound wait, counts
// as failing meanwhile. When `lost` has grown the tables lack something: their owner gives the
// house and the accounts whole. What the database refuses for another reason is passed over, and
// counted too.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "server/journal/history.h"
#include "server/journal/record.h"
#include "server/journal/retention.h"
#include "tools/common/descriptors.h"

namespace journal {

constexpr std::chrono::seconds LONGEST_AT_WORK{5};

struct keeper_bounds {
    std::size_t records = 200'000; // that wait to be kept; at least one waits whatever its size
    std::size_t bytes = 128U << 20U;
    std::size_t questions = 1000; // one more is not answered
};

// To the history, or which batch this is.
using question = std::variant<history_question, desk::ulid>;

// The number is that of `ask`.
struct answer {
    std::uint64_t number = 0;
    history_page page;
    std::string failure;                // why there is no answer; empty: there is one
    std::optional<desk::batch> batch{}; // none: there is none any more
};

struct keeper_health {
    std::string failure; // why nothing can be kept at present; empty: it can
    desk::wall since{};  // since when
    std::size_t waiting = 0;
    std::uint64_t lost = 0;     // since the start
    std::uint64_t refused = 0;  // likewise, by the database for what they are
    std::string refusal;        // why the last of these was
    std::uint64_t failures = 0; // tries to keep something, likewise
    std::uint64_t bytes = 0;    // of the database, as it was kept last
};

struct results {
    std::uint64_t kept = 0; // the record with this number and all before are on the disk, or lost
    std::vector<answer> answers;
    keeper_health health;
};

struct waiting_record {
    std::uint64_t number = 0;
    std::size_t bytes = 0;
    record what;
};

struct keeper {
    database opened; // by the caller, before the start; the thread's alone while it runs
    keeper_bounds bounds;
    journal::retention retention;
    common::owned_descriptor ready; // an eventfd
    std::thread thread;

    std::mutex mutex; // of what follows; held for moves alone
    std::condition_variable work;
    std::deque<waiting_record> records;
    std::size_t bytes = 0;   // in them
    std::size_t at_work = 0; // records that are being kept, and are not in the queue
    std::chrono::steady_clock::time_point at_work_since;
    std::deque<std::pair<std::uint64_t, journal::question>> questions;
    std::uint64_t records_given = 0;
    std::uint64_t questions_given = 0;
    results news; // since they were taken last
    std::optional<std::chrono::steady_clock::time_point> end_by;
};

// False, with the reason, when the system has no descriptor or thread left.
bool start_keeper(keeper& keeper, std::string& error);

// Returns the number of the last one; they count from 1.
std::uint64_t keep(keeper& keeper, std::vector<desk::entry> entries);
std::uint64_t keep(keeper& keeper, note note);
std::uint64_t keep(keeper& keeper, whole_house whole);

// Returns the number that its answer will have; 0 when too many are waiting.
std::uint64_t ask(keeper& keeper, question asked);

// Does not wait.
results take_results(keeper& keeper);

// Answers no more questions, but waits until all is kept; while the disk fails at most so long, and
// for what it is at. True when nothing was left. Closes the database.
bool finish_keeper(keeper& keeper, std::chrono::milliseconds limit);

} // namespace journal
