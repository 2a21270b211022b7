// Listeners, and whom they let in.
#pragma once

#include <memory>
#include <string>

#include "server/web/transport_inside.h"

namespace web {

// As `listen` of transport.h.
int add_listener(const std::shared_ptr<transport_inside>& transport, const std::string& address,
                 int port, const tls_files* tls, std::string& error);

} // namespace web
