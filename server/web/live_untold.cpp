#include "server/web/live_untold.h"

#include <utility>

#include "server/web/live_following.h"
#include "server/web/live_person_data.h"
#include "server/web/server_json.h"
#include "server/web/settings_json.h"

namespace web {

namespace {
using topic_kind = live_topic::kind;
using thing_kind = live_thing::kind;

// Whoever sees all sees every difference.
const desk::actor& all_seeing()
{
    static const desk::actor ALL{"server", "server", {desk::right::administer, {}, {}}};
    return ALL;
}

bool is_followed(const server& server, const live_topic& which)
{
    const auto found = server.live.topics.find(which);
    return found != server.live.topics.end() && !found->second.subscribers.empty();
}

void note_text(server& server, const live_topic& which, thing_kind what, std::string text)
{
    std::string& known = find_topic(server, which).text;
    if (known == text) return;
    known = std::move(text);
    note_thing(server, which, {what, 0, ""});
}

void note_steps(server& server, const desk::moment& now)
{
    const live_topic first{topic_kind::me, ""};
    for (auto it = server.live.topics.lower_bound(first);
         it != server.live.topics.end() && it->first.what == topic_kind::me; ++it) {
        const auto steps = count_steps(server, now, it->first.subject);
        if (std::exchange(it->second.steps, steps) != steps)
            note_thing(server, it->first, {thing_kind::undo, 0, ""});
    }
}
} // namespace

void note_frames(server& server)
{
    for (auto it = server.live.topics.lower_bound({topic_kind::trace, ""});
         it != server.live.topics.end(); ++it) {
        change_log& log = it->second.log;
        change_log present = trace_log(server, it->first.subject);
        if (present.revision == log.revision) continue;
        log = std::move(present);
        mark(server, it->first, it->second);
    }
}

void note_figures(server& server, const desk::moment& now)
{
    const live_topic operators{topic_kind::operators, ""};
    if (is_followed(server, operators))
        note_text(server, operators, thing_kind::operators,
                  text_of(operators_json(server, now, all_seeing())));
    const live_topic figures{topic_kind::server, ""};
    if (is_followed(server, figures)) {
        json told = server_json(server, now, all_seeing());
        told.erase("time");
        note_text(server, figures, thing_kind::server, text_of(told));
    }
    note_steps(server, now);
}

void note_settings(server& server)
{
    const live_topic first{topic_kind::me, ""};
    for (auto it = server.live.topics.lower_bound(first);
         it != server.live.topics.end() && it->first.what == topic_kind::me; ++it)
        note_text(server, it->first, thing_kind::settings,
                  text_of(settings_json(server, it->first.subject)));
}

} // namespace web
