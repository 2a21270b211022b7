#include "router_link/message.h"

#include <cstdio>
#include <cstring>

#include "common/check.h"
#include "common/numbers.h"

namespace {
constexpr std::size_t FRAME_BUFFER_SIZE = 1024;
constexpr std::size_t LAST_POSITION = FRAME_BUFFER_SIZE - 1;
constexpr std::size_t PARAMETER_MARGIN = 8; // kept free behind every parameter
constexpr std::size_t HEADER_BYTES = 4;     // protocol, seq and the two characters of the mnemonic

struct frame_buffer {
    char bytes[FRAME_BUFFER_SIZE];
    std::size_t position = 0; // of the next byte
};

// The position is tested before the byte is stored, so that a mistake never overruns the buffer.
void put(frame_buffer& buffer, char byte)
{
    CHECK_NAMED(buffer.position < LAST_POSITION, "w <= f");
    buffer.bytes[buffer.position++] = byte;
}

bool put_parameter(frame_buffer& buffer, const std::string& parameter)
{
    if (parameter.empty()) return true;
    if (buffer.position + parameter.size() + PARAMETER_MARGIN > LAST_POSITION) return false;
    std::memcpy(buffer.bytes + buffer.position, parameter.data(), parameter.size());
    buffer.position += parameter.size();
    return true;
}

void put_hex(frame_buffer& buffer, unsigned value, int digit_count)
{
    for (int shift = 4 * (digit_count - 1); shift >= 0; shift -= 4)
        put(buffer, "0123456789ABCDEF"[value >> shift & 0xF]);
}
} // namespace

void router_message_clear(router_message& message)
{
    message.protocol = 0;
    message.seq = '0';
    message.request.fill('\0');
    message.parameters.clear();
    message.ok = false;
    message.ack = false;
    message.nak = false;
    message.err = false;
    message.nakerr = -1;
    message.raw.clear();
}

router_message make_request(const char* mnemonic, std::initializer_list<std::string> parameters)
{
    router_message message;
    message.protocol = 'N';
    message.request = {mnemonic[0], mnemonic[1], '\0'};
    message.parameters = parameters;
    return message;
}

router_message make_status_query(std::uint32_t router_index)
{
    return make_request("QI", {upper_hex(router_index), "0"});
}

std::uint8_t router_checksum(std::string_view bytes)
{
    unsigned sum = 0;
    for (const char byte : bytes)
        sum += static_cast<unsigned char>(byte);
    return static_cast<std::uint8_t>(256 - sum % 256);
}

bool encode_router_message(const router_message& message, std::string& frame)
{
    frame_buffer buffer;
    if (message.ack) {
        put(buffer, ACK);
    } else if (message.nak) {
        put(buffer, NAK);
        put_hex(buffer, static_cast<unsigned>(message.nakerr), 4);
        put(buffer, EOT);
    } else {
        put(buffer, SOH);
        put(buffer, message.protocol);
        put(buffer, message.seq);
        put(buffer, message.request[0]);
        put(buffer, message.request[1]);
        for (const std::string& parameter : message.parameters) {
            put(buffer, TAB);
            if (!put_parameter(buffer, parameter)) return false;
        }
        put_hex(buffer, router_checksum({buffer.bytes + 1, buffer.position - 1}), 2);
        put(buffer, EOT);
    }
    frame.assign(buffer.bytes, strnlen(buffer.bytes, buffer.position));
    return true;
}

namespace {
unsigned checksum_digit(char digit)
{
    const int value = hex_digit_value(digit);
    return value < 0 ? 0 : static_cast<unsigned>(value);
}

// The header is read without regard to where the checksum begins: in a short frame the checksum
// characters land in it.
void read_header(router_message& message)
{
    message.protocol = message.raw[0];
    message.seq = message.raw[1];
    message.raw.copy(message.request.data(), 2, 2);
}

// A TAB directly before the checksum adds no empty last parameter.
void read_parameters(router_message& message)
{
    const std::string_view body =
        std::string_view(message.raw).substr(0, message.raw.size() - CHECKSUM_DIGITS);
    std::size_t tab = body.find(TAB, HEADER_BYTES);
    while (tab != std::string_view::npos && tab + 1 < body.size()) {
        const std::size_t begin = tab + 1;
        tab = body.find(TAB, begin);
        message.parameters.emplace_back(body.substr(begin, tab - begin));
    }
}

// An error reply without a code keeps the code -1 and is an error too.
void read_error_reply(router_message& message)
{
    if (!message.parameters.empty())
        message.nakerr = static_cast<std::int32_t>(leading_hex_digits(message.parameters[0]));
    if (message.nakerr != 0) {
        message.ok = false;
        message.err = true;
    }
}
} // namespace

std::uint8_t checksum_field(std::string_view raw)
{
    const std::size_t position = raw.size() - CHECKSUM_DIGITS;
    return static_cast<std::uint8_t>(checksum_digit(raw[position]) * 16 +
                                     checksum_digit(raw[position + 1]));
}

void decode_router_message(router_message& message)
{
    read_header(message);
    read_parameters(message);
    if (mnemonic_of(message) == "ER") read_error_reply(message);
}

std::string router_message_text(const router_message& message)
{
    std::string text;
    text.reserve(message.raw.size() + 64); // the parameters and what stands before them
    if (message.ok) text += "[OK] ";
    if (message.ack) text += "[ACK] ";
    if (message.nak) text += "[NAK] ";
    if (message.err) text += "[ERR] ";
    text += "request=";
    text += mnemonic_of(message);
    text += " protocol=";
    text += message.protocol;
    text += " seq=";
    text += message.seq;
    text += ' ';
    if (message.nakerr >= 0) {
        char code[24];
        std::snprintf(code, sizeof code, "nakerr=%04x ", static_cast<unsigned>(message.nakerr));
        text += code;
    }
    const char* separator = "param=";
    for (const std::string& parameter : message.parameters) {
        text += separator;
        text += parameter;
        separator = ",";
    }
    return text;
}
