#include "soak/summary.h"

#include <cmath>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "tools/common/text_table.h"

namespace soak {

namespace {
process_cost last_cost(const soak_result& result)
{
    return result.samples.empty() ? process_cost{} : result.samples.back().cost;
}

double milliseconds(us_time_t time)
{
    return static_cast<double>(time) / 1000;
}

std::uint64_t reconnections(const ledgers& books)
{
    return books.link.connections == 0 ? 0 : books.link.connections - 1;
}

std::string count_text(std::uint64_t count, const std::string& one, const std::string& many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// Whatever is counted, with its name in the JSON.
struct counted {
    const char* words;
    const char* key;
    std::uint64_t count;
};

std::vector<counted> all_counts(const soak_result& result)
{
    const ledgers& books = result.books;
    return {
        {"commands sent", "commands_sent", books.replies.sent},
        {"replied, each once", "commands_replied", books.replies.replied},
        {"route changes that the router made", "route_changes", books.routes.changes},
        {"  known to the parent by polling", "known_by_polling", books.routes.known_by_polling},
        {"  known after a disturbance", "known_after_disturbance", books.routes.known_by_query},
        {"route changes accepted by the backend", "accepted", books.reports.accepted},
        {"routes reported to the parent", "reported", books.reports.reported},
        {"  in reports", "reports", books.reports.reports_seen},
        {"  held against what was accepted", "reports_judged", books.reports.judged},
        {"undisturbed queries of all outputs", "undisturbed_queries", books.proofs.queries},
        {"undisturbed takes, all made and reported", "undisturbed_takes", books.proofs.takes},
        {"floods, all answered", "floods", books.proofs.floods},
        {"changes of the router's port", "port_changes", books.proofs.port_changes},
        {"connections", "connections", books.link.connections},
        {"faults of the router", "faults", books.faults},
        {"open descriptors at the end", "descriptors", last_cost(result).descriptors},
    };
}

std::string count_table(const std::string& title,
                        const std::map<std::string, std::uint64_t>& counts)
{
    common::text_table table{.title = "", .columns = {{"times", true}, {title}}, .rows = {}};
    for (const auto& [what, count] : counts)
        table.rows.push_back({std::to_string(count), what});
    return "\n" + common::terminal_text(table);
}

std::string verdict(const soak_result& result)
{
    const ledgers& books = result.books;
    std::string text = "\nJudged: " + count_text(books.replies.replied, "reply", "replies") + ", " +
                       count_text(books.reports.judged, "report", "reports") + ", " +
                       count_text(books.proofs.takes, "take", "takes") + ", " +
                       count_text(books.proofs.queries, "query", "queries") + ", " +
                       count_text(books.proofs.floods, "flood", "floods") + ", " +
                       count_text(books.proofs.port_changes, "port change", "port changes") + ", " +
                       count_text(reconnections(books), "reconnection", "reconnections") + ".\n";
    for (const growth_judgement& judgement : judge_growth(result.samples))
        text += "Growth: " + judgement.text + ".\n";
    for (const std::string& finding : books.findings)
        text += "FINDING: " + finding + "\n";
    return text + (books.finding_count == 0
                       ? "Nothing was lost, invented or late.\n"
                       : count_text(books.finding_count, "finding", "findings") + ": FAILED\n");
}
} // namespace

std::string progress_line(const soak_result& result)
{
    const ledgers& books = result.books;
    const process_cost cost = last_cost(result);
    std::ostringstream text;
    text << std::setw(6) << std::lround(result.seconds) << " s  " << books.replies.replied << " of "
         << books.replies.sent << " answered, longest wait "
         << std::lround(milliseconds(books.replies.longest_wait_us)) << " ms, "
         << count_text(books.routes.changes, "change", "changes") << ", "
         << count_text(books.link.connections, "connection", "connections") << ", PSS "
         << cost.pss_kib << " heap " << cost.heap_kib << " KiB, "
         << count_text(cost.descriptors, "descriptor", "descriptors") << ", "
         << count_text(books.faults, "fault", "faults") << ", "
         << count_text(books.finding_count, "finding", "findings");
    return text.str();
}

std::string summary_text(const soak_result& result)
{
    common::text_table table{.title = "Seed " + std::to_string(result.seed) + ", " +
                                      std::to_string(std::lround(result.seconds)) + " s",
                             .columns = {{"what"}, {"count", true}},
                             .rows = {}};
    for (const counted& each : all_counts(result))
        table.rows.push_back({each.words, std::to_string(each.count)});
    table.rows.push_back(
        {"longest wait for a reply, ms",
         std::to_string(std::lround(milliseconds(result.books.replies.longest_wait_us)))});
    std::ostringstream memory;
    for (const auto& [name, count] :
         {std::pair{"PSS ", &process_cost::pss_kib}, std::pair{"heap", &process_cost::heap_kib}})
        memory << name << "  " << sparkline(result.samples, count) << "  slope "
               << std::lround(measure_growth(result.samples, count).slope_per_hour) << " KiB/h\n";
    return common::terminal_text(table) + count_table("what the router did", result.books.events) +
           count_table("what the backend complained of on standard error",
                       result.books.complaints) +
           "\n" + memory.str() + verdict(result);
}

std::string summary_json(const soak_result& result)
{
    nlohmann::json json = {
        {"seed", result.seed},
        {"seconds", result.seconds},
        {"longest_wait_ms", milliseconds(result.books.replies.longest_wait_us)},
        {"events", result.books.events},
        {"finding_count", result.books.finding_count},
        {"findings", result.books.findings},
    };
    for (const counted& each : all_counts(result))
        json[each.key] = each.count;
    for (const auto& [name, count] :
         {std::pair{"pss", &process_cost::pss_kib}, std::pair{"heap", &process_cost::heap_kib}}) {
        const growth_figures figures = measure_growth(result.samples, count);
        json[name] = {{"slope_kib_per_hour", figures.slope_per_hour},
                      {"growth_kib", figures.growth}};
    }
    std::string text = json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string lines;
    for (const auto& [seconds, cost] : result.samples)
        lines += (lines.empty() ? "\n" : ",\n") +
                 nlohmann::json{seconds, cost.pss_kib, cost.heap_kib, cost.descriptors}.dump();
    text.replace(text.rfind("\n}"), 2, ",\n  \"samples\": [" + lines + "\n  ],");
    lines.clear();
    for (const double seconds : result.reconnections)
        lines += (lines.empty() ? "\n" : ",\n") + nlohmann::json::array({seconds}).dump();
    return text + "\n  \"reconnections\": [" + lines + "\n  ]\n}\n";
}

} // namespace soak
