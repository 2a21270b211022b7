"""./test with small suites of its own, run by the real ctest."""

import unittest

from sandbox import SandboxTest

PASSES = ("true", "quick")


class TestTest(SandboxTest):
    def setUp(self):
        super().setUp()
        for preset in ("release", "asan", "fuzz", "coverage", "debug"):
            self.suite(preset, {f"{preset}/passes": PASSES, "of_processes": ("true", "process")})
        self.suite("tsan", {"of_threads": ("true", "threads"), "others": ("false", "quick")})
        self.program("scripts/soak", 'echo "soaks for $*"')
        self.program("bin/gcovr", "echo counted")

    def suite(self, preset, tests):
        """Tests by their names: a program, which must be in /bin, or a script in the sandbox, and a label."""
        lines = []
        for name, (command, label) in tests.items():
            lines += [f'add_test([=[{name}]=] "{command}")',
                      f'set_tests_properties([=[{name}]=] PROPERTIES LABELS "{label}")']
        self.path(f"build/{preset}/CTestTestfile.cmake").write_text("\n".join(lines) + "\n")

    def failing(self, preset, script):
        self.program("fails", script)
        self.suite(preset, {"Some/Test.fails": (self.path("fails"), "quick"),
                            "other": PASSES, "of_processes": ("true", "process")})

    def test_all_pass(self):
        status, output = self.run_command("test")
        self.assertEqual(status, 0, output)
        self.assertEqual(output.count("100% tests passed, 0 tests failed out of 2\n"), 3)
        self.assertEqual(output.count("100% tests passed, 0 tests failed out of 1\n"), 1)
        self.assertIn("soaks for 60s\nsoaks for --control 90s\n", output)
        self.assertTrue(output.endswith("\nEverything passed.\n"), output)

    def test_one_failure_hides_nothing(self):
        self.failing("asan", "echo first; seq 10000; echo last; exit 1")
        self.program("scripts/soak", "exit 3")
        status, output = self.run_command("test")
        self.assertEqual(status, 1, output)
        self.assertEqual(output.count("100% tests passed"), 3)
        log = "build/asan/failed/Some-Test.fails.log"
        self.assertTrue(output.endswith(
            f"\nFAILED, 3 altogether:\n  asan: Some/Test.fails, see {log}\n"
            "  soak: ended with status 3, see above\n"
            "  soak of the control server: ended with status 3, see above\n"), output)
        self.assertIn("\nfirst\n1\n2\n", output)
        self.assertIn("\n10000\nlast\n", output)
        self.assertLess(len([line for line in output.splitlines() if line.isdigit()]), 200)
        self.assertIn("\nfirst\n" + "".join(f"{i}\n" for i in range(1, 10001)) + "last\n",
                      self.path(log).read_text())

    def test_program_that_is_not_there(self):
        self.suite("release", {"gone": ("/nowhere/gone", "quick")})
        status, output = self.run_command("test", "--quick")
        self.assertEqual(status, 1, output)
        self.assertTrue(output.endswith("\n  release: gone, see build/release/failed/gone.log\n"),
                        output)

    def test_what_has_been_mended_is_not_named_again(self):
        self.failing("release", "exit 1")
        self.assertEqual(self.run_command("test")[0], 1)
        self.failing("release", "exit 0")
        status, output = self.run_command("test")
        self.assertEqual(status, 0, output)
        self.assertEqual(list(self.path("build/release/failed").iterdir()), [])

    def test_what_does_not_build_hides_nothing(self):
        self.program("bin/cmake", '[ "$*" != "--build --preset release" ]')
        status, output = self.run_command("test")
        self.assertEqual(status, 1, output)
        self.assertEqual(output.count("100% tests passed"), 3)
        self.assertTrue(output.endswith(
            "\nFAILED, 1 altogether:\n  release: cannot be built, see above\n"), output)

    def test_no_tests(self):
        self.suite("fuzz", {})
        status, output = self.run_command("test")
        self.assertEqual(status, 1, output)
        self.assertIn("  fuzz: no tests were run, see above\n", output)

    def test_quick(self):
        status, output = self.run_command("test", "--quick")
        self.assertEqual(status, 0, output)
        self.assertEqual(output.count("100% tests passed, 0 tests failed out of 1\n"), 1)
        self.failing("release", "exit 1")
        self.assertEqual(self.run_command("test", "--quick")[0], 1)
        self.program("bin/cmake", "exit 1")
        self.assertEqual(self.run_command("test", "--quick")[0], 1)

    def test_coverage(self):
        status, output = self.run_command("test", "--coverage")
        self.assertEqual(status, 0, output)
        self.assertIn("\ncounted\n", output)
        self.program("bin/gcovr", "exit 2")
        status, output = self.run_command("test", "--coverage")
        self.assertEqual(status, 1)
        self.assertIn("  coverage: less than it should be, ", output)

    def test_valgrind(self):
        self.program("launched", '[[ $BACKEND_LAUNCHER == */tests/support/memcheck ]]')
        self.suite("debug", {"launched": (self.path("launched"), "process")})
        status, output = self.run_command("test", "--valgrind")
        self.assertEqual(status, 0, output)
        self.program("complains", "echo lost >../valgrind/77")
        self.suite("debug", {"complains": (self.path("complains"), "process")})
        status, output = self.run_command("test", "--valgrind")
        self.assertEqual(status, 1)
        self.assertIn("\nlost\n", output)
        self.assertIn("  valgrind: complaints, see build/valgrind\n", output)

    def test_node_that_is_too_old(self):
        self.program("bin/dpkg-query", '[[ $* == *" nodejs" || $* == *" npm" ]] || echo installed')
        self.program("bin/sudo", '"$@"')
        self.program("bin/apt-get", 'echo "$*" >>apt-get.log')
        self.program("bin/node", "echo v18.17.1")
        self.program("bin/npm", "true")
        status, output = self.run_command("test", "--quick")
        self.assertEqual(status, 0, output)
        asked = self.path("apt-get.log").read_text()
        self.assertEqual(asked, "update -q\ninstall -y --no-install-recommends nodejs npm\n")
        self.program("bin/node", "echo v20.1.0")
        self.run_command("test", "--quick")
        self.assertEqual(self.path("apt-get.log").read_text(), asked)

    def test_interrupted(self):
        self.failing("release", "echo $$ >process.log; exec sleep 1000")
        terminal = self.start_on_terminal("test")
        processes = self.lines_of("build/release/process.log", 1)
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)
        self.expect_ended(processes)

    def test_arguments(self):
        self.expect_usage("test")
        for arguments in (["x"], ["--x"], ["--quick", "--coverage"], ["--quick", "x"]):
            self.expect_wrong_arguments("test", *arguments)


if __name__ == "__main__":
    unittest.main()
