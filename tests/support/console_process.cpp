#include "support/console_process.h"

#include <csignal>
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

std::string ConsoleProcess::simulator_config()
{
    return directory.file("console.conf", "ip address=127.0.0.1\nport=" + simulator_port + "\n");
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

int ConsoleProcess::status_after(int printed)
{
    while (read_more(printed)) {
    }
    return status_at_end(console);
}
