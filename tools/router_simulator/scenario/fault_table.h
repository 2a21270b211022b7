// The table of faults: everything that knows their names, keys or kinds reads it here.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "router_simulator/scenario/fault.h"

namespace router_simulator {

// Those of replies first, in the order in which people are told of them.
std::span<const fault_row> all_faults();

// Null when there is none of this name.
const fault_row* fault_named(std::string_view name);

bool concerns_reply(const fault_row& fault);

// The key's name in the file; nothing else has it but for "ms" and "bytes", which have two
// meanings.
const char* key_name(fault_key key);

bool has_key(const fault_row& fault, fault_key key);

// The names of all faults, for help on the command line.
std::string fault_help();

} // namespace router_simulator
