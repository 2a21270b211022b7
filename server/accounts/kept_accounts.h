// Accounts as the journal keeps them: keys of its store beside the house's, and rows of the
// history.
//
//   people/ID         name, rights, the password's hash, settings
//   tokens/ID         name, rights, the secret's hash, used when
//   sessions/HASH     whose, from where, since when, used when
//
// No hash and no secret is ever in the history.
#pragma once

#include <vector>

#include "server/accounts/accounts.h"
#include "server/journal/record.h"
#include "server/journal/store.h"

namespace accounts {

// The kinds of what the history tells, for administrators alone.
constexpr const char* PERSON_SET = "personSet";         // data: id, name, rights, disabled
constexpr const char* PERSON_REMOVED = "personRemoved"; // data: id
constexpr const char* PASSWORD_SET = "passwordSet";     // data: id
constexpr const char* TOKEN_MADE = "tokenMade";         // data: id, name, kind, rights
constexpr const char* TOKEN_REMOVED = "tokenRemoved";   // data: id
constexpr const char* SIGNED_IN = "signedIn";
constexpr const char* SIGN_IN_FAILED = "signInFailed"; // nobody's when there is no such person
constexpr const char* SESSION_ENDED = "sessionEnded";

// What has been told since the last call, to be given to the journal in this order; the events are
// empty then.
std::vector<journal::note> take_notes(accounts_state& accounts);

// All of it in one, in the place of what the journal has: for when it has lost records.
journal::note whole_note(const accounts_state& accounts);

// The accounts as they were kept. Sessions of a person whom there is not are none; an event tells
// of each that it has gone. Throws journal::misfit when a key's value is wrong.
accounts_state kept_accounts(journal::store& store, const desk::moment& now);

} // namespace accounts
