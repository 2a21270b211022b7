#include "server/desk/groups.h"
#include "server/desk/locks.h"
#include "server/desk/notices.h"
#include "server/desk/salvos.h"
#include "server/desk/setup.h"
#include "server/desk/stages.h"
#include "server/desk/undo.h"
#include "unit/desk/model_player.h"

using namespace desk;

namespace model {

namespace {
constexpr const char* SALVO_NAMES[] = {"news", "News", "black", "late show"};

int some_source(dice& dice)
{
    const int source = below(dice, INPUTS + 2); // also none, and one that does not exist
    return source == INPUTS + 1 && !one_in(dice, 8) ? 0 : source - 1;
}

int some_destination(dice& dice)
{
    return one_in(dice, 50) ? OUTPUTS : below(dice, OUTPUTS);
}

route some_route(player& player, dice& dice)
{
    return {some_router(player, dice).id, some_destination(dice), some_source(dice)};
}

std::vector<route> some_routes(player& player, dice& dice)
{
    std::vector<route> rows;
    for (int count = 1 + below(dice, 3); count > 0; --count)
        rows.push_back(some_route(player, dice));
    return rows;
}

batch_command some_command(player& player, dice& dice)
{
    batch_command command;
    command.rule = one_in(dice, 2) ? batch_rule::rest : batch_rule::all;
    if (one_in(dice, 8)) command.asked = player.now.steady - std::chrono::seconds(below(dice, 4));
    return command;
}

bool same(const std::vector<row_answer>& dry, const std::vector<row_answer>& real)
{
    if (dry.size() != real.size()) return false;
    for (std::size_t i = 0; i < dry.size(); ++i)
        if (dry[i].wished != real[i].wished || dry[i].goes != real[i].goes ||
            dry[i].why != real[i].why || dry[i].detail != real[i].detail ||
            dry[i].unchanged != real[i].unchanged)
            return false;
    return true;
}

void check_answer(ledger& ledger, const take_answer& dry, const take_answer& real, batch_rule rule)
{
    if (dry.why != real.why || dry.detail != real.detail || !same(dry.rows, real.rows))
        complain(ledger, "dry run that answers otherwise than the real one");
    if (!dry.batch.is_none()) complain(ledger, "dry run with a batch");
    if (real.batch.is_none() != (real.why != reason::none))
        complain(ledger, "batch refused as a whole and recorded, or neither");
    bool goes = false;
    bool blocked = false;
    for (const row_answer& row : real.rows) {
        goes = goes || row.goes || row.unchanged;
        blocked = blocked || row.why != reason::none;
        if ((row.goes || row.unchanged) != (row.why == reason::none) || (row.goes && row.unchanged))
            complain(ledger, "row that goes for a reason, or does not without one");
    }
    if (rule == batch_rule::all && goes && blocked)
        complain(ledger, "batch that goes in part by the rule all");
}

// First as a dry run, which must do nothing, then in earnest; the answers must be the same.
void do_both(player& player, batch_command how, const batch_maker& make)
{
    how.id = make_id(player.desk.ids, player.now.utc);
    how.dry_run = true;
    const take_answer dry = make(player, how);
    if (!player.desk.entries.empty() || !player.desk.orders.empty() || !player.desk.changes.empty())
        complain(player.ledger, "dry run that does something");
    how.dry_run = false;
    const take_answer real = make(player, how);
    check_answer(player.ledger, dry, real, how.rule);
    settle(player);
    player.last_command = how;
    player.last_maker = make;
    player.last_answer = real;
}

void take_rows(player& player, const actor& actor, const take_request& request)
{
    do_both(player, request, [actor, request](model::player& in, const batch_command& how) {
        return take(in.desk, in.now, actor, {how, request.rows, request.send_unchanged});
    });
}
} // namespace

void wish_something(player& player, dice& dice)
{
    take_request request{some_command(player, dice), {}, one_in(dice, 8)};
    for (const route& row : some_routes(player, dice)) {
        std::optional<int> if_source;
        if (one_in(dice, 6)) if_source = some_source(dice);
        request.rows.push_back({row, if_source});
    }
    take_rows(player, somebody(player, dice), request);
}

void wish_often(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    route row = some_route(player, dice);
    for (int times = 2 + below(dice, 40); times > 0; --times) {
        take_request request;
        if (one_in(dice, 6)) row.source = some_source(dice);
        request.rows.push_back({row, std::nullopt});
        take_rows(player, actor, request);
    }
}

// With the same id: nothing may happen, and the answer is the first one's.
void repeat_command(player& player, dice&)
{
    if (player.last_answer.batch.is_none()) return;
    const take_answer again = player.last_maker(player, player.last_command);
    if (again.batch != player.last_answer.batch) complain(player.ledger, "command repeated");
    if (!player.desk.entries.empty() || !player.desk.orders.empty() || !player.desk.changes.empty())
        complain(player.ledger, "repeated command that does something");
    settle(player);
}

void stage_something(player& player, dice& dice)
{
    stage_row(player.desk, player.now, somebody(player, dice), some_route(player, dice));
    settle(player);
}

void change_stage(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::string& router = some_router(player, dice).id;
    const int destination = some_destination(dice);
    switch (below(dice, 4)) {
    case 3: {
        const std::vector<int> remove{some_destination(dice)};
        const std::vector<int> keep{some_destination(dice)};
        change_stage(player.desk, player.now, actor, router,
                     {one_in(dice, 4), remove, keep, {{destination, some_source(dice)}}});
        break;
    }
    case 0:
        unstage_row(player.desk, actor, router, destination);
        break;
    case 1:
        clear_stage(player.desk, actor, router);
        break;
    default:
        keep_row(player.desk, actor, router, destination);
    }
    settle(player);
}

void take_the_stage(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::string& router = some_router(player, dice).id;
    do_both(player, some_command(player, dice),
            [actor, router](model::player& in, const batch_command& how) {
                return take_stage(in.desk, in.now, actor, router, how);
            });
}

void save_or_delete_salvo(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::string name = SALVO_NAMES[below(dice, 4)];
    const std::optional<ulid> known = find_salvo(player.desk.house, name);
    const auto& deleted = player.desk.house.deleted_salvos;
    if (known && one_in(dice, 6))
        delete_salvo(player.desk, player.now, actor, *known);
    else if (!deleted.empty() && one_in(dice, 4))
        restore_salvo(player.desk, player.now, actor, ulid(deleted.begin()->first));
    else if (known && one_in(dice, 3))
        set_salvo(player.desk, player.now, actor, *known,
                  {SALVO_NAMES[below(dice, 4)],
                   player.desk.house.salvos.at(*known).versions.back().rows,
                   one_in(dice, 2) ? "as the dice say" : "", batch_rule::all});
    else
        save_salvo(player.desk, player.now, actor, name, some_routes(player, dice));
    settle(player);
}

void run_a_salvo(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::optional<ulid> known = find_salvo(player.desk.house, SALVO_NAMES[below(dice, 4)]);
    const int version = one_in(dice, 2) ? 0 : 1 + below(dice, 3);
    do_both(player, some_command(player, dice),
            [actor, known, version](model::player& in, const batch_command& how) {
                return run_salvo(in.desk, in.now, actor, known.value_or(ulid{}), version, how);
            });
}

void undo_or_redo(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const auto what = one_in(dice, 3) ? redo : undo;
    do_both(player, some_command(player, dice),
            [actor, what](model::player& in, const batch_command& how) {
                return what(in.desk, in.now, actor, how);
            });
}

void roll_something_back(player& player, dice& dice)
{
    if (player.desk.house.batches.empty()) return;
    auto batch = std::prev(player.desk.house.batches.end());
    for (int back = below(dice, 6); back > 0 && batch != player.desk.house.batches.begin(); --back)
        --batch;
    const ulid id = batch->first;
    const actor& actor = somebody(player, dice);
    do_both(player, some_command(player, dice),
            [actor, id](model::player& in, const batch_command& how) {
                return roll_back(in.desk, in.now, actor, id, how);
            });
}

void lock_something(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::string& router = some_router(player, dice).id;
    const lock_mode mode = one_in(dice, 2) ? lock_mode::lock : lock_mode::protect;
    std::optional<wall> until;
    if (one_in(dice, 2)) until = player.now.utc + std::chrono::milliseconds(below(dice, 3000));
    set_lock(player.desk, player.now, actor, router, some_destination(dice), mode, "on air", until);
    settle(player);
}

void unlock_something(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const std::string& router = some_router(player, dice).id;
    remove_lock(player.desk, player.now, actor, router, some_destination(dice), one_in(dice, 2),
                "wrong studio");
    settle(player);
}

void dismiss_something(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const auto notices = notices_of(player.desk.house, actor.person, player.now.utc);
    if (!notices.empty()) dismiss_notice(player.desk, player.now, actor, notices.front().first);
    settle(player);
}

void accept_something(player& player, dice& dice)
{
    const std::string& router = some_router(player, dice).id;
    accept_outcome(player.desk, player.now, somebody(player, dice), router, some_destination(dice));
    settle(player);
}

namespace {
// Its backend still says what it hears until it has ended.
void move_router(player& player, const actor& actor, const router_settings& settings)
{
    const house_router* const known = find_router(player.desk, settings.id);
    const bool elsewhere = known != nullptr && known->settings.port != settings.port;
    const bool moves =
        set_router(player.desk, player.now, actor, settings).why == reason::none && elsewhere;
    if (moves) see_move(player.ledger, settings.id);
    settle(player);
    if (moves && player.ending.contains(settings.id)) player.moved.insert(settings.id);
}
} // namespace

void set_up_something(player& player, dice& dice)
{
    const actor& actor = somebody(player, dice);
    const router& router = some_router(player, dice);
    const house_router* const known = find_router(player.desk, router.id);
    if (known == nullptr && player.ending.contains(router.id)) return;
    router_settings settings;
    settings.id = settings.name = router.id;
    if (known != nullptr) settings = known->settings;
    switch (below(dice, 8)) {
    case 6:
        rename_group(player.desk, player.now, actor, router.id, side::destinations, "air",
                     one_in(dice, 2) ? "air" : "floor");
        break;
    case 7:
        dissolve_group(player.desk, player.now, actor, router.id, side::destinations,
                       one_in(dice, 2) ? "air" : "floor");
        break;
    case 0:
        remove_router(player.desk, player.now, actor, router.id);
        if (find_router(player.desk, router.id) == nullptr) see_removal(player.ledger, router.id);
        break;
    case 1:
        settings.port = 1000 + below(dice, 2);
        move_router(player, actor, settings);
        break;
    case 2:
        settings.name = one_in(dice, 2) ? "Studio" : "OB van";
        settings.confirmation_limit = std::chrono::milliseconds(200 + below(dice, 4000));
        set_router(player.desk, player.now, actor, settings);
        break;
    default:
        set_label(player.desk, player.now, actor, router.id, side::destinations,
                  some_destination(dice),
                  {one_in(dice, 2) ? "PGM" : "", one_in(dice, 3) ? "air" : ""});
    }
    settle(player);
}

} // namespace model
