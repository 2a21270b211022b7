// The backend whole, in its main loop, between a parent and a router in memory that do what the
// fuzzer's input says. Then both recover, and so must the backend: it answers every command that it
// has been given, finds the router again and takes a route. In the end the process-wide state is
// put back.
//
// The same input twice in a row must give the same session, byte by byte.

#include <cstdlib>
#include <optional>
#include <string>

#include "common/loop_flags.h"
#include "control/commands.h"
#include "frame/main_loop.h"
#include "frame/settings.h"
#include "fuzz/played_router.h"
#include "fuzz/played_world.h"
#include "fuzz/property.h"
#include "fuzz/session_checks.h"
#include "fuzz/session_program.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_model/state.h"
#include "support/backend_state.h"

namespace {
// From the worst state: a silent link is noticed, closed and opened again, and a whole discovery
// and a status cycle run out before.
constexpr us_time_t LONGEST_RECOVERY_US = 60'000'000;

std::optional<std::string> previous_input;
std::string previous_session;

void start_session(const std::uint8_t* data, std::size_t size)
{
    world.play = play_program;
    world.router_hears = played_router_hears;
    program.input = input_of(data, size);
    std::srand(1);
    set_parent_record_handler(handle_parent_record);
    apply_setting("ip address", "127.0.0.1");
    disconnect_requested = io_counts_changed = false;
}

// Returns whether the loop goes on.
bool pass()
{
    const bool goes_on = main_loop_pass();
    check_state();
    require(goes_on || program.may_end, "the loop ends only when it is told to");
    require(!goes_on || world.now <= program.must_end_by, "the loop ends when it is told to");
    return goes_on;
}

bool play_to_the_end()
{
    while (!program_is_over())
        if (!pass()) return false;
    return true;
}

// A parent's fault ends the loop only when the loop itself meets it; others pass unnoticed.
void run_to_its_end()
{
    const us_time_t latest = world.now + 2 * LONGEST_RECOVERY_US;
    while (world.now < latest && pass()) {
    }
}

void recover()
{
    for (played_side* side : {&world.parent, &world.router}) {
        side->input.errors.clear();
        side->input.longest_read = SIZE_MAX;
        side->output.errors.clear();
        side->output.longest_write = SIZE_MAX;
        side->output.room = SIZE_MAX;
    }
    world.connecting = connect_outcome::later;
    world.failing_closes = 0;
    world.interrupted_waits = 0;
    router.answers = true;
    router.delay = 0;
    set_router_size(4, 4, 1);
}

bool router_is_known()
{
    return router_link_is_up() && !discovery_needed && input_index_base == 1 &&
           output_index_base == 1 && number_of_inputs == 4 && number_of_outputs == 4;
}

// Everything said has been heard on both sides, and the router is known as it is.
bool is_at_rest()
{
    return router_is_known() && router.flags == 0 && world.parent.input.bytes.empty() &&
           !record_complete && !parent_output_pending() && accepted_route_changes.empty();
}

// An answer that was late may have been taken for the names, which the router then believes read:
// only when it announces them again are they asked for again.
void run_until_rest()
{
    const us_time_t latest = world.now + LONGEST_RECOVERY_US;
    do {
        require(world.now < latest, "the backend recovers in time");
        pass();
        if (router.flags == 0 && !router_is_known()) announce_names();
    } while (!is_at_rest());
}

// The first record ends whatever the parent has said in part.
void restore_settings()
{
    parent_sends("\nrest=\n\n");
    for (const char* setting :
         {"ip address\nvalue=127.0.0.1", "port\nvalue=", "inputs\nvalue=", "outputs\nvalue="})
        parent_commands(std::string("*COMMAND=set\n*TYPE=message\nname=") + setting);
}

void take_a_route()
{
    const us_time_t latest = world.now + LONGEST_RECOVERY_US;
    const std::size_t heard_before = world.parent.output.bytes.size();
    parent_commands("*COMMAND=route output\n*TYPE=command\nqueue=discard");
    parent_commands("*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=2\nfrom input=3");
    parent_commands("*COMMAND=route output\n*TYPE=command\nqueue=flush");
    while (world.parent.output.bytes.find("\no2.input.all=3\n", heard_before) ==
           std::string::npos) {
        require(world.now < latest, "a route that is asked for is taken and reported");
        pass();
    }
    require(router.routes[2] == 3, "the router has taken the route");
}

std::string whole_session()
{
    std::string session = world.parent.output.bytes;
    for (const std::string& bytes : world.earlier_output)
        session += bytes;
    session += world.router.output.bytes;
    for (const std::string& line : logged_lines)
        session += line;
    return session;
}

void check_repetition(const std::uint8_t* data, std::size_t size)
{
    const std::string input(input_of(data, size).rest);
    const std::string session = whole_session();
    require(input != previous_input || session == previous_session,
            "the same input gives the same session");
    previous_input = input;
    previous_session = session;
}

// Frees what it can: after an input that leaves more behind than there was before, the fuzzer looks
// for leaks, which takes its time.
void forget_session()
{
    reset_backend_state();
    world = {};
    router = {};
    program = {};
    logged_lines = {};
}

void end_session()
{
    world.failing_closes = 0;
    quit_requested = true;
    program.may_end = true;
    require(!pass(), "the loop ends at once when nothing is under way");
    close_router_connection();
    check_state();
    require(world.open_sockets.empty(), "no socket is left behind");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    capture_diagnostics();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    start_session(data, size);
    const bool goes_on = play_to_the_end();
    if (program.may_end) {
        if (goes_on) run_to_its_end();
    } else {
        recover();
        restore_settings();
        run_until_rest();
        take_a_route();
        run_until_rest();
    }
    check_conversation(!program.may_end);
    end_session();
    check_repetition(data, size);
    forget_session();
    return 0;
}
