// What happens at the simulated router, told in one line as it happens: for people as
// "@ 12.345678 take destination=3 source=5 by=command", for programs as
// {"time":12.345678,"event":"take","destination":3,"source":5,"by":"command"}.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "common/clock.h"

namespace router_simulator {

// What an event does not concern keeps the default and is not told.
struct router_event {
    const char* kind = "";       // "take"; "fault" and "end of fault" are of the next one
    const char* fault = nullptr; // its name, which people see in the kind's place
    bool lasting = false;        // the fault goes on; for programs alone
    bool only_delays = false;    // the fault keeps all of a reply; likewise
    std::optional<std::uint64_t> seed{};
    std::optional<int> client{};
    std::optional<std::string> request{};
    std::optional<std::uint32_t> destination{}; // router indexes
    std::optional<std::uint32_t> source{};
    std::optional<std::string> name{};   // the new one of the source or destination
    const char* by = nullptr;            // who did it: "client", "scenario" or "command"
    std::optional<std::uint64_t> ms{};   // of a delay
    std::optional<std::string> reason{}; // why a frame is bad
};

// Both are given the time since the start. Without a newline; a byte that is no UTF-8 shows as \xNN
// to people and as U+FFFD to programs.
std::string readable_event(const router_event& event, us_time_t elapsed);
std::string json_event(const router_event& event, us_time_t elapsed);

// "12.345678": seconds, the whole ones padded with blanks to this width.
std::string seconds_text(us_time_t elapsed, int width);

} // namespace router_simulator
