// Tokens, by which programs act for people.
#pragma once

#include <string>

#include "server/accounts/accounts.h"

namespace accounts {

// `secret` is told once and kept nowhere: "rc_" and 43 letters. For administrators.
objection make_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const token& wanted, std::string& secret);

objection remove_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& id);

// Who acts by this secret, which counts as a use. False when it is no token of this kind, or one
// that has expired.
bool actor_of_token(accounts_state& accounts, const desk::moment& now, std::string_view secret,
                    token_kind kind, desk::actor& actor);

} // namespace accounts
