#include "server/web/trace_json.h"

#include "server/desk/words.h"

namespace web {

namespace {
const char* word_of(routers::meaning meaning)
{
    switch (meaning) {
    case routers::meaning::take:
        return "take";
    case routers::meaning::query:
        return "query";
    case routers::meaning::request:
        return "request";
    case routers::meaning::route:
        return "route";
    case routers::meaning::confirmation:
        return "confirmation";
    case routers::meaning::refusal:
        return "refusal";
    case routers::meaning::answer:
        return "answer";
    case routers::meaning::rejected:
        return "rejected";
    }
    return "";
}

// Each byte as the character of its number.
std::string bytes_text(const std::string& bytes)
{
    std::string text;
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte < 0x80) {
            text += each;
        } else {
            text += static_cast<char>(0xc0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return text;
}
} // namespace

json frame_json(const desk::desk_state& desk, const std::string& router,
                const routers::traced_frame& frame, std::uint64_t number)
{
    using routers::meaning;
    json value = {{"number", number},
                  {"time", time_text(frame.at.utc)},
                  {"direction", frame.way == routers::direction::sent ? "sent" : "received"},
                  {"meaning", word_of(frame.meaning)}};
    const bool routes = frame.meaning == meaning::take || frame.meaning == meaning::route;
    if (routes || frame.meaning == meaning::query) {
        value["destination"] = frame.destination;
        value["destinationName"] = desk::destination_name(desk, router, frame.destination);
    }
    if (routes && frame.source != desk::UNKNOWN_SOURCE) {
        value["source"] = frame.source == desk::NO_SOURCE ? json() : json(frame.source);
        if (frame.source != desk::NO_SOURCE)
            value["sourceName"] = desk::source_name(desk, router, frame.source);
    }
    if (frame.meaning == meaning::refusal && frame.code >= 0) value["code"] = frame.code;
    value["text"] = routers::text_of(frame, desk, router);
    value["raw"] = bytes_text(frame.raw);
    return value;
}

} // namespace web
