// People, their rights and sessions as JSON (rights are written by accounts/account_json.h).
#pragma once

#include "server/web/call.h"
#include "server/web/fields.h"

namespace web {

// What is wrong is complained of, with pointers below `at`.
desk::rights read_rights(const json& value, const std::string& at, std::vector<problem_at>& wrong);

using last_uses = std::map<std::string, desk::wall, std::less<>>; // accounts/sessions.h
json person_record(const std::string& id, const accounts::person& person, const last_uses& uses);

// The actor as the answer to who one is; `expires` is none when it does not end by itself.
json session_json(const server& server, const desk::actor& actor,
                  std::optional<desk::wall> expires);

} // namespace web
