#include "server/accounts/people.h"

#include <algorithm>

#include "server/accounts/sessions.h"
#include "server/desk/limits.h"
#include "server/desk/words.h"

namespace accounts {

namespace {
objection no_right(const desk::actor& actor)
{
    return {refusal::no_right, actor.person + " is no administrator."};
}

objection no_such_person(const std::string& id)
{
    return {refusal::no_such_person, "There is nobody with the id " + desk::cut_text(id) + "."};
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

objection value_complaint(const std::string& id, const std::string& name, const desk::rights& may)
{
    if (!is_person_id(id)) return {refusal::bad_value, PERSON_ID_RULE};
    if (name.empty()) return {refusal::bad_value, "It needs a name."};
    if (names_too_much(may))
        return {refusal::bad_value, "The rights name more routers or groups than there can be."};
    return {};
}

objection last_administrator(const std::string& name)
{
    return {refusal::last_administrator, name + " is the last who may administer everything."};
}

// In a demonstration nobody is asked for a password; who has none could not administer.
constexpr const char* NO_PASSWORD = "none";
} // namespace

bool is_person_id(std::string_view id)
{
    constexpr std::string_view LETTERS = "abcdefghijklmnopqrstuvwxyz0123456789.-_@";
    return !id.empty() && id.size() <= PERSON_ID_LENGTH && id != "me" &&
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
    if (objection against = value_complaint(id, wanted.name, wanted.may);
        against.why != refusal::none)
        return against;
    const person* const old = find_person(accounts, id);
    if (old == nullptr && accounts.people.size() >= PEOPLE)
        return {refusal::too_many, "There are as many people as there can be."};
    person becomes = old == nullptr ? person() : *old;
    if (old == nullptr) becomes.created = now.utc;
    becomes.name = desk::cut_text(wanted.name);
    becomes.may = wanted.may;
    becomes.disabled = wanted.disabled;
    if (leaves_nobody(accounts, id, &becomes)) return last_administrator(old->name);
    if (becomes.disabled) end_sessions(accounts, now, id);
    accounts.people[id] = std::move(becomes);
    tell(accounts, now, actor, event::kind::person_set, id);
    return {};
}

objection complaint_about(const accounts_state& accounts, const std::string& id,
                          const std::string& name, const desk::rights& may)
{
    if (find_person(accounts, id) != nullptr || accounts.tokens.contains(id))
        return {refusal::exists, "There is already somebody with the id " + id + "."};
    return value_complaint(id, name, may);
}

objection add_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const person& wanted)
{
    if (!is_administrator(actor)) return no_right(actor);
    objection against = complaint_about(accounts, id, wanted.name, wanted.may);
    if (against.why == refusal::none) against = set_person(accounts, now, actor, id, wanted);
    if (against.why == refusal::none) accounts.people[id].password = wanted.password;
    return against;
}

objection admit(accounts_state& accounts, const desk::moment& now, const std::string& id,
                const std::string& name)
{
    if (find_person(accounts, id) != nullptr) return {};
    person wanted;
    wanted.name = name;
    wanted.password = NO_PASSWORD;
    wanted.may.usual = desk::right::administer;
    return add_person(accounts, now, {id, "panel", wanted.may}, id, wanted);
}

objection remove_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                        const std::string& id)
{
    if (!is_administrator(actor)) return no_right(actor);
    if (find_person(accounts, id) == nullptr) return no_such_person(id);
    if (leaves_nobody(accounts, id, nullptr))
        return last_administrator(find_person(accounts, id)->name);
    end_sessions(accounts, now, id);
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
    if (leaves_nobody(accounts, id, &becomes)) return last_administrator(old->name);
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
                "A person's settings have at most " + std::to_string(SETTINGS_LENGTH) + " bytes."};
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
