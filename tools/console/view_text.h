// The router view as tables for a person, each line with its end.
#pragma once

#include <string>

#include "console/router_view.h"

namespace console {

std::string info_text(const router_view& view);
std::string inputs_text(const router_view& view);
std::string outputs_text(const router_view& view);
std::string routes_text(const router_view& view);

} // namespace console
