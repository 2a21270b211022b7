#include "common/loop_flags.h"

std::atomic<bool> quit_requested{false};
static_assert(std::atomic<bool>::is_always_lock_free && sizeof quit_requested == 1);

bool disconnect_requested = false;
bool discovery_needed = false;
bool io_counts_changed = true;
bool info_report_pending = true;
bool inputs_report_pending = false;
bool outputs_report_pending = false;
