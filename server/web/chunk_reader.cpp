#include "server/web/chunk_reader.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "server/web/transport_limits.h"

namespace web {

namespace {
constexpr std::size_t LONGEST_LINE = 4096; // of a chunk's size, or in a trailer
constexpr std::string_view LINE_END = "\r\n";

// What ends the reading, else that it goes on.
using part_reading = std::optional<chunk_reading>;

// The next line without its end, when it is there.
part_reading take_line(std::string& input, std::string& line)
{
    const std::size_t end = input.find('\n');
    if (std::min(end, input.size()) > LONGEST_LINE) return chunk_reading::malformed;
    if (end == std::string::npos) return chunk_reading::more;
    if (end == 0 || input[end - 1] != '\r') return chunk_reading::malformed;
    line = input.substr(0, end - 1);
    input.erase(0, end + 1);
    const bool odd = std::any_of(line.begin(), line.end(),
                                 [](char each) { return each == '\r' || each == '\0'; });
    return odd ? part_reading(chunk_reading::malformed) : std::nullopt;
}

part_reading read_size(chunk_reader& reader, std::string& input, std::size_t room)
{
    std::string line;
    if (const auto ended = take_line(input, line)) return ended;
    const std::string digits = line.substr(0, line.find(';'));
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), reader.left, 16);
    if (error == std::errc::result_out_of_range) return chunk_reading::too_large;
    if (error != std::errc() || end != digits.data() + digits.size())
        return chunk_reading::malformed;
    if (reader.left > room) return chunk_reading::too_large;
    reader.next = reader.left == 0 ? chunk_part::trailer : chunk_part::bytes;
    return {};
}

part_reading read_bytes(chunk_reader& reader, std::string& input, std::string& body)
{
    const std::size_t size = std::min(reader.left, input.size());
    body.append(input, 0, size);
    input.erase(0, size);
    reader.left -= size;
    if (reader.left != 0) return chunk_reading::more;
    reader.next = chunk_part::end;
    return {};
}

part_reading read_end(chunk_reader& reader, std::string& input)
{
    const bool begun = LINE_END.starts_with(input.substr(0, LINE_END.size()));
    if (!begun) return chunk_reading::malformed;
    if (input.size() < LINE_END.size()) return chunk_reading::more;
    input.erase(0, LINE_END.size());
    reader.next = chunk_part::size;
    return {};
}

part_reading read_trailer(chunk_reader& reader, std::string& input)
{
    std::string line;
    if (const auto ended = take_line(input, line)) return ended;
    if (line.empty()) return chunk_reading::whole;
    reader.trailer += line.size();
    return reader.trailer > LONGEST_HEAD ? part_reading(chunk_reading::malformed) : std::nullopt;
}
} // namespace

chunk_reading read_chunks(chunk_reader& reader, std::string& input, std::string& body)
{
    for (;;) {
        part_reading ended;
        switch (reader.next) {
        case chunk_part::size:
            ended = read_size(reader, input, LONGEST_BODY - body.size());
            break;
        case chunk_part::bytes:
            ended = read_bytes(reader, input, body);
            break;
        case chunk_part::end:
            ended = read_end(reader, input);
            break;
        case chunk_part::trailer:
            ended = read_trailer(reader, input);
            break;
        }
        if (ended) return *ended;
    }
}

} // namespace web
