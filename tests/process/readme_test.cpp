// The parent that README.md shows, run as it stands there.

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
