// The orderly end, and the loop.
#include <arpa/inet.h>
#include <csignal>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/patience.h"
#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {
using Ending = TransportTest;

const std::string REQUEST = "GET /a HTTP/1.1\r\nHost: localhost\r\n\r\n";
} // namespace

TEST_F(Ending, FinishesWhatIsUnderWay)
{
    limits.closing = 300ms; // the clients do not
    start();
    std::vector<request_id> asked;
    on_request = [&](request_id id, const request&) {
        asked.push_back(id);
    };
    test_client& idle = connect();
    test_client& busy = connect(REQUEST);
    until("the request", [&] { return !asked.empty() && counters(*served).open == 2; });
    stop_listening(*served);
    until_ended(idle);
    turns();
    EXPECT_FALSE(busy.ended);
    respond(*served, asked[0], {200, "", "last", {}});
    until_ended(busy);
    EXPECT_THAT(busy.got, HasSubstr("\r\nConnection: close\r\n"));
    EXPECT_EQ(body_of(busy.got), "last");
    until("all closed", [&] { return counters(*served).open == 0; });
    test_client late;
    late.socket = common::owned_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_NE(
        ::connect(late.socket.number, reinterpret_cast<const sockaddr*>(&address), sizeof address),
        0);
}

TEST_F(Ending, LetsStreamsGoOnUntilTheirOwnersEndThem)
{
    limits.idle = PATIENCE * 2; // it does not wait for another request
    start();
    stream_id stream = 0;
    on_request = [&](request_id id, const request&) {
        stream = id;
        open_stream(*served, id, {200, "text/event-stream", "", {}});
    };
    test_client& client = connect(REQUEST);
    until_got(client, "\r\n\r\n");
    stop_listening(*served);
    turns();
    send(*served, stream, std::make_shared<const std::string>("bye"));
    until_got(client, "3\r\nbye\r\n");
    EXPECT_FALSE(client.ended);
    finish(*served, stream);
    until_ended(client);
    EXPECT_THAT(client.got, testing::EndsWith("\r\n0\r\n\r\n"));
    EXPECT_FALSE(client.reset);
}

TEST_F(Ending, CutsOffWhatIsLeft)
{
    start();
    on_request = [](request_id, const request&) {
    };
    test_client& busy = connect(REQUEST);
    until("the request", [&] { return !requests.empty(); });
    close_all(*served);
    until_ended(busy);
    turns();
    EXPECT_TRUE(gone.empty());
    EXPECT_EQ(counters(*served).open, 0U);
}

TEST_F(Ending, OfTheTransportLeavesTheLoopToOthers)
{
    start();
    on_request = [](request_id, const request&) {
    };
    test_client& busy = connect(REQUEST);
    test_client& idle = connect();
    until("the request", [&] { return !requests.empty(); });
    served.reset();
    until_ended(busy);
    until_ended(idle);
    start();
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {200, "", "b", {}});
    };
    until_got(connect(REQUEST), "\r\n\r\nb");
}

TEST_F(Ending, SaysWhyItCannotListen)
{
    start();
    std::string error;
    EXPECT_EQ(listen(*served, "127.0.0.1", port, nullptr, error), 0);
    EXPECT_EQ(error, "Address already in use");
    EXPECT_EQ(listen(*served, "localhost", 0, nullptr, error), 0);
    EXPECT_EQ(error, "Invalid argument");
    EXPECT_NE(listen(*served, "127.0.0.2", 0, nullptr, error), 0);
}

TEST(Loop, CallsForDescriptorsThatAreReadable)
{
    loop loop;
    const common::owned_descriptor event(eventfd(0, EFD_CLOEXEC));
    std::vector<std::uint64_t> read;
    watch_descriptor(loop, event.number, [&] {
        std::uint64_t value = 0;
        EXPECT_EQ(::read(event.number, &value, sizeof value), 8);
        read.push_back(value);
    });
    int passes = 0;
    call_after_each_pass(loop, [&]() -> std::optional<instant> {
        ++passes;
        if (read.size() == 2) stop(loop);
        EXPECT_EQ(eventfd_write(event.number, static_cast<eventfd_t>(passes)), 0);
        return {};
    });
    run(loop);
    EXPECT_THAT(read, ElementsAre(1U, 2U));
    EXPECT_EQ(passes, 3);
}

TEST(Loop, CallsForADescriptorOnceBetweenTwoPasses)
{
    loop loop;
    const common::owned_descriptor event(eventfd(1, EFD_CLOEXEC));
    int calls = 0;
    watch_descriptor(loop, event.number, [&] { ++calls; }); // what would be read in a pass
    int passes = 0;
    call_after_each_pass(loop, [&]() -> std::optional<instant> {
        if (++passes == 4) stop(loop);
        return {};
    });
    run(loop);
    EXPECT_EQ(calls, 3);
}

TEST(Loop, CallsAtTheTimeThatWasAskedFor)
{
    loop loop;
    const instant begin = std::chrono::steady_clock::now();
    std::vector<instant> passes;
    call_after_each_pass(loop, [&]() -> std::optional<instant> {
        passes.push_back(std::chrono::steady_clock::now());
        if (passes.size() == 2) stop(loop);
        return begin + 50ms;
    });
    run(loop);
    ASSERT_EQ(passes.size(), 2U);
    EXPECT_GE(passes[1], begin + 50ms);
}

TEST(Loop, TellsOfSignals)
{
    loop loop;
    std::vector<int> told;
    watch_signals(loop, std::vector{SIGHUP, SIGUSR1}, [&](int signal) {
        told.push_back(signal);
        if (told.size() == 2)
            stop(loop);
        else
            raise(SIGUSR1);
    });
    raise(SIGHUP);
    run(loop);
    EXPECT_THAT(told, ElementsAre(SIGHUP, SIGUSR1));
}

TEST(Loop, LeavesTheDescriptorsToTheirOwners)
{
    const common::owned_descriptor event(eventfd(0, EFD_CLOEXEC));
    {
        loop loop;
        watch_descriptor(loop, event.number, [] {});
    }
    EXPECT_EQ(eventfd_write(event.number, 1), 0);
}
