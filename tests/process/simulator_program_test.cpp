// The simulated router as a program: its first line, its commands and the ways in which it ends.
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::MatchesRegex;
using testing::StartsWith;

namespace {
class SimulatorProgram : public ProcessTest {
  protected:
    // Serves it until its output has ended, which it has when the program has.
    int status_of_simulator()
    {
        EXPECT_TRUE(until([this] { return simulator.output.number < 0; }));
        return status_at_end(simulator.child);
    }

    // What the program says of these arguments, which it must refuse.
    static std::string refusal_of(std::vector<std::string> words)
    {
        words.insert(words.begin(), built_program("router_simulator"));
        descriptor_pair printed = pipe_from_child();
        descriptor_pair errors = pipe_from_child();
        const descriptor_pair input = pipe_to_child();
        child_process program;
        start_child(program, words,
                    {input.childs.number, printed.childs.number, errors.childs.number});
        printed.childs.reset();
        errors.childs.reset();
        const std::string refusal = read_to_end(errors.ours.number);
        EXPECT_EQ(read_to_end(printed.ours.number), "");
        EXPECT_EQ(status_at_end(program), 1);
        return refusal;
    }
};

// Whether the process waits for something.
bool sleeps(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("State:")) return line.find("S (sleeping)") != std::string::npos;
    return false;
}

class SimulatorProgramSignals : public SimulatorProgram, public testing::WithParamInterface<int> {};
} // namespace

TEST_F(SimulatorProgram, FirstLineTellsTheAddress)
{
    start_simulator();
    EXPECT_THAT(simulator.lines.front(), MatchesRegex("Listening on 127\\.0\\.0\\.1:[0-9]+"));
    router.port = static_cast<std::uint16_t>(std::stoi(simulator_port));
    const owned_descriptor client(connect_to(router));
    ASSERT_TRUE(until([this] { return simulator.lines.size() >= 2; }));
    EXPECT_THAT(simulator.lines[1], StartsWith("client 1 connected from 127.0.0.1:"));
}

TEST_F(SimulatorProgram, CommandIsAnswered)
{
    start_simulator({"--sources", "2", "--destinations", "1"});
    write_all(simulator.input.number, "take 1 2\nroutes\n");
    EXPECT_TRUE(simulator_prints("1 MON A <- 2 CAM 2"));
}

TEST_F(SimulatorProgram, OverlongCommandIsRefusedWhole)
{
    start_simulator({"--sources", "2", "--destinations", "1"});
    write_all(simulator.input.number, std::string(10'000, ' ') + "help\nroutes\n");
    EXPECT_TRUE(simulator_prints("Line too long."));
    EXPECT_TRUE(until([this] { return simulator.lines.size() >= 3; }));
    EXPECT_EQ(simulator.lines[2], "1 MON A <- 1 CAM 1");
}

TEST_F(SimulatorProgram, EndOfInputRunsTheLastLineAndDoesNotEndIt)
{
    start_simulator({"--sources", "2", "--destinations", "1"});
    write_all(simulator.input.number, "routes");
    simulator.input.reset();
    EXPECT_TRUE(simulator_prints("1 MON A <- 1 CAM 1"));
    start_on_simulator(backend);
    EXPECT_NE(hear_line("model=Simulated router"), "");
}

TEST_F(SimulatorProgram, RestsAndHeedsSignalsAfterTheEndOfInput)
{
    start_simulator({"--sources", "2", "--destinations", "1"});
    write_all(simulator.input.number, "routes");
    simulator.input.reset();
    EXPECT_TRUE(simulator_prints("1 MON A <- 1 CAM 1"));
    EXPECT_TRUE(until([this] { return sleeps(simulator.child.process); }));
    kill(simulator.child.process, SIGTERM);
    EXPECT_EQ(status_of_simulator(), 0);
}

TEST_F(SimulatorProgram, QuitEndsItWithStatusZero)
{
    start_simulator();
    write_all(simulator.input.number, "quit\nroutes\n");
    EXPECT_EQ(status_of_simulator(), 0);
    EXPECT_EQ(simulator.lines.size(), 1U) << "nothing behind the announcement";
}

TEST_F(SimulatorProgram, EventsAreJsonOnRequest)
{
    start_simulator({"--events", "json"});
    write_all(simulator.input.number, "rename source 1 'A B=C'\n");
    ASSERT_TRUE(until([this] { return simulator.lines.size() >= 2; }));
    EXPECT_THAT(simulator.lines[1],
                MatchesRegex(R"(\{"time":[0-9.e-]+,"event":"rename","source":1,"name":"A B=C"\})"));
}

TEST_F(SimulatorProgram, SeedWithoutScenarioIsRefused)
{
    EXPECT_THAT(refusal_of({"--seed", "1"}), StartsWith("--seed requires --scenario\n"));
}

TEST_P(SimulatorProgramSignals, EndItWithStatusZero)
{
    start_simulator();
    start_on_simulator(backend);
    ASSERT_NE(hear_line("model=Simulated router"), "");
    kill(simulator.child.process, GetParam());
    EXPECT_EQ(status_of_simulator(), 0);
    EXPECT_TRUE(logs("<NOTE>Connection to router closed"));
}

INSTANTIATE_TEST_SUITE_P(Each, SimulatorProgramSignals, testing::Values(SIGINT, SIGTERM));

TEST_F(SimulatorProgram, ScenarioIsPlayed)
{
    const std::string file = directory.file("scenario.json", R"({"seed": 7, "steps": [
        {"at": 0, "fault": "take", "destination": 1, "source": 3},
        {"name": "end it", "fault": "close"}]})");
    start_simulator({"--scenario", file, "--seed", "12"});
    ASSERT_TRUE(until([this] { return simulator.lines.size() >= 4; }));
    EXPECT_THAT(simulator.lines[1], MatchesRegex("@ 0\\.[0-9]{6} start seed=12"));
    EXPECT_EQ(simulator.lines[2], "1 MON A <- 3 CAM 3");
    EXPECT_THAT(simulator.lines[3],
                MatchesRegex("@ 0\\.[0-9]{6} take destination=1 source=3 by=scenario"));
    start_on_simulator(backend);
    ASSERT_NE(hear_line("model=Simulated router"), "");
    write_all(simulator.input.number, "do \"end it\"\n");
    EXPECT_TRUE(logs("<NOTE>Connection to router closed"));
}

TEST_F(SimulatorProgram, WrongScenarioIsReported)
{
    const std::string file = directory.file("scenario.json", "{\"steps\":\n[{\"at\": 1}]}");
    EXPECT_EQ(refusal_of({"--port", "0", "--scenario", file}), file + ":2: \"fault\" is missing\n");
}

TEST_F(SimulatorProgram, PortInUseIsReported)
{
    listen_for_client(router);
    const std::string port = std::to_string(router.port);
    EXPECT_EQ(refusal_of({"--port", port}),
              "Cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}
