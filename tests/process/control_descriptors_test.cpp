// The control server when the system gives it no descriptor any more.
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>

#include "support/control_house.h"
#include "support/descriptors.h"
#include "support/patience.h"

using nlohmann::json;

namespace {
// It has more open already; no fewer, or the system refuses to poll some at a time.
constexpr rlim_t NONE_LEFT = 8;

class ControlDescriptors : public ControlHouse {
  protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(set_up());
        ASSERT_NO_FATAL_FAILURE(add_router("r1"));
        ASSERT_NO_FATAL_FAILURE(add_router("r2"));
    }

    owned_descriptor connection() const
    {
        owned_descriptor made(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
        const timeval longest{std::chrono::seconds(PATIENCE).count(), 0}; // of a read
        checked(setsockopt(made.number, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest));
        sockaddr_in its{};
        its.sin_family = AF_INET;
        its.sin_port =
            htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
        its.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        checked(connect(made.number, reinterpret_cast<const sockaddr*>(&its), sizeof its));
        return made;
    }

    std::string take_request(const std::string& router, int destination, int source) const
    {
        const std::string body = json{{"source", source}}.dump();
        return "PUT /api/v1/routers/" + router + "/destinations/" + std::to_string(destination) +
               "/route?wait=60000 HTTP/1.1\r\nHost: " + address.substr(address.rfind('/') + 1) +
               "\r\nAuthorization: Bearer " + token +
               "\r\nContent-Type: application/json\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    // The next answer's body; empty when the connection ends first, or after a long time.
    static std::string answer_on(const owned_descriptor& connection)
    {
        std::string text;
        const std::string length = "Content-Length: ";
        while (common::read_some(connection.number, text) != common::read_outcome::ended) {
            const std::size_t head = text.find("\r\n\r\n");
            if (head == std::string::npos) continue;
            const std::size_t bytes = std::stoul(text.substr(text.find(length) + length.size()));
            if (text.size() >= head + 4 + bytes) return text.substr(head + 4);
        }
        return "";
    }

    void expect_taken_on(const owned_descriptor& connection, int destination, int source)
    {
        write_all(connection.number, take_request("r1", destination, source));
        expect_confirmed(answer_on(connection));
    }

    static void expect_confirmed(const std::string& answer)
    {
        const json told = json::parse(answer, nullptr, false);
        ASSERT_TRUE(told.contains("rows")) << answer;
        EXPECT_EQ(told["rows"][0].value("outcome", ""), "confirmed") << told;
    }

    // It can open none from now on that has this number or a higher one.
    void allow_descriptors(rlim_t number) const
    {
        rlimit limit{};
        ASSERT_EQ(prlimit(server.process, RLIMIT_NOFILE, nullptr, &limit), 0);
        limit.rlim_cur = std::min(number, limit.rlim_max);
        ASSERT_EQ(prlimit(server.process, RLIMIT_NOFILE, &limit, nullptr), 0);
    }

    // All numbers below it are in use.
    rlim_t lowest_free() const
    {
        const std::filesystem::path open = "/proc/" + std::to_string(server.process) + "/fd";
        rlim_t number = 0;
        while (std::filesystem::is_symlink(open / std::to_string(number)))
            ++number;
        return number;
    }

    std::chrono::milliseconds processor_time() const
    {
        std::ifstream file("/proc/" + std::to_string(server.process) + "/stat");
        std::string text;
        std::getline(file, text);
        std::istringstream fields(text.substr(text.rfind(')') + 2));
        std::string skipped;
        for (int field = 3; field < 14; ++field)
            fields >> skipped;
        long user = 0;
        long system = 0;
        fields >> user >> system;
        return std::chrono::milliseconds((user + system) * 1000 / sysconf(_SC_CLK_TCK));
    }
};
} // namespace

TEST_F(ControlDescriptors, AreNotNeededByWhoeverIsThere)
{
    const owned_descriptor there = connection();
    expect_taken_on(there, 1, 20);
    allow_descriptors(NONE_LEFT);
    for (int i = 0; i < 4; ++i)
        expect_taken_on(there, i, 10 + i);
    allow_descriptors(RLIM_INFINITY);
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlDescriptors, AreWaitedForWithoutHaste)
{
    allow_descriptors(NONE_LEFT);
    const owned_descriptor early = connection();
    write_all(early.number, take_request("r1", 1, 20));
    kill(backend_of("r2"), SIGKILL);
    const auto before = processor_time();
    std::this_thread::sleep_for(std::chrono::seconds(2)); // a busy loop would use most of it
    EXPECT_LT(processor_time() - before, std::chrono::milliseconds(400));
    char byte = 0;
    EXPECT_EQ(recv(early.number, &byte, 1, MSG_PEEK | MSG_DONTWAIT), -1) << "nobody has answered";
    allow_descriptors(RLIM_INFINITY);
    expect_confirmed(answer_on(early));
    until_ready("r2");
    EXPECT_EQ(take("r2", 1, 20).outcome, "confirmed");
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlDescriptors, AreTakenFromWhomeverHoldsThemIdly)
{
    std::vector<owned_descriptor> idle;
    for (int i = 0; i < 20; ++i)
        idle.push_back(connection());
    const owned_descriptor last = connection();
    expect_taken_on(last, 1, 20); // all are there by now
    allow_descriptors(lowest_free());
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(take("r1", i, 10 + i).outcome, "confirmed");
    allow_descriptors(RLIM_INFINITY);
    EXPECT_EQ(take("r1", 1, 20).outcome, "confirmed");
    EXPECT_EQ(end(SIGTERM), 0);
}
