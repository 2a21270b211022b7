#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <poll.h>

#include "support/process_test.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {
constexpr int PATIENCE_MS = 60'000; // without a byte more: only a hang lasts that long
} // namespace

class Console : public ProcessTest {
  protected:
    child_process console;
    std::string output; // all that it printed

    // Plays the script and returns the exit status.
    int play(const std::vector<std::string>& options, const std::string& script)
    {
        descriptor_pair input = pipe_to_child();
        descriptor_pair printed = pipe_from_child();
        run(options, {input.childs.number, printed.childs.number, printed.childs.number});
        input.childs.reset();
        printed.childs.reset();
        write_all(input.ours.number, script);
        input.ours.reset();
        output.clear();
        return status_after(printed.ours.number);
    }

    int play_on_simulator(const std::string& script)
    {
        start_simulator();
        return play({"--file", simulator_config()}, script);
    }

    // A program in the backend's place.
    std::string script_backend(const std::string& text)
    {
        std::string path = directory.file("backend", "#!/bin/sh\n" + text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    // Its status, once what it prints has come to an end.
    int status_after(int printed)
    {
        while (read_more(printed)) {
        }
        return status_at_end(console);
    }

    // Reads some of what it prints. False at its end; a console that hangs is killed.
    bool read_more(int printed)
    {
        pollfd watched = {printed, POLLIN, 0};
        if (poll(&watched, 1, PATIENCE_MS) == 0) {
            ADD_FAILURE() << "The console hangs after: " << output;
            kill(console.process, SIGKILL);
            return false;
        }
        return common::read_some(printed, output) == common::read_outcome::read;
    }

    std::string simulator_config()
    {
        return directory.file("console.conf",
                              "ip address=127.0.0.1\nport=" + simulator_port + "\n");
    }

    void run(const std::vector<std::string>& options, const std::array<int, 3>& descriptors)
    {
        std::vector<std::string> words = {built_program("router_console")};
        words.insert(words.end(), options.begin(), options.end());
        start_child(console, words, descriptors);
    }
};

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
    const std::string program =
        script_backend("echo '<DBG>Router finished returning levels, sources, destinations' >&2\n"
                       "printf '*COMMAND=%s\\n*TYPE=message\\n%s\\n\\n' info 'inputs=5\noutputs=1' "
                       "inputs 'i4.name=CAM 5' outputs 'o0.name=MON A' outputs o0.input.all=0\n"
                       "exec cat >/dev/null\n");
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

class ConsoleTerminal : public Console {
  protected:
    descriptor_pair terminal = pseudo_terminal();

    void SetUp() override
    {
        start_simulator({"--source-base", "1", "--destination-base", "1"});
        run({"--file", simulator_config()},
            {terminal.childs.number, terminal.childs.number, terminal.childs.number});
        terminal.childs.reset();
    }

    void type(const std::string& keys)
    {
        write_all(terminal.ours.number, keys);
    }

    // Reads until the text is on the screen after what was waited for before.
    void wait_for(const std::string& text)
    {
        std::size_t found = std::string::npos;
        while ((found = output.find(text, seen)) == std::string::npos)
            ASSERT_TRUE(read_more(terminal.ours.number)) << text;
        seen = found + text.size();
    }

    // A route of the router's own is shown once it is known what was there before.
    void wait_for_routes()
    {
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(PATIENCE_MS);
        while (output.find("MON A") == std::string::npos) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << output;
            type("outputs\r");
            wait_for("router> ");
        }
        type("take 0 1\r");
        wait_for("0 MON A now shows 1 CAM 2: confirmed");
    }

    int status()
    {
        return status_after(terminal.ours.number);
    }

  private:
    std::size_t seen = 0;
};

TEST_F(ConsoleTerminal, CompletesAndQuits)
{
    type("he\t\rq\t\r");
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("\"help\" lists the commands."), HasSubstr("router> "),
                              HasSubstr("route an input to an output now")));
}

TEST_F(ConsoleTerminal, IsLeftByTheEndOfInput)
{
    type("\x04");
    EXPECT_EQ(status(), 0);
}

TEST_F(ConsoleTerminal, IsLeftByTerminationSignal)
{
    wait_for("router> ");
    kill(console.process, SIGTERM);
    EXPECT_EQ(status(), 0);
}

// The signal is what the terminal makes of Ctrl-C.
TEST_F(ConsoleTerminal, InterruptEmptiesTheLine)
{
    type("typed");
    wait_for("typed");
    kill(console.process, SIGINT);
    type("quit\r");
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, Not(HasSubstr("leaves the console")));
}

TEST_F(ConsoleTerminal, InterruptOnAnEmptyLineTellsHowToLeave)
{
    wait_for("router> ");
    kill(console.process, SIGINT);
    wait_for("\"quit\" or Ctrl-D leaves the console.");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(ConsoleTerminal, ReportsAppearAboveTheLineThatIsTyped)
{
    wait_for_routes();
    type("hel");
    wait_for("hel");
    write_all(simulator.input.number, "take 1 6\n");
    wait_for("\r\033[J0 MON A now shows 5 CAM 6");
    wait_for("router> hel");
    type("p\r");
    wait_for("route an input to an output now");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(ConsoleTerminal, LineOfSeveralRowsIsWipedWhole)
{
    wait_for_routes();
    type(std::string(160, 'a') + "z"); // behind a prompt of 8 characters, 80 to a row
    wait_for("z");
    write_all(simulator.input.number, "take 1 6\n");
    wait_for("\033[2A\r\033[J0 MON A now shows 5 CAM 6");
    type("\x15quit\r");
    EXPECT_EQ(status(), 0);
}
