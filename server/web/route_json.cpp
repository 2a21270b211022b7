#include "server/web/route_json.h"

#include "server/desk/words.h"
#include "server/journal/house_words.h"
#include "server/web/call.h"
#include "server/web/lock_json.h"
#include "server/web/operation_json.h"

namespace web {

namespace {
// When something of a batch happened, by the wall clock.
desk::wall time_of(const desk::batch& batch, const std::optional<desk::monotonic>& after)
{
    return batch.made +
           std::chrono::floor<std::chrono::milliseconds>(after.value_or(desk::monotonic{}));
}

// Of a wish: which it is, and whose. Null when its batch is not kept any more.
json wish_head(const server& server, const desk::wish_id& id)
{
    const desk::wish* const wish = find_wish(server.desk.house, id);
    if (wish == nullptr) return nullptr;
    json head = {{"operation", text_of(id.batch)}, {"row", id.row}};
    add_source(head, server.desk, wish->wished.router, wish->wished.source);
    head["person"] = person_json(server, server.desk.house.batches.at(id.batch).person);
    return head;
}

json open_wish_json(const server& server, const desk::open_wish& open)
{
    json wish = wish_head(server, open.id);
    if (wish.is_null()) return wish;
    const desk::batch& batch = server.desk.house.batches.at(open.id.batch);
    wish["state"] = desk::text_of(open.state);
    wish["wished"] = time_text(batch.made);
    if (open.state == desk::wish_state::sent)
        wish["sent"] = time_text(time_of(batch, open.sent - open.begun.steady));
    return wish;
}

json problem_json(const server& server, const desk::wish_id& id)
{
    json told = wish_head(server, id);
    if (told.is_null()) return told;
    const desk::wish& wish = *find_wish(server.desk.house, id);
    told["outcome"] = journal::word_of(journal::OUTCOMES, wish.end);
    told["detail"] = detail_of(server.desk, wish);
    told["ended"] = time_text(time_of(server.desk.house.batches.at(id.batch), wish.ended_after));
    return told;
}
} // namespace

void add_author(json& to, const server& server, const std::string& router, int destination)
{
    const desk::live_router& live = *find_live(server.desk, router);
    const auto position = static_cast<std::size_t>(destination);
    if (position < live.facts.size() && live.facts[position].changed)
        to["changed"] = time_text(*live.facts[position].changed);
    const desk::authorship* const author = author_shown(server.desk, router, destination);
    if (author == nullptr) return;
    to["by"] = author->by ? person_json(server, author->person) : json(nullptr);
}

json wish_json(const server& server, const std::string& router, int destination)
{
    const auto& open = find_live(server.desk, router)->open;
    const auto found = open.find(destination);
    return found == open.end() ? json() : open_wish_json(server, found->second.back());
}

json route_problem_json(const server& server, const std::string& router, int destination)
{
    const auto& troubled = find_live(server.desk, router)->troubled;
    const auto found = troubled.find(destination);
    return found == troubled.end() ? json() : problem_json(server, found->second.id);
}

json route_json(const server& server, const std::string& router, int destination)
{
    const desk::live_router& live = *find_live(server.desk, router);
    json route = json::object();
    add_destination(route, server.desk, router, destination);
    const int source = source_shown(live, destination);
    add_source(route, server.desk, router, source);
    route["state"] = source == desk::UNKNOWN_SOURCE ? "unknown"
                     : is_fresh(live, destination)  ? "confirmed"
                                                    : "stale";
    if (source != desk::UNKNOWN_SOURCE) {
        route["confirmed"] =
            time_text(live.facts[static_cast<std::size_t>(destination)].confirmed.utc);
        add_author(route, server, router, destination);
    }
    if (const desk::lock* const lock = find_lock(server, router, destination))
        route["lock"] = lock_json(server, router, destination, *lock);
    if (json wish = wish_json(server, router, destination); !wish.is_null())
        route["wish"] = std::move(wish);
    if (json problem = route_problem_json(server, router, destination); !problem.is_null())
        route["problem"] = std::move(problem);
    return route;
}

} // namespace web
