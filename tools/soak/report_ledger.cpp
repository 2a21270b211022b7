#include "soak/report_ledger.h"

#include <algorithm>

// The earliest accepted change that a report may show explains it, with all that it has overtaken.
static void match_reports(destination_reports& reports)
{
    while (!reports.unexplained.empty()) {
        const auto found = std::find(reports.accepted.begin(), reports.accepted.end(),
                                     reports.unexplained.front().source);
        if (found == reports.accepted.end()) return;
        reports.accepted.erase(reports.accepted.begin(), found + 1);
        reports.unexplained.pop_front();
    }
}

void take_accepted(report_ledger& ledger, int destination, int source, us_time_t now)
{
    destination_reports& reports = ledger.destinations[destination];
    reports.accepted.push_back(source);
    reports.last_accepted = now;
    ++ledger.accepted;
    match_reports(reports);
}

void take_reported(report_ledger& ledger, int destination, int source, us_time_t now)
{
    destination_reports& reports = ledger.destinations[destination];
    reports.unexplained.push_back({source, now});
    reports.last_reported = source;
    ++ledger.reported;
    match_reports(reports);
}

void restart_lags(report_ledger& ledger, us_time_t now)
{
    for (auto& [destination, reports] : ledger.destinations)
        reports.last_accepted = now;
}

static std::string route_text(int destination, int source)
{
    return "output " + std::to_string(destination) + " input " + std::to_string(source);
}

// Once all is quiet, what was accepted last must be what was reported last.
static std::string fault_of(int destination, destination_reports& reports, us_time_t now)
{
    std::string fault;
    if (!reports.unexplained.empty() && now - reports.unexplained.front().when > LONGEST_LAG_US) {
        fault = "reported but never accepted: " +
                route_text(destination, reports.unexplained.front().source);
        reports.unexplained.pop_front();
    } else if (!reports.accepted.empty() && now - reports.last_accepted > LONGEST_LAG_US) {
        if (reports.accepted.back() != reports.last_reported)
            fault =
                "accepted but never reported: " + route_text(destination, reports.accepted.back());
        reports.accepted.clear();
    }
    return fault;
}

std::string take_report_fault(report_ledger& ledger, us_time_t now)
{
    for (auto& [destination, reports] : ledger.destinations) {
        std::string fault = fault_of(destination, reports, now);
        if (!fault.empty()) return fault;
    }
    return "";
}
