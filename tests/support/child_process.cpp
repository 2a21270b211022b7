#include "support/child_process.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include "support/descriptors.h"

descriptor_pair pipe_from_child()
{
    descriptor_pair ends;
    std::string error;
    if (!common::open_pipe(ends.ours, ends.childs, error)) throw std::runtime_error(error);
    return ends;
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
    common::read_to_end(descriptor, text);
    return text;
}

void write_all(int descriptor, std::string_view bytes)
{
    if (!common::write_all(descriptor, bytes))
        throw std::system_error(errno, std::generic_category());
}

void start_child(child_process& child, const std::vector<std::string>& words,
                 const std::array<int, 3>& descriptors)
{
    std::string error;
    if (!common::start_child(child, words, descriptors, error)) throw std::runtime_error(error);
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
