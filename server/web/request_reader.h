// Bytes of a connection, made into its requests, one after the other. What could be read by others,
// such as a proxy in front, as another request than by us is refused: bare line ends, continued
// header lines, two lengths, a length beside chunks, no Host or two, a target that is no path.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "server/web/chunk_reader.h"
#include "server/web/message.h"
#include "server/web/problem.h"

namespace web {

enum class reading { more, whole, refused };

struct request_reader {
    std::string input{}; // has come and was not read yet; the owner appends

    // What the client sends, whole when read_request says so. A header that comes twice is one,
    // with a comma between its values, but for those of which there must be one alone.
    web::request request{};
    bool waits_for_leave = false; // to send the body: 100; false again once that was sent
    bool http_1_1 = false;
    bool keeps_open = false; // the connection, for another request
    problem refusal{};       // nothing more can be read then

    // Of the head.
    std::size_t looked_at = 0; // bytes
    bool first_line_ended = false;

    // Of the body.
    bool head_is_read = false;
    std::size_t left = 0; // bytes
    std::optional<chunk_reader> chunks{};
};

// Reads on. `more`: input does not make it whole.
reading read_request(request_reader& reader);

// Begins the next one, with what is left of the input.
void begin_request(request_reader& reader);

} // namespace web
