// What passes between a router and its process, as answers and live messages have it.
#pragma once

#include <cstdint>

#include "server/routers/trace_reader.h"
#include "server/web/json.h"

namespace web {

// Frame. `number` counts all frames of the router, from 1. Names are those of now.
json frame_json(const desk::desk_state& desk, const std::string& router,
                const routers::traced_frame& frame, std::uint64_t number);

} // namespace web
