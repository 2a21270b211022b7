// The loop as what waits in it sees it.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>
#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <vector>

namespace web {

struct watched_descriptor {
    boost::asio::posix::stream_descriptor descriptor;
    std::function<void()> on_readable;
};

struct watched_signals {
    boost::asio::signal_set signals;
    std::function<void(int)> on_signal;

    explicit watched_signals(boost::asio::io_context& context) : signals(context)
    {
    }
};

struct loop_inside {
    boost::asio::io_context context{1}; // of one thread
    std::list<watched_descriptor> descriptors;
    // Since the last pass; after the next one they are waited for again.
    std::vector<watched_descriptor*> called;
    std::list<watched_signals> signals;
    std::function<std::optional<std::chrono::steady_clock::time_point>()> after_pass;
    bool stopped = false;
};

} // namespace web
