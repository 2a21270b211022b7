#include "support/backend_test.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "control/commands.h"
#include "frame/main_loop.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "support/backend_state.h"
#include "support/descriptors.h"
#include "tools/common/descriptors.h"

router_message received(std::string_view mnemonic, const std::vector<std::string>& parameters,
                        char seq)
{
    router_message message;
    message.protocol = 'N';
    message.seq = seq;
    message.request = {mnemonic[0], mnemonic[1], '\0'};
    message.parameters = parameters;
    message.ok = true;
    const std::string whole = frame(body(mnemonic, parameters, seq));
    message.raw = whole.substr(1, whole.size() - 2);
    return message;
}

namespace {
// Diagnostics that a test may leave unread. Where they do not fit, the test fails: it would wait
// for ever if writing them blocked.
constexpr int DIAGNOSTICS_CAPACITY = 1 << 20;
} // namespace

void BackendTest::SetUp()
{
    reset_backend_state();
    reset_fake_clock();
    reset_forced_results();
    int input[2];
    int output[2];
    ASSERT_EQ(pipe(input), 0);
    ASSERT_EQ(pipe(output), 0);
    int diagnostics_pipe[2];
    ASSERT_EQ(pipe(diagnostics_pipe), 0);
    ASSERT_GE(fcntl(diagnostics_pipe[1], F_SETPIPE_SZ, DIAGNOSTICS_CAPACITY), DIAGNOSTICS_CAPACITY);
    for (int descriptor = 0; descriptor < 3; ++descriptor)
        saved_descriptors[descriptor] = fcntl(descriptor, F_DUPFD_CLOEXEC, 10);
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    dup2(diagnostics_pipe[1], STDERR_FILENO);
    close(input[0]);
    close(output[1]);
    close(diagnostics_pipe[1]);
    fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
    fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    std::clearerr(stderr);
    parent_input_end = input[1];
    parent_output_end = output[0];
    fcntl(parent_output_end, F_SETFL, O_NONBLOCK);
    diagnostics_end = diagnostics_pipe[0];
    fcntl(diagnostics_end, F_SETFL, O_NONBLOCK);
    on_fake_wait = [this] {
        serve_router();
    };
}

void BackendTest::TearDown()
{
    EXPECT_EQ(std::ferror(stderr), 0) << "more diagnostics than fit unread";
    if (HasFailure()) std::printf("standard error of the backend:\n%s\n", diagnostics().c_str());
    on_fake_wait = nullptr;
    on_connect = nullptr;
    if (router_fd >= 0) close(router_fd);
    router_fd = -1;
    router_closes();
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        dup2(saved_descriptors[descriptor], descriptor);
        close(saved_descriptors[descriptor]);
    }
    parent_closes();
    parent_closes_output();
    close_if_open(diagnostics_end);
}

void BackendTest::parent_says(const std::string& lines)
{
    parent_says_bytes(lines + "\n\n");
}

void BackendTest::parent_says_bytes(std::string_view bytes)
{
    ASSERT_EQ(write(parent_input_end, bytes.data(), bytes.size()),
              static_cast<ssize_t>(bytes.size()));
}

int BackendTest::parent_bytes_unread()
{
    int count = -1;
    ioctl(STDIN_FILENO, FIONREAD, &count);
    return count;
}

// A carriage return is read and ignored, and each dispatch reads two bytes.
void BackendTest::parent_says_at_dispatch(int n, const std::string& lines)
{
    const std::size_t ignored = 2 * static_cast<std::size_t>(n - 1);
    parent_says_bytes(lines + "\n" + std::string(ignored, '\r') + "\n");
    for (std::size_t i = 0; i < lines.size() + 1; ++i)
        read_parent_byte();
}

void BackendTest::parent_closes()
{
    close_if_open(parent_input_end);
}

void BackendTest::parent_closes_output()
{
    close_if_open(parent_output_end);
}

namespace {
std::string read_all(int descriptor)
{
    std::string bytes;
    common::read_available(descriptor, bytes);
    return bytes;
}
} // namespace

std::string BackendTest::parent_hears()
{
    return read_all(parent_output_end);
}

std::string BackendTest::diagnostics()
{
    return read_all(diagnostics_end);
}

void BackendTest::connect_router()
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    router_fd = ends[0];
    router_end = ends[1];
    connect_in_progress = false;
    last_router_activity = fake_now_us;
}

void BackendTest::router_accepts_connections()
{
    on_connect = [this](int descriptor, const sockaddr_in&) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0)
            return -1;
        dup2(ends[0], descriptor);
        close(ends[0]);
        router_closes();
        router_end = ends[1];
        errno = EINPROGRESS;
        return -1;
    };
}

void BackendTest::router_says(std::string_view mnemonic, const std::vector<std::string>& parameters,
                              char seq)
{
    router_says_bytes(frame(body(mnemonic, parameters, seq)));
}

void BackendTest::router_says_bytes(std::string_view bytes)
{
    ASSERT_EQ(send(router_end, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

void BackendTest::router_closes()
{
    close_if_open(router_end);
}

void BackendTest::serve_router()
{
    if (router_end < 0) return;
    const std::string bytes = read_all(router_end);
    router_heard_bytes += bytes;
    router_pending_bytes += bytes;
    for (;;) {
        const std::size_t end = router_pending_bytes.find('\x04');
        if (end == std::string::npos) return;
        const std::string request = readable_request(router_pending_bytes.substr(0, end + 1));
        router_pending_bytes.erase(0, end + 1);
        router_heard.push_back(request);
        for (const auto& [awaited, answer] : answers)
            if (awaited == request && router_end >= 0) router_says_bytes(answer);
    }
}

std::vector<std::string> BackendTest::router_hears()
{
    serve_router();
    return std::exchange(router_heard, {});
}

std::string BackendTest::router_hears_bytes()
{
    serve_router();
    return std::exchange(router_heard_bytes, {});
}

void BackendTest::router_answers(const std::string& request, const std::string& bytes)
{
    answers.emplace_back(request, bytes);
}

void BackendTest::handle_parent_input()
{
    for (;;) {
        ParentRecord* const record = next_parent_record();
        if (record != nullptr) return handle_parent_record(*record);
        ASSERT_TRUE(!parent_line.empty() || !record_reset_pending) << "no record to handle";
    }
}

void BackendTest::install_commands()
{
    set_parent_record_handler(handle_parent_record);
}

void BackendTest::run_passes(int count)
{
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(main_loop_pass());
}

void BackendTest::run_until(us_time_t time)
{
    while (fake_now_us < time)
        ASSERT_TRUE(main_loop_pass());
}
