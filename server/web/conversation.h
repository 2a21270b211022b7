// What passes on a client's connection from its beginning to its end.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>

namespace web {

struct connection;

// The handshake of TLS where there is one, then requests and answers. Takes the connection out of
// the transport's when it ends.
boost::asio::awaitable<void> converse(std::shared_ptr<connection> held);

} // namespace web
