// The receive parser: whatever the pieces in which the bytes come, messages and log lines are those
// of the model, and the messages are those of the bytes in one piece.
//
// The input's first eight bytes are the lengths of the pieces, used in turn. The rest is what the
// router sends; an odd ninth byte says that its frames get the checksums that they need.

#include <array>

#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "router_link/receive_parser.h"
#include "support/backend_state.h"
#include "support/fake_clock.h"
#include "support/frames.h"
#include "support/message_fields.h"
#include "support/parser_model.h"

using piece_lengths = std::array<std::size_t, 8>;

namespace {
// One read never brings more.
constexpr std::size_t LONGEST_READ = 4096;

piece_lengths read_lengths(fuzz_input& input)
{
    piece_lengths lengths{};
    for (std::size_t& length : lengths) {
        const unsigned number = read_number(input);
        length = number == 255 ? LONGEST_READ : number + 1;
    }
    return lengths;
}

// No fuzzer guesses checksums.
std::string with_checksums(std::string bytes)
{
    std::size_t start = bytes.find(SOH);
    while (start != std::string::npos) {
        const std::size_t end = bytes.find(EOT, start);
        if (end == std::string::npos) break;
        if (end - start > 2) {
            const std::string whole = frame(bytes.substr(start + 1, end - start - 3));
            bytes.replace(start, end - start + 1, whole);
        }
        start = bytes.find(SOH, end);
    }
    return bytes;
}

// Feeds parser and model alike and compares them; returns the messages.
std::vector<message_fields> parsed(std::string_view bytes, const piece_lengths& lengths)
{
    reset_backend_state();
    reset_fake_clock();
    logged_lines.clear();
    parser_model model;
    for (std::size_t i = 0; !bytes.empty(); ++i) {
        const std::string_view piece = bytes.substr(0, lengths[i % lengths.size()]);
        bytes.remove_prefix(piece.size());
        advance_us(1000);
        parse_router_bytes(piece);
        read_into_model(model, piece, fake_now_us);
    }
    require(logged_lines == model.log, "the log is the model's");
    require(all_fields(router_rx_queue) == all_fields(model.messages),
            "the messages are the model's");
    require(last_router_activity == model.last_frame_at, "the last frame's time is the model's");
    require(parse_state == ParseState::Idle || !model.raw.empty() || model.start != 0,
            "the parser is inside a frame only where the model is");
    require(incoming_message.raw.size() <= LONGEST_READ, "a frame is bounded");
    return all_fields(router_rx_queue);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    capture_diagnostics();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input = input_of(data, size);
    const piece_lengths lengths = read_lengths(input);
    piece_lengths whole{};
    whole.fill(LONGEST_READ);
    const bool mended = read_number(input) % 2 != 0;
    const std::string bytes = read_bytes(input, size);
    const std::string sent = mended ? with_checksums(bytes) : bytes;
    require(parsed(sent, lengths) == parsed(sent, whole),
            "pieces give the same messages as the whole");
    return 0;
}
