// Files that are part of the program (embedded.S).
#pragma once

#include <string_view>

namespace web::embedded {

std::string_view description(); // docs/openapi.yaml, the API's
std::string_view index_html();
std::string_view first_html();
std::string_view first_js();
std::string_view page_css();

} // namespace web::embedded
