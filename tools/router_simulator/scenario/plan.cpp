#include "router_simulator/scenario/plan.h"

#include <algorithm>
#include <array>

#include "tools/common/random.h"

namespace router_simulator {

namespace {
struct named_fault {
    fault_kind kind;
    const char* name;
    fault_span span = fault_span::moment;
};

constexpr std::array<named_fault, 25> FAULTS = {{
    {fault_kind::delay, "delay"},
    {fault_kind::lose, "lose"},
    {fault_kind::late, "late"},
    {fault_kind::duplicate, "duplicate"},
    {fault_kind::reorder, "reorder"},
    {fault_kind::checksum, "checksum"},
    {fault_kind::nak, "nak"},
    {fault_kind::error, "error"},
    {fault_kind::truncate, "truncate"},
    {fault_kind::length, "length"},
    {fault_kind::nul, "nul"},
    {fault_kind::cut, "cut"},
    {fault_kind::contradict, "contradict"},
    {fault_kind::endless, "endless", fault_span::connection},
    {fault_kind::garbage, "garbage"},
    {fault_kind::silence, "silence", fault_span::connection},
    {fault_kind::half_open, "half-open", fault_span::connection},
    {fault_kind::stop_reading, "stop reading", fault_span::connection},
    {fault_kind::close, "close"},
    {fault_kind::reset, "reset"},
    {fault_kind::refuse, "refuse", fault_span::listener},
    {fault_kind::ignore, "ignore", fault_span::listener},
    {fault_kind::burst, "burst", fault_span::connection},
    {fault_kind::take, "take"},
    {fault_kind::rename, "rename"},
}};

const named_fault& row_of(fault_kind kind)
{
    return *std::find_if(FAULTS.begin(), FAULTS.end(),
                         [kind](const named_fault& each) { return each.kind == kind; });
}
} // namespace

const char* fault_name(fault_kind kind)
{
    return row_of(kind).name;
}

fault_span span_of(fault_kind kind)
{
    return row_of(kind).span;
}

std::optional<fault_kind> fault_named(std::string_view name)
{
    const auto* const found =
        std::find_if(FAULTS.begin(), FAULTS.end(),
                     [name](const named_fault& each) { return each.name == name; });
    if (found == FAULTS.end()) return std::nullopt;
    return found->kind;
}

bool concerns_reply(fault_kind kind)
{
    return kind <= fault_kind::endless;
}

void start_scenario(scenario& plan)
{
    plan.states.clear();
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const scenario_step& step = plan.steps[i];
        step_state& state = plan.states.emplace_back();
        // Far apart: neighbouring seeds are often those of neighbouring runs.
        state.random.seed(plan.seed + i * 0x9E3779B97F4A7C15);
        if (step.trigger == trigger_kind::at) state.due = step.at_us;
        if (step.trigger == trigger_kind::every) state.due = draw(state.random, step.every_us);
    }
}

std::uint64_t draw(std::mt19937_64& random, number_range range)
{
    return common::draw(random, range.least, range.most);
}

namespace {
// Whether a step that comes up is done by what limits it; counts.
bool is_done_now(const scenario_step& step, step_state& state)
{
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
            step.trigger == trigger_kind::at ? NEVER : elapsed + draw(state.random, step.every_us);
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
        if (concerns_reply(step.fault) || !is_met_by(step, request)) continue;
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
        const bool is_delay = step.fault == fault_kind::delay;
        if (!concerns_reply(step.fault) || !is_met_by(step, request)) continue;
        if (chosen && !is_delay) continue;
        step_state& state = plan.states[i];
        if (!state.ordered && !is_done_now(step, state)) continue;
        state.ordered = false;
        chosen = chosen || !is_delay;
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
        if (concerns_reply(plan.steps[i].fault)) {
            plan.states[i].ordered = true;
        } else {
            steps.push_back(i);
        }
    }
    if (!any) return std::nullopt;
    return steps;
}

us_time_t next_timed_step(const scenario& plan)
{
    us_time_t next = NEVER;
    for (const step_state& state : plan.states)
        next = std::min(next, state.due);
    return next;
}

} // namespace router_simulator
