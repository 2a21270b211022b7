// The settings of a machine, from a TOML file. Routers, people, salvos and names are not here: they
// live in the database.
//
//   [listen]
//   address = "127.0.0.1"        # IPv4 or IPv6
//   port = 8080
//   names = ["router.example"]   # what browsers call the server; any, without it
//   protected_in_front = false   # beyond loopback without TLS: something in front does it
//   [tls]
//   certificate = "/etc/router_control/certificate.pem"
//   key = "/etc/router_control/key.pem"
//   [metrics]                    # without signing in, on a listener of their own
//   address = "127.0.0.1"
//   port = 9091
//   [simple_form]
//   enabled = false
//   [history]
//   days = 400
//   rows = 10000000
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/journal/retention.h"

namespace program {

struct listen_address {
    std::string address = "127.0.0.1";
    int port = 8080; // 0: the system chooses one
};

struct settings {
    listen_address listen;
    std::vector<std::string> names;
    bool protected_in_front = false;
    std::string certificate; // empty: no TLS
    std::string key;
    std::optional<listen_address> metrics;
    bool simple_form = false;
    journal::retention history;
};

// False, with file, line and reason: it cannot be read, is no TOML, has a key that is not known, or
// a value that cannot be; or the server would be open to strangers.
bool read_settings(const std::string& path, settings& settings, std::string& error);

bool is_loopback(const std::string& address); // 127.0.0.0/8 and ::1

} // namespace program
