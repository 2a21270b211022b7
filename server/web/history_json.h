// Entries of the history, as JSON and as lines of a table.
#pragma once

#include "server/journal/history.h"
#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// What an entry is about, by the journal's kind; "setting" for one that is not known here.
std::string_view why_of(const journal::history_row& row);

// Not of a salvo that may not be viewed; of one that is gone to whoever may view most routers.
bool may_view_salvo(const server& server, const desk::rights& may, const std::string& salvo);

// Names are those of now; a salvo's that may not be viewed is its id.
json history_entry(const server& server, const desk::rights& may, const journal::history_row& row);

// With the line's end. The first line has the names of the fields.
std::string csv_names();
std::string csv_line(const json& entry);

} // namespace web
