#include "server/desk/ids.h"

namespace desk {

namespace {
constexpr std::string_view DIGITS = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr int DIGIT_BITS = 5;
constexpr std::size_t ID_LENGTH = 26;
constexpr int CHANCE_BITS_IN_HIGH = 16;
} // namespace

ulid make_id(id_maker& maker, wall now)
{
    ulid id;
    id.high = static_cast<std::uint64_t>(now.count()) << CHANCE_BITS_IN_HIGH |
              maker.chance() >> (64 - CHANCE_BITS_IN_HIGH);
    id.low = maker.chance();
    const bool later = id.high >> CHANCE_BITS_IN_HIGH > maker.last.high >> CHANCE_BITS_IN_HIGH;
    if (!later) {
        id = maker.last;
        if (++id.low == 0) ++id.high;
    }
    maker.last = id;
    return id;
}

std::string text_of(const ulid& id)
{
    std::string text(ID_LENGTH, '0');
    ulid rest = id;
    for (std::size_t i = ID_LENGTH; i-- > 0;) {
        text[i] = DIGITS[rest.low % DIGITS.size()];
        rest.low = rest.low >> DIGIT_BITS | rest.high << (64 - DIGIT_BITS);
        rest.high >>= DIGIT_BITS;
    }
    return text;
}

bool read_id(std::string_view text, ulid& id)
{
    if (text.size() != ID_LENGTH || text.front() > '7') // 130 bits, of which two must be 0
        return false;
    ulid read;
    for (char letter : text) {
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
        const std::size_t digit = DIGITS.find(letter);
        if (digit == std::string_view::npos) return false;
        read.high = read.high << DIGIT_BITS | read.low >> (64 - DIGIT_BITS);
        read.low = read.low << DIGIT_BITS | digit;
    }
    id = read;
    return true;
}

} // namespace desk
