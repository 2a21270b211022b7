// The name, level and route answers: the tables made of any list of answers are the model's,
// whatever answers came before, and routes are accepted by them.
//
// The input is the answers, each ended by EOT: one byte that tells whether it is ok (unless it is
// "-"), then mnemonic and parameters with a TAB between two.

#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "common/loop_flags.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "router_link/transaction.h"
#include "router_model/discovery.h"
#include "router_model/names.h"
#include "router_model/state.h"
#include "support/backend_state.h"

namespace {
struct named_entry {
    std::string name;
    std::uint32_t attribute = 0;
};

// A table by position, without the gaps.
struct table_model {
    std::map<std::uint64_t, named_entry> entries;
    std::uint64_t base = 0;

    std::uint64_t size() const
    {
        return entries.empty() ? 0 : entries.rbegin()->first + 1;
    }
};

std::vector<std::string> pieces_of(std::string_view text, char separator)
{
    std::vector<std::string> pieces(1);
    for (const char byte : text) {
        if (byte == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += byte;
        }
    }
    return pieces;
}

std::vector<router_message> answers_in(std::string_view text)
{
    std::vector<router_message> answers;
    for (const std::string& piece : pieces_of(text, EOT)) {
        std::vector<std::string> parts = pieces_of(piece, TAB);
        router_message message;
        message.ok = !parts[0].starts_with("-");
        parts[0].copy(message.request.data(), 2, std::min<std::size_t>(1, parts[0].size()));
        message.parameters.assign(parts.begin() + 1, parts.end());
        answers.push_back(message);
    }
    return answers;
}

std::uint64_t hexadecimal(const std::string& text)
{
    return std::strtoul(text.c_str(), nullptr, 16);
}

// The entries, of this many parameters each, in the answers up to the first of another kind.
std::vector<std::vector<std::string>> entries_in(const std::vector<router_message>& answers,
                                                 std::size_t entry_size,
                                                 const std::set<std::string>& kinds)
{
    std::vector<std::vector<std::string>> entries;
    for (const router_message& answer : answers) {
        const std::vector<std::string>& said = answer.parameters;
        if (!answer.ok || mnemonic_of(answer) != "NQ" || said.size() < 2) continue;
        if (!kinds.contains(said[0])) break;
        const std::uint64_t count = std::min<std::uint64_t>(hexadecimal(said[1]), said.size());
        for (std::uint64_t k = 0; k < count && 2 + (k + 1) * entry_size <= said.size(); ++k) {
            const auto begin = said.begin() + static_cast<std::ptrdiff_t>(2 + k * entry_size);
            entries.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(entry_size));
        }
    }
    return entries;
}

table_model modelled_table(const std::vector<router_message>& answers,
                           const std::set<std::string>& kinds)
{
    table_model table;
    for (const std::vector<std::string>& entry : entries_in(answers, 4, kinds)) {
        const std::uint64_t index = hexadecimal(entry[1]);
        if (index > 1023) continue;
        if (table.entries.empty()) table.base = index;
        if (index < table.base) continue;
        table.entries[index - table.base] = {
            .name = entry[0], .attribute = static_cast<std::uint32_t>(hexadecimal(entry[3]))};
    }
    return table;
}

template <typename Info>
void check_entries(const std::vector<Info>& table, const table_model& model)
{
    require(table.size() == model.size(), "the table ends with its last entry");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto found = model.entries.find(i);
        const named_entry expected = found == model.entries.end() ? named_entry{} : found->second;
        require(table[i].name == expected.name, "names stand at their positions");
        require(table[i].attribute == expected.attribute, "attributes stand at their positions");
    }
}

void check_log(const std::string& title, const table_model& model)
{
    std::vector<std::string> expected;
    if (model.size() != 0)
        expected.push_back("<DBG>" + title + " range from " + std::to_string(model.base) + "-" +
                           std::to_string(model.base + model.size() - 1) + "\n");
    require(logged_lines == expected, "the range is logged");
}

void start_update()
{
    logged_lines.clear();
    io_counts_changed = info_report_pending = false;
    inputs_report_pending = outputs_report_pending = false;
}

void check_sources(const std::vector<router_message>& answers)
{
    const table_model model = modelled_table(answers, {"S", "IS"});
    start_update();
    update_sources_info(answers);
    check_entries(router_inputs_info, model);
    check_log("Inputs", model);
    require(input_index_base == model.base, "the first entry sets the base");
    require(discovered_inputs == model.size(), "the count is the table's size");
    require(io_counts_changed && info_report_pending && inputs_report_pending &&
                !outputs_report_pending,
            "an update of the sources is reported");
}

void check_destinations(const std::vector<router_message>& answers)
{
    const table_model model = modelled_table(answers, {"D", "ID"});
    start_update();
    update_dest_info(answers);
    check_entries(router_outputs_info, model);
    check_log("Outputs", model);
    require(output_index_base == model.base, "the first entry sets the base");
    require(discovered_outputs == model.size(), "the count is the table's size");
    require(io_counts_changed && info_report_pending && outputs_report_pending &&
                !inputs_report_pending,
            "an update of the destinations is reported");
}

void check_levels(const std::vector<router_message>& answers)
{
    std::vector<std::string> names;
    std::uint32_t mask = 0;
    for (const std::vector<std::string>& entry : entries_in(answers, 3, {"L"})) {
        const std::uint64_t number = hexadecimal(entry[1]);
        if (number > 31) continue;
        names.resize(std::max<std::size_t>(names.size(), number + 1));
        names[number] = entry[0];
        mask |= 1U << number;
    }
    start_update();
    update_levels_info(answers);
    require(router_levels == names, "level names stand at their numbers");
    require(level_mask == mask, "the mask has the named levels");
    require(logged_lines.empty() && !io_counts_changed, "levels are nobody else's concern");
}

// The position in a table, or none.
std::optional<std::int32_t> position_in(const table_model& table, const std::string& index)
{
    const std::uint64_t number = hexadecimal(index);
    if (number < table.base || number >= table.base + table.size()) return std::nullopt;
    return static_cast<std::int32_t>(number - table.base);
}

void check_routes(const std::vector<router_message>& answers)
{
    const table_model sources = modelled_table(answers, {"S", "IS"});
    const table_model destinations = modelled_table(answers, {"D", "ID"});
    std::vector<std::pair<std::int32_t, std::int32_t>> expected;
    std::vector<std::pair<std::int32_t, std::int32_t>> accepted;
    accepted_route_changes.clear();
    recompute_io_counts();
    for (const router_message& answer : answers) {
        handle_router_message(answer);
        const std::vector<std::string>& said = answer.parameters;
        if (!answer.ok || mnemonic_of(answer) != "IQ" || said.size() < 5) continue;
        const auto output = position_in(destinations, said[0]);
        const auto input = position_in(sources, said[4]);
        if (output && input && *output < 256) expected.emplace_back(*input, *output);
    }
    for (const RouteChange& change : accepted_route_changes)
        accepted.emplace_back(change.input, change.output);
    require(accepted == expected, "a route is accepted where both its ends are known");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    capture_diagnostics();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<router_message> answers = answers_in(input_of(data, size).rest);
    const std::vector<router_message> later(answers.begin() + 1, answers.end());
    reset_backend_state();
    for (const auto& list : {answers, later}) {
        check_sources(list);
        check_destinations(list);
        check_levels(list);
        check_routes(list);
    }
    return 0;
}
