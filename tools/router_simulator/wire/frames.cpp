#include "router_simulator/wire/frames.h"

#include <cstdint>
#include <utility>

#include "tools/common/numbers.h"

namespace router_simulator {

namespace {
constexpr std::size_t HEADER_LENGTH = 4; // protocol, sequence byte, mnemonic
constexpr std::size_t CHECKSUM_LENGTH = 2;
} // namespace

const char* error_text(frame_error error)
{
    switch (error) {
    case frame_error::none:
        return "good";
    case frame_error::bad_checksum:
        return "bad checksum";
    case frame_error::too_short:
        return "too short";
    case frame_error::too_long:
        return "too long";
    case frame_error::holds_nul:
        return "holds a NUL";
    case frame_error::bad_header:
        return "bad header";
    case frame_error::cut_short:
        return "cut short by the next frame";
    }
    return "";
}

namespace {
// All bytes and the value of the checksum add to 0 modulo 256.
bool checksum_holds(std::string_view content)
{
    const std::size_t checked = content.size() - CHECKSUM_LENGTH;
    std::uint8_t checksum = 0;
    if (!common::read_hexadecimal(content.substr(checked), checksum)) return false;
    unsigned sum = checksum;
    for (const char byte : content.substr(0, checked))
        sum += static_cast<unsigned char>(byte);
    return sum % 256 == 0;
}

// The parts between the tabs. The first is the header.
std::vector<std::string> split_at_tabs(std::string_view text)
{
    std::vector<std::string> parts;
    for (;;) {
        const std::size_t tab = text.find(TAB);
        parts.emplace_back(text.substr(0, tab));
        if (tab == std::string_view::npos) return parts;
        text.remove_prefix(tab + 1);
    }
}

frame_error read_request(std::string_view content, router_message& request)
{
    if (content.size() < HEADER_LENGTH + CHECKSUM_LENGTH) return frame_error::too_short;
    if (!checksum_holds(content)) return frame_error::bad_checksum;
    content.remove_suffix(CHECKSUM_LENGTH);
    std::vector<std::string> parts = split_at_tabs(content);
    const std::string header = parts.front();
    if (header.size() != HEADER_LENGTH) return frame_error::bad_header;
    request.protocol = header[0];
    request.seq = header[1];
    request.request = {header[2], header[3], '\0'};
    parts.erase(parts.begin());
    request.parameters = std::move(parts);
    request.ok = true;
    return frame_error::none;
}

// The end of the frame being received, good or not.
parsed_frame end_frame(request_parser& parser, frame_error error)
{
    parser.in_frame = false;
    parsed_frame frame;
    frame.error = error;
    frame.content = std::exchange(parser.content, {});
    return frame;
}

void parse_byte(request_parser& parser, char byte, std::vector<parsed_frame>& frames)
{
    if (byte == SOH) {
        if (parser.in_frame) frames.push_back(end_frame(parser, frame_error::cut_short));
        parser.in_frame = true;
    } else if (!parser.in_frame) {
        return;
    } else if (byte == EOT) {
        parsed_frame& frame = frames.emplace_back(end_frame(parser, frame_error::none));
        frame.error = read_request(frame.content, frame.request);
    } else if (byte == '\0') {
        frames.push_back(end_frame(parser, frame_error::holds_nul));
    } else if (parser.content.size() == MAX_FRAME_CONTENT) {
        frames.push_back(end_frame(parser, frame_error::too_long));
    } else {
        parser.content += byte;
    }
}
} // namespace

std::vector<parsed_frame> parse_requests(request_parser& parser, std::string_view bytes)
{
    std::vector<parsed_frame> frames;
    for (const char byte : bytes)
        parse_byte(parser, byte, frames);
    return frames;
}

} // namespace router_simulator
