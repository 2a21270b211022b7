// Reading JSON that anybody may have changed: each value with the place where it stands, so that a
// complaint can say where it is wrong.
#pragma once

#include <array>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "server/desk/moment.h"

namespace journal {

// Ends the reading; the text says where and why.
struct misfit : std::runtime_error {
    using runtime_error::runtime_error;
};

struct place {
    const nlohmann::json& value;
    std::string path;     // "salvos.NEWS.rows[3]"; empty: the whole
    bool lenient = false; // members that are not known may be a newer program's
};

[[noreturn]] void complain(const place& at, const std::string& what);

// The clause about a text that is no JSON any more from this byte on, counted from 1.
std::string no_json(const std::string& text, std::size_t byte);

// Of an object. The second complains when it is not there.
bool has(const place& of, const char* name);
place member(const place& of, const std::string& name);

void expect_object(const place& at);
// Members that are not known are passed over in a lenient place alone: they may be misspelt ones.
void expect_members(const place& at, std::initializer_list<std::string_view> known);

long long read_integer(const place& at, long long least, long long most);
int read_int(const place& at, int least, int most);

constexpr long long LAST_TIME = 253'402'300'799'999; // the year 9999
desk::wall read_time(const place& at);

constexpr std::size_t LONGEST_TEXT = 4096; // bytes
std::string read_text(const place& at, std::size_t longest = LONGEST_TEXT);

// False when the member is not there.
bool read_flag(const place& of, const char* name);

// Calls it with the place of each element.
template <class call>
void read_array(const place& at, std::size_t most, call read)
{
    if (!at.value.is_array()) complain(at, "is no array");
    if (at.value.size() > most) complain(at, "has more than " + std::to_string(most) + " entries");
    for (std::size_t i = 0; i < at.value.size(); ++i)
        read(place{at.value[i], at.path + "[" + std::to_string(i) + "]", at.lenient});
}

// Calls it with the name and the place of each member.
template <class call>
void read_members(const place& at, std::size_t most, call read)
{
    expect_object(at);
    if (at.value.size() > most) complain(at, "has more than " + std::to_string(most) + " members");
    for (const auto& each : at.value.items())
        read(each.key(), member(at, each.key()));
}

// Words in JSON and what they stand for.
template <class value, std::size_t count>
using value_words = std::array<std::pair<std::string_view, value>, count>;

template <class value, std::size_t count>
value read_word(const place& at, const value_words<value, count>& words)
{
    const std::string text = read_text(at);
    for (const auto& [word, meaning] : words)
        if (word == text) return meaning;
    complain(at, "must not be \"" + text + "\"");
}

template <class value, std::size_t count>
std::string_view word_of(const value_words<value, count>& words, value wanted)
{
    for (const auto& [word, meaning] : words)
        if (meaning == wanted) return word;
    return "";
}

} // namespace journal
