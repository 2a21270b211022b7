// Who may use the server: people, their sessions, and tokens of programs. A model like the desk,
// told of commands and time, without input or output: one record, passed explicitly.
//
// Functions that change something append an event, which the caller keeps and then empties. What
// is different then stands in the record.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/accounts/limits.h"
#include "server/accounts/secrets.h"
#include "server/desk/actor.h"
#include "server/desk/moment.h"

namespace accounts {

struct person {
    std::string name;     // for people; the id in the accounts is what signs in and what locks name
    std::string password; // its hash; empty: none, and no way in but tokens
    desk::rights may;
    bool disabled = false; // may nothing, and has no session
    std::string settings;  // of the panel: JSON, not looked into; empty: none
    desk::wall created{};
    desk::wall seen{}; // in a session, as an event told last; 0: never
    bool operator==(const person&) const = default;
};

enum class token_kind {
    api,    // in a header
    simple, // in the address of the simple form, and for nothing else
};

// Lets a program act, under the token's id as a person does under theirs.
struct token {
    std::string name; // for people
    token_kind kind = token_kind::api;
    desk::rights may;
    secret_hash hash{};
    desk::wall created{};
    std::optional<desk::wall> expires{}; // none: when it is removed
    desk::wall used{};                   // 0: never
    desk::wall use_told{};               // by an event
    bool operator==(const token&) const = default;
};

struct session {
    std::string person;
    std::string address; // of the client that signed in
    desk::wall begun{};
    desk::wall used{};
    desk::wall use_told{}; // by an event
    bool operator==(const session&) const = default;
};

struct event {
    enum class kind {
        person_set,
        person_removed,
        password_set,
        settings_set,
        token_made,
        token_removed,
        token_used,
        signed_in,
        sign_in_failed,
        session_used,
        session_ended, // by its owner, by time, or with the password or the person
    };
    desk::wall at{};
    std::string person; // who did it; of a sign-in, whose name was given
    std::string origin;
    kind what = kind::person_set;
    std::string subject; // the person's id, the token's, or the session's hash
};

struct accounts_state {
    std::map<std::string, person, std::less<>> people; // by id
    std::map<std::string, token, std::less<>> tokens;  // by id, which is no person's
    std::map<secret_hash, session> sessions;
    std::uint64_t people_set = 0; // how many times a person or token has been set or removed
    std::uint64_t changes = 0;    // how many events changed what somebody may or has set

    std::vector<event> events; // for the caller, oldest first
};

enum class refusal {
    none,
    no_right,
    no_such_person,
    no_such_token,
    exists,
    last_administrator, // the server would be left without one who can sign in
    too_many,
    bad_value, // the detail says which
};

struct objection {
    refusal why = refusal::none; // none: nothing
    std::string detail;          // in words
};

// Null when there is none of this id.
const person* find_person(const accounts_state& accounts, std::string_view id);

bool is_administrator(const desk::actor& actor);

// For the accounts' own files.
void tell(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
          event::kind what, const std::string& subject);

} // namespace accounts
