// Finds what a word names. A number without quotes is the number that people see; anything else,
// and any quoted word, is a name, an alias or the router's own: the same name, else the one name
// equal but for case, else the one that begins so, when the beginning has two characters at least.
// A whole name of one that cannot be routed is complained of before any beginning is looked for.
#pragma once

#include <optional>
#include <string>

#include "console/answer.h"
#include "console/console_state.h"
#include "tools/common/words.h"

namespace console {

// What is typed, unless told otherwise.
struct word_reading {
    bool beginnings = true;               // one may stand for a name
    std::optional<int> first_number = {}; // none: the router's
};

// Positions of the router in use that can be routed. None, with a sentence that says what is wrong
// and what there is instead.
std::optional<int> find_source(const console_state& console, const common::word& wanted,
                               std::string& complaint, const word_reading& reading = {});
std::optional<int> find_destination(const console_state& console, const common::word& wanted,
                                    std::string& complaint, const word_reading& reading = {});

// The answer to a command with a word that names no source or no destination: not_ready while they
// are not known, for then it may be right.
answer refuse_lookup(const console_state& console, const std::string& complaint);

// The id of a router of the desk, by its id or its name.
// By number also one that the router, which has fewer by now, had before: what is staged or locked
// there stays.
std::optional<int> find_kept_destination(const console_state& console, const common::word& wanted,
                                         std::string& complaint);
std::optional<std::string> find_router(const console_state& console, const common::word& wanted,
                                       std::string& complaint, const word_reading& reading = {});
std::optional<desk::ulid> find_salvo(const console_state& console, const common::word& wanted,
                                     std::string& complaint);

} // namespace console
