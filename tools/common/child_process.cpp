#include "tools/common/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace common {

child_process::~child_process()
{
    if (process < 0) return;
    kill(process, SIGKILL);
    status_at_end(*this);
}

bool start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors, std::string& error)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str())); // spawn leaves them alone
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int target = 0; target < 3; ++target) {
        const int descriptor = descriptors[static_cast<std::size_t>(target)];
        if (descriptor < 0)
            posix_spawn_file_actions_addclose(&actions, target);
        else
            posix_spawn_file_actions_adddup2(&actions, descriptor, target);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF |
                                              POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    const int failure = posix_spawnp(&child.process, arguments[0], &actions, &attributes,
                                     arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure == 0) return true;
    child.process = -1;
    error = "Cannot run " + words[0] + ": " + std::strerror(failure);
    return false;
}

bool start_on_pipes(child_process& child, child_pipes& pipes, const std::vector<std::string>& words,
                    error_output errors, std::string& error)
{
    child_pipes ours;
    child_pipes childs;
    if (!open_pipe(childs.input, ours.input, error) ||
        !open_pipe(ours.output, childs.output, error))
        return false;
    if (errors == error_output::piped && !open_pipe(ours.errors, childs.errors, error))
        return false;
    if (errors == error_output::messages && !open_message_pipe(ours.errors, childs.errors, error))
        return false;
    if (errors == error_output::discarded)
        childs.errors = owned_descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const int error_number =
        errors == error_output::inherited ? STDERR_FILENO : childs.errors.number;
    if (!start_child(child, words, {childs.input.number, childs.output.number, error_number},
                     error))
        return false;
    pipes = std::move(ours);
    return true;
}

namespace {
int forget_ended(child_process& child, int status)
{
    child.process = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}
} // namespace

int status_at_end(child_process& child)
{
    int status = 0;
    while (waitpid(child.process, &status, 0) < 0 && errno == EINTR) {
    }
    return forget_ended(child, status);
}

std::optional<int> status_if_ended(child_process& child)
{
    int status = 0;
    if (waitpid(child.process, &status, WNOHANG) != child.process) return std::nullopt;
    return forget_ended(child, status);
}

} // namespace common
