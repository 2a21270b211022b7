#include "server/web/live_messages.h"

#include "server/desk/words.h"
#include "server/web/body.h"
#include "server/web/fields.h"
#include "server/web/live_clients.h"
#include "server/web/live_telling.h"
#include "server/web/live_topics.h"

namespace web {

namespace {
struct said {
    web::server& server;
    desk::moment now;
    stream_id stream;
    live_client& client;
};

// Those that the client may follow; of the others it is told why not.
std::vector<live_topic> read_topics(const said& said, const json& names)
{
    std::vector<live_topic> topics;
    for (const json& each : names) {
        const std::string name = each.is_string() ? each.get<std::string>() : text_of(each);
        const auto topic = read_topic(name, said.client.actor.person);
        std::optional<problem> wrong =
            topic ? check_topic(said.server, said.client.actor, *topic)
                  : problem{"noSuchTopic", "There is no topic " + desk::cut_text(name) + "."};
        if (!wrong)
            topics.push_back(*topic);
        else
            tell_error(said.server, said.now, said.stream, said.client, *wrong,
                       desk::cut_text(name));
    }
    return topics;
}

std::optional<std::uint64_t> revision_in(const json* since, const std::string& topic)
{
    if (since == nullptr) return {};
    const auto found = since->find(topic);
    if (found == since->end() || !found->is_number_unsigned()) return {};
    return found->get<std::uint64_t>();
}

void subscribe(const said& said, fields& fields)
{
    const json* const names = read_array(fields, "topics", TOPICS_OF_A_CLIENT);
    const json* since = find_member(fields, "since");
    const auto instance = read_text(fields, "instance");
    if (since != nullptr && !since->is_object()) complain(fields, "since", "must be an object");
    finish(fields);
    if (!fields.wrong.empty()) return;
    if (instance != desk::text_of(said.server.instance)) since = nullptr;
    for (const live_topic& each : read_topics(said, *names)) {
        if (!said.client.topics.contains(each) && said.client.topics.size() >= TOPICS_OF_A_CLIENT) {
            tell_error(said.server, said.now, said.stream, said.client,
                       {"tooManyAtOnce", "You follow as many topics as there may be."},
                       text_of(each));
            break;
        }
        follow_topic(said.server, said.now, said.stream, each, revision_in(since, text_of(each)));
    }
    begin_topics(said.server, said.now, said.stream, said.client);
}

void unsubscribe(const said& said, fields& fields)
{
    const json* const names = read_array(fields, "topics", TOPICS_OF_A_CLIENT);
    finish(fields);
    if (!fields.wrong.empty()) return;
    for (const json& each : *names)
        if (each.is_string())
            if (const auto topic = read_topic(each.get<std::string>(), said.client.actor.person))
                unfollow_topic(said.server, said.stream, *topic);
}

void set_presence(const said& said, fields& fields)
{
    const auto screen = read_text(fields, "screen");
    const auto router = read_text(fields, "router", desk::ROUTER_ID_LENGTH);
    require(fields, "screen");
    finish(fields);
    if (!fields.wrong.empty()) return;
    said.client.screen = desk::cut_text(*screen);
    said.client.router = router.value_or("");
}

void hear_type(const said& said, const std::string& type, fields& fields)
{
    if (type == "subscribe") return subscribe(said, fields);
    if (type == "unsubscribe") return unsubscribe(said, fields);
    if (type == "presence") return set_presence(said, fields);
    if (type != "heartbeat") return complain(fields, "type", "there is no message of this type");
    check_client(said.server, said.now, said.stream, said.client);
    tell_heartbeat(said.server, said.now, said.stream, said.client);
}
} // namespace

void hear_client(server& server, const desk::moment& now, stream_id stream, const std::string& text)
{
    const auto found = server.live.clients.find(stream);
    if (found == server.live.clients.end() || server.live.ending.contains(stream)) return;
    found->second.heard = now.steady;
    json message;
    std::string error;
    if (!read_json(text, message, error)) return end_client(server, stream, 1008, error);
    std::vector<problem_at> wrong;
    fields fields = fields_of(message, "", wrong);
    const auto type = read_text(fields, "type");
    require(fields, "type");
    if (wrong.empty()) hear_type({server, now, stream, found->second}, *type, fields);
    if (!wrong.empty())
        end_client(server, stream, 1008, wrong.front().pointer + ": " + wrong.front().detail);
}

} // namespace web
