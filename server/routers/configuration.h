// The configuration file of a backend.
#pragma once

#include <string>

#include "server/desk/house.h"

namespace routers {

// Counts of ROUTED_POSITIONS leave it to the router how many there are. Control characters of the
// address become blanks, and it is cut like every text, so that it stays one line.
std::string configuration_text(const desk::router_settings& settings);

// Writes the file, for its owner alone, so that a reader finds the old text or the new one, whole.
// The folder must be there. False, with the reason, when the old one, or none, is still there.
// Does not wait for the disk, and needs none for a text that the file has already: what a loss of
// power leaves of it is compared and written anew at the next start.
bool write_configuration(const std::string& path, const desk::router_settings& settings,
                         std::string& error);

} // namespace routers
