// The main loop's flags, one byte each: raised by whoever notices that something is due, consumed
// by the main loop at a fixed place of its pass. Discovery, which sends the info report itself,
// consumes io_counts_changed and info_report_pending as well.
#pragma once

#include <atomic>

// Ends the loop at the top of its next pass, and discovery. Written by the signal handler, hence
// the lock-free atomic.
extern std::atomic<bool> quit_requested;

// Close the router connection: its address or port has changed. Set by apply_setting.
extern bool disconnect_requested;

// A connection has just been established and its router is unknown. Set by the connection, which
// clears it on every close; discovery lowers it while it sends what was held back for its sake.
extern bool discovery_needed;

// The effective counts must be recomputed. Initially set; set by apply_setting and name updates.
extern bool io_counts_changed;

// A report is due. The info report is due at start, after name updates and when an effective count
// changes, the other two after name updates.
extern bool info_report_pending;
extern bool inputs_report_pending;
extern bool outputs_report_pending;
