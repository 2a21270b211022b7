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

// The console as scripts have it, its input and output pipes.
class ScriptedConsole : public ConsoleProcess {
  protected:
    descriptor_pair input;
    descriptor_pair printed;

    void start_console(const std::vector<std::string>& words);

    // Plays the script and returns the exit status.
    int play(const std::vector<std::string>& words, const std::string& script = "");

    // On the simulator, as router "main".
    std::vector<std::string> on_simulator(const std::vector<std::string>& words = {}) const;
    void tell_simulator(const std::string& command);

    // Plays it again, on another simulator, when the machine has starved it: the console and the
    // backend have deadlines of their own.
    int play_on_simulator(const std::vector<std::string>& words, const std::string& script = "");

    // On a simulator that answers no take. True once that has one.
    bool start_with_open_wish(const std::vector<std::string>& words);

  private:
    void end_simulator();
    bool is_starved() const;
};
