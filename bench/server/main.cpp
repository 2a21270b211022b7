// The least program around a desk and its routers, to be measured as a process. Its arguments are
// the backend, a folder for configuration files and the ports of routers r0, r1 ... on 127.0.0.1.
// It says "ready" with the numbers of the backends' processes when all links are, takes "take
// DESTINATION SOURCE" on r0, says at a wish's end "confirmed WISHED ENDED" (or how else it ended)
// with the times in microseconds of the monotonic clock, and ends with its input.
#include <sstream>
#include <string>

#include "bench/server/served_desk.h"
#include "server/desk/start.h"
#include "server/desk/takes.h"
#include "server/desk/words.h"
#include "tools/common/descriptors.h"
#include "tools/common/lines.h"

using namespace bench;

namespace {
constexpr std::chrono::seconds LONGEST_WAIT{1};

void say(const std::string& line)
{
    common::write_all(1, line + "\n");
}

std::string ready_text(const served_desk& served)
{
    std::string text = "ready";
    for (const auto& [router, backend] : served.routers.backends)
        text += " " + std::to_string(backend.process.child.process);
    return text;
}

// When the wish was made, in microseconds; 0 for a line that is none.
long long take(served_desk& served, const std::string& line)
{
    desk::take_request request;
    desk::route wished = {"r0", 0, 0};
    std::istringstream words(line);
    if (std::string word; !(words >> word >> wished.destination >> wished.source)) return 0;
    request.rows = {{wished, {}}};
    const desk::moment now = this_moment();
    desk::take(served.desk, now, ENGINEER, request);
    routers::serve_routers(served.routers, served.desk, now);
    return now.steady.count();
}

// Says which wishes have ended, and empties what the desk has told.
void tell_ends(served_desk& served, long long wished)
{
    for (const desk::entry& entry : served.desk.entries)
        if (const auto* ended = std::get_if<desk::wish_ended>(&entry.what))
            say(std::string(desk::text_of(ended->end)) + " " + std::to_string(wished) + " " +
                std::to_string(this_moment().steady.count()));
    served.desk.entries.clear();
    served.desk.changes.clear();
}
} // namespace

int main(int argument_count, char** arguments)
{
    if (argument_count < 4) return 1;
    served_desk served{.desk = desk::make_desk(1), .routers = {}};
    served.routers.program = arguments[1];
    served.routers.folder = arguments[2];
    for (int i = 3; i < argument_count; ++i)
        add_router(served, "r" + std::to_string(i - 3),
                   static_cast<std::uint16_t>(std::stoi(arguments[i])));
    bool ready = false;
    long long wished = 0;
    std::string partial;
    for (bool open = true; open;) {
        const bool said = serve_once(served, 0, LONGEST_WAIT);
        tell_ends(served, wished);
        if (!ready && all_ready(served.desk)) {
            ready = true;
            say(ready_text(served));
        }
        std::string bytes;
        if (said) open = common::read_some(0, bytes) == common::read_outcome::read;
        std::deque<std::string> lines;
        common::cut_lines(bytes, partial, lines);
        for (const std::string& line : lines)
            wished = take(served, line);
    }
    end_backends(served);
}
