#include "soak/ledgers.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace soak {

namespace {
constexpr std::size_t FINDINGS_KEPT = 50; // what follows is the same over and over

// A report of wrong positions may still be on its way when the right names have come.
constexpr us_time_t DOUBT_LASTS_US = 2'000'000;
constexpr us_time_t LONGEST_PROMPT_WAIT_US = 1'000'000;

bool positions_are_doubtful(const link_state& link, us_time_t now)
{
    return !link.up || !link.knows_inputs || !link.knows_outputs ||
           link.names_spoilt_on == link.client || now - link.learnt < DOUBT_LASTS_US;
}

void learn(link_state& link, bool& fact, bool holds, us_time_t now)
{
    if (holds && !fact) link.learnt = now;
    fact = holds;
}
} // namespace

void note_finding(ledgers& books, const std::string& finding)
{
    if (finding.empty()) return;
    ++books.finding_count;
    if (books.findings.size() < FINDINGS_KEPT) books.findings.push_back(finding);
}

void enter_event(ledgers& books, const router_event& event, us_time_t now)
{
    const std::string name = event.fault.empty() ? event.kind : event.fault;
    ++books.events[event.kind == "end of fault" ? "end of " + name : name];
    if (event.kind == "fault") ++books.faults;
    if (event.kind == "take") {
        router_shows(books.routes, event.destination, event.source, now);
        if (event.by == "client") note_take_made(books.proofs, event.destination, event.source);
    }
    // What happens all the time, or only costs time.
    if (event.kind == "start" || event.kind == "take" || event.only_delays) return;
    note_disturbance(books.routes, now);
    // A reply has shown this route, if any.
    if (!event.request.empty()) router_claims(books.routes, event.destination, event.source, now);
    if (event.lasting) books.lasting.insert({event.fault, event.client});
    if (event.kind == "end of fault") books.lasting.erase({event.fault, event.client});
    if (event.kind == "gone")
        std::erase_if(books.lasting, [&](const auto& each) { return each.second == event.client; });
    if (event.kind == "connected") {
        ++books.link.connections;
        books.link.client = event.client;
        // The connection before this one may never end: the router may have forgotten it.
        std::erase_if(books.lasting, [](const auto& each) { return each.second != 0; });
    }
    if (event.request.starts_with("QN")) books.link.names_spoilt_on = event.client;
}

namespace {
// Cuts the decimal number that the text begins with off its front.
std::optional<int> cut_number(std::string_view& text)
{
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return number;
}

bool cut_prefix(std::string_view& text, std::string_view prefix)
{
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

std::optional<int> output_of(std::string_view name)
{
    if (!cut_prefix(name, "o")) return std::nullopt;
    const auto output = cut_number(name);
    return name == ".input.all" ? output : std::nullopt;
}

void enter_reported_routes(ledgers& books, const ParentRecord& record, us_time_t now)
{
    std::map<int, int> routes;
    for (const auto& [name, value] : record.fields) {
        const auto output = output_of(name);
        if (!output) continue;
        std::string_view text = value;
        const int input = cut_number(text).value_or(-1); // "none"
        routes[*output] = input;
        const auto note =
            positions_are_doubtful(books.link, now) ? note_doubtful_report : note_reported;
        note(books.routes, *output, input, now);
        note_take_reported(books.proofs, *output, input);
    }
    enter_report(books.reports, routes, now);
}
} // namespace

void enter_record(ledgers& books, const ParentRecord& record, us_time_t now)
{
    link_state& link = books.link;
    if (record.type == "reply") {
        const expected_reply* const expected = find_reply(books.replies, record.id);
        const bool reached_router = expected != nullptr && expected->reaches_router;
        if (!note_proof_reply(books.proofs, record.id, now) && reached_router)
            note_disturbance(books.routes, now);
        note_finding(books, enter_reply(books.replies, record, now));
        return;
    }
    if (record.command == "info") {
        const auto counts_all = [&](const char* what) {
            const auto found = record.fields.find(what);
            return found != record.fields.end() &&
                   found->second == std::to_string(books.routes.destinations.size());
        };
        learn(link, link.knows_inputs, counts_all("inputs"), now);
        learn(link, link.knows_outputs, counts_all("outputs"), now);
    }
    // Reports of names and of routes share their command; when there are no names, it is of names.
    const bool of_names = record.fields.empty() ? !link.knows_outputs
                                                : record.fields.begin()->first.ends_with(".name");
    if (record.command == "outputs" && !of_names) return enter_reported_routes(books, record, now);
    // Every report of names holds all of them.
    for (const auto& [name, value] : record.fields)
        if (name.ends_with(".name") && value.empty())
            (record.command == "inputs" ? link.knows_inputs : link.knows_outputs) = false;
}

void enter_diagnostics(ledgers& books, const std::string& line, us_time_t now)
{
    std::string_view text = line;
    if (cut_prefix(text, "<DBG>Accepting route change output=")) {
        const auto output = cut_number(text);
        const auto input = cut_prefix(text, " input=") ? cut_number(text) : std::nullopt;
        if (output && input) enter_accepted(books.reports, *output, *input, now);
    }
    // Garbage in a line of DBG may hold line ends of its own.
    for (const char* level : {"<NOTE>", "<WARN>", "<ERR>"})
        if (line.starts_with(level)) ++books.complaints[line];
    link_state& link = books.link;
    if (line == "<NOTE>Connection to router closed") link.up = false;
    if (line.starts_with("<ERR>Timeout during query")) link.names_spoilt_on = link.client;
    if (line == "<DBG>Router finished returning levels, sources, destinations")
        learn(link, link.up, true, now);
}

void judge(ledgers& books, bool reading, us_time_t now)
{
    const bool doubtful = positions_are_doubtful(books.link, now);
    if (doubtful || !books.lasting.empty() || !reading) note_disturbance(books.routes, now);
    // Of a backend that is behind, reports come long after what they report.
    const bool behind =
        std::any_of(books.replies.open.begin(), books.replies.open.end(), [now](const auto& each) {
            return now - each.second.sent > LONGEST_PROMPT_WAIT_US;
        });
    if (doubtful || behind || !reading) forget_reports(books.reports, now);
    note_finding(books, judge_proofs(books.proofs, books.routes, now));
    if (!reading) return;
    note_finding(books, find_overdue_reply(books.replies, now));
    note_finding(books, find_wrong_report(books.reports, now));
    note_finding(books, find_wrong_route(books.routes, now));
}

bool all_settled(const ledgers& books)
{
    return books.replies.open.empty() && all_known(books.routes);
}

} // namespace soak
