// JSON whose keys know their lines, so that whatever is wrong with one can be said with its place.
// A file is an object whose lists hold objects; what lies deeper has the line of the key above it.
#pragma once

#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace router_simulator {

using key_lines = std::map<std::string, std::size_t>;

// Where things stand in the text.
struct text_positions {
    std::size_t line = 1;               // of the byte read last
    key_lines keys{};                   // of the file's object
    std::vector<std::size_t> members{}; // the objects in its lists
    std::vector<key_lines> member_keys{};
    std::string error{}; // what is wrong first; empty: nothing
};

// One object of the file and where its keys stand.
struct located_object {
    const nlohmann::json& object;
    std::size_t line;
    const key_lines& lines;
    std::set<std::string> used{}; // keys that have been asked for
};

// An error is "LINE: reason".

bool parse_located(const std::string& text, nlohmann::json& parsed, text_positions& seen,
                   std::string& error);

// Both set the error, the second to say that the key's value is not what is expected, and return
// false.
bool refuse(std::size_t line, const std::string& reason, std::string& error);
bool refuse_key(const located_object& from, const std::string& key, const std::string& expected,
                std::string& error);

// False, with the first one as the error, when there are keys that nobody has asked for.
bool check_all_used(const located_object& from, std::string& error);

std::size_t line_of(const located_object& from, const std::string& key);

// Null when there is no such key; `need` then sets the error.
const nlohmann::json* find(located_object& from, const std::string& key);
const nlohmann::json* need(located_object& from, const std::string& key, std::string& error);

} // namespace router_simulator
