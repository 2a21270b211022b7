// What may happen in a history: each function is one thing, decided by dice. For model_history.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "server/desk/actor.h"
#include "server/desk/takes.h"
#include "unit/desk/model_ledger.h"
#include "unit/desk/model_router.h"

namespace model {

// Few of each, so that they meet.
constexpr int INPUTS = 6;
constexpr int OUTPUTS = 4;

struct dice {
    std::uint64_t state = 0;
};
int below(dice& dice, int bound); // 0 and more
bool one_in(dice& dice, int chances);

struct player;
using batch_maker = std::function<desk::take_answer(player&, const desk::batch_command&)>;

struct player {
    desk::desk_state desk;
    desk::moment now;
    model::ledger ledger;
    std::vector<desk::actor> people;
    std::map<std::string, router> routers; // also such as the desk does not have at present
    std::set<std::string> ending;          // their backends have been ordered to end
    std::set<std::string> moved;           // of these, those that are elsewhere by now
    desk::batch_command last_command;
    batch_maker last_maker;
    desk::take_answer last_answer;
};

player make_player(bool keeps_entries = false);

// Takes over what the desk has answered and gives its orders to the backends. After each call of
// the desk.
void settle(player& player);

const desk::actor& somebody(player& player, dice& dice);
router& some_router(player& player, dice& dice);

// What people do.
void wish_something(player& player, dice& dice);
void wish_often(player& player, dice& dice);
void repeat_command(player& player, dice& dice);
void stage_something(player& player, dice& dice);
void change_stage(player& player, dice& dice);
void take_the_stage(player& player, dice& dice);
void save_or_delete_salvo(player& player, dice& dice);
void run_a_salvo(player& player, dice& dice);
void undo_or_redo(player& player, dice& dice);
void roll_something_back(player& player, dice& dice);
void lock_something(player& player, dice& dice);
void unlock_something(player& player, dice& dice);
void dismiss_something(player& player, dice& dice);
void accept_something(player& player, dice& dice);
void set_up_something(player& player, dice& dice);

// What routers and backends do.
void send_something(player& player, dice& dice);
void ask_often(player& player, dice& dice);
void answer_something(player& player, dice& dice);
void report_something(player& player, dice& dice);
void pass_everything(player& player, dice& dice);
void change_outside(player& player, dice& dice);
void lose_trace(player& player, dice& dice);
void move_link(player& player, dice& dice);
void change_manner(player& player, dice& dice);

// The rest.
void pass_time(player& player, dice& dice);
void restart_desk(player& player, dice& dice);
void end_history(player& player);

} // namespace model
