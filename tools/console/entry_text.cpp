#include "console/entry_text.h"

#include <algorithm>

#include "console/batch_text.h"
#include "console/route_names.h"
#include "console/route_rows.h"
#include "console/times.h"
#include "server/desk/words.h"

namespace console {

namespace {
std::string router_name(const console_state& console, const std::string& router)
{
    const desk::house_router* const known = desk::find_router(console.desk, router);
    return known == nullptr ? router : known->settings.name;
}

std::string number_text(const console_state& console, const std::string& router, int position)
{
    const desk::house_router* const known = desk::find_router(console.desk, router);
    return std::to_string(position + (known == nullptr ? 1 : known->settings.first_number));
}

std::string salvo_name(const console_state& console, const desk::ulid& id)
{
    const desk::house& house = console.desk.house;
    const auto salvo = house.salvos.find(id);
    if (salvo != house.salvos.end()) return salvo->second.name;
    const auto deleted = house.deleted_salvos.find(id);
    return deleted == house.deleted_salvos.end() ? desk::text_of(id) : deleted->second.salvo.name;
}

std::string rows_text(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " row" : " rows");
}

std::string kind_text(desk::batch_kind kind)
{
    switch (kind) {
    case desk::batch_kind::take:
        return "take";
    case desk::batch_kind::stage:
        return "take of the staged list";
    case desk::batch_kind::salvo:
        return "salvo";
    case desk::batch_kind::undo:
        return "undo";
    case desk::batch_kind::redo:
        return "redo";
    case desk::batch_kind::rollback:
        return "rollback";
    }
    return "";
}

// Of a wish that may have been forgotten: without its route then.
std::string known_wish_text(const console_state& console, const desk::wish_id& id)
{
    const desk::wish* const wish = desk::find_wish(console.desk.house, id);
    return wish == nullptr ? "a forgotten row" : route_text(console, wish->wished);
}

// The kind of an entry, in JSON, its sentence, and what else is in its JSON.
struct told_entry {
    std::string event;
    std::string text;
    nlohmann::json json = nlohmann::json::object();
};

struct entry_teller {
    const console_state& console;
    const desk::entry& entry;

    told_entry operator()(const desk::router_set& set) const
    {
        const desk::router_settings& settings = set.settings;
        const std::string address = settings.address.empty()
                                        ? "no address"
                                        : settings.address + ":" + std::to_string(settings.port);
        return {"settings",
                "The settings of " + settings.name + " are different now (" + address + ")",
                {{"router", settings.id}, {"address", settings.address}, {"port", settings.port}}};
    }

    told_entry operator()(const desk::router_removed& removed) const
    {
        return {"removed", removed.router + " was removed", {{"router", removed.router}}};
    }

    told_entry operator()(const desk::label_set& set) const
    {
        const bool is_source = set.side == desk::side::sources;
        return {"label",
                (is_source ? "Source " : "Destination ") +
                    number_text(console, set.router, set.position) + " of " +
                    router_name(console, set.router) +
                    (set.label.alias.empty() ? " has no alias" : " is " + set.label.alias) +
                    (set.label.group.empty() ? "" : ", in group " + set.label.group),
                {{"router", set.router},
                 {"side", is_source ? "sources" : "destinations"},
                 {"index", set.position},
                 {"alias", set.label.alias},
                 {"group", set.label.group}}};
    }

    told_entry operator()(const desk::lock_set& set) const
    {
        return {"locked",
                place_text(console, set.router, set.destination) + " is " + lock_state(set.lock),
                {{"router", set.router},
                 {"destination", destination_json(console.desk, set.router, set.destination)},
                 {"lock", lock_json(set.lock)}}};
    }

    told_entry operator()(const desk::lock_removed& removed) const
    {
        const std::string place = place_text(console, removed.router, removed.destination);
        const nlohmann::json json = {
            {"router", removed.router},
            {"destination", destination_json(console.desk, removed.router, removed.destination)},
            {"owner", removed.owner},
            {"reason", removed.reason}};
        switch (removed.how) {
        case desk::lock_end::released:
            return {"unlocked", place + " was unlocked by " + entry.person, json};
        case desk::lock_end::broken:
            return {"lockBroken",
                    entry.person + " broke the lock of " + removed.owner + " on " + place + " (" +
                        removed.reason + ")",
                    json};
        case desk::lock_end::expired:
            break;
        }
        return {"lockExpired", "The lock of " + removed.owner + " on " + place + " has expired",
                json};
    }

    told_entry operator()(const desk::notice_dismissed& dismissed) const
    {
        return {"noticeDismissed",
                entry.person + " has read that a lock was broken",
                {{"notice", desk::text_of(dismissed.id)}}};
    }

    told_entry operator()(const desk::salvo_saved& saved) const
    {
        return {"salvoSaved",
                "Salvo " + saved.name + " was saved by " + entry.person + " as version " +
                    std::to_string(saved.version.number) + ", " +
                    rows_text(saved.version.rows.size()),
                {{"salvo", saved.name},
                 {"version", saved.version.number},
                 {"rows", saved.version.rows.size()}}};
    }

    told_entry operator()(const desk::salvo_renamed& renamed) const
    {
        return {"salvoRenamed",
                "A salvo is called " + renamed.name + " now, by " + entry.person,
                {{"salvo", renamed.name}}};
    }

    told_entry operator()(const desk::salvo_deleted& deleted) const
    {
        const std::string name = salvo_name(console, deleted.id);
        return {
            "salvoDeleted", "Salvo " + name + " was deleted by " + entry.person, {{"salvo", name}}};
    }

    told_entry operator()(const desk::salvo_restored& restored) const
    {
        const std::string name = salvo_name(console, restored.id);
        return {"salvoRestored",
                "Salvo " + name + " was restored by " + entry.person,
                {{"salvo", name}}};
    }

    told_entry operator()(const desk::salvo_forgotten& forgotten) const
    {
        return {"salvoForgotten",
                "A deleted salvo cannot be restored any more",
                {{"salvo", desk::text_of(forgotten.id)}}};
    }

    told_entry operator()(const desk::batch_made& made) const
    {
        const std::vector<desk::wish>& rows = made.batch.rows;
        const std::string kind = kind_text(made.batch.kind);
        const auto not_sent = std::count_if(
            rows.begin(), rows.end(), [](const auto& row) { return !desk::was_accepted(row); });
        const std::string what = rows.size() == 1 ? asked_text(made.batch.of, rows[0])
                                                  : rows_text(rows.size()) + refused_text(not_sent);
        const bool is_salvo = made.batch.kind == desk::batch_kind::salvo;
        const std::string name = is_salvo ? " " + salvo_name(console, made.batch.of) : "";
        const char* const article = made.batch.kind == desk::batch_kind::undo ? "an " : "a ";
        return {"wished",
                entry.person + " asked for " + article + kind + name + ": " + what,
                {{"batch", desk::text_of(made.id)},
                 {"rows", rows.size()},
                 {"notSent", not_sent},
                 {"wishes", wishes_json(rows)}}};
    }

    nlohmann::json wishes_json(const std::vector<desk::wish>& rows) const
    {
        nlohmann::json wishes = nlohmann::json::array();
        for (const desk::wish& row : rows)
            wishes.push_back(route_json(console.desk, row.wished, row.was));
        return wishes;
    }

    // With its end when it has had that at once.
    std::string asked_text(const desk::ulid& of, const desk::wish& wish) const
    {
        const bool goes = wish.end == desk::outcome::open;
        return route_text(console, wish.wished) + (goes ? "" : ": " + end_text(console, of, wish));
    }

    static std::string refused_text(std::ptrdiff_t not_sent)
    {
        return not_sent == 0 ? "" : ", " + std::to_string(not_sent) + " not sent";
    }

    told_entry operator()(const desk::wish_ended& ended) const
    {
        return told_end("ended", ended.id);
    }

    told_entry operator()(const desk::confirmed_late& late) const
    {
        return told_end("confirmedLate", late.id);
    }

    told_entry operator()(const desk::wish_found& found) const
    {
        return told_end("found", found.id);
    }

    told_entry operator()(const desk::wish_accepted& accepted) const
    {
        return {"accepted",
                known_wish_text(console, accepted.id) + ": accepted as it is by " + entry.person,
                wish_json(accepted.id)};
    }

    told_entry operator()(const desk::outside_change& change) const
    {
        return {"fact",
                place_text(console, change.router, change.destination) + " shows " +
                    desk::source_text(console.desk, change.router, change.source) +
                    ": taken by somebody else",
                {{"router", change.router},
                 {"destination", destination_json(console.desk, change.router, change.destination)},
                 {"source", source_json(console.desk, change.router, change.source)},
                 {"was", source_json(console.desk, change.router, change.was)}}};
    }

    told_entry operator()(const desk::author_forgotten& forgotten) const
    {
        return {"authorForgotten",
                "Whose doing it is what " +
                    place_text(console, forgotten.router, forgotten.destination) +
                    " shows is not known any more",
                {{"router", forgotten.router},
                 {"destination",
                  destination_json(console.desk, forgotten.router, forgotten.destination)}}};
    }

    told_entry told_end(const char* event, const desk::wish_id& id) const
    {
        const desk::wish* const wish = desk::find_wish(console.desk.house, id);
        const std::string end = wish == nullptr ? "its end" : end_text(*wish);
        return {event, known_wish_text(console, id) + ": " + end, wish_json(id)};
    }

    nlohmann::json wish_json(const desk::wish_id& id) const
    {
        nlohmann::json json = {{"batch", desk::text_of(id.batch)}, {"row", id.row}};
        const desk::wish* const wish = desk::find_wish(console.desk.house, id);
        if (wish == nullptr) return json;
        const desk::route& route = wish->wished;
        json["router"] = route.router;
        json["destination"] = destination_json(console.desk, route.router, route.destination);
        json["source"] = source_json(console.desk, route.router, route.source);
        json["outcome"] = code_of(wish->end);
        json["detail"] = wish->detail;
        return json;
    }
};
} // namespace

std::string entry_text(const console_state& console, const desk::entry& entry)
{
    return std::visit(entry_teller{console, entry}, entry.what).text;
}

nlohmann::json entry_json(const console_state& console, const desk::entry& entry)
{
    told_entry told = std::visit(entry_teller{console, entry}, entry.what);
    told.json["event"] = told.event;
    told.json["at"] = json_time(entry.at);
    if (!entry.person.empty()) {
        told.json["person"] = entry.person;
        told.json["origin"] = entry.origin;
    }
    return told.json;
}

} // namespace console
