#include "server/web/history_json.h"

#include <algorithm>
#include <array>

#include "server/accounts/kept_accounts.h"
#include "server/desk/words.h"
#include "server/journal/entry_tables.h"
#include "server/web/call.h"
#include "server/web/salvo_json.h"

namespace web {

namespace {
constexpr std::size_t MEMBERS = 24; // of an entry, about

// Beside the kinds of batches, which are the same words.
constexpr auto WHYS = std::to_array<std::pair<std::string_view, std::string_view>>({
    {journal::LOCK_ENDS[0].first, "unlock"},
    {journal::LOCK_ENDS[1].first, "force"},
    {journal::LOCK_ENDS[2].first, "expiry"},
    {journal::OUTCOME_ACCEPTED, "accept"},
    {journal::OUTSIDE_CHANGE, "outside"},
    {accounts::PERSON_SET, "people"},
    {accounts::PERSON_REMOVED, "people"},
    {accounts::PASSWORD_SET, "people"},
    {accounts::TOKEN_MADE, "people"},
    {accounts::TOKEN_REMOVED, "people"},
    {accounts::SIGNED_IN, "signIn"},
    {accounts::SIGN_IN_FAILED, "signIn"},
    {accounts::SESSION_ENDED, "signIn"},
});

bool is_wish(const journal::history_row& row)
{
    return !row.outcome.empty();
}

// Of the row's data; empty when it is not there.
std::string text_in(const json& data, const char* name)
{
    const auto found = data.find(name);
    return found != data.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string number_in(const json& data, const char* name)
{
    const auto found = data.find(name);
    return found != data.end() && found->is_number() ? found->dump() : "";
}

std::string label_text(const server& server, const journal::history_row& row, const json& data)
{
    const bool of_source = text_in(data, "side") == "sources";
    const auto index = data.find("index");
    const int position = index != data.end() && index->is_number_integer() ? index->get<int>() : 0;
    const std::string alias = text_in(data, "alias");
    const std::string group = text_in(data, "group");
    return (of_source ? desk::source_name(server.desk, row.router, position)
                      : desk::destination_name(server.desk, row.router, position)) +
           ": alias " + (alias.empty() ? "none" : alias) + ", group " +
           (group.empty() ? "none" : group);
}

// What was changed, or the person's reason.
std::string words_of(const server& server, const journal::history_row& row, const json& data)
{
    const std::string& kind = row.kind;
    if (is_wish(row)) return row.reason_given;
    if (kind == journal::ROUTER_SET)
        return "router " + text_in(data, "name") + " at " + text_in(data, "address") + ":" +
               number_in(data, "port");
    if (kind == journal::ROUTER_REMOVED) return "router removed";
    if (kind == journal::LABEL_SET) return label_text(server, row, data);
    if (kind == journal::SALVO_SAVED) return "salvo " + text_in(data, "name") + " saved";
    if (kind == journal::SALVO_RENAMED)
        return "salvo " + text_in(data, "was") + " renamed to " + text_in(data, "name");
    if (kind == journal::SALVO_RESTORED) return "salvo " + text_in(data, "name") + " restored";
    if (kind == journal::SALVO_DELETED) return "salvo " + text_in(data, "name") + " deleted";
    if (kind == accounts::PERSON_SET)
        return "person " + text_in(data, "name") + " (" + text_in(data, "id") + ") set";
    if (kind == accounts::PERSON_REMOVED) return "person " + text_in(data, "id") + " removed";
    if (kind == accounts::PASSWORD_SET) return "password of " + text_in(data, "id") + " set";
    if (kind == accounts::TOKEN_MADE) return "token " + text_in(data, "id") + " made";
    if (kind == accounts::TOKEN_REMOVED) return "token " + text_in(data, "id") + " removed";
    if (kind == accounts::SIGNED_IN) return "from " + row.origin;
    if (kind == accounts::SIGN_IN_FAILED) return "failed, from " + row.origin;
    if (kind == accounts::SESSION_ENDED) return "ended, from " + row.origin;
    return text_in(data, "reason");
}

void add_source(json& entry, const server& server, const journal::history_row& row,
                const std::optional<int>& source, const std::string& name)
{
    if (!source || *source == desk::UNKNOWN_SOURCE) return;
    entry[name] = *source == desk::NO_SOURCE ? json(nullptr) : json(*source);
    entry[name + "Name"] = desk::source_name(server.desk, row.router, *source);
}

void add_time(json& entry, const char* name, const std::optional<desk::monotonic>& time)
{
    if (time) entry[name] = milliseconds(*time);
}

void add_wish(json& entry, const journal::history_row& row)
{
    entry["operation"] = row.batch;
    entry["row"] = row.wish.value_or(0);
    entry["outcome"] = row.outcome;
    if (row.unchanged) entry["unchanged"] = true;
    if (!row.why.empty()) entry["reason"] = row.why;
    if (!row.detail.empty()) entry["detail"] = row.detail;
    add_time(entry, "sentMs", row.sent_after);
    add_time(entry, "answeredMs", row.answered_after);
    add_time(entry, "endedMs", row.ended_after);
    if (row.outcome == "confirmed") add_time(entry, "latencyMs", row.ended_after);
    add_time(entry, "lateMs", row.confirmed_late_after);
}

void add_salvo(json& entry, const server& server, const desk::rights& may,
               const journal::history_row& row)
{
    desk::ulid id;
    if (row.salvo_version == 0 || !desk::read_id(row.salvo, id)) return;
    const auto found = server.desk.house.salvos.find(id);
    const bool told = found != server.desk.house.salvos.end() && may_view(may, found->second);
    const std::string name = told ? found->second.name : row.salvo;
    entry["salvo"] = {{"id", row.salvo}, {"name", name}, {"version", row.salvo_version}};
}

// Unique, and sorts by time: the time, then the row's number in the history.
std::string id_of(const journal::history_row& row)
{
    constexpr unsigned BITS_OF_CHANCE = 16; // below the time in the upper half
    return desk::text_of(
        desk::ulid{static_cast<std::uint64_t>(row.place.at.count()) << BITS_OF_CHANCE,
                   static_cast<std::uint64_t>(row.place.id)});
}

// As RFC 4180 has it. A table program would carry out what begins like a formula.
std::string csv_field(const json& value)
{
    std::string text = value.is_string() ? value.get<std::string>()
                       : value.is_null() ? std::string()
                                         : value.dump();
    constexpr std::string_view FORMULA = "=+-@\t\r";
    if (value.is_string() && !text.empty() && FORMULA.find(text.front()) != std::string_view::npos)
        text.insert(0, 1, '\'');
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    for (std::size_t at = text.find('"'); at != std::string::npos; at = text.find('"', at + 2))
        text.insert(at, 1, '"');
    return "\"" + text + "\"";
}

constexpr auto CSV_FIELDS = std::to_array<const char*>(
    {"time", "person", "router", "destination", "destinationName", "was", "wasName", "source",
     "sourceName", "why", "outcome", "latencyMs", "detail", "operation", "row", "origin", "text"});
} // namespace

std::string_view why_of(const journal::history_row& row)
{
    if (is_wish(row)) return row.kind;
    if (row.kind == journal::LOCK_SET)
        return text_in(json::parse(row.data, nullptr, false), "mode") == "protect" ? "protect"
                                                                                   : "lock";
    const auto* const found = std::find_if(
        WHYS.begin(), WHYS.end(), [&](const auto& each) { return each.first == row.kind; });
    return found == WHYS.end() ? "setting" : found->second;
}

bool may_view_salvo(const server& server, const desk::rights& may, const std::string& salvo)
{
    desk::ulid id;
    const desk::house& house = server.desk.house;
    if (!desk::read_id(salvo, id)) return may.usual >= desk::right::view;
    if (const auto found = house.salvos.find(id); found != house.salvos.end())
        return may_view(may, found->second);
    if (const auto found = house.deleted_salvos.find(id); found != house.deleted_salvos.end())
        return may_view(may, found->second.salvo);
    return may.usual >= desk::right::view;
}

json history_entry(const server& server, const desk::rights& may, const journal::history_row& row)
{
    const json parsed = json::parse(row.data, nullptr, false);
    const json data = parsed.is_object() ? parsed : json::object();
    const std::string_view why = why_of(row);
    json entry = json::object();
    entry.get_ref<json::object_t&>().reserve(MEMBERS); // each growth would copy all there is
    entry["id"] = id_of(row);
    entry["time"] = time_text(row.place.at);
    entry["why"] = why;
    if (!row.person.empty()) entry["person"] = person_json(server, row.person);
    if (!row.origin.empty()) entry["origin"] = why == "signIn" ? "panel" : row.origin;
    const std::string owner = text_in(data, "owner");
    if (!owner.empty() && owner != row.person) entry["of"] = person_json(server, owner);
    if (!row.router.empty()) entry["router"] = row.router;
    if (row.destination) {
        entry["destination"] = *row.destination;
        entry["destinationName"] =
            desk::destination_name(server.desk, row.router, *row.destination);
    }
    add_source(entry, server, row, row.was, "was");
    add_source(entry, server, row, row.source, "source");
    add_salvo(entry, server, may, row);
    if (is_wish(row)) add_wish(entry, row);
    const std::string words = words_of(server, row, data);
    if (!words.empty()) entry["text"] = words;
    return entry;
}

std::string csv_names()
{
    std::string line;
    for (const char* const name : CSV_FIELDS)
        line += (line.empty() ? "" : ",") + std::string(name);
    return line + "\r\n";
}

std::string csv_line(const json& entry)
{
    std::string line;
    for (const char* const name : CSV_FIELDS) {
        if (name != CSV_FIELDS.front()) line += ',';
        const auto value = entry.find(name);
        if (value != entry.end())
            line += csv_field(value->is_object() ? value->at("name") : *value);
    }
    return line + "\r\n";
}

} // namespace web
