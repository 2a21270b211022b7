#include "server/routers/backend.h"

#include <algorithm>
#include <csignal>
#include <utility>

#include "server/desk/reports.h"
#include "server/desk/trace.h"
#include "server/desk/words.h"
#include "server/routers/configuration.h"

namespace routers {

namespace {
void keep_line(backend& backend, const desk::moment& now, level level, const std::string& text)
{
    backend.log.push_back({now, level, desk::cut_text(text)});
    if (backend.log.size() <= LOG_LINES) return;
    backend.log.pop_front();
    ++backend.forgotten;
}

void report_link(const backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    desk::report_link(desk, now, backend.router, backend.link.state, backend.link.reason);
}

void forget_old_ends(backend& backend, const desk::moment& now)
{
    while (!backend.ends.empty() && backend.ends.front() + ENDS_COUNT <= now.steady)
        backend.ends.pop_front();
}

// Before the next start, when it has just ended of its own accord.
desk::monotonic pause_before_start(const backend& backend)
{
    if (backend.ends.size() <= 1) return {};
    desk::monotonic pause = FIRST_PAUSE;
    for (std::size_t i = 2; i < backend.ends.size(); ++i)
        pause = std::min<desk::monotonic>(2 * pause, LONGEST_PAUSE);
    return pause;
}

void note_failure(backend& backend, desk::desk_state& desk, const desk::moment& now,
                  const std::string& what)
{
    backend.ends.push_back(now.steady);
    forget_old_ends(backend, now);
    backend.start_at = now.steady + pause_before_start(backend);
    const bool failing = backend.ends.size() >= ENDS_FOR_FAILING;
    std::string reason = "its backend " + what;
    if (failing)
        reason += ", the end number " + std::to_string(backend.ends.size()) + " within a minute";
    if (!backend.log.empty()) reason += ": " + backend.log.back().text;
    desk::report_link(desk, now, backend.router,
                      failing ? desk::link_state::failing : desk::link_state::down, reason);
}

void start_process(backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    backend.start_at.reset();
    backend.ending = false;
    backend.info = {};
    backend.sources.reset();
    backend.destinations.reset();
    backend.last_take.reset();
    backend.untold = {};
    backend.link = start_of_link(backend.settings);
    if (backend.settings.address.empty()) return report_link(backend, desk, now);
    std::string error;
    backend.process.keeps_messages = true;
    ++backend.starts;
    if (!write_configuration(backend.configuration, backend.settings, error) ||
        !parent_link::start_backend(backend.process, backend.program,
                                    {"--file", backend.configuration}, error)) {
        keep_line(backend, now, level::error, error);
        return note_failure(backend, desk, now, "cannot be started");
    }
    // One that does not stay up keeps its reason until it says more.
    if (backend.ends.empty()) report_link(backend, desk, now);
}

void tell_to_end(backend& backend, const desk::moment& now)
{
    if (backend.ending || !is_running(backend)) return;
    backend.ending = true;
    backend.kill_at = now.steady + TIME_TO_END;
    backend.process.unsent.clear();
    backend.held.clear();
    parent_link::send_signal(backend.process, SIGTERM);
}
} // namespace

bool is_running(const backend& backend)
{
    return backend.process.child.process > 0;
}

void run_backend(backend& backend, desk::desk_state& desk, const desk::moment& now,
                 const desk::router_settings& settings)
{
    const bool same = configuration_text(backend.settings) == configuration_text(settings);
    backend.settings = settings;
    if (std::exchange(backend.wanted, true) && same) return;
    backend.ends.clear();
    if (is_running(backend)) return tell_to_end(backend, now);
    desk::report_backend_ended(desk, now, backend.router); // the one that the desk has ordered to
    start_process(backend, desk, now);
}

void stop_backend(backend& backend, const desk::moment& now)
{
    backend.wanted = false;
    backend.start_at.reset();
    tell_to_end(backend, now);
}

namespace {
// When all that is held may be written.
desk::monotonic end_of_hold(const backend& backend)
{
    return backend.last_take.value() + QUEUE_LIFE + AROUND_QUEUE_END;
}
} // namespace

std::optional<desk::monotonic> next_due(const backend& backend)
{
    std::optional<desk::monotonic> due = backend.kill_at ? backend.kill_at : backend.start_at;
    const auto also = [&](desk::monotonic time) {
        due = due ? std::min(*due, time) : time;
    };
    if (!backend.held.empty()) also(end_of_hold(backend));
    if (backend.untold.due) also(*backend.untold.due);
    return due;
}

namespace {
bool must_hold(const backend& backend, const desk::moment& now)
{
    if (!backend.last_take) return false;
    const std::size_t bytes = backend.process.unsent.size() + backend.held.size();
    const desk::monotonic end = end_of_hold(backend);
    const desk::monotonic reading =
        std::min<desk::monotonic>(READING_TIME * bytes, LONGEST_READING);
    return now.steady >= end - 2 * AROUND_QUEUE_END - reading && now.steady < end;
}

void write_held(backend& backend, const desk::moment& now)
{
    if (backend.held.empty() || must_hold(backend, now)) return;
    if (backend.link.state != desk::link_state::ready) return; // it will be ended
    parent_link::send_bytes(backend.process, std::exchange(backend.held, {}));
}

void note_steps(backend& backend, const desk::moment& now, const std::vector<trace_step>& steps)
{
    for (const trace_step& step : steps) {
        if (std::holds_alternative<take_sent>(step)) backend.last_take = now.steady;
        const auto* const route = std::get_if<route_told>(&step);
        if (route != nullptr && backend.link.discovery_ended)
            note_told(backend.untold, now.steady, route->destination, route->source);
        const auto* const query = std::get_if<query_unanswered>(&step);
        if (query != nullptr && backend.link.discovery_ended)
            note_unanswered(backend.untold, now.steady, query->destination);
    }
}

// Frames stand in the trace, and lines for debugging only fill the log.
void keep_told(backend& backend, const desk::moment& now, const diagnostic& told,
               const std::string& message)
{
    const auto* const text = std::get_if<text_line>(&told);
    if (text != nullptr && text->level != level::debug)
        keep_line(backend, now, text->level, text->text);
    else if (std::holds_alternative<link_line>(told))
        keep_line(backend, now, level::note, message.substr(message.find('>') + 1));
}

// Returns how many routes it has accepted.
std::size_t tell_diagnostics(backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    std::size_t accepted = 0;
    std::vector<trace_step> steps;
    for (const std::string& message : std::exchange(backend.process.diagnostics, {})) {
        const diagnostic told = read_diagnostic(message);
        if (std::holds_alternative<route_accepted>(told)) ++accepted;
        keep_told(backend, now, told, message);
        steps.clear();
        read_trace(backend.trace, now, told, steps);
        tell_desk(desk, now, backend.router, steps);
        note_steps(backend, now, steps);
        if (read_link(backend.link, told)) report_link(backend, desk, now);
    }
    return accepted;
}

// A router may have fewer positions than are set.
void tell_counts(const backend& backend, desk::desk_state& desk)
{
    if (!backend.sources || !backend.destinations) return;
    desk::report_counts(desk, backend.router,
                        std::min(backend.info.inputs, static_cast<int>(*backend.sources)),
                        std::min(backend.info.outputs, static_cast<int>(*backend.destinations)));
}

void tell_report(backend& backend, desk::desk_state& desk, const desk::moment& now,
                 const report& told)
{
    if (const auto* info = std::get_if<info_report>(&told)) {
        backend.info = *info;
        tell_counts(backend, desk);
    } else if (const auto* names = std::get_if<names_report>(&told)) {
        (names->side == desk::side::sources ? backend.sources : backend.destinations) =
            names->names.size();
        desk::report_names(desk, backend.router, names->side, names->names);
        tell_counts(backend, desk);
    } else if (const auto* routes = std::get_if<routes_report>(&told)) {
        desk::report_routes(desk, now, backend.router, routes->routes);
        note_reported(backend.untold, routes->routes);
    }
    if (read_link(backend.link, told)) report_link(backend, desk, now);
}

// The backend writes a report of routes at the next pass of its loop, which an empty line between
// two records begins at once.
void hurry(backend& backend)
{
    if (backend.ending || !backend.process.unsent.empty()) return;
    parent_link::send_bytes(backend.process, "\n");
    ++backend.hurried;
}

// What the desk shows for them is no fact any more. The backend is asked to ask for all, unless the
// router has shown what no backend reports.
void look_for_untold(backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    if (!backend.link.discovery_ended) backend.untold = {};
    const auto overdue = take_overdue(backend.untold, now.steady);
    const desk::live_router* live = desk::find_live(desk, backend.router);
    if (live == nullptr || live->link != desk::link_state::ready || backend.ending) return;
    bool helps = false;
    for (const auto& [destination, source] : overdue) {
        if (destination >= live->outputs || (desk::is_fresh(*live, destination) &&
                                             desk::source_shown(*live, destination) == source))
            continue;
        desk::doubt_fact(desk, backend.router, destination);
        helps = helps || source == desk::UNKNOWN_SOURCE ||
                (source >= 0 && source < static_cast<int>(backend.sources.value_or(0)));
    }
    if (!helps || !backend.process.unsent.empty()) return;
    parent_link::send_bytes(backend.process, "*COMMAND=report\n*TYPE=command\nwhat=outputs\n\n");
    ++backend.asked;
}

void note_end(backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    // A frame goes to the socket before its line is written. One that could send at its end may
    // have sent what nobody knows of; after an orderly end the connection is closed.
    const bool heard_all = !backend.link.connected;
    end_trace(backend.trace);
    desk::report_backend_ended(desk, now, backend.router, heard_all);
    const std::string end = parent_link::describe_end(backend.process);
    backend.process.ended = false;
    backend.kill_at.reset();
    backend.held.clear();
    if (!backend.wanted) {
        desk::report_link(desk, now, backend.router, desk::link_state::off, "it has been stopped");
    } else if (backend.ending) {
        desk::report_link(desk, now, backend.router, desk::link_state::down,
                          "its backend is started anew");
        start_process(backend, desk, now);
    } else {
        note_failure(backend, desk, now, end);
    }
}

bool is_due(const std::optional<desk::monotonic>& time, const desk::moment& now)
{
    return time && *time <= now.steady;
}
} // namespace

void serve_backend(backend& backend, desk::desk_state& desk, const desk::moment& now)
{
    if (is_due(backend.kill_at, now)) {
        backend.kill_at.reset();
        parent_link::send_signal(backend.process, SIGKILL);
    }
    // Records are read before the diagnostics, so that what explains them is there, and told after.
    parent_link::serve_backend(backend.process);
    if (tell_diagnostics(backend, desk, now) > 0) hurry(backend);
    for (const ParentRecord& record : std::exchange(backend.process.records, {}))
        tell_report(backend, desk, now, read_record(record));
    look_for_untold(backend, desk, now);
    write_held(backend, now);
    if (backend.process.ended) note_end(backend, desk, now);
    if (is_due(backend.start_at, now)) start_process(backend, desk, now);
}

namespace {
std::string batch_text(const std::vector<std::pair<int, int>>& rows)
{
    const std::string head = "*COMMAND=route output\n*TYPE=command\n";
    std::string text;
    for (const auto& [destination, source] : rows) {
        text += head;
        if (source != desk::NO_SOURCE) text += "from input=" + std::to_string(source) + "\n";
        text += "queue=add\nto output=" + std::to_string(destination) + "\n\n";
    }
    return text + head + "queue=flush\n\n";
}
} // namespace

void carry_out(backend& backend, const desk::desk_state& desk, const desk::moment& now,
               const desk::order& order)
{
    const desk::live_router* live = desk::find_live(desk, backend.router);
    if (live == nullptr || !is_running(backend)) return;
    if (order.what == desk::order::kind::end_backend) {
        // One that runs for a link that is off runs for a router that has been removed, and set
        // again before anybody looked.
        if (live->ending != desk::reason::none || live->link == desk::link_state::off)
            tell_to_end(backend, now);
        return;
    }
    if (live->link != desk::link_state::ready || backend.ending) return;
    const std::string text = batch_text(order.rows);
    if (backend.process.unsent.size() + backend.held.size() + text.size() <= UNSENT_LIMIT) {
        backend.held += text;
        return write_held(backend, now);
    }
    ++backend.dropped;
    keep_line(backend, now, level::warning, "The backend does not read; a batch was dropped");
}

} // namespace routers
