// What all connections of a transport share.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "server/web/tls.h"
#include "server/web/transport_hooks.h"
#include "server/web/transport_limits.h"

namespace web {

struct connection;

struct listener {
    boost::asio::ip::tcp::acceptor acceptor;
    tls_files files;
    std::shared_ptr<boost::asio::ssl::context> tls; // null: none

    explicit listener(boost::asio::io_context& context) : acceptor(context)
    {
    }
};

struct transport_inside {
    boost::asio::io_context& context;
    transport_hooks hooks;
    transport_limits limits;
    transport_counters counters{};

    std::list<listener> listeners{};
    std::unordered_map<connection*, std::shared_ptr<connection>> connections{};
    std::map<std::string, std::size_t> of_origin{};         // how many connections
    std::unordered_map<request_id, connection*> requests{}; // that the owner may still name
    request_id last_request = 0;
    std::list<request_id> turns{}; // streams with something to send that wait for their turn
    std::size_t bodies = 0;        // bytes of those that are on their way
    bool watching_deadlines = false;
    bool ending = false; // each answer is the last on its connection
};

} // namespace web
