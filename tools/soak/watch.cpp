#include "soak/watch.h"

#include <cstdio>

// Names that have been spoilt on the way stay wrong until the next connection, and with them the
// positions of all that is reported.
static bool is_misled(const link_watch& link)
{
    return link.misled == link.client;
}

static void note_fault(soak_watch& watch, const std::string& fault)
{
    if (!fault.empty()) watch.faults.push_back(fault);
}

static int client_of(const event_line& event, int otherwise)
{
    const auto found = event.values.find("client");
    return found == event.values.end() ? otherwise : std::stoi(found->second);
}

static void take_disturbance(soak_watch& watch, const event_line& event, us_time_t now)
{
    note_disturbance(watch.routes, now);
    if (event.what == "connected") watch.link.client = client_of(event, watch.link.client);
    const auto request = event.values.find("request");
    if (request != event.values.end() && request->second.starts_with("\"QN"))
        watch.link.misled = client_of(event, watch.link.client);
}

void take_event(soak_watch& watch, const event_line& event, us_time_t now)
{
    ++watch.events[event.what];
    const auto destination = position_value(event, "destination");
    const auto source = position_value(event, "source");
    if (event.what == "take" && destination && source) {
        router_shows(watch.routes, *destination, *source, now);
        if (event.values.at("by").starts_with("client"))
            note_take(watch.conduct, *destination, *source);
        return;
    }
    if (event.what == "contradict" && destination && source)
        router_claims(watch.routes, *destination, *source, now);
    if (event.what != "start") take_disturbance(watch, event, now);
}

static void take_reported_routes(soak_watch& watch, const ParentRecord& record, us_time_t now)
{
    for (const auto& [name, value] : record.fields) {
        int output = 0;
        int length = 0;
        if (std::sscanf(name.c_str(), "o%d.input.all%n", &output, &length) != 1 ||
            static_cast<std::size_t>(length) != name.size())
            continue;
        const int input = value == "none" ? -1 : std::stoi(value);
        take_reported(watch.reports, output, input, now);
        const auto tell = is_misled(watch.link) ? parent_may_be_told_wrong : parent_is_told;
        tell(watch.routes, output, input, now);
    }
}

void take_record(soak_watch& watch, const ParentRecord& record, us_time_t now)
{
    if (record.type != "reply") {
        if (record.command == "outputs") take_reported_routes(watch, record, now);
        return;
    }
    const expected_reply* const expected = find_reply(watch.replies, record.id);
    const bool reached_router = expected != nullptr && expected->reaches_router;
    if (!note_proof_reply(watch.conduct, record.id, now) && reached_router)
        note_disturbance(watch.routes, now);
    note_fault(watch, take_reply(watch.replies, record, now));
}

static void take_accepted_line(soak_watch& watch, const std::string& line, us_time_t now)
{
    int output = 0;
    int input = 0;
    if (std::sscanf(line.c_str(), "<DBG>Accepting route change output=%d input=%d", &output,
                    &input) == 2)
        take_accepted(watch.reports, output, input, now);
}

void take_diagnostics(soak_watch& watch, const std::string& line, us_time_t now)
{
    take_accepted_line(watch, line, now);
    if (!line.starts_with("<DBG>")) ++watch.complaints[line];
    link_watch& link = watch.link;
    if (line == "<NOTE>Connection sucessful.") ++link.connections;
    if (line == "<NOTE>Connection to router closed") link.up = false;
    if (line.starts_with("<ERR>Timeout during query")) link.misled = link.client;
    if (line == "<DBG>Router finished returning levels, sources, destinations") link.up = true;
}

void judge(soak_watch& watch, bool reading, us_time_t now)
{
    if (!watch.link.up || is_misled(watch.link) || !reading) note_disturbance(watch.routes, now);
    note_fault(watch, judge_proofs(watch.conduct, watch.routes, now));
    if (!reading) {
        restart_lags(watch.reports, now);
        return;
    }
    note_fault(watch, take_overdue_reply(watch.replies, now));
    note_fault(watch, take_report_fault(watch.reports, now));
    note_fault(watch, take_route_fault(watch.routes, now));
}

bool all_settled(const soak_watch& watch)
{
    return watch.replies.open.empty() && all_known(watch.routes);
}
