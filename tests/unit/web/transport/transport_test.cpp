#include "unit/web/transport/transport_test.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include "support/patience.h"

namespace {
constexpr std::chrono::milliseconds LOOK_EVERY{2}; // at the clients' sockets

// What is there.
void receive(test_client& client)
{
    std::array<char, 65'536> bytes{};
    while (!client.ended && client.socket.number >= 0) {
        const ssize_t size = recv(client.socket.number, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (size > 0)
            client.got.append(bytes.data(), static_cast<std::size_t>(size));
        else if (size < 0 && errno == EAGAIN)
            return;
        else
            client.ended = true;
        client.reset = size < 0;
    }
}

std::string shown(const web::request& request)
{
    std::string text;
    for (const std::string& each : request.path)
        text += "/" + each;
    for (const auto& [name, value] : request.query)
        text += "?" + name + "=" + value;
    return text + " " + request.body;
}
} // namespace

void test_client::send(const std::string& bytes)
{
    ASSERT_EQ(::send(socket.number, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

void test_client::end_sending()
{
    ASSERT_EQ(shutdown(socket.number, SHUT_WR), 0);
}

void test_client::end_by_reset()
{
    const linger at_once{1, 0};
    setsockopt(socket.number, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    socket.reset();
}

TransportTest::TransportTest()
{
    on_request = [this](web::request_id id, const web::request& request) {
        web::respond(*served, id, {200, "text/plain", shown(request), {}});
    };
}

void TransportTest::start(const web::tls_files* tls, const std::string& address)
{
    served.emplace(
        loop,
        web::transport_hooks{
            .on_request =
                [this](web::request_id id, web::request&& request) {
                    requests[id] = std::move(request);
                    on_request(id, requests[id]);
                },
            .on_gone = [this](web::request_id id) { gone.push_back(id); },
            .on_message = [this](web::stream_id, std::string&& text) { messages.push_back(text); },
            .on_drained = [this](web::stream_id id) { drained.push_back(id); },
            .on_stream_gone =
                [this](web::stream_id id) {
                    streams_gone.push_back(id);
                }},
        limits);
    std::string error;
    host = address;
    port = web::listen(*served, address, 0, tls, error);
    ASSERT_NE(port, 0) << error;
}

test_client& TransportTest::connect()
{
    test_client& client = clients.emplace_back();
    client.socket = common::owned_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    EXPECT_EQ(inet_pton(AF_INET, host.c_str(), &address.sin_addr), 1);
    sockaddr_in own = address;
    own.sin_port = 0;
    EXPECT_EQ(bind(client.socket.number, reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
    EXPECT_EQ(::connect(client.socket.number, reinterpret_cast<const sockaddr*>(&address),
                        sizeof address),
              0);
    return client;
}

test_client& TransportTest::connect(const std::string& bytes)
{
    test_client& client = connect();
    client.send(bytes);
    return client;
}

void TransportTest::until(const std::string& what, const std::function<bool()>& holds)
{
    if (HasFatalFailure()) return; // what was waited for before has not come
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    bool held = false;
    web::call_after_each_pass(loop, [&]() -> std::optional<web::instant> {
        for (test_client& each : clients)
            receive(each);
        const auto now = std::chrono::steady_clock::now();
        held = holds();
        if (held || now > end) web::stop(loop);
        return now + LOOK_EVERY;
    });
    web::run(loop);
    ASSERT_TRUE(held) << what;
}

void TransportTest::until_ended(test_client& client)
{
    until("the connection ends", [&] { return client.ended; });
}

void TransportTest::until_got(test_client& client, const std::string& text)
{
    until(text, [&] { return client.got.find(text) != std::string::npos; });
}

void TransportTest::turns(int count)
{
    until("turns", [&] { return count-- == 0; });
}

std::string TransportTest::answers(const std::string& bytes)
{
    test_client& client = connect(bytes);
    until_ended(client);
    return client.got;
}

std::string status_line(const std::string& answer)
{
    return answer.substr(0, answer.find('\r'));
}

std::string body_of(const std::string& answer)
{
    const std::size_t end = answer.rfind("\r\n\r\n");
    return end == std::string::npos ? "" : answer.substr(end + 4);
}

std::string problem_of(const std::string& answer)
{
    const auto body = nlohmann::json::parse(body_of(answer), nullptr, false);
    if (!body.is_object() || answer.find("application/problem+json") == std::string::npos)
        return "";
    const std::string status = std::to_string(body["status"].get<int>());
    EXPECT_EQ(status_line(answer).substr(9, 3), status);
    return status + " " + body["code"].get<std::string>();
}
