#include "server/routers/routers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <system_error>
#include <utility>

#include "server/desk/deadlines.h"

namespace routers {

namespace {
constexpr std::size_t READY_AT_ONCE = 256; // the rest is ready the next time

// One that is watched already stays so.
void watch_descriptor(const running_routers& routers, backend& backend, int descriptor,
                      std::uint32_t events)
{
    if (descriptor < 0) return;
    epoll_event event{.events = events, .data = {.ptr = &backend}};
    if (epoll_ctl(routers.watch.number, EPOLL_CTL_ADD, descriptor, &event) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), "cannot watch a backend");
}

// After whatever may have started it or sent it something. The descriptors of one that has ended
// are closed, and so no longer watched. An input is told of once when it takes more after it was
// full.
void watch_backend(const running_routers& routers, backend& backend)
{
    const parent_link::backend_link& process = backend.process;
    if (!process.unsent.empty())
        watch_descriptor(routers, backend, process.pipes.input.number, EPOLLOUT | EPOLLET);
    if (backend.watched == backend.starts) return;
    backend.watched = backend.starts;
    for (const int descriptor :
         {process.process_fd.number, process.pipes.output.number, process.pipes.errors.number})
        watch_descriptor(routers, backend, descriptor, EPOLLIN);
}

void run_wanted(running_routers& routers, desk::desk_state& desk, const desk::moment& now)
{
    for (const auto& [router, known] : desk.house.routers) {
        if (routers.left_off.contains(router)) continue;
        const auto [place, is_new] = routers.backends.try_emplace(router);
        backend& backend = place->second;
        if (is_new) {
            backend.router = router;
            backend.program = routers.program;
            backend.configuration = routers.folder + "/" + router + ".conf";
        }
        if (!backend.wanted || backend.settings != known.settings)
            run_backend(backend, desk, now, known.settings);
        watch_backend(routers, backend);
    }
}

void stop_removed(running_routers& routers, const desk::desk_state& desk, const desk::moment& now)
{
    for (auto& [router, backend] : routers.backends)
        if (backend.wanted && !desk.house.routers.contains(router)) stop_backend(backend, now);
}

// Sorted.
std::vector<const void*> ready_backends(const running_routers& routers,
                                        std::span<const pollfd> polled)
{
    const bool any = std::any_of(polled.begin(), polled.end(), [&](const pollfd& each) {
        return each.fd == routers.watch.number && each.revents != 0;
    });
    if (!any) return {};
    std::array<epoll_event, READY_AT_ONCE> events;
    const int count = epoll_wait(routers.watch.number, events.data(), READY_AT_ONCE, 0);
    std::vector<const void*> ready;
    ready.reserve(READY_AT_ONCE);
    for (int i = 0; i < count; ++i)
        ready.push_back(events[static_cast<std::size_t>(i)].data.ptr);
    std::sort(ready.begin(), ready.end());
    return ready;
}

void serve_all(running_routers& routers, desk::desk_state& desk, const desk::moment& now,
               std::span<const pollfd> polled)
{
    const std::vector<const void*> ready = ready_backends(routers, polled);
    for (auto& [router, backend] : routers.backends) {
        const auto due = next_due(backend);
        if ((!due || *due > now.steady) &&
            !std::binary_search(ready.begin(), ready.end(), &backend))
            continue;
        serve_backend(backend, desk, now);
        watch_backend(routers, backend);
    }
}
} // namespace

common::owned_descriptor new_watch()
{
    common::owned_descriptor made(epoll_create1(EPOLL_CLOEXEC));
    if (made.number < 0)
        throw std::system_error(errno, std::generic_category(), "cannot watch backends");
    return made;
}

void serve_routers(running_routers& routers, desk::desk_state& desk, const desk::moment& now,
                   std::span<const pollfd> polled)
{
    if (!routers.stopping && routers.set_ups != desk.set_ups) {
        routers.set_ups = desk.set_ups;
        run_wanted(routers, desk, now);
        stop_removed(routers, desk, now);
    }
    serve_all(routers, desk, now, polled);
    std::erase_if(routers.backends,
                  [](const auto& each) { return !each.second.wanted && !is_running(each.second); });
    desk::advance(desk, now);
    for (const desk::order& order : std::exchange(desk.orders, {})) {
        const auto backend = routers.backends.find(order.router);
        if (backend == routers.backends.end()) continue;
        carry_out(backend->second, desk, now, order);
        watch_backend(routers, backend->second);
    }
}

void add_poll_descriptors(const running_routers& routers, std::vector<pollfd>& descriptors)
{
    descriptors.push_back({routers.watch.number, POLLIN, 0});
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
