#include "server/web/live_person_data.h"

#include "server/desk/undo.h"
#include "server/web/notice_json.h"
#include "server/web/settings_json.h"
#include "server/web/stage_json.h"

namespace web {

namespace {
bool may_view(const desk::actor& actor, const std::string& router)
{
    return desk::right_on(actor.may, router) >= desk::right::view;
}

json stage_change(server& server, const desk::moment& now, const desk::actor& actor,
                  const std::string& router)
{
    const bool is_there = desk::find_live(server.desk, router) != nullptr;
    return {{"kind", "stage"},
            {"stage", is_there ? stage_json(server, now, actor, router)
                               : json{{"router", router}, {"rows", json::array()}}}};
}

json notice_change(const server& server, const std::string& text)
{
    desk::ulid id;
    desk::read_id(text, id);
    const auto notice = server.desk.house.notices.find(id);
    if (notice == server.desk.house.notices.end())
        return {{"kind", "noticeDismissed"}, {"id", text}};
    return {{"kind", "notice"}, {"notice", notice_json(server, id, notice->second)}};
}

json undo_change(const server& server, const desk::moment& now, const std::string& person)
{
    const auto [undo, redo] = count_steps(server, now, person);
    return {{"kind", "undo"}, {"undo", undo}, {"redo", redo}};
}
} // namespace

std::pair<std::size_t, std::size_t> count_steps(const server& server, const desk::moment& now,
                                                const std::string& person)
{
    return {undo_steps(server.desk.house, now, person).size(),
            redo_steps(server.desk.house, now, person).size()};
}

json person_data(server& server, const desk::moment& now, const desk::actor& actor)
{
    json stages = json::array();
    if (const auto staged = server.desk.stages.find(actor.person);
        staged != server.desk.stages.end())
        for (const auto& [router, rows] : staged->second)
            if (may_view(actor, router)) stages.push_back(stage_json(server, now, actor, router));
    const auto [undo, redo] = count_steps(server, now, actor.person);
    return {{"stages", std::move(stages)},
            {"settings", settings_json(server, actor.person)},
            {"undo", undo},
            {"redo", redo},
            {"notices", notices_json(server, actor.person, now.utc)["notices"]}};
}

json person_changes(server& server, const desk::moment& now, const desk::actor& actor,
                    const std::vector<live_thing>& things)
{
    json changes = json::array();
    for (const live_thing& each : things) {
        if (each.what == live_thing::kind::stage && may_view(actor, each.id))
            changes.push_back(stage_change(server, now, actor, each.id));
        if (each.what == live_thing::kind::settings)
            changes.push_back(
                {{"kind", "settings"}, {"settings", settings_json(server, actor.person)}});
        if (each.what == live_thing::kind::undo)
            changes.push_back(undo_change(server, now, actor.person));
        if (each.what == live_thing::kind::notice)
            changes.push_back(notice_change(server, each.id));
    }
    return changes;
}

} // namespace web
