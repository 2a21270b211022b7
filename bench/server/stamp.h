// Reports of routes that carry when they were written: whoever is told of one knows how late it is.
// Each takes a few destinations, the next one others, so that the last STAMPS stand side by side.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "server/desk/desk.h"

namespace bench {

constexpr std::size_t STAMPS = 16;

struct stamp {
    std::uint64_t written_us = 0; // of the monotonic clock
    std::uint32_t number = 0;     // of the report, from 1; 0: none
    std::uint32_t frames = 0;     // said before it
};

// The record of it.
std::string stamped_report(const stamp& written);

// What has become of the reports and frames of one backend.
struct report_tally {
    std::uint32_t told = 0; // reports
    stamp newest;           // of them
    double latest_us = 0;   // from the writing of one until it was told, the longest
};

// Takes in the reports that have been told since it was called last. Of more than STAMPS the oldest
// are not found.
void note_reports(report_tally& tally, std::span<const desk::fact> facts, std::uint64_t now_us);

} // namespace bench
