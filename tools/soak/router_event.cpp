#include "soak/router_event.h"

#include <nlohmann/json.hpp>

namespace soak {

std::optional<router_event> parse_event(std::string_view line)
{
    const auto json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object() || !json.contains("event")) return std::nullopt;
    const auto text = [&](const char* key) {
        return json.value(key, std::string());
    };
    const auto number = [&](const char* key) {
        return json.value(key, 0);
    };
    try {
        return router_event{.kind = text("event"),
                            .fault = text("fault"),
                            .request = text("request"),
                            .by = text("by"),
                            .client = number("client"),
                            .destination = number("destination") - 1,
                            .source = number("source") - 1,
                            .lasting = json.value("lasting", false),
                            .only_delays = json.value("only_delays", false)};
    } catch (const nlohmann::json::type_error&) {
        return std::nullopt;
    }
}

} // namespace soak
