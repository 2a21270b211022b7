// Completion of the word before the cursor: a command's name, or what stands at that place of it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "console/console_state.h"

namespace console {

struct completion {
    std::size_t start = 0;   // where the word begins
    std::string replacement; // what to put from there to the cursor
    std::vector<std::string>
        choices; // what begins as the word does, as it would be shown in a list
};

// Nothing to complete: no choices, and the replacement is what stands there. One choice: the
// replacement is that word, quoted where needed, and a blank. More: as far as they agree.
completion complete(const console_state& console, std::string_view text_before_cursor);

} // namespace console
