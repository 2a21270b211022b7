#include <algorithm>
#include <vector>

#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/parameters.h"
#include "server/web/position.h"
#include "server/web/router_json.h"
#include "server/web/trace_json.h"

namespace web {

namespace {
// In the order of the levels.
const std::vector<std::string> LEVELS = {"debug", "note", "warning", "error"};

// What is said without a level is a note.
std::size_t level_of(routers::level level)
{
    const std::size_t note = 1;
    return level == routers::level::none ? note : static_cast<std::size_t>(level) - 1;
}

struct trace_filter {
    std::optional<std::int64_t> destination;
    std::uint64_t after = 0;
    std::size_t limit = routers::FRAMES_KEPT;
};

trace_filter read_filter(const request& request, std::vector<problem_at>& wrong)
{
    constexpr std::int64_t LAST_NUMBER = 9'007'199'254'740'991;
    trace_filter filter;
    filter.destination = read_integer(request, "destination", 0, desk::POSITIONS - 1, wrong);
    filter.after = static_cast<std::uint64_t>(
        read_integer(request, "after", 0, LAST_NUMBER, wrong).value_or(0));
    filter.limit =
        static_cast<std::size_t>(read_integer(request, "limit", 1, routers::FRAMES_KEPT, wrong)
                                     .value_or(routers::FRAMES_KEPT));
    return filter;
}

bool passes(const trace_filter& filter, const routers::traced_frame& frame, std::uint64_t number)
{
    using routers::meaning;
    if (number <= filter.after) return false;
    if (!filter.destination) return true;
    return frame.destination == *filter.destination &&
           (frame.meaning == meaning::take || frame.meaning == meaning::query ||
            frame.meaning == meaning::route);
}

// The newest that pass, oldest first.
json frames_json(const server& server, const std::string& router,
                 const routers::trace_reader& trace, const trace_filter& filter)
{
    std::vector<std::size_t> found;
    const std::uint64_t before = trace.sent + trace.received - trace.frames.size();
    for (std::size_t i = trace.frames.size(); i > 0 && found.size() < filter.limit; --i)
        if (passes(filter, trace.frames[i - 1], before + i)) found.push_back(i);
    json frames = json::array();
    std::for_each(found.rbegin(), found.rend(), [&](std::size_t i) {
        frames.push_back(frame_json(server.desk, router, trace.frames[i - 1], before + i));
    });
    return frames;
}
} // namespace

answer get_router_log(server& server, const call& call)
{
    problem not_there;
    if (find_router(server, call, not_there) == nullptr) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const std::size_t least = read_word(call.request, "level", LEVELS, wrong).value_or(0);
    if (!wrong.empty()) return problem_of(wrong, router);
    json lines = json::array();
    const routers::backend* const backend = find_backend(server, router);
    if (backend != nullptr)
        for (const routers::log_line& line : backend->log)
            if (level_of(line.level) >= least)
                lines.push_back({{"time", time_text(line.at.utc)},
                                 {"level", LEVELS[level_of(line.level)]},
                                 {"text", line.text}});
    return json_response(
        {{"forgotten", backend == nullptr ? 0 : backend->forgotten}, {"lines", std::move(lines)}});
}

answer get_trace(server& server, const call& call)
{
    problem not_there;
    if (find_router(server, call, not_there) == nullptr) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const trace_filter filter = read_filter(call.request, wrong);
    if (!wrong.empty()) return problem_of(wrong, router);
    static const routers::trace_reader NOTHING;
    const routers::backend* const backend = find_backend(server, router);
    const routers::trace_reader& trace = backend == nullptr ? NOTHING : backend->trace;
    return json_response({{"router", router},
                          {"sent", trace.sent},
                          {"received", trace.received},
                          {"frames", frames_json(server, router, trace, filter)}});
}

} // namespace web
