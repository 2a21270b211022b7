#include "router_simulator/wire/output_queue.h"

#include <algorithm>

namespace router_simulator {

us_time_t queue_in_order(output_queue& queue, us_time_t due, const std::string& bytes)
{
    if (!queue.in_order.empty()) due = std::max(due, queue.in_order.back().due);
    queue.in_order.push_back({due, bytes});
    return due;
}

void queue_late(output_queue& queue, us_time_t due, const std::string& bytes)
{
    queue.late.emplace(due, bytes);
}

void make_ready(output_queue& queue, us_time_t now)
{
    for (; !queue.late.empty() && queue.late.begin()->first <= now;
         queue.late.erase(queue.late.begin()))
        queue_in_order(queue, now, queue.late.begin()->second);
    for (; !queue.in_order.empty() && queue.in_order.front().due <= now; queue.in_order.pop_front())
        queue.ready += queue.in_order.front().bytes;
}

us_time_t next_due(const output_queue& queue)
{
    us_time_t next = NEVER;
    if (!queue.in_order.empty()) next = queue.in_order.front().due;
    if (!queue.late.empty()) next = std::min(next, queue.late.begin()->first);
    return next;
}

std::size_t queued_size(const output_queue& queue)
{
    std::size_t size = queue.ready.size();
    for (const due_bytes& each : queue.in_order)
        size += each.bytes.size();
    for (const auto& [due, bytes] : queue.late)
        size += bytes.size();
    return size;
}

} // namespace router_simulator
