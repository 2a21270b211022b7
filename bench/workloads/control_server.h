// A control server under measurement, with an administrator signed in, and its clients. Everything
// throws when the server does not answer, or refuses.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bench/workloads/measured_program.h"
#include "tools/common/child_process.h"
#include "tools/common/descriptors.h"

namespace bench {

struct control_server {
    temporary_directory directory;
    common::child_process child;
    common::child_pipes pipes;
    std::uint16_t port = 0;
    std::string cookie; // of the administrator's session
};

std::unique_ptr<control_server> start_control(const program_paths& programs);

// A connection that asks one thing after the other.
struct web_client {
    common::owned_descriptor socket;
    std::string got{}; // that belongs to no answer yet
    double asked = 0;  // when; 0: it waits for no answer
};

struct web_answer {
    int status = 0;
    std::string body;
};

web_client connect_to_control(const control_server& server);
void ask(web_client& client, const control_server& server, const std::string& method,
         const std::string& path, const std::string& body = "");
// Of what is there, without waiting.
std::optional<web_answer> read_answer(web_client& client);
// Asks and waits. Throws for statuses from 300.
std::string answer_of(web_client& client, const control_server& server, const std::string& method,
                      const std::string& path, const std::string& body = "");

// A router at this port, by the name of "r" and its number.
void add_router(web_client& client, const control_server& server, std::size_t number,
                std::uint16_t port);

// Somebody who is told live what changes.
struct follower {
    common::owned_descriptor socket; // is read without waiting
    std::string got{};               // that is no whole frame yet
    std::string message{};           // whose last frame has not come yet
};

// Follows the routes of the first `routers` routers.
follower follow(const control_server& server, std::size_t routers);
void send_heartbeat(follower& follower);
// Calls the function with each whole message that has come.
void read_messages(follower& follower, const std::function<void(std::string_view message)>& each);

} // namespace bench
