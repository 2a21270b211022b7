#include "server/web/live_house_data.h"

#include <algorithm>
#include <map>
#include <set>

#include "server/web/operation_json.h"
#include "server/web/router_json.h"
#include "server/web/salvo_json.h"

namespace web {

namespace {
constexpr std::chrono::minutes RECENT{1};

// `rows`: their numbers in the batch. They are told by their places among those that may be viewed.
json rows_change(const server& server, const desk::rights& may, const desk::ulid& id,
                 const desk::batch& batch, const std::set<int>& rows)
{
    json results = json::array();
    int place = 0;
    for (std::uint32_t i = 0; i < batch.rows.size(); ++i) {
        const desk::wish& wish = batch.rows[i];
        if (right_on(may, wish.wished.router) < desk::right::view) continue;
        if (rows.contains(static_cast<int>(i)))
            results.push_back(
                {{"row", place}, {"result", operation_row_json(server.desk, {id, i}, wish)}});
        ++place;
    }
    return {{"kind", "rows"},
            {"operation", desk::text_of(id)},
            {"state", has_ended(batch) ? "ended" : "open"},
            {"counts", counts_json(may, batch)},
            {"rows", std::move(results)}};
}

bool was_viewable(const desk::rights& may, const desk::salvo& salvo)
{
    return std::any_of(
        salvo.versions.begin(), salvo.versions.end(), [&](const desk::salvo_version& version) {
            return std::any_of(version.rows.begin(), version.rows.end(), [&](const auto& row) {
                return right_on(may, row.router) >= desk::right::view;
            });
        });
}

// Whether it is to be told that the salvo, which may not be viewed or is not there any more, has
// gone: not to somebody who can never have seen it.
bool is_gone(const server& server, const desk::rights& may, const desk::ulid& id)
{
    const desk::house& house = server.desk.house;
    if (const auto salvo = house.salvos.find(id); salvo != house.salvos.end())
        return was_viewable(may, salvo->second);
    const auto deleted = house.deleted_salvos.find(id);
    return deleted == house.deleted_salvos.end() || was_viewable(may, deleted->second.salvo);
}
} // namespace

bool is_recent(const desk::batch& batch, const desk::moment& now)
{
    return now.utc - batch.made < RECENT || !has_ended(batch);
}

json operations_data(const server& server, const desk::moment& now, const desk::rights& may)
{
    json operations = json::array();
    for (const auto& [id, batch] : server.desk.house.batches)
        if (is_recent(batch, now) && may_view(may, batch))
            operations.push_back(operation_json(server, may, id, batch));
    return {{"operations", std::move(operations)}};
}

json salvos_data(const server& server, const desk::rights& may)
{
    return {{"salvos", salvos_json(server, may, false)["salvos"]}};
}

json routers_changes(const server& server, const desk::rights& may,
                     const std::vector<live_thing>& things)
{
    json changes = json::array();
    for (const live_thing& each : things) {
        if (right_on(may, each.id) < desk::right::view) continue;
        if (desk::find_live(server.desk, each.id) == nullptr)
            changes.push_back({{"kind", "routerRemoved"}, {"id", each.id}});
        else
            changes.push_back({{"kind", "router"}, {"router", router_json(server, each.id)}});
    }
    return changes;
}

json operations_changes(const server& server, const desk::rights& may,
                        const std::vector<live_thing>& things)
{
    std::set<std::string> whole;
    std::map<std::string, std::set<int>> rows;
    for (const live_thing& each : things) {
        if (each.what == live_thing::kind::operation)
            whole.insert(each.id);
        else
            rows[each.id].insert(each.position);
    }
    json changes = json::array();
    const auto add = [&](const std::string& text, const std::set<int>* some) {
        desk::ulid id;
        desk::read_id(text, id);
        const auto found = server.desk.house.batches.find(id);
        if (found == server.desk.house.batches.end() || !may_view(may, found->second)) return;
        if (some == nullptr)
            changes.push_back({{"kind", "operation"},
                               {"operation", operation_json(server, may, id, found->second)}});
        else
            changes.push_back(rows_change(server, may, id, found->second, *some));
    };
    for (const std::string& id : whole)
        add(id, nullptr);
    for (const auto& [id, some] : rows)
        if (!whole.contains(id)) add(id, &some);
    return changes;
}

json salvos_changes(const server& server, const desk::rights& may,
                    const std::vector<live_thing>& things)
{
    json changes = json::array();
    for (const live_thing& each : things) {
        desk::ulid id;
        desk::read_id(each.id, id);
        const auto salvo = server.desk.house.salvos.find(id);
        if (salvo != server.desk.house.salvos.end() && may_view(may, salvo->second))
            changes.push_back(
                {{"kind", "salvo"}, {"salvo", salvo_summary_json(server, may, id, salvo->second)}});
        else if (is_gone(server, may, id))
            changes.push_back({{"kind", "salvoDeleted"}, {"id", each.id}});
    }
    return changes;
}

} // namespace web
