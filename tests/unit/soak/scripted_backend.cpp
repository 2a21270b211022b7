#include "unit/soak/scripted_backend.h"

#include <csignal>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/fake_clock.h"
#include "tools/common/lines.h"
#include "tools/common/numbers.h"

namespace soak {

namespace {
constexpr int PORTS = 64;
constexpr us_time_t MOMENT_US = 20'000;
constexpr std::size_t MOST_LINES_AT_REST = 100;   // that come in a moment without a flood
constexpr us_time_t BETWEEN_CHANGES_US = 300'000; // of another operator

void open(common::owned_descriptor& reads, common::owned_descriptor& writes)
{
    std::string error;
    ASSERT_TRUE(common::open_pipe(reads, writes, error)) << error;
    ASSERT_TRUE(common::set_nonblocking(reads.number, error)) << error;
    ASSERT_TRUE(common::set_nonblocking(writes.number, error)) << error;
}

// Writes what the pipe holds.
void flush(const common::owned_descriptor& pipe, std::string& unsent)
{
    const ssize_t count = write(pipe.number, unsent.data(), unsent.size());
    if (count > 0) unsent.erase(0, static_cast<std::size_t>(count));
}

void wait_for_end(const parent_link::backend_link& link)
{
    pollfd ended{.fd = link.process_fd.number, .events = POLLIN, .revents = 0};
    poll(&ended, 1, -1);
}
} // namespace

// The link also has a process, which does nothing but end as it is told.
scripted_backend::scripted_backend() : routes(PORTS)
{
    std::iota(routes.begin(), routes.end(), 0);
    common::owned_descriptor status_input;
    std::string error;
    EXPECT_TRUE(common::open_pipe(status_input, ender, error)) << error;
    link.child.process = fork(); // before there are pipes that it would keep open
    if (link.child.process == 0) {
        ender.reset(); // or it would outlive a test that crashes
        char status = 0;
        _exit(read(status_input.number, &status, 1) == 1 ? status : 0);
    }
    open(commands, link.pipes.input);
    open(link.pipes.output, records);
    open(link.pipes.errors, diagnostics);
    open(router_lines, events);
    link.process_fd =
        common::owned_descriptor(static_cast<int>(syscall(SYS_pidfd_open, link.child.process, 0)));
    signal(SIGPIPE, SIG_IGN);
}

scripted_backend::~scripted_backend()
{
    close_backend(link);
    signal(SIGPIPE, SIG_DFL);
}

void scripted_backend::pass(std::vector<pollfd>& descriptors)
{
    advance_us(MOMENT_US);
    if (client == 0) connect();
    if (up && operators_take && now_us() >= next_change) {
        next_change = now_us() + BETWEEN_CHANGES_US;
        const auto output = static_cast<int>(now_us() / BETWEEN_CHANGES_US) % PORTS;
        changes(output, (routes[static_cast<std::size_t>(output)] + 1) % PORTS, "scenario");
    }
    std::string bytes;
    const bool goes_on = common::read_available(commands.number, bytes);
    common::cut_lines(bytes, partial_command, command_lines);
    if (!answers_floods && command_lines.size() > MOST_LINES_AT_REST) answers = false;
    for (; !command_lines.empty(); command_lines.pop_front()) {
        if (!command_lines.front().empty()) {
            decode_record_line(command, command_lines.front());
            continue;
        }
        handle(command);
        clear(command);
    }
    if (events.number >= 0) flush(events, unsent_events);
    flush(diagnostics, unsent_diagnostics);
    flush(records, unsent_records);
    if (!goes_on && ends_with_input) ends();
    poll(descriptors.data(), descriptors.size(), 0);
}

void scripted_backend::router_tells(const std::string& members)
{
    unsent_events += "{\"time\":1.0," + members + "}\n";
}

void scripted_backend::changes(int output, int input, const std::string& by)
{
    routes[static_cast<std::size_t>(output)] = input;
    router_tells("\"event\":\"take\",\"destination\":" + std::to_string(output + 1) +
                 ",\"source\":" + std::to_string(input + 1) + ",\"by\":\"" + by + "\"");
    report({{output, input}});
}

void scripted_backend::report(const std::map<int, int>& changed)
{
    ParentRecord record{
        .command = "outputs", .error = "", .type = "message", .id = "", .fields = {}};
    for (const auto& [output, input] : changed) {
        if (accepts)
            says("<DBG>Accepting route change output=" + std::to_string(output) +
                 " input=" + std::to_string(input));
        record.fields["o" + std::to_string(output) + ".input.all"] = std::to_string(input);
    }
    if (reports) sends(record);
}

void scripted_backend::says(const std::string& line)
{
    unsent_diagnostics += line + "\n";
}

void scripted_backend::sends(const ParentRecord& record)
{
    encode_record(record, unsent_records);
}

void scripted_backend::connect()
{
    if (!reaches_router) return;
    up = true;
    router_tells("\"event\":\"connected\",\"client\":" + std::to_string(++client));
    says("<NOTE>Connection sucessful.");
    says("<DBG>Router finished returning levels, sources, destinations");
    const std::string all = std::to_string(PORTS);
    sends({"info", "", "message", "", {{"inputs", all}, {"outputs", all}}});
    std::map<int, int> shown;
    for (int i = 0; i < PORTS; ++i)
        shown[i] = routes[static_cast<std::size_t>(i)];
    report(shown);
}

// Of the other port, where there is no router.
void scripted_backend::visit()
{
    visits = true;
    says("<NOTE>Connection sucessful.");
    says("<NOTE>Connection suddenly dropped");
    says("<NOTE>Connection to router closed");
}

void scripted_backend::disconnect()
{
    up = false;
    router_tells("\"event\":\"gone\",\"client\":" + std::to_string(client));
    says("<NOTE>Connection to router closed");
}

void scripted_backend::ends()
{
    flush(records, unsent_records);
    const char status = static_cast<char>(exit_status);
    common::write_all(ender.number, {&status, 1});
    wait_for_end(link);
}

void scripted_backend::is_killed()
{
    kill(link.child.process, SIGKILL);
    wait_for_end(link);
}

void scripted_backend::router_ends()
{
    disconnect();
    reaches_router = false;
    events.reset();
}

void scripted_backend::handle(const ParentRecord& record)
{
    const auto field = [&](const char* name) {
        const auto found = record.fields.find(name);
        return found == record.fields.end() ? "" : found->second;
    };
    if (record.type == "reply") return;
    ParentRecord reply{
        .command = record.command, .error = "", .type = "reply", .id = record.id, .fields = {}};
    if (record.command == "set") {
        if (field("name") != "port") return;
        const bool away = field("value") == "1";
        if (up && away) disconnect();
        if (away && follows_port) visit();
        if (!up && !away && reconnects) connect();
        return;
    }
    if (record.command == "route output") {
        int output = -1;
        int input = -1;
        if (field("queue") == "add" && common::read_decimal(field("to output"), output) &&
            common::read_decimal(field("from input"), input) && output >= 0 && output < PORTS &&
            input >= 0 && input < PORTS)
            staged[output] = input;
        if (field("queue") == "discard") staged.clear();
        if (field("queue") == "flush") {
            for (const auto& [to, from] : staged)
                if (up && carries_out) changes(to, from, "client");
            staged.clear();
        }
    } else if (record.command == "report") {
        if (field("what") == "outputs" && loses_answers)
            router_tells(R"("event":"fault","fault":"lose","client":1)");
        const bool known = field("what") == "inputs" || field("what") == "outputs";
        reply.command = known ? "" : "report";
        reply.error = known ? "" : "I do not recognize what you are asking for";
    } else if (record.type == "message") {
        reply.error = "Message " + record.command + " ignored";
    } else {
        reply.error = "Unknown command " + record.command;
    }
    if (!wrong_error.empty()) reply.error = std::exchange(wrong_error, "");
    if (answers && !std::exchange(skips_reply, false)) sends(reply);
}

} // namespace soak
