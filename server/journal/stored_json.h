// Writing and reading the JSON of the store's keys.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "server/journal/json_places.h"
#include "server/journal/store.h"

namespace journal {

// Text in it that is no UTF-8 loses its letters beyond ASCII.
std::string json_text(nlohmann::json value);

// Calls it with the parts of each key that begins so, from behind the prefix on, and the place of
// its value. Throws misfit when that is no JSON.
template <class call>
void each_key(store& store, const std::string& prefix, call take)
{
    for (const stored& each : list(store, prefix)) {
        const nlohmann::json value = nlohmann::json::parse(each.value, nullptr, false);
        const place at{value, each.key, true};
        if (value.is_discarded()) complain(at, "is no JSON");
        std::vector<std::string> parts;
        for (std::size_t begin = prefix.size(), end = 0; end != std::string::npos;
             begin = end + 1) {
            end = each.key.find('/', begin);
            parts.push_back(each.key.substr(begin, end - begin));
        }
        take(parts, at);
    }
}

} // namespace journal
