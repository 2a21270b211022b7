#include "server/desk/takes.h"

#include <algorithm>
#include <set>
#include <utility>

#include "server/desk/checks.h"
#include "server/desk/locks.h"
#include "server/desk/showings.h"
#include "server/desk/steps.h"
#include "server/desk/wishes.h"
#include "server/desk/words.h"

namespace desk {

namespace {
// Against the request as a whole.
objection check_request(const desk_state& desk, const moment& now, const take_request& request)
{
    if (request.asked && now.steady - *request.asked > COMMAND_AGE)
        return {reason::too_late, "the command is too old"};
    if (request.rows.empty()) return {reason::bad_value, "there are no rows"};
    if (request.rows.size() > ROWS_PER_BATCH)
        return {reason::bad_value,
                "there are more than " + std::to_string(ROWS_PER_BATCH) + " rows"};
    std::set<std::pair<std::string_view, int>> seen;
    for (const take_row& row : request.rows)
        if (!seen.emplace(row.wished.router, row.wished.destination).second)
            return {reason::duplicate_destination,
                    destination_text(desk, row.wished.router, row.wished.destination) +
                        " is there twice"};
    return {};
}

objection check_link(const house_router& router, const live_router& live)
{
    const std::string link = "the link to " + router.settings.name + " is ";
    if (live.link != link_state::ready) {
        const std::string why = live.link_reason.empty() ? "" : ": " + live.link_reason;
        return {reason::link_not_ready, link + text_of(live.link) + why};
    }
    if (live.ending != reason::none)
        return {reason::link_not_ready, link + "about to be made anew"};
    return {};
}

std::size_t count_open(const live_router& live, int destination)
{
    const auto open = live.open.find(destination);
    return open == live.open.end() ? 0 : open->second.size();
}

objection check_source_before(const desk_state& desk, const moment& now, const live_router& live,
                              const route& wished, int if_source)
{
    const auto name = [&] {
        return destination_text(desk, wished.router, wished.destination);
    };
    if (!is_fresh(live, wished.destination))
        return {reason::fact_unknown, "what " + name() + " shows is not known"};
    const int shown = source_told(live, now, wished.destination);
    if (shown != if_source)
        return {reason::changed_since,
                name() + " shows " + source_text(desk, wished.router, shown) + " by now, " +
                    taker_text(desk, wished.router, wished.destination, shown)};
    if (count_open(live, wished.destination) > 0)
        return {reason::changed_since, "another take of " + name() + " is under way"};
    return {};
}

// `found` is what the caller has found against the row itself.
objection check_row(const desk_state& desk, const moment& now, const actor& actor,
                    const take_row& row, const objection& found)
{
    const auto& [router, destination, source] = row.wished;
    objection first = check_route(desk, actor, row.wished);
    if (first.why != reason::none) return first;
    const house_router& known = *find_router(desk, router);
    const live_router& live = *find_live(desk, router);
    const reason lock = lock_against(known, destination, actor.person);
    if (lock != reason::none) return {lock, lock_text(desk, router, destination)};
    first = check_link(known, live);
    if (first.why == reason::none) first = found;
    if (first.why == reason::none && row.if_source)
        first = check_source_before(desk, now, live, row.wished, *row.if_source);
    if (first.why == reason::none && count_open(live, destination) >= OPEN_PER_DESTINATION)
        return {reason::too_many_at_once, "too many takes of " +
                                              destination_text(desk, router, destination) +
                                              " are under way"};
    return first;
}

bool shows_already(const desk_state& desk, const moment& now, const route& wished)
{
    const live_router& live = *find_live(desk, wished.router);
    return is_fresh(live, wished.destination) &&
           source_shown(live, wished.destination) == wished.source &&
           !is_doubtful(live.facts[static_cast<std::size_t>(wished.destination)], now) &&
           is_settled(live, now, wished.destination, wished.source) &&
           count_open(live, wished.destination) == 0;
}

std::vector<row_answer> answer_rows(const desk_state& desk, const moment& now, const actor& actor,
                                    const take_request& request, const batch_origin& from)
{
    std::vector<row_answer> answers;
    bool blocked = false;
    for (std::size_t i = 0; i < request.rows.size(); ++i) {
        const take_row& row = request.rows[i];
        const objection found = from.objections.empty() ? objection{} : from.objections[i];
        const objection against = check_row(desk, now, actor, row, found);
        row_answer& answer = answers.emplace_back();
        answer.wished = row.wished;
        answer.why = against.why;
        answer.detail = against.detail;
        const bool free = against.why == reason::none;
        blocked = blocked || !free;
        answer.unchanged = free && !request.send_unchanged && shows_already(desk, now, row.wished);
        answer.goes = free && !answer.unchanged;
    }
    if (request.rule == batch_rule::all && blocked)
        for (row_answer& answer : answers)
            if (answer.why == reason::none)
                answer = {answer.wished, false, reason::blocked_by_other_row,
                          "another row is blocked", false};
    return answers;
}

wish wish_for(const desk_state& desk, const row_answer& answer)
{
    wish wish;
    wish.wished = answer.wished;
    const live_router* live = find_live(desk, answer.wished.router);
    if (live != nullptr && is_fresh(*live, answer.wished.destination))
        wish.was = source_shown(*live, answer.wished.destination);
    if (answer.goes) return wish;
    wish.unchanged = answer.unchanged;
    wish.end = answer.unchanged ? outcome::confirmed : outcome::not_sent;
    wish.why = answer.why;
    wish.detail = answer.detail;
    wish.ended_after = monotonic{};
    return wish;
}

// The rows that go; one order for each router.
void send_rows(desk_state& desk, const moment& now, const ulid& id,
               const std::vector<row_answer>& answers)
{
    std::map<std::string, std::vector<std::pair<int, int>>, std::less<>> rows;
    for (std::uint32_t i = 0; i < answers.size(); ++i) {
        const auto& [router, destination, source] = answers[i].wished;
        if (answers[i].goes && open_wish_for(desk, now, {id, i}, answers[i].wished)) {
            rows[router].emplace_back(destination, source);
        } else if (answers[i].unchanged) { // the newest wish of its destination all the same
            live_router& live = *find_live(desk, router);
            live.last_wishes[destination] = {id, i};
            live.troubled.erase(destination);
            tell_change(desk, router, change::kind::wish, destination, id);
        }
    }
    for (auto& [router, changes] : rows)
        desk.orders.push_back({order::kind::send, router, std::move(changes)});
}

// Rows that have ended at once, and how many of the others wait.
void count_rows(desk_state& desk, const moment& now, const std::vector<row_answer>& answers)
{
    std::set<live_router*> waiting;
    for (const row_answer& row : answers) {
        live_router* const live = find_live(desk, row.wished.router);
        if (live == nullptr) continue;
        const outcome end = row.unchanged ? outcome::confirmed : outcome::not_sent;
        if (row.goes)
            waiting.insert(live);
        else
            count_end(live->statistics, now.utc, end, std::nullopt);
    }
    for (live_router* const live : waiting)
        live->statistics.most_waiting =
            std::max(live->statistics.most_waiting, count_waiting(*live));
}
} // namespace

take_answer take(desk_state& desk, const moment& now, const actor& actor,
                 const take_request& request)
{
    if (std::optional<take_answer> again = answer_again(desk, request.id)) return *again;
    return take_as(desk, now, actor, request, {});
}

take_answer take_as(desk_state& desk, const moment& now, const actor& actor,
                    const take_request& request, const batch_origin& from)
{
    const objection against = check_request(desk, now, request);
    if (against.why != reason::none) return {{}, against.why, against.detail, {}};
    take_answer answer;
    answer.rows = answer_rows(desk, now, actor, request, from);
    if (request.dry_run) return answer;

    batch batch{from.kind,
                request.rule,
                actor.person,
                actor.origin,
                cut_text(request.reason_given),
                now.utc,
                from.of,
                from.salvo_version,
                {}};
    for (const row_answer& row : answer.rows)
        batch.rows.push_back(wish_for(desk, row));
    answer.batch = request.id.is_none() ? make_id(desk.ids, now.utc) : request.id;
    record_entry(desk,
                 {now.utc, actor.person, actor.origin, batch_made{answer.batch, std::move(batch)}});
    tell_batch(desk, answer.batch);
    send_rows(desk, now, answer.batch, answer.rows);
    count_rows(desk, now, answer.rows);
    return answer;
}

std::optional<take_answer> answer_again(const desk_state& desk, const ulid& id)
{
    const auto batch = desk.house.batches.find(id);
    if (batch == desk.house.batches.end()) return std::nullopt;
    take_answer answer{id, reason::none, "", {}};
    for (const wish& row : batch->second.rows) {
        row_answer& again = answer.rows.emplace_back();
        again.wished = row.wished;
        again.unchanged = row.unchanged;
        again.goes = was_accepted(row) && !row.unchanged;
        if (!was_accepted(row)) {
            again.why = row.why;
            again.detail = row.detail;
        }
    }
    return answer;
}

objection accept_outcome(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, int destination)
{
    objection found = check_right(desk, actor, router, destination);
    if (found.why != reason::none) return found;
    live_router& live = *find_live(desk, router);
    const auto troubled = live.troubled.find(destination);
    if (troubled == live.troubled.end())
        return {reason::nothing_to_do,
                "nothing went wrong on " + destination_text(desk, router, destination)};
    const wish_id id = troubled->second.id;
    live.troubled.erase(troubled);
    record_entry(desk, {now.utc, actor.person, actor.origin, wish_accepted{id}});
    tell_change(desk, router, change::kind::wish, destination, id.batch);
    return {};
}

} // namespace desk
