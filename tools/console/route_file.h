// Routes in a file, as lines: comments that begin with #, "use ROUTER", "first-number 0|1", from
// where numbers below it count, and "stage DESTINATION SOURCE". Names stand there in full, their
// case apart.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "console/console_state.h"

namespace console {

constexpr std::size_t ROUTE_FILE_SIZE = 1'048'576; // bytes; a larger file is refused

struct saved_routes {
    std::string text;
    std::size_t count = 0;
    std::size_t old = 0; // of these: the router may show another since; the text says since when
};

// What the router in use shows; what cannot be staged stands in comments.
saved_routes routes_to_save(const console_state& console, const desk::moment& now);

// Writes the file so that a reader finds the old text or the new one, whole. False, with a
// sentence, when the old one, or none, is still there.
bool write_route_file(const std::string& path, const std::string& text, std::string& complaint);

struct loaded_routes {
    std::map<std::string, std::set<int>, std::less<>> staged; // destinations by router
    std::vector<std::string> complaints;                      // sentences, each with its line
};

// False, with a sentence, when it is no file that can be read.
bool read_route_file(const std::string& path, std::string& text, std::string& complaint);

// Stages what the lines say for the console's person, and sends nothing. Lines before the first
// "use" concern the router in use, which stays, and numbers before the first "first-number" count
// as the router's. Behind one of those that is wrong nothing is read.
loaded_routes stage_lines(console_state& console, const desk::moment& now, const std::string& text);

} // namespace console
