#include "support/console_process.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <poll.h>

#include "support/patience.h"
#include "support/replay.h"

void ConsoleProcess::run(const std::vector<std::string>& options,
                         const std::array<int, 3>& descriptors)
{
    std::vector<std::string> words = {built_program("router_console")};
    words.insert(words.end(), options.begin(), options.end());
    start_child(console, words, descriptors);
}

ConsoleProcess::ConsoleProcess()
{
    setenv("TMPDIR", directory.path.c_str(), 1);
    setenv("XDG_STATE_HOME", directory.path.c_str(), 1);
}

ConsoleProcess::~ConsoleProcess()
{
    unsetenv("TMPDIR");
    unsetenv("XDG_STATE_HOME");
}

std::string ConsoleProcess::simulator_as(const std::string& name) const
{
    return name + "=127.0.0.1:" + simulator_port;
}

std::string ConsoleProcess::script_backend(const std::string& text)
{
    std::string path = directory.file("backend", "#!/bin/sh\n" + text);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

bool ConsoleProcess::read_more(int printed)
{
    pollfd watched = {printed, POLLIN, 0};
    if (poll(&watched, 1, PATIENCE_MS) == 0) {
        ADD_FAILURE() << "The console hangs after: " << output;
        kill(console.process, SIGKILL);
        return false;
    }
    return common::read_some(printed, output) == common::read_outcome::read;
}

bool ConsoleProcess::read_until(int printed, const std::string& text)
{
    while (output.find(text) == std::string::npos)
        if (!read_more(printed)) return false;
    return true;
}

bool ConsoleProcess::has_left_files() const
{
    for (const auto& file : std::filesystem::directory_iterator(directory.path))
        if (file.path().filename().string().starts_with("router_console.")) return true;
    return false;
}

int ConsoleProcess::status_after(int printed)
{
    while (read_more(printed)) {
    }
    return status_at_end(console);
}

void ScriptedConsole::start_console(const std::vector<std::string>& words)
{
    input = pipe_to_child();
    printed = pipe_from_child();
    run(words, {input.childs.number, printed.childs.number, printed.childs.number});
    input.childs.reset();
    printed.childs.reset();
    output.clear();
}

int ScriptedConsole::play(const std::vector<std::string>& words, const std::string& script)
{
    start_console(words);
    write_all(input.ours.number, script);
    input.ours.reset();
    return status_after(printed.ours.number);
}

std::vector<std::string> ScriptedConsole::on_simulator(const std::vector<std::string>& words) const
{
    std::vector<std::string> all = {"--router", simulator_as("main"), "--wait-ready", "200"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

void ScriptedConsole::tell_simulator(const std::string& command)
{
    write_all(simulator.input.number, command + "\n");
}

int ScriptedConsole::play_on_simulator(const std::vector<std::string>& words,
                                       const std::string& script)
{
    for (int plays = 1;; ++plays) {
        end_simulator();
        start_simulator();
        const int status = play(on_simulator(words), script);
        if (plays == MOST_PLAYS || !is_starved()) return status;
    }
}

bool ScriptedConsole::start_with_open_wish(const std::vector<std::string>& words)
{
    const std::string scenario = directory.file(
        "mute.json", R"({"steps": [{"request": "TI", "fault": "silence", "for": 100}]})");
    start_simulator({"--scenario", scenario});
    start_console(on_simulator(words));
    const auto is_take = [](const std::string& line) {
        return line.ends_with(" silence client=1");
    };
    return until(
        [&] { return std::any_of(simulator.lines.begin(), simulator.lines.end(), is_take); });
}

void ScriptedConsole::end_simulator()
{
    if (simulator.child.process < 0) return;
    kill(simulator.child.process, SIGKILL);
    status_at_end(simulator.child);
    simulator.lines.clear();
}

bool ScriptedConsole::is_starved() const
{
    return output.find("timed out") < output.size() || output.find(" is down") < output.size();
}
