#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "soak/other_port.h"
#include "support/forced_results.h"

using namespace soak;

namespace {
common::owned_descriptor connected_to(std::uint16_t port)
{
    common::owned_descriptor visitor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    EXPECT_EQ(connect(visitor.number, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return visitor;
}
} // namespace

TEST(SoakOtherPort, IsVisitedByWhoeverConnects)
{
    other_port port;
    std::string error;
    ASSERT_TRUE(open_other_port(port, error)) << error;
    EXPECT_FALSE(was_visited(port));
    for (int i = 0; i < 2; ++i) {
        const common::owned_descriptor visitor = connected_to(port.number);
        EXPECT_TRUE(was_visited(port));
        EXPECT_FALSE(was_visited(port));
        std::string bytes;
        common::read_to_end(visitor.number, bytes); // it is sent away
    }
}
