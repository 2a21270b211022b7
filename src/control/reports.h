// The four unsolicited records that tell the parent what the backend knows. None waits or takes
// parent records.
#pragma once

// The routes accepted since the last routing report, the latest per output; sends nothing when
// there are none. Empties accepted_route_changes.
void send_routing_report();

// The names of all outputs, or inputs, that the router has, whatever the effective count.
void send_outputs_report();
void send_inputs_report();

// The effective counts, the device's identity and the backend's.
void send_info_report();
