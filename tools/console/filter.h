// Which sources or destinations a person wants to see. Each word leaves fewer: a number or a range
// of numbers as people see them (12-40), "@group", "problems", or any part of a number's alias,
// name or group, which a word in quotes always is. Case makes no difference.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "console/console_state.h"
#include "tools/common/words.h"

namespace console {

// "12-40" as 12 and 40; none for a text that is no range.
std::optional<std::pair<int, int>> read_range(const std::string& text);

// The positions below `count` of the router that fit all words, rising. None, with a sentence, when
// a word cannot be understood. A destination is a problem when its last wish ended badly, when what
// it shows is not known although the link is ready, or when it has changed since it was staged.
std::optional<std::vector<int>> find_positions(const console_state& console,
                                               const std::string& router, desk::side side,
                                               int count, std::span<const common::word> words,
                                               std::string& complaint);

} // namespace console
