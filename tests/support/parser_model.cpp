#include "support/parser_model.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {
constexpr std::size_t LONGEST_FRAME = 4096;
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEFabcdef";

std::string hex_byte(unsigned value)
{
    char text[3];
    std::snprintf(text, sizeof text, "%02x", value & 0xFF);
    return text;
}

unsigned digit_or_zero(char digit)
{
    return HEX_DIGITS.find(digit) == std::string_view::npos
               ? 0
               : static_cast<unsigned>(std::stoul(std::string(1, digit), nullptr, 16));
}

// Only the last eight of the leading digits fit.
std::int32_t error_code(const std::string& text)
{
    std::string digits = text.substr(0, text.find_first_not_of(HEX_DIGITS));
    if (digits.size() > 8) digits.erase(0, digits.size() - 8);
    return digits.empty() ? 0 : static_cast<std::int32_t>(std::stoul(digits, nullptr, 16));
}

std::vector<std::string> parameters_in(const std::string& body)
{
    std::vector<std::string> parameters;
    std::size_t tab = body.size() < 4 ? std::string::npos : body.find('\t', 4);
    while (tab != std::string::npos) {
        const std::size_t next = body.find('\t', tab + 1);
        parameters.push_back(body.substr(tab + 1, next - tab - 1));
        tab = next;
    }
    if (!parameters.empty() && parameters.back().empty()) parameters.pop_back();
    return parameters;
}

void judge_error_reply(router_message& message)
{
    if (message.request != std::array<char, 3>{'E', 'R', '\0'}) return;
    message.nakerr = message.parameters.empty() ? -1 : error_code(message.parameters[0]);
    message.err = message.nakerr != 0;
    message.ok = !message.err;
}

std::optional<router_message> plain_message(parser_model& model)
{
    const std::string& raw = model.raw;
    model.log.push_back("<DBG>Router: MSG " + raw + "\n");
    if (raw.size() < 2) {
        model.log.emplace_back("<DBG>Message rejected, no checksum field\n");
        return std::nullopt;
    }
    const std::string body = raw.substr(0, raw.size() - 2);
    unsigned rest_to_256 = 0;
    for (const char byte : body)
        rest_to_256 -= static_cast<unsigned char>(byte);
    const unsigned sent = digit_or_zero(raw[body.size()]) * 16 + digit_or_zero(raw.back());
    if (sent != (rest_to_256 & 0xFF)) {
        model.log.push_back("<DBG>Message rejected, invalid checksum (want=" + hex_byte(sent) +
                            " got=" + hex_byte(rest_to_256) + ")\n");
        return std::nullopt;
    }
    router_message message;
    message.ok = true;
    message.raw = raw;
    message.protocol = raw[0];
    message.seq = raw[1];
    if (raw.size() > 2) message.request[0] = raw[2];
    if (raw.size() > 3) message.request[1] = raw[3];
    message.parameters = parameters_in(body);
    judge_error_reply(message);
    return message;
}

std::optional<router_message> finished_message(parser_model& model)
{
    if (model.start == SOH) return plain_message(model);
    router_message message;
    message.raw = model.raw;
    if (model.start == ACK) {
        model.log.emplace_back("<DBG>Router: ACK\n");
        message.ok = message.ack = true;
    } else {
        model.log.push_back("<DBG>Router: NAK " + model.raw + "\n");
        message.nak = true;
        message.nakerr = error_code(model.raw);
    }
    return message;
}

void forget_frame(parser_model& model)
{
    model.start = 0;
    model.raw.clear();
    model.skipping = false;
}

void end_frame(parser_model& model, us_time_t now)
{
    if (!model.skipping) {
        if (const auto message = finished_message(model)) model.messages.push_back(*message);
        model.last_frame_at = now;
    }
    forget_frame(model);
}

void start_frame(parser_model& model, char byte, us_time_t now)
{
    if (byte != SOH && byte != ACK && byte != NAK) {
        model.log.push_back("Discarding unexpected byte " +
                            hex_byte(static_cast<unsigned char>(byte)) + "\n");
        return;
    }
    model.start = byte;
    if (byte == ACK) end_frame(model, now);
}
} // namespace

void read_into_model(parser_model& model, std::string_view bytes, us_time_t now)
{
    for (const char byte : bytes) {
        if (model.start == 0) {
            start_frame(model, byte, now);
        } else if (byte == EOT) {
            end_frame(model, now);
        } else if (model.skipping) {
            continue;
        } else if (byte == '\0') {
            model.log.emplace_back("<DBG>Unexpected NUL in response from router switcher, "
                                   "ignoring response\n");
            const std::string_view shown = bytes.substr(0, bytes.find('\0'));
            model.log.push_back("<DBG>Response: " + std::string(shown) + "\n");
            model.skipping = true;
        } else if (model.raw.size() == LONGEST_FRAME) {
            model.log.emplace_back("<WARN>Over-long rambling response from router switcher\n");
            forget_frame(model);
        } else {
            model.raw += byte;
        }
    }
}
