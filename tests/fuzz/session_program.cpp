#include "fuzz/session_program.h"

#include <cerrno>

#include "common/loop_flags.h"
#include "common/numbers.h"
#include "fuzz/played_router.h"
#include "fuzz/played_world.h"
#include "router_link/message.h"
#include "support/frames.h"

namespace {
// Programs that sleep for hours would only be slow.
constexpr us_time_t LONGEST_PLAY_US = 40'000'000;

// A silent router and thousands of unread bytes make it long; usually it is a few milliseconds.
constexpr us_time_t LONGEST_END_US = 60'000'000;

// Commands of which each asks for all outputs, up to 256: more than can be nested, not much more.
constexpr unsigned MOST_QUERIES = 80;
} // namespace

session_program program;

namespace {
unsigned number()
{
    return read_number(program.input);
}

std::string decimal()
{
    return std::to_string(number());
}

std::string text()
{
    return read_text(program.input);
}
} // namespace

void parent_commands(const std::string& lines)
{
    parent_sends("*ID=" + std::to_string(++program.commands_sent) + "\n" + lines + "\n\n");
}

namespace {
void add_route_change(const std::string& more = "")
{
    const std::string output = decimal();
    parent_commands("*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=" + output +
                    "\nfrom input=" + decimal() + more);
}

void send_any_bytes_to_backend()
{
    if (number() % 2 == 0) {
        parent_sends(text());
    } else {
        router_sends(text());
    }
}

void send_route_command()
{
    const std::string route_output = "*COMMAND=route output\n*TYPE=command\nqueue=";
    switch (number() % 5) {
    case 0:
        return add_route_change();
    case 1:
        return add_route_change("\ncontrol=" + text());
    case 2:
        return parent_commands(route_output + "flush");
    case 3:
        return parent_commands(route_output + "discard");
    default:
        return parent_commands(route_output + text());
    }
}

// A burst of takes, as a control system sends it.
void take_routes()
{
    for (unsigned count = number() % 32 + 1; count > 0; --count)
        add_route_change();
    parent_commands("*COMMAND=route output\n*TYPE=command\nqueue=flush");
}

void send_report_command()
{
    const std::string report = "*COMMAND=report\n*TYPE=command\nwhat=";
    const unsigned choice = number();
    if (choice % 4 == 1) return parent_commands(report + "inputs");
    if (choice % 4 == 2) return parent_commands(report + text());
    for (unsigned count = choice / 4; count > 0 && program.queries < MOST_QUERIES; --count) {
        ++program.queries;
        parent_commands(report + "outputs");
    }
}

void send_setting()
{
    const std::string set = "*COMMAND=set\n*TYPE=message\nname=";
    switch (number() % 5) {
    case 0:
        return parent_commands(set + "inputs\nvalue=" + decimal());
    case 1:
        return parent_commands(set + "outputs\nvalue=" + decimal());
    case 2:
        return parent_commands(set + "ip address\nvalue=127.0.0." + decimal());
    case 3:
        return parent_commands(set + "port\nvalue=" + decimal());
    default:
        return parent_commands(set + text());
    }
}

void send_other_record()
{
    const std::string type = number() % 2 == 0 ? "command" : "message";
    parent_commands("*COMMAND=" + text() + "\n*TYPE=" + type);
}

void send_frame()
{
    const char seq = number() % 2 == 0 ? '0' : '1';
    std::string content = "N";
    content += seq;
    content += text();
    router_sends(frame(content));
}

void send_bad_frame()
{
    const unsigned choice = number();
    const std::string content = text();
    switch (choice % 6) {
    case 0:
        return router_sends(std::string(1, ACK));
    case 1:
        return router_sends(NAK + content + EOT);
    case 2:
        return router_sends(SOH + content + EOT);
    case 3:
        return router_sends(frame("N0" + content + std::string(4096, 'x')));
    case 4:
        return router_sends(std::string(1, SOH) + '\0' + content);
    default:
        return router_sends(std::string(std::size_t{choice} * 16, ACK));
    }
}

void send_route_report()
{
    const std::string output = upper_hex(number());
    for (unsigned count = number(); count > 0; --count)
        router_sends(frame(body("IQ", {output, "0", "N", "N", upper_hex(count)})));
}

void change_router()
{
    const unsigned sources = number() * 4;
    const unsigned destinations = number() * 4;
    set_router_size(sources, destinations, number());
    router.levels = number() % 40;
}

void change_answers()
{
    router.answers = number() % 4 != 0;
    router.delay = us_time_t{number()} * number() * 100;
    router.entries_a_message = number() % 16 + 1;
}

void take_elsewhere()
{
    const unsigned destination = number();
    change_route(destination, number());
}

void let_time_pass()
{
    constexpr us_time_t UNITS_US[] = {1, 1000, 10'000, 100'000, 1'000'000};
    const us_time_t unit = UNITS_US[number() % 5];
    const us_time_t interval = unit * (number() % 32);
    program.played_time += interval;
    if (program.played_time <= LONGEST_PLAY_US) program.next_step_at = world.now + interval;
}

// After so many good ones, so many calls fail.
void fail_later(std::deque<int>& errors, int error)
{
    const unsigned good = number() % 64;
    errors.insert(errors.end(), good, 0);
    errors.insert(errors.end(), number() % 16 + 1, error);
}

void fail_router_reads()
{
    constexpr int ERRORS[] = {EINTR, EAGAIN, ECONNRESET, ETIMEDOUT};
    fail_later(world.router.input.errors, ERRORS[number() % 4]);
}

void fail_router_writes()
{
    constexpr int ERRORS[] = {EINTR, EAGAIN, EPIPE, ECONNRESET, WRITES_NOTHING};
    fail_later(world.router.output.errors, ERRORS[number() % 5]);
}

void fail_parent_reads()
{
    constexpr int ERRORS[] = {EINTR, EAGAIN, EIO};
    const int error = ERRORS[number() % 3];
    if (error == EIO) program.may_end = true;
    fail_later(world.parent.input.errors, error);
}

void fail_parent_writes()
{
    constexpr int ERRORS[] = {EINTR, EAGAIN, EPIPE, WRITES_NOTHING};
    const int error = ERRORS[number() % 4];
    if (error == EPIPE || error == WRITES_NOTHING) program.may_end = true;
    fail_later(world.parent.output.errors, error);
}

void shorten_calls()
{
    world.router.input.longest_read = number() + 1;
    world.router.output.longest_write = number() + 1;
    const std::size_t length = number();
    world.parent.output.longest_write = length * length + 1;
}

// The parent does not read: the pipe takes so many more bytes.
void fill_pipe()
{
    world.parent.output.room = number() % 2 == 0 ? SIZE_MAX : std::size_t{number()} * 16;
}

void change_connecting()
{
    const unsigned choice = number();
    const auto outcome = static_cast<connect_outcome>(choice % 6);
    world.connecting = outcome;
    if (choice / 6 % 2 == 1) set_attempt(outcome);
}

void end_link()
{
    world.router.input.ended = true;
}

// Half-open: what is sent is lost, and nothing comes any more.
void lose_link()
{
    world.established = false;
}

void fail_close()
{
    world.failing_closes = static_cast<int>(number() % 4);
}

void interrupt_waits()
{
    world.interrupted_waits = static_cast<int>(number() % 16);
}

void end_session()
{
    const unsigned choice = number();
    if (choice != 'q' && choice != 'e') return; // seldom: nothing comes after it
    program.may_end = true;
    program.must_end_by = world.now + LONGEST_END_US;
    if (choice == 'q') {
        quit_requested = true;
    } else {
        world.parent.input.ended = true;
    }
}

void (*const STEPS[])() = {
    let_time_pass,
    send_any_bytes_to_backend,
    send_route_command,
    take_routes,
    send_report_command,
    send_setting,
    send_other_record,
    send_frame,
    send_bad_frame,
    send_route_report,
    change_router,
    change_answers,
    take_elsewhere,
    fail_router_reads,
    fail_router_writes,
    fail_parent_reads,
    fail_parent_writes,
    shorten_calls,
    fill_pipe,
    change_connecting,
    end_link,
    fail_close,
    interrupt_waits,
    end_session,
    lose_link,
};
} // namespace

bool program_is_over()
{
    return program.input.rest.empty() && world.now >= program.next_step_at;
}

void play_program()
{
    while (!program.input.rest.empty() && world.now >= program.next_step_at)
        STEPS[number() % std::size(STEPS)]();
    send_due_answers();
    world.next_event = program.input.rest.empty() ? NEVER : program.next_step_at;
    if (!router.on_its_way.empty())
        world.next_event = std::min(world.next_event, router.on_its_way.front().first);
}
