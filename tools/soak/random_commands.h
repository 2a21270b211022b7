// What a parent may say, at random: useful commands, useless ones and odd ones, each with the reply
// that it must get.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace soak {

struct parent_command {
    std::string bytes;           // the record, with its empty line
    std::string command;         // of the reply
    std::string error;           // of the reply
    bool replied = true;         // false: there is none
    bool reaches_router = false; // it makes the backend talk to the router by itself
};

parent_command add_route(const std::string& id, int output, int input);
parent_command flush_routes(const std::string& id);
parent_command query_outputs(const std::string& id);
parent_command set_setting(const std::string& name, const std::string& value);

// One that never reaches the router.
parent_command random_quiet_command(std::mt19937_64& random, const std::string& id);
// As well flushes, but no query of all outputs: that would soon put right whatever was lost.
parent_command random_command(std::mt19937_64& random, const std::string& id);
// Any.
parent_command random_flood_command(std::mt19937_64& random, const std::string& id);

} // namespace soak
