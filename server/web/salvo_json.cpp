#include "server/web/salvo_json.h"

#include <algorithm>
#include <set>

#include "server/desk/salvos.h"
#include "server/desk/words.h"
#include "server/journal/house_words.h"
#include "server/web/call.h"
#include "server/web/operation_json.h"

namespace web {

namespace {
bool may_view(const desk::rights& may, const desk::route& row)
{
    return right_on(may, row.router) >= desk::right::view;
}

int count_rows(const desk::rights& may, const desk::salvo_version& version)
{
    return static_cast<int>(
        std::count_if(version.rows.begin(), version.rows.end(),
                      [&](const desk::route& row) { return may_view(may, row); }));
}

json row_json(const desk::desk_state& desk, const desk::route& row)
{
    json told = {{"router", row.router}};
    add_destination(told, desk, row.router, row.destination);
    add_source(told, desk, row.router, row.source);
    const desk::reason missing = missing_for(desk, row);
    if (missing != desk::reason::none) told["gone"] = desk::code_of(missing);
    return told;
}

json head_json(const server& server, const desk::ulid& id, const desk::salvo& salvo,
               const desk::salvo_version& version)
{
    return {{"id", text_of(id)},
            {"name", salvo.name},
            {"note", version.note},
            {"rule", journal::word_of(journal::BATCH_RULES, version.rule)},
            {"version", version.number},
            {"author", person_json(server, version.author)},
            {"saved", time_text(version.saved)}};
}
} // namespace

json salvo_json(const server& server, const desk::rights& may, const desk::ulid& id,
                const desk::salvo& salvo, const desk::salvo_version& version)
{
    json body = head_json(server, id, salvo, version);
    body["rows"] = json::array();
    for (const desk::route& row : version.rows)
        if (may_view(may, row)) body["rows"].push_back(row_json(server.desk, row));
    return body;
}

json salvo_summary_json(const server& server, const desk::rights& may, const desk::ulid& id,
                        const desk::salvo& salvo, std::optional<desk::wall> deleted)
{
    const desk::salvo_version& newest = salvo.versions.back();
    json body = head_json(server, id, salvo, newest);
    std::set<std::string> routers;
    for (const desk::route& row : newest.rows)
        if (may_view(may, row)) routers.insert(row.router);
    body["rowCount"] = count_rows(may, newest);
    body["routers"] = routers;
    if (deleted) body["deleted"] = time_text(*deleted);
    return body;
}

json salvos_json(const server& server, const desk::rights& may, bool deleted)
{
    std::multimap<std::string, json> by_name;
    const desk::house& house = server.desk.house;
    if (deleted) {
        for (const auto& [id, gone] : house.deleted_salvos)
            if (may_view(may, gone.salvo))
                by_name.emplace(gone.salvo.name,
                                salvo_summary_json(server, may, id, gone.salvo, gone.deleted));
    } else {
        for (const auto& [id, salvo] : house.salvos)
            if (may_view(may, salvo))
                by_name.emplace(salvo.name, salvo_summary_json(server, may, id, salvo));
    }
    json salvos = json::array();
    for (auto& [name, salvo] : by_name)
        salvos.push_back(std::move(salvo));
    return {{"revision", server.desk.revision}, {"salvos", std::move(salvos)}};
}

json salvo_versions_json(const server& server, const desk::rights& may, const desk::ulid& id,
                         const desk::salvo& salvo)
{
    json versions = json::array();
    std::for_each(salvo.versions.rbegin(), salvo.versions.rend(),
                  [&](const desk::salvo_version& version) {
                      versions.push_back({{"version", version.number},
                                          {"author", person_json(server, version.author)},
                                          {"saved", time_text(version.saved)},
                                          {"note", version.note},
                                          {"rowCount", count_rows(may, version)}});
                  });
    return {{"id", text_of(id)}, {"name", salvo.name}, {"versions", std::move(versions)}};
}

bool may_view(const desk::rights& may, const desk::salvo& salvo)
{
    const std::vector<desk::route>& rows = salvo.versions.back().rows;
    return std::any_of(rows.begin(), rows.end(),
                       [&](const desk::route& row) { return may_view(may, row); });
}

} // namespace web
