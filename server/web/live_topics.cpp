#include "server/web/live_topics.h"

#include <array>

namespace web {

namespace {
using kind = live_topic::kind;

struct topic_word {
    kind what;
    std::string_view word;
};
constexpr auto WORDS = std::to_array<topic_word>({{kind::routers, "routers"},
                                                  {kind::operations, "operations"},
                                                  {kind::salvos, "salvos"},
                                                  {kind::operators, "operators"},
                                                  {kind::me, "me"},
                                                  {kind::server, "server"}});
constexpr auto OF_A_ROUTER =
    std::to_array<topic_word>({{kind::router, "routers/"}, {kind::trace, "trace/"}});

const std::string NOTHING_APART;
} // namespace

std::optional<live_topic> read_topic(std::string_view name, const std::string& person)
{
    for (const topic_word& each : WORDS)
        if (name == each.word) return live_topic{each.what, each.what == kind::me ? person : ""};
    for (const topic_word& each : OF_A_ROUTER)
        if (name.starts_with(each.word))
            return live_topic{each.what, std::string(name.substr(each.word.size()))};
    return {};
}

std::string text_of(const live_topic& topic)
{
    for (const topic_word& each : WORDS)
        if (topic.what == each.what) return std::string(each.word);
    return (topic.what == kind::router ? "routers/" : "trace/") + topic.subject;
}

std::optional<problem> check_topic(const server& server, const desk::actor& actor,
                                   const live_topic& topic)
{
    const bool of_a_router = topic.what == kind::router || topic.what == kind::trace;
    if (!of_a_router) return {};
    const desk::right needed =
        topic.what == kind::trace ? desk::right::engineer : desk::right::view;
    if (desk::right_on(actor.may, topic.subject) < needed)
        return problem{"noRight", actor.person + " may not follow " + text_of(topic) + "."};
    if (desk::find_live(server.desk, topic.subject) == nullptr)
        return problem{"noSuchRouter", "There is no router " + topic.subject + "."};
    return {};
}

desk::rights viewing_part(const desk::rights& rights)
{
    const auto part = [](desk::right right) {
        return right >= desk::right::view ? desk::right::view : desk::right::none;
    };
    desk::rights viewing;
    viewing.usual = part(rights.usual);
    for (const auto& [router, right] : rights.exceptions)
        if (part(right) != viewing.usual) viewing.exceptions[router] = part(right);
    return viewing;
}

std::string view_text(const desk::rights& viewing)
{
    std::string text = desk::text_of(viewing.usual);
    for (const auto& [router, right] : viewing.exceptions)
        text += " " + router;
    return text;
}

bool differs_by_view(const live_topic& topic)
{
    return topic.what != kind::router && topic.what != kind::trace && topic.what != kind::me;
}

const std::string& view_of(const live_topic& topic, const live_client& client)
{
    return differs_by_view(topic) ? client.view : NOTHING_APART;
}

} // namespace web
