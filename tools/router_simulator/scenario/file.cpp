#include "router_simulator/scenario/file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "router_simulator/router/names.h"
#include "router_simulator/scenario/fault_table.h"
#include "router_simulator/scenario/located_json.h"
#include "router_simulator/scenario/plan.h"
#include "tools/common/numbers.h"

using nlohmann::json;

namespace router_simulator {

namespace {
constexpr std::uint64_t MAX_COUNT = 1'000'000;
constexpr std::uint64_t MAX_RATE = 100'000; // an interval is whole microseconds
constexpr double MAX_SECONDS = 31'536'000;  // a year
constexpr std::uint64_t MAX_MS = 3'600'000;

bool is_count(const json& value, std::uint64_t least, std::uint64_t most)
{
    return value.is_number_unsigned() && value.get<std::uint64_t>() >= least &&
           value.get<std::uint64_t>() <= most;
}

std::string range_text(std::uint64_t least, std::uint64_t most)
{
    return std::to_string(least) + " to " + std::to_string(most);
}

std::uint64_t read_count(located_object& from, const std::string& key, std::uint64_t least,
                         std::uint64_t most)
{
    const json& value = need(from, key);
    if (!is_count(value, least, most))
        refuse_key(from, key, "a whole number from " + range_text(least, most));
    return value.get<std::uint64_t>();
}

std::string read_text(located_object& from, const std::string& key)
{
    const json& value = need(from, key);
    if (!value.is_string()) refuse_key(from, key, "a text");
    return value.get<std::string>();
}

bool read_flag(located_object& from, const std::string& key)
{
    const json* const value = find(from, key);
    if (value == nullptr) return false;
    if (!value->is_boolean()) refuse_key(from, key, "true or false");
    return value->get<bool>();
}

bool is_seconds(const json& value)
{
    return value.is_number() && value.get<double>() >= 0 && value.get<double>() <= MAX_SECONDS;
}

us_time_t microseconds(const json& seconds)
{
    return static_cast<us_time_t>(std::llround(seconds.get<double>() * 1e6));
}

us_time_t read_seconds(located_object& from, const std::string& key)
{
    const json& value = need(from, key);
    if (!is_seconds(value)) refuse_key(from, key, "a number of seconds, 0 to a year");
    return microseconds(value);
}

number_range read_every(located_object& from)
{
    const json& value = need(from, "every");
    if (!value.is_array() || value.size() != 2 || !is_seconds(value[0]) || !is_seconds(value[1]) ||
        microseconds(value[0]) < 1000 || value[0] > value[1])
        refuse_key(from, "every", "[LEAST, MOST] in seconds, 0.001 to a year");
    return {microseconds(value[0]), microseconds(value[1])};
}

number_range read_ms_range(located_object& from)
{
    const json& value = need(from, "ms");
    if (!value.is_array() || value.size() != 2 || !is_count(value[0], 0, MAX_MS) ||
        !is_count(value[1], 0, MAX_MS) || value[0] > value[1])
        refuse_key(from, "ms", "[LEAST, MOST] in whole milliseconds, " + range_text(0, MAX_MS));
    return {value[0].get<std::uint64_t>() * 1000, value[1].get<std::uint64_t>() * 1000};
}

std::vector<std::size_t> read_cuts(located_object& from)
{
    const json& value = need(from, "at");
    const bool is_list = value.is_array() && !value.empty() &&
                         std::all_of(value.begin(), value.end(),
                                     [](const json& each) { return is_count(each, 1, MAX_COUNT); });
    if (!is_list)
        refuse_key(from, "at", "a list of whole numbers from " + range_text(1, MAX_COUNT));
    const auto cuts = value.get<std::set<std::size_t>>();
    return {cuts.begin(), cuts.end()};
}

std::string read_code(located_object& from)
{
    std::string code = read_text(from, "code");
    std::uint8_t value = 0;
    if (code.size() != 2 || !common::read_hexadecimal(code, value))
        refuse_key(from, "code", "two hexadecimal digits");
    return code;
}

std::optional<std::uint32_t> read_index(located_object& from, const std::string& key,
                                        const port_list& ports)
{
    const json* const value = find(from, key);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number_unsigned() || !position_of(ports, value->get<std::uint64_t>()))
        refuse_key(from, key, "the index of a " + key + " of the router");
    return value->get<std::uint32_t>();
}

std::optional<std::string> read_new_name(located_object& from, const scenario_step& step)
{
    if (step.destination && step.source)
        refuse(line_of(from, "source"),
               "\"source\" and \"destination\" cannot be renamed in one step");
    if (find(from, "to") == nullptr) return std::nullopt;
    const std::string name = read_text(from, "to");
    std::string error;
    if (!check_name(name, error)) refuse(line_of(from, "to"), "\"to\" " + error);
    return name;
}

void read_key(located_object& from, fault_key key, const simulated_router& router,
              scenario_step& step)
{
    switch (key) {
    case fault_key::none:
        return;
    case fault_key::ms_range:
        step.delay_us = read_ms_range(from);
        return;
    case fault_key::ms:
        step.pause_us = read_count(from, "ms", 0, MAX_MS) * 1000;
        return;
    case fault_key::cut_at:
        step.cuts = read_cuts(from);
        return;
    case fault_key::code:
        step.code = read_code(from);
        return;
    case fault_key::bytes:
        step.bytes = read_count(from, "bytes", 0, MAX_COUNT);
        return;
    case fault_key::some_bytes:
        step.bytes = read_count(from, "bytes", 1, MAX_COUNT);
        return;
    case fault_key::messages:
        step.messages = read_count(from, "messages", 1, MAX_COUNT);
        return;
    case fault_key::rate:
        step.interval_us = 1'000'000 / read_count(from, "rate", 1, MAX_RATE);
        return;
    case fault_key::seconds:
        step.for_us = read_seconds(from, "for");
        return;
    case fault_key::inside:
        step.inside = read_flag(from, "inside");
        return;
    case fault_key::destination:
        step.destination = read_index(from, "destination", router.destinations);
        return;
    case fault_key::source:
        step.source = read_index(from, "source", router.sources);
        return;
    case fault_key::to:
        step.to = read_new_name(from, step);
        return;
    }
}

// Exactly one trigger, or a name. "at" may be a key of the fault.
void read_trigger(located_object& from, scenario_step& step)
{
    int triggers = 0;
    const auto chosen = [&](const char* key, trigger_kind kind) {
        if (!from.object.contains(key)) return false;
        step.trigger = kind;
        if (++triggers > 1) refuse(line_of(from, key), "a second trigger, only one can be");
        return true;
    };
    if (chosen("request", trigger_kind::request)) step.request = read_text(from, "request");
    if (!has_key(*step.fault, fault_key::cut_at) && chosen("at", trigger_kind::at))
        step.at_us = read_seconds(from, "at");
    if (chosen("every", trigger_kind::every)) step.every_us = read_every(from);
    if (chosen("connection", trigger_kind::connection))
        step.connection = static_cast<int>(read_count(from, "connection", 0, MAX_COUNT));
    if (triggers == 0 && step.name.empty())
        refuse(from.line, "neither \"at\", \"every\", \"connection\" nor \"request\", and no "
                          "\"name\"");
}

scenario_step read_step(located_object from, const simulated_router& router)
{
    scenario_step step;
    const std::string fault = read_text(from, "fault");
    step.fault = fault_named(fault);
    if (step.fault == nullptr) refuse(line_of(from, "fault"), "unknown fault \"" + fault + "\"");
    if (find(from, "name") != nullptr) {
        step.name = read_text(from, "name");
        if (step.name.empty()) refuse_key(from, "name", "a text with something in it");
    }
    read_trigger(from, step);
    const bool on_request = step.trigger == trigger_kind::request;
    if (concerns_reply(*step.fault) && !on_request)
        refuse(from.line, "\"request\" is missing, \"" + fault + "\" is of a reply");
    if (step.fault->of_routes && !step.request.starts_with("QI") && !step.request.starts_with("TI"))
        refuse_key(from, "request", "QI or TI, which alone show a source");
    if (!concerns_reply(*step.fault) && on_request) step.answered = read_flag(from, "answered");
    if (find(from, "after") != nullptr) step.after = read_count(from, "after", 0, MAX_COUNT);
    if (find(from, "times") != nullptr) step.times = read_count(from, "times", 0, MAX_COUNT);
    if (const json* const chance = find(from, "chance"); chance != nullptr) {
        if (!chance->is_number() || chance->get<double>() <= 0 || chance->get<double>() > 1)
            refuse_key(from, "chance", "a number above 0 and at most 1");
        step.chance = chance->get<double>();
    }
    for (const fault_key key : step.fault->keys)
        read_key(from, key, router, step);
    refuse_unused_keys(from);
    return step;
}

void read_file_object(scenario& plan, const json& object, const text_positions& seen,
                      const simulated_router& router)
{
    if (!object.is_object()) refuse(1, "not an object");
    located_object from{object, 1, seen.keys};
    if (find(from, "seed") != nullptr) plan.seed = read_count(from, "seed", 0, UINT64_MAX);
    const json& steps = need(from, "steps");
    refuse_unused_keys(from);
    const bool are_objects = steps.is_array() && seen.members.size() == steps.size();
    if (!are_objects) refuse_key(from, "steps", "a list of objects");
    for (std::size_t i = 0; i < steps.size(); ++i)
        plan.steps.push_back(read_step({steps[i], seen.members[i], seen.member_keys[i]}, router));
}
} // namespace

std::string read_scenario(scenario& plan, const std::string& text, const simulated_router& router,
                          const std::string& file_name)
{
    try {
        text_positions seen;
        const json object = parse_located(text, seen);
        read_file_object(plan, object, seen, router);
    } catch (const file_error& error) {
        return file_name + ":" + std::to_string(error.line) + ": " + error.reason;
    }
    start_scenario(plan);
    return "";
}

std::string read_scenario_file(scenario& plan, const std::string& path,
                               const simulated_router& router)
{
    std::ifstream file(path);
    if (!file) return path + ": cannot be opened: " + std::strerror(errno);
    std::ostringstream text;
    errno = 0; // the streams tell an empty file and one that cannot be read by nothing else
    text << file.rdbuf();
    if (errno != 0) return path + ": cannot be read: " + std::strerror(errno);
    return read_scenario(plan, text.str(), router, path);
}

} // namespace router_simulator
