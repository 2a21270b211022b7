#include "frame/command_line.h"
#include "support/backend_test.h"

namespace {
class CommandLine : public BackendTest {
  protected:
    // Parses the arguments behind the program's name.
    bool parse(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "/usr/bin/backend");
        std::vector<char*> vector;
        for (std::string& argument : arguments)
            vector.push_back(argument.data());
        vector.push_back(nullptr);
        return parse_command_line(static_cast<int>(arguments.size()), vector.data(), config_path);
    }

    std::string config_path = "left over";
};

constexpr const char* USAGE = "Grass Valley routing switcher backend process.\n"
                              "/usr/bin/backend: [options]\n"
                              " --file <path>\n";
constexpr const char* NO_PATH =
    "No file path specified, use --file option. See --help for details\n";
} // namespace

TEST_F(CommandLine, AcceptsTheFile)
{
    EXPECT_TRUE(parse({"--file", "/etc/a.conf"}));
    EXPECT_EQ(config_path, "/etc/a.conf");
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(CommandLine, AcceptsAnyNumberOfDashes)
{
    for (const char* option : {"-file", "--file", "---file", "----------file"}) {
        EXPECT_TRUE(parse({option, option})) << option;
        EXPECT_EQ(config_path, option);
    }
}

TEST_F(CommandLine, UsesTheLastFile)
{
    EXPECT_TRUE(parse({"--file", "a", "--file", "b"}));
    EXPECT_EQ(config_path, "b");
}

TEST_F(CommandLine, PrintsItsUsageForHelp)
{
    for (const char* option : {"--help", "-h", "---help", "-help", "--h"}) {
        EXPECT_FALSE(parse({option})) << option;
        EXPECT_EQ(diagnostics(), USAGE);
    }
}

TEST_F(CommandLine, StopsAtHelp)
{
    EXPECT_FALSE(parse({"foo", "--file", "a", "--help", "-x", "bar"}));
    EXPECT_EQ(diagnostics(), std::string("Unknown argument 'foo'\n") + USAGE);
}

TEST_F(CommandLine, RefusesAnUnknownSwitchAndStopsThere)
{
    EXPECT_FALSE(parse({"--file", "a", "-x", "--help"}));
    EXPECT_EQ(diagnostics(), "Unknown switch 'x'\n");
}

TEST_F(CommandLine, ComparesSwitchesExactly)
{
    for (const std::string option : {"File", "files", "fil", "H", "he", "helpme", "file=a", "x-"}) {
        EXPECT_FALSE(parse({"--" + option, "a"}));
        EXPECT_EQ(diagnostics(), "Unknown switch '" + option + "'\n");
    }
}

TEST_F(CommandLine, RefusesDashesAlone)
{
    for (const char* option : {"-", "--", "----"}) {
        EXPECT_FALSE(parse({option})) << option;
        EXPECT_EQ(diagnostics(), "Unknown switch ''\n");
    }
}

TEST_F(CommandLine, SkipsArgumentsWithoutDash)
{
    EXPECT_TRUE(parse({"foo", "--file", "/etc/a.conf", "file", ""}));
    EXPECT_EQ(config_path, "/etc/a.conf");
    EXPECT_EQ(diagnostics(),
              "Unknown argument 'foo'\nUnknown argument 'file'\nUnknown argument ''\n");
}

TEST_F(CommandLine, EndsSilentlyWhenTheFileIsMissing)
{
    EXPECT_FALSE(parse({"--file"}));
    EXPECT_FALSE(parse({"--file", "a", "--file"}));
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(CommandLine, UsesWhateverFollowsFileAsThePath)
{
    EXPECT_TRUE(parse({"--file", "--help"}));
    EXPECT_EQ(config_path, "--help");
    EXPECT_TRUE(parse({"--file", "--file"}));
    EXPECT_EQ(config_path, "--file");
    EXPECT_EQ(diagnostics(), "");
}

TEST_F(CommandLine, NeedsAPath)
{
    EXPECT_FALSE(parse({}));
    EXPECT_EQ(diagnostics(), NO_PATH);
    EXPECT_FALSE(parse({"foo"}));
    EXPECT_EQ(diagnostics(), std::string("Unknown argument 'foo'\n") + NO_PATH);
}

TEST_F(CommandLine, RefusesAnEmptyPath)
{
    EXPECT_FALSE(parse({"--file", ""}));
    EXPECT_EQ(diagnostics(), NO_PATH);
    EXPECT_FALSE(parse({"--file", "a", "--file", ""}));
    EXPECT_EQ(diagnostics(), NO_PATH);
    EXPECT_TRUE(parse({"--file", "", "--file", "b"}));
    EXPECT_EQ(config_path, "b");
}
