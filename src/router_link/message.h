// One Native Protocol message, sent or received, and its wire form:
//
//   SOH  protocol  seq  request(2)  [TAB parameter [TAB parameter ...]]  checksum(2)  EOT
//
// The checksum is two upper-case hexadecimal digits; with it, all bytes after SOH add to 0 modulo
// 256. An ACK is one byte by itself; a NAK carries four hexadecimal digits and ends with EOT.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

constexpr char SOH = 0x01;
constexpr char EOT = 0x04;
constexpr char ACK = 0x06;
constexpr char TAB = 0x09;
constexpr char NAK = 0x15;

struct router_message {
    char protocol = 0; // 'N' in every request; 0 in a bare ACK or NAK
    char seq = '0';    // received: anything but NUL and '0' means that the reply goes on
    std::array<char, 3> request{}; // the mnemonic and a NUL
    std::vector<std::string> parameters;
    bool ok = false;          // well-formed, or an ACK; clear for a NAK and an error reply
    bool ack = false;         // a bare ACK
    bool nak = false;         // a NAK
    bool err = false;         // an "ER" reply with a non-zero error code
    std::int32_t nakerr = -1; // the error code of a NAK or "ER"; -1: none
    std::string raw; // received bytes between start and end byte, checksum included; else empty
};

// Puts a message back to what a default one is.
void router_message_clear(router_message& message);

// A request with this two-character mnemonic, as this program sends them.
router_message make_request(const char* mnemonic,
                            std::initializer_list<std::string> parameters = {});

// The request for the route of the destination with this router index, on level 0. Whoever queries
// all outputs or the changed ones numbers them from 1, whatever the router's index base is; only
// the query after a take goes by the base.
router_message make_status_query(std::uint32_t router_index);

inline std::string_view mnemonic_of(const router_message& message)
{
    return message.request.data();
}

// The checksum of a frame's bytes after SOH.
std::uint8_t router_checksum(std::string_view bytes);

// Puts the frame of the message into `frame`. Returns false when the message does not fit the
// encoding buffer of 1024 bytes. A NUL in the message ends the frame there.
bool encode_router_message(const router_message& message, std::string& frame);

constexpr std::size_t CHECKSUM_DIGITS = 2;

// The value of the last two of these bytes; any other character than a digit counts as 0. There are
// at least those two.
std::uint8_t checksum_field(std::string_view raw);

// Takes header, parameters and error code out of the message's raw, whose checksum is right. The
// message is otherwise a default one, and ok.
void decode_router_message(router_message& message);

// One line about the message for the log. Contains the header bytes as they are, NUL included.
std::string router_message_text(const router_message& message);
