// What is given to be kept.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "server/desk/entries.h"

namespace journal {

// Something that is no desk's: a row of the history, and keys of the store with it.
struct note {
    desk::wall at{};
    std::string person;
    std::string origin;
    std::string kind;                                       // empty: the history does not tell it
    std::string data;                                       // JSON; empty: none
    std::map<std::string, std::optional<std::string>> keys; // and values, JSON; none: it goes
    std::vector<std::string> whole{};                       // whatever else begins so goes as well
};

// All that holds by now, in the place of what the tables have: after records were lost.
struct whole_house {
    desk::house house;
};

using record = std::variant<desk::entry, note, whole_house>;

// Bytes in memory, roughly.
std::size_t size_of(const record& given);

} // namespace journal
