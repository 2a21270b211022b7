// Rebuilds the source and destination tables from a complete set of the router's name answers.
//
// An answer's parameters are the name kind, the number of entries in hexadecimal, then per entry
// four: name, router index (hexadecimal), one that is not used, attribute (hexadecimal).
//
// Each update replaces the whole table, sets its index base and discovered count, and sets
// io_counts_changed, info_report_pending and its own names report flag, also when the list holds
// nothing usable. The base is the index of the first valid entry, not the smallest: the router is
// expected to list its entries in ascending order, and an entry below the base is skipped.
#pragma once

#include <vector>

#include "router_link/message.h"

// Source answers are of the kind "S" or "IS".
void update_sources_info(const std::vector<router_message>& answers);

// Destination answers are of the kind "D" or "ID".
void update_dest_info(const std::vector<router_message>& answers);
