#include "server/web/log.h"

#include <array>
#include <spdlog/async.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>

#include "tools/common/characters.h"

namespace web {

namespace {
constexpr std::size_t LINES_BEFORE_THE_PRINTER = 8192; // beyond it the oldest is lost there

struct level_names {
    std::string_view word;
    spdlog::level::level_enum printed;
    std::string_view journal; // as sd-daemon(3) has it
};

const level_names& names_of(log_level level)
{
    static const std::array<level_names, 4> NAMES = {{{"debug", spdlog::level::debug, "<7>"},
                                                      {"note", spdlog::level::info, "<6>"},
                                                      {"warning", spdlog::level::warn, "<4>"},
                                                      {"error", spdlog::level::err, "<3>"}}};
    return NAMES.at(static_cast<std::size_t>(level));
}

// Writes the level as systemd's journal reads it at a line's beginning.
class journal_level : public spdlog::custom_flag_formatter {
  public:
    void format(const spdlog::details::log_msg& message, const std::tm& /*time*/,
                spdlog::memory_buf_t& line) override
    {
        for (std::size_t i = 0; i < 4; ++i) {
            const level_names& names = names_of(static_cast<log_level>(i));
            if (names.printed == message.level)
                line.append(names.journal.data(), names.journal.data() + names.journal.size());
        }
    }

    std::unique_ptr<custom_flag_formatter> clone() const override
    {
        return std::make_unique<journal_level>();
    }
};

// Whether it would do something to a terminal, or to the order in which its neighbours are shown.
bool is_control(std::uint32_t code)
{
    return code < ' ' || (code >= 0x7F && code < 0xA0) || common::is_unseen(code) ||
           code == common::NO_CHARACTER;
}

// With a blank for each control and each byte that is no UTF-8.
std::string printable(std::string_view text)
{
    std::string line;
    while (!text.empty()) {
        const common::character first = common::first_character(text);
        line += is_control(first.code) ? " " : text.substr(0, first.length);
        text.remove_prefix(first.length);
    }
    return line;
}
} // namespace

void print_log(server_log& log, bool to_journal)
{
    log.printer = std::make_shared<spdlog::details::thread_pool>(LINES_BEFORE_THE_PRINTER, 1);
    log.printed = std::make_shared<spdlog::async_logger>(
        "server", std::make_shared<spdlog::sinks::stderr_sink_st>(), log.printer,
        spdlog::async_overflow_policy::overrun_oldest);
    auto form = std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::utc);
    form->add_flag<journal_level>('*');
    form->set_pattern(to_journal ? "%*%v" : "%Y-%m-%dT%H:%M:%S.%eZ %l: %v");
    log.printed->set_formatter(std::move(form));
    log.printed->set_level(spdlog::level::debug);
    log.printed->flush_on(spdlog::level::debug);
}

void log_line(server_log& log, desk::wall at, log_level level, std::string_view text)
{
    std::string line = printable(text.substr(0, LOG_LINE_LENGTH));
    if (log.printed)
        log.printed->log(spdlog::log_clock::time_point(at), spdlog::source_loc{},
                         names_of(level).printed, line);
    log.lines.push_back({at, level, std::move(line)});
    if (log.lines.size() <= LOG_LINES_KEPT) return;
    log.lines.pop_front();
    ++log.forgotten;
}

std::string_view word_of(log_level level)
{
    return names_of(level).word;
}

} // namespace web
