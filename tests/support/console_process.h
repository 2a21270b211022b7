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

    // The console's temporary files and its history are in the test's directory.
    ConsoleProcess();
    ~ConsoleProcess() override;

    void run(const std::vector<std::string>& options, const std::array<int, 3>& descriptors);

    // The simulator as a router of this name, for --router.
    std::string simulator_as(const std::string& name) const;
    // A program in the backend's place: a shell script.
    std::string script_backend(const std::string& text);

    // Reads some of what it prints. False at its end; a console that hangs is killed.
    bool read_more(int printed);
    bool read_until(int printed, const std::string& text);
    // Its status, once what it prints has come to an end.
    int status_after(int printed);

    // What it has left of its temporary files.
    bool has_left_files() const;
};
