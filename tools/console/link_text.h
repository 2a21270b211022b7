// How it stands with the links to routers, in words and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "console/console_state.h"

namespace console {

// Since when what the router told last is no longer known to be true; none while it is, and when
// nothing is known.
std::optional<desk::wall> known_until(const console_state& console, const std::string& router);

// How long the link has been as it is: "0:42". Whatever becomes of the wall clock meanwhile.
std::string link_age(const console_state& console, const desk::moment& now,
                     const std::string& router);

// What stands above everything that is told of a router: nothing while its link is ready, else "As
// of 14:02:11, link down 0:42: cannot connect to 10.0.0.5:12345: Connection refused.\n"
std::string link_line(const console_state& console, const desk::moment& now,
                      const std::string& router);

// {"state": "down", "since": ..., "reason": ...}, and "asOf" where there is such a time.
nlohmann::json link_json(const console_state& console, const std::string& router);

// "the link to main is down: cannot connect to ...". Of a link that is not ready.
std::string not_ready_text(const console_state& console, const std::string& router);

} // namespace console
