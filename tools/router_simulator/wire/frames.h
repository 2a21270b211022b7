// Cuts the bytes of one client into frames and checks them. A reader of its own, apart from the
// backend's, so that neither can hide a mistake of the other. A frame starts with SOH and ends with
// EOT; whatever lies between two frames is passed over. Memory stays bounded whatever comes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "router_link/message.h"

namespace router_simulator {

// Bytes between SOH and EOT, as much as the encoder can make.
constexpr std::size_t MAX_FRAME_CONTENT = 1021;

// What is wrong with a frame. The values are the codes of the NAK that answers it.
enum class frame_error {
    none = 0,
    bad_checksum = 1,
    too_short = 2,
    too_long = 3,
    holds_nul = 4,
    bad_header = 5, // not exactly four bytes before the first TAB
    cut_short = 6,  // another frame started before its end
};

struct parsed_frame {
    frame_error error = frame_error::none;
    router_message request; // of a frame without error: header and parameters
    std::string content;    // the bytes between SOH and EOT, or those received
};

struct request_parser {
    bool in_frame = false; // else everything up to the next SOH is passed over
    std::string content;   // of the frame being received
};

// The frames that these bytes complete or spoil, in order.
std::vector<parsed_frame> parse_requests(request_parser& parser, std::string_view bytes);

const char* error_text(frame_error error);

} // namespace router_simulator
