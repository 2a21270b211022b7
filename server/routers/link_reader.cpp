#include "server/routers/link_reader.h"

#include <utility>

namespace routers {

namespace {
constexpr const char* MUTE = "the router accepts connections and does not answer";

bool set_state(link_reader& link, desk::link_state state, const std::string& reason)
{
    if (link.state == state && link.reason == reason) return false;
    link.state = state;
    link.reason = reason;
    return true;
}

std::string missing_text(const link_reader& link)
{
    if (!link.answered) return MUTE;
    if (link.sources_read) return "the router has not told its destinations";
    if (link.destinations_read) return "the router has not told its sources";
    return "the router has told neither sources nor destinations";
}

// The state of a connection that stands.
bool settle(link_reader& link)
{
    const bool read = link.sources_read && link.destinations_read;
    if (link.discovery_ended && !read)
        return set_state(link, desk::link_state::reading, missing_text(link));
    if (!link.discovery_ended || !link.sources_reported || !link.destinations_reported)
        return set_state(link, desk::link_state::reading, "reading names and routes");
    return set_state(link, desk::link_state::ready, "");
}

void begin_attempt(link_reader& link)
{
    link.cause.clear();
    link.connected = false;
    link.answered = false;
    link.discovery_ended = false;
    link.sources_read = false;
    link.destinations_read = false;
    link.sources_reported = false;
    link.destinations_reported = false;
}

bool end_connection(link_reader& link)
{
    std::string cause = std::exchange(link.cause, {});
    if (cause.empty()) cause = "the connection has been closed";
    begin_attempt(link);
    return set_state(link, desk::link_state::down, cause);
}

bool fail_to_begin(link_reader& link, const std::string& reason)
{
    begin_attempt(link);
    return set_state(link, desk::link_state::down, reason);
}

bool give_cause(link_reader& link, const std::string& cause)
{
    link.cause = cause;
    return false;
}

std::string silence_text(const link_reader& link, const char* when_it_spoke_before)
{
    return link.answered ? when_it_spoke_before : MUTE;
}

bool read_link_line(link_reader& link, const link_line& line)
{
    switch (line.what) {
    case link_event::connecting:
        begin_attempt(link);
        return false;
    case link_event::connected:
        begin_attempt(link);
        link.connected = true;
        return settle(link);
    case link_event::connect_failed:
        return give_cause(link, "cannot connect to " + link.router + ": " + line.detail);
    case link_event::no_address:
        return fail_to_begin(link, link.router + " is no IPv4 address");
    case link_event::no_socket:
        return fail_to_begin(link, "the system has no socket left for a connection");
    case link_event::dropped:
        return give_cause(link, "the router closed the connection");
    case link_event::broken:
        return give_cause(link, "the connection failed: " + line.detail);
    case link_event::silent:
        return give_cause(link, link.connected
                                    ? silence_text(link, "the router said nothing for 20 s")
                                    : link.router + " did not answer for 20 s");
    case link_event::unanswered:
        return give_cause(link, silence_text(link, "the router did not answer a request"));
    case link_event::unable_to_send:
        return give_cause(link, "a request could not be sent");
    case link_event::closed:
        return end_connection(link);
    case link_event::names_missing:
    case link_event::names_complete:
        link.discovery_ended = link.connected;
        return link.connected && settle(link);
    }
    return false;
}
} // namespace

link_reader start_of_link(const desk::router_settings& settings)
{
    link_reader link;
    link.router = settings.address + ":" + std::to_string(settings.port);
    if (settings.address.empty())
        set_state(link, desk::link_state::off, "no address is set");
    else
        set_state(link, desk::link_state::connecting, "connecting to " + link.router);
    return link;
}

bool read_link(link_reader& link, const diagnostic& told)
{
    if (const auto* line = std::get_if<link_line>(&told)) return read_link_line(link, *line);
    if (!link.connected) return false;
    if (const auto* range = std::get_if<index_range>(&told)) {
        (range->inputs ? link.sources_read : link.destinations_read) = true;
        return settle(link);
    }
    if (const auto* frame = std::get_if<frame_line>(&told)) {
        if (link.answered || frame->way == direction::sent || frame->rejected) return false;
        link.answered = true;
        return settle(link);
    }
    return false;
}

bool read_link(link_reader& link, const report& told)
{
    const auto* const names = std::get_if<names_report>(&told);
    if (names == nullptr || !link.discovery_ended) return false;
    (names->side == desk::side::sources ? link.sources_reported : link.destinations_reported) =
        true;
    return settle(link);
}

} // namespace routers
