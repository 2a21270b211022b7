#include "server/web/stage_json.h"

#include <algorithm>

#include "server/desk/stages.h"
#include "server/desk/words.h"
#include "server/web/operation_json.h"
#include "server/web/route_json.h"

namespace web {

namespace {
const desk::stage_rows* find_stage(const desk::desk_state& desk, const std::string& person,
                                   const std::string& router)
{
    const auto stages = desk.stages.find(person);
    if (stages == desk.stages.end()) return nullptr;
    const auto stage = stages->second.find(router);
    return stage == stages->second.end() ? nullptr : &stage->second;
}

json row_json(const server& server, const desk::staged_row& row, const desk::row_answer& taken)
{
    const auto& [router, destination, source] = taken.wished;
    const desk::live_router& live = *find_live(server.desk, router);
    json told = json::object();
    add_destination(told, server.desk, router, destination);
    add_source(told, server.desk, router, source);
    add_source(told, server.desk, router, row.seen, "seen", "seenName");
    told["staged"] = time_text(row.staged);
    const bool changed = has_changed(live, destination, row);
    told["changed"] = changed;
    if (changed) {
        json now = json::object();
        add_source(now, server.desk, router, source_shown(live, destination));
        add_author(now, server, router, destination);
        told["now"] = std::move(now);
    }
    if (taken.why != desk::reason::none)
        told["blocked"] = {{"reason", desk::code_of(taken.why)}, {"detail", taken.detail}};
    return told;
}
} // namespace

json stage_json(server& server, const desk::moment& now, const desk::actor& actor,
                const std::string& router)
{
    json rows = json::array();
    desk::batch_command would_take;
    would_take.rule = desk::batch_rule::rest;
    would_take.dry_run = true;
    const desk::take_answer taken = take_stage(server.desk, now, actor, router, would_take);
    if (const desk::stage_rows* const stage = find_stage(server.desk, actor.person, router))
        for (const desk::row_answer& row : taken.rows)
            rows.push_back(row_json(server, stage->at(row.wished.destination), row));
    return {{"router", router}, {"rows", std::move(rows)}};
}

json staged_json(const server& server, const std::string& router, const std::string& person)
{
    json destinations = json::array();
    if (const desk::stage_rows* const stage = find_stage(server.desk, person, router))
        for (const auto& [destination, row] : *stage)
            destinations.push_back(destination);
    return {{"person", person_json(server, person)}, {"destinations", std::move(destinations)}};
}

json stages_json(const server& server, const std::string& router)
{
    json stages = json::array();
    for (const auto& [person, routers] : server.desk.stages)
        if (routers.contains(router)) stages.push_back(staged_json(server, router, person));
    return {{"router", router}, {"stages", std::move(stages)}};
}

} // namespace web
