// Reading the members of a body. Everything that is wrong is collected, each with a pointer to
// where it stands, so that one answer tells of all; what is wrong reads as if it were absent.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "server/web/json.h"
#include "server/web/problem.h"

namespace web {

struct fields {
    const json& object;
    std::string at; // the pointer to it: "" or "/rows/3"
    std::vector<problem_at>& wrong;
    std::set<std::string> known{}; // members that were asked for
};

// Complains when it is no object, and then has no members.
fields fields_of(const json& value, std::string at, std::vector<problem_at>& wrong);

void complain(fields& fields, const std::string& name, const std::string& detail,
              const std::string& code = "badValue");

// Null when it is absent.
const json* find_member(fields& fields, const std::string& name);

// Each is none when the member is absent or, with a complaint, is something else. A secret may have
// any characters, a text those alone that are seen.
std::optional<std::string> read_secret(fields& fields, const std::string& name,
                                       std::size_t longest = 255, std::size_t shortest = 0);
std::optional<std::string> read_text(fields& fields, const std::string& name,
                                     std::size_t longest = 255, std::size_t shortest = 0); // bytes
std::optional<std::int64_t> read_integer(fields& fields, const std::string& name,
                                         std::int64_t least, std::int64_t most);
std::optional<desk::wall> read_time(fields& fields, const std::string& name);
std::optional<bool> read_flag(fields& fields, const std::string& name);
// One of these words; its place among them.
std::optional<std::size_t> read_word(fields& fields, const std::string& name,
                                     const std::vector<std::string>& words);
// Null, with a complaint, when it is not there or no array of at most so many.
const json* read_array(fields& fields, const std::string& name, std::size_t most);

void require(fields& fields, const std::string& name); // complains when it is absent
void finish(fields& fields);                           // complains of members nobody asked for

// What is wrong, as one problem; its words are those of the first.
problem problem_of(std::vector<problem_at> wrong, const std::string& router = {});

} // namespace web
