#include <gmock/gmock.h>
#include <sstream>

#include "server/program/options.h"

using program::command;

namespace {
struct Options : testing::Test {
    program::options options;
    std::ostringstream output;
    std::ostringstream errors;

    std::optional<int> read(std::vector<const char*> arguments)
    {
        arguments.insert(arguments.begin(), "router_control");
        options = {};
        errors.str("");
        return program::read_options(static_cast<int>(arguments.size()), arguments.data(), options,
                                     output, errors);
    }

    std::string complaint(const std::vector<const char*>& arguments)
    {
        EXPECT_EQ(read(arguments), 1);
        return errors.str().substr(0, errors.str().find('\n'));
    }
};
} // namespace

TEST_F(Options, AreRead)
{
    EXPECT_EQ(read({"--data", "d", "--config", "c"}), std::nullopt);
    EXPECT_EQ(options.command, command::serve);
    EXPECT_EQ(options.data, "d");
    EXPECT_EQ(options.config, "c");
    EXPECT_FALSE(options.demonstration);
    EXPECT_TRUE(options.backend.ends_with("/routing_switcher_backend"));
    EXPECT_EQ(options.port, std::nullopt);
    EXPECT_EQ(read({"--demo", "--port", "0"}), std::nullopt);
    EXPECT_EQ(options.port, 0);
    EXPECT_TRUE(options.demonstration);
}

TEST_F(Options, HaveCommands)
{
    EXPECT_EQ(read({"--data", "d", "backup", "f"}), std::nullopt);
    EXPECT_EQ(options.command, command::back_up);
    EXPECT_EQ(options.file, "f");
    EXPECT_EQ(read({"--data", "d", "check"}), std::nullopt);
    EXPECT_EQ(options.command, command::check);
    EXPECT_EQ(read({"--data", "d", "export", "f"}), std::nullopt);
    EXPECT_EQ(options.command, command::carry_out);
    EXPECT_EQ(options.file, "f");
    EXPECT_EQ(read({"--data", "d", "import", "g"}), std::nullopt);
    EXPECT_EQ(options.command, command::carry_in);
    EXPECT_EQ(options.file, "g");
}

TEST_F(Options, AreRefusedWhenTheyDoNotGoTogether)
{
    EXPECT_EQ(complaint({}),
              "--data DIR is needed: where the server keeps everything; or --demo to try it");
    EXPECT_EQ(complaint({"--demo", "--data", "d"}),
              "--demo keeps nothing: --data does not go with it");
    EXPECT_EQ(complaint({"--demo", "--config", "c"}),
              "--demo has its own settings: --config does not go with it");
    EXPECT_EQ(complaint({"--demo", "check"}), "--demo keeps nothing that a command could work on");
    EXPECT_EQ(complaint({"--data", "d", "--config", "c", "check"}),
              "--config is for the server, not for a command");
    EXPECT_EQ(complaint({"--data", "d", "--port", "80", "check"}),
              "--port is for the server, not for a command");
    EXPECT_EQ(complaint({"--data", "d", "backup"}), "backup needs a file");
    EXPECT_EQ(complaint({"--data", "d", "import"}), "import needs a file");
    EXPECT_EQ(complaint({"--data", "d", "export", "f", "g"}), "unexpected argument g");
    EXPECT_EQ(complaint({"--demo", "export", "f"}),
              "--demo keeps nothing that a command could work on");
    EXPECT_EQ(complaint({"--data", "d", "check", "f"}), "unexpected argument f");
    EXPECT_EQ(complaint({"--data", "d", "bogus"}), "there is no command bogus");
    EXPECT_EQ(complaint({"--bogus"}), "unknown option --bogus");
}
