#include "router_model/state.h"

#include "common/log.h"
#include "common/loop_flags.h"
#include "frame/settings.h"

namespace {
constexpr std::uint64_t MAX_EFFECTIVE_COUNT = 256;
} // namespace

std::uint64_t discovered_inputs = 0;
std::uint64_t discovered_outputs = 0;
std::uint64_t input_index_base = 0;
std::uint64_t output_index_base = 0;
std::vector<InputInfo> router_inputs_info;
std::vector<OutputInfo> router_outputs_info;
std::vector<std::string> router_levels;
std::uint32_t level_mask = 0;
std::string device_model;
std::string software_title;
std::string software_revision;
std::string firmware_version;
std::uint64_t number_of_inputs = 0;
std::uint64_t number_of_outputs = 0;
std::deque<RouteChange> accepted_route_changes;

namespace {
// A negative setting counts as a very large number.
std::uint64_t effective_count(std::int64_t configured, std::uint64_t discovered)
{
    const std::uint64_t count =
        configured != 0 ? static_cast<std::uint64_t>(configured) : discovered;
    return count > MAX_EFFECTIVE_COUNT ? MAX_EFFECTIVE_COUNT : count;
}
} // namespace

void recompute_io_counts()
{
    const std::uint64_t previous_inputs = number_of_inputs;
    const std::uint64_t previous_outputs = number_of_outputs;
    number_of_inputs = effective_count(configured_inputs, discovered_inputs);
    number_of_outputs = effective_count(configured_outputs, discovered_outputs);
    if (number_of_inputs != previous_inputs) {
        log_debug("Changing number of inputs to %u", static_cast<unsigned>(number_of_inputs));
        info_report_pending = true;
    }
    if (number_of_outputs != previous_outputs) {
        log_debug("Changing number of outputs to %u", static_cast<unsigned>(number_of_outputs));
        info_report_pending = true;
    }
}

void accept_route_change(std::int32_t output, std::int32_t input)
{
    log_debug("Accepting route change output=%d input=%d", output, input);
    if (output >= 0 && output < static_cast<std::int32_t>(number_of_outputs))
        accepted_route_changes.push_back({.input = input, .output = output});
}
