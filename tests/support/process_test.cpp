#include "support/process_test.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sys/ioctl.h>
#include <utility>

#include "support/patience.h"

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {
// Between two looks at what shows itself without an event at a descriptor.
constexpr int LOOK_AGAIN_MS = 20;

std::string text_of(const ParentRecord& record)
{
    std::string text;
    encode_record(record, text);
    return text;
}
} // namespace

void ProcessTest::TearDown()
{
    if (!HasFailure()) return;
    serve_backend(backend);
    std::printf("The backend %s. Its diagnostics:\n", describe_end(backend).c_str());
    for (const std::string& line : backend.diagnostics)
        std::printf("  %s\n", line.c_str());
}

void ProcessTest::start(const std::string& settings)
{
    const std::string config = directory.file("router.conf", settings);
    ASSERT_TRUE(start_backend(backend, backend_program(), {"--file", config}, error)) << error;
}

std::string ProcessTest::router_settings() const
{
    return "ip address = 127.0.0.1\nport = " + std::to_string(router.port) + "\n";
}

void ProcessTest::start_on_router(const std::string& settings)
{
    if (!router.listening) listen_for_client(router);
    start(router_settings() + settings);
}

void ProcessTest::start_connected()
{
    router.answers = healthy_answers();
    start_on_router();
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 2; }));
}

void ProcessTest::start_simulator(const std::vector<std::string>& options)
{
    std::uint16_t port = 0;
    ASSERT_TRUE(common::start_simulated_router(simulator, built_program("router_simulator"),
                                               options, port, error))
        << error;
    simulator_port = std::to_string(port);
}

void ProcessTest::start_on_simulator(parent_link::backend_link& link, const std::string& settings)
{
    const std::string config = directory.file(
        "simulator.conf", "ip address = 127.0.0.1\nport = " + simulator_port + "\n" + settings);
    ASSERT_TRUE(start_backend(link, backend_program(), {"--file", config}, error)) << error;
}

namespace {
// For how long the system has let the process wait for a core: "RUN WAITED TIMES".
std::chrono::nanoseconds unserved_time(pid_t process)
{
    std::ifstream figures("/proc/" + std::to_string(process) + "/schedstat");
    std::chrono::nanoseconds::rep run = 0;
    std::chrono::nanoseconds::rep waited = 0;
    figures >> run >> waited;
    return std::chrono::nanoseconds(waited);
}
} // namespace

bool ProcessTest::until(const std::function<bool()>& done)
{
    const auto deadline = steady_clock::now() + PATIENCE;
    for (auto turn = steady_clock::now(); !done();) {
        const auto last_turn = std::exchange(turn, steady_clock::now());
        late += std::max<std::chrono::nanoseconds>(turn - last_turn - LOOK_AGAIN_MS * 1ms, 0ns);
        backend_unserved = std::max(backend_unserved, unserved_time(backend.child.process));
        simulator_unserved = std::max(simulator_unserved, unserved_time(simulator.child.process));
        if (turn > deadline) return false;
        std::vector<pollfd> descriptors;
        add_poll_descriptors(backend, descriptors);
        add_poll_descriptors(second_backend, descriptors);
        add_poll_descriptors(router, descriptors);
        add_poll_descriptor(simulator, descriptors);
        poll(descriptors.data(), descriptors.size(), LOOK_AGAIN_MS);
        serve_backend(backend);
        serve_backend(second_backend);
        serve_router(router);
        serve_line_program(simulator);
    }
    return true;
}

std::chrono::milliseconds ProcessTest::starved_for() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(late + backend_unserved +
                                                                 simulator_unserved);
}

namespace {
// The next record with this line, as text; those before it are dropped. "" when there is none.
std::string next_with_line(std::deque<ParentRecord>& records, const std::string& line)
{
    while (!records.empty()) {
        const std::string text = text_of(records.front());
        records.pop_front();
        if (("\n" + text).find("\n" + line + "\n") != std::string::npos) return text;
    }
    return "";
}
} // namespace

std::string ProcessTest::hear_line(parent_link::backend_link& link, const std::string& line)
{
    std::string text;
    until([&] {
        text = next_with_line(link.records, line);
        return !text.empty() || link.ended;
    });
    return text;
}

std::string ProcessTest::hear_route(parent_link::backend_link& link, const std::string& line,
                                    const std::function<void()>& again)
{
    std::string text;
    long thrown_away = 0;
    until([&] {
        text = next_with_line(link.records, line);
        if (!text.empty() || link.ended) return true;
        const long before = std::exchange(thrown_away, statuses_thrown_away(link));
        if (thrown_away <= before) return false;
        if (again)
            again();
        else
            send_bytes(link, "*COMMAND=report\n*TYPE=command\nwhat=outputs\n\n");
        return false;
    });
    return text;
}

std::string ProcessTest::hear(parent_link::backend_link& link, const std::string& command)
{
    return hear_line(link, "*COMMAND=" + command);
}

void ProcessTest::say(const std::string& lines)
{
    send_bytes(backend, lines + "\n\n");
}

void ProcessTest::take(parent_link::backend_link& link, int output, int input)
{
    send_bytes(link, "*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=" +
                         std::to_string(output) + "\nfrom input=" + std::to_string(input) +
                         "\n\n*COMMAND=route output\n*TYPE=command\nqueue=flush\n\n");
}

namespace {
// Whether the line stands at or after the position, which then moves behind it, otherwise to the
// end.
bool find_line(const std::deque<std::string>& lines, std::size_t& position, const std::string& line)
{
    while (position < lines.size())
        if (lines[position++] == line) return true;
    return false;
}
} // namespace

bool ProcessTest::logs(const std::string& line)
{
    bool there = false;
    until([&] {
        there = find_line(backend.diagnostics, diagnostics_seen, line);
        return there || backend.ended;
    });
    return there;
}

bool ProcessTest::simulator_prints(const std::string& line)
{
    return until([&] { return find_line(simulator.lines, simulator_lines_seen, line); });
}

std::string ProcessTest::end()
{
    until([this] { return backend.ended; });
    return describe_end(backend);
}

std::string ProcessTest::last_line() const
{
    return backend.diagnostics.empty() ? "" : backend.diagnostics.back();
}

// Each that is read is a line, and each that is handled another one behind it.
long statuses_thrown_away(const parent_link::backend_link& link)
{
    static const std::string READ = "<DBG>Router: MSG N"; // the sequence byte and IQ follow
    long unhandled = 0;
    long thrown_away = 0;
    for (const std::string& line : link.diagnostics) {
        if (line.starts_with(READ) && line.find("IQ\t") == READ.size() + 1) ++unhandled;
        if (line.starts_with("<DBG>Accepting route change ")) --unhandled;
        if (line.starts_with("<DBG>Sending periodic status request ")) thrown_away = unhandled;
    }
    return thrown_away;
}

namespace {
long status_figure(pid_t process, const std::string& name)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        long figure = 0;
        if (word == name && status >> figure) return figure;
    }
    return -1;
}
} // namespace

long voluntary_switches(pid_t process)
{
    return status_figure(process, "voluntary_ctxt_switches:");
}

long resident_kb(pid_t process)
{
    return status_figure(process, "VmRSS:");
}

int bytes_unread(int descriptor)
{
    int count = -1;
    ioctl(descriptor, FIONREAD, &count);
    return count;
}
