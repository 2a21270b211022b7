// Routes as text that is kept: the record, which route_texts.h fills.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace web {

struct route_texts {                    // of one router
    std::uint64_t all_changed = 0;      // the revision of the last change that may concern all
    std::vector<std::uint64_t> changed; // by destination: of the last of this one
    std::vector<std::string> texts;     // by destination: Route; empty: to be written
    std::string whole;                  // Routes with all of them; empty: to be written
    std::uint64_t revision = 0;         // of `whole`
    std::uint64_t people_set = 0;       // as the accounts count it
};

} // namespace web
