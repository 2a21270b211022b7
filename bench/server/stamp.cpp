#include "bench/server/stamp.h"

#include <algorithm>

namespace bench {

namespace {
constexpr std::size_t BYTES = 16; // a destination for each
static_assert(STAMPS * BYTES <= desk::ROUTED_POSITIONS);

void add_number(std::string& record, std::size_t& destination, std::uint64_t number,
                std::size_t bytes)
{
    for (; bytes > 0; --bytes, number >>= 8U)
        record += "o" + std::to_string(destination++) +
                  ".input.all=" + std::to_string(number & 0xffU) + "\n";
}

// The facts are consumed from the front.
std::uint64_t take_number(std::span<const desk::fact>& facts, std::size_t bytes)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        number |= static_cast<std::uint64_t>(facts[i].source) << (8 * i);
    facts = facts.subspan(bytes);
    return number;
}

stamp stamp_of(std::span<const desk::fact> facts, std::size_t place)
{
    if (facts.size() < (place + 1) * BYTES) return {};
    facts = facts.subspan(place * BYTES, BYTES);
    if (facts.back().source < 0) return {};
    stamp found;
    found.written_us = take_number(facts, 8);
    found.number = static_cast<std::uint32_t>(take_number(facts, 4));
    found.frames = static_cast<std::uint32_t>(take_number(facts, 4));
    return found;
}
} // namespace

std::string stamped_report(const stamp& written)
{
    std::string record = "*COMMAND=outputs\n*TYPE=message\n";
    std::size_t destination = written.number % STAMPS * BYTES;
    add_number(record, destination, written.written_us, 8);
    add_number(record, destination, written.number, 4);
    add_number(record, destination, written.frames, 4);
    return record + "\n";
}

void note_reports(report_tally& tally, std::span<const desk::fact> facts, std::uint64_t now_us)
{
    stamp newest = tally.newest;
    for (std::size_t place = 0; place < STAMPS; ++place) {
        const stamp found = stamp_of(facts, place);
        if (found.number <= tally.newest.number) continue;
        ++tally.told;
        tally.latest_us = std::max(tally.latest_us, static_cast<double>(now_us - found.written_us));
        if (found.number > newest.number) newest = found;
    }
    tally.newest = newest;
}

} // namespace bench
