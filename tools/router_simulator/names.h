// The names of sources, destinations and levels: generated ones, what is acceptable as one, and the
// file that sets them.
//
// A names file has one name a line, "kind,index,name": the kind is source, destination or level,
// the index is decimal as the router counts (its base included), the name is the rest of the line.
// A name in double quotes loses them, and "" within stands for one. Empty lines, lines that begin
// with # and the heading "kind,index,name" are passed over.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

struct simulated_router;

constexpr std::size_t MAX_NAME_LENGTH = 64;

// Believable names by position: "CAM 1", "VTR 3"; "MON A", "REC 2"; "VIDEO", "AUDIO 1".
std::string generated_source_name(std::size_t position);
std::string generated_destination_name(std::size_t position);
std::string generated_level_name(std::size_t position);

// Why the text cannot go over the wire as a text of at most this length, or "" when it can: it
// holds a control character or is too long.
std::string text_fault(std::string_view text, std::size_t longest);

// The same for a name, which must not be empty either.
std::string name_fault(std::string_view name);

// Gives the router the names of the file; ports that it does not mention keep theirs. Returns ""
// or what is wrong with which line, "FILE:LINE: reason"; names before that line are then set.
std::string read_names(simulated_router& router, std::istream& file, const std::string& file_name);
std::string read_names_file(simulated_router& router, const std::string& path);
