#include "soak/report_ledger.h"

#include <utility>

#include "soak/route_ledger.h"

namespace soak {

namespace {
// Adds the places where the report may end that begins at `begin`.
void add_ends(const report_ledger& ledger, const routing_report& report, std::size_t begin,
              std::set<std::size_t>& ends)
{
    std::size_t different = report.routes.size();
    std::map<int, int> shown;
    for (std::size_t i = begin; i < ledger.changes.size(); ++i) {
        const accepted_change& change = ledger.changes[i];
        const auto found = report.routes.find(change.destination);
        if (found == report.routes.end()) return;
        const auto previous = shown.find(change.destination);
        const bool was_equal = previous != shown.end() && previous->second == found->second;
        const bool is_equal = change.source == found->second;
        shown[change.destination] = change.source;
        different += static_cast<std::size_t>(was_equal) - static_cast<std::size_t>(is_equal);
        if (different == 0) ends.insert(i + 1);
    }
}

// What lies before every cut is settled.
void drop_settled(report_ledger& ledger)
{
    const std::size_t settled = *ledger.cuts.begin();
    ledger.changes.erase(ledger.changes.begin(),
                         ledger.changes.begin() + static_cast<std::ptrdiff_t>(settled));
    std::set<std::size_t> cuts;
    for (const std::size_t cut : ledger.cuts)
        cuts.insert(cut - settled);
    ledger.cuts = std::move(cuts);
}

// The cuts behind the report, none when it is not what was accepted.
std::set<std::size_t> cuts_behind(const report_ledger& ledger, const routing_report& report)
{
    std::set<std::size_t> ends;
    for (std::size_t i = 0; !ledger.aligned && i < ledger.changes.size(); ++i)
        add_ends(ledger, report, i, ends);
    for (const std::size_t cut : ledger.cuts)
        add_ends(ledger, report, cut, ends);
    return ends;
}

// Ends at a report that is not what was accepted, which stays the first.
void match_reports(report_ledger& ledger, us_time_t now)
{
    for (; !ledger.reports.empty(); ledger.reports.pop_front()) {
        if (now - ledger.reports.front().when < REPORT_SETTLES_US) break;
        std::set<std::size_t> ends = cuts_behind(ledger, ledger.reports.front());
        if (ends.empty() && ledger.aligned) return;
        if (ends.empty()) continue; // of what has been forgotten
        ledger.cuts = std::move(ends);
        ledger.aligned = true;
        ++ledger.judged;
    }
    drop_settled(ledger);
}
} // namespace

void enter_accepted(report_ledger& ledger, int destination, int source, us_time_t now)
{
    ledger.changes.push_back({destination, source, now});
    ++ledger.accepted;
}

void enter_report(report_ledger& ledger, const std::map<int, int>& routes, us_time_t now)
{
    ledger.reported += routes.size();
    ++ledger.reports_seen;
    if (now >= ledger.resumes) ledger.reports.push_back({routes, now});
}

void forget_reports(report_ledger& ledger, us_time_t now)
{
    ledger.changes.clear();
    ledger.reports.clear();
    ledger.cuts = {0};
    ledger.aligned = false;
    ledger.resumes = now + FORGOTTEN_LASTS_US;
}

namespace {
std::string report_text(const routing_report& report)
{
    std::string text;
    for (const auto& [destination, source] : report.routes)
        text += (text.empty() ? "" : ", ") + route_text(destination, source);
    return text;
}
} // namespace

std::string find_wrong_report(report_ledger& ledger, us_time_t now)
{
    if (ledger.changes.size() > MOST_OPEN_CHANGES) forget_reports(ledger, now);
    match_reports(ledger, now);
    std::string finding;
    const std::size_t waiting = *ledger.cuts.rbegin();
    if (!ledger.reports.empty() && now - ledger.reports.front().when >= REPORT_SETTLES_US) {
        finding = "a report is not what was accepted: " + report_text(ledger.reports.front());
        if (waiting < ledger.changes.size())
            finding += "; accepted next: " + route_text(ledger.changes[waiting].destination,
                                                        ledger.changes[waiting].source);
    } else if (ledger.aligned && waiting < ledger.changes.size() &&
               now - ledger.changes[waiting].when > LONGEST_LAG_US) {
        finding = "accepted but never reported: " +
                  route_text(ledger.changes[waiting].destination, ledger.changes[waiting].source);
    }
    if (!finding.empty()) forget_reports(ledger, now);
    return finding;
}

} // namespace soak
