#include "router_simulator/router/names.h"

#include <span>

namespace router_simulator {

namespace {
// So many names of this sort in a row; the groups follow one another and then start over, each with
// the numbers after its last ones.
struct name_group {
    const char* word;
    std::size_t size;
    bool letters; // MON A in place of MON 1
};

constexpr name_group SOURCE_GROUPS[] = {
    {"CAM", 8, false}, {"VTR", 6, false}, {"GFX", 4, false},
    {"SAT", 6, false}, {"SRV", 6, false}, {"TEST", 2, false},
};
constexpr name_group DESTINATION_GROUPS[] = {
    {"MON", 8, true}, {"REC", 8, false}, {"MIX IN", 10, false}, {"TX", 4, false}, {"QC", 2, false},
};

std::string letters(std::size_t number)
{
    std::string text(1, static_cast<char>('A' + number % 26));
    return number < 26 ? text : letters(number / 26 - 1) + text;
}

std::string name_in_group(const name_group& group, std::size_t number)
{
    return std::string(group.word) + " " +
           (group.letters ? letters(number) : std::to_string(number + 1));
}

std::string generated_name(std::span<const name_group> groups, std::size_t position)
{
    for (std::size_t cycle = 0;; ++cycle)
        for (const name_group& group : groups) {
            if (position < group.size) return name_in_group(group, cycle * group.size + position);
            position -= group.size;
        }
}
} // namespace

std::string generated_source_name(std::size_t position)
{
    return generated_name(SOURCE_GROUPS, position);
}

std::string generated_destination_name(std::size_t position)
{
    return generated_name(DESTINATION_GROUPS, position);
}

std::string generated_level_name(std::size_t position)
{
    return position == 0 ? "VIDEO" : "AUDIO " + std::to_string(position);
}

bool check_text(std::string_view text, std::size_t longest, std::string& error)
{
    for (const char character : text)
        if (static_cast<unsigned char>(character) < ' ' || character == '\x7F') {
            error = "holds a control character";
            return false;
        }
    if (text.size() <= longest) return true;
    error = "is longer than " + std::to_string(longest) + " bytes";
    return false;
}

bool check_name(std::string_view name, std::string& error)
{
    return check_text(name, MAX_NAME_LENGTH, error);
}

} // namespace router_simulator
