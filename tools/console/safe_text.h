// Text of routers and of people, made safe to show on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace console {

// The text in UTF-8 with U+FFFD in place of what could do something to a terminal or to how the
// text is read: control characters but the line ends (C0, DEL and C1), bidirectional controls, and
// bytes that are no character.
std::string safe_text(std::string_view text);

} // namespace console
