#include "server/web/deadlines.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "server/web/connection.h"

namespace web {

namespace {
constexpr std::chrono::milliseconds EVERY{250};

void check(connection& connection, instant now)
{
    const transport_limits& limits = connection.transport->limits;
    const bool takes_nothing =
        connection.writing && connection.stream.write_begun + limits.taking < now;
    const bool does_not_end = connection.stream.end_begun < now - limits.closing;
    if (connection.deadline < now && connection.phase == phase::reading) {
        error_code ignored;
        connection.too_slow = true;
        connection.deadline = instant::max();
        connection.stream.socket.cancel(ignored); // what it reads; it can still be answered
    } else if (connection.deadline < now || takes_nothing || does_not_end) {
        cut_off(connection);
    }
}
} // namespace

asio::awaitable<void> watch_deadlines(std::shared_ptr<transport_inside> transport)
{
    transport->watching_deadlines = true;
    asio::steady_timer timer(transport->context);
    while (!transport->connections.empty()) {
        error_code ignored;
        timer.expires_after(EVERY);
        co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        const instant now = std::chrono::steady_clock::now();
        for (const auto& [each, held] : transport->connections) // none leaves meanwhile
            check(*each, now);
    }
    transport->watching_deadlines = false;
}

} // namespace web
