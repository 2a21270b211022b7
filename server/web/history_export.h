// The history as a file: a stream that asks for the next piece when the client has got the last.
#pragma once

#include "server/web/history_search.h"

namespace web {

constexpr std::size_t EXPORTED = 100'000; // entries; the oldest are left out

struct history_export {
    history_search search;
    bool as_table = false;
    bool wanted = false; // the next piece: the client has all that was sent
    std::size_t sent = 0;
};

stream_owner begin_export(server& server, stream_id stream, const history_search& search,
                          bool as_table);

// In the pass: sends what has come. One that the journal cannot go on with is cut off, so that
// nobody takes it for whole.
void serve_exports(server& server);

} // namespace web
