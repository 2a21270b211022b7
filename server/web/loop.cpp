#include "server/web/loop.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <utility>

#include "server/web/loop_inside.h"

namespace web {

namespace {
constexpr int MOST_CALLS = 256; // between two passes

void wait_for(loop_inside& inside, watched_descriptor& watched)
{
    watched.descriptor.async_wait(boost::asio::posix::descriptor_base::wait_read,
                                  [&inside, &watched](const boost::system::error_code& error) {
                                      if (error) return; // the loop is no more
                                      watched.on_readable();
                                      inside.called.push_back(&watched);
                                  });
}

void wait_for(watched_signals& watched)
{
    watched.signals.async_wait([&watched](const boost::system::error_code& error, int signal) {
        if (error) return;
        watched.on_signal(signal);
        wait_for(watched);
    });
}
} // namespace

loop::loop() : inside(std::make_unique<loop_inside>())
{
}

loop::~loop()
{
    for (watched_descriptor& each : inside->descriptors)
        each.descriptor.release(); // the caller's
}

void watch_descriptor(loop& loop, int descriptor, std::function<void()> on_readable)
{
    loop_inside& inside = *loop.inside;
    inside.descriptors.push_back({{inside.context, descriptor}, std::move(on_readable)});
    wait_for(inside, inside.descriptors.back());
}

void watch_signals(loop& loop, std::span<const int> signals, std::function<void(int)> on_signal)
{
    watched_signals& watched = loop.inside->signals.emplace_back(loop.inside->context);
    watched.on_signal = std::move(on_signal);
    for (const int each : signals)
        watched.signals.add(each);
    wait_for(watched);
}

void call_after_each_pass(loop& loop, std::function<std::optional<instant>()> function)
{
    loop.inside->after_pass = std::move(function);
}

void run(loop& loop)
{
    loop_inside& inside = *loop.inside;
    boost::asio::io_context& context = inside.context;
    // With nothing to wait for but a time it waits all the same.
    const auto work = boost::asio::make_work_guard(context);
    context.restart();
    while (!inside.stopped) {
        std::optional<instant> due;
        if (inside.after_pass) due = inside.after_pass();
        for (watched_descriptor* const each : std::exchange(inside.called, {}))
            wait_for(inside, *each);
        if (inside.stopped) break;
        if (due)
            context.run_one_until(*due);
        else
            context.run_one();
        for (int calls = 1; calls < MOST_CALLS && !inside.stopped; ++calls)
            if (context.poll_one() == 0) break;
    }
    inside.stopped = false;
}

void stop(loop& loop)
{
    loop.inside->stopped = true;
    boost::asio::post(loop.inside->context, [] {}); // ends its wait
}

} // namespace web
