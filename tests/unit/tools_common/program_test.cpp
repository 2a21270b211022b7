#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <sstream>

#include "tools/common/program.h"

using namespace common;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {
class Program : public testing::Test {
  protected:
    std::ostringstream output;
    std::ostringstream errors;
    int count = 3;

    std::optional<int> parse(const std::vector<const char*>& arguments)
    {
        CLI::App app("Does something.", "tool");
        app.add_option("--count", count, "how often");
        return parse_arguments(app, static_cast<int>(arguments.size()), arguments.data(), output,
                               errors);
    }
};

int run_well(int argument_count, const char* const* /*arguments*/)
{
    return argument_count;
}

int run_into_an_error(int /*argument_count*/, const char* const* /*arguments*/)
{
    throw std::runtime_error("nothing works");
}
} // namespace

TEST_F(Program, GoesOnWithGoodArguments)
{
    EXPECT_EQ(parse({"tool", "--count", "5"}), std::nullopt);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(output.str() + errors.str(), "");
}

TEST_F(Program, TellsItsVersion)
{
    EXPECT_EQ(parse({"tool", "--version"}), 0);
    EXPECT_THAT(output.str(), MatchesRegex("tool [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Program, TellsItsUsage)
{
    EXPECT_EQ(parse({"tool", "--help"}), 0);
    EXPECT_THAT(output.str(), HasSubstr("print this text and exit\n"));
    EXPECT_THAT(output.str(), HasSubstr("print the version and exit\n"));
    EXPECT_EQ(errors.str(), "");
}

TEST_F(Program, EndsWithOneAfterWrongArguments)
{
    EXPECT_EQ(parse({"tool", "--count", "many"}), 1);
    EXPECT_EQ(parse({"tool", "--other"}), 1);
    EXPECT_EQ(output.str(), "");
    EXPECT_THAT(errors.str(), EndsWith("unknown option --other\n"
                                       "Run with --help for more information.\n"));
    EXPECT_EQ(parse({"tool", "word"}), 1);
    EXPECT_THAT(errors.str(), HasSubstr("\nunexpected argument word\n"));
}

TEST_F(Program, LeavesTheWordsOfACommand)
{
    CLI::App app("Does something.", "tool");
    app.prefix_command();
    const std::vector<const char*> command = {"tool", "take", "1", "--rest"};
    EXPECT_EQ(parse_arguments(app, 4, command.data(), output, errors), std::nullopt);
    EXPECT_EQ(app.remaining(), (std::vector<std::string>{"take", "1", "--rest"}));
    const std::vector<const char*> option = {"tool", "--other", "take"};
    EXPECT_EQ(parse_arguments(app, 3, option.data(), output, errors), 1);
    EXPECT_THAT(errors.str(), StartsWith("unknown option --other\n"));
}

TEST_F(Program, StatusIsThatOfItsRunOrOneAfterAnException)
{
    const char* const arguments[] = {"tool", nullptr};
    EXPECT_EQ(run_main(run_well, 7, arguments), 7);
    EXPECT_EQ(run_main(run_into_an_error, 1, arguments), 1);
}
