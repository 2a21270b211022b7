#include "frame/main_loop.h"

#include <csignal>

#include "common/clock.h"
#include "common/loop_flags.h"
#include "control/reports.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/discovery.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
constexpr timeval IDLE_WAIT = {0, 250'000};
constexpr timeval PACING_WAIT = {0, 50'000};
} // namespace

void handle_termination_signal(int signal_number)
{
    if (signal_number == SIGHUP || signal_number == SIGINT || signal_number == SIGPIPE ||
        signal_number == SIGTERM)
        quit_requested = true;
}

namespace {
// Whether route changes are held back for pacing and nothing else is in flight.
bool only_pacing_is_due(us_time_t now)
{
    return !parent_output_pending() && !connect_in_progress && router_rx_queue.empty() &&
           router_tx_buffer.empty() && incoming_message.raw.empty() &&
           !pending_route_changes.empty() && now < flush_allow_time;
}

// The result of the wait is of no interest: every step finds out for itself what there is to do.
void wait_for_work()
{
    // Read also by a pass that does not wait: each looks at the clock here once.
    const us_time_t now = now_us();
    if (parent_record_ready() != nullptr || info_report_pending || io_counts_changed ||
        drain_interrupted)
        return;
    fd_set readable;
    FD_ZERO(&readable);
    int descriptor_count = router_fd + 1;
    if (router_fd >= 0) FD_SET(router_fd, &readable);
    add_parent_descriptors(readable, descriptor_count);
    wait_for_descriptors(descriptor_count, &readable, nullptr,
                         only_pacing_is_due(now) ? PACING_WAIT : IDLE_WAIT);
}
} // namespace

// Held-back changes go before anything can put them off for seconds. A close comes before the
// attempt that may follow it in the same pass, and routes known from the pass before are told
// before a new router can change them. Discovery comes after the connection that asks for it;
// counts after all that changes them, reports after the counts that they show. The parent comes
// last: its command finds everything told.
bool main_loop_pass()
{
    if (quit_requested) return false;
    pace_route_changes();
    if (disconnect_requested) {
        close_router_connection();
        disconnect_requested = false;
    }
    send_routing_report();
    connect_to_router();
    service_router_connection();
    periodic_status_request();
    if (discovery_needed && !drain_interrupted) { // discovery throws away what waits
        run_discovery();
        discovery_needed = false;
    }
    if (io_counts_changed) {
        recompute_io_counts();
        io_counts_changed = false;
    }
    if (info_report_pending) {
        info_report_pending = false;
        send_info_report();
    }
    if (inputs_report_pending) {
        inputs_report_pending = false;
        send_inputs_report();
    }
    if (outputs_report_pending) {
        outputs_report_pending = false;
        send_outputs_report();
    }
    wait_for_work();
    if (service_parent_channel() < 0) return false;
    dispatch_parent_record();
    return true;
}
