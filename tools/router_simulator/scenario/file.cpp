#include "router_simulator/scenario/file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "common/numbers.h"
#include "router_simulator/router/names.h"
#include "router_simulator/scenario/located_json.h"

namespace router_simulator {

using nlohmann::json;

namespace {
constexpr std::uint64_t MAX_COUNT = 1'000'000;
constexpr double MAX_SECONDS = 31'536'000; // a year
constexpr std::uint64_t MAX_MS = 3'600'000;

struct step_reader {
    located_object& from;
    const simulated_router& router;
    scenario_step& step;
};

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

void read_every(step_reader& reader)
{
    const json& value = need(reader.from, "every");
    if (!value.is_array() || value.size() != 2 || !is_seconds(value[0]) || !is_seconds(value[1]) ||
        microseconds(value[0]) < 1000 || value[0] > value[1])
        refuse_key(reader.from, "every", "[LEAST, MOST] in seconds, 0.001 to a year");
    reader.step.every_us = {microseconds(value[0]), microseconds(value[1])};
}

void read_ms_range(step_reader& reader)
{
    const json& value = need(reader.from, "ms");
    if (!value.is_array() || value.size() != 2 || !is_count(value[0], 0, MAX_MS) ||
        !is_count(value[1], 0, MAX_MS) || value[0] > value[1])
        refuse_key(reader.from, "ms",
                   "[LEAST, MOST] in whole milliseconds, " + range_text(0, MAX_MS));
    reader.step.delay_us = {value[0].get<std::uint64_t>() * 1000,
                            value[1].get<std::uint64_t>() * 1000};
}

void read_pause(step_reader& reader)
{
    reader.step.pause_us = read_count(reader.from, "ms", 0, MAX_MS) * 1000;
}

void read_cuts(step_reader& reader)
{
    const json& value = need(reader.from, "at");
    const bool is_list = value.is_array() && !value.empty() &&
                         std::all_of(value.begin(), value.end(),
                                     [](const json& each) { return is_count(each, 1, MAX_COUNT); });
    if (!is_list)
        refuse_key(reader.from, "at", "a list of whole numbers from " + range_text(1, MAX_COUNT));
    const auto cuts = value.get<std::set<std::size_t>>();
    reader.step.cuts.assign(cuts.begin(), cuts.end());
}

void read_code(step_reader& reader)
{
    const std::string code = read_text(reader.from, "code");
    if (code.size() != 2 || hex_digit_value(code[0]) < 0 || hex_digit_value(code[1]) < 0)
        refuse_key(reader.from, "code", "two hexadecimal digits");
    reader.step.code = code;
}

void read_bytes(step_reader& reader)
{
    const std::uint64_t least = reader.step.fault == fault_kind::garbage ? 1 : 0;
    reader.step.bytes = read_count(reader.from, "bytes", least, MAX_COUNT);
}

void read_stream(step_reader& reader)
{
    reader.step.messages = read_count(reader.from, "messages", 1, MAX_COUNT);
    reader.step.interval_us = 1'000'000 / read_count(reader.from, "rate", 1, MAX_COUNT);
}

void read_for(step_reader& reader)
{
    reader.step.for_us = read_seconds(reader.from, "for");
}

void read_inside(step_reader& reader)
{
    const json* const value = find(reader.from, "inside");
    if (value == nullptr) return;
    if (!value->is_boolean()) refuse_key(reader.from, "inside", "true or false");
    reader.step.inside = value->get<bool>();
}

std::optional<std::uint32_t> read_index(step_reader& reader, const std::string& key,
                                        const port_list& ports)
{
    const json* const value = find(reader.from, key);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number_unsigned() || !position_of(ports, value->get<std::uint64_t>()))
        refuse_key(reader.from, key, "the index of a " + key + " of the router");
    return value->get<std::uint32_t>();
}

void read_ports(step_reader& reader)
{
    reader.step.destination = read_index(reader, "destination", reader.router.destinations);
    reader.step.source = read_index(reader, "source", reader.router.sources);
}

void read_new_name(step_reader& reader)
{
    if (reader.step.destination && reader.step.source)
        refuse(line_of(reader.from, "source"),
               "\"source\" and \"destination\" cannot be renamed in one step");
    if (find(reader.from, "to") == nullptr) return;
    reader.step.to = read_text(reader.from, "to");
    const std::string fault = name_error(reader.step.to);
    if (!fault.empty()) refuse(line_of(reader.from, "to"), "\"to\" " + fault);
}

// Only these requests have replies that show a source.
void need_routes(step_reader& reader)
{
    const std::string& request = reader.step.request;
    if (!request.starts_with("QI") && !request.starts_with("TI"))
        refuse_key(reader.from, "request", "QI or TI, which alone can be contradicted");
}

void read_fault(step_reader& reader)
{
    const std::string name = read_text(reader.from, "fault");
    const std::optional<fault_kind> kind = fault_named(name);
    if (!kind) refuse(line_of(reader.from, "fault"), "unknown fault \"" + name + "\"");
    reader.step.fault = *kind;
    if (concerns_reply(*kind) && reader.step.trigger != trigger_kind::request)
        refuse(reader.from.line, "\"request\" is missing, \"" + name + "\" is of a reply");
}

void read_keys_of_fault(step_reader& reader)
{
    switch (reader.step.fault) {
    case fault_kind::delay:
    case fault_kind::late:
        return read_ms_range(reader);
    case fault_kind::error:
        return read_code(reader);
    case fault_kind::truncate:
    case fault_kind::length:
    case fault_kind::garbage:
        return read_bytes(reader);
    case fault_kind::cut:
        read_cuts(reader);
        return read_pause(reader);
    case fault_kind::contradict:
        return need_routes(reader);
    case fault_kind::endless:
    case fault_kind::burst:
        return read_stream(reader);
    case fault_kind::silence:
    case fault_kind::stop_reading:
    case fault_kind::refuse:
    case fault_kind::ignore:
        return read_for(reader);
    case fault_kind::reset:
        return read_inside(reader);
    case fault_kind::take:
        return read_ports(reader);
    case fault_kind::rename:
        read_ports(reader);
        return read_new_name(reader);
    case fault_kind::lose:
    case fault_kind::duplicate:
    case fault_kind::reorder:
    case fault_kind::checksum:
    case fault_kind::nak:
    case fault_kind::nul:
    case fault_kind::half_open:
    case fault_kind::close:
        return;
    }
}

// "at" is a key of the fault "cut", which has its trigger in "request".
void read_trigger(step_reader& reader)
{
    located_object& from = reader.from;
    scenario_step& step = reader.step;
    const bool cuts = from.object.contains("fault") && from.object["fault"] == "cut";
    int triggers = 0;
    const auto chosen = [&](const char* key, trigger_kind kind) {
        if (!from.object.contains(key)) return false;
        step.trigger = kind;
        if (++triggers > 1) refuse(line_of(from, key), "a second trigger, only one can be");
        return true;
    };
    if (chosen("request", trigger_kind::request)) step.request = read_text(from, "request");
    if (!cuts && chosen("at", trigger_kind::at)) step.at_us = read_seconds(from, "at");
    if (chosen("every", trigger_kind::every)) read_every(reader);
    if (chosen("connection", trigger_kind::connection))
        step.connection = static_cast<int>(read_count(from, "connection", 0, MAX_COUNT));
    if (triggers == 0 && step.name.empty())
        refuse(from.line, "neither \"at\", \"every\", \"connection\" nor \"request\", and no "
                          "\"name\"");
}

void read_name(step_reader& reader)
{
    if (find(reader.from, "name") == nullptr) return;
    reader.step.name = read_text(reader.from, "name");
    if (reader.step.name.empty()) refuse_key(reader.from, "name", "a text with something in it");
}

void read_order(step_reader& reader)
{
    if (concerns_reply(reader.step.fault) || reader.step.trigger != trigger_kind::request) return;
    const json* const value = find(reader.from, "answered");
    if (value == nullptr) return;
    if (!value->is_boolean()) refuse_key(reader.from, "answered", "true or false");
    reader.step.answered = value->get<bool>();
}

void read_limits(step_reader& reader)
{
    located_object& from = reader.from;
    if (find(from, "after") != nullptr) reader.step.after = read_count(from, "after", 0, MAX_COUNT);
    if (find(from, "times") != nullptr) reader.step.times = read_count(from, "times", 0, MAX_COUNT);
    const json* const chance = find(from, "chance");
    if (chance == nullptr) return;
    if (!chance->is_number() || chance->get<double>() <= 0 || chance->get<double>() > 1)
        refuse_key(from, "chance", "a number above 0 and at most 1");
    reader.step.chance = chance->get<double>();
}

scenario_step read_step(located_object from, const simulated_router& router)
{
    scenario_step step;
    step_reader reader{from, router, step};
    read_name(reader);
    read_trigger(reader);
    read_limits(reader);
    read_fault(reader);
    read_order(reader);
    read_keys_of_fault(reader);
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
