#include "unit/desk/model_history.h"

#include <random>

#include "unit/desk/model_player.h"

namespace model {

namespace {
struct happening {
    int weight;
    const char* name;
    void (*happens)(player&, dice&);
};
constexpr happening HAPPENINGS[] = {
    {140, "wish something", wish_something},
    {3, "wish often", wish_often},
    {5, "repeat command", repeat_command},
    {30, "stage something", stage_something},
    {15, "change stage", change_stage},
    {30, "take the stage", take_the_stage},
    {10, "save or delete salvo", save_or_delete_salvo},
    {15, "run a salvo", run_a_salvo},
    {80, "undo or redo", undo_or_redo},
    {25, "roll something back", roll_something_back},
    {12, "lock something", lock_something},
    {12, "unlock something", unlock_something},
    {2, "dismiss something", dismiss_something},
    {10, "accept something", accept_something},
    {6, "set up something", set_up_something},
    {120, "send something", send_something},
    {1, "ask often", ask_often},
    {150, "answer something", answer_something},
    {90, "report something", report_something},
    {80, "pass everything", pass_everything},
    {25, "change outside", change_outside},
    {5, "lose trace", lose_trace},
    {90, "move link", move_link},
    {8, "change manner", change_manner},
    {120, "pass time", pass_time},
    {1, "restart desk", restart_desk},
};

const happening& happening_of(std::uint32_t what)
{
    std::uint32_t all = 0;
    for (const happening& one : HAPPENINGS)
        all += static_cast<std::uint32_t>(one.weight);
    auto rest = static_cast<int>(what % all);
    const happening* at = std::begin(HAPPENINGS);
    while (rest >= at->weight)
        rest -= (at++)->weight;
    return *at;
}
} // namespace

const char* name_of(const step& step)
{
    return happening_of(step.what).name;
}

std::vector<step> random_steps(std::uint64_t seed, std::size_t count)
{
    std::mt19937_64 random(seed);
    std::vector<step> steps(count);
    for (step& one : steps)
        one = {static_cast<std::uint32_t>(random()), random()};
    return steps;
}

std::string play(const std::vector<step>& steps)
{
    player player = make_player();
    for (std::size_t i = 0; i < steps.size(); ++i) {
        dice dice{steps[i].luck};
        happening_of(steps[i].what).happens(player, dice);
        if (!player.ledger.wrong.empty())
            return player.ledger.wrong + ", at step " + std::to_string(i);
    }
    end_history(player);
    return player.ledger.wrong.empty() ? "" : player.ledger.wrong + ", at the end";
}

outcome outcome_of(const std::vector<step>& steps)
{
    player player = make_player(true);
    for (const step& step : steps) {
        dice dice{step.luck};
        happening_of(step.what).happens(player, dice);
    }
    return {player.desk.house, player.ledger.entries, player.now.utc};
}

} // namespace model
