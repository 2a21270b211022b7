// Who sends a request, and whether a browser sends it for a page of ours.
#pragma once

#include "server/web/message.h"
#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

// The secret in the cookie of a session; empty when there is none.
std::string session_secret(const server& server, const request& request);

// By the token in `Authorization`, else by the cookie. In a demonstration without either: a guest
// who may do everything. False, with the problem, when it is nobody.
bool find_actor(server& server, const desk::moment& now, const request& request, desk::actor& actor,
                problem& wrong);

// False, with the problem: it is called by another name.
bool is_called_by(const host_names& names, const request& request, problem& wrong);

// False, with the problem: the server is called by a name that is none of its own, or a page of
// another site asks for a change, or for a live connection, with the cookie of a person, or in a
// demonstration without one.
bool comes_from_us(const server& server, const request& request, bool changes, problem& wrong);

// For the answer that signs a person in, and for the one that signs out (an empty secret).
std::string session_cookie(const server& server, const std::string& secret);

} // namespace web
