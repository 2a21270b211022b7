#include <gmock/gmock.h>

#include "support/patience.h"
#include "support/temporary_directory.h"
#include "tools/common/line_program.h"

using namespace common;
using testing::ElementsAre;

namespace {
class LineProgram : public testing::Test {
  protected:
    line_program program;
    std::uint16_t port = 0;
    std::string error;
    temporary_directory directory;

    // Serves it up to the end of what it writes.
    void serve_to_end()
    {
        std::vector<pollfd> watched;
        for (add_poll_descriptor(program, watched); !watched.empty();
             watched.clear(), add_poll_descriptor(program, watched)) {
            ASSERT_EQ(poll(watched.data(), watched.size(), PATIENCE_MS), 1);
            serve_line_program(program);
        }
    }

    // Starts this script in the simulated router's place.
    bool start_router(const std::string& script)
    {
        const std::string path = directory.file("router", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return start_simulated_router(program, path, {"--seed", "1"}, port, error);
    }
};
} // namespace

TEST_F(LineProgram, IsReadLineByLine)
{
    ASSERT_TRUE(
        start_line_program(program, {"sh", "-c", "read a; echo $a; read b; echo -$b"}, error));
    serve_line_program(program); // does not wait
    EXPECT_TRUE(program.lines.empty());
    EXPECT_TRUE(write_all(program.input.number, "one\ntwo\n"));
    serve_to_end();
    EXPECT_THAT(program.lines, ElementsAre("one", "-two"));
    serve_line_program(program);
    EXPECT_EQ(status_at_end(program.child), 0);
}

TEST(AnnouncedPort, StandsInTheSimulatedRoutersFirstLine)
{
    std::uint16_t port = 0;
    EXPECT_TRUE(read_announced_port("Listening on 127.0.0.1:40123", port));
    EXPECT_EQ(port, 40123);
    for (const char* const line : {"", "Listening on ", "Listening on 127.0.0.1:", "on 1:2",
                                   "Listening on 127.0.0.1:65536", "Listening on 127.0.0.1:1 "})
        EXPECT_FALSE(read_announced_port(line, port)) << line;
    EXPECT_EQ(port, 40123);
}

TEST_F(LineProgram, SimulatedRouterIsStartedOnAFreePort)
{
    ASSERT_TRUE(start_router("echo Listening on 127.0.0.1:4567; echo $*; exec cat")) << error;
    EXPECT_EQ(port, 4567);
    EXPECT_TRUE(write_all(program.input.number, "routes\n"));
    program.input.reset();
    serve_to_end();
    EXPECT_THAT(program.lines,
                ElementsAre("Listening on 127.0.0.1:4567", "--port 0 --seed 1", "routes"));
}

TEST_F(LineProgram, SimulatedRouterThatDoesNotStartIsReported)
{
    EXPECT_FALSE(start_router("exit 1"));
    EXPECT_EQ(error, "The simulated router did not start.");
}
