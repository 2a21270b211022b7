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

// Why the text cannot go over the wire as a text of at most this length, or "" when it can: it
// holds a control character or is too long.
std::string text_error(std::string_view text, std::size_t longest);

// The same for a name, which may be empty.
std::string name_error(std::string_view name);

} // namespace router_simulator
