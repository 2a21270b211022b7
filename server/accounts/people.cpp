#include "server/accounts/people.h"

#include <algorithm>

#include "server/accounts/sessions.h"
#include "server/desk/limits.h"
#include "server/desk/words.h"

namespace accounts {

namespace {
objection no_right(const desk::actor& actor)
{
    return {refusal::no_right, actor.person + " is no administrator"};
}

objection no_such_person(const std::string& id)
{
    return {refusal::no_such_person, "there is no person " + desk::cut_text(id)};
}

bool can_administer(const person& person)
{
    return person.may.usual == desk::right::administer && !person.disabled &&
           !person.password.empty();
}

// Whether the server would be left without an administrator when this one becomes that.
bool leaves_nobody(const accounts_state& accounts, const std::string& id, const person* becomes)
{
    if (becomes != nullptr && can_administer(*becomes)) return false;
    const person* const was = find_person(accounts, id);
    return was != nullptr && can_administer(*was) &&
           std::none_of(accounts.people.begin(), accounts.people.end(), [&](const auto& other) {
               return other.first != id && can_administer(other.second);
           });
}

bool names_too_much(const desk::rights& may)
{
    return may.exceptions.size() > desk::ROUTERS ||
           (may.groups &&
            (may.groups->size() > desk::POSITIONS ||
             std::any_of(may.groups->begin(), may.groups->end(),
                         [](const auto& each) { return each.size() > desk::TEXT_LENGTH; })));
}

objection last_administrator(const std::string& id)
{
    return {refusal::last_administrator,
            id + " is the last administrator who can sign in; make another one first"};
}
} // namespace

bool is_person_id(std::string_view id)
{
    constexpr std::string_view LETTERS = "abcdefghijklmnopqrstuvwxyz0123456789.-_@";
    return !id.empty() && id.size() <= PERSON_ID_LENGTH &&
           id.find_first_not_of(LETTERS) == std::string_view::npos;
}

std::string typed_id(std::string_view typed)
{
    std::string id(typed);
    for (char& letter : id)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return id;
}

std::string password_complaint(const std::string& password)
{
    if (password.size() < SHORTEST_PASSWORD)
        return "A password has at least " + std::to_string(SHORTEST_PASSWORD) + " characters.";
    if (password.size() > LONGEST_PASSWORD)
        return "A password has at most " + std::to_string(LONGEST_PASSWORD) + " characters.";
    return "";
}

objection set_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const person& wanted)
{
    if (!is_administrator(actor)) return no_right(actor);
    if (!is_person_id(id))
        return {refusal::bad_value, "a person's id has 1 to 64 of a to z, 0 to 9, '.', '-', '_' "
                                    "and '@'"};
    if (wanted.name.empty()) return {refusal::bad_value, "a person needs a name"};
    if (names_too_much(wanted.may))
        return {refusal::bad_value, "the rights name more routers or groups than there can be"};
    const person* const old = find_person(accounts, id);
    if (old == nullptr && accounts.people.size() >= PEOPLE)
        return {refusal::too_many, "there are as many people as there can be"};
    person becomes = old == nullptr ? person() : *old;
    if (old == nullptr) becomes.created = now.utc;
    becomes.name = desk::cut_text(wanted.name);
    becomes.may = wanted.may;
    becomes.disabled = wanted.disabled;
    if (leaves_nobody(accounts, id, &becomes)) return last_administrator(id);
    if (becomes.disabled) end_sessions(accounts, now, id);
    accounts.people[id] = std::move(becomes);
    tell(accounts, now, actor, event::kind::person_set, id);
    return {};
}

objection remove_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                        const std::string& id)
{
    if (!is_administrator(actor)) return no_right(actor);
    if (find_person(accounts, id) == nullptr) return no_such_person(id);
    if (leaves_nobody(accounts, id, nullptr)) return last_administrator(id);
    end_sessions(accounts, now, id);
    for (auto token = accounts.tokens.begin(); token != accounts.tokens.end();) {
        const bool goes = token->second.person == id;
        if (goes) tell(accounts, now, actor, event::kind::token_removed, text_of(token->first));
        token = goes ? accounts.tokens.erase(token) : std::next(token);
    }
    tell(accounts, now, actor, event::kind::person_removed, id);
    accounts.people.erase(id);
    return {};
}

objection set_password(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& id, const std::string& hash)
{
    if (!is_administrator(actor) && actor.person != id) return no_right(actor);
    const person* const old = find_person(accounts, id);
    if (old == nullptr) return no_such_person(id);
    person becomes = *old;
    becomes.password = hash;
    if (leaves_nobody(accounts, id, &becomes)) return last_administrator(id);
    end_sessions(accounts, now, id);
    accounts.people[id] = std::move(becomes);
    tell(accounts, now, actor, event::kind::password_set, id);
    return {};
}

objection set_settings(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& settings)
{
    const auto found = accounts.people.find(actor.person);
    if (found == accounts.people.end()) return no_such_person(actor.person);
    if (settings.size() > SETTINGS_LENGTH)
        return {refusal::bad_value,
                "a person's settings have at most " + std::to_string(SETTINGS_LENGTH) + " bytes"};
    if (found->second.settings == settings) return {};
    found->second.settings = settings;
    tell(accounts, now, actor, event::kind::settings_set, actor.person);
    return {};
}

void rename_group(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                  const std::string& from, const std::string& to, bool keeps_from)
{
    for (auto& [id, person] : accounts.people) {
        auto& groups = person.may.groups;
        if (!groups || !groups->contains(from)) continue;
        groups->insert(to);
        if (!keeps_from || groups->size() > desk::POSITIONS) groups->erase(from);
        tell(accounts, now, actor, event::kind::person_set, id);
    }
}

bool lacks_administrator(const accounts_state& accounts)
{
    return std::none_of(accounts.people.begin(), accounts.people.end(),
                        [](const auto& each) { return can_administer(each.second); });
}

} // namespace accounts
