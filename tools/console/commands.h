// The console's commands: words in; text for the person and records for the backend out. Nothing is
// sent from here and nothing waits.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/clock.h"
#include "console/router_view.h"
#include "parent/record.h"
#include "tools/common/words.h"

namespace console {

// Which diagnostics lines are shown. Lines about the link are shown as the view's notices instead,
// except at debug and note.
enum class log_level { off, warn, note, debug };

struct console_state {
    router_view view;
    log_level log = log_level::warn;
    unsigned requests = 0; // how many were sent; the identifier of the last one
};

struct command_result {
    std::string text; // lines with their ends
    std::vector<ParentRecord> records;
    bool refused = false; // not understood, and so nothing was done
    bool wait = false;    // until no route is pending
    bool quit = false;
};

// Runs one command of one word at least. Routes that the records ask for are noted in the view.
command_result run_command(console_state& state, const std::vector<common::word>& words,
                           us_time_t now);

// Whether a diagnostics line is shown; about_link as apply_diagnostics said.
bool is_shown(log_level log, const std::string& line, bool about_link);

enum class argument_kind { output, input, setting, value, level };

struct command {
    std::string_view name;
    std::vector<argument_kind> arguments; // all of them required
    std::string_view usage;               // the arguments in words
    std::string_view summary;
    void (*run)(console_state& state, const std::vector<common::word>& words, us_time_t now,
                command_result& result);
};

const std::vector<command>& all_commands(); // in the order of the help text
const std::vector<std::string>& setting_names();
const std::vector<std::string>& log_level_names();

} // namespace console
