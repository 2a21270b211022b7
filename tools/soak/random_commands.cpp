#include "soak/random_commands.h"

#include <array>

#include "tools/common/random.h"

using common::draw;
using common::draw_chance;

namespace soak {

namespace {
constexpr int PORTS = 70; // a few more than the router has
constexpr int LONGEST_WORD = 40;
constexpr int LONGEST_VALUE = 50'000; // now and then

std::string record(const std::string& id, const std::string& lines)
{
    return (id.empty() ? "" : "*ID=" + id + "\n") + lines + "\n\n";
}

parent_command route_command(const std::string& id, const std::string& lines)
{
    return {.bytes = record(id, "*COMMAND=route output\n*TYPE=command\n" + lines),
            .command = "route output",
            .error = ""};
}
} // namespace

parent_command add_route(const std::string& id, int output, int input)
{
    return route_command(id, "queue=add\nto output=" + std::to_string(output) +
                                 "\nfrom input=" + std::to_string(input));
}

parent_command flush_routes(const std::string& id)
{
    parent_command command = route_command(id, "queue=flush");
    command.reaches_router = true;
    return command;
}

namespace {
parent_command report(const std::string& id, const std::string& what)
{
    return {.bytes = record(id, "*COMMAND=report\n*TYPE=command\nwhat=" + what),
            .command = "",
            .error = ""};
}
} // namespace

parent_command query_outputs(const std::string& id)
{
    parent_command command = report(id, "outputs");
    command.reaches_router = true;
    return command;
}

parent_command set_setting(const std::string& name, const std::string& value)
{
    return {.bytes = record("", "*COMMAND=set\n*TYPE=message\nname=" + name + "\nvalue=" + value),
            .command = "",
            .error = "",
            .replied = false,
            .reaches_router = name == "port"};
}

namespace {
// Any bytes but those that end a line or are dropped from it.
std::string random_word(std::mt19937_64& random, int longest)
{
    std::string word;
    for (int left = draw(random, 1, longest); left > 0; --left) {
        const char byte = static_cast<char>(draw(random, 1, 255));
        word += byte == '\n' || byte == '\r' ? '.' : byte;
    }
    return word;
}

parent_command unknown_command(std::mt19937_64& random, const std::string& id)
{
    const std::string word = random_word(random, LONGEST_WORD);
    const bool message = draw_chance(random, 0.5);
    const std::string value = random_word(random, draw_chance(random, 0.01) ? LONGEST_VALUE : 100);
    return {.bytes =
                record(id, "*COMMAND=" + word + (message ? "\n*TYPE=message" : "\n*TYPE=command") +
                               "\nnote=" + value),
            .command = word,
            .error = message ? "Message " + word + " ignored" : "Unknown command " + word};
}

parent_command unknown_report(std::mt19937_64& random, const std::string& id)
{
    parent_command command = report(id, "x" + random_word(random, LONGEST_WORD));
    command.command = "report";
    command.error = "I do not recognize what you are asking for";
    return command;
}

parent_command unanswered_record(std::mt19937_64& random, const std::string& id)
{
    parent_command command = unknown_command(random, id);
    command.bytes = record(id, "*COMMAND=route output\n*TYPE=reply\nqueue=flush");
    command.replied = false;
    return command;
}

parent_command odd_route(std::mt19937_64& random, const std::string& id)
{
    constexpr std::array<const char*, 5> ODD = {"queue=add\nto output=x", "queue=", "to output=3",
                                                "queue=add\nto output=-1\nfrom input=2",
                                                "queue=add\nto output=4294967301"};
    return route_command(id, ODD[static_cast<std::size_t>(draw(random, 0, 4))]);
}

// None of these is one that the backend has.
parent_command random_setting(std::mt19937_64& random)
{
    constexpr std::array<const char*, 4> NAMES = {"Port", "ip", "in puts", ""};
    return set_setting(NAMES[static_cast<std::size_t>(draw(random, 0, 3))], "4");
}
} // namespace

parent_command random_quiet_command(std::mt19937_64& random, const std::string& id)
{
    const int kind = draw(random, 1, 100);
    if (kind <= 40) {
        const int output = draw(random, 0, PORTS); // of two arguments either may be drawn first
        return add_route(id, output, draw(random, 0, PORTS));
    }
    if (kind <= 50) return route_command(id, "queue=discard");
    if (kind <= 60) return odd_route(random, id);
    if (kind <= 70) return report(id, "inputs");
    if (kind <= 78) return unknown_report(random, id);
    if (kind <= 82) return unanswered_record(random, id);
    if (kind <= 84) return random_setting(random);
    return unknown_command(random, id);
}

parent_command random_command(std::mt19937_64& random, const std::string& id)
{
    return draw_chance(random, 0.15) ? flush_routes(id) : random_quiet_command(random, id);
}

parent_command random_flood_command(std::mt19937_64& random, const std::string& id)
{
    return draw_chance(random, 0.04) ? query_outputs(id) : random_command(random, id);
}

} // namespace soak
