#include "bench/server/served_desk.h"

#include <algorithm>
#include <stdexcept>

#include "server/desk/setup.h"

namespace bench {

namespace {
// poll counts in milliseconds; what is due before the next one has begun must not make it turn.
int wait_ms(const served_desk& served, std::chrono::milliseconds longest_wait)
{
    const desk::moment now = this_moment();
    const auto due = routers::next_due(served.routers, served.desk, now);
    if (!due) return static_cast<int>(longest_wait.count());
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - now.steady);
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), longest_wait).count());
}
} // namespace

const desk::actor ENGINEER = {"bench", "bench", {desk::right::administer, {}, {}}};

desk::moment this_moment()
{
    using namespace std::chrono;
    return {duration_cast<desk::monotonic>(steady_clock::now().time_since_epoch()),
            duration_cast<desk::wall>(system_clock::now().time_since_epoch())};
}

void add_router(served_desk& served, const std::string& id, std::uint16_t port)
{
    desk::router_settings settings;
    settings.id = id;
    settings.name = id;
    settings.address = "127.0.0.1";
    settings.port = port;
    const desk::objection against =
        desk::set_router(served.desk, this_moment(), ENGINEER, settings);
    if (against.why != desk::reason::none) throw std::runtime_error(against.detail);
}

bool serve_once(served_desk& served, int input, std::chrono::milliseconds longest_wait)
{
    std::vector<pollfd> polled = {{input, POLLIN, 0}};
    routers::add_poll_descriptors(served.routers, polled);
    poll(polled.data(), polled.size(), wait_ms(served, longest_wait));
    routers::serve_routers(served.routers, served.desk, this_moment(), polled);
    return polled[0].revents != 0;
}

bool all_ready(const desk::desk_state& desk)
{
    return std::all_of(desk.live.begin(), desk.live.end(), [](const auto& each) {
        return each.second.link == desk::link_state::ready;
    });
}

void end_backends(served_desk& served)
{
    routers::stop_routers(served.routers, this_moment());
    while (routers::any_running(served.routers))
        serve_once(served, -1, std::chrono::milliseconds(10));
}

} // namespace bench
