#include "support/backend_state.h"

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

void reset_backend_state()
{
    quit_requested = false;
    disconnect_requested = false;
    discovery_needed = false;
    io_counts_changed = true;
    info_report_pending = true;
    inputs_report_pending = false;
    outputs_report_pending = false;

    configured_inputs = 0;
    configured_outputs = 0;
    router_ip_address.clear();
    router_port = -1;

    clear(incoming_record);
    parent_line.clear();
    record_complete = false;
    record_reset_pending = true;
    parent_input_ended = false;
    parent_output.clear();
    parent_output_written = 0;
    active_record_handlers = 0;
    output_is_null_device = false;
    diagnostics_are_null_device = false;
    set_parent_record_handler(nullptr);

    reset_receive_parser();
    router_rx_queue.clear();
    last_router_activity = 0;

    router_fd = -1;
    connect_in_progress = false;
    next_connect_attempt = 0;
    router_tx_buffer.clear();
    router_tx_offset = 0;
    next_status_request = 0;
    drain_interrupted = false;

    discovered_inputs = 0;
    discovered_outputs = 0;
    input_index_base = 0;
    output_index_base = 0;
    router_inputs_info.clear();
    router_outputs_info.clear();
    router_levels.clear();
    level_mask = 0;
    device_model.clear();
    software_title.clear();
    software_revision.clear();
    firmware_version.clear();
    number_of_inputs = 0;
    number_of_outputs = 0;
    accepted_route_changes.clear();

    staged_route_changes.clear();
    pending_route_changes.clear();
    flush_allow_time = 0;
    queue_timeout_time = 0;
}
