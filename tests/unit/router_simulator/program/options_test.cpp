#include <gmock/gmock.h>
#include <sstream>

#include "router_simulator/program/options.h"

using namespace router_simulator;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {
class SimulatorOptions : public testing::Test {
  protected:
    std::optional<int> parse(std::vector<const char*> arguments)
    {
        arguments.insert(arguments.begin(), "router_simulator");
        return parse_options(static_cast<int>(arguments.size()), arguments.data(), options, output,
                             errors);
    }

    // The first line printed about these arguments, which must be refused.
    std::string refusal(const std::vector<const char*>& arguments)
    {
        errors.str("");
        EXPECT_EQ(parse(arguments), 1);
        return errors.str().substr(0, errors.str().find('\n'));
    }

    simulator_options options;
    std::ostringstream output;
    std::ostringstream errors;
};
} // namespace

TEST_F(SimulatorOptions, DescribeARouterOnLoopback)
{
    EXPECT_EQ(parse({}), std::nullopt);
    EXPECT_EQ(options.listen, "127.0.0.1");
    EXPECT_EQ(options.port, 12345);
    EXPECT_EQ(options.router.sources, 32U);
    EXPECT_EQ(options.router.destinations, 32U);
    EXPECT_EQ(options.router.sequence, sequence_style::ones);
    EXPECT_FALSE(options.router.announce);
    EXPECT_EQ(options.router.source_base, 1U);
    EXPECT_EQ(options.router.destination_base, 1U);
    EXPECT_FALSE(options.trace);
    EXPECT_FALSE(options.json_events);
}

TEST_F(SimulatorOptions, ChooseTheFormOfEvents)
{
    EXPECT_EQ(parse({"--events", "json"}), std::nullopt);
    EXPECT_TRUE(options.json_events);
    EXPECT_EQ(refusal({"--events", "xml"}), "--events: text or json expected");
}

TEST_F(SimulatorOptions, SetTheNetworkSide)
{
    EXPECT_EQ(
        parse({"--listen", "127.0.0.2", "--port", "0", "--trace", "--receive-buffer", "2048"}),
        std::nullopt);
    EXPECT_EQ(options.listen, "127.0.0.2");
    EXPECT_EQ(options.port, 0);
    EXPECT_TRUE(options.trace);
    EXPECT_EQ(options.receive_buffer, 2048);
}

TEST_F(SimulatorOptions, SetTheRouter)
{
    EXPECT_EQ(parse({"--sources", "1024", "--destinations", "0", "--levels", "32", "--source-base",
                     "1", "--destination-base", "65535", "--entries-per-answer", "7"}),
              std::nullopt);
    EXPECT_EQ(options.router.sources, 1024U);
    EXPECT_EQ(options.router.destinations, 0U);
    EXPECT_EQ(options.router.levels, 32U);
    EXPECT_EQ(options.router.source_base, 1U);
    EXPECT_EQ(options.router.destination_base, 65535U);
    EXPECT_EQ(options.router.entries_per_answer, 7U);
}

TEST_F(SimulatorOptions, SetTextsAndManner)
{
    EXPECT_EQ(parse({"--model", "Box", "--title", "", "--revision", "r 2", "--names", "n.csv",
                     "--sequence", "counting", "--announce"}),
              std::nullopt);
    EXPECT_EQ(options.router.model, "Box");
    EXPECT_EQ(options.router.title, "");
    EXPECT_EQ(options.router.revision, "r 2");
    EXPECT_EQ(options.names_file, "n.csv");
    EXPECT_EQ(options.router.sequence, sequence_style::counting);
    EXPECT_TRUE(options.router.announce);
}

TEST_F(SimulatorOptions, AreRefusedOutOfRange)
{
    EXPECT_EQ(refusal({"--sources", "1025"}), "--sources: Value 1025 not in range 0 to 1024");
    EXPECT_EQ(refusal({"--destinations", "-1"}), "--destinations: Value -1 not in range 0 to 1024");
    EXPECT_EQ(refusal({"--levels", "33"}), "--levels: Value 33 not in range 0 to 32");
    EXPECT_EQ(refusal({"--port", "65536"}), "--port: Value 65536 not in range 0 to 65535");
    EXPECT_EQ(refusal({"--source-base", "65536"}),
              "--source-base: Value 65536 not in range 0 to 65535");
    EXPECT_EQ(refusal({"--entries-per-answer", "0"}),
              "--entries-per-answer: Value 0 not in range 1 to 1024");
}

TEST_F(SimulatorOptions, AreRefusedWhenTheyMakeNoSense)
{
    EXPECT_THAT(refusal({"--listen", "router"}), StartsWith("--listen: "));
    EXPECT_EQ(refusal({"--sequence", "twos"}), "--sequence: ones or counting expected");
    EXPECT_EQ(refusal({"--model", "A\tB"}), "--model: the text holds a control character");
    EXPECT_EQ(refusal({"--title", std::string(201, 'x').c_str()}),
              "--title: the text is longer than 200 bytes");
    EXPECT_EQ(refusal({"--bogus"}), "unknown option --bogus");
    EXPECT_EQ(refusal({"12345"}), "unexpected argument 12345");
}

TEST_F(SimulatorOptions, AreExplained)
{
    EXPECT_EQ(parse({"--help"}), 0);
    EXPECT_THAT(output.str(), HasSubstr("\nUsage: router_simulator [OPTIONS]\n"));
    EXPECT_THAT(output.str(),
                HasSubstr("--sources N=32              number of sources, 0 to 1024"));
    EXPECT_THAT(output.str(), HasSubstr("  take DESTINATION SOURCE "));
    EXPECT_THAT(output.str(), HasSubstr("With a base of 0 the first output\nstays unknown to it, "
                                        "and it sees the takes of others late.\n"));
    EXPECT_THAT(output.str(),
                EndsWith("Exit status: 0 when it was ended; 1 when it could not start.\n"));
    EXPECT_EQ(errors.str(), "");
}

TEST_F(SimulatorOptions, SetTheScenario)
{
    EXPECT_EQ(parse({"--scenario", "storm.json"}), std::nullopt);
    EXPECT_EQ(options.scenario_file, "storm.json");
    EXPECT_EQ(options.seed, std::nullopt);
    EXPECT_EQ(parse({"--scenario", "storm.json", "--seed", "18446744073709551615"}), std::nullopt);
    EXPECT_EQ(options.seed, UINT64_MAX);
}

TEST_F(SimulatorOptions, SeedIsOfAScenario)
{
    EXPECT_EQ(refusal({"--seed", "1"}), "--seed requires --scenario");
}
