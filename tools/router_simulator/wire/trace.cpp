#include "router_simulator/wire/trace.h"

#include <cstdio>

namespace router_simulator {

namespace {
void append_printable(std::string& text, std::string_view bytes)
{
    for (const char byte : bytes) {
        if (byte >= ' ' && byte <= '~') {
            text += byte;
            continue;
        }
        char escaped[5];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned char>(byte));
        text += escaped;
    }
}
} // namespace

std::string quoted_text(std::string_view text)
{
    std::string quoted = "\"";
    append_printable(quoted, text);
    return quoted + "\"";
}

std::string readable_message(const router_message& message)
{
    if (message.nak) return "NAK " + std::to_string(message.nakerr);
    std::string text;
    if (message.protocol != 'N') {
        append_printable(text, {&message.protocol, 1});
        text += " ";
    }
    append_printable(text, mnemonic_of(message));
    if (message.seq != '0') {
        text += " seq=";
        append_printable(text, {&message.seq, 1});
    }
    for (const std::string& parameter : message.parameters)
        text += " " + quoted_text(parameter);
    return text;
}

std::string readable_frame(const parsed_frame& frame)
{
    if (frame.error == frame_error::none) return readable_message(frame.request);
    return std::string("bad frame, ") + error_text(frame.error) + ": " + quoted_text(frame.content);
}

} // namespace router_simulator
