#include "server/web/request_reader.h"

#include <algorithm>
#include <array>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include "server/web/target.h"
#include "server/web/transport_limits.h"

namespace web {

namespace http = boost::beast::http;

namespace {
constexpr std::size_t LONGEST_METHOD = 32; // with the blank that follows
constexpr const char* TOO_LARGE = "A body has at most 1 MiB.";
constexpr std::string_view LINE_END = "\r\n";
constexpr std::string_view HEAD_END = "\r\n\r\n";

// Of these there must not be two: which one counts would be anybody's guess.
constexpr auto SINGLE = std::to_array<std::string_view>(
    {"authorization", "content-length", "content-type", "cookie", "host", "idempotency-key",
     "last-event-id", "origin", "sec-fetch-site", "sec-websocket-key", "sec-websocket-version",
     "transfer-encoding"});

bool refuse(request_reader& reader, std::string code, std::string detail)
{
    reader.refusal = {.code = std::move(code), .detail = std::move(detail)};
    return false;
}

// Whether `next` may follow `last` (0: none) in a head whose lines end with CR LF, none goes on in
// the next one, and none has a zero byte.
bool may_follow(char last, char next)
{
    if (next == '\0' || (last == '\r') != (next == '\n')) return false;
    return last != '\n' || (next != ' ' && next != '\t');
}

std::string small_letters(std::string_view text)
{
    std::string small(text);
    for (char& letter : small)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return small;
}

bool is_host(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') ||
               std::string_view(".-_:[]").find(letter) != std::string_view::npos;
    });
}

bool read_headers(request_reader& reader, const http::fields& fields)
{
    auto& headers = reader.request.headers;
    for (const auto& field : fields) {
        const std::string name = small_letters(field.name_string());
        const std::string value(field.value());
        const auto [place, is_new] = headers.emplace(name, value);
        if (is_new) continue;
        if (std::find(SINGLE.begin(), SINGLE.end(), name) != SINGLE.end())
            return refuse(reader, "malformedRequest", "The header " + name + " is there twice.");
        place->second += ", " + value;
    }
    return true;
}

bool check_headers(request_reader& reader)
{
    const std::string* const host = find_header(reader.request, "host");
    if (host == nullptr && reader.http_1_1)
        return refuse(reader, "malformedRequest", "The header Host is missing.");
    if (host != nullptr && !is_host(*host))
        return refuse(reader, "malformedRequest", "The header Host has no host.");
    const std::string* const length = find_header(reader.request, "content-length");
    const std::string* const encoding = find_header(reader.request, "transfer-encoding");
    if (length != nullptr && length->find_first_not_of("0123456789") != std::string::npos)
        return refuse(reader, "malformedRequest", "The header Content-Length is no number.");
    if (encoding == nullptr) return true;
    if (length != nullptr || !reader.http_1_1 || small_letters(*encoding) != "chunked")
        return refuse(reader, "malformedRequest",
                      "A body comes with its length or, in HTTP/1.1, in chunks, and as it is.");
    return true;
}

method read_method(http::verb verb)
{
    switch (static_cast<int>(verb)) {
    case static_cast<int>(http::verb::get):
        return method::get;
    case static_cast<int>(http::verb::head):
        return method::head;
    case static_cast<int>(http::verb::post):
        return method::post;
    case static_cast<int>(http::verb::put):
        return method::put;
    case static_cast<int>(http::verb::patch):
        return method::patch;
    case static_cast<int>(http::verb::delete_):
        return method::remove;
    default:
        return method::other;
    }
}

bool refuse_by_library(request_reader& reader, const boost::system::error_code& error)
{
    if (error == http::error::body_limit) return refuse(reader, "bodyTooLarge", TOO_LARGE);
    return refuse(reader, "malformedRequest", "This is no HTTP/1.1: " + error.message() + ".");
}

// All of the head is there.
bool parse_head(request_reader& reader, std::size_t size)
{
    http::request_parser<http::empty_body> parser;
    parser.header_limit(static_cast<std::uint32_t>(LONGEST_HEAD));
    parser.body_limit(LONGEST_BODY);
    boost::system::error_code error;
    const std::size_t used = parser.put(boost::asio::buffer(reader.input.data(), size), error);
    if (error) return refuse_by_library(reader, error);
    if (used != size || !parser.is_header_done())
        return refuse(reader, "malformedRequest", "The headers end too early.");
    reader.input.erase(0, size);

    const auto& head = parser.get();
    reader.request.method = read_method(head.method());
    reader.http_1_1 = head.version() == 11;
    if (!reader.http_1_1 && head.version() != 10)
        return refuse(reader, "malformedRequest", "This is no HTTP/1.1.");
    if (!read_headers(reader, head) || !check_headers(reader)) return false;
    if (head.target().size() > LONGEST_TARGET)
        return refuse(reader, "addressTooLong", "The address is too long.");
    std::string wrong;
    if (!read_target(head.target(), reader.request, wrong))
        return refuse(reader, "malformedRequest", wrong);
    reader.left = parser.content_length().value_or(0);
    if (parser.chunked()) reader.chunks.emplace();
    const std::string* const expected = find_header(reader.request, "expect");
    reader.waits_for_leave = expected != nullptr && reader.http_1_1 &&
                             (reader.left != 0 || reader.chunks) &&
                             small_letters(*expected) == "100-continue";
    reader.keeps_open = parser.keep_alive();
    reader.head_is_read = true;
    return true;
}

void pass_over_empty_lines(request_reader& reader) // some send one after a body
{
    std::size_t size = 0;
    while (std::string_view(reader.input).substr(size).starts_with(LINE_END))
        size += LINE_END.size();
    if (size == 0) return;
    reader.input.erase(0, size);
    reader.looked_at = 0;
}

// Looks at each byte of the head once, however it comes. Whole: the byte at `looked_at` ends it.
reading find_end_of_head(request_reader& reader)
{
    const std::string_view input = reader.input;
    for (std::size_t& at = reader.looked_at; at < input.size(); ++at) {
        if (!may_follow(at == 0 ? '\0' : input[at - 1], input[at])) {
            refuse(reader, "malformedRequest", "A line of the headers does not end as it must.");
            return reading::refused;
        }
        if (input[at] == '\n') reader.first_line_ended = true;
        if (!reader.first_line_ended && at >= LONGEST_METHOD + LONGEST_TARGET) {
            refuse(reader, "addressTooLong", "The address is too long.");
            return reading::refused;
        }
        if (at >= LONGEST_HEAD) {
            refuse(reader, "headersTooLarge", "The headers have at most 16 KiB.");
            return reading::refused;
        }
        if (input.substr(0, at + 1).ends_with(HEAD_END)) return reading::whole;
    }
    return reading::more;
}

reading read_head(request_reader& reader)
{
    pass_over_empty_lines(reader);
    const reading reached = find_end_of_head(reader);
    if (reached != reading::whole) return reached;
    return parse_head(reader, reader.looked_at + 1) ? reading::whole : reading::refused;
}

// A body whose length was told.
reading read_rest(request_reader& reader)
{
    const std::size_t size = std::min(reader.left, reader.input.size());
    reader.request.body.append(reader.input, 0, size);
    reader.input.erase(0, size);
    reader.left -= size;
    return reader.left == 0 ? reading::whole : reading::more;
}

reading read_body(request_reader& reader)
{
    if (!reader.chunks) return read_rest(reader);
    switch (read_chunks(*reader.chunks, reader.input, reader.request.body)) {
    case chunk_reading::more:
        return reading::more;
    case chunk_reading::whole:
        return reading::whole;
    case chunk_reading::malformed:
        refuse(reader, "malformedRequest", "The body's chunks are not to be read.");
        break;
    case chunk_reading::too_large:
        refuse(reader, "bodyTooLarge", TOO_LARGE);
        break;
    }
    return reading::refused;
}
} // namespace

reading read_request(request_reader& reader)
{
    if (!reader.refusal.code.empty()) return reading::refused;
    if (!reader.head_is_read) {
        const reading head = read_head(reader);
        if (head != reading::whole) return head;
    }
    return read_body(reader);
}

void begin_request(request_reader& reader)
{
    reader.request = {};
    reader.waits_for_leave = false;
    reader.looked_at = 0;
    reader.first_line_ended = false;
    reader.head_is_read = false;
    reader.left = 0;
    reader.chunks.reset();
}

} // namespace web
