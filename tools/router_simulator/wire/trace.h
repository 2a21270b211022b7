// Frames as a person reads them: "TI \"000F\" \"000C\"", with "seq=1" behind the mnemonic of a
// message that is not the last of its reply. Bytes that do not print show as \xNN.
#pragma once

#include <string>
#include <string_view>

#include "router_simulator/wire/frames.h"

namespace router_simulator {

std::string readable_message(const router_message& message);

// The same of a received frame; what is wrong with it and its bytes when it is bad.
std::string readable_frame(const parsed_frame& frame);

std::string quoted_text(std::string_view text);

} // namespace router_simulator
