#include <gmock/gmock.h>

#include "router_simulator/scenario/fault_table.h"
#include "router_simulator/scenario/plan.h"

using namespace router_simulator;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

using Steps = std::vector<std::size_t>;

namespace {
scenario started(const std::vector<scenario_step>& steps, std::uint64_t seed = 7)
{
    scenario plan{.seed = seed, .steps = steps, .states = {}};
    start_scenario(plan);
    return plan;
}

scenario_step on_request(const std::string& request, const char* fault = "lose")
{
    scenario_step step;
    step.trigger = trigger_kind::request;
    step.request = request;
    step.fault = fault_named(fault);
    return step;
}

// How often each of so many requests has the first step done: "0110".
std::string marks(scenario plan, int requests)
{
    std::string text;
    for (int i = 0; i < requests; ++i)
        text += reply_steps(plan, "QI 1 0").empty() ? '0' : '1';
    return text;
}
} // namespace

TEST(Scenario, DrawsTheSameForTheSameSeed)
{
    scenario_step step = on_request("QI");
    step.chance = 0.5;
    EXPECT_EQ(marks(started({step}, 7), 200), marks(started({step}, 7), 200));
    EXPECT_NE(marks(started({step}, 7), 200), marks(started({step}, 8), 200));
}

TEST(Scenario, DrawsOfOneStepDoNotDependOnAnother)
{
    scenario_step first = on_request("QD");
    scenario_step second = on_request("QI");
    first.chance = second.chance = 0.5;
    scenario alone = started({first, second});
    scenario mixed = started({first, second});
    for (int i = 0; i < 100; ++i) {
        reply_steps(mixed, "QD");
        EXPECT_EQ(reply_steps(alone, "QI 1 0"), reply_steps(mixed, "QI 1 0"));
    }
}

TEST(Scenario, StepsOfOneKindDrawApart)
{
    scenario_step step = on_request("QI");
    step.chance = 0.5;
    scenario_step never = step;
    never.times = 0;
    EXPECT_NE(marks(started({step, never}), 200), marks(started({never, step}), 200));
}

TEST(Scenario, ChanceIsMetAboutAsOftenAsItSays)
{
    scenario_step step = on_request("QI");
    step.chance = 0.25;
    const std::string done = marks(started({step}), 4000);
    EXPECT_NEAR(static_cast<double>(std::count(done.begin(), done.end(), '1')), 1000, 100);
}

TEST(Scenario, RequestIsMetByItsBeginning)
{
    scenario plan = started({on_request("BK R")});
    EXPECT_THAT(reply_steps(plan, "BK R"), ElementsAre(0));
    EXPECT_THAT(reply_steps(plan, "BK RX"), ElementsAre(0));
    EXPECT_THAT(reply_steps(plan, "BK"), IsEmpty());
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
    scenario any = started({on_request("")});
    EXPECT_THAT(reply_steps(any, "QD"), ElementsAre(0));
}

TEST(Scenario, StepPassesOverTheFirstAndEndsAfterItsTimes)
{
    scenario_step step = on_request("QI");
    step.after = 2;
    step.times = 3;
    EXPECT_EQ(marks(started({step}), 8), "00111000");
}

TEST(Scenario, FirstReplyFaultThatAppliesIsTheOnlyOne)
{
    scenario_step once = on_request("QI");
    once.times = 1;
    scenario plan = started({once, on_request("QI", "nak")});
    EXPECT_THAT(reply_steps(plan, "QI 1 0"), ElementsAre(0));
    EXPECT_THAT(reply_steps(plan, "QI 1 0"), ElementsAre(1));
    EXPECT_EQ(plan.states[1].done, 1U) << "a step that is not looked at does not count";
}

TEST(Scenario, DelaysAreAddedToTheFault)
{
    scenario plan = started({on_request("QI", "delay"), on_request("QI", "lose"),
                             on_request("QI", "nak"), on_request("QI", "delay")});
    EXPECT_THAT(reply_steps(plan, "QI 1 0"), ElementsAre(0, 1, 3));
}

TEST(Scenario, ConnectionFaultsOfARequestAreAllDone)
{
    scenario plan =
        started({on_request("QI", "take"), on_request("QI", "lose"), on_request("QI", "reset")});
    EXPECT_THAT(request_steps(plan, "QI 1 0", false), ElementsAre(0, 2));
}

TEST(Scenario, FaultBehindTheAnswerWaitsForIt)
{
    scenario_step behind = on_request("QI", "close");
    behind.answered = true;
    scenario plan = started({behind, on_request("QI", "take")});
    EXPECT_THAT(request_steps(plan, "QI 1 0", false), ElementsAre(1));
    EXPECT_THAT(request_steps(plan, "QI 1 0", true), ElementsAre(0));
}

TEST(Scenario, TimedStepIsDoneOnce)
{
    scenario_step step;
    step.trigger = trigger_kind::at;
    step.at_us = 1500;
    scenario plan = started({step});
    EXPECT_EQ(next_timed_step(plan), 1500U);
    EXPECT_THAT(timed_steps(plan, 1499), IsEmpty());
    EXPECT_THAT(timed_steps(plan, 1500), ElementsAre(0));
    EXPECT_EQ(next_timed_step(plan), NEVER);
    EXPECT_THAT(timed_steps(plan, 3000), IsEmpty());
}

TEST(Scenario, RepeatedStepIsDrawnAnewEachTime)
{
    scenario_step step;
    step.trigger = trigger_kind::every;
    step.every_us = {1000, 2000};
    scenario plan = started({step});
    us_time_t elapsed = 0;
    std::set<us_time_t> gaps;
    for (int i = 0; i < 50; ++i) {
        const us_time_t due = next_timed_step(plan);
        gaps.insert(due - elapsed);
        elapsed = due;
        EXPECT_THAT(timed_steps(plan, elapsed), ElementsAre(0));
    }
    EXPECT_GE(*gaps.begin(), 1000U);
    EXPECT_LE(*gaps.rbegin(), 2000U);
    EXPECT_GT(gaps.size(), 25U);
}

TEST(Scenario, RepeatedStepDoesNotCatchUpAfterAStall)
{
    scenario_step step;
    step.trigger = trigger_kind::every;
    step.every_us = {1000, 1000};
    scenario plan = started({step});
    EXPECT_THAT(timed_steps(plan, 50'000), ElementsAre(0));
    EXPECT_THAT(timed_steps(plan, 50'000), IsEmpty());
    EXPECT_EQ(next_timed_step(plan), 51'000U);
}

TEST(Scenario, ConnectionIsMetByItsNumber)
{
    scenario_step second;
    second.trigger = trigger_kind::connection;
    second.connection = 2;
    scenario_step any = second;
    any.connection = 0;
    scenario plan = started({second, any});
    EXPECT_THAT(connection_steps(plan, 1), ElementsAre(1));
    EXPECT_THAT(connection_steps(plan, 2), ElementsAre(0, 1));
}

TEST(Scenario, NameIsDoneWhateverLimitsTheStep)
{
    scenario_step step;
    step.name = "storm";
    step.fault = fault_named("burst");
    step.times = 0;
    scenario_step other = step;
    other.name = "other";
    scenario plan = started({step, other, step});
    EXPECT_THAT(named_steps(plan, "storm"), Optional(Steps{0, 2}));
    EXPECT_EQ(named_steps(plan, "calm"), std::nullopt);
    EXPECT_EQ(named_steps(plan, ""), std::nullopt);
}

TEST(Scenario, StepThatIsOffIsPassedOverUntilItIsSwitchedOn)
{
    scenario_step step = on_request("QD");
    step.name = "slow";
    step.begins_off = true;
    step.times = 1;
    scenario plan = started({step});
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
    EXPECT_TRUE(switch_steps(plan, "slow", false));
    EXPECT_THAT(reply_steps(plan, "QD"), ElementsAre(0)); // what came before did not count
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
    EXPECT_FALSE(switch_steps(plan, "fast", true));
    EXPECT_FALSE(switch_steps(plan, "", true));
}

TEST(Scenario, StepThatIsSwitchedOffIsDoneByItsNameAlone)
{
    scenario_step step = on_request("QD");
    step.name = "slow";
    scenario plan = started({step});
    EXPECT_TRUE(switch_steps(plan, "slow", true));
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
    EXPECT_THAT(named_steps(plan, "slow"), Optional(Steps{}));
    EXPECT_THAT(reply_steps(plan, "QD"), ElementsAre(0));
}

TEST(Scenario, NamedReplyFaultWaitsForItsRequest)
{
    scenario_step step = on_request("QD");
    step.name = "once";
    step.times = 0;
    scenario plan = started({step});
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
    EXPECT_THAT(named_steps(plan, "once"), Optional(Steps{}));
    EXPECT_THAT(reply_steps(plan, "QI 1 0"), IsEmpty());
    EXPECT_THAT(reply_steps(plan, "QD"), ElementsAre(0));
    EXPECT_THAT(reply_steps(plan, "QD"), IsEmpty());
}
