// Requests that change something: with an `Idempotency-Key` each is carried out once, and whoever
// asks again gets the first answer, also while it is awaited.
#pragma once

#include <functional>

#include "server/web/call.h"
#include "server/web/route_table.h"

namespace web {

// Gives the journal what is to be kept of first answers: behind what they tell of.
void keep_answers(server& server);

// False where the description has no key: each request is carried out.
bool takes_keys(const route& route);

answer call_once(server& server, const call& call, const route& route,
                 const std::function<answer()>& carry_out);

} // namespace web
