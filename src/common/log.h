// Diagnostics: one line per message on standard error, which start-up makes unbuffered, so that a
// line is on its way when the call returns. The level is a tag in front of the text. All levels are
// always written. Formats are printf's; a text printed with %s ends at its first NUL.
#pragma once

[[gnu::format(printf, 1, 2)]] void log_debug(const char* format, ...);   // <DBG>
[[gnu::format(printf, 1, 2)]] void log_note(const char* format, ...);    // <NOTE>
[[gnu::format(printf, 1, 2)]] void log_warning(const char* format, ...); // <WARN>
[[gnu::format(printf, 1, 2)]] void log_error(const char* format, ...);   // <ERR>

// Start-up messages and discarded bytes carry no tag.
[[gnu::format(printf, 1, 2)]] void log_untagged(const char* format, ...);
