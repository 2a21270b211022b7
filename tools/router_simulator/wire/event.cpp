#include "router_simulator/wire/event.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "router_simulator/wire/trace.h"

namespace router_simulator {

std::string seconds_text(us_time_t elapsed, int width)
{
    char text[40];
    std::snprintf(text, sizeof text, "%*llu.%06llu", width,
                  static_cast<unsigned long long>(elapsed / 1'000'000),
                  static_cast<unsigned long long>(elapsed % 1'000'000));
    return text;
}

namespace {
// Calls tell(name, value) for all that both forms have, in their order.
template <typename Tell>
void tell_values(const router_event& event, const Tell& tell)
{
    if (event.seed) tell("seed", *event.seed);
    if (event.client) tell("client", *event.client);
    if (event.request) tell("request", *event.request);
    if (event.destination) tell("destination", *event.destination);
    if (event.source) tell("source", *event.source);
    if (event.name) tell("name", *event.name);
    if (event.by != nullptr) tell("by", event.by);
    if (event.ms) tell("ms", *event.ms);
    if (event.reason) tell("reason", *event.reason);
}

std::string readable_value(const std::string& text)
{
    return quoted_text(text);
}

std::string readable_value(const char* word)
{
    return word;
}

template <typename Number>
std::string readable_value(Number number)
{
    return std::to_string(number);
}
} // namespace

std::string readable_event(const router_event& event, us_time_t elapsed)
{
    std::string text = "@ " + seconds_text(elapsed, 1) + " ";
    if (event.kind == std::string("end of fault")) text += "end of ";
    text += event.fault != nullptr ? event.fault : event.kind;
    tell_values(event, [&text](const char* name, const auto& value) {
        text += std::string(" ") + name + "=" + readable_value(value);
    });
    return text;
}

std::string json_event(const router_event& event, us_time_t elapsed)
{
    nlohmann::ordered_json line;
    line["time"] = static_cast<double>(elapsed) / 1e6;
    line["event"] = event.kind;
    if (event.fault != nullptr) line["fault"] = event.fault;
    if (event.lasting) line["lasting"] = true;
    if (event.only_delays) line["only_delays"] = true;
    tell_values(event, [&line](const char* name, const auto& value) { line[name] = value; });
    return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace router_simulator
