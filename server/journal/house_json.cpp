#include "server/journal/house_json.h"

#include "server/desk/words.h"
#include "server/journal/house_parts.h"
#include "server/journal/house_words.h"

namespace journal {

namespace {
using nlohmann::json;

json source_number(int source)
{
    if (source == desk::NO_SOURCE) return nullptr;
    if (source == desk::UNKNOWN_SOURCE) return "unknown";
    return source;
}

json route_object(const desk::route& route)
{
    return {{"router", route.router},
            {"destination", route.destination},
            {"source", source_number(route.source)}};
}
} // namespace

json settings_object(const desk::router_settings& settings)
{
    json object = {{"name", settings.name},
                   {"address", settings.address},
                   {"port", settings.port},
                   {"inputs", settings.inputs},
                   {"outputs", settings.outputs},
                   {"firstNumber", settings.first_number},
                   {"confirmationLimit", settings.confirmation_limit.count()}};
    if (settings.simulated)
        object["simulated"] = {{"sources", settings.simulated->sources},
                               {"destinations", settings.simulated->destinations}};
    return object;
}

json known_router_object(const desk::router_settings& settings, const desk::ulid& added_after)
{
    json object = settings_object(settings);
    if (!added_after.is_none()) object["addedAfter"] = desk::text_of(added_after);
    return object;
}

json label_object(int position, const desk::label& label)
{
    return {{"index", position}, {"alias", label.alias}, {"group", label.group}};
}

namespace {
json labels_array(const std::map<int, desk::label>& labels)
{
    json array = json::array();
    for (const auto& [position, label] : labels)
        array.push_back(label_object(position, label));
    return array;
}

json wish_id_object(const desk::wish_id& id)
{
    return {{"batch", desk::text_of(id.batch)}, {"row", id.row}};
}
} // namespace

json lock_object(int destination, const desk::lock& lock)
{
    json object = {{"index", destination},
                   {"mode", word_of(LOCK_MODES, lock.mode)},
                   {"owner", lock.owner},
                   {"reason", lock.reason},
                   {"since", lock.since.count()}};
    if (lock.until) object["until"] = lock.until->count();
    return object;
}

namespace {
json router_object(const desk::house_router& router)
{
    json object = {{"settings", known_router_object(router.settings, router.added_after)},
                   {"sourceLabels", labels_array(router.source_labels)},
                   {"destinationLabels", labels_array(router.destination_labels)},
                   {"locks", json::array()},
                   {"authors", json::array()}};
    for (const auto& [destination, lock] : router.locks)
        object["locks"].push_back(lock_object(destination, lock));
    for (const auto& [destination, author] : router.authors) {
        json& each = object["authors"].emplace_back(
            json{{"index", destination}, {"source", source_number(author.source)}});
        if (author.by) each["by"] = wish_id_object(*author.by);
        if (author.by) each["person"] = author.person;
        if (author.since) each["since"] = author.since->count();
    }
    return object;
}
} // namespace

json version_object(const desk::salvo_version& version)
{
    json object = {{"number", version.number},
                   {"author", version.author},
                   {"saved", version.saved.count()},
                   {"note", version.note},
                   {"rule", word_of(BATCH_RULES, version.rule)},
                   {"rows", json::array()}};
    for (const desk::route& row : version.rows)
        object["rows"].push_back(route_object(row));
    return object;
}

namespace {
json salvo_object(const desk::salvo& salvo)
{
    json object = {{"name", salvo.name}, {"versions", json::array()}};
    for (const desk::salvo_version& version : salvo.versions)
        object["versions"].push_back(version_object(version));
    return object;
}

void add_duration(json& object, const char* name, const std::optional<desk::monotonic>& duration)
{
    if (duration) object[name] = duration->count();
}
} // namespace

json doings_object(const desk::doings& doings)
{
    json object = json::object();
    if (doings.replaced) object["replaced"] = wish_id_object(*doings.replaced);
    if (doings.restored) object["restored"] = wish_id_object(*doings.restored);
    return object;
}

json wish_object(const desk::wish& wish)
{
    json object = route_object(wish.wished);
    object["was"] = source_number(wish.was);
    object["end"] = word_of(OUTCOMES, wish.end);
    if (wish.unchanged) object["unchanged"] = true;
    if (wish.why != desk::reason::none) object["why"] = desk::code_of(wish.why);
    if (!wish.detail.empty()) object["detail"] = wish.detail;
    add_duration(object, "sentAfter", wish.sent_after);
    add_duration(object, "answeredAfter", wish.answered_after);
    add_duration(object, "endedAfter", wish.ended_after);
    add_duration(object, "confirmedLateAfter", wish.confirmed_late_after);
    object.update(doings_object(wish.doings));
    if (wish.found) object["found"] = source_number(*wish.found);
    if (wish.accepted) object["accepted"] = true;
    return object;
}

json batch_object(const desk::batch& batch)
{
    json object = {{"kind", word_of(BATCH_KINDS, batch.kind)},
                   {"rule", word_of(BATCH_RULES, batch.rule)},
                   {"person", batch.person},
                   {"origin", batch.origin},
                   {"reason", batch.reason_given},
                   {"made", batch.made.count()},
                   {"rows", json::array()}};
    if (!batch.of.is_none()) object["of"] = desk::text_of(batch.of);
    if (batch.salvo_version != 0) object["salvoVersion"] = batch.salvo_version;
    for (const desk::wish& row : batch.rows)
        object["rows"].push_back(wish_object(row));
    return object;
}

namespace {
json steps_array(const std::deque<desk::undo_step>& steps)
{
    json array = json::array();
    for (const desk::undo_step& step : steps) {
        json& each = array.emplace_back(json{{"batch", desk::text_of(step.batch)},
                                             {"made", step.made.count()},
                                             {"rows", json::array()}});
        for (const desk::undo_row& row : step.rows) {
            json& one = each["rows"].emplace_back(route_object(row.put));
            one["by"] = wish_id_object(row.by);
            one["was"] = source_number(row.was);
        }
    }
    return array;
}
} // namespace

json notice_object(const desk::notice& notice)
{
    return {{"person", notice.person}, {"at", notice.at.count()},     {"by", notice.by},
            {"router", notice.router}, {"index", notice.destination}, {"reason", notice.reason}};
}

nlohmann::json house_json(const desk::house& house)
{
    json object = {{"format", HOUSE_FORMAT},          {"version", HOUSE_VERSION},
                   {"routers", json::object()},       {"salvos", json::object()},
                   {"batches", json::object()},       {"undo", json::object()},
                   {"deletedSalvos", json::object()}, {"notices", json::object()}};
    for (const auto& [id, router] : house.routers)
        object["routers"][id] = router_object(router);
    for (const auto& [id, salvo] : house.salvos)
        object["salvos"][desk::text_of(id)] = salvo_object(salvo);
    for (const auto& [id, deleted] : house.deleted_salvos) {
        json& salvo = object["deletedSalvos"][desk::text_of(id)] = salvo_object(deleted.salvo);
        salvo["deleted"] = deleted.deleted.count();
    }
    for (const auto& [id, batch] : house.batches)
        object["batches"][desk::text_of(id)] = batch_object(batch);
    for (const auto& [person, record] : house.undo)
        object["undo"][person] = {{"undo", steps_array(record.undo)},
                                  {"redo", steps_array(record.redo)}};
    for (const auto& [id, notice] : house.notices)
        object["notices"][desk::text_of(id)] = notice_object(notice);
    return object;
}

} // namespace journal
