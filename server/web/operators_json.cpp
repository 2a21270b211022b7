#include <algorithm>
#include <set>

#include "server/accounts/sessions.h"
#include "server/desk/words.h"
#include "server/web/server_json.h"

namespace web {

namespace {
constexpr std::chrono::minutes HERE{1}; // since the last request

struct presence {
    std::size_t connections = 0;
    std::string screen{}; // of the newest
    std::string router{};
};

// By id.
std::map<std::string, presence, std::less<>> find_present(const server& server,
                                                          const desk::moment& now)
{
    std::map<std::string, presence, std::less<>> present;
    for (const auto& [id, used] : accounts::last_uses(server.accounts))
        if (now.utc - used < HERE) present[id];
    for (const auto& [id, token] : server.accounts.tokens)
        if (token.used > desk::wall{} && now.utc - token.used < HERE) present[id];
    for (const auto& [stream, client] : server.live.clients) { // the newest last
        presence& here = present[client.actor.person];
        ++here.connections;
        here.screen = client.screen;
        here.router = client.router;
    }
    return present;
}

bool may_view(const desk::actor& actor, const std::string& router)
{
    return desk::right_on(actor.may, router) >= desk::right::view;
}

std::string name_of(const server& server, const desk::batch& batch)
{
    const std::size_t count = batch.rows.size();
    const desk::route& first = batch.rows.front().wished;
    const auto salvo = server.desk.house.salvos.find(batch.of);
    switch (batch.kind) {
    case desk::batch_kind::take:
        if (count == 1)
            return desk::source_name(server.desk, first.router, first.source) + " to " +
                   desk::destination_name(server.desk, first.router, first.destination);
        return std::to_string(count) + " routes";
    case desk::batch_kind::stage:
        return "Stage, " + std::to_string(count) + (count == 1 ? " route" : " routes");
    case desk::batch_kind::salvo:
        return salvo == server.desk.house.salvos.end() ? "Salvo" : "Salvo " + salvo->second.name;
    case desk::batch_kind::undo:
        return "Undo";
    case desk::batch_kind::redo:
        return "Redo";
    case desk::batch_kind::rollback:
        return "Rollback";
    }
    return "";
}

// What each of them did last, of what the actor may see.
std::map<std::string, json, std::less<>>
last_actions(const server& server, const desk::actor& actor,
             const std::map<std::string, presence, std::less<>>& present)
{
    std::map<std::string, json, std::less<>> actions;
    const auto& batches = server.desk.house.batches; // by time
    for (auto it = batches.rbegin(); it != batches.rend() && actions.size() < present.size();
         ++it) {
        const desk::batch& batch = it->second;
        if (!batch.rows.empty() && present.contains(batch.person) &&
            std::all_of(batch.rows.begin(), batch.rows.end(),
                        [&](const desk::wish& row) { return may_view(actor, row.wished.router); }))
            actions.try_emplace(batch.person, json{{"time", time_text(batch.made)},
                                                   {"text", name_of(server, batch)}});
    }
    return actions;
}

// Of what the actor may see.
std::size_t staged_by(const server& server, const desk::actor& actor, const std::string& person)
{
    std::size_t count = 0;
    const auto found = server.desk.stages.find(person);
    if (found == server.desk.stages.end()) return 0;
    for (const auto& [router, rows] : found->second)
        if (may_view(actor, router)) count += rows.size();
    return count;
}
} // namespace

json operators_json(const server& server, const desk::moment& now, const desk::actor& actor)
{
    const auto present = find_present(server, now);
    const auto actions = last_actions(server, actor, present);
    std::vector<json> all;
    for (const auto& [id, here] : present) {
        json one = {{"person", person_json(server, id)},
                    {"connections", here.connections},
                    {"screen", here.screen}};
        if (!here.router.empty() && may_view(actor, here.router)) one["router"] = here.router;
        one["staged"] = staged_by(server, actor, id);
        if (const auto action = actions.find(id); action != actions.end())
            one["lastAction"] = action->second;
        all.push_back(std::move(one));
    }
    std::stable_sort(all.begin(), all.end(), [](const json& one, const json& other) {
        return one["person"]["name"] < other["person"]["name"];
    });
    return {{"operators", all}};
}

} // namespace web
