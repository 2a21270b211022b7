#include "server/web/content_coding.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace web {

namespace {
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view BLANKS = " \t";
    const std::size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

// What stands before the mark; the text begins behind it then.
std::string_view take_until(std::string_view& text, char mark)
{
    const std::string_view part = text.substr(0, text.find(mark));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
    return trimmed(part);
}

bool is_word(std::string_view given, std::string_view small)
{
    return std::equal(
        given.begin(), given.end(), small.begin(), small.end(), [](char letter, char expected) {
            return (letter >= 'A' && letter <= 'Z' ? letter + ('a' - 'A') : letter) == expected;
        });
}

// Of "gzip;q=0.5" behind the first ";"; 0, not wanted, where it cannot be read.
double weight_of(std::string_view parameters)
{
    if (parameters.empty()) return 1;
    std::string_view value = parameters;
    if (!is_word(take_until(value, '='), "q")) return 0;
    value = trimmed(value);
    double weight = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), weight);
    const bool read = error == std::errc() && end == value.data() + value.size();
    return read && weight >= 0 && weight <= 1 ? weight : 0;
}

// None when the list does not say.
std::optional<double> weight_in(std::string_view list, std::string_view name)
{
    while (!list.empty()) {
        std::string_view parameters = take_until(list, ',');
        if (is_word(take_until(parameters, ';'), name)) return weight_of(trimmed(parameters));
    }
    return {};
}
} // namespace

content_coding choose_coding(std::string_view accepted)
{
    const double others = weight_in(accepted, "*").value_or(0);
    content_coding best = content_coding::identity;
    double most = weight_in(accepted, "identity").value_or(0); // unsaid: rather than nothing
    for (const content_coding coding : {content_coding::gzip, content_coding::brotli}) {
        const double weight = weight_in(accepted, text_of(coding)).value_or(others);
        if (weight == 0 || weight < most) continue;
        best = coding;
        most = weight;
    }
    return best;
}

std::string_view text_of(content_coding coding)
{
    switch (coding) {
    case content_coding::identity:
        return "identity";
    case content_coding::gzip:
        return "gzip";
    case content_coding::brotli:
        return "br";
    }
    return "";
}

} // namespace web
