// The lines typed at a console, kept in the user's state folder.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace console {

constexpr std::size_t LINES_KEPT = 500; // the oldest is forgotten

// $XDG_STATE_HOME/router_console/history, or in ~/.local/state. Empty when neither is known.
std::string history_path();

// Oldest first; none when there is no such file.
std::vector<std::string> read_history(const std::string& path);

// Adds a line, unless it is blank or the same as the last one. Returns whether it did.
bool add_to_history(std::vector<std::string>& lines, const std::string& line);

// Adds the line to those of the file, where other consoles may have put some too. The file is
// written for its owner alone, whole or not at all, and its folder made. What fails is passed over:
// nobody's work depends on it.
void keep_line(const std::string& path, const std::string& line);

} // namespace console
