// Files that are part of the program (embedded.S).
#pragma once

#include <string_view>

namespace web::embedded {

std::string_view description(); // docs/openapi.yaml, the API's

} // namespace web::embedded
