// The soak as a program: it must find out when what the router says it did never reaches the
// parent.
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::HasSubstr;

namespace {
class Soak : public ProcessTest {
  protected:
    std::string printed;
    std::string complaints;
    int status = -1;

    // Runs it on these lines of a router.
    void run(const std::string& lines, const std::string& seconds,
             const std::string& program = backend_program())
    {
        descriptor_pair input = pipe_to_child();
        descriptor_pair output = pipe_from_child();
        descriptor_pair errors = pipe_from_child();
        child_process soak;
        start_child(soak,
                    {built_program("router_soak"), "--seconds", seconds, "--backend", program,
                     "--output", directory.path},
                    {input.childs.number, output.childs.number, errors.childs.number});
        input.childs.reset();
        output.childs.reset();
        errors.childs.reset();
        write_all(input.ours.number, lines);
        printed = read_to_end(output.ours.number);
        complaints = read_to_end(errors.ours.number);
        status = status_at_end(soak);
    }

    void run_on_simulator(const std::string& events)
    {
        start_simulator({"--sources", "64", "--destinations", "64", "--source-base", "1",
                         "--destination-base", "1"});
        run("Listening on 127.0.0.1:" + simulator_port + "\n" + events, "1");
    }
};
} // namespace

TEST_F(Soak, LossIsFoundOut)
{
    run_on_simulator(R"({"event":"connected","client":1}
{"event":"take","destination":3,"source":9,"by":"scenario"}
)");
    EXPECT_THAT(printed, HasSubstr("FINDING: changed by the router, unknown to the parent after "
                                   "three undisturbed queries: output 2 input 8, last reported input 2\n"));
    EXPECT_THAT(printed, HasSubstr("findings: FAILED\n"));
    EXPECT_EQ(status, 1);
}

TEST_F(Soak, BackendThatEndsEarlyIsAFinding)
{
    run("Listening on 127.0.0.1:1\n", "60", "/bin/true");
    EXPECT_THAT(printed, HasSubstr("FINDING: the backend ended by itself\n"
                                   "FINDING: the backend never reached the router\n"));
    EXPECT_EQ(status, 1);
}

TEST_F(Soak, RoutersLinesAreNeeded)
{
    run("client 1 connected\n", "1");
    EXPECT_EQ(complaints, "The simulated router's lines are expected on standard input.\n");
    EXPECT_EQ(status, 2);
}

TEST_F(Soak, WrongOptionIsReported)
{
    run("", "x");
    EXPECT_THAT(complaints, HasSubstr("--seconds"));
    EXPECT_EQ(status, 1);
}
