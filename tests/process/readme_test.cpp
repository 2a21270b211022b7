// The parent and the commands that README.md shows, run as they stand there.
#include <chrono>
#include <poll.h>

#include "support/control_process.h"
#include "support/patience.h"
#include "support/process_test.h"

namespace {
class Readme : public ProcessTest {};

// The fenced block of this language.
std::string code_of(const std::string& document, const std::string& language)
{
    std::ifstream file(document);
    std::string code;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (inside && line == "```") break;
        if (inside) code += line + "\n";
        if (line == "```" + language) inside = true;
    }
    return code;
}
} // namespace

TEST_F(Readme, ParentRoutes)
{
    start_simulator();
    const std::string code = code_of(PROJECT_DIRECTORY "/README.md", "python");
    ASSERT_NE(code, "");
    const std::string script = directory.file("parent.py", code);
    const std::string config =
        directory.file("router.conf", "ip address = 127.0.0.1\nport = " + simulator_port + "\n");
    line_program parent;
    ASSERT_TRUE(
        start_line_program(parent, {"python3", script, backend_program(), "--file", config}, error))
        << error;
    EXPECT_EQ(status_at_end(parent.child), 0);
    serve_line_program(parent);
    ASSERT_FALSE(parent.lines.empty());
    EXPECT_EQ(parent.lines.back(), "routed");
    write_all(simulator.input.number, "routes\n");
    EXPECT_TRUE(simulator_prints("2 MON B <- 4 CAM 4"));
}

namespace {
class ReadmeOfControl : public ControlProcess {
  protected:
    line_program follower;

    bool hears(std::string_view text)
    {
        const auto end = std::chrono::steady_clock::now() + PATIENCE;
        while (std::chrono::steady_clock::now() < end) {
            serve_line_program(follower);
            for (const std::string& line : follower.lines)
                if (line.find(text) != std::string::npos) return true;
            std::vector<pollfd> descriptors;
            common::add_poll_descriptor(follower, descriptors);
            poll(descriptors.data(), descriptors.size(), 100);
        }
        return false;
    }
};
} // namespace

TEST_F(ReadmeOfControl, TakeIsConfirmedAndSeenByAFollower)
{
    std::string code = code_of(PROJECT_DIRECTORY "/README.md", "sh");
    const std::string start_it = "build/release/router_control --demo\n";
    ASSERT_TRUE(code.starts_with(start_it)) << code;
    code.erase(0, start_it.size());
    start({"--demo"});
    ASSERT_NE(address, "") << printed;
    const std::string usual = "http://127.0.0.1:8080";
    for (std::size_t at = 0; (at = code.find(usual, at)) != std::string::npos;)
        code.replace(at, usual.size(), address);
    const std::size_t second = code.find('\n') + 1;
    std::string error;
    ASSERT_TRUE(
        start_line_program(follower, {"bash", "-c", "exec " + code.substr(0, second)}, error))
        << error;
    ASSERT_TRUE(hears("\"type\":\"snapshot\""));
    // Its router may not be ready at once.
    const auto end_of_patience = std::chrono::steady_clock::now() + PATIENCE;
    do
        run({"bash", "-c", code.substr(second)});
    while (output.find("confirmed") == std::string::npos &&
           std::chrono::steady_clock::now() < end_of_patience);
    EXPECT_NE(output.find("\"outcome\":\"confirmed\""), std::string::npos) << output;
    EXPECT_TRUE(hears("[4,2,")); // with others where the router has just been read
}
