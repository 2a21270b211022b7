// An answer's head as it is sent.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "server/web/message.h"

namespace web {

enum class body_end { by_length, by_chunks, by_closing };

struct response_frame {
    body_end ends = body_end::by_length;
    std::size_t length = 0;  // of the body
    bool http_1_1 = true;    // spoken by the client
    bool keeps_open = false; // the connection
};

// With the empty line that ends it. Blanks take the place of control characters.
std::string head_text(const response& response, const response_frame& frame);

} // namespace web
