// What a console holds: a desk, the backends of its routers, who sits there, and what is remembered
// beside the desk because only a console shows it. One record, passed explicitly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "server/desk/desk.h"
#include "server/routers/routers.h"

namespace console {

constexpr std::size_t HISTORY_KEPT = 5000;   // the oldest is forgotten,
constexpr std::size_t HISTORY_ROWS = 20'000; // also beyond so many rows of what was asked for

// Worded when it was told: names, and how a wish stood, as they were then.
struct happening {
    desk::wall at{};
    std::string text;
    nlohmann::json json;
};

struct link_memory {
    bool ready = false;
    desk::wall heard{};           // the desk's link_since, seen last
    desk::monotonic since{};      // the same by the steady clock
    std::uint32_t connection = 0; // the last that was ready
    desk::wall lost{};            // when that was lost, unless the link is ready
    std::set<std::string> told;   // what was said of the link since it was ready
    int inputs = 0;               // as they were told last
    int outputs = 0;
};

struct console_state {
    desk::desk_state desk;
    routers::running_routers running;
    desk::actor person; // may do everything
    std::string router; // the one that commands concern: always one of the desk's

    // By router: the last source but one that each destination was known to show.
    std::map<std::string, std::map<int, int>, std::less<>> before;
    std::map<std::string, std::map<int, int>, std::less<>> shown; // the last one
    std::map<std::string, link_memory, std::less<>> links = {};   // by router, kept by events
    std::deque<happening> history;                                // oldest first
    std::size_t history_rows = 0;
    bool history_forgets = false; // has forgotten something
    std::size_t columns = 0;      // of the terminal, which sets it; 0: lines may have any length
};

} // namespace console
