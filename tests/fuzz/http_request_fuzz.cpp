// The reader of requests: whatever the pieces in which a connection's bytes come, the requests are
// those of the bytes in one piece, and so is whether one is refused; and no request has what
// handlers are not made for.
//
// The input's first eight bytes are the lengths of the pieces, used in turn; the rest is sent.

#include <algorithm>
#include <array>

#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "server/web/request_reader.h"
#include "server/web/target.h"
#include "server/web/transport_limits.h"

namespace {
using piece_lengths = std::array<std::size_t, 8>;

bool has_line(const std::string& text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos;
}

void check(const web::request& request)
{
    require(request.body.size() <= web::LONGEST_BODY, "a body is bounded");
    require(request.path.size() <= web::MOST_SEGMENTS, "a path is bounded");
    for (const std::string& each : request.path)
        require(!each.empty() && each != "." && each != ".." && !has_line(each) &&
                    each.find('/') == std::string::npos,
                "a path goes down, step by step");
    std::size_t size = 0;
    for (const auto& [name, value] : request.headers) {
        size += name.size() + value.size();
        require(!has_line(name) && !has_line(value), "a header is one line");
        require(std::none_of(name.begin(), name.end(),
                             [](char letter) { return letter >= 'A' && letter <= 'Z'; }),
                "a header's name has small letters");
    }
    require(size <= web::LONGEST_HEAD, "headers are bounded");
    require(!request.headers.contains("transfer-encoding") ||
                !request.headers.contains("content-length"),
            "there is one length of a body");
}

std::string text_of(const web::request_reader& reader)
{
    std::string text = std::to_string(static_cast<int>(reader.request.method));
    for (const std::string& each : reader.request.path)
        text += "/" + each;
    for (const auto& [name, value] : reader.request.query)
        text += "?" + name + "=" + value;
    for (const auto& [name, value] : reader.request.headers)
        text += "\n" + name + ": " + value;
    return text + (reader.keeps_open ? "\nkeeps\n" : "\ncloses\n") + reader.request.body + "\n";
}

// All requests, with what ends them.
std::string read_all(std::string_view bytes, const piece_lengths& lengths)
{
    std::string text;
    web::request_reader reader;
    for (std::size_t i = 0; !bytes.empty(); ++i) {
        const std::string_view piece = bytes.substr(0, lengths[i % lengths.size()]);
        bytes.remove_prefix(piece.size());
        reader.input += piece;
        for (;;) {
            const web::reading reached = web::read_request(reader);
            if (reached == web::reading::refused) return text + "refused";
            if (reached == web::reading::more) break;
            check(reader.request);
            text += text_of(reader);
            web::begin_request(reader);
        }
        require(reader.input.size() <= web::LONGEST_HEAD + piece.size(), "what waits is bounded");
    }
    return text + "more";
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input = input_of(data, size);
    piece_lengths lengths{};
    for (std::size_t& length : lengths)
        length = read_number(input) + 1;
    const std::string bytes = read_bytes(input, size);
    const piece_lengths whole = {bytes.size() + 1, 1, 1, 1, 1, 1, 1, 1};
    require(read_all(bytes, lengths) == read_all(bytes, whole),
            "the pieces make no difference to the requests");
    return 0;
}
