// The console's commands: words in; an answer out, and whatever they have changed in the desk.
// Nothing waits here: what the desk orders is carried out by the caller (session.h).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/answer.h"
#include "console/console_state.h"
#include "server/desk/takes.h"
#include "tools/common/words.h"

namespace console {

// What stands at a place of a command. A filter, as the last one, may have any number of words.
enum class argument { destination, source, router, salvo, filter, setting, command, file, text };

struct call {
    std::vector<common::word> words = {}; // the arguments; as many as the command takes
    bool rest = false;                    // "--rest": what can go goes
    bool dry_run = false;                 // say what would happen, and do nothing
};

desk::batch_command command_of(const call& call); // for the desk

struct command {
    std::string_view name; // one word, or two: "salvo take"
    std::vector<argument> arguments;
    std::size_t required;     // of the arguments: the first so many
    bool takes_rest;          // understands --rest
    bool can_be_tried;        // understands being dry-run
    std::string_view usage;   // the arguments in words: "[DESTINATION SOURCE] [--rest]"
    std::string_view summary; // for the list of all commands: half a line
    std::string_view help;    // for `help COMMAND`: sentences, in lines with their ends
    answer (*run)(console_state& console, const desk::moment& now, const call& call);
};

// In the order of the help text. Each part is listed in the file that has its functions.
const std::vector<command>& all_commands();
const std::vector<command>& take_commands();    // take_commands.cpp
const std::vector<command>& salvo_commands();   // salvo_commands.cpp
const std::vector<command>& lock_commands();    // lock_commands.cpp
const std::vector<command>& show_commands();    // show_commands.cpp: routes, names, where
const std::vector<command>& info_commands();    // info_commands.cpp: info, routers
const std::vector<command>& record_commands();  // record_commands.cpp: history, trace, log, watch
const std::vector<command>& setting_commands(); // setting_commands.cpp: use, set, save, load

std::vector<std::string> setting_names(); // what "set" can set

// The command that these words begin with, at least one, and removes those that name it. Null, with
// a sentence, when there is none; then of a command of two words the first is removed if it is
// good.
const command* find_command(std::vector<common::word>& words, std::string& complaint);

// Runs one command of one word at least. Its name may be shortened to a beginning of two characters
// at least that no other has.
answer run_command(console_state& console, const desk::moment& now,
                   const std::vector<common::word>& words);

// Refuses a command that is all that a program runs when there is none of that name, or what it
// does would be gone with the program. `kept`: a file keeps the house.
std::optional<answer> refuse_in_vain(std::vector<common::word> words, bool kept);

// Whether it may be about other routers than the one in use.
bool concerns_all_routers(std::vector<common::word> words);

} // namespace console
