#include "server/web/response_text.h"

#include <algorithm>
#include <array>
#include <boost/beast/http/status.hpp>
#include <ctime>
#include <string_view>

namespace web {

namespace {
void add_header(std::string& text, std::string_view name, std::string_view value)
{
    constexpr unsigned char DELETE = 0x7f;
    const std::size_t begin = text.size();
    text.append(name).append(": ").append(value);
    std::replace_if(
        text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
        [](char letter) {
            const auto byte = static_cast<unsigned char>(letter);
            return byte < ' ' || byte == DELETE;
        },
        ' ');
    text.append("\r\n");
}

std::string date_text()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 64> text{};
    return {text.data(),
            std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts)};
}
} // namespace

std::string head_text(const response& response, const response_frame& frame)
{
    const auto reason = boost::beast::http::obsolete_reason(
        boost::beast::http::int_to_status(static_cast<unsigned>(response.status)));
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " ";
    text.append(reason).append("\r\n");
    add_header(text, "Date", date_text());
    if (!response.type.empty()) add_header(text, "Content-Type", response.type);
    const bool has_no_body = response.status == 204 || response.status == 304;
    if (frame.ends == body_end::by_length && !has_no_body)
        add_header(text, "Content-Length", std::to_string(frame.length));
    if (frame.ends == body_end::by_chunks) add_header(text, "Transfer-Encoding", "chunked");
    if (!frame.keeps_open)
        add_header(text, "Connection", "close");
    else if (!frame.http_1_1)
        add_header(text, "Connection", "keep-alive");
    for (const auto& [name, value] : response.headers)
        add_header(text, name, value);
    return text.append("\r\n");
}

} // namespace web
