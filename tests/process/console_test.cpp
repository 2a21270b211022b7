#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

#include "support/console_process.h"
#include "support/replay.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {
// All that the console waits for before it runs a script.
const std::string REPORTS =
    "echo '<DBG>Router finished returning levels, sources, destinations' >&2\n"
    "printf '*COMMAND=%s\\n*TYPE=message\\n%s\\n\\n' info 'inputs=5\noutputs=1' "
    "inputs 'i4.name=CAM 5' outputs 'o0.name=MON A' outputs o0.input.all=0\n";

class Console : public ConsoleProcess {
  protected:
    descriptor_pair input;
    descriptor_pair printed;

    void start_script(const std::vector<std::string>& options)
    {
        input = pipe_to_child();
        printed = pipe_from_child();
        run(options, {input.childs.number, printed.childs.number, printed.childs.number});
        input.childs.reset();
        printed.childs.reset();
        output.clear();
    }

    // Plays the script and returns the exit status.
    int play(const std::vector<std::string>& options, const std::string& script)
    {
        start_script(options);
        write_all(input.ours.number, script);
        input.ours.reset();
        return status_after(printed.ours.number);
    }

    // Plays it again, on another simulator, when the machine has starved it: the console and the
    // backend have deadlines of their own.
    int play_on_simulator(const std::string& script)
    {
        for (int plays = 1;; ++plays) {
            end_simulator();
            start_simulator();
            const int status = play({"--file", simulator_config()}, script);
            if (plays == MOST_PLAYS || !is_starved()) return status;
        }
    }

  private:
    void end_simulator()
    {
        if (simulator.child.process < 0) return;
        kill(simulator.child.process, SIGKILL);
        status_at_end(simulator.child);
        simulator.lines.clear();
    }

    bool is_starved() const
    {
        const auto tells = [this](const char* text) {
            return output.find(text) < output.size();
        };
        return tells(" was not confirmed within ") || tells("The router is not connected") ||
               tells("The router has not reported everything");
    }
};
} // namespace

TEST_F(Console, ScriptTakesRoutesByNumberAndName)
{
    EXPECT_EQ(play_on_simulator("take 0 4\ntake \"mon b\" 'VTR 2'; wait\nroutes"), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("0 MON A now shows 4 CAM 5: confirmed\n"),
                              HasSubstr("1 MON B now shows"), HasSubstr("VTR 2: confirmed\n"),
                              HasSubstr("#  output"), Not(HasSubstr("pending"))));
}

TEST_F(Console, StagedRoutesAreTakenByFlush)
{
    EXPECT_EQ(play_on_simulator("stage 2 7; stage 3 8; flush; wait"), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("2 MON C now shows 7 CAM 8: confirmed\n"),
                              HasSubstr("3 MON D now shows 8 ")));
}

TEST_F(Console, EndOfScriptWaitsForRoutes)
{
    EXPECT_EQ(play_on_simulator("take 0 4"), 0);
    EXPECT_THAT(output, HasSubstr("0 MON A now shows 4 CAM 5: confirmed\n"));
}

// The backend of this one never answers.
TEST_F(Console, UnconfirmedRouteGivesStatusTwo)
{
    const std::string program = script_backend(REPORTS + "exec cat >/dev/null\n");
    EXPECT_EQ(play({"--file", "any", "--backend", program}, "take 0 4; wait; routes; quit\n"), 2);
    EXPECT_THAT(output, AllOf(HasSubstr("0 MON A: 4 CAM 5 was not confirmed within 3 s\n"),
                              HasSubstr("unconfirmed: 4 CAM 5\n")));
}

TEST_F(Console, RefusedCommandGivesStatusTwo)
{
    EXPECT_EQ(play_on_simulator("take nowhere 1; info\n"), 2);
    EXPECT_THAT(output, AllOf(HasSubstr("There is no output \"nowhere\""),
                              HasSubstr("Model     Simulated router\n")));
    EXPECT_EQ(play_on_simulator("take 'nowhere\n"), 2);
    EXPECT_THAT(output, HasSubstr("A quote is not closed.\n"));
}

TEST_F(Console, BackendThatDoesNotComeUpGivesStatusOne)
{
    const std::string config = (directory.path / "nothing").string();
    EXPECT_EQ(play({"--file", config}, ""), 1);
    EXPECT_EQ(output, "The backend exited with status 1. Its last diagnostics:\n"
                      "  File path '" +
                          config + "' is not valid. Must exist and it must be a file.\n");
}

TEST_F(Console, BackendThatCannotBeRunGivesStatusOne)
{
    const std::string program = (directory.path / "nothing").string();
    EXPECT_EQ(play({"--file", "any", "--backend", program}, ""), 1);
    EXPECT_EQ(output, "Cannot run " + program + ": No such file or directory\n");
}

TEST_F(Console, BackendThatEndsByItselfGivesStatusThree)
{
    const std::string program =
        script_backend("echo '*COMMAND=info'; echo; echo '<ERR>out of luck' >&2; exit 5\n");
    EXPECT_EQ(play({"--file", "any", "--backend", program}, ""), 3);
    EXPECT_EQ(output, "<ERR>out of luck\n"
                      "The backend exited with status 5. Its last diagnostics:\n"
                      "  <ERR>out of luck\n");
}

TEST_F(Console, HelpGivesStatusZeroAndMissingFileStatusOne)
{
    EXPECT_EQ(play({"--help"}, ""), 0);
    EXPECT_THAT(output,
                AllOf(HasSubstr("--file"), HasSubstr("--backend"), HasSubstr("Exit status")));
    EXPECT_EQ(play({}, ""), 1);
}

TEST_F(Console, FewOfTheLastDiagnosticsAreKept)
{
    const std::string program = script_backend(
        "echo '*COMMAND=info'; echo; for i in 1 2 3 4 5 6 7; do echo line $i >&2; done; exit 5\n");
    EXPECT_EQ(play({"--file", "any", "--backend", program}, ""), 3);
    EXPECT_EQ(output, "The backend exited with status 5. Its last diagnostics:\n"
                      "  line 3\n  line 4\n  line 5\n  line 6\n  line 7\n");
}

TEST_F(Console, OverlongLineIsRefused)
{
    EXPECT_EQ(play_on_simulator(std::string(70'000, ' ') + "help\n" + std::string(65'532, ' ') +
                                "info\n"),
              2);
    EXPECT_THAT(output, AllOf(HasSubstr("A line is longer than 65536 bytes.\nRouter    ready\n"),
                              Not(HasSubstr("route an input to an output now"))));
}

TEST_F(Console, TellsItsVersion)
{
    EXPECT_EQ(play({"--version"}, ""), 0);
    EXPECT_THAT(output, StartsWith("router_console "));
}

TEST_F(Console, RunsALineAsSoonAsItComes)
{
    start_simulator();
    start_script({"--file", simulator_config()});
    write_all(input.ours.number, "info\n");
    while (output.find("Model") == std::string::npos)
        ASSERT_TRUE(read_more(printed.ours.number));
    input.ours.reset();
    EXPECT_EQ(status_after(printed.ours.number), 0);
}

TEST_F(Console, RunsNothingBehindQuit)
{
    const std::string program = script_backend(REPORTS + "exec cat >/dev/null\n");
    EXPECT_EQ(play({"--file", "any", "--backend", program}, "quit; help\nhelp\n"), 0);
    EXPECT_EQ(output, "The router is ready\n");
}

TEST_F(Console, TerminalAsInputAloneIsAScript)
{
    start_simulator();
    descriptor_pair terminal = pseudo_terminal();
    printed = pipe_from_child();
    run({"--file", simulator_config()},
        {terminal.childs.number, printed.childs.number, printed.childs.number});
    printed.childs.reset();
    write_all(terminal.ours.number, "info\nquit\n");
    EXPECT_EQ(status_after(printed.ours.number), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("Model"), Not(HasSubstr("lists the commands"))));
}

// A machine that is too slow for the second that it has gets another chance.
TEST_F(Console, BackendMayEndByItself)
{
    const std::filesystem::path ended = directory.path / "ended";
    const std::string program =
        script_backend(REPORTS + "cat >/dev/null; echo >" + ended.string() + "\n");
    for (int plays = 0; plays < MOST_PLAYS && !exists(ended); ++plays)
        EXPECT_EQ(play({"--file", "any", "--backend", program}, "quit\n"), 0);
    EXPECT_TRUE(exists(ended));
}

// After ten seconds.
TEST_F(Console, ScriptIsRunAlsoWhenTheRouterReportsNothing)
{
    const std::string program = script_backend("exec cat >/dev/null\n");
    EXPECT_EQ(play({"--file", "any", "--backend", program}, "discard\n"), 0);
    EXPECT_EQ(output, "The router has not reported everything: it is not connected.\n"
                      "Nothing was staged.\n");
}
