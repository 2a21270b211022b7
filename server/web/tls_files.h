// Where a listener's certificate comes from.
#pragma once

#include <string>

namespace web {

struct tls_files {
    std::string certificate; // PEM: the server's, then those that lead to its root
    std::string key;         // PEM, not encrypted
};

} // namespace web
