#include "bench/workloads/control_server.h"

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>

namespace bench {

namespace {
using nlohmann::json;

// What stands between two marks.
std::string between(const std::string& text, std::string_view begin, std::string_view end)
{
    const std::size_t found = text.find(begin);
    if (found == std::string::npos) return "";
    const std::size_t from = found + begin.size();
    return text.substr(from, text.find(end, from) - from);
}

std::string wait_for(int descriptor, std::string_view mark)
{
    std::string text;
    while (text.find(mark) == std::string::npos)
        if (common::read_some(descriptor, text) == common::read_outcome::ended)
            throw std::runtime_error("The control server says only: " + text);
    return text;
}

common::owned_descriptor connect_to_port(std::uint16_t port)
{
    tcp_router at;
    at.port = port;
    return common::owned_descriptor(connect_to(at));
}

std::string head_of(const control_server& server, const std::string& method,
                    const std::string& path)
{
    const std::string origin = "127.0.0.1:" + std::to_string(server.port);
    return method + " /api/v1" + path + " HTTP/1.1\r\nHost: " + origin + "\r\nOrigin: http://" +
           origin + "\r\nCookie: " + server.cookie + "\r\n";
}

void make_administrator(control_server& server, const std::string& code)
{
    web_client client = connect_to_control(server);
    const json body = {{"code", code},
                       {"id", "bench"},
                       {"name", "Bench"},
                       {"password", "correct horse battery staple"}};
    ask(client, server, "POST", "/first-administrator", body.dump());
    const std::string head = wait_for(client.socket.number, "\r\n\r\n");
    server.cookie = between(head, "et-cookie: ", ";");
    if (server.cookie.empty()) server.cookie = between(head, "et-Cookie: ", ";");
    if (server.cookie.empty()) throw std::runtime_error("The control server answers: " + head);
}
} // namespace

std::unique_ptr<control_server> start_control(const program_paths& programs)
{
    auto started = std::make_unique<control_server>();
    std::string error;
    const std::string data = (started->directory.path / "data").string();
    if (!common::start_on_pipes(
            started->child, started->pipes,
            {programs.control, "--data", data, "--port", "0", "--backend", programs.backend},
            common::error_output::discarded, error))
        throw std::runtime_error(error);
    std::string printed = wait_for(started->pipes.output.number, "/first#");
    while (printed.find('\n', printed.find("/first#")) == std::string::npos)
        common::read_some(started->pipes.output.number, printed);
    const std::string port = between(printed, "http://127.0.0.1:", "/");
    started->port = static_cast<std::uint16_t>(std::stoi(port));
    make_administrator(*started, between(printed, "/first#", "\n"));
    return started;
}

web_client connect_to_control(const control_server& server)
{
    return {.socket = connect_to_port(server.port)};
}

void ask(web_client& client, const control_server& server, const std::string& method,
         const std::string& path, const std::string& body)
{
    std::string request = head_of(server, method, path);
    if (!body.empty())
        request +=
            "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n";
    client.asked = now_in_us();
    common::write_all(client.socket.number, request + "\r\n" + body);
}

std::optional<web_answer> read_answer(web_client& client)
{
    std::array<char, 65'536> bytes{};
    for (ssize_t size = 0;
         (size = recv(client.socket.number, bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0;)
        client.got.append(bytes.data(), static_cast<std::size_t>(size));
    const std::size_t end = client.got.find("\r\n\r\n");
    if (end == std::string::npos) return std::nullopt;
    const std::string length = between(client.got.substr(0, end + 2), "ontent-Length: ", "\r\n");
    const std::size_t size = length.empty() ? 0 : std::stoul(length);
    if (client.got.size() < end + 4 + size) return std::nullopt;
    web_answer answer{std::stoi(client.got.substr(9, 3)), client.got.substr(end + 4, size)};
    client.got.erase(0, end + 4 + size);
    return answer;
}

std::string answer_of(web_client& client, const control_server& server, const std::string& method,
                      const std::string& path, const std::string& body)
{
    ask(client, server, method, path, body);
    std::optional<web_answer> answer;
    while (!(answer = read_answer(client)))
        if (common::read_some(client.socket.number, client.got) == common::read_outcome::ended)
            throw std::runtime_error("The control server has ended the connection.");
    client.asked = 0;
    if (answer->status >= 300)
        throw std::runtime_error("The control server answers: " + answer->body);
    return answer->body;
}

void add_router(web_client& client, const control_server& server, std::size_t number,
                std::uint16_t port)
{
    const std::string id = "r" + std::to_string(number);
    answer_of(client, server, "POST", "/routers",
              json{{"id", id}, {"name", id}, {"address", "127.0.0.1"}, {"port", port}}.dump());
}

namespace {
// One text frame of a client, with a mask that changes nothing.
std::string client_frame(const std::string& text)
{
    std::string frame = "\x81";
    if (text.size() < 126)
        frame += static_cast<char>(0x80 | text.size());
    else
        frame += {'\xFE', static_cast<char>(text.size() >> 8), static_cast<char>(text.size())};
    return frame + std::string(4, '\0') + text;
}

struct server_frame {
    bool last = false; // of its message
    bool is_text = false;
    std::string_view payload;
    std::size_t size = 0; // with its head
};

// Nothing while it is not whole.
std::optional<server_frame> frame_at(std::string_view bytes)
{
    const auto byte = [&](std::size_t at) {
        return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at]));
    };
    if (bytes.size() < 2) return std::nullopt;
    std::size_t length = byte(1);
    const std::size_t more = length == 127 ? 8 : length == 126 ? 2 : 0;
    if (bytes.size() < 2 + more) return std::nullopt;
    if (more > 0) length = 0;
    for (std::size_t i = 0; i < more; ++i)
        length = length << 8 | byte(2 + i);
    if (bytes.size() < 2 + more + length) return std::nullopt;
    return server_frame{(byte(0) & 0x80) != 0, (byte(0) & 0x0F) < 2, bytes.substr(2 + more, length),
                        2 + more + length};
}
} // namespace

follower follow(const control_server& server, std::size_t routers)
{
    follower made{.socket = connect_to_port(server.port)};
    common::write_all(
        made.socket.number,
        head_of(server, "GET", "/live") +
            "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
            "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
            "Sec-WebSocket-Protocol: router-control.v1\r\n\r\n");
    const std::string answer = wait_for(made.socket.number, "\r\n\r\n");
    if (!answer.starts_with("HTTP/1.1 101"))
        throw std::runtime_error("The control server answers: " + answer);
    made.got = answer.substr(answer.find("\r\n\r\n") + 4);
    json topics = json::array();
    for (std::size_t i = 0; i < routers; ++i)
        topics.push_back("routers/r" + std::to_string(i));
    common::write_all(made.socket.number,
                      client_frame(json{{"type", "subscribe"}, {"topics", topics}}.dump()));
    std::string error;
    if (!common::set_nonblocking(made.socket.number, error)) throw std::runtime_error(error);
    return made;
}

void send_heartbeat(follower& follower)
{
    common::write_all(follower.socket.number,
                      client_frame(R"({"type":"heartbeat","time":"2026-01-01T00:00:00.000Z"})"));
}

void read_messages(follower& follower, const std::function<void(std::string_view message)>& each)
{
    if (!common::read_available(follower.socket.number, follower.got))
        throw std::runtime_error("The control server has left a follower.");
    std::size_t done = 0;
    while (const auto frame = frame_at(std::string_view(follower.got).substr(done))) {
        done += frame->size;
        if (!frame->is_text) continue;
        follower.message += frame->payload;
        if (!frame->last) continue;
        each(follower.message);
        follower.message.clear();
    }
    follower.got.erase(0, done);
}

} // namespace bench
