// All metrics of now, in the text format of Prometheus. No label has a value for each destination,
// person or client.
#pragma once

#include <string>

#include "server/web/server.h"

namespace web {

// Of the routers that may be viewed, and of the server.
std::string metrics_text(const server& server, const desk::moment& now, const desk::rights& may);

// What a listener answers that is there for metrics alone, where nobody signs in: all of them.
response metrics_response(const server& server, const desk::moment& now, const request& request);

} // namespace web
