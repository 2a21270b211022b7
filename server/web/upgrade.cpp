#include "server/web/upgrade.h"

#include <algorithm>
#include <string_view>

namespace web {

namespace {
bool is_same_word(std::string_view text, std::string_view small)
{
    return std::equal(text.begin(), text.end(), small.begin(), small.end(),
                      [](char letter, char wanted) {
                          const bool capital = letter >= 'A' && letter <= 'Z';
                          return (capital ? letter - 'A' + 'a' : letter) == wanted;
                      });
}

// Whether the word is one of those between the header's commas.
bool has_word(const request& request, std::string_view header, std::string_view word)
{
    const std::string* const value = find_header(request, header);
    std::string_view rest = value == nullptr ? std::string_view() : *value;
    while (!rest.empty()) {
        std::string_view each = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(each.size() + 1, rest.size()));
        each.remove_prefix(std::min(each.find_first_not_of(" \t"), each.size()));
        each = each.substr(0, each.find_last_not_of(" \t") + 1);
        if (is_same_word(each, word)) return true;
    }
    return false;
}
} // namespace

bool asks_for_websocket(const request& request)
{
    constexpr std::size_t KEY_SIZE = 24; // 16 bytes in base64
    const std::string* const key = find_header(request, "sec-websocket-key");
    const std::string* const version = find_header(request, "sec-websocket-version");
    return request.method == method::get && has_word(request, "upgrade", "websocket") &&
           has_word(request, "connection", "upgrade") && key != nullptr &&
           key->size() == KEY_SIZE && version != nullptr && *version == "13";
}

} // namespace web
