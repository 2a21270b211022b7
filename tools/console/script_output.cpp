#include "console/script_output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace console {

namespace {
constexpr int LAST_WAIT_MS = 1000; // for a reader, once a signal has come

// False when it takes nothing and the program is to end.
bool wait_for_reader(console_session& session)
{
    while (true) {
        const bool ends = session.signal != 0;
        std::array<pollfd, 2> watched = {
            {{STDOUT_FILENO, POLLOUT, 0}, {ends ? -1 : session.signals.number, POLLIN, 0}}};
        const int count = poll(watched.data(), watched.size(), ends ? LAST_WAIT_MS : -1);
        if (watched[0].revents != 0) return true;
        if (count == 0) return false;
        if (count > 0) take_signal(session);
    }
}

// As much as fits. False when it is no use to try again.
bool write_some(std::string_view& text)
{
    // A pipe that is ready takes so much at once.
    const ssize_t count =
        write(STDOUT_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    return count >= 0 || errno == EINTR || errno == EAGAIN;
}
} // namespace

void write_output(console_session& session, std::string_view text)
{
    if (session.unread) return;
    bool failed = false;
    while (!text.empty() && !failed && wait_for_reader(session)) {
        if (write_some(text)) continue;
        if (errno == EPIPE) break;
        failed = true;
        std::fprintf(stderr, "Cannot write the output: %s.\n", std::strerror(errno));
    }
    if (text.empty()) return;
    session.unread = session.quit = true;
    if (failed || !session.follow) session.worst = std::max(session.worst, verdict::refused);
}

} // namespace console
