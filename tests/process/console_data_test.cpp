// What a console keeps over its life with --data.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "support/console_process.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {
class ConsoleData : public ScriptedConsole {
  protected:
    std::string data = (directory.path / "house.json").string();

    // On the simulator, with the file. What a slow machine confirms late is waited for.
    int play_with_data(const std::string& script)
    {
        return play(on_simulator({"--data", data, "--person", "anna"}),
                    "set confirmation-limit 50s\n" + script);
    }

    std::string kept() const
    {
        std::ifstream file(data);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    bool comes_to_hold(const std::string& text)
    {
        return until([&] { return kept().find(text) != std::string::npos; });
    }
};
} // namespace

TEST_F(ConsoleData, IsRememberedByTheNextConsole)
{
    start_simulator();
    EXPECT_EQ(play_with_data("salvo save NEWS 1-2\nset alias source 3 Studio\ntake 1 3\n"
                             "lock 2 'on air'\n"),
              0);
    EXPECT_EQ(play_with_data("salvo list\ntake 2 3\nundo\nset\n"), 2) << "of the lock";
    EXPECT_THAT(output, AllOf(HasSubstr("NEWS "),
                              HasSubstr("Not sent: MON B <- Studio: MON B is locked by anna (on "
                                        "air).\n"),
                              HasSubstr("Undoing MON A: Studio -> CAM 1.\n"),
                              HasSubstr("MON A shows CAM 1: confirmed")));
}

TEST_F(ConsoleData, LimitOfARouterIsRemembered)
{
    start_simulator();
    EXPECT_EQ(play_with_data(""), 0);
    EXPECT_EQ(play(on_simulator({"--data", data, "set"})), 0);
    EXPECT_THAT(output, HasSubstr("confirmation-limit  50.0 s\n"));
}

TEST_F(ConsoleData, RouterThatIsNotAskedForStaysOff)
{
    start_simulator();
    EXPECT_EQ(play({"--data", data, "--router", simulator_as("main"), "--router",
                    simulator_as("back"), "--wait-ready", "200"},
                   "use back; lock 1\n"),
              0);
    EXPECT_EQ(play_with_data("routers\nuse back; take 2 3\n"), 3);
    EXPECT_THAT(output, AllOf(HasSubstr("back is off"), HasSubstr("Not sent: ")));
    EXPECT_EQ(play({"--data", data, "--router", simulator_as("back"), "--wait-ready", "200", "take",
                    "1", "3"}),
              2);
    EXPECT_THAT(output, HasSubstr("MON A is locked by ")) << "what was kept of it is still there";
}

TEST_F(ConsoleData, RouterThatIsNotAskedForKeepsItsUndo)
{
    start_simulator();
    const auto single = [&](const char* name, const std::vector<std::string>& words) {
        std::vector<std::string> all{"--data", data, "--router", simulator_as(name)};
        all.insert(all.end(), words.begin(), words.end());
        return play(all);
    };
    EXPECT_EQ(single("main", {"take", "1", "3"}), 0);
    EXPECT_EQ(single("back", {"routes", "1"}), 0);
    EXPECT_EQ(single("main", {"undo"}), 0) << output;
    EXPECT_EQ(play({"--data", data, "--router", simulator_as("back")},
                   "use main\nset address 127.0.0.1\nrouters\n"),
              0);
    EXPECT_THAT(output,
                AllOf(HasSubstr("main is off: the command line does not name it"),
                      HasSubstr("address of main: 127.0.0.1"), Not(HasSubstr("off since"))));
}

TEST_F(ConsoleData, TellsNoScriptWhoseLocksWereBrokenMeanwhile)
{
    start_simulator();
    EXPECT_EQ(play_with_data("lock 3 'on air'\n"), 0);
    EXPECT_EQ(play(on_simulator({"--data", data, "--person", "ben", "unlock", "3", "needed"})), 0);
    EXPECT_EQ(play_with_data(""), 0);
    EXPECT_THAT(output, Not(HasSubstr("broken")));
    EXPECT_THAT(kept(), HasSubstr("needed")) << "which is still to be told";
}

TEST_F(ConsoleData, SettingThatTheOptionsSayAnewIsRefused)
{
    start_simulator();
    EXPECT_EQ(play(on_simulator({"--data", data, "set", "first-number", "0"})), 1);
    EXPECT_THAT(output, HasSubstr("the options of the next one say the first-number anew.\n"));
    EXPECT_EQ(play(on_simulator({"--data", data, "set", "confirmation-limit", "40s"})), 0);
    EXPECT_EQ(play(on_simulator({"--data", data, "set"})), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("first-number        1\n"),
                              HasSubstr("confirmation-limit  40.0 s\n")));
}

TEST_F(ConsoleData, IsForOneConsoleAtATime)
{
    start_simulator();
    start_console(on_simulator({"--data", data}));
    ASSERT_TRUE(read_until(printed.ours.number, "is ready"));
    write_all(input.ours.number, "lock 1 first\n");
    ASSERT_TRUE(comes_to_hold("first")) << "while the console runs";
    child_process first;
    std::swap(first.process, console.process);
    const descriptor_pair first_input = std::move(input);
    const descriptor_pair first_printed = std::move(printed);
    EXPECT_EQ(play_with_data("lock 2 second\n"), 1);
    EXPECT_EQ(output, data + " is in use by another console.\n");
    write_all(first_input.ours.number, "lock 3 third\n");
    EXPECT_TRUE(comes_to_hold("third"));
    kill(first.process, SIGKILL);
    EXPECT_EQ(status_at_end(first), -SIGKILL);
    EXPECT_EQ(play_with_data("destinations 1-3\n"), 0) << "it is free by now";
    EXPECT_THAT(output, AllOf(HasSubstr("first"), HasSubstr("third"), Not(HasSubstr("second"))));
}

TEST_F(ConsoleData, IsLeftAloneWhenItIsDamaged)
{
    start_simulator();
    ASSERT_EQ(play_with_data("lock 1 first\n"), 0);
    const std::string cut = kept().substr(0, kept().size() / 2);
    std::ofstream(data) << cut;
    EXPECT_EQ(play_with_data("lock 2\n"), 1);
    EXPECT_THAT(output, AllOf(StartsWith(data + " cannot be used: line "),
                              EndsWith(": this is no JSON.\n")));
    EXPECT_EQ(kept(), cut);
}

TEST_F(ConsoleData, EndTellsThatItCannotBeWritten)
{
    start_simulator();
    const std::filesystem::path folder = directory.path / "folder";
    std::filesystem::create_directory(folder);
    data = (folder / "house.json").string();
    start_console(on_simulator({"--data", data}));
    ASSERT_TRUE(read_until(printed.ours.number, "is ready"));
    ASSERT_TRUE(comes_to_hold("main")) << "the router is new";
    std::filesystem::rename(folder, directory.path / "moved");
    write_all(input.ours.number, "lock 1\n");
    const std::string complaint = "Cannot write " + data + ": No such file or directory.";
    EXPECT_TRUE(read_until(printed.ours.number, complaint + " It is tried again.\n"));
    input.ours.reset();
    output.clear();
    EXPECT_EQ(status_after(printed.ours.number), 2);
    EXPECT_THAT(output, HasSubstr(complaint + "\n"));
}

// It is in the file before it goes out.
TEST_F(ConsoleData, TakeIsNotForgottenByAKill)
{
    ASSERT_TRUE(start_with_open_wish({"--data", data, "take", "1", "3"}));
    kill(console.process, SIGKILL);
    EXPECT_EQ(status_after(printed.ours.number), -SIGKILL);
    EXPECT_THAT(kept(), HasSubstr(R"("end": "open")"));
}

TEST_F(ConsoleData, WishThatWasOpenAtTheEndIsNotForgotten)
{
    ASSERT_TRUE(start_with_open_wish({"--data", data, "take", "1", "3"}));
    kill(console.process, SIGTERM);
    EXPECT_EQ(status_after(printed.ours.number), 128 + SIGTERM);
    EXPECT_EQ(play_with_data("routes problems\n"), 0);
    EXPECT_THAT(output,
                HasSubstr("MON A        1  CAM 1   CAM 3 unknown: the program was restarted; "
                          "then the router showed CAM 1\n"));
}
