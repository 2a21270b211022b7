// The console without a terminal: single commands and scripts, on real backends and simulators.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/console_process.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {
class Console : public ScriptedConsole {
  protected:
    // Of JSON: the lines of this type.
    std::vector<nlohmann::json> objects(const std::string& type) const
    {
        std::vector<nlohmann::json> found;
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);) {
            nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
            EXPECT_TRUE(object.is_object()) << line;
            if (object.is_object() && object.value("type", "") == type) found.push_back(object);
        }
        return found;
    }
};

// A backend's place that says nothing and takes everything.
const std::string MUTE = "exec cat >/dev/null\n";
} // namespace

TEST_F(Console, SingleCommandWaitsForItsOutcome)
{
    EXPECT_EQ(play_on_simulator({"take", "MON A", "CAM 3"}), 0);
    EXPECT_THAT(output, HasSubstr(" MON A shows CAM 3: confirmed after "));
    EXPECT_FALSE(has_left_files());
    tell_simulator("routes");
    EXPECT_TRUE(simulator_prints("1 MON A <- 3 CAM 3"));
}

TEST_F(Console, SingleCommandKnowsTheRoutes)
{
    EXPECT_EQ(play_on_simulator({"routes", "1-2"}), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("1  MON A"), HasSubstr("2  MON B        2  CAM 2")));
}

TEST_F(Console, WhatIsNotUnderstoodGivesStatusOne)
{
    EXPECT_EQ(play_on_simulator({"lock", "MON A"}), 1);
    EXPECT_THAT(output, HasSubstr("lock alone would last no longer than this command: --data FILE "
                                  "keeps it.\n"));
    EXPECT_EQ(play_on_simulator({"take", "nowhere", "1"}), 1);
    EXPECT_THAT(output, HasSubstr("There is no destination \"nowhere\""));
    EXPECT_EQ(play_on_simulator({}, "take 'nowhere\n"), 1);
    EXPECT_THAT(output, HasSubstr("A quote is not closed.\n"));
    EXPECT_EQ(play(on_simulator({"--bogus"})), 1);
    EXPECT_EQ(output, "unknown option --bogus\nRun with --help for more information.\n");
    EXPECT_EQ(play({"take", "1", "2"}), 1);
    EXPECT_THAT(output, StartsWith("no router is given: "));
}

TEST_F(Console, RefusalOfTheRouterGivesStatusTwo)
{
    start_simulator();
    tell_simulator("refuse 1 3 05");
    EXPECT_EQ(play(on_simulator({"take", "MON A", "CAM 3"})), 2);
    EXPECT_THAT(output, HasSubstr("refused by the router (ER 05)"));
}

TEST_F(Console, RouterThatCannotBeReachedGivesStatusThree)
{
    EXPECT_EQ(play({"--router", "main=127.0.0.1:1", "--wait-ready", "5", "take", "1", "2"}), 3);
    EXPECT_THAT(output, EndsWith("main (127.0.0.1:1) is not ready after 5 s: cannot connect to "
                                 "127.0.0.1:1: Connection refused.\n"));
    const std::string mute = script_backend(MUTE);
    EXPECT_EQ(play({"--router", "main=10.0.0.5", "--wait-ready", "0.1", "--backend", mute, "take",
                    "1", "2"}),
              3);
    EXPECT_THAT(output, EndsWith("main (10.0.0.5:12345) did not answer within 0.1 s.\n"));
    const std::string config = directory.file("lost.conf", "port=5000\n");
    EXPECT_EQ(play({"--file", config, "take", "1", "2"}), 3);
    EXPECT_THAT(output, EndsWith("lost cannot be reached: no address is set.\n"));
}

TEST_F(Console, ScriptOnALinkThatIsDownIsRefusedAtOnce)
{
    EXPECT_EQ(play({"--router", "main=127.0.0.1:1", "--wait-ready", "0"}, "take 1 2\n"), 3);
    EXPECT_FALSE(has_left_files());
}

TEST_F(Console, HelpAndWhatIsNoCommandWaitForNoRouter)
{
    EXPECT_EQ(play({"--router", "main=127.0.0.1:1", "--wait-ready", "80000", "help", "take"}), 0);
    EXPECT_THAT(output, HasSubstr("take [DESTINATION SOURCE]"));
    EXPECT_EQ(play({"--router", "main=127.0.0.1:1", "--wait-ready", "80000", "tkae", "1"}), 1);
    EXPECT_EQ(output, "There is no command \"tkae\"; \"help\" lists them.\n");
}

TEST_F(Console, TakeWaitsForNoOtherRouter)
{
    tcp_router mute;
    listen_for_client(mute);
    start_simulator();
    EXPECT_EQ(play({"--router", simulator_as("main"), "--router",
                    "back=127.0.0.1:" + std::to_string(mute.port), "--wait-ready", "80000", "take",
                    "1", "3"}),
              0);
}

TEST_F(Console, ScriptWaitsForEachWish)
{
    EXPECT_EQ(play_on_simulator({}, "# News; nothing\ntake 1 5; take 1 6\n\t # and\n"
                                    "take \"mon b\" 'VTR 2'\nroutes 1-2"),
              0);
    EXPECT_THAT(output, HasSubstr("MON A shows CAM 5: confirmed"));
    EXPECT_LT(output.find("MON A shows CAM 5"), output.find("MON A shows CAM 6"));
    EXPECT_LT(output.find("MON B shows VTR 2"), output.find("Numbers begin at 1."));
}

TEST_F(Console, ScriptBeginsWhenTheRoutesAreKnown)
{
    const std::string scenario = directory.file(
        "slow.json", R"({"steps": [{"request": "QI", "fault": "delay", "ms": [10, 10]}]})");
    start_simulator({"--scenario", scenario});
    EXPECT_EQ(play(on_simulator(), "routes 30-32\n"), 0);
    EXPECT_THAT(output, HasSubstr("32  QC 2         32  TEST 2\n"));
}

TEST_F(Console, WorstOfAScriptCounts)
{
    start_simulator();
    tell_simulator("refuse 1 3 05");
    EXPECT_EQ(play(on_simulator(), "take 1 3\nbogus\ntake 2 3\n"), 2);
    EXPECT_THAT(output, AllOf(HasSubstr("There is no command \"bogus\""),
                              HasSubstr("MON B shows CAM 3: confirmed")));
}

TEST_F(Console, JsonIsAnObjectALine)
{
    EXPECT_EQ(play_on_simulator({"--json"}, "take 1 3\nbogus\n'\nhelp\n"), 1);
    const auto answers = objects("answer");
    ASSERT_EQ(answers.size(), 4U) << output;
    EXPECT_EQ(answers[0]["command"], "take");
    EXPECT_EQ(answers[0]["verdict"], "done");
    EXPECT_EQ(answers[1]["verdict"], "wrongUse");
    EXPECT_EQ(answers[1]["error"], "There is no command \"bogus\"; \"help\" lists them.");
    EXPECT_EQ(answers[2]["error"], "A quote is not closed.");
    bool confirmed = false;
    for (const nlohmann::json& event : objects("event"))
        if (event.value("event", "") == "outcome") {
            EXPECT_EQ(event["rows"][0]["outcome"], "confirmed") << event;
            confirmed = true;
        }
    EXPECT_TRUE(confirmed) << output;
}

TEST_F(Console, JsonTellsWhatDidNotAnswer)
{
    EXPECT_EQ(play({"--router", "main=127.0.0.1:1", "--wait-ready", "0.1", "--json", "info"}), 3);
    const nlohmann::json last = objects("event").back();
    EXPECT_EQ(last["event"], "notReady");
    EXPECT_EQ(last["address"], "127.0.0.1");
    EXPECT_EQ(last["port"], 1);
    EXPECT_EQ(last["link"], "down");
}

TEST_F(Console, SeveralRoutersAreUsedByName)
{
    start_simulator();
    const std::string config =
        directory.file("back.conf", "ip address = 127.0.0.1\nport = " + simulator_port + "\n");
    EXPECT_EQ(play({"--file", config, "--router", simulator_as("main"), "--wait-ready", "200"},
                   "use main\ntake 1 4\nuse back\ntake 2 4\n"),
              0);
    EXPECT_THAT(output, AllOf(HasSubstr("MON A shows CAM 4: confirmed"),
                              HasSubstr("MON B shows CAM 4: confirmed")));
}

TEST_F(Console, WarnsOfAConfigurationFile)
{
    const std::string config =
        directory.file("main.conf", "ip  address=127.0.0.1\nip address=127.0.0.1\nport=1\n");
    EXPECT_EQ(play({"--file", config, "--wait-ready", "0"}, ""), 0);
    EXPECT_THAT(output, StartsWith("Warning: " + config +
                                   ", line 1 is ignored: there is no setting \"ip  address\"; did "
                                   "you mean \"ip address\"?\n"));
}

TEST_F(Console, NothingReachesTheScreenButText)
{
    for (const std::vector<std::string>& options : {std::vector<std::string>{}, {"--json"}}) {
        EXPECT_EQ(play_on_simulator(options, "take 'a\x1B[2J\x07\xC2\x9B\xE2\x80\xAE\xFF' 1\n"), 1);
        EXPECT_THAT(output, HasSubstr("There is no destination"));
        for (const char byte : output)
            EXPECT_TRUE(byte == '\n' || static_cast<unsigned char>(byte) >= ' ') << output;
        for (const char* const bad : {"\xC2\x9B", "\xE2\x80\xAE", "\xFF"})
            EXPECT_THAT(output, Not(HasSubstr(bad)));
    }
}

TEST_F(Console, BackendThatCannotBeRunGivesStatusOne)
{
    const std::string program = (directory.path / "nothing").string();
    EXPECT_EQ(play({"--router", "main=127.0.0.1", "--backend", program}), 1);
    EXPECT_THAT(output, EndsWith("cannot run " + program + ": No such file or directory\n"));
}

TEST_F(Console, OverlongLineIsRefused)
{
    EXPECT_EQ(play_on_simulator({}, std::string(70'000, ' ') + "help\n" + std::string(65'532, ' ') +
                                        "info\n"),
              1);
    EXPECT_THAT(output, AllOf(HasSubstr("A line is longer than 65536 bytes.\n"),
                              Not(HasSubstr("route a source"))));
}

TEST_F(Console, RunsALineAsSoonAsItComes)
{
    start_simulator();
    start_console(on_simulator());
    write_all(input.ours.number, "help take\n");
    EXPECT_TRUE(read_until(printed.ours.number, "take [DESTINATION SOURCE]"));
    input.ours.reset();
    EXPECT_EQ(status_after(printed.ours.number), 0);
}

TEST_F(Console, RunsNothingBehindQuit)
{
    EXPECT_EQ(play_on_simulator({}, "quit; help\nhelp\n"), 0);
    EXPECT_THAT(output, Not(HasSubstr("leave the console")));
}

TEST_F(Console, TerminalAsInputAloneIsAScript)
{
    start_simulator();
    descriptor_pair terminal = pseudo_terminal();
    printed = pipe_from_child();
    run(on_simulator(), {terminal.childs.number, printed.childs.number, printed.childs.number});
    printed.childs.reset();
    write_all(terminal.ours.number, "help take\nquit\n");
    EXPECT_EQ(status_after(printed.ours.number), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("take [DEST"), Not(HasSubstr("lists the commands."))));
}

TEST_F(Console, TellsItsVersionAndUsage)
{
    EXPECT_EQ(play({"--version"}), 0);
    EXPECT_THAT(output, StartsWith("router_console "));
    EXPECT_EQ(play({"--help"}), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("--router"), HasSubstr("Exit status")));
}
