#include "server/accounts/kept_accounts.h"

#include "server/accounts/account_json.h"
#include "server/accounts/people.h"
#include "server/journal/stored_json.h"

namespace accounts {

namespace {
using journal::json_text;
using journal::place;
using nlohmann::json;

// What a key is to hold: its value as it is now, none when it is gone.
std::optional<std::string> value_of_person(const accounts_state& accounts, const std::string& id)
{
    const person* const found = find_person(accounts, id);
    if (found == nullptr) return std::nullopt;
    json object = person_object(*found);
    if (!found->password.empty()) object["password"] = found->password;
    return json_text(std::move(object));
}

std::optional<std::string> value_of_token(const accounts_state& accounts, const std::string& id)
{
    const auto found = accounts.tokens.find(id);
    if (found == accounts.tokens.end()) return std::nullopt;
    json object = token_object(found->second);
    object["hash"] = text_of(found->second.hash);
    return json_text(std::move(object));
}

std::optional<std::string> value_of_session(const accounts_state& accounts, const std::string& text)
{
    secret_hash hash{};
    read_hash(text, hash);
    const auto found = accounts.sessions.find(hash);
    if (found == accounts.sessions.end()) return std::nullopt;
    return json_text(session_object(found->second));
}

void fill_of_person(journal::note& note, const accounts_state& accounts, const event& event)
{
    note.keys["people/" + event.subject] = value_of_person(accounts, event.subject);
    json data = {{"id", event.subject}};
    const person* const found = find_person(accounts, event.subject);
    if (note.kind == PERSON_SET && found != nullptr) {
        data["name"] = found->name;
        data["rights"] = rights_object(found->may);
        data["disabled"] = found->disabled;
    }
    note.data = json_text(std::move(data));
}

void fill_of_token(journal::note& note, const accounts_state& accounts, const event& event)
{
    note.keys["tokens/" + event.subject] = value_of_token(accounts, event.subject);
    const auto found = accounts.tokens.find(event.subject);
    json data = json::object();
    if (note.kind == TOKEN_MADE && found != accounts.tokens.end()) {
        data = token_object(found->second);
        for (const char* const name : {"created", "expires", "used"})
            data.erase(name);
    }
    data["id"] = event.subject;
    note.data = json_text(std::move(data));
}

const char* kind_of(event::kind what)
{
    switch (what) {
    case event::kind::person_set:
        return PERSON_SET;
    case event::kind::person_removed:
        return PERSON_REMOVED;
    case event::kind::password_set:
        return PASSWORD_SET;
    case event::kind::token_made:
        return TOKEN_MADE;
    case event::kind::token_removed:
        return TOKEN_REMOVED;
    case event::kind::signed_in:
        return SIGNED_IN;
    case event::kind::sign_in_failed:
        return SIGN_IN_FAILED;
    case event::kind::session_ended:
        return SESSION_ENDED;
    case event::kind::settings_set: // how somebody's panel looks, and that it is looked at
    case event::kind::session_used:
    case event::kind::token_used:
        return "";
    }
    return "";
}

journal::note note_of(const accounts_state& accounts, const event& event)
{
    journal::note note{event.at, event.person, event.origin, kind_of(event.what), "", {}};
    switch (event.what) {
    case event::kind::person_set:
    case event::kind::person_removed:
    case event::kind::password_set:
    case event::kind::settings_set:
        fill_of_person(note, accounts, event);
        break;
    case event::kind::token_made:
    case event::kind::token_removed:
    case event::kind::token_used:
        fill_of_token(note, accounts, event);
        break;
    case event::kind::signed_in:
    case event::kind::session_used:
    case event::kind::session_ended:
        note.keys["sessions/" + event.subject] = value_of_session(accounts, event.subject);
        note.keys["people/" + event.person] = value_of_person(accounts, event.person); // and seen
        break;
    case event::kind::sign_in_failed: // it may be a password that was typed in the wrong place
        if (find_person(accounts, event.person) == nullptr) note.person.clear();
        break;
    }
    return note;
}

// The key's part behind its prefix, which has no other.
const std::string& only_part(const std::vector<std::string>& key, const place& at)
{
    if (key.size() != 1) complain(at, "is no key of the accounts");
    return key.front();
}

secret_hash read_secret_hash(const std::string& text, const place& at)
{
    secret_hash hash{};
    if (!read_hash(text, hash)) complain(at, "is no hash");
    return hash;
}

void read_people(journal::store& store, accounts_state& accounts)
{
    each_key(store, "people/", [&](const std::vector<std::string>& key, const place& at) {
        const std::string& id = only_part(key, at);
        if (!is_person_id(id)) complain(at, "is no person's key");
        accounts.people[id] = read_person(at);
    });
}

void read_tokens(journal::store& store, accounts_state& accounts)
{
    each_key(store, "tokens/", [&](const std::vector<std::string>& key, const place& at) {
        const std::string& id = only_part(key, at);
        if (!is_person_id(id)) complain(at, "is no token's key");
        token token = read_token(at);
        const place hash = member(at, "hash");
        token.hash = read_secret_hash(journal::read_text(hash), hash);
        accounts.tokens[id] = std::move(token);
    });
}

void read_sessions(journal::store& store, const desk::moment& now, accounts_state& accounts)
{
    each_key(store, "sessions/", [&](const std::vector<std::string>& key, const place& at) {
        const secret_hash hash = read_secret_hash(only_part(key, at), at);
        session session = read_session(at);
        if (find_person(accounts, session.person) == nullptr)
            tell(accounts, now, {session.person, "", {}}, event::kind::session_ended,
                 text_of(hash));
        else
            accounts.sessions[hash] = std::move(session);
    });
}
} // namespace

std::vector<journal::note> take_notes(accounts_state& accounts)
{
    std::vector<journal::note> notes;
    for (const event& each : accounts.events)
        notes.push_back(note_of(accounts, each));
    accounts.events.clear();
    return notes;
}

journal::note whole_note(const accounts_state& accounts)
{
    journal::note note;
    note.whole = {"people/", "tokens/", "sessions/"};
    for (const auto& [id, person] : accounts.people)
        note.keys["people/" + id] = value_of_person(accounts, id);
    for (const auto& [id, token] : accounts.tokens)
        note.keys["tokens/" + id] = value_of_token(accounts, id);
    for (const auto& [hash, session] : accounts.sessions)
        note.keys["sessions/" + text_of(hash)] = value_of_session(accounts, text_of(hash));
    return note;
}

accounts_state kept_accounts(journal::store& store, const desk::moment& now)
{
    accounts_state accounts;
    read_people(store, accounts);
    read_tokens(store, accounts);
    read_sessions(store, now, accounts);
    return accounts;
}

} // namespace accounts
