// How commands that make a batch of wishes are answered: at once, or, as long as the request's
// `wait` allows, when all of them have ended.
#pragma once

#include "server/desk/takes.h"
#include "server/web/call.h"
#include "server/web/fields.h"

namespace web {

// `rule`, and with `reason`, of a body.
void read_rule(fields& fields, desk::batch_rule& rule);
void read_command(fields& fields, desk::batch_command& command);

// What would happen, the operation, or why there is none; `router` is that of the command, if it
// has one. An operation no row of which goes is a problem: that of the first row that is blocked
// of its own accord, with all of them as its errors.
answer answer_batch(server& server, const call& call, const desk::batch_command& command,
                    const desk::take_answer& taken, std::chrono::milliseconds wait,
                    const std::string& router = {});

// Of one row alone: the operation when it is confirmed or still open, else why it is not.
answer answer_row(server& server, const call& call, const desk::take_answer& taken,
                  std::chrono::milliseconds wait);

// The operation as far as it is.
answer answer_operation(server& server, const call& call, const desk::ulid& id,
                        std::chrono::milliseconds wait);

// In the words of `tell`.
using teller = response (*)(const server& server, const desk::rights& may, const desk::ulid& id,
                            const desk::batch& batch);
answer answer_when_ended(const server& present, const call& call, const desk::ulid& id,
                         std::chrono::milliseconds wait, teller tell);

} // namespace web
