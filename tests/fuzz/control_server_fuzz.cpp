// The control server: whatever is asked, said and reported, each request is answered once, in time
// and as HTTP and JSON are, no message breaks its stream, nothing makes the server fail, and no
// secret leaves it.
//
// The input is pieces, each ended by NUL, by their first letter:
//   a, b, n    a request of Ana's, Ben's or of nobody's (played_server.h)
//   m          a message on the stream that was opened last
//   s          two digits: r1 takes and shows, at a destination, a source
//   t          a second passes

#include <algorithm>

#include "fuzz/fuzz_input.h"
#include "fuzz/played_server.h"
#include "fuzz/property.h"
#include "server/desk/reports.h"
#include "server/desk/trace.h"

namespace {
constexpr int POSITIONS = 4;

void carry_out(played_server& played, const std::string& digits)
{
    if (digits.size() < 2) return;
    const std::pair<int, int> route{(digits[0] & 0xf) % POSITIONS, (digits[1] & 0xf) % POSITIONS};
    desk::desk_state& desk = played.server.desk;
    desk::trace_take(desk, played.now, "r1", route.first, route.second);
    desk::trace_take_answer(desk, played.now, "r1", "");
    desk::trace_route(desk, played.now, "r1", route.first, route.second);
    desk::report_routes(desk, played.now, "r1", {&route, 1});
    pass(played);
}

void play(played_server& played, char what, const std::string& text)
{
    switch (what) {
    case 'a':
        return ask(played, asker::ana, text);
    case 'b':
        return ask(played, asker::ben, text);
    case 'n':
        return ask(played, asker::nobody, text);
    case 'm':
        web::hear_stream(played.server, played.now, played.stream, text);
        return pass(played);
    case 's':
        return carry_out(played, text);
    case 't':
        return wait(played, std::chrono::seconds(1));
    default:
        return;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view rest = input_of(data, size).rest;
    if (rest.find(SECRET) != std::string_view::npos) return 0; // what was sent may come back
    played_server played;
    begin(played);
    while (!rest.empty()) {
        const std::string piece(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(rest.size(), piece.size() + 1));
        if (!piece.empty()) play(played, piece[0], piece.substr(1));
    }
    for (int second = 0; second < 70; ++second)
        wait(played, std::chrono::seconds(1));
    require(std::all_of(played.answered.begin(), played.answered.end(),
                        [](const auto& each) { return each.second; }),
            "every request is answered");
    return 0;
}
