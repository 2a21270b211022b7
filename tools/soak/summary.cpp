#include "soak/summary.h"

#include <cmath>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

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
} // namespace

std::string progress_line(const soak_result& result)
{
    const ledgers& books = result.books;
    const process_cost cost = last_cost(result);
    std::ostringstream text;
    text << std::setw(6) << std::lround(result.seconds) << " s  " << books.replies.replied << " of "
         << books.replies.sent << " answered, " << books.routes.changes << " changes, "
         << books.link.connections << " connections, longest wait "
         << std::lround(milliseconds(books.replies.longest_wait_us)) << " ms, PSS " << cost.pss_kib
         << " heap " << cost.heap_kib << " KiB, " << cost.descriptors << " descriptors, "
         << books.finding_count << " findings";
    return text.str();
}

namespace {
void add_count(std::ostream& text, const char* what, std::uint64_t count)
{
    text << "  " << std::left << std::setw(44) << what << count << "\n";
}

void add_growth(std::ostream& text, const char* what, const std::vector<cost_sample>& samples,
                std::uint64_t process_cost::*count)
{
    const growth_figures figures = measure_growth(samples, count);
    text << "  " << what << "  " << sparkline(samples, count) << "  slope "
         << std::lround(figures.slope_per_hour) << " KiB/h, growth " << std::lround(figures.growth)
         << " KiB\n";
}

void add_table(std::ostream& text, const char* title,
               const std::map<std::string, std::uint64_t>& counts)
{
    text << title << "\n";
    for (const auto& [what, count] : counts)
        text << "  " << std::right << std::setw(8) << count << "  " << what << "\n";
}
} // namespace

std::string summary_text(const soak_result& result)
{
    const ledgers& books = result.books;
    std::ostringstream text;
    text << "Seed " << result.seed << ", " << std::lround(result.seconds) << " s\n";
    add_count(text, "commands sent", books.replies.sent);
    add_count(text, "replied, each once", books.replies.replied);
    text << "  " << std::left << std::setw(44) << "longest wait for a reply, ms"
         << std::lround(milliseconds(books.replies.longest_wait_us)) << "\n";
    add_count(text, "route changes that the router made", books.routes.changes);
    add_count(text, "  known to the parent by polling", books.routes.known_by_polling);
    add_count(text, "  known after a disturbance", books.routes.known_by_query);
    add_count(text, "route changes accepted by the backend", books.reports.accepted);
    add_count(text, "routes reported to the parent", books.reports.reported);
    add_count(text, "  in reports", books.reports.reports_seen);
    add_count(text, "  held against what was accepted", books.reports.judged);
    add_count(text, "undisturbed queries of all outputs", books.proofs.queries);
    add_count(text, "undisturbed takes, all made and reported", books.proofs.takes);
    add_count(text, "connections", books.link.connections);
    add_count(text, "open descriptors at the end", last_cost(result).descriptors);
    add_growth(text, "PSS ", result.samples, &process_cost::pss_kib);
    add_growth(text, "heap", result.samples, &process_cost::heap_kib);
    add_table(text, "What the router did:", books.events);
    add_table(text, "What the backend complained of on standard error:", books.complaints);
    for (const std::string& finding : books.findings)
        text << "FINDING: " << finding << "\n";
    text << (books.finding_count == 0
                 ? "Nothing was lost, nothing grew.\n"
                 : std::to_string(books.finding_count) + " findings: FAILED\n");
    return text.str();
}

namespace {
nlohmann::json growth_json(const std::vector<cost_sample>& samples,
                           std::uint64_t process_cost::*count)
{
    const growth_figures figures = measure_growth(samples, count);
    return {{"slope_kib_per_hour", figures.slope_per_hour}, {"growth_kib", figures.growth}};
}
} // namespace

std::string summary_json(const soak_result& result)
{
    const ledgers& books = result.books;
    const nlohmann::json json = {{"seed", result.seed},
                                 {"seconds", result.seconds},
                                 {"commands_sent", books.replies.sent},
                                 {"commands_replied", books.replies.replied},
                                 {"longest_wait_ms", milliseconds(books.replies.longest_wait_us)},
                                 {"route_changes", books.routes.changes},
                                 {"known_by_polling", books.routes.known_by_polling},
                                 {"known_after_disturbance", books.routes.known_by_query},
                                 {"accepted", books.reports.accepted},
                                 {"reported", books.reports.reported},
                                 {"reports", books.reports.reports_seen},
                                 {"reports_judged", books.reports.judged},
                                 {"descriptors", last_cost(result).descriptors},
                                 {"undisturbed_queries", books.proofs.queries},
                                 {"undisturbed_takes", books.proofs.takes},
                                 {"connections", books.link.connections},
                                 {"pss", growth_json(result.samples, &process_cost::pss_kib)},
                                 {"heap", growth_json(result.samples, &process_cost::heap_kib)},
                                 {"events", books.events},
                                 {"finding_count", books.finding_count},
                                 {"findings", books.findings}};
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace soak
