// Ends what takes a client too long.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>

#include "server/web/transport_inside.h"

namespace web {

// Looks at all connections four times a second while there are any.
boost::asio::awaitable<void> watch_deadlines(std::shared_ptr<transport_inside> transport);

} // namespace web
