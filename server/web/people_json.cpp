#include "server/web/people_json.h"

#include "server/accounts/account_json.h"
#include "server/desk/limits.h"

namespace web {

namespace {
const std::vector<std::string>& right_words()
{
    static const std::vector<std::string> WORDS = {"none", "view", "operate", "engineer",
                                                   "administer"};
    return WORDS;
}
} // namespace

desk::rights read_rights(const json& value, const std::string& at, std::vector<problem_at>& wrong)
{
    fields rights = fields_of(value, at, wrong);
    desk::rights read;
    require(rights, "usual");
    require(rights, "exceptions");
    if (const auto word = read_word(rights, "usual", right_words()))
        read.usual = static_cast<desk::right>(*word);
    if (const json* const exceptions = find_member(rights, "exceptions")) {
        fields each = fields_of(*exceptions, at + "/exceptions", wrong);
        if (each.object.size() > desk::ROUTERS)
            complain(rights, "exceptions", "exceptions has more routers than there can be");
        for (const auto& [router, right] : each.object.items())
            if (const auto word = read_word(each, router, right_words()))
                read.exceptions[router] = static_cast<desk::right>(*word);
    }
    if (rights.object.contains("groups")) {
        const json* const groups = read_array(rights, "groups", desk::POSITIONS);
        read.groups.emplace();
        for (std::size_t i = 0; groups != nullptr && i < groups->size(); ++i)
            if ((*groups)[i].is_string() &&
                (*groups)[i].get_ref<const std::string&>().size() <= desk::TEXT_LENGTH)
                read.groups->insert((*groups)[i].get<std::string>());
            else
                wrong.push_back({at + "/groups/" + std::to_string(i), "badValue",
                                 "a group must be a text of 255 bytes at most"});
    }
    finish(rights);
    return read;
}

json person_record(const std::string& id, const accounts::person& person, const last_uses& uses)
{
    json record = {{"id", id},
                   {"name", person.name},
                   {"rights", accounts::rights_object(person.may)},
                   {"disabled", person.disabled},
                   {"created", time_text(person.created)}};
    if (const auto seen = uses.find(id); seen != uses.end())
        record["lastSeen"] = time_text(seen->second);
    return record;
}

json session_json(const server& server, const desk::actor& actor, std::optional<desk::wall> expires)
{
    json session = {{"person", person_json(server, actor.person)},
                    {"origin", actor.origin},
                    {"rights", accounts::rights_object(actor.may)}};
    if (expires) session["expires"] = time_text(*expires);
    session["demonstration"] = server.settings.demonstration;
    return session;
}

} // namespace web
