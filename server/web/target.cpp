#include "server/web/target.h"

#include <algorithm>

#include "tools/common/characters.h"

namespace web {

namespace {
int hexadecimal(char digit)
{
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

// False for a '%' without two digits.
bool decode(std::string_view text, bool plus_is_blank, std::string& decoded)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+' && plus_is_blank) {
            decoded += ' ';
        } else if (text[i] != '%') {
            decoded += text[i];
        } else {
            if (i + 2 >= text.size()) return false;
            const int high = hexadecimal(text[i + 1]);
            const int low = hexadecimal(text[i + 2]);
            if (high < 0 || low < 0) return false;
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    return true;
}

bool has_control(std::string_view text)
{
    constexpr unsigned char DELETE = 0x7f;
    return std::any_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return byte < ' ' || byte == DELETE;
    });
}

// Decoded text that may be shown and compared.
bool read_text(std::string_view text, bool plus_is_blank, std::string& decoded, std::string& error)
{
    if (!decode(text, plus_is_blank, decoded))
        error = "The address has a % that two hexadecimal digits do not follow.";
    else if (has_control(decoded))
        error = "The address has a control character.";
    else if (!common::is_utf8(decoded))
        error = "The address is no UTF-8.";
    return error.empty();
}

// Cuts what stands before the mark off the text's front, and the mark itself; all of it without.
std::string_view cut(std::string_view& text, char mark)
{
    const std::size_t end = std::min(text.find(mark), text.size());
    const std::string_view front = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return front;
}

bool read_path(std::string_view text, request& request, std::string& error)
{
    if (!text.starts_with('/')) {
        error = "The address must begin with /.";
        return false;
    }
    text.remove_prefix(1);
    while (!text.empty()) {
        std::string segment;
        if (!read_text(cut(text, '/'), false, segment, error)) return false;
        if (segment.empty() || segment == "." || segment == ".." ||
            segment.find('/') != std::string::npos) {
            error = "The address has a part that is empty, \".\", \"..\" or has a / in it.";
            return false;
        }
        request.path.push_back(std::move(segment));
        if (request.path.size() > MOST_SEGMENTS) {
            error = "The address has too many parts.";
            return false;
        }
    }
    return true;
}

bool read_query(std::string_view text, request& request, std::string& error)
{
    while (!text.empty()) {
        std::string_view value = cut(text, '&');
        if (value.empty()) continue;
        std::pair<std::string, std::string> parameter;
        const std::string_view name = cut(value, '=');
        if (!read_text(name, true, parameter.first, error) ||
            !read_text(value, true, parameter.second, error))
            return false;
        if (find_parameter(request, parameter.first) != nullptr) {
            error = "The address has the parameter " + parameter.first + " twice.";
            return false;
        }
        request.query.push_back(std::move(parameter));
        if (request.query.size() > MOST_PARAMETERS) {
            error = "The address has too many parameters.";
            return false;
        }
    }
    return true;
}
} // namespace

bool read_target(std::string_view target, request& request, std::string& error)
{
    error.clear();
    if (target.size() > LONGEST_TARGET) {
        error = "The address is too long.";
        return false;
    }
    const std::string_view path = cut(target, '?');
    return read_path(path, request, error) && read_query(target, request, error);
}

} // namespace web
