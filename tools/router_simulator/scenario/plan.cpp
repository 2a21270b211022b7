#include "router_simulator/scenario/plan.h"

#include <algorithm>

#include "router_simulator/scenario/fault_table.h"
#include "tools/common/random.h"

namespace router_simulator {

void start_scenario(scenario& plan)
{
    plan.states.clear();
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        step_state& state = plan.states.emplace_back();
        // Far apart: neighbouring seeds are often those of neighbouring runs.
        state.random.seed(plan.seed + i * 0x9E3779B97F4A7C15);
        state.off = step.begins_off;
        if (step.trigger == trigger_kind::at) state.due = step.at_us;
        if (step.trigger == trigger_kind::every)
            state.due = common::draw(state.random, step.every_us.least, step.every_us.most);
    }
}

namespace {
// Whether a step that comes up is done by what limits it; counts.
bool is_done_now(const scenario_step& step, step_state& state)
{
    if (state.off) return false;
    if (step.chance < 1 && !common::draw_chance(state.random, step.chance)) return false;
    if (state.passed_over < step.after) {
        ++state.passed_over;
        return false;
    }
    if (step.times && state.done >= *step.times) return false;
    ++state.done;
    return true;
}
} // namespace

std::vector<std::size_t> timed_steps(scenario& plan, us_time_t elapsed)
{
    std::vector<std::size_t> steps;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        step_state& state = plan.states[i];
        if (state.due > elapsed) continue;
        state.due =
            step.trigger == trigger_kind::at
                ? NEVER
                : elapsed + common::draw(state.random, step.every_us.least, step.every_us.most);
        if (is_done_now(step, state)) steps.push_back(i);
    }
    return steps;
}

std::vector<std::size_t> connection_steps(scenario& plan, int client)
{
    std::vector<std::size_t> steps;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        if (step.trigger != trigger_kind::connection) continue;
        if (step.connection != 0 && step.connection != client) continue;
        if (is_done_now(step, plan.states[i])) steps.push_back(i);
    }
    return steps;
}

namespace {
bool is_met_by(const scenario_step& step, std::string_view request)
{
    return step.trigger == trigger_kind::request && request.starts_with(step.request);
}
} // namespace

std::vector<std::size_t> request_steps(scenario& plan, std::string_view request, bool answered)
{
    std::vector<std::size_t> steps;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        if (concerns_reply(*step.fault) || !is_met_by(step, request)) continue;
        if (step.answered != answered) continue;
        if (is_done_now(step, plan.states[i])) steps.push_back(i);
    }
    return steps;
}

std::vector<std::size_t> reply_steps(scenario& plan, std::string_view request)
{
    std::vector<std::size_t> steps;
    bool chosen = false;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        const bool joins = step.fault->joins_others;
        if (!concerns_reply(*step.fault) || !is_met_by(step, request)) continue;
        if (chosen && !joins) continue;
        step_state& state = plan.states[i];
        if (!state.ordered && !is_done_now(step, state)) continue;
        state.ordered = false;
        chosen = chosen || !joins;
        steps.push_back(i);
    }
    return steps;
}

std::optional<std::vector<std::size_t>> named_steps(scenario& plan, const std::string& name)
{
    std::vector<std::size_t> steps;
    bool any = false;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        if (plan.steps[i].name != name || name.empty()) continue;
        any = true;
        if (concerns_reply(*plan.steps[i].fault)) {
            plan.states[i].ordered = true;
        } else {
            steps.push_back(i);
        }
    }
    if (!any) return std::nullopt;
    return steps;
}

bool switch_steps(scenario& plan, const std::string& name, bool off)
{
    bool any = false;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        if (plan.steps[i].name != name || name.empty()) continue;
        any = true;
        plan.states[i].off = off;
    }
    return any;
}

us_time_t next_timed_step(const scenario& plan)
{
    us_time_t next = NEVER;
    for (const step_state& state : plan.states)
        next = std::min(next, state.due);
    return next;
}

} // namespace router_simulator
