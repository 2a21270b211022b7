#include "server/routers/routers.h"

#include <algorithm>
#include <utility>

#include "server/desk/deadlines.h"

namespace routers {

namespace {
void run_wanted(running_routers& routers, desk::desk_state& desk, const desk::moment& now)
{
    for (const auto& [router, known] : desk.house.routers) {
        const auto [place, is_new] = routers.backends.try_emplace(router);
        backend& backend = place->second;
        if (is_new) {
            backend.router = router;
            backend.program = routers.program;
            backend.configuration = routers.folder + "/" + router + ".conf";
        }
        if (!backend.wanted || backend.settings != known.settings)
            run_backend(backend, desk, now, known.settings);
    }
}

void stop_removed(running_routers& routers, const desk::desk_state& desk, const desk::moment& now)
{
    for (auto& [router, backend] : routers.backends)
        if (backend.wanted && !desk.house.routers.contains(router)) stop_backend(backend, now);
}

std::vector<int> ready_descriptors(std::span<const pollfd> polled)
{
    std::vector<int> ready;
    for (const pollfd& each : polled)
        if (each.revents != 0) ready.push_back(each.fd);
    std::sort(ready.begin(), ready.end());
    return ready;
}

bool is_ready(const backend& backend, const std::vector<int>& ready, std::vector<pollfd>& own)
{
    if (ready.empty()) return false;
    own.clear();
    add_poll_descriptors(backend, own);
    return std::any_of(own.begin(), own.end(), [&](const pollfd& each) {
        return std::binary_search(ready.begin(), ready.end(), each.fd);
    });
}

void serve_all(running_routers& routers, desk::desk_state& desk, const desk::moment& now,
               std::span<const pollfd> polled)
{
    const std::vector<int> ready = ready_descriptors(polled);
    std::vector<pollfd> own;
    for (auto& [router, backend] : routers.backends) {
        const auto due = next_due(backend);
        if ((due && *due <= now.steady) || is_ready(backend, ready, own))
            serve_backend(backend, desk, now);
    }
}
} // namespace

void serve_routers(running_routers& routers, desk::desk_state& desk, const desk::moment& now,
                   std::span<const pollfd> polled)
{
    if (!routers.stopping) {
        run_wanted(routers, desk, now);
        stop_removed(routers, desk, now);
    }
    serve_all(routers, desk, now, polled);
    std::erase_if(routers.backends,
                  [](const auto& each) { return !each.second.wanted && !is_running(each.second); });
    desk::advance(desk, now);
    for (const desk::order& order : std::exchange(desk.orders, {})) {
        const auto backend = routers.backends.find(order.router);
        if (backend != routers.backends.end()) carry_out(backend->second, desk, now, order);
    }
}

void add_poll_descriptors(const running_routers& routers, std::vector<pollfd>& descriptors)
{
    for (const auto& [router, backend] : routers.backends)
        add_poll_descriptors(backend, descriptors);
}

std::optional<desk::monotonic> next_due(const running_routers& routers,
                                        const desk::desk_state& desk, const desk::moment& now)
{
    std::optional<desk::monotonic> earliest = desk::next_due(desk, now);
    for (const auto& [router, backend] : routers.backends) {
        const auto due = next_due(backend);
        if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
}

void stop_routers(running_routers& routers, const desk::moment& now)
{
    routers.stopping = true;
    for (auto& [router, backend] : routers.backends)
        stop_backend(backend, now);
}

bool any_running(const running_routers& routers)
{
    return std::any_of(routers.backends.begin(), routers.backends.end(),
                       [](const auto& each) { return is_running(each.second); });
}

} // namespace routers
