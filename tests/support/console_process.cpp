#include "support/console_process.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <poll.h>

#include "support/patience.h"

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
