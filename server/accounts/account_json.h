// People, tokens and sessions as JSON, in the manner of the house's (house_json.h).
#pragma once

#include <nlohmann/json.hpp>

#include "server/accounts/accounts.h"
#include "server/journal/json_places.h"

namespace accounts {

nlohmann::json rights_object(const desk::rights& may);
nlohmann::json person_object(const person& person); // without the password's hash
nlohmann::json token_object(const token& token);    // without the secret's hash
nlohmann::json session_object(const session& session);

// What is wrong ends the reading (json_places.h).
desk::rights read_rights(const journal::place& at);
person read_person(const journal::place& at); // with the password's hash when it is there
token read_token(const journal::place& at);   // without the secret's hash
session read_session(const journal::place& at);

} // namespace accounts
