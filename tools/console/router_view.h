// What a person at the console may know of the router: built from nothing but the backend's records
// and diagnostics lines and from what the person has asked for.
//
// A route that was asked for is pending until a report shows the input asked for on its output;
// when none has after CONFIRMATION_LIMIT_US it is unconfirmed, until a report shows that input
// after all, shows another change of that output, or the route is asked for anew.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/clock.h"
#include "parent/record.h"

namespace console {

constexpr us_time_t CONFIRMATION_LIMIT_US = 3'000'000;

enum class link_state { down, connecting, discovering, ready };
enum class request_state { none, pending, unconfirmed };

constexpr int INPUT_UNKNOWN = -2;
constexpr int INPUT_NONE = -1;

struct route_view {
    int shown = INPUT_UNKNOWN; // the input that the last report named
    int asked = INPUT_UNKNOWN; // meaningful unless request is none
    request_state request = request_state::none;
    us_time_t asked_at = 0;
};

struct router_view {
    std::map<std::string, std::string> identity; // the fields of the last info record
    int inputs = 0; // how many can be routed; the tables of names may be longer or shorter
    int outputs = 0;
    std::vector<std::string> input_names; // control characters replaced by "?"
    std::vector<std::string> output_names;
    std::vector<route_view> routes;          // one per output
    std::vector<std::pair<int, int>> staged; // output and input, oldest first

    link_state link = link_state::down;
    std::string link_problem;   // why it is down, or what is amiss; may be empty
    std::string link_announced; // the last link state that was shown

    bool inputs_named = false; // a report of that kind has come
    bool outputs_named = false;
    bool routes_reported = false;
};

// What the person is shown of a change: lines, without line ends.
using notices = std::vector<std::string>;

// Applies what the record reports.
notices apply_record(router_view& view, const ParentRecord& record);

// Returns whether the line was about the link; what is to be shown of it has then been appended.
bool apply_diagnostics(router_view& view, const std::string& line, notices& to_show);

// Notes that the route was staged; with the next flush it is asked for.
void note_staged(router_view& view, int output, int input);
void note_flushed(router_view& view, us_time_t now);
void note_discarded(router_view& view);

// Makes pending routes unconfirmed whose time is over.
notices expire_requests(router_view& view, us_time_t now);

// How long until expire_requests has something to do; NO_EXPIRY when no route is pending.
constexpr us_time_t NO_EXPIRY = ~us_time_t{0};
us_time_t time_to_expiry(const router_view& view, us_time_t now);

bool any_pending(const router_view& view);

// "not connected", "not connected (Connection refused)", "ready" ...
std::string link_text(const router_view& view);

// Position and name, such as "3 CAM 4"; the position alone when there is no name. For an input also
// "no input" and "?", when it is none or unknown.
std::string input_label(const router_view& view, int input);
std::string output_label(const router_view& view, int output);

// The backend has reported all that a command can refer to: names and routes.
bool fully_reported(const router_view& view);

} // namespace console
