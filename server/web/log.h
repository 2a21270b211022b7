// The server's own log: lines on standard error, and the last of them for those who ask. No line
// has a secret. Nobody waits for whoever reads standard error: lines that they are too slow for
// are lost there.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "server/desk/moment.h"

namespace spdlog {
class logger;
namespace details {
class thread_pool;
}
} // namespace spdlog

namespace web {

constexpr std::size_t LOG_LINES_KEPT = 500;   // the oldest is forgotten
constexpr std::size_t LOG_LINE_LENGTH = 1000; // bytes; the rest is cut off

enum class log_level { debug, note, warning, error };

struct server_log_line {
    desk::wall at{};
    log_level level = log_level::note;
    std::string text;
};

struct server_log {
    std::deque<server_log_line> lines;                     // oldest first
    std::uint64_t forgotten = 0;                           // older ones
    std::shared_ptr<spdlog::details::thread_pool> printer; // none: nothing is printed
    std::shared_ptr<spdlog::logger> printed;
};

// From now on lines are printed as well; where systemd's journal reads them, with its levels in
// the place of time and level.
void print_log(server_log& log, bool to_journal);

// Control characters become blanks.
void log_line(server_log& log, desk::wall at, log_level level, std::string_view text);

// "debug", "note", "warning", "error"
std::string_view word_of(log_level level);

} // namespace web
