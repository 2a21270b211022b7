#include "server/web/live_events.h"

#include <sodium.h>

#include "server/web/live_topics.h"

namespace web {

namespace {
constexpr int VARIANT = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
const auto END = std::make_shared<const std::string>("\n\n");

std::string encoded(const std::string& text)
{
    std::string code(sodium_base64_ENCODED_LEN(text.size(), VARIANT), '\0');
    sodium_bin2base64(code.data(), code.size(), reinterpret_cast<const unsigned char*>(text.data()),
                      text.size(), VARIANT);
    code.pop_back(); // the terminating zero
    return code;
}

std::string decoded(const std::string& code)
{
    std::string text(code.size(), '\0');
    std::size_t length = 0;
    if (sodium_base642bin(reinterpret_cast<unsigned char*>(text.data()), text.size(), code.data(),
                          code.size(), nullptr, &length, nullptr, VARIANT) != 0)
        return {};
    text.resize(length);
    return text;
}

// "INSTANCE;routers/r1=131;me=12", encoded: what the client has.
std::string event_id(const server& server, stream_id stream, const live_client& client)
{
    std::string text = desk::text_of(server.instance);
    for (const live_topic& each : client.topics) {
        const subscription& has = server.live.topics.at(each).subscribers.at(stream);
        if (has.revision) text += ";" + text_of(each) + "=" + std::to_string(*has.revision);
    }
    return encoded(text);
}

bool read_number(std::string_view text, std::uint64_t& number)
{
    number = 0;
    if (text.empty() || text.size() > 18) return false;
    for (const char each : text) {
        if (each < '0' || each > '9') return false;
        number = number * 10 + static_cast<std::uint64_t>(each - '0');
    }
    return true;
}
} // namespace

void send_event(const server& server, stream_id stream, const live_client& client,
                const std::string& type, const live_bytes& message)
{
    std::string head = "event: " + type + "\n";
    if (type == "snapshot" || type == "change") {
        const std::string id = event_id(server, stream, client);
        if (id.size() <= LONGEST_EVENT_ID) head += "id: " + id + "\n";
    }
    server.clients.send(stream, std::make_shared<const std::string>(head + "data: "));
    server.clients.send(stream, message);
    server.clients.send(stream, END);
}

std::map<std::string, std::uint64_t> read_event_id(const server& server, const std::string& id)
{
    if (id.size() > LONGEST_EVENT_ID) return {};
    const std::string text = decoded(id);
    std::string_view rest = text;
    std::map<std::string, std::uint64_t> has;
    if (rest.substr(0, rest.find(';')) != desk::text_of(server.instance)) return has;
    while (rest.find(';') != std::string_view::npos) {
        rest.remove_prefix(rest.find(';') + 1);
        const std::string_view one = rest.substr(0, rest.find(';'));
        const auto equals = one.find('=');
        std::uint64_t revision = 0;
        if (equals != std::string_view::npos && read_number(one.substr(equals + 1), revision))
            has[std::string(one.substr(0, equals))] = revision;
    }
    return has;
}

} // namespace web
