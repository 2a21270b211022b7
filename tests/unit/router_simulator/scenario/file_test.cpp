#include <gtest/gtest.h>

#include "router_simulator/scenario/fault_table.h"
#include "router_simulator/scenario/file.h"

using namespace router_simulator;

namespace {
class ScenarioFile : public testing::Test {
  protected:
    // "" or what is wrong.
    std::string read(const std::string& text)
    {
        plan = {};
        const simulated_router router =
            make_router({.sources = 4, .destinations = 3, .source_base = 0, .destination_base = 0});
        std::string error;
        const bool is_read = read_scenario(plan, text, router, "FILE", error);
        EXPECT_EQ(is_read, error.empty());
        return error;
    }

    // The step of a file of one step, which begins in line 2; the reader must accept it.
    scenario_step step(const std::string& keys)
    {
        EXPECT_EQ(read("{\"steps\": [\n{" + keys + "}]}"), "");
        return plan.steps.empty() ? scenario_step{} : plan.steps.front();
    }

    // What the reader says of such a file.
    std::string refusal_of(const std::string& keys)
    {
        return read("{\"steps\": [\n{" + keys + "}]}");
    }

    scenario plan;
};

struct wrong_step {
    const char* name;
    const char* keys;
    const char* refusal; // the line and the reason
};

class WrongStep : public ScenarioFile, public testing::WithParamInterface<wrong_step> {};
} // namespace

TEST_F(ScenarioFile, KeepsSeedAndOrder)
{
    EXPECT_EQ(read(R"({"seed": 18446744073709551615, "steps": [
        {"at": 1, "fault": "close"}, {"at": 0.5, "fault": "half-open"}]})"),
              "");
    EXPECT_EQ(plan.seed, UINT64_MAX);
    ASSERT_EQ(plan.steps.size(), 2U);
    EXPECT_EQ(plan.steps[0].fault, fault_named("close"));
    EXPECT_EQ(plan.steps[1].fault, fault_named("half-open"));
    EXPECT_EQ(plan.states.size(), 2U);
    EXPECT_EQ(read(R"({"steps": []})"), "");
    EXPECT_EQ(plan.seed, 0U);
}

TEST_F(ScenarioFile, ReadsEveryTrigger)
{
    EXPECT_EQ(step(R"("at": 1.5, "fault": "close")").at_us, 1'500'000U);
    EXPECT_EQ(step(R"("every": [0.001, 60], "fault": "close")").every_us.least, 1000U);
    EXPECT_EQ(plan.steps[0].every_us.most, 60'000'000U);
    EXPECT_EQ(plan.steps[0].trigger, trigger_kind::every);
    EXPECT_EQ(step(R"("connection": 3, "fault": "close")").connection, 3);
    EXPECT_EQ(plan.steps[0].trigger, trigger_kind::connection);
    EXPECT_EQ(step(R"("request": "QN L", "fault": "close")").request, "QN L");
    EXPECT_EQ(plan.steps[0].trigger, trigger_kind::request);
    EXPECT_FALSE(plan.steps[0].answered);
    EXPECT_TRUE(step(R"("request": "", "fault": "close", "answered": true)").answered);
    EXPECT_EQ(step(R"("name": "now", "fault": "close")").name, "now");
    EXPECT_FALSE(plan.steps[0].begins_off);
    EXPECT_TRUE(step(R"("name": "now", "off": true, "fault": "close")").begins_off);
    EXPECT_EQ(plan.steps[0].trigger, trigger_kind::command);
}

TEST_F(ScenarioFile, ReadsEveryLimit)
{
    const scenario_step limited =
        step(R"("request": "", "after": 2, "times": 0, "chance": 0.25, "fault": "lose")");
    EXPECT_EQ(limited.after, 2U);
    EXPECT_EQ(limited.times, 0U);
    EXPECT_EQ(limited.chance, 0.25);
    const scenario_step unlimited = step(R"("request": "", "fault": "lose")");
    EXPECT_EQ(unlimited.after, 0U);
    EXPECT_EQ(unlimited.times, std::nullopt);
    EXPECT_EQ(unlimited.chance, 1);
}

TEST_F(ScenarioFile, ReadsTheKeysOfReplyFaults)
{
    const scenario_step delay = step(R"("request": "", "fault": "delay", "ms": [1, 40])");
    EXPECT_EQ(delay.delay_us.least, 1000U);
    EXPECT_EQ(delay.delay_us.most, 40'000U);
    EXPECT_EQ(step(R"("request": "", "fault": "late", "ms": [0, 3])").delay_us.most, 3000U);
    EXPECT_EQ(step(R"("request": "", "fault": "error", "code": "0a")").code, "0a");
    EXPECT_EQ(step(R"("request": "", "fault": "truncate", "bytes": 0)").bytes, 0U);
    EXPECT_EQ(step(R"("request": "", "fault": "length", "bytes": 4097)").bytes, 4097U);
    const scenario_step cut = step(R"("request": "", "fault": "cut", "at": [5, 1, 5], "ms": 20)");
    EXPECT_EQ(cut.cuts, (std::vector<std::size_t>{1, 5}));
    EXPECT_EQ(cut.pause_us, 20'000U);
    EXPECT_EQ(cut.trigger, trigger_kind::request);
    EXPECT_EQ(step(R"("request": "TI", "fault": "contradict")").fault, fault_named("contradict"));
    const scenario_step endless =
        step(R"("request": "", "fault": "endless", "messages": 9, "rate": 2000)");
    EXPECT_EQ(endless.messages, 9U);
    EXPECT_EQ(endless.interval_us, 500U);
}

TEST_F(ScenarioFile, AcceptsReplyFaultsWithoutKeys)
{
    for (const char* name : {"lose", "duplicate", "reorder", "checksum", "nak", "nul"})
        EXPECT_EQ(step(std::string(R"("request": "", "fault": ")") + name + "\"").fault,
                  fault_named(name));
}

TEST_F(ScenarioFile, ReadsTheKeysOfConnectionFaults)
{
    EXPECT_EQ(step(R"("at": 0, "fault": "garbage", "bytes": 100)").bytes, 100U);
    for (const char* name : {"silence", "stop reading", "refuse", "ignore"})
        EXPECT_EQ(step(std::string(R"("at": 0, "fault": ")") + name + R"(", "for": 2.5)").for_us,
                  2'500'000U);
    EXPECT_FALSE(step(R"("at": 0, "fault": "reset")").inside);
    EXPECT_TRUE(step(R"("at": 0, "fault": "reset", "inside": true)").inside);
    EXPECT_EQ(step(R"("at": 0, "fault": "burst", "messages": 7, "rate": 1)").interval_us,
              1'000'000U);
}

TEST_F(ScenarioFile, ReadsPortsAndNames)
{
    const scenario_step take = step(R"("at": 0, "fault": "take", "destination": 2, "source": 3)");
    EXPECT_EQ(take.destination, 2U);
    EXPECT_EQ(take.source, 3U);
    EXPECT_EQ(step(R"("at": 0, "fault": "take")").destination, std::nullopt);
    const scenario_step rename = step(R"("at": 0, "fault": "rename", "source": 1, "to": "NEW")");
    EXPECT_EQ(rename.source, 1U);
    EXPECT_EQ(rename.to, "NEW");
    EXPECT_EQ(step(R"("at": 0, "fault": "rename", "to": "")").to, "");
    EXPECT_EQ(step(R"("at": 0, "fault": "rename")").to, std::nullopt);
    const scenario_step refusal =
        step(R"("at": 0, "fault": "refuse take", "destination": 2, "code": "0a")");
    EXPECT_EQ(refusal.destination, 2U);
    EXPECT_EQ(refusal.source, std::nullopt);
    EXPECT_EQ(refusal.code, "0a");
}

TEST_F(ScenarioFile, AcceptsTheLimitsOfEveryNumber)
{
    EXPECT_EQ(step(R"("connection": 1000000, "fault": "close")").connection, 1'000'000);
    EXPECT_EQ(step(R"("at": 31536000, "fault": "close")").at_us, 31'536'000'000'000U);
    EXPECT_EQ(step(R"("every": [2, 2], "fault": "close")").every_us.most, 2'000'000U);
    EXPECT_EQ(step(R"("at": 0, "after": 1000000, "fault": "close")").after, 1'000'000U);
    EXPECT_EQ(step(R"("at": 0, "times": 1000000, "fault": "close")").times, 1'000'000U);
    EXPECT_EQ(step(R"("at": 0, "chance": 1, "fault": "close")").chance, 1);
    EXPECT_EQ(step(R"("request": "", "fault": "delay", "ms": [3600000, 3600000])").delay_us.least,
              3'600'000'000U);
    const scenario_step cut =
        step(R"("request": "", "fault": "cut", "at": [1000000], "ms": 3600000)");
    EXPECT_EQ(cut.cuts, std::vector<std::size_t>{1'000'000});
    EXPECT_EQ(cut.pause_us, 3'600'000'000U);
    EXPECT_EQ(step(R"("at": 0, "fault": "garbage", "bytes": 1)").bytes, 1U);
    EXPECT_EQ(step(R"("at": 0, "fault": "garbage", "bytes": 1000000)").bytes, 1'000'000U);
    const scenario_step burst =
        step(R"("at": 0, "fault": "burst", "messages": 1000000, "rate": 100000)");
    EXPECT_EQ(burst.messages, 1'000'000U);
    EXPECT_EQ(burst.interval_us, 10U);
    EXPECT_EQ(step(R"("at": 0, "fault": "silence", "for": 0)").for_us, 0U);
}

TEST_F(ScenarioFile, TellsTheLineOfASyntaxError)
{
    EXPECT_EQ(read("{\"steps\":\n[{},\n]}"),
              "FILE:3: syntax error while parsing value - unexpected ']'; expected '[', '{', or a "
              "literal");
    EXPECT_EQ(read(""), "FILE:1: syntax error while parsing value - unexpected end of input; "
                        "expected '[', '{', or a literal");
    EXPECT_EQ(read("{\"seed\":\n\n1e999}"), "FILE:3: number overflow parsing '1e999'");
}

TEST_F(ScenarioFile, TellsWhatIsWrongWithTheWhole)
{
    EXPECT_EQ(read("[]"), "FILE:1: not an object");
    EXPECT_EQ(read("{}"), "FILE:1: \"steps\" is missing");
    EXPECT_EQ(read("{\"steps\": [],\n\"sed\": 1}"), "FILE:2: unknown key \"sed\"");
    EXPECT_EQ(read("{\n\"steps\": 5}"), "FILE:2: \"steps\" is not a list of objects");
    EXPECT_EQ(read("{\n\"steps\": [{\"at\": 1, \"fault\": \"close\"}, 5]}"),
              "FILE:2: \"steps\" is not a list of objects");
    EXPECT_EQ(read("{\"steps\": [],\n\"seed\": -1}"),
              "FILE:2: \"seed\" is not a whole number from 0 to 18446744073709551615");
    EXPECT_EQ(read("{\"seed\": 1,\n\"seed\": 1, \"steps\": []}"),
              "FILE:2: \"seed\" stands here twice");
    EXPECT_EQ(read("{\"seed\": 1,\n\"seed\": 1,\n\"seed\": 1,\n]}"),
              "FILE:2: \"seed\" stands here twice");
}

TEST_F(ScenarioFile, TellsOfAFileThatCannotBeRead)
{
    std::string error;
    EXPECT_FALSE(read_scenario_file(plan, "/nowhere/x.json", {}, error));
    EXPECT_EQ(error, "/nowhere/x.json: cannot be opened: No such file or directory");
    EXPECT_FALSE(read_scenario_file(plan, "/", {}, error));
    EXPECT_EQ(error, "/: cannot be read: Is a directory");
}

TEST_P(WrongStep, IsRefusedWithItsLineAndTheReason)
{
    EXPECT_EQ(refusal_of(GetParam().keys), std::string("FILE:") + GetParam().refusal);
}

INSTANTIATE_TEST_SUITE_P(
    ScenarioFile, WrongStep,
    testing::Values(
        wrong_step{"NoTrigger", R"("fault": "close")",
                   "2: neither \"at\", \"every\", \"connection\" nor \"request\", and no \"name\""},
        wrong_step{"TwoTriggers", "\"every\": [1, 2], \"fault\": \"close\",\n\"at\": 1",
                   "2: a second trigger, only one can be"},
        wrong_step{"NoFault", "\n\"at\": 1", "2: \"fault\" is missing"},
        wrong_step{"UnknownFault", "\"at\": 1,\n\"fault\": \"loose\"",
                   "3: unknown fault \"loose\""},
        wrong_step{"FaultNoText", R"("at": 1, "fault": 5)", "2: \"fault\" is not a text"},
        wrong_step{"ReplyFaultWithoutRequest", R"("at": 1, "fault": "lose")",
                   "2: \"request\" is missing, \"lose\" is of a reply"},
        wrong_step{"UnknownKey", "\"at\": 1, \"fault\": \"close\",\n\"ms\": [1, 2]",
                   "3: unknown key \"ms\""},
        wrong_step{"KeyTwice", "\"at\": 1, \"fault\": \"close\",\n\"fault\": \"reset\"",
                   "3: \"fault\" stands here twice"},
        wrong_step{"At", R"("at": -1, "fault": "close")",
                   "2: \"at\" is not a number of seconds, 0 to a year"},
        wrong_step{"EveryReversed", R"("every": [3, 2], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryNoRange", R"("every": 2, "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryOfThree", R"("every": [1, 2, 3], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryLeastNoNumber", R"("every": [null, 2], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryMostNoNumber", R"("every": [1, "2"], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryAboveLimit", R"("every": [1, 31536001], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryBelowLimit", R"("every": [0.0009, 2], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"EveryTooOften", R"("every": [0, 2], "fault": "close")",
                   "2: \"every\" is not [LEAST, MOST] in seconds, 0.001 to a year"},
        wrong_step{"Connection", R"("connection": 1.5, "fault": "close")",
                   "2: \"connection\" is not a whole number from 0 to 1000000"},
        wrong_step{"Request", R"("request": 1, "fault": "close")", "2: \"request\" is not a text"},
        wrong_step{"Name", R"("name": "", "fault": "close")",
                   "2: \"name\" is not a text with something in it"},
        wrong_step{"OffWithoutName", R"("at": 1, "off": true, "fault": "close")",
                   "2: \"name\" is missing, by which it is switched on"},
        wrong_step{"ConnectionAboveLimit", R"("connection": 1000001, "fault": "close")",
                   "2: \"connection\" is not a whole number from 0 to 1000000"},
        wrong_step{"AfterAboveLimit", R"("at": 1, "after": 1000001, "fault": "close")",
                   "2: \"after\" is not a whole number from 0 to 1000000"},
        wrong_step{"After", R"("at": 1, "after": -1, "fault": "close")",
                   "2: \"after\" is not a whole number from 0 to 1000000"},
        wrong_step{"Times", R"("at": 1, "times": 1000001, "fault": "close")",
                   "2: \"times\" is not a whole number from 0 to 1000000"},
        wrong_step{"ChanceOfNothing", R"("at": 1, "chance": 0, "fault": "close")",
                   "2: \"chance\" is not a number above 0 and at most 1"},
        wrong_step{"ChanceAboveOne", R"("at": 1, "chance": 1.01, "fault": "close")",
                   "2: \"chance\" is not a number above 0 and at most 1"},
        wrong_step{"NoMs", R"("request": "", "fault": "delay")", "2: \"ms\" is missing"},
        wrong_step{"MsReversed", "\"request\": \"\", \"fault\": \"delay\",\n\"ms\": [2, 1]",
                   "3: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"MsNoRange", R"("request": "", "fault": "late", "ms": 5)",
                   "2: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"MsOfThree", R"("request": "", "fault": "late", "ms": [1, 2, 3])",
                   "2: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"MsLeastNoNumber", R"("request": "", "fault": "late", "ms": [null, 2])",
                   "2: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"MsMostNoNumber", R"("request": "", "fault": "late", "ms": [1, "2"])",
                   "2: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"MsAboveLimit", R"("request": "", "fault": "late", "ms": [1, 3600001])",
                   "2: \"ms\" is not [LEAST, MOST] in whole milliseconds, 0 to 3600000"},
        wrong_step{"PauseAboveLimit", R"("request": "", "fault": "cut", "at": [1], "ms": 3600001)",
                   "2: \"ms\" is not a whole number from 0 to 3600000"},
        wrong_step{"PauseNoNumber", R"("request": "", "fault": "cut", "at": [1], "ms": [1, 2])",
                   "2: \"ms\" is not a whole number from 0 to 3600000"},
        wrong_step{"CutAtNothing", R"("request": "", "fault": "cut", "at": [], "ms": 1)",
                   "2: \"at\" is not a list of whole numbers from 1 to 1000000"},
        wrong_step{"CutAtZero", R"("request": "", "fault": "cut", "at": [0], "ms": 1)",
                   "2: \"at\" is not a list of whole numbers from 1 to 1000000"},
        wrong_step{"CutAboveLimit", R"("request": "", "fault": "cut", "at": [1, 1000001], "ms": 1)",
                   "2: \"at\" is not a list of whole numbers from 1 to 1000000"},
        wrong_step{"CutNoList", R"("request": "", "fault": "cut", "at": 1, "ms": 1)",
                   "2: \"at\" is not a list of whole numbers from 1 to 1000000"},
        wrong_step{"CodeTooLong", R"("request": "", "fault": "error", "code": "012")",
                   "2: \"code\" is not two hexadecimal digits"},
        wrong_step{"CodeNoDigits", R"("request": "", "fault": "error", "code": "0G")",
                   "2: \"code\" is not two hexadecimal digits"},
        wrong_step{"Bytes", R"("request": "", "fault": "length", "bytes": 1000001)",
                   "2: \"bytes\" is not a whole number from 0 to 1000000"},
        wrong_step{"NoGarbage", R"("at": 1, "fault": "garbage", "bytes": 0)",
                   "2: \"bytes\" is not a whole number from 1 to 1000000"},
        wrong_step{"Messages", R"("at": 1, "fault": "burst", "messages": 0, "rate": 1)",
                   "2: \"messages\" is not a whole number from 1 to 1000000"},
        wrong_step{"MessagesAboveLimit",
                   R"("at": 1, "fault": "burst", "messages": 1000001, "rate": 1)",
                   "2: \"messages\" is not a whole number from 1 to 1000000"},
        wrong_step{"Rate", R"("at": 1, "fault": "burst", "messages": 1, "rate": 0)",
                   "2: \"rate\" is not a whole number from 1 to 100000"},
        wrong_step{"RateAboveLimit", R"("at": 1, "fault": "burst", "messages": 1, "rate": 100001)",
                   "2: \"rate\" is not a whole number from 1 to 100000"},
        wrong_step{"NoFor", R"("at": 1, "fault": "silence")", "2: \"for\" is missing"},
        wrong_step{"ForTooLong", R"("at": 1, "fault": "silence", "for": 31536001)",
                   "2: \"for\" is not a number of seconds, 0 to a year"},
        wrong_step{"Answered", R"("request": "", "fault": "close", "answered": 1)",
                   "2: \"answered\" is not true or false"},
        wrong_step{"AnsweredWithoutRequest", R"("at": 1, "fault": "close", "answered": true)",
                   "2: unknown key \"answered\""},
        wrong_step{"Inside", R"("at": 1, "fault": "reset", "inside": 1)",
                   "2: \"inside\" is not true or false"},
        wrong_step{"Destination", R"("at": 1, "fault": "take", "destination": 3)",
                   "2: \"destination\" is not the index of a destination of the router"},
        wrong_step{"Source", R"("at": 1, "fault": "take", "source": 4)",
                   "2: \"source\" is not the index of a source of the router"},
        wrong_step{"RenameOfTwo", R"("at": 1, "fault": "rename", "source": 1, "destination": 1)",
                   "2: \"source\" and \"destination\" cannot be renamed in one step"},
        wrong_step{"ToWhatDoesNotFit", R"("at": 1, "fault": "rename", "to": "A\tB")",
                   "2: \"to\" holds a control character"},
        wrong_step{"ContradictedNames", R"("request": "QN", "fault": "contradict")",
                   "2: \"request\" is not QI or TI, which alone show a source"}),
    [](const auto& each) { return std::string(each.param.name); });
