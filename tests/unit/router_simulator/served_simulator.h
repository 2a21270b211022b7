// A simulated router served in-process, with clients that the test holds the other end of.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "router_simulator/program/server.h"
#include "router_simulator/wire/listener.h"
#include "support/backend_test.h"

namespace router_simulator {

class ServedSimulator : public testing::Test {
  protected:
    void TearDown() override
    {
        stop_server(simulated);
        for (const int end : ends)
            close(end);
    }

    // A new client; returns the test's end of its connection.
    int connect_client()
    {
        int pair[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair), 0);
        add_client(simulated, pair[0], "test");
        ends.push_back(pair[1]);
        return pair[1];
    }

    void listen_anywhere()
    {
        std::string error;
        EXPECT_TRUE(start_listening(server, "127.0.0.1", 0, error)) << error;
    }

    // What a connection to the listening address ends with: 0 or the error.
    int try_to_connect()
    {
        const std::string address = listening_address(server);
        const std::size_t colon = address.find(':');
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(colon + 1))));
        inet_pton(AF_INET, address.substr(0, colon).c_str(), &target.sin_addr);
        ends.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const auto* const generic = reinterpret_cast<const sockaddr*>(&target);
        return connect(ends.back(), generic, sizeof target) == 0 ? 0 : errno;
    }

    // A TCP connection to the listening address; the server has not seen it yet.
    int connect_over_tcp()
    {
        EXPECT_EQ(try_to_connect(), 0);
        return ends.back();
    }

    void says(int end, std::string_view bytes)
    {
        EXPECT_EQ(send(end, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
        serve(simulated, 0);
    }

    static std::string hears(int end)
    {
        std::string bytes;
        char buffer[65536];
        for (ssize_t count = recv(end, buffer, sizeof buffer, MSG_DONTWAIT); count > 0;
             count = recv(end, buffer, sizeof buffer, MSG_DONTWAIT))
            bytes.append(buffer, static_cast<std::size_t>(count));
        return bytes;
    }

    std::vector<std::string> printed;
    std::vector<int> ends;
    simulator simulated{
        .server = {.router = make_router(
                       {.sources = 4, .destinations = 3, .source_base = 0, .destination_base = 0}),
                   .print = [this](const std::string& line) {
                       printed.push_back(line);
                   }}};
    simulator_server& server = simulated.server;
};

} // namespace router_simulator
