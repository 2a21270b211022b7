// The server's certificate and how it speaks TLS: 1.2 with forward secrecy and authenticated
// encryption, or 1.3.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <string>

#include "server/web/tls_files.h"

namespace web {

// Null, with the reason, when a file cannot be read or the key is not the certificate's.
std::shared_ptr<boost::asio::ssl::context> read_tls(const tls_files& files, std::string& error);

} // namespace web
