// The names of sources, destinations and levels: generated ones, and what is acceptable as one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace router_simulator {

constexpr std::size_t MAX_NAME_LENGTH = 64;

// Believable names by position: "CAM 1", "VTR 3"; "MON A", "REC 2"; "VIDEO", "AUDIO 1".
std::string generated_source_name(std::size_t position);
std::string generated_destination_name(std::size_t position);
std::string generated_level_name(std::size_t position);

// Whether the text can go over the wire as one of at most this length. False, with the reason ("is
// longer than 64 bytes"), when it holds a control character or is too long.
bool check_text(std::string_view text, std::size_t longest, std::string& error);

// The same for a name, which may be empty.
bool check_name(std::string_view name, std::string& error);

} // namespace router_simulator
