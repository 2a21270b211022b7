#include <gmock/gmock.h>
#include <sstream>

#include "console/router_options.h"
#include "support/temporary_directory.h"

using namespace console;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
class RouterOptions : public testing::Test {
  protected:
    temporary_directory directory;
    console_options options;
    std::ostringstream output;
    std::ostringstream errors;

    RouterOptions()
    {
        options.backend = "beside";
        options.person = "anna";
    }

    std::optional<int> parse(std::vector<const char*> arguments)
    {
        arguments.insert(arguments.begin(), "router_console");
        return read_options(static_cast<int>(arguments.size()), arguments.data(), options, output,
                            errors);
    }

    // The first line of what is wrong.
    std::string refusal(const std::vector<const char*>& arguments)
    {
        errors.str("");
        options.routers.clear();
        EXPECT_EQ(parse(arguments), 1);
        return errors.str().substr(0, errors.str().find('\n'));
    }
};
} // namespace

TEST_F(RouterOptions, HaveDefaults)
{
    EXPECT_EQ(parse({"--router", "main=10.0.0.5"}), std::nullopt);
    ASSERT_EQ(options.routers.size(), 1U);
    EXPECT_EQ(options.routers[0],
              (desk::router_settings{.id = "main", .name = "main", .address = "10.0.0.5"}));
    EXPECT_EQ(options.wait_ready, std::chrono::seconds(10));
    EXPECT_FALSE(options.json);
    EXPECT_EQ(options.data, "");
    EXPECT_EQ(options.backend, "beside");
    EXPECT_EQ(options.person, "anna");
    EXPECT_THAT(options.words, IsEmpty());
    EXPECT_EQ(output.str() + errors.str(), "");
}

TEST_F(RouterOptions, MayAllBeGiven)
{
    const std::string file = directory.file("second.conf", "ip address=10.0.0.6\n");
    EXPECT_EQ(parse({"--router", "main=10.0.0.5:5000", "--file", file.c_str(), "--first-number",
                     "0", "--wait-ready", "0.25", "--json", "--data", "house.json", "--backend",
                     "./backend", "--person", "ben", "--router", "third=10.0.0.7"}),
              std::nullopt);
    ASSERT_EQ(options.routers.size(), 3U);
    EXPECT_EQ(options.routers[0].id, "second");
    EXPECT_EQ(options.routers[1].port, 5000);
    EXPECT_EQ(options.routers[2].address, "10.0.0.7");
    EXPECT_EQ(options.routers[2].first_number, 0);
    EXPECT_EQ(options.wait_ready, std::chrono::milliseconds(250));
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.data, "house.json");
    EXPECT_EQ(options.backend, "./backend");
    EXPECT_EQ(options.person, "ben");
}

TEST_F(RouterOptions, LeaveTheWordsOfACommandBehindThem)
{
    EXPECT_EQ(parse({"--router", "main=10.0.0.5", "take", "MON A", "CAM 3", "--rest", "--json"}),
              std::nullopt);
    EXPECT_THAT(options.words, ElementsAre("take", "MON A", "CAM 3", "--rest", "--json"));
    EXPECT_FALSE(options.json);
}

TEST_F(RouterOptions, SayWhatIsWrongFirst)
{
    EXPECT_EQ(refusal({"--router", "main=10.0.0.5", "--bogus"}), "unknown option --bogus");
    EXPECT_EQ(errors.str(), "unknown option --bogus\nRun with --help for more information.\n");
    EXPECT_EQ(refusal({}),
              "no router is given: --router NAME=ADDRESS[:PORT] or --file PATH is needed");
    EXPECT_EQ(refusal({"--router", "main"}), "--router main: NAME=ADDRESS[:PORT] expected");
    EXPECT_EQ(refusal({"--router", "=10.0.0.5"}),
              "--router =10.0.0.5: NAME=ADDRESS[:PORT] expected");
    EXPECT_EQ(refusal({"--router", "main=studio"}),
              "--router main=studio: \"studio\" is no IPv4 address (four numbers with dots)");
    for (const char* const port : {"", "0", "65536", "5000x", "-1"}) {
        const std::string router = std::string("main=10.0.0.5:") + port;
        EXPECT_EQ(refusal({"--router", router.c_str()}), "--router " + router + ": the port \"" +
                                                             port +
                                                             "\" is no number from 1 to 65535");
    }
    EXPECT_EQ(refusal({"--file", "/nowhere/main.conf"}),
              "cannot read /nowhere/main.conf: No such file or directory");
    for (const char* const person : {"", "  "})
        EXPECT_EQ(refusal({"--router", "main=10.0.0.5", "--person", person}),
                  "--person: a name is needed");
    options.person = "anna";
    EXPECT_THAT(refusal({"--first-number", "2"}), HasSubstr("--first-number: "));
    EXPECT_THAT(refusal({"--wait-ready", "-1"}), HasSubstr("--wait-ready: "));
}

TEST_F(RouterOptions, NameEachRouterOnce)
{
    const std::string file = directory.file("main.conf", "ip address=10.0.0.6\n");
    EXPECT_EQ(refusal({"--router", "main=10.0.0.5", "--file", file.c_str()}),
              "two routers are named main");
    EXPECT_EQ(parse({"--router", "東京=10.0.0.5", "--router", "大阪=10.0.0.6"}), std::nullopt);
}

TEST_F(RouterOptions, ShowNoControlCharactersOfAFile)
{
    const std::string file = directory.file("main.conf", "ip address=10.0.0.6\n\033[2J=1\n");
    EXPECT_EQ(parse({"--file", file.c_str()}), std::nullopt);
    EXPECT_THAT(errors.str(), HasSubstr("there is no setting \"\uFFFD[2J\""));
    EXPECT_EQ(refusal({"--router", "\033[2J"}), "--router \uFFFD[2J: NAME=ADDRESS[:PORT] expected");
}

TEST_F(RouterOptions, WarnOfAConfigurationFile)
{
    const std::string file = directory.file("main.conf", "ip address=10.0.0.6\nprot=1\n");
    EXPECT_EQ(parse({"--file", file.c_str()}), std::nullopt);
    EXPECT_EQ(errors.str(), "Warning: " + file +
                                ", line 2 is ignored: there is no setting \"prot\"; did you mean "
                                "\"port\"?\n");
}

TEST_F(RouterOptions, AreExplained)
{
    EXPECT_EQ(parse({"--help"}), 0);
    EXPECT_THAT(output.str(), HasSubstr("--router NAME=ADDRESS[:PORT]"));
    EXPECT_THAT(output.str(), HasSubstr("\nExit status of a script or a command: 0 when"));
    EXPECT_EQ(parse({"--version"}), 0);
    EXPECT_THAT(output.str(), HasSubstr("\nrouter_console "));
    EXPECT_EQ(errors.str(), "");
}
