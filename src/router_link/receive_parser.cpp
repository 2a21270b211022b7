#include "router_link/receive_parser.h"

#include "common/log.h"
#include "common/numbers.h"

namespace {
constexpr std::size_t MAX_FRAME_BYTES = 4096; // between start and end byte
} // namespace

ParseState parse_state = ParseState::Idle;
router_message incoming_message;
std::deque<router_message> router_rx_queue;
us_time_t last_router_activity = 0;

void reset_receive_parser()
{
    router_message_clear(incoming_message);
    parse_state = ParseState::Idle;
}

namespace {
bool checksum_is_right(std::string_view raw)
{
    const unsigned want = checksum_field(raw);
    const unsigned got = router_checksum(raw.substr(0, raw.size() - CHECKSUM_DIGITS));
    if (want == got) return true;
    log_debug("Message rejected, invalid checksum (want=%02x got=%02x)", want, got);
    return false;
}

// Returns whether the frame opened by SOH is a good message.
bool read_message()
{
    const std::string& raw = incoming_message.raw;
    log_debug("Router: MSG %s", raw.c_str());
    if (raw.size() < CHECKSUM_DIGITS) {
        log_debug("Message rejected, no checksum field");
        return false;
    }
    if (!checksum_is_right(raw)) return false;
    decode_router_message(incoming_message);
    return true;
}

void complete_frame()
{
    bool deliver = true;
    if (incoming_message.nak) {
        log_debug("Router: NAK %s", incoming_message.raw.c_str());
        incoming_message.nakerr =
            static_cast<std::int32_t>(leading_hex_digits(incoming_message.raw));
    } else if (!incoming_message.ack) {
        deliver = read_message();
    }
    if (deliver) router_rx_queue.push_back(incoming_message);
    reset_receive_parser();
    last_router_activity = now_us();
}

void start_frame(char byte)
{
    router_message_clear(incoming_message);
    parse_state = ParseState::InMessage;
    if (byte == NAK) {
        incoming_message.nak = true;
        return;
    }
    incoming_message.ok = true;
    if (byte == ACK) {
        log_debug("Router: ACK");
        incoming_message.ack = true;
        complete_frame();
    }
}

void parse_frame_byte(char byte, std::string_view read_bytes)
{
    if (byte == EOT) {
        complete_frame();
    } else if (byte == '\0') {
        log_debug("Unexpected NUL in response from router switcher, ignoring response");
        log_debug("Response: %.*s", static_cast<int>(read_bytes.find('\0')), read_bytes.data());
        parse_state = ParseState::SkipToEnd;
    } else if (incoming_message.raw.size() < MAX_FRAME_BYTES) {
        incoming_message.raw += byte;
    } else {
        log_warning("Over-long rambling response from router switcher");
        reset_receive_parser();
    }
}
} // namespace

void parse_router_bytes(std::string_view read_bytes)
{
    for (const char byte : read_bytes) {
        switch (parse_state) {
        case ParseState::Idle:
            if (byte == SOH || byte == ACK || byte == NAK) {
                start_frame(byte);
            } else {
                log_untagged("Discarding unexpected byte %02x", static_cast<unsigned char>(byte));
            }
            break;
        case ParseState::InMessage:
            parse_frame_byte(byte, read_bytes);
            break;
        case ParseState::SkipToEnd:
            if (byte == EOT) reset_receive_parser();
            break;
        }
    }
}
