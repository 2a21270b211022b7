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
    int reports = 0; // asked for over this connection, and answered
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

    // Returns when the reply has come, so that all queries have been composed.
    void ask_for_report()
    {
        say("*COMMAND=report\n*TYPE=command\nwhat=outputs\n*ID=report");
        ASSERT_TRUE(until([this] {
            show_life();
            for (; !backend.records.empty(); backend.records.pop_front())
                if (backend.records.front().id == "report") return true;
            return false;
        }));
        backend.records.pop_front();
        ++reports;
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

    void fill_sockets()
    {
        ASSERT_TRUE(until([this] { return count_requests(router, "QD") >= 1; }));
        router.requests.clear();
        router.reads = false;
        reports = 0;
        while (bytes_in_sockets() >= bytes_said())
            ASSERT_NO_FATAL_FAILURE(ask_for_report());
    }

    // Reads until each output has been asked for in each of the reports, or the connection is lost.
    // Returns how often each query has come.
    std::map<std::string, int> read_queries()
    {
        std::map<std::string, int> received;
        const int losses = router.endings;
        int left = reports * OUTPUTS;
        router.reads = true;
        EXPECT_TRUE(until([&] {
            for (const std::string& request : router.requests) {
                if (!request.starts_with("QI ") && request != "bad frame") continue;
                ++received[request];
                --left;
            }
            router.requests.clear();
            return left <= 0 || router.endings > losses;
        }));
        return received;
    }
};
} // namespace

// On a machine too slow for the deadline of a status request the connection is lost; the next one
// is tried then.
TEST_F(Backpressure, HoldsNobodyUpAndTearsNoFrame)
{
    router.answers = healthy_answers();
    listen_with_little_room();
    start_on_router("outputs=" + std::to_string(OUTPUTS) + "\n");
    std::map<std::string, int> received;
    do {
        ASSERT_NO_FATAL_FAILURE(fill_sockets());
        received = read_queries();
    } while (router.endings == router.connections);
    EXPECT_EQ(received.size(), static_cast<std::size_t>(OUTPUTS));
    EXPECT_THAT(received, Each(Pair(testing::_, reports)));
    EXPECT_FALSE(received.contains("bad frame"));
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
}
