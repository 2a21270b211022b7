#include "tools/common/text_width.h"

#include <clocale>
#include <cwchar>
#include <locale.h>

namespace common {

namespace {
// Part of the C library, so that it is there without any language installed.
const locale_t UTF8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);

struct text_size {
    std::size_t characters = 0;
    std::size_t places = 0;
};

text_size size_of(std::string_view text)
{
    const locale_t before = uselocale(UTF8);
    text_size size;
    while (!text.empty()) {
        wchar_t character = 0;
        std::mbstate_t conversion{};
        std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &conversion);
        int places = 1;
        if (length == 0 || length > text.size())
            length = 1; // a NUL, or no character
        else
            places = wcwidth(character);
        ++size.characters;
        size.places += places < 0 ? 1 : static_cast<std::size_t>(places);
        text.remove_prefix(length);
    }
    uselocale(before);
    return size;
}
} // namespace

std::size_t display_width(std::string_view text)
{
    return size_of(text).places;
}

std::size_t character_count(std::string_view text)
{
    return size_of(text).characters;
}

} // namespace common
