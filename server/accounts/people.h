// What administrators do with people, and people with themselves.
#pragma once

#include <string>

#include "server/accounts/accounts.h"

namespace accounts {

// 1 to 64 of a to z, 0 to 9, '.', '-', '_' and '@', and not "me". As typed at a sign-in it may have
// capitals, which become small.
constexpr const char* PERSON_ID_RULE =
    "An id has 1 to 64 of a to z, 0 to 9, '.', '-', '_' and '@', and is not me.";
bool is_person_id(std::string_view id);
std::string typed_id(std::string_view typed);

// A sentence about a password that is no good; empty when it is.
std::string password_complaint(const std::string& password);

// A new person, or new name, rights and state of one that there is; a password, settings and the
// time of creation stay. For administrators. Nobody takes away the last administrator who has a
// password and is not disabled.
objection set_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const person& wanted);

// A new one, with the hash of a password.
objection add_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const person& wanted);

// Why there cannot be such a person, or token, anew; nothing when there can.
objection complaint_about(const accounts_state& accounts, const std::string& id,
                          const std::string& name, const desk::rights& may);

// In a demonstration, where nobody is asked for a password and everybody may do everything: makes
// the person unless there is one of this id.
objection admit(accounts_state& accounts, const desk::moment& now, const std::string& id,
                const std::string& name);

// With sessions.
objection remove_person(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                        const std::string& id);

// `hash` is of hash_password; empty takes the password away. For administrators, and for oneself,
// who has been asked for the old one. Ends all sessions of the person.
objection set_password(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& id, const std::string& hash);

// One's own.
objection set_settings(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& settings);

// A group of destinations is called `to` now: rights that are limited to `from` count for it. They
// keep the old name when `keeps_from`: other routers have a group of that name, and as long as they
// name no more groups than they can. Whether the actor may rename it is for the desk to say.
void rename_group(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                  const std::string& from, const std::string& to, bool keeps_from);

// Nobody can sign in who may set up others: then the server offers its one-time link.
bool lacks_administrator(const accounts_state& accounts);

} // namespace accounts
