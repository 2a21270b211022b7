// Lines out of a stream that comes in pieces.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace common {

constexpr std::size_t LONGEST_LINE = 1'048'576; // bytes

// Appends the lines that the bytes complete, without their ends; `partial` keeps the beginning of
// the next one. A line longer than the longest is cut to one byte more, by which it can be told,
// and its rest is dropped.
void cut_lines(std::string_view bytes, std::string& partial, std::deque<std::string>& lines,
               std::size_t longest = LONGEST_LINE);

} // namespace common
