// What happens beyond the bounds.
#include <ctime>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/patience.h"
#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using testing::HasSubstr;

namespace {
using Limits = TransportTest;

const std::string REQUEST = "GET /a HTTP/1.1\r\nHost: localhost\r\n\r\n";

// So many descriptors for this process, until it ends.
struct descriptor_limit {
    rlimit before{};
    bool is_set = false;

    explicit descriptor_limit(std::size_t count)
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit wanted{count, before.rlim_max};
        is_set = setrlimit(RLIMIT_NOFILE, &wanted) == 0;
    }
    descriptor_limit(const descriptor_limit&) = delete;
    descriptor_limit& operator=(const descriptor_limit&) = delete;
    ~descriptor_limit()
    {
        setrlimit(RLIMIT_NOFILE, &before);
    }
};

// No more than there are now.
std::size_t descriptors_in_use()
{
    const common::owned_descriptor next(dup(0));
    return static_cast<std::size_t>(next.number);
}
} // namespace

TEST_F(Limits, CutsOffARequestThatDripsIn)
{
    limits.request = 300ms;
    start();
    test_client& head = connect("GET /a HTTP/1.1\r\n");
    test_client& body =
        connect("PUT /a HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999\r\n\r\n");
    instant next{};
    until("both ended", [&] {
        const instant now = std::chrono::steady_clock::now();
        if (now < next) return false; // else all would come before it is too late
        next = now + milliseconds(10);
        if (!head.ended) (void)!::send(head.socket.number, "x", 1, MSG_NOSIGNAL);
        if (!body.ended) (void)!::send(body.socket.number, "x", 1, MSG_NOSIGNAL);
        return head.ended && body.ended;
    });
    EXPECT_EQ(problem_of(head.got), "408 tooSlow");
    EXPECT_EQ(problem_of(body.got), "408 tooSlow");
    EXPECT_TRUE(requests.empty());
}

TEST_F(Limits, ClosesIdleConnections)
{
    limits.idle = 300ms;
    start();
    test_client& silent = connect();
    test_client& used = connect(REQUEST);
    until_ended(silent);
    until_ended(used);
    EXPECT_EQ(silent.got, "");
    EXPECT_EQ(status_line(used.got), "HTTP/1.1 200 OK");
}

TEST_F(Limits, HoldsNoAnswerThatIsWaitedFor)
{
    limits.idle = limits.request = limits.taking = 100ms;
    start();
    request_id asked = 0;
    on_request = [&](request_id id, const request&) {
        asked = id;
    };
    test_client& client = connect(REQUEST);
    const auto begin = std::chrono::steady_clock::now();
    until("a second", [&] { return std::chrono::steady_clock::now() - begin > 1s; });
    EXPECT_FALSE(client.ended);
    respond(*served, asked, {200, "", "late", {}});
    until_got(client, "late");
}

TEST_F(Limits, CutsOffAClientThatDoesNotTakeItsAnswer)
{
    limits.taking = 300ms;
    start();
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {200, "", std::string(20 << 20, 'x'), {}});
    };
    test_client& client = connect(REQUEST);
    common::owned_descriptor unread = std::move(client.socket); // where `until` does not read
    until("cut off", [&] { return counters(*served).open == 0 && !requests.empty(); });
    EXPECT_LT(counters(*served).bytes_out, 20U << 20U);
    EXPECT_TRUE(gone.empty()); // it was answered
}

TEST_F(Limits, LetsTheLongestWaitingGoForANewOne)
{
    limits.connections = 3;
    start();
    on_request = [](request_id, const request&) {
    };
    test_client& served_one = connect(REQUEST);
    until("it is served", [&] { return requests.size() == 1; });
    test_client& oldest = connect();
    until("a second one", [&] { return counters(*served).accepted == 2; });
    test_client& newer = connect("GET");
    until("a third one", [&] { return counters(*served).accepted == 3; });
    test_client& newest = connect();
    until_ended(oldest);
    until("a fourth one", [&] { return counters(*served).accepted == 4; });
    EXPECT_FALSE(served_one.ended || newer.ended || newest.ended);
    EXPECT_EQ(counters(*served).open, 3U);
}

TEST_F(Limits, TurnsAwayANewOneWhenAllAreServed)
{
    limits.connections = 2;
    start();
    on_request = [](request_id, const request&) {
    };
    connect(REQUEST);
    connect(REQUEST);
    until("both are served", [&] { return requests.size() == 2; });
    test_client& third = connect(REQUEST);
    until_ended(third);
    EXPECT_EQ(problem_of(third.got), "429 tooManyAtOnce");
    EXPECT_EQ(counters(*served).turned_away, 1U);
    EXPECT_EQ(counters(*served).open, 2U);
}

TEST_F(Limits, ServesOthersWhileThousandsAreLeftOpen)
{
    constexpr std::size_t LEFT = 10'000;
    const descriptor_limit enough(LEFT + limits.connections + 100);
    ASSERT_TRUE(enough.is_set) << "the hard limit of descriptors is too low for this test";
    start();
    std::vector<common::owned_descriptor> left;
    for (std::size_t served_ones = 0; left.size() < LEFT;) {
        for (int i = 0; i < 1000; ++i) // fewer than the system lets wait
            left.push_back(std::move(connect().socket));
        clients.clear();
        const std::size_t accepted = left.size() + served_ones;
        until("all came in", [&] { return counters(*served).accepted == accepted; });
        test_client& client = connect(REQUEST);
        until_got(client, "/a ");
        ++served_ones;
        EXPECT_LE(counters(*served).open, limits.connections);
    }
    EXPECT_EQ(counters(*served).turned_away, 0U);
}

TEST_F(Limits, TurnsAwayWhoeverHasTooManyFromOneAddress)
{
    limits.connections_per_address = 2;
    limits.closing = 300ms;
    start(nullptr, "127.0.0.2");
    test_client& first = connect();
    connect();
    test_client& third = connect();
    until_ended(third);
    EXPECT_EQ(problem_of(third.got), "429 tooManyAtOnce");
    EXPECT_EQ(counters(*served).turned_away, 1U);
    first.end_sending();
    until("its end", [&] { return counters(*served).open == 1; });
    test_client& next = connect(REQUEST);
    until_got(next, "/a ");
    EXPECT_EQ(requests.begin()->second.address, "127.0.0.2");
}

TEST_F(Limits, BoundsAllBodiesOnTheirWayTogether)
{
    limits.bodies = 5000;
    limits.request = PATIENCE * 2;
    start();
    const std::string head = "PUT /a HTTP/1.1\r\nHost: localhost\r\n";
    const std::string begun = head + "Content-Length: 4000\r\n\r\n" + std::string(3000, 'x');
    const std::string in_chunks =
        head + "Transfer-Encoding: chunked\r\n\r\nbb8\r\n" + std::string(3000, 'y');
    const auto begin = [&]() -> test_client& {
        const std::uint64_t before = counters(*served).bytes_in;
        test_client& client = connect(begun);
        until("it has come", [&] { return counters(*served).bytes_in == before + begun.size(); });
        return client;
    };
    test_client& first = begin();
    for (const std::string& one_more : {begun, in_chunks}) {
        const std::string answer = answers(one_more);
        EXPECT_EQ(problem_of(answer), "503 overloaded");
        EXPECT_THAT(answer, HasSubstr("\r\nRetry-After: 5\r\n"));
    }
    until_got(connect(head + "Content-Length: 2\r\n\r\nhi"), "/a hi"); // is whole at once
    first.send(std::string(1000, 'x'));
    until_got(first, "/a xxx");
    begin().end_by_reset();
    until("it is gone", [&] { return counters(*served).open == 2; });
    test_client& last = begin();
    last.send(std::string(1000, 'x'));
    until_got(last, "/a xxx");
    EXPECT_EQ(requests.size(), 3U);
}

TEST_F(Limits, AcceptsAgainAfterDescriptorsRanOut)
{
    start();
    test_client& held = connect(REQUEST);
    until_got(held, "/a ");
    on_request = [](request_id, const request&) {
    };
    held.send(REQUEST); // is being served: it stays
    until("it is", [&] { return requests.size() == 2; });
    test_client& waiting = connect(REQUEST); // by the system, meanwhile
    {
        const descriptor_limit none(descriptors_in_use());
        const clock_t before = clock();
        until("some attempts", [&] { return counters(*served).failed_accepts == 4; });
        // Four pauses of a tenth of a second, no busy loop.
        EXPECT_LT(clock() - before, CLOCKS_PER_SEC / 5);
        EXPECT_EQ(counters(*served).accepted, 1U);
    }
    until("it is let in", [&] { return requests.size() == 3; });
    EXPECT_FALSE(held.ended || waiting.ended);
}

TEST_F(Limits, GivesAnIdleOnesDescriptorToANewOne)
{
    start();
    // A sanitizer that meets a class for the first time needs a descriptor: all have been met.
    test_client& idle = connect(REQUEST);
    until_got(idle, "/a ");
    test_client& fresh = connect(REQUEST);
    const descriptor_limit none(descriptors_in_use());
    until_ended(idle);
    until_got(fresh, "/a ");
}
