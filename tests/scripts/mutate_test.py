"""scripts/mutate on a small project, in which it is known what the tests let pass."""

import os
import unittest
from pathlib import Path

from sandbox import SandboxTest

PROJECT = {
    "CMakePresets.json": """
{"version": 6, "configurePresets": [{"name": "release", "generator": "Ninja",
                                     "binaryDir": "${sourceDir}/build/release"}]}
""",
    "CMakeLists.txt": """
cmake_minimum_required(VERSION 3.25)
project(planted LANGUAGES CXX)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_library(core STATIC src/numbers/larger.cpp)
add_executable(unit_tests tests/unit/numbers/larger_test.cpp)
target_link_libraries(unit_tests core)
add_executable(process_tests tests/process/console_test.cpp)
add_executable(router_console tools/console/main.cpp)
add_library(desk STATIC server/desk/smaller.cpp)
add_executable(desk_tests EXCLUDE_FROM_ALL tests/unit/desk/smaller_test.cpp)
target_link_libraries(desk_tests desk)
foreach(program clock_test console_tests router_simulator router_soak routing_switcher_backend)
    add_executable(${program} src/unused.cpp)
endforeach()
""",
    # An int has no other size, and of two equal numbers either is the larger one.
    "src/numbers/larger.cpp": """static_assert(sizeof(int) == 4);
int larger(int a, int b)
{
    return a < b ? b : a;
}
""",
    "src/unused.cpp": "int main() {}\n",
    "server/desk/smaller.cpp": """int smaller(int a, int b)
{
    return a < b ? a : b;
}
""",
    "tests/unit/desk/smaller_test.cpp": """
int smaller(int a, int b);
int main() { return smaller(1, 2) == 1 && smaller(4, 3) == 3 ? 0 : 1; }
""",
    "tests/unit/numbers/larger_test.cpp": """
int larger(int a, int b);
int main() { return larger(1, 2) == 2 && larger(4, 3) == 4 && larger(5, 5) == 5 ? 0 : 1; }
""",
    # With true in the place of false it never ends.
    "tools/console/main.cpp": """int main()
{
    for (bool more = false; more;) {
    }
    return 7;
}
""",
    "tests/process/console_test.cpp": """
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#define TEST(suite, name) int main(int, char** words)
TEST(Console, Ends)
{
    const std::string self = words[0], tests = words[1];
    if (tests != "--gtest_filter=Console.*:*/Console.*") return 1;
    const int status = std::system((self.substr(0, self.rfind('/')) + "/router_console").c_str());
    return WEXITSTATUS(status) == 7 ? 0 : 1;
}
""",
    # Of something else.
    "tests/process/console_other_test.cpp": "TEST(Other, Ends) {}\n",
}


def what_runs_in(folder):
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            program = Path(os.readlink(process / "exe"))
        except OSError:
            continue  # it has ended, or is somebody else's
        if folder in program.parents:
            found.append(program.name)
    return found


class MutateTest(SandboxTest):
    def setUp(self):
        super().setUp()
        self.path("bin/cmake").unlink()  # the real one is needed
        for name, text in PROJECT.items():
            self.path(name).write_text(text)

    def run_on(self, *arguments):
        """The exit status, and the lines about changes and figures without their alignment."""
        status, output = self.run_command("scripts/mutate", *arguments, cwd=self.folder)
        lines = [line for line in output.splitlines()
                 if line.startswith(("src/", "server/")) or line[:6].strip().isdigit()]
        return status, [" ".join(line.split()) for line in lines]

    def test_change_that_passes_is_printed(self):
        self.assertEqual(self.run_on("src/numbers/larger.cpp"),
                         (1, ["src/numbers/larger.cpp:4: < -> <=",
                              "3 3 2 1 66.7 src/numbers/larger.cpp",
                              "3 3 2 1 66.7"]))

    def test_server_by_its_own_tests(self):
        self.assertEqual(self.run_on("server"),
                         (1, ["server/desk/smaller.cpp:3: < -> <=",
                              "3 0 2 1 66.7 server/desk/smaller.cpp",
                              "3 0 2 1 66.7"]))
        self.assertFalse(self.path("build/release/router_console").exists())

    def test_change_that_never_ends_is_noticed_and_ended(self):
        self.assertEqual(self.run_on("tools"),
                         (0, ["3 0 3 0 100.0 tools/console/main.cpp", "3 0 3 0 100.0"]))
        self.assertEqual(what_runs_in(self.folder), [])

    def test_as_many_as_told(self):
        _, lines = self.run_on("--count", "2", "--seed=3", "--jobs", "1", "src")
        self.assertEqual(sum(int(figure) for figure in lines[-1].split()[:2]), 2)

    def test_file_that_no_test_holds(self):
        self.path("src/stray.cpp").write_text("int stray() { return 1; }\n")
        status, output = self.run_command("scripts/mutate", "src/stray.cpp", cwd=self.folder)
        self.assertEqual(status, 1)
        self.assertTrue(output.endswith("\nNo program under test holds src/stray.cpp\n"), output)

    def test_tests_that_fail_without_any_change(self):
        self.path("src/numbers/larger.cpp").write_text(
            "int larger(int a, int b) { return a < b ? a : b; }\n")
        status, output = self.run_command("scripts/mutate", "src", cwd=self.folder)
        self.assertEqual(status, 1)
        self.assertTrue(output.endswith("\nThese tests fail without any change: unit_tests\n"), output)

    def test_build_that_fails(self):
        self.path("src/numbers/larger.cpp").write_text("int larger(\n")
        status, output = self.run_command("scripts/mutate", "src", cwd=self.folder)
        self.assertEqual(status, 1)
        self.assertRegex(output, "\nThis failed, see above: cmake --build .*\n$")
        self.assertNotIn("Traceback", output)

    def test_wrong_arguments(self):
        for arguments in (["--count", "0"], ["--seed"], ["--fast"], ["src/none.cpp"], ["scripts"],
                          ["/bin"]):
            self.expect_wrong_arguments("scripts/mutate", *arguments)

    def test_usage(self):
        self.expect_usage("scripts/mutate")

    def test_interrupted(self):
        terminal = self.start_on_terminal("scripts/mutate")
        terminal.expect("Building the tests ...")
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)
        self.assertNotIn("Traceback", terminal.unread)


if __name__ == "__main__":
    unittest.main()
