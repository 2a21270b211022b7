// The built page as part of the program; the table is generated where the page is built (panel/).
#pragma once

#include <span>
#include <string_view>

namespace web {

struct panel_file {
    std::string_view path; // "assets/index-D4f.js"
    std::string_view tag;  // differs when the content does; without quotes
    std::string_view plain;
    std::string_view gzip;   // both are empty where they would save next to nothing
    std::string_view brotli; // RFC 7932
};

std::span<const panel_file> panel_files(); // sorted by path

} // namespace web
