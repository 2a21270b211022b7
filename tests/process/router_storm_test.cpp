// A router that sends much more than it is asked for: nothing of it is lost, nothing of it is taken
// for what another connection says, and nobody waits for its end.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/socket.h>

#include "support/frames.h"
#include "support/process_test.h"

using std::chrono::steady_clock;
using testing::Contains;
using testing::Not;

namespace {
// A route that a healthy router never shows.
const std::string OTHER_ROUTE = frame("N0IQ\t1\t0\tN\tN\t2");
const std::string OTHER_ROUTE_LINE = "<DBG>Accepting route change output=0 input=1";

std::string storm(int messages)
{
    std::string bytes;
    for (int i = 0; i < messages; ++i)
        bytes += OTHER_ROUTE;
    return bytes;
}

class RouterStorm : public ProcessTest {
  protected:
    // The bytes follow the answer to the next request of this kind, and to no other.
    void say_once_behind_answer(const std::string& request, const std::string& bytes)
    {
        const std::string answer = router.answers[request];
        const long asked = count_requests(router, request);
        router.answers[request] = answer + bytes;
        ASSERT_TRUE(until([&] { return count_requests(router, request) > asked; }));
        router.answers[request] = answer;
    }

    long other_routes()
    {
        return std::count(backend.diagnostics.begin(), backend.diagnostics.end(), OTHER_ROUTE_LINE);
    }
};
} // namespace

// More by a few than two passes handle: a wait after each would let a status request come due,
// which throws away what has not been handled.
TEST_F(RouterStorm, IsHandledToItsLastReport)
{
    constexpr int REPORTS = 2 * 4096 + 8;
    start_connected();
    const int room = 1 << 18; // the storm waits in the socket, not in the test
    setsockopt(router.client, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    say_once_behind_answer("QD", storm(REPORTS));
    EXPECT_TRUE(until([this] { return other_routes() == REPORTS; })) << other_routes();
    EXPECT_THAT(backend.diagnostics, Not(Contains("<NOTE>Connection to router closed")));
}

TEST_F(RouterStorm, EndsWithTheConnectionThatItIsTooMuchFor)
{
    start_connected();
    say_once_behind_answer("BK F", storm(1000));
    ASSERT_TRUE(logs("<ERR>Timeout receiving message"));
    ASSERT_TRUE(logs("<DBG>Router finished returning levels, sources, destinations"));
    backend.records.clear();
    ASSERT_NE(hear_route("o0.input.all=2"), "");
    EXPECT_EQ(other_routes(), 0);
}

TEST_F(RouterStorm, KeepsNeitherTheParentNorASignalWaiting)
{
    start_connected();
    std::string bytes;
    const auto send_on = [&] {
        if (bytes.empty()) bytes = storm(4096);
        const ssize_t count =
            send(router.client, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0) bytes.erase(0, static_cast<std::size_t>(count));
        backend.diagnostics.clear();
    };
    send_on();
    ASSERT_TRUE(logs(OTHER_ROUTE_LINE));
    say("*COMMAND=report\n*TYPE=command\nwhat=inputs\n*ID=7");
    ASSERT_TRUE(until([&] {
        send_on();
        return std::any_of(backend.records.begin(), backend.records.end(),
                           [](const ParentRecord& record) { return record.id == "7"; });
    }));
    kill(backend.child.process, SIGTERM);
    ASSERT_TRUE(until([&] {
        if (router.client >= 0) send_on();
        return backend.ended;
    }));
    EXPECT_EQ(end(), "exited with status 0");
}

TEST_F(RouterStorm, OfAnswersIsUsedByAProcessThatWasHeldUp)
{
    start_on_router();
    ASSERT_TRUE(until([this] { return count_requests(router, "QN ID") == 1; }));
    kill(backend.child.process, SIGSTOP);
    std::string answers;
    for (const auto& [request, answer] : healthy_answers())
        answers += answer;
    send_bytes(router, answers);
    // Longer than the router has for its answers.
    const auto goes_on = steady_clock::now() + std::chrono::milliseconds(7500);
    ASSERT_TRUE(until([&] { return steady_clock::now() >= goes_on; }));
    kill(backend.child.process, SIGCONT);
    EXPECT_NE(hear_line("i0.name=CAM 1"), "");
    EXPECT_NE(hear_line("o1.name=MON 2"), "");
    EXPECT_THAT(backend.diagnostics, Not(Contains("<ERR>Timeout during query (d=0 s=0 l=0)")));
}
