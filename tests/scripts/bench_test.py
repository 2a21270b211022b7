"""scripts/bench with a stand-in for what measures."""

import unittest

from sandbox import SandboxTest


class BenchTest(SandboxTest):
    def setUp(self):
        super().setUp()
        self.program("build/release/router_bench", 'echo "$*" >arguments.log')

    def test_measured(self):
        status, output = self.run_command("scripts/bench", "take", "--quick", "status")
        self.assertEqual(status, 0, output)
        self.assertTrue(self.path("arguments.log").read_text().endswith(" take --quick status\n"))

    def test_not_measured(self):
        self.program("build/release/router_bench", "exit 1")
        self.assertEqual(self.run_command("scripts/bench")[0], 1)

    def test_interrupted(self):
        self.program("build/release/router_bench", "trap 'exit 0' INT; echo measures; read -r")
        terminal = self.start_on_terminal("scripts/bench")
        terminal.expect("measures")
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)

    def test_arguments(self):
        self.expect_usage("scripts/bench")
        for arguments in (["x"], ["take", "x"], ["--x"], ["--quick=1"]):
            self.expect_wrong_arguments("scripts/bench", *arguments)


if __name__ == "__main__":
    unittest.main()
