// The panel's files, as browsers are served them, and what every answer tells browsers about them.
#pragma once

#include <optional>

#include "server/web/message.h"

namespace web {

// None when there is no such file.
std::optional<response> page_file(const request& request);

// What browsers may do with an answer: no other site's page may use it, none of ours may run what
// is not our own. With TLS they are told to come back by it alone.
void add_security_headers(response& response, bool secure);

} // namespace web
