// The four settings of the backend, from the configuration file at start and from the parent's
// "set" later. Any text is accepted: garbage reads as 0, and no range is enforced here.
#pragma once

#include <cstdint>
#include <string>

// All written by apply_setting alone.
extern std::int64_t configured_inputs;  // 0: as many as the router reports
extern std::int64_t configured_outputs; // 0: as many as the router reports
extern std::string router_ip_address;   // as inet_aton reads it; empty: do not connect
extern std::int32_t router_port;        // -1 when unset; below 1: the default port

// Applies one setting by its exact name; any other name is ignored. A changed count sets
// io_counts_changed, a changed address or port sets that and disconnect_requested.
void apply_setting(const std::string& name, const std::string& value);
