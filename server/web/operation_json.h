// Wishes and what became of them, in JSON. Names are those of now.
#pragma once

#include <string>

#include "server/desk/takes.h"
#include "server/web/json.h"
#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

// A position under `member` and its name under `name`; null for none, without a name; nothing of
// what is not known.
void add_source(json& to, const desk::desk_state& desk, const std::string& router, int source,
                const std::string& member = "source", const std::string& name = "sourceName");
void add_destination(json& to, const desk::desk_state& desk, const std::string& router,
                     int destination);

// In words, also where the outcome alone tells it.
std::string detail_of(const desk::desk_state& desk, const desk::wish& wish);

json operation_row_json(const desk::desk_state& desk, const desk::wish_id& id,
                        const desk::wish& wish);

// Without the rows on routers that may not be viewed.
json operation_json(const server& server, const desk::rights& may, const desk::ulid& id,
                    const desk::batch& batch);

// Counts: how many of those rows have ended how.
json counts_json(const desk::rights& may, const desk::batch& batch);

// It is told of to whoever may view a router of one of its rows.
bool may_view(const desk::rights& may, const desk::batch& batch);

// `{"id": ..., "name": ..., "version": ...}`; the name is empty when the salvo is not there any
// more, or may not be viewed.
json salvo_run_json(const desk::desk_state& desk, const desk::rights& may,
                    const desk::batch& batch);

// Likewise without the rows on routers that may not be viewed.
json dry_run_json(const desk::desk_state& desk, const desk::rights& may, const desk::moment& now,
                  desk::batch_rule rule, const desk::take_answer& answer);

bool has_ended(const desk::batch& batch);

// Of a row that has ended otherwise than wished.
problem problem_of_row(const server& server, const desk::wish_id& id, const desk::wish& wish);

} // namespace web
