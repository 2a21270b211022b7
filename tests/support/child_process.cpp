#include "support/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace {
int checked(int result)
{
    if (result < 0) throw std::system_error(errno, std::generic_category());
    return result;
}
} // namespace

owned_descriptor::owned_descriptor(int descriptor) : number(descriptor)
{
}

owned_descriptor::owned_descriptor(owned_descriptor&& other) noexcept
    : number(std::exchange(other.number, -1))
{
}

owned_descriptor& owned_descriptor::operator=(owned_descriptor&& other) noexcept
{
    std::swap(number, other.number);
    return *this;
}

owned_descriptor::~owned_descriptor()
{
    reset();
}

void owned_descriptor::reset()
{
    if (number >= 0) close(number);
    number = -1;
}

descriptor_pair pipe_from_child()
{
    int ends[2] = {-1, -1};
    checked(pipe2(ends, O_CLOEXEC));
    return {owned_descriptor(ends[0]), owned_descriptor(ends[1])};
}

descriptor_pair pipe_to_child()
{
    descriptor_pair ends = pipe_from_child();
    return {std::move(ends.childs), std::move(ends.ours)};
}

descriptor_pair socket_pair()
{
    int ends[2] = {-1, -1};
    checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    return {owned_descriptor(ends[0]), owned_descriptor(ends[1])};
}

descriptor_pair pseudo_terminal()
{
    owned_descriptor ours(checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)));
    checked(grantpt(ours.number));
    checked(unlockpt(ours.number));
    owned_descriptor childs(checked(open(ptsname(ours.number), O_RDWR | O_NOCTTY | O_CLOEXEC)));
    termios settings{};
    checked(tcgetattr(childs.number, &settings));
    cfmakeraw(&settings);
    checked(tcsetattr(childs.number, TCSANOW, &settings));
    return {std::move(ours), std::move(childs)};
}

std::string read_to_end(int descriptor)
{
    std::string text;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(descriptor, bytes, sizeof bytes)) > 0;)
        text.append(bytes, static_cast<std::size_t>(count));
    return text;
}

void write_all(int descriptor, std::string_view bytes)
{
    while (!bytes.empty())
        bytes.remove_prefix(static_cast<std::size_t>(
            checked(static_cast<int>(write(descriptor, bytes.data(), bytes.size())))));
}

child_process::~child_process()
{
    if (process < 0) return;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

namespace {
void set_default_signals(posix_spawnattr_t& attributes)
{
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
}
} // namespace

void start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors)
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
    set_default_signals(attributes);
    const int error = posix_spawnp(&child.process, arguments[0], &actions, &attributes,
                                   arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), words[0]);
}

std::string built_program(const std::string& name)
{
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename(name);
}

std::string backend_program()
{
    const char* const launcher = std::getenv("BACKEND_LAUNCHER");
    return launcher == nullptr ? built_program("routing_switcher_backend") : launcher;
}

int status_at_end(child_process& child)
{
    int status = 0;
    checked(waitpid(std::exchange(child.process, -1), &status, 0));
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void start_line_program(line_program& program, const std::vector<std::string>& words)
{
    descriptor_pair input = pipe_to_child();
    descriptor_pair output = pipe_from_child();
    start_child(program.child, words, {input.childs.number, output.childs.number, STDERR_FILENO});
    program.input = std::move(input.ours);
    program.output = std::move(output.ours);
    checked(fcntl(program.output.number, F_SETFL, O_NONBLOCK));
}

void add_poll_descriptor(const line_program& program, std::vector<pollfd>& descriptors)
{
    if (program.output.number >= 0) descriptors.push_back({program.output.number, POLLIN, 0});
}

void serve_line_program(line_program& program)
{
    char bytes[4096];
    ssize_t count = 0;
    while ((count = read(program.output.number, bytes, sizeof bytes)) > 0)
        program.partial.append(bytes, static_cast<std::size_t>(count));
    if (count == 0) program.output.reset();
    for (std::size_t end = 0; (end = program.partial.find('\n')) != std::string::npos;) {
        program.lines.push_back(program.partial.substr(0, end));
        program.partial.erase(0, end + 1);
    }
}
