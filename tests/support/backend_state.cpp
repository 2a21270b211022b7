#include "support/backend_state.h"

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
// Each becomes what its type begins with: 0, false or empty.
template <typename... Variables>
void empty_all(Variables&... variables)
{
    ((variables = Variables{}), ...);
}

void reset_loop_flags()
{
    quit_requested = false;
    empty_all(disconnect_requested, discovery_needed, inputs_report_pending,
              outputs_report_pending);
    io_counts_changed = info_report_pending = true;
}

void reset_settings()
{
    empty_all(configured_inputs, configured_outputs, router_ip_address);
    router_port = -1;
}

void reset_parent_channel()
{
    empty_all(incoming_record, parent_line, record_complete, parent_input_ended, parent_output,
              parent_output_written, active_record_handlers, output_is_null_device,
              diagnostics_are_null_device);
    record_reset_pending = true;
    set_parent_record_handler(nullptr);
}

void reset_router_link()
{
    reset_receive_parser();
    empty_all(router_rx_queue, last_router_activity, connect_in_progress, next_connect_attempt,
              router_tx_buffer, router_tx_offset, next_status_request, drain_interrupted);
    router_fd = -1;
}

void reset_router_model()
{
    empty_all(discovered_inputs, discovered_outputs, input_index_base, output_index_base,
              router_inputs_info, router_outputs_info, router_levels, level_mask, device_model,
              software_title, software_revision, firmware_version, number_of_inputs,
              number_of_outputs, accepted_route_changes);
    empty_all(staged_route_changes, pending_route_changes, flush_allow_time, queue_timeout_time);
}
} // namespace

void reset_backend_state()
{
    reset_loop_flags();
    reset_settings();
    reset_parent_channel();
    reset_router_link();
    reset_router_model();
}
