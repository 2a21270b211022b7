#include "router_simulator/scenario/file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <concepts>
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

template <std::integral number>
bool read_count(located_object& from, const std::string& key, std::uint64_t least,
                std::uint64_t most, number& count, std::string& error)
{
    const json* const value = need(from, key, error);
    if (value == nullptr) return false;
    if (!is_count(*value, least, most))
        return refuse_key(from, key, "a whole number from " + range_text(least, most), error);
    count = value->get<number>();
    return true;
}

bool read_text(located_object& from, const std::string& key, std::string& text, std::string& error)
{
    const json* const value = need(from, key, error);
    if (value == nullptr) return false;
    if (!value->is_string()) return refuse_key(from, key, "a text", error);
    text = value->get<std::string>();
    return true;
}

bool read_flag(located_object& from, const std::string& key, bool& flag, std::string& error)
{
    const json* const value = find(from, key);
    if (value == nullptr) return true;
    if (!value->is_boolean()) return refuse_key(from, key, "true or false", error);
    flag = value->get<bool>();
    return true;
}

bool is_seconds(const json& value)
{
    return value.is_number() && value.get<double>() >= 0 && value.get<double>() <= MAX_SECONDS;
}

us_time_t microseconds(const json& seconds)
{
    return static_cast<us_time_t>(std::llround(seconds.get<double>() * 1e6));
}

bool read_seconds(located_object& from, const std::string& key, us_time_t& time_us,
                  std::string& error)
{
    const json* const value = need(from, key, error);
    if (value == nullptr) return false;
    if (!is_seconds(*value))
        return refuse_key(from, key, "a number of seconds, 0 to a year", error);
    time_us = microseconds(*value);
    return true;
}

bool read_every(located_object& from, number_range& every_us, std::string& error)
{
    const json* const found = need(from, "every", error);
    if (found == nullptr) return false;
    const json& value = *found;
    if (!value.is_array() || value.size() != 2 || !is_seconds(value[0]) || !is_seconds(value[1]) ||
        microseconds(value[0]) < 1000 || value[0] > value[1])
        return refuse_key(from, "every", "[LEAST, MOST] in seconds, 0.001 to a year", error);
    every_us = {microseconds(value[0]), microseconds(value[1])};
    return true;
}

bool read_ms_range(located_object& from, number_range& delay_us, std::string& error)
{
    const json* const found = need(from, "ms", error);
    if (found == nullptr) return false;
    const json& value = *found;
    if (!value.is_array() || value.size() != 2 || !is_count(value[0], 0, MAX_MS) ||
        !is_count(value[1], 0, MAX_MS) || value[0] > value[1])
        return refuse_key(from, "ms",
                          "[LEAST, MOST] in whole milliseconds, " + range_text(0, MAX_MS), error);
    delay_us = {value[0].get<std::uint64_t>() * 1000, value[1].get<std::uint64_t>() * 1000};
    return true;
}

bool read_cuts(located_object& from, std::vector<std::size_t>& cuts, std::string& error)
{
    const json* const value = need(from, "at", error);
    if (value == nullptr) return false;
    const bool is_list = value->is_array() && !value->empty() &&
                         std::all_of(value->begin(), value->end(),
                                     [](const json& each) { return is_count(each, 1, MAX_COUNT); });
    if (!is_list)
        return refuse_key(from, "at", "a list of whole numbers from " + range_text(1, MAX_COUNT),
                          error);
    const auto in_order = value->get<std::set<std::size_t>>();
    cuts.assign(in_order.begin(), in_order.end());
    return true;
}

bool read_code(located_object& from, std::string& code, std::string& error)
{
    if (!read_text(from, "code", code, error)) return false;
    std::uint8_t value = 0;
    if (code.size() == 2 && common::read_hexadecimal(code, value)) return true;
    return refuse_key(from, "code", "two hexadecimal digits", error);
}

bool read_index(located_object& from, const std::string& key, const port_list& ports,
                std::optional<std::uint32_t>& index, std::string& error)
{
    const json* const value = find(from, key);
    if (value == nullptr) return true;
    if (!value->is_number_unsigned() || !position_of(ports, value->get<std::uint64_t>()))
        return refuse_key(from, key, "the index of a " + key + " of the router", error);
    index = value->get<std::uint32_t>();
    return true;
}

bool read_new_name(located_object& from, scenario_step& step, std::string& error)
{
    if (step.destination && step.source)
        return refuse(line_of(from, "source"),
                      "\"source\" and \"destination\" cannot be renamed in one step", error);
    if (find(from, "to") == nullptr) return true;
    std::string reason;
    if (!read_text(from, "to", step.to.emplace(), error)) return false;
    if (check_name(*step.to, reason)) return true;
    return refuse(line_of(from, "to"), "\"to\" " + reason, error);
}

bool read_key(located_object& from, fault_key key, const simulated_router& router,
              scenario_step& step, std::string& error)
{
    std::uint64_t count = 0;
    switch (key) {
    case fault_key::none:
        return true;
    case fault_key::ms_range:
        return read_ms_range(from, step.delay_us, error);
    case fault_key::ms:
        if (!read_count(from, "ms", 0, MAX_MS, count, error)) return false;
        step.pause_us = count * 1000;
        return true;
    case fault_key::cut_at:
        return read_cuts(from, step.cuts, error);
    case fault_key::code:
        return read_code(from, step.code, error);
    case fault_key::bytes:
        return read_count(from, "bytes", 0, MAX_COUNT, step.bytes, error);
    case fault_key::some_bytes:
        return read_count(from, "bytes", 1, MAX_COUNT, step.bytes, error);
    case fault_key::messages:
        return read_count(from, "messages", 1, MAX_COUNT, step.messages, error);
    case fault_key::rate:
        if (!read_count(from, "rate", 1, MAX_RATE, count, error)) return false;
        step.interval_us = 1'000'000 / count;
        return true;
    case fault_key::seconds:
        return read_seconds(from, "for", step.for_us, error);
    case fault_key::inside:
        return read_flag(from, "inside", step.inside, error);
    case fault_key::destination:
        return read_index(from, "destination", router.destinations, step.destination, error);
    case fault_key::source:
        return read_index(from, "source", router.sources, step.source, error);
    case fault_key::to:
        return read_new_name(from, step, error);
    }
    return false;
}

// Exactly one trigger, or a name. "at" may be a key of the fault.
bool read_trigger(located_object& from, scenario_step& step, std::string& error)
{
    std::vector<std::string> triggers;
    for (const char* key : {"request", "at", "every", "connection"})
        if (from.object.contains(key)) triggers.emplace_back(key);
    if (has_key(*step.fault, fault_key::cut_at)) std::erase(triggers, "at");
    if (triggers.size() > 1)
        return refuse(line_of(from, triggers[1]), "a second trigger, only one can be", error);
    if (triggers.empty() && step.name.empty())
        return refuse(from.line,
                      "neither \"at\", \"every\", \"connection\" nor \"request\", and no "
                      "\"name\"",
                      error);
    const std::string trigger = triggers.empty() ? "" : triggers[0];
    if (trigger == "request") {
        step.trigger = trigger_kind::request;
        return read_text(from, "request", step.request, error);
    }
    if (trigger == "at") {
        step.trigger = trigger_kind::at;
        return read_seconds(from, "at", step.at_us, error);
    }
    if (trigger == "every") {
        step.trigger = trigger_kind::every;
        return read_every(from, step.every_us, error);
    }
    if (trigger == "connection") {
        step.trigger = trigger_kind::connection;
        return read_count(from, "connection", 0, MAX_COUNT, step.connection, error);
    }
    return true;
}

bool read_limits(located_object& from, scenario_step& step, std::string& error)
{
    if (find(from, "after") != nullptr &&
        !read_count(from, "after", 0, MAX_COUNT, step.after, error))
        return false;
    if (find(from, "times") != nullptr &&
        !read_count(from, "times", 0, MAX_COUNT, step.times.emplace(), error))
        return false;
    const json* const chance = find(from, "chance");
    if (chance == nullptr) return true;
    if (!chance->is_number() || chance->get<double>() <= 0 || chance->get<double>() > 1)
        return refuse_key(from, "chance", "a number above 0 and at most 1", error);
    step.chance = chance->get<double>();
    return true;
}

bool read_step(located_object from, const simulated_router& router, scenario_step& step,
               std::string& error)
{
    std::string fault;
    if (!read_text(from, "fault", fault, error)) return false;
    step.fault = fault_named(fault);
    if (step.fault == nullptr)
        return refuse(line_of(from, "fault"), "unknown fault \"" + fault + "\"", error);
    if (find(from, "name") != nullptr) {
        if (!read_text(from, "name", step.name, error)) return false;
        if (step.name.empty())
            return refuse_key(from, "name", "a text with something in it", error);
    }
    if (!read_flag(from, "off", step.begins_off, error)) return false;
    if (step.begins_off && step.name.empty())
        return refuse(from.line, "\"name\" is missing, by which it is switched on", error);
    if (!read_trigger(from, step, error)) return false;
    const bool on_request = step.trigger == trigger_kind::request;
    if (concerns_reply(*step.fault) && !on_request)
        return refuse(from.line, "\"request\" is missing, \"" + fault + "\" is of a reply", error);
    if (step.fault->of_routes && !step.request.starts_with("QI") && !step.request.starts_with("TI"))
        return refuse_key(from, "request", "QI or TI, which alone show a source", error);
    if (!concerns_reply(*step.fault) && on_request &&
        !read_flag(from, "answered", step.answered, error))
        return false;
    if (!read_limits(from, step, error)) return false;
    for (const fault_key key : step.fault->keys)
        if (!read_key(from, key, router, step, error)) return false;
    return check_all_used(from, error);
}

bool read_file_object(scenario& plan, const json& object, const text_positions& seen,
                      const simulated_router& router, std::string& error)
{
    if (!object.is_object()) return refuse(1, "not an object", error);
    located_object from{object, 1, seen.keys};
    if (find(from, "seed") != nullptr && !read_count(from, "seed", 0, UINT64_MAX, plan.seed, error))
        return false;
    const json* const steps = need(from, "steps", error);
    if (steps == nullptr || !check_all_used(from, error)) return false;
    const bool are_objects = steps->is_array() && seen.members.size() == steps->size();
    if (!are_objects) return refuse_key(from, "steps", "a list of objects", error);
    for (std::size_t i = 0; i < steps->size(); ++i)
        if (!read_step({(*steps)[i], seen.members[i], seen.member_keys[i]}, router,
                       plan.steps.emplace_back(), error))
            return false;
    return true;
}
} // namespace

bool read_scenario(scenario& plan, const std::string& text, const simulated_router& router,
                   const std::string& file_name, std::string& error)
{
    text_positions seen;
    json object;
    if (!parse_located(text, object, seen, error) ||
        !read_file_object(plan, object, seen, router, error)) {
        error.insert(0, file_name + ":");
        return false;
    }
    start_scenario(plan);
    return true;
}

bool read_scenario_file(scenario& plan, const std::string& path, const simulated_router& router,
                        std::string& error)
{
    std::ifstream file(path);
    if (!file) {
        error = path + ": cannot be opened: " + std::strerror(errno);
        return false;
    }
    std::ostringstream text;
    errno = 0; // the streams tell an empty file and one that cannot be read by nothing else
    text << file.rdbuf();
    if (errno != 0) {
        error = path + ": cannot be read: " + std::strerror(errno);
        return false;
    }
    return read_scenario(plan, text.str(), router, path, error);
}

} // namespace router_simulator
