// Which steps of a scenario come up when. No input or output. Each step draws from a generator of
// its own, which starts from the seed and the step's position, so that what one step draws does not
// depend on the others.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "router_simulator/scenario/step.h"

namespace router_simulator {

// Puts every step at its beginning.
void start_scenario(scenario& plan);

// The steps that this brings, in the file's order; each counts as done. `elapsed` is the time since
// the start, `answered` whether the request has been. Of the faults of replies only `reply_steps`
// tells: the first that applies, and every one that joins others.
std::vector<std::size_t> timed_steps(scenario& plan, us_time_t elapsed);
std::vector<std::size_t> connection_steps(scenario& plan, int client);
std::vector<std::size_t> request_steps(scenario& plan, std::string_view request, bool answered);
std::vector<std::size_t> reply_steps(scenario& plan, std::string_view request);

// The same for the command, whatever else is said of a step. A reply's fault waits for its next
// request. Returns nothing when no step has the name.
std::optional<std::vector<std::size_t>> named_steps(scenario& plan, const std::string& name);

// Steps that are off are passed over, as if they did not come up. False when none has the name.
bool switch_steps(scenario& plan, const std::string& name, bool off);

// When the next timed step is due, since the start.
us_time_t next_timed_step(const scenario& plan);

} // namespace router_simulator
