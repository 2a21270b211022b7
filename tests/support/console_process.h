// The fixture of the tests that run the real console, as a script or on a terminal.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "support/process_test.h"

class ConsoleProcess : public ProcessTest {
  protected:
    child_process console;
    std::string output; // all that it printed

    void run(const std::vector<std::string>& options, const std::array<int, 3>& descriptors);

    // The simulator's address as a configuration file.
    std::string simulator_config();
    // A program in the backend's place: a shell script.
    std::string script_backend(const std::string& text);

    // Reads some of what it prints. False at its end; a console that hangs is killed.
    bool read_more(int printed);
    // Its status, once what it prints has come to an end.
    int status_after(int printed);
};
