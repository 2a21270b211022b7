#include "server/accounts/account_json.h"

#include "server/accounts/people.h"
#include "server/desk/limits.h"

namespace accounts {

namespace {
using journal::member;
using journal::place;
using journal::word_of;
using nlohmann::json;

constexpr journal::value_words<desk::right, 5> RIGHTS = {{{"none", desk::right::none},
                                                          {"view", desk::right::view},
                                                          {"operate", desk::right::operate},
                                                          {"engineer", desk::right::engineer},
                                                          {"administer", desk::right::administer}}};

constexpr journal::value_words<token_kind, 2> TOKEN_KINDS = {
    {{"api", token_kind::api}, {"simple", token_kind::simple}}};

std::string read_person_id(const place& at)
{
    std::string id = journal::read_text(at);
    if (!is_person_id(id)) journal::complain(at, "is no person's id");
    return id;
}
} // namespace

json rights_object(const desk::rights& may)
{
    json object = {{"usual", word_of(RIGHTS, may.usual)}, {"exceptions", json::object()}};
    for (const auto& [router, right] : may.exceptions)
        object["exceptions"][router] = word_of(RIGHTS, right);
    if (may.groups) object["groups"] = *may.groups;
    return object;
}

json person_object(const person& person)
{
    json object = {{"name", person.name},
                   {"rights", rights_object(person.may)},
                   {"disabled", person.disabled},
                   {"created", person.created.count()}};
    if (person.seen > desk::wall{}) object["seen"] = person.seen.count();
    if (!person.settings.empty()) object["settings"] = person.settings;
    return object;
}

json token_object(const token& token)
{
    json object = {{"name", token.name},
                   {"kind", word_of(TOKEN_KINDS, token.kind)},
                   {"rights", rights_object(token.may)},
                   {"created", token.created.count()}};
    if (token.expires) object["expires"] = token.expires->count();
    if (token.use_told > desk::wall{}) object["used"] = token.use_told.count();
    return object;
}

json session_object(const session& session)
{
    return {{"person", session.person},
            {"address", session.address},
            {"begun", session.begun.count()},
            {"used", session.use_told.count()}};
}

desk::rights read_rights(const place& at)
{
    expect_members(at, {"usual", "exceptions", "groups"});
    desk::rights may;
    may.usual = read_word(member(at, "usual"), RIGHTS);
    read_members(member(at, "exceptions"), desk::ROUTERS,
                 [&](const std::string& router, const place& each) {
                     may.exceptions[router] = read_word(each, RIGHTS);
                 });
    if (!has(at, "groups")) return may;
    may.groups.emplace();
    read_array(member(at, "groups"), desk::POSITIONS,
               [&](const place& each) { may.groups->insert(read_text(each, desk::TEXT_LENGTH)); });
    return may;
}

person read_person(const place& at)
{
    expect_members(at, {"name", "password", "rights", "disabled", "settings", "created", "seen"});
    person person;
    person.name = read_text(member(at, "name"), desk::TEXT_LENGTH);
    if (person.name.empty()) complain(at, "has no name");
    if (has(at, "password")) person.password = read_text(member(at, "password"));
    person.may = read_rights(member(at, "rights"));
    person.disabled = read_flag(at, "disabled");
    if (has(at, "settings")) person.settings = read_text(member(at, "settings"), SETTINGS_LENGTH);
    person.created = read_time(member(at, "created"));
    if (has(at, "seen")) person.seen = read_time(member(at, "seen"));
    return person;
}

token read_token(const place& at)
{
    expect_members(at, {"name", "kind", "rights", "created", "expires", "used", "hash"});
    token token;
    token.name = read_text(member(at, "name"), desk::TEXT_LENGTH);
    token.kind = read_word(member(at, "kind"), TOKEN_KINDS);
    token.may = read_rights(member(at, "rights"));
    token.created = read_time(member(at, "created"));
    if (has(at, "expires")) token.expires = read_time(member(at, "expires"));
    if (has(at, "used")) token.use_told = read_time(member(at, "used"));
    token.used = token.use_told;
    return token;
}

session read_session(const place& at)
{
    expect_members(at, {"person", "address", "begun", "used"});
    session session;
    session.person = read_person_id(member(at, "person"));
    session.address = read_text(member(at, "address"));
    session.begun = read_time(member(at, "begun"));
    session.used = read_time(member(at, "used"));
    session.use_told = session.used;
    return session;
}

} // namespace accounts
