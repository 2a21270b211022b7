#include "server/routers/diagnostics.h"

#include <array>
#include <optional>
#include <utility>

#include "common/numbers.h"
#include "tools/common/numbers.h"

namespace routers {

namespace {
struct tag {
    std::string_view text;
    routers::level level;
};
constexpr std::array TAGS = {
    tag{"<DBG>", level::debug},
    tag{"<NOTE>", level::note},
    tag{"<WARN>", level::warning},
    tag{"<ERR>", level::error},
};

// Removes the beginning from the text. False, and the text as it was, when it begins otherwise.
bool take_away(std::string_view& text, std::string_view beginning)
{
    if (!text.starts_with(beginning)) return false;
    text.remove_prefix(beginning.size());
    return true;
}

level take_level(std::string_view& text)
{
    for (const tag& each : TAGS)
        if (take_away(text, each.text)) return each.level;
    return level::none;
}

// Takes a number away and what follows it, which is the text's end where that is empty.
template <typename number>
bool take_number(std::string_view& text, number& value, std::string_view behind)
{
    const std::size_t end = behind.empty() ? text.size() : text.find(behind);
    if (end == std::string_view::npos || !common::read_decimal(text.substr(0, end), value))
        return false;
    text.remove_prefix(end + behind.size());
    return true;
}

// A message of these bytes between SOH and EOT, or what the backend makes of wrong ones.
frame_line read_message(direction way, std::string_view raw)
{
    frame_line line;
    line.way = way;
    line.message.raw = raw;
    line.rejected =
        raw.size() < CHECKSUM_DIGITS ||
        checksum_field(raw) != router_checksum(raw.substr(0, raw.size() - CHECKSUM_DIGITS));
    line.message.ok = !line.rejected;
    if (!line.rejected) decode_router_message(line.message);
    return line;
}

std::optional<diagnostic> read_frame_sent(std::string_view text)
{
    if (text.size() < 2 || text.front() != SOH || text.back() != EOT) return std::nullopt;
    frame_line line = read_message(direction::sent, text.substr(1, text.size() - 2));
    if (line.rejected) return std::nullopt;
    return line;
}

frame_line read_nak(std::string_view raw)
{
    frame_line line;
    line.way = direction::received;
    line.message.nak = true;
    line.message.raw = raw;
    line.message.nakerr = static_cast<std::int32_t>(leading_hex_digits(raw));
    return line;
}

frame_line make_ack()
{
    frame_line line;
    line.way = direction::received;
    line.message.ack = true;
    line.message.ok = true;
    return line;
}

std::optional<diagnostic> read_route(std::string_view text)
{
    route_accepted route;
    if (!take_number(text, route.output, " input=") || !take_number(text, route.input, ""))
        return std::nullopt;
    return route;
}

std::optional<diagnostic> read_range(bool inputs, std::string_view text)
{
    index_range range;
    range.inputs = inputs;
    if (!take_number(text, range.first, "-") || !take_number(text, range.last, ""))
        return std::nullopt;
    return range;
}

std::optional<diagnostic> read_debug_text(std::string_view text)
{
    if (take_away(text, "Router: MSG ")) return read_message(direction::received, text);
    if (take_away(text, "Send to router: ")) return read_frame_sent(text);
    if (take_away(text, "Accepting route change output=")) return read_route(text);
    if (take_away(text, "Router: NAK ")) return read_nak(text);
    if (take_away(text, "Inputs range from ")) return read_range(true, text);
    if (take_away(text, "Outputs range from ")) return read_range(false, text);
    if (text == "Router: ACK") return make_ack();
    return std::nullopt;
}

// The text is the whole one, or, when a detail follows it, the beginning.
struct link_text {
    routers::level level;
    std::string_view text;
    link_event what;
    bool has_detail = false;
};
constexpr std::array LINK_TEXTS = {
    link_text{level::note, "Trying to connect to router...", link_event::connecting},
    link_text{level::note, "Connected to router, right away", link_event::connected},
    link_text{level::note, "Connection sucessful.", link_event::connected},
    link_text{level::error, "Failed to connect to router, ", link_event::connect_failed, true},
    link_text{level::error, "Connection failed, ", link_event::connect_failed, true},
    link_text{level::error, "Cannot connect, cannot parse IP address", link_event::no_address},
    link_text{level::error, "Cannot connect, cannot create socket", link_event::no_socket},
    link_text{level::note, "Connection suddenly dropped", link_event::dropped},
    link_text{level::note, "Connection problem, ", link_event::broken, true},
    link_text{level::warning, "Connection timeout", link_event::silent},
    link_text{level::error, "Timeout receiving message", link_event::unanswered},
    link_text{level::error, "Unable to send message", link_event::unable_to_send},
    link_text{level::note, "Connection to router closed", link_event::closed},
    link_text{level::error, "Timeout during query (", link_event::names_missing, true},
    link_text{level::debug, "Router finished returning levels, sources, destinations",
              link_event::names_complete},
};

std::optional<diagnostic> read_link_text(level level, std::string_view text)
{
    for (const link_text& each : LINK_TEXTS) {
        if (each.level != level || !text.starts_with(each.text)) continue;
        const std::string_view detail = text.substr(each.text.size());
        if (each.has_detail != detail.empty()) return link_line{each.what, std::string(detail)};
    }
    return std::nullopt;
}
} // namespace

diagnostic read_diagnostic(std::string_view message)
{
    std::string_view text = message;
    const level level = take_level(text);
    std::optional<diagnostic> known;
    if (level == level::debug) known = read_debug_text(text);
    if (!known) known = read_link_text(level, text);
    if (known) return *std::move(known);
    return text_line{level, std::string(text)};
}

} // namespace routers
