// The hand-written framing of the tests, so that a mistake in the encoder cannot hide.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// SOH, the body, its checksum, EOT.
std::string frame(std::string_view body);

// A frame's body from its pieces: protocol N, then seq, mnemonic and tab-separated parameters.
std::string body(std::string_view mnemonic, const std::vector<std::string>& parameters = {},
                 char seq = '0');

// A request as people read it: "TI F C". "bad frame" when it is not framed as a request must be.
std::string readable_request(const std::string& framed);
