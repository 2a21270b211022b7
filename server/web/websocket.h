// A connection that has become a WebSocket.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>

namespace web {

struct connection;

// Lets the client in and carries messages both ways, until either side ends it. The connection
// cannot be used for anything else afterwards.
boost::asio::awaitable<void> talk(std::shared_ptr<connection> held);

} // namespace web
