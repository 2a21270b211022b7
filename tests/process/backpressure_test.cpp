// A router that does not read: what the backend has to say fills the sockets and then waits in the
// backend, the parent is answered meanwhile, and in the end every frame has arrived whole.
#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <map>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "support/frames.h"
#include "support/process_test.h"

using std::chrono::steady_clock;
using testing::Each;
using testing::Pair;

namespace {
constexpr int OUTPUTS = 256;

std::string query_of(int output)
{
    char text[16];
    std::snprintf(text, sizeof text, "%X", static_cast<unsigned>(output + 1));
    return std::string("QI ") + text + " 0";
}

class Backpressure : public ProcessTest {
  protected:
    int reports = 0; // asked for so far, and answered
    steady_clock::time_point last_sign_of_life;

    // Short segments and a small window: tens of kilobytes fill the sockets, not megabytes.
    void listen_with_little_room()
    {
        const int bytes = 2048;
        const int segment = 536;
        reserve_port(router);
        ASSERT_EQ(setsockopt(router.listener, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes), 0);
        ASSERT_EQ(setsockopt(router.listener, IPPROTO_TCP, TCP_MAXSEG, &segment, sizeof segment),
                  0);
        listen_for_client(router);
    }

    // Any message ends a status request, so that the backend keeps a router that reads nothing.
    void show_life()
    {
        if (steady_clock::now() - last_sign_of_life < std::chrono::milliseconds(100)) return;
        send_bytes(router, frame(body("KB", {"F", "0"})));
        last_sign_of_life = steady_clock::now();
    }

    // Returns when the replies have come, so that all queries have been composed.
    void ask_for_reports(int count)
    {
        for (int i = 0; i < count; ++i)
            say("*COMMAND=report\n*TYPE=command\nwhat=outputs\n*ID=report");
        int replies = 0;
        ASSERT_TRUE(until([&] {
            show_life();
            for (; !backend.records.empty(); backend.records.pop_front())
                if (backend.records.front().id == "report") ++replies;
            return replies == count;
        }));
        reports += count;
    }

    // All that the reports' queries take.
    std::size_t bytes_said() const
    {
        std::size_t size = 0;
        for (int output = 0; output < OUTPUTS; ++output) {
            const std::string query = query_of(output);
            size += frame(body("QI", {query.substr(3, query.size() - 5), "0"})).size();
        }
        return size * static_cast<std::size_t>(reports);
    }

    // What has left the backend and has not been read.
    std::size_t bytes_in_sockets() const
    {
        return static_cast<std::size_t>(bytes_unread(router.client)) + bytes_unsent_to(router.port);
    }

    // Reads until each output has been asked for in each of the reports.
    std::map<std::string, int> read_queries()
    {
        std::map<std::string, int> received;
        int left = reports * OUTPUTS;
        router.reads = true;
        EXPECT_TRUE(until([&] {
            for (const std::string& request : router.requests) {
                if (!request.starts_with("QI ") && request != "bad frame") continue;
                ++received[request];
                --left;
            }
            router.requests.clear();
            return left <= 0;
        }));
        return received;
    }
};
} // namespace

TEST_F(Backpressure, HoldsNobodyUpAndTearsNoFrame)
{
    router.answers = healthy_answers();
    listen_with_little_room();
    start_on_router("outputs=" + std::to_string(OUTPUTS) + "\n");
    ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 1; }));
    router.requests.clear();
    router.reads = false;
    while (bytes_in_sockets() >= bytes_said()) {
        ask_for_reports(5);
        if (HasFatalFailure()) return;
    }
    const auto received = read_queries();
    EXPECT_EQ(received.size(), static_cast<std::size_t>(OUTPUTS));
    EXPECT_THAT(received, Each(Pair(testing::_, reports)));
    EXPECT_FALSE(received.contains("bad frame"));
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
}
