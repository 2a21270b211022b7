// What every fuzz target is built on: the backend's diagnostics, kept instead of written, and the
// end of the run when a property does not hold.
#pragma once

#include <string>
#include <vector>

// Everything that the backend has logged since the last clear, one entry a line, line ends
// included.
extern std::vector<std::string> logged_lines;

// From now on the backend's standard error stream ends in logged_lines. Descriptor 2 stays the
// fuzzer's own.
void capture_diagnostics();

// Unless the condition holds, shows the text and what was logged, and aborts.
void require(bool condition, const char* property);
