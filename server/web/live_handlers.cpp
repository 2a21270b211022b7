#include <algorithm>

#include "server/web/credentials.h"
#include "server/web/handlers.h"
#include "server/web/live_clients.h"
#include "server/web/live_events.h"
#include "server/web/live_streams.h"
#include "server/web/live_telling.h"
#include "server/web/live_topics.h"
#include "tools/common/words.h"

namespace web {

namespace {
constexpr std::string_view SUBPROTOCOL = "router-control.v1";

// Whether a list as headers have it, "a, b", has the word in it.
bool lists_word(const std::string* list, std::string_view word)
{
    std::string_view rest = list == nullptr ? std::string_view() : *list;
    while (!rest.empty()) {
        std::string_view one = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), one.size() + 1));
        while (one.starts_with(' '))
            one.remove_prefix(1);
        while (one.ends_with(' '))
            one.remove_suffix(1);
        if (common::same_name(one, word)) return true;
    }
    return false;
}

// What is against one more client of this person.
std::optional<problem> check_room(const server& server, const std::string& person)
{
    if (server.stopping) return problem{"stopping", "The server is ending; nothing new is taken."};
    const auto& clients = server.live.clients;
    if (clients.size() >= LIVE_CLIENTS)
        return problem{"overloaded", "As many follow already as there may be."};
    const auto same = std::count_if(clients.begin(), clients.end(), [&](const auto& each) {
        return each.second.actor.person == person;
    });
    if (same >= static_cast<std::ptrdiff_t>(LIVE_CLIENTS_OF_A_PERSON))
        return problem{"tooManyRequests", person + " follows as often as one person may."};
    return {};
}

std::optional<problem> read_topics(const server& server, const call& call,
                                   std::vector<live_topic>& topics)
{
    const std::string* const list = find_parameter(call.request, "topics");
    std::string_view rest = list == nullptr ? std::string_view() : *list;
    if (rest.empty()) return problem{"badValue", "topics is missing"};
    while (!rest.empty()) {
        const std::string name(rest.substr(0, rest.find(',')));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        const auto topic = read_topic(name, call.actor.person);
        if (!topic) return problem{"noSuchTopic", "There is no topic " + name + "."};
        if (auto wrong = check_topic(server, call.actor, *topic)) return wrong;
        topics.push_back(*topic);
    }
    if (topics.size() <= TOPICS_OF_A_CLIENT) return {};
    return problem{"badValue", "these are more topics than there may be"};
}

answer open_live(const call& call)
{
    answer live;
    live.subprotocol = SUBPROTOCOL;
    live.opened = [request = call.request,
                   actor = call.actor](server& server, const desk::moment& now, stream_id stream) {
        return add_client(server, now, stream, request, actor, false);
    };
    return live;
}

// `has`: the revisions that the client has, by topic.
answer open_events(const call& call, const std::vector<live_topic>& topics,
                   const std::map<std::string, std::uint64_t>& has)
{
    answer events(response{200, "text/event-stream", "", {{"Cache-Control", "no-store"}}});
    events.opened = [request = call.request, actor = call.actor, topics,
                     has](server& server, const desk::moment& now, stream_id stream) {
        stream_owner owner = add_client(server, now, stream, request, actor, true);
        for (const live_topic& each : topics) {
            const auto known = has.find(text_of(each));
            follow_topic(server, now, stream, each,
                         known == has.end() ? std::optional<std::uint64_t>() : known->second);
        }
        begin_topics(server, now, stream, server.live.clients.at(stream));
        return owner;
    };
    return events;
}
} // namespace

answer follow_live(server& server, const call& call)
{
    if (!lists_word(find_header(call.request, "upgrade"), "websocket") ||
        !lists_word(find_header(call.request, "sec-websocket-protocol"), SUBPROTOCOL)) {
        answer refused(problem{"upgradeRequired", "Ask for an upgrade to websocket with the "
                                                  "subprotocol router-control.v1."});
        refused.response.headers.emplace_back("Upgrade", "websocket");
        return refused;
    }
    problem foreign; // a page of another site could read it otherwise
    if (!comes_from_us(server, call.request, true, foreign)) return foreign;
    if (const auto wrong = check_room(server, call.actor.person)) return *wrong;
    return open_live(call);
}

answer follow_events(server& server, const call& call)
{
    std::vector<live_topic> topics;
    if (const auto wrong = read_topics(server, call, topics)) return *wrong;
    if (const auto wrong = check_room(server, call.actor.person)) return *wrong;
    const std::string* const last = find_header(call.request, "last-event-id");
    return open_events(call, topics, read_event_id(server, last == nullptr ? "" : *last));
}

} // namespace web
