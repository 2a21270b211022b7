// The soak as a program: it must find out when what the router says it did never reaches the
// parent.
#include <csignal>
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::HasSubstr;

namespace {
class Soak : public ProcessTest {
  protected:
    line_program soak;
    std::string printed; // by the soak, lines with their ends

    void start_soak(const std::string& port, const std::string& program = backend_program())
    {
        ASSERT_TRUE(start_line_program(soak,
                                       {built_program("router_soak"), "--seconds", "60",
                                        "--backend", program, "--output", directory.path},
                                       error))
            << error;
        write_all(soak.input.number, "Listening on 127.0.0.1:" + port + "\n");
    }
    // Reads what the soak prints, for a moment at most. False at its end.
    bool listen()
    {
        pollfd output{.fd = soak.output.number, .events = POLLIN, .revents = 0};
        poll(&output, 1, 200);
        serve_line_program(soak);
        for (; !soak.lines.empty(); soak.lines.pop_front())
            printed += soak.lines.front() + "\n";
        return soak.output.number >= 0;
    }
    int status_of_soak()
    {
        while (listen()) {
        }
        return status_at_end(soak.child);
    }
    // What it complains of when it does not start.
    static std::string refusal(const std::string& seconds, const std::string& router_line,
                               const std::string& folder = "x")
    {
        descriptor_pair input = pipe_to_child();
        descriptor_pair errors = pipe_from_child();
        child_process program;
        start_child(program,
                    {built_program("router_soak"), "--seconds", seconds, "--backend", "/bin/true",
                     "--output", folder},
                    {input.childs.number, errors.childs.number, errors.childs.number});
        input.childs.reset();
        errors.childs.reset();
        write_all(input.ours.number, router_line);
        const std::string complaint = read_to_end(errors.ours.number);
        EXPECT_EQ(status_at_end(program), 1);
        return complaint;
    }
};
} // namespace

TEST_F(Soak, LossIsFoundOut)
{
    start_simulator({"--sources", "64", "--destinations", "64", "--events", "json"});
    start_soak(simulator_port);
    // Besides what the router does, takes that it never made, until one meets five seconds of
    // peace.
    const std::string finding = "FINDING: changed by the router, unknown to the parent after ";
    for (int i = 0; printed.find(finding) == std::string::npos && listen(); ++i) {
        serve_line_program(simulator);
        for (; !simulator.lines.empty(); simulator.lines.pop_front())
            write_all(soak.input.number, simulator.lines.front() + "\n");
        write_all(soak.input.number,
                  R"({"event":"take","source":64,"by":"scenario","destination":)" +
                      std::to_string(i % 64 + 1) + "}\n");
    }
    EXPECT_THAT(printed, HasSubstr(finding));
    kill(soak.child.process, SIGTERM);
    EXPECT_EQ(status_of_soak(), 1);
    EXPECT_THAT(printed, HasSubstr(": FAILED\n"));
}

TEST_F(Soak, BackendThatEndsEarlyIsAFinding)
{
    start_soak("1", "/bin/true");
    EXPECT_EQ(status_of_soak(), 1);
    EXPECT_THAT(printed, HasSubstr("FINDING: the backend ended by itself\n"
                                   "FINDING: the backend never reached the router\n"));
}

TEST_F(Soak, RoutersLinesAreNeeded)
{
    EXPECT_EQ(refusal("60", "client 1 connected\n"),
              "The simulated router's lines are expected on standard input.\n");
}

TEST_F(Soak, FirstLineWithoutEndIsRefused)
{
    EXPECT_EQ(refusal("60", std::string(200, 'x')),
              "The simulated router's lines are expected on standard input.\n");
}

TEST_F(Soak, FolderThatCannotBeMadeIsRefused)
{
    EXPECT_EQ(refusal("60", "Listening on 127.0.0.1:1\n", "/dev/null/x"),
              "Cannot write /dev/null/x/soak.conf\n");
}

TEST_F(Soak, WrongDurationIsRefused)
{
    for (const char* seconds : {"x", "59", "-1"})
        EXPECT_THAT(refusal(seconds, ""), HasSubstr("--seconds"));
}
