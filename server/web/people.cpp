#include "server/accounts/people.h"

#include "server/accounts/sessions.h"
#include "server/web/credentials.h"
#include "server/web/entity_tag.h"
#include "server/web/forgotten.h"
#include "server/web/handlers.h"
#include "server/web/passwords.h"
#include "server/web/people_json.h"

namespace web {

namespace {
// Whom the path names.
std::string subject_of(const call& call)
{
    const std::string& named = call.values.front();
    return named == "me" ? call.actor.person : named;
}

problem no_such_person(const std::string& id)
{
    return {"noSuchPerson", "There is nobody with the id " + id + "."};
}

// That they have been seen again changes nothing that one could have wanted to keep.
json without_last_seen(json record)
{
    record.erase("lastSeen");
    return record;
}

response person_response(const server& server, const std::string& id, int status = 200)
{
    const accounts::person* const person = accounts::find_person(server.accounts, id);
    if (person == nullptr) return problem_response(no_such_person(id));
    const json record = person_record(id, *person, accounts::last_uses(server.accounts));
    response given = json_response(record, status);
    add_entity_tag(given, without_last_seen(record));
    return given;
}

// What a request wants of a person; what is none stays.
struct person_wanted {
    std::optional<std::string> id{};
    std::optional<std::string> name{};
    std::optional<std::string> password{};
    std::optional<desk::rights> may{};
    std::optional<bool> disabled{};
};

void read_password(fields& body, const char* name, std::optional<std::string>& password)
{
    password = read_secret(body, name, SIZE_MAX);
    if (!password) return;
    const std::string complaint = accounts::password_complaint(*password);
    if (!complaint.empty()) complain(body, name, complaint);
}

// Name, password and rights, which a new person needs.
void read_wanted(fields& body, person_wanted& wanted)
{
    wanted.name = read_text(body, "name", 255, 1);
    read_password(body, "password", wanted.password);
    if (const json* const rights = find_member(body, "rights"))
        wanted.may = read_rights(*rights, body.at + "/rights", body.wrong);
}

// The person as they are when the wish is carried out, with what is wanted.
accounts::person with(accounts::person person, const person_wanted& wanted)
{
    person.name = wanted.name.value_or(person.name);
    person.may = wanted.may.value_or(person.may);
    person.disabled = wanted.disabled.value_or(person.disabled);
    return person;
}

response change_person(server& server, const desk::moment& now, const desk::actor& actor,
                       const std::string& id, const person_wanted& wanted, const std::string& hash)
{
    const accounts::person* const person = accounts::find_person(server.accounts, id);
    if (person == nullptr) return problem_response(no_such_person(id));
    accounts::objection against;
    if (wanted.name || wanted.may || wanted.disabled)
        against = accounts::set_person(server.accounts, now, actor, id, with(*person, wanted));
    if (against.why == accounts::refusal::none && wanted.password)
        against = accounts::set_password(server.accounts, now, actor, id, hash);
    if (against.why != accounts::refusal::none) return problem_response(problem_of(against));
    return person_response(server, id);
}

// The new password counts, and all sessions have ended but one that begins with the answer.
response changed_password(server& server, const desk::moment& now, const desk::actor& actor,
                          const std::string& address, const std::string& hash)
{
    const accounts::objection against =
        accounts::set_password(server.accounts, now, actor, actor.person, hash);
    if (against.why != accounts::refusal::none) return problem_response(problem_of(against));
    const std::string secret = accounts::open_session(server.accounts, now, actor.person, address);
    return {204, "", "", {{"Set-Cookie", session_cookie(server, secret)}}};
}

// Checks the old password, then hashes the new one.
struct password_change {
    password_check check;
    desk::actor actor;
    std::string fresh;
    desk::monotonic until{};
    std::uint64_t hashing = 0; // the question; 0: not yet

    std::optional<response> operator()(server& server, const desk::moment& now)
    {
        if (hashing == 0) {
            const std::optional<bool> right = is_right(server, now, check);
            if (right && !*right)
                return problem_response({"wrongPassword", "The old password is wrong.", 403});
            if (right) hashing = ask_hash(server, now, fresh);
        }
        const auto hash = hashing == 0 ? std::nullopt : find_hash(server, hashing);
        if (!hash && now.steady < until) return std::nullopt;
        if (hashing == 0) drop_check(server, now, check);
        if (!hash || hash->empty()) return problem_response(password_overload());
        return changed_password(server, now, actor, check.address, *hash);
    }
};
} // namespace

answer list_people(server& server, const call& /*call*/)
{
    json people = json::array();
    json tagged = json::array();
    const last_uses uses = accounts::last_uses(server.accounts);
    for (const auto& [id, person] : server.accounts.people) {
        people.push_back(person_record(id, person, uses));
        tagged.push_back(without_last_seen(people.back()));
    }
    response given = json_response({{"people", people}});
    add_entity_tag(given, tagged);
    return given;
}

answer add_person(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    for (const char* const name : {"id", "name", "password", "rights"})
        require(body, name);
    const std::string id = read_text(body, "id").value_or("");
    person_wanted wanted;
    read_wanted(body, wanted);
    finish(body);
    if (wrong.empty() && !accounts::is_person_id(id))
        complain(body, "id", accounts::PERSON_ID_RULE);
    if (!wrong.empty()) return problem_of(wrong);
    const accounts::objection taken =
        accounts::complaint_about(server.accounts, id, *wanted.name, *wanted.may);
    if (taken.why != accounts::refusal::none) return problem_of(taken);
    return after_hashing(server, call, *wanted.password,
                         [=, actor = call.actor](web::server& those, const desk::moment& now,
                                                 const std::string& hash) {
                             accounts::person made = with({}, wanted);
                             made.password = hash;
                             const accounts::objection against =
                                 accounts::add_person(those.accounts, now, actor, id, made);
                             if (against.why != accounts::refusal::none)
                                 return problem_response(problem_of(against));
                             forget_person(those, now, actor, id);
                             response given = person_response(those, id, 201);
                             given.headers.emplace_back("Location", "/api/v1/people/" + id);
                             return given;
                         });
}

answer get_person(server& server, const call& call)
{
    const std::string id = subject_of(call);
    if (id != call.actor.person && !accounts::is_administrator(call.actor))
        return problem{"noRight", call.actor.person + " may not do this."};
    return person_response(server, id);
}

answer set_person(server& server, const call& call)
{
    const std::string id = subject_of(call);
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    person_wanted wanted;
    read_wanted(body, wanted);
    wanted.disabled = read_flag(body, "disabled");
    finish(body);
    if (wrong.empty() && body.object.empty())
        wrong.push_back({"", "badValue", "the body changes nothing"});
    if (!wrong.empty()) return problem_of(wrong);
    if (!wanted.password) return change_person(server, call.now, call.actor, id, wanted, "");
    if (accounts::find_person(server.accounts, id) == nullptr) return no_such_person(id);
    return after_hashing(server, call, *wanted.password,
                         [=, actor = call.actor](web::server& those, const desk::moment& now,
                                                 const std::string& hash) {
                             return change_person(those, now, actor, id, wanted, hash);
                         });
}

answer remove_person(server& server, const call& call)
{
    const accounts::objection against =
        accounts::remove_person(server.accounts, call.now, call.actor, subject_of(call));
    if (against.why != accounts::refusal::none) return problem_of(against);
    forget_person(server, call.now, call.actor, subject_of(call));
    return response{204, "", "", {}};
}

answer change_password(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    require(body, "old");
    require(body, "new");
    const std::string old = read_secret(body, "old", accounts::LONGEST_PASSWORD).value_or("");
    std::optional<std::string> fresh;
    read_password(body, "new", fresh);
    finish(body);
    if (!wrong.empty()) return problem_of(wrong);
    const std::string& id = call.actor.person;
    if (accounts::find_person(server.accounts, id) == nullptr) return no_such_person(id);
    const auto check = begin_check(server, call.now, id, call.request.address, old);
    if (!check) return too_many_attempts();
    answer held;
    held.until = call.now.steady + LONGEST_PASSWORD_CHECK;
    held.acts_later = true;
    const auto change =
        std::make_shared<password_change>(password_change{*check, call.actor, *fresh, held.until});
    held.later = [change](web::server& those, const desk::moment& now) {
        return (*change)(those, now);
    };
    held.abandoned = [change](web::server& those, const desk::moment& now) {
        if (change->hashing == 0) drop_check(those, now, change->check);
    };
    return held;
}

} // namespace web
