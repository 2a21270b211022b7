#include "router_model/names.h"

#include "common/check.h"
#include "common/log.h"
#include "common/loop_flags.h"
#include "common/numbers.h"
#include "router_model/state.h"

namespace {
// Stands for an index base while no entry has been read that would set it.
constexpr std::uint64_t UNKNOWN_INDEX_BASE = UINT64_MAX;

constexpr std::uint64_t INDEX_LIMIT = 1024; // of router indexes, and of positions above the base
constexpr std::size_t FIRST_ENTRY = 2;      // parameter where the entries begin
constexpr std::size_t ENTRY_PARAMETERS = 4;

// The two updates are one algorithm; this is all in which they differ.
template <typename Info>
struct name_table {
    const char* kind;
    const char* other_kind;
    std::vector<Info>& entries;
    std::uint64_t& base;
    std::uint64_t& discovered_count;
    bool& report_pending;
    const char* title;
    const char* store_assertion;
};

template <typename Info>
void store_entry(const name_table<Info>& table, const std::string& name, std::uint64_t router_index,
                 std::uint64_t attribute)
{
    if (router_index >= INDEX_LIMIT) return;
    if (table.base == UNKNOWN_INDEX_BASE) table.base = router_index;
    const std::uint64_t index = router_index - table.base;
    if (index >= INDEX_LIMIT) return; // also every index below the base: the difference wraps
    if (table.entries.size() < index + 1) table.entries.resize(index + 1);
    CHECK_NAMED(index < table.entries.size(), table.store_assertion);
    table.entries[index].name = name;
    table.entries[index].attribute = static_cast<std::uint32_t>(attribute);
}

// The announced number of entries is an upper bound: the answer ends at the first that does not
// fit whole.
template <typename Info>
void read_entries(const name_table<Info>& table, const router_message& rawmsg)
{
    const std::uint64_t count = hex_number(rawmsg.parameters[1]);
    std::size_t i = FIRST_ENTRY;
    for (std::uint64_t k = 0; k < count; ++k) {
        if (rawmsg.parameters.size() < i + ENTRY_PARAMETERS) return;
        const std::string* const entry = &rawmsg.parameters[i];
        i += ENTRY_PARAMETERS;
        CHECK(i <= rawmsg.parameters.size());
        store_entry(table, entry[0], hex_number(entry[1]), hex_number(entry[3]));
    }
}

template <typename Info>
void rebuild_table(const name_table<Info>& table, const std::vector<router_message>& answers)
{
    table.entries.clear();
    table.base = UNKNOWN_INDEX_BASE;
    table.discovered_count = 0;
    for (const router_message& rawmsg : answers) {
        if (mnemonic_of(rawmsg) != "NQ" || !rawmsg.ok || rawmsg.parameters.size() < 2) continue;
        const std::string& kind = rawmsg.parameters[0];
        if (kind != table.kind && kind != table.other_kind) break;
        read_entries(table, rawmsg);
    }
    if (table.base == UNKNOWN_INDEX_BASE) table.base = 0;
    io_counts_changed = true;
    table.report_pending = true;
    info_report_pending = true;
    table.discovered_count = table.entries.size();
    if (!table.entries.empty())
        log_debug("%s range from %u-%u", table.title, static_cast<unsigned>(table.base),
                  static_cast<unsigned>(table.base + table.entries.size() - 1));
}
} // namespace

void update_sources_info(const std::vector<router_message>& answers)
{
    rebuild_table(name_table<InputInfo>{.kind = "S",
                                        .other_kind = "IS",
                                        .entries = router_inputs_info,
                                        .base = input_index_base,
                                        .discovered_count = discovered_inputs,
                                        .report_pending = inputs_report_pending,
                                        .title = "Inputs",
                                        .store_assertion = "index < router_inputs_info.size()"},
                  answers);
}

void update_dest_info(const std::vector<router_message>& answers)
{
    rebuild_table(name_table<OutputInfo>{.kind = "D",
                                         .other_kind = "ID",
                                         .entries = router_outputs_info,
                                         .base = output_index_base,
                                         .discovered_count = discovered_outputs,
                                         .report_pending = outputs_report_pending,
                                         .title = "Outputs",
                                         .store_assertion = "index < router_outputs_info.size()"},
                  answers);
}
