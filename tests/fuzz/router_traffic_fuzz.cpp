// What backends say on standard error: whatever the messages and their order, link and trace stay
// within their bounds, no take and no query is answered twice, every wish ends at most once, and
// people are shown text that no terminal obeys.
//
// The input is messages, each ended by NUL. One that begins with '>' or '^' is a frame sent or
// received, by its mnemonic and parameters, with TABs between; "!" and two digits are a wish, of a
// destination and a source; "=" reports names, and "=" and two digits that route; any other is what
// the backend says.

#include <algorithm>
#include <set>

#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/takes.h"
#include "server/routers/link_reader.h"
#include "server/routers/trace_reader.h"
#include "support/frames.h"

namespace {
constexpr int POSITIONS = 8;
const std::string ROUTER = "r1";
const desk::actor PERSON{"ana", "panel", {desk::right::administer, {}, {}}};

struct traffic {
    desk::desk_state desk;
    desk::moment now{std::chrono::seconds(1000), std::chrono::hours(500'000)};
    routers::link_reader link;
    routers::trace_reader trace;
    int unanswered_takes = 0;
    std::map<int, int> unanswered_queries; // by destination
    std::set<desk::wish_id> ended;
};

traffic begin()
{
    traffic traffic;
    traffic.desk = desk::make_desk(1);
    desk::router_settings settings;
    settings.id = settings.name = ROUTER;
    settings.address = "127.0.0.1";
    desk::set_router(traffic.desk, traffic.now, PERSON, settings);
    desk::report_counts(traffic.desk, ROUTER, POSITIONS, POSITIONS);
    traffic.link = routers::start_of_link(settings);
    return traffic;
}

std::string message_of(const std::string& piece)
{
    if (!piece.starts_with('>') && !piece.starts_with('^')) return piece;
    const std::string whole = frame("N0" + piece.substr(1));
    return piece[0] == '>' ? "<DBG>Send to router: " + whole
                           : "<DBG>Router: MSG " + whole.substr(1, whole.size() - 2);
}

void count(traffic& traffic, const routers::trace_step& step)
{
    if (std::holds_alternative<routers::take_sent>(step)) ++traffic.unanswered_takes;
    if (std::holds_alternative<routers::take_answered>(step))
        require(--traffic.unanswered_takes >= 0, "a take is answered once");
    if (const auto* const sent = std::get_if<routers::query_sent>(&step))
        ++traffic.unanswered_queries[sent->destination];
    if (const auto* const never = std::get_if<routers::query_unanswered>(&step))
        require(--traffic.unanswered_queries[never->destination] >= 0, "a query ends once");
}

std::pair<int, int> route_of(const std::string& piece)
{
    return {(piece[1] & 0xf) % POSITIONS, (piece[2] & 0xf) % POSITIONS};
}

void wish(traffic& traffic, const std::string& piece)
{
    if (piece.size() < 3) return;
    const auto [destination, source] = route_of(piece);
    desk::take_request request;
    request.rows.push_back({{ROUTER, destination, source}, {}});
    desk::take(traffic.desk, traffic.now, PERSON, request);
}

void report_link(traffic& traffic)
{
    desk::report_link(traffic.desk, traffic.now, ROUTER, traffic.link.state, traffic.link.reason);
}

void report(traffic& traffic, const std::string& piece)
{
    if (piece.size() >= 3) {
        const std::pair<int, int> route = route_of(piece);
        return desk::report_routes(traffic.desk, traffic.now, ROUTER, {&route, 1});
    }
    for (const desk::side side : {desk::side::sources, desk::side::destinations}) {
        const routers::names_report names{side, std::vector<std::string>(POSITIONS, "CAM")};
        desk::report_names(traffic.desk, ROUTER, side, names.names);
        if (routers::read_link(traffic.link, names)) report_link(traffic);
    }
}

void hear(traffic& traffic, const std::string& message)
{
    const routers::diagnostic told = routers::read_diagnostic(message);
    if (routers::read_link(traffic.link, told)) report_link(traffic);
    std::vector<routers::trace_step> steps;
    routers::read_trace(traffic.trace, traffic.now, told, steps);
    for (const routers::trace_step& step : steps)
        count(traffic, step);
    routers::tell_desk(traffic.desk, traffic.now, ROUTER, steps);
    require(traffic.trace.unanswered.size() <= routers::REQUESTS_UNANSWERED,
            "what waits for answers is bounded");
    require(traffic.link.reason.empty() == (traffic.link.state == desk::link_state::ready),
            "a link that is not ready says why");
}

void check_ends(traffic& traffic)
{
    for (const desk::entry& entry : std::exchange(traffic.desk.entries, {}))
        if (const auto* const end = std::get_if<desk::wish_ended>(&entry.what))
            require(traffic.ended.insert(end->id).second, "a wish ends once");
}

void check_frames(const traffic& traffic)
{
    std::size_t bytes = 0;
    for (const routers::traced_frame& frame : traffic.trace.frames) {
        bytes += frame.raw.size();
        const std::string text = routers::text_of(frame, traffic.desk, ROUTER);
        require(text.size() <= 2 * desk::TEXT_LENGTH, "the text of a frame is bounded");
        require(std::none_of(text.begin(), text.end(),
                             [](char letter) {
                                 const auto byte = static_cast<unsigned char>(letter);
                                 return byte < ' ' || byte == 0x7f;
                             }),
                "the text of a frame has no control characters");
    }
    require(traffic.trace.frames.size() <= routers::FRAMES_KEPT, "the frames are bounded");
    require(bytes == traffic.trace.frame_bytes && bytes <= routers::FRAME_BYTES_KEPT,
            "the frames' bytes are counted, and bounded");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    traffic traffic = begin();
    std::string_view rest = input_of(data, size).rest;
    while (!rest.empty()) {
        const std::string piece(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(rest.size(), piece.size() + 1));
        if (piece.starts_with('!'))
            wish(traffic, piece);
        else if (piece.starts_with('='))
            report(traffic, piece);
        else
            hear(traffic, message_of(piece));
        check_ends(traffic);
    }
    check_frames(traffic);
    return 0;
}
