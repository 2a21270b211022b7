#include "server/web/operation_json.h"

#include <algorithm>
#include <cstdio>

#include "server/desk/words.h"
#include "server/journal/house_words.h"
#include "server/web/call.h"
#include "server/web/lock_json.h"

namespace web {

namespace {
const desk::open_wish* find_open(const desk::desk_state& desk, const desk::wish_id& id)
{
    const desk::wish* const wish = find_wish(desk.house, id);
    const desk::live_router* const live =
        wish == nullptr ? nullptr : find_live(desk, wish->wished.router);
    if (live == nullptr) return nullptr;
    const auto open = live->open.find(wish->wished.destination);
    if (open == live->open.end()) return nullptr;
    const auto found = std::find_if(open->second.begin(), open->second.end(),
                                    [&](const desk::open_wish& each) { return each.id == id; });
    return found == open->second.end() ? nullptr : &*found;
}

void add_duration(json& to, const char* member, const std::optional<desk::monotonic>& duration)
{
    if (duration) to[member] = milliseconds(*duration);
}

std::string late_text(const desk::desk_state& desk, const std::string& router)
{
    const desk::house_router* const known = find_router(desk, router);
    if (known == nullptr) return "the router has not reported it in time";
    char text[64];
    const auto limit = std::chrono::duration<double>(known->settings.confirmation_limit).count();
    std::snprintf(text, sizeof text, "the router has not reported it within %g s", limit);
    return text;
}

std::string code_of(const desk::wish& wish)
{
    if (wish.end == desk::outcome::not_sent) return desk::code_of(wish.why);
    if (wish.end == desk::outcome::unknown) return "outcomeUnknown";
    return std::string(journal::word_of(journal::OUTCOMES, wish.end));
}

json dry_row_json(const desk::desk_state& desk, const desk::row_answer& row)
{
    const auto& [router, destination, source] = row.wished;
    json body = {{"router", router}};
    add_destination(body, desk, router, destination);
    add_source(body, desk, router, source);
    const desk::live_router* const live = find_live(desk, router);
    if (live != nullptr)
        add_source(body, desk, router, source_shown(*live, destination), "was", "wasName");
    body["verdict"] = row.goes ? "change" : row.unchanged ? "unchanged" : "blocked";
    if (row.why == desk::reason::none) return body;
    body["reason"] = desk::code_of(row.why);
    body["detail"] = row.detail;
    return body;
}
} // namespace

std::string detail_of(const desk::desk_state& desk, const desk::wish& wish)
{
    if (!wish.detail.empty()) return wish.detail;
    if (wish.end == desk::outcome::timed_out) return late_text(desk, wish.wished.router);
    return desk::text_of(wish.end);
}

void add_source(json& to, const desk::desk_state& desk, const std::string& router, int source,
                const std::string& member, const std::string& name)
{
    if (source == desk::UNKNOWN_SOURCE) return;
    to[member] = source == desk::NO_SOURCE ? json(nullptr) : json(source);
    if (source != desk::NO_SOURCE) to[name] = source_name(desk, router, source);
}

void add_destination(json& to, const desk::desk_state& desk, const std::string& router,
                     int destination)
{
    to["destination"] = destination;
    to["destinationName"] = destination_name(desk, router, destination);
}

json operation_row_json(const desk::desk_state& desk, const desk::wish_id& id,
                        const desk::wish& wish)
{
    const auto& [router, destination, source] = wish.wished;
    json row = {{"router", router}};
    add_destination(row, desk, router, destination);
    add_source(row, desk, router, source);
    add_source(row, desk, router, wish.was, "was", "wasName");
    row["outcome"] = journal::word_of(journal::OUTCOMES, wish.end);
    const desk::open_wish* const open = find_open(desk, id);
    if (open != nullptr) row["state"] = desk::text_of(open->state);
    if (wish.unchanged) row["unchanged"] = true;
    if (wish.why != desk::reason::none) row["reason"] = desk::code_of(wish.why);
    if (!wish.detail.empty()) row["detail"] = wish.detail;
    if (open != nullptr && open->state == desk::wish_state::sent)
        row["sentMs"] = milliseconds(open->sent - open->begun.steady);
    add_duration(row, "sentMs", wish.sent_after);
    if (open != nullptr && open->take_answered)
        row["answeredMs"] = milliseconds(*open->take_answered - open->begun.steady);
    add_duration(row, "answeredMs", wish.answered_after);
    add_duration(row, "endedMs", wish.ended_after);
    if (wish.end == desk::outcome::confirmed) add_duration(row, "latencyMs", wish.ended_after);
    add_duration(row, "lateMs", wish.confirmed_late_after);
    if (wish.found) row["found"] = *wish.found == desk::NO_SOURCE ? json() : json(*wish.found);
    if (wish.accepted) row["accepted"] = true;
    return row;
}

json operation_json(const server& server, const desk::rights& may, const desk::ulid& id,
                    const desk::batch& batch)
{
    json body = {
        {"id", text_of(id)},
        {"kind", journal::word_of(journal::BATCH_KINDS, batch.kind)},
        {"state", has_ended(batch) ? "ended" : "open"},
        {"rule", journal::word_of(journal::BATCH_RULES, batch.rule)},
        {"actor", {{"person", person_json(server, batch.person)}, {"origin", batch.origin}}}};
    if (!batch.reason_given.empty()) body["reason"] = batch.reason_given;
    body["wished"] = time_text(batch.made);
    if (batch.kind == desk::batch_kind::salvo)
        body["salvo"] = salvo_run_json(server.desk, may, batch);
    else if (!batch.of.is_none())
        body["of"] = text_of(batch.of);
    json rows = json::array();
    for (std::uint32_t i = 0; i < batch.rows.size(); ++i) {
        const desk::wish& wish = batch.rows[i];
        if (right_on(may, wish.wished.router) < desk::right::view) continue;
        rows.push_back(operation_row_json(server.desk, {id, i}, wish));
    }
    body["counts"] = counts_json(may, batch);
    body["rows"] = std::move(rows);
    return body;
}

json counts_json(const desk::rights& may, const desk::batch& batch)
{
    std::map<desk::outcome, int> counts;
    for (const desk::wish& wish : batch.rows)
        if (right_on(may, wish.wished.router) >= desk::right::view) ++counts[wish.end];
    json told = json::object();
    for (const auto& [outcome, count] : counts)
        told[std::string(journal::word_of(journal::OUTCOMES, outcome))] = count;
    return told;
}

bool may_view(const desk::rights& may, const desk::batch& batch)
{
    return std::any_of(batch.rows.begin(), batch.rows.end(), [&](const desk::wish& row) {
        return right_on(may, row.wished.router) >= desk::right::view;
    });
}

json salvo_run_json(const desk::desk_state& desk, const desk::rights& may, const desk::batch& batch)
{
    const auto salvo = desk.house.salvos.find(batch.of);
    const auto may_view = [&](const desk::route& row) {
        return right_on(may, row.router) >= desk::right::view;
    };
    const bool told = salvo != desk.house.salvos.end() &&
                      std::any_of(salvo->second.versions.back().rows.begin(),
                                  salvo->second.versions.back().rows.end(), may_view);
    return {{"id", text_of(batch.of)},
            {"name", told ? salvo->second.name : ""},
            {"version", batch.salvo_version}};
}

json dry_run_json(const desk::desk_state& desk, const desk::rights& may, const desk::moment& now,
                  desk::batch_rule rule, const desk::take_answer& answer)
{
    int change = 0;
    int unchanged = 0;
    json rows = json::array();
    for (const desk::row_answer& row : answer.rows) {
        if (right_on(may, row.wished.router) < desk::right::view) continue;
        change += row.goes ? 1 : 0;
        unchanged += row.unchanged ? 1 : 0;
        rows.push_back(dry_row_json(desk, row));
    }
    return {{"checked", time_text(now.utc)},
            {"rule", journal::word_of(journal::BATCH_RULES, rule)},
            {"change", change},
            {"unchanged", unchanged},
            {"blocked", static_cast<int>(rows.size()) - change - unchanged},
            {"rows", std::move(rows)}};
}

bool has_ended(const desk::batch& batch)
{
    return std::none_of(batch.rows.begin(), batch.rows.end(),
                        [](const desk::wish& wish) { return wish.end == desk::outcome::open; });
}

problem problem_of_row(const server& server, const desk::wish_id& id, const desk::wish& wish)
{
    const auto& [router, destination, source] = wish.wished;
    problem problem;
    problem.code = code_of(wish);
    problem.detail = detail_of(server.desk, wish);
    problem.router = router;
    problem.destination = destination;
    problem.operation = text_of(id.batch);
    add_lock_owner(server, problem);
    return problem;
}

} // namespace web
