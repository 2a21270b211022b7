#include <algorithm>

#include "server/desk/deadlines.h"
#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/trace.h"
#include "unit/desk/model_player.h"

using namespace desk;

namespace model {

namespace {
constexpr wall BEGINNING{1'700'000'000'000};
constexpr std::size_t EVERYTHING = 1000;

link_state link_of(const player& player, const router& router)
{
    const live_router* const live = find_live(player.desk, router.id);
    return live != nullptr ? live->link : link_state::off;
}

void send_and_settle(player& player, router& router)
{
    if (const std::optional<sending> sent = send_next(player.desk, player.now, router))
        see_take(player.ledger, *sent);
    settle(player);
}

void report_and_settle(player& player, router& router, std::size_t most)
{
    const std::vector<reply> said = report(player.desk, player.now, router, most);
    if (find_live(player.desk, router.id) != nullptr && !player.moved.contains(router.id))
        see_report(player.ledger, player.now, router.id, said);
    settle(player);
}

void answer_one(player& player, router& router)
{
    if (router.manner == manner::is_mute && !router.requests.empty())
        player.ledger.facts[{router.id, router.requests.front().sent.destination}].mistaken = true;
    if (const std::optional<service> done = answer_next(router))
        see_service(player.ledger, *done, router.served);
}

void hear_one(player& player, router& router)
{
    // What waits in vain for longer is forgotten.
    if (router.to_report.size() == SHOWINGS_UNREPORTED) report_and_settle(player, router, 1);
    if (router.told && !router.replies.empty()) {
        const reply& next = router.replies.front();
        see_showing(player.ledger, router.id, next, is_awaited(router, next.destination));
    }
    const std::vector<reply> said = hear_next(player.desk, player.now, router);
    if (find_live(player.desk, router.id) != nullptr && !player.moved.contains(router.id))
        see_report(player.ledger, player.now, router.id, said);
    settle(player);
}

void set_link(player& player, router& router, link_state link)
{
    report_link(player.desk, player.now, router.id, link,
                link == link_state::ready ? "" : "as the dice say");
    settle(player);
}

// The backend ends, is restarted and begins to connect, unless its router has been removed.
void finish_backend(player& player, router& router, bool heard_all = true)
{
    player.ending.erase(router.id);
    ended(player.desk, player.now, router, heard_all);
    player.moved.erase(router.id);
    settle(player);
    set_link(player, router, link_state::connecting);
}

// What it reads is reported before it is ready, after that, or, in part, never.
void begin_reading(player& player, dice& dice, router& router)
{
    report_and_settle(player, router, EVERYTHING);
    router.up = true;
    router.reported.clear();
    router.since_none.clear();
    see_connection(player.ledger, router.id, router.served);
    set_link(player, router, link_state::reading);
    report_counts(player.desk, router.id, INPUTS, OUTPUTS);
    report_names(player.desk, router.id, side::destinations, {"MON A", "MON B"});
    settle(player);
    for (int i = 0; i < OUTPUTS; ++i)
        if (!one_in(dice, 10)) router.replies.push_back(reply_of(router, i));
    while (!router.replies.empty())
        hear_one(player, router);
}

void let_router_exist(player& player, const router& router)
{
    router_settings settings;
    settings.id = settings.name = router.id;
    settings.address = "10.0.0.1";
    set_router(player.desk, player.now, player.people.front(), settings);
    settle(player);
}

void tell_time(player& player)
{
    see_time(player.ledger, player.now);
    advance(player.desk, player.now);
    settle(player);
}
} // namespace

int below(dice& dice, int bound)
{
    dice.state += 0x9e3779b97f4a7c15; // splitmix64
    std::uint64_t mixed = dice.state;
    mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
    return static_cast<int>((mixed ^ mixed >> 31) % static_cast<std::uint64_t>(bound));
}

bool one_in(dice& dice, int chances)
{
    return below(dice, chances) == 0;
}

player make_player(bool keeps_entries)
{
    player made;
    made.ledger.keeps_entries = keeps_entries;
    made.now.utc = BEGINNING;
    made.desk = make_desk(1);
    rights operator_of_air{right::operate, {}, {{"air"}}};
    rights engineer_of_r1{right::operate, {{"r1", right::engineer}, {"r2", right::none}}, {}};
    made.people = {{"eve", "console", {right::administer, {}, {}}},
                   {"anna", "console", {right::operate, {}, {}}},
                   {"ben", "api", {right::operate, {}, {}}},
                   {"tom", "panel", engineer_of_r1},
                   {"kim", "panel", operator_of_air},
                   {"vera", "panel", {right::view, {}, {}}}};
    for (const char* id : {"r1", "r2", "r3"}) {
        made.routers.emplace(id, make_router(id, OUTPUTS));
        let_router_exist(made, made.routers.at(id));
    }
    return made;
}

void settle(player& player)
{
    const orders_seen seen = settle(player.ledger, player.desk);
    for (const auto& [router, sent] : seen.takes)
        player.routers.at(router).pending[sent.destination] = sent;
    player.ending.insert(seen.ends.begin(), seen.ends.end());
}

const actor& somebody(player& player, dice& dice)
{
    const auto last = static_cast<int>(player.people.size());
    return player.people[static_cast<std::size_t>(std::min(below(dice, last), below(dice, last)))];
}

router& some_router(player& player, dice& dice)
{
    return std::next(player.routers.begin(), std::min(below(dice, 3), below(dice, 3)))->second;
}

void send_something(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    if (one_in(dice, 4)) {
        send_query(player.desk, router, below(dice, OUTPUTS));
        settle(player);
        return;
    }
    if (link_of(player, router) == link_state::ready) begin_burst(router);
    send_and_settle(player, router);
}

void ask_often(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    const int destination = below(dice, OUTPUTS);
    for (std::size_t times = 0; times <= QUERIES_UNDER_WAY; ++times)
        send_query(player.desk, router, destination);
    see_disorder(player.ledger, {router.id, destination}); // not all are counted
    player.ledger.facts[{router.id, destination}].was_mistaken = true;
    settle(player);
}

void answer_something(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    answer_one(player, router);
    if (one_in(dice, 100)) {
        const int destination = below(dice, OUTPUTS);
        if (overtake(router, destination)) see_disorder(player.ledger, {router.id, destination});
    }
    if (one_in(dice, 2)) hear_one(player, router);
    settle(player);
}

void report_something(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    report_and_settle(player, router, static_cast<std::size_t>(1 + below(dice, 4)));
}

// As it goes on most days: all that waits is sent, answered, heard and reported.
void pass_everything(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    if (link_of(player, router) != link_state::ready || player.ending.contains(router.id)) return;
    begin_burst(router);
    while (!router.burst.empty())
        send_and_settle(player, router);
    while (!router.requests.empty())
        answer_one(player, router);
    while (!router.replies.empty())
        hear_one(player, router);
    report_and_settle(player, router, EVERYTHING);
}

void change_outside(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    const int destination = below(dice, OUTPUTS);
    const int source = below(dice, INPUTS + 1) - 1; // NO_SOURCE among them
    change_from_outside(router, destination, source, !one_in(dice, 3));
}

// Takes, queries and answers pass unheard before the backend ends; the desk is told of that.
void lose_trace(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    if (!router.up) return;
    router.told = false;
    if (link_of(player, router) == link_state::ready) begin_burst(router);
    for (int count = 1 + below(dice, 5); count > 0; --count) {
        if (const std::optional<sending> sent = send_next(player.desk, player.now, router))
            see_take(player.ledger, *sent);
        answer_one(player, router);
        hear_one(player, router);
    }
    router.told = true;
    see_loss(player.ledger, router.id);
    finish_backend(player, router, false);
}

void move_link(player& player, dice& dice)
{
    router& router = some_router(player, dice);
    if (player.ending.contains(router.id)) return finish_backend(player, router);
    if (find_router(player.desk, router.id) == nullptr) return let_router_exist(player, router);
    const bool goes_on = !one_in(dice, 4);
    switch (link_of(player, router)) {
    case link_state::off:
    case link_state::down:
    case link_state::failing:
        set_link(player, router, link_state::connecting);
        break;
    case link_state::connecting:
        if (goes_on) return begin_reading(player, dice, router);
        set_link(player, router, link_state::down);
        break;
    case link_state::reading:
        if (!goes_on) cut(router);
        set_link(player, router, goes_on ? link_state::ready : link_state::down);
        break;
    case link_state::ready:
        if (!one_in(dice, 5)) break; // it stays so for long
        cut(router);
        set_link(player, router, one_in(dice, 4) ? link_state::failing : link_state::down);
    }
}

void change_manner(player& player, dice& dice)
{
    const int what = below(dice, 6);
    some_router(player, dice).manner = what < 3 ? static_cast<manner>(what + 1) : manner::answers;
}

void pass_time(player& player, dice& dice)
{
    const int how = below(dice, 200);
    std::chrono::milliseconds time{below(dice, 60)};
    if (how < 40) time *= 20;
    if (how < 8) time *= 10;
    if (how == 0) time = std::chrono::hours(25);
    for (auto& [id, router] : player.routers) // a backend does not wait so long
        if (!router.to_report.empty() &&
            player.now.steady + time > router.to_report.front().heard + REPORT_AGE)
            report_and_settle(player, router, EVERYTHING);
    player.now.steady += time;
    player.now.utc += time;
    if (how == 1) player.now.utc -= std::chrono::seconds(30); // somebody has set the clock
    if (time > std::chrono::seconds(5))
        for (auto& [id, router] : player.routers)
            drop_pending(router);
    if (!one_in(dice, 8)) tell_time(player);
}

// All backends end with it.
void restart_desk(player& player, dice& dice)
{
    for (auto& [id, router] : player.routers) {
        cut(router);
        router.pending.clear();
        router.to_report.clear();
    }
    player.ending.clear();
    player.moved.clear();
    if (player.desk.house != player.ledger.replayed)
        complain(player.ledger, "house that its entries do not make");
    see_restart(player.ledger);
    player.desk = make_desk(static_cast<std::uint64_t>(below(dice, 1000)), player.ledger.replayed,
                            player.now);
    for (const entry& entry : player.desk.entries) {
        const auto* const ended = std::get_if<wish_ended>(&entry.what);
        if (!std::holds_alternative<author_forgotten>(entry.what) &&
            (ended == nullptr || ended->end != outcome::unknown))
            complain(player.ledger, "restart that does more than end wishes as unknown");
    }
    settle(player);
    for (const auto& [where, open] : player.ledger.open)
        if (!open.empty()) complain(player.ledger, "wish open after a restart");
}

// Nothing happens any more but time, and what the desk orders of backends.
void end_history(player& player)
{
    for (int rounds = 0; rounds < 1000 && player.ledger.wrong.empty(); ++rounds) {
        for (auto& [id, router] : player.routers)
            if (player.ending.contains(id)) finish_backend(player, router);
        const std::optional<monotonic> due = next_due(player.desk, player.now);
        if (!due) break;
        const monotonic wait = std::max(*due - player.now.steady, monotonic{});
        player.now.steady += wait;
        player.now.utc += std::chrono::ceil<wall>(wait);
        tell_time(player);
    }
    for (const auto& [where, open] : player.ledger.open)
        if (!open.empty()) complain(player.ledger, "wish that never ends");
    if (!player.desk.deadlines.empty()) complain(player.ledger, "deadline that never comes");
    if (player.desk.house != player.ledger.replayed)
        complain(player.ledger, "house that its entries do not make");
}

} // namespace model
