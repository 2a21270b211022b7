// Tokens, by which programs act for people.
#pragma once

#include <string>

#include "server/accounts/accounts.h"

namespace accounts {

// `secret` is told once and kept nowhere. For administrators, and for oneself; with no more than
// the actor's own highest right.
objection make_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const token& wanted, desk::ulid& id, std::string& secret);

objection remove_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const desk::ulid& id);

// Who acts by this secret. False when it is no token of this kind, or its person is disabled.
bool actor_of_token(const accounts_state& accounts, std::string_view secret, token_kind kind,
                    desk::actor& actor);

} // namespace accounts
