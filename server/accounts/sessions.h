// Sessions of people who have signed in.
#pragma once

#include <string>

#include "server/accounts/accounts.h"

namespace accounts {

// Of a person whose password has been found right, or who has used the one-time link. The answer is
// the session's secret, kept nowhere; empty when there is no such person, or a disabled one.
std::string open_session(accounts_state& accounts, const desk::moment& now, const std::string& id,
                         const std::string& address);

void tell_failed_sign_in(accounts_state& accounts, const desk::moment& now, const std::string& id,
                         const std::string& address);

// Null when none has this secret.
const session* find_session(const accounts_state& accounts, std::string_view secret);

// When each person last used a session, by id; those who never did are not there.
std::map<std::string, desk::wall, std::less<>> last_uses(const accounts_state& accounts);

desk::wall end_of(const session& session); // without a further use

// Who acts by this secret, which counts as a use. False when no session of now has it.
bool actor_of_session(accounts_state& accounts, const desk::moment& now, std::string_view secret,
                      desk::actor& actor);

void end_session(accounts_state& accounts, const desk::moment& now, std::string_view secret);

// All of a person.
void end_sessions(accounts_state& accounts, const desk::moment& now, const std::string& id);

// Those that are too old or too long idle. To be called now and then; they are of no use before.
void end_old_sessions(accounts_state& accounts, const desk::moment& now);

} // namespace accounts
