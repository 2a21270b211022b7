"""scripts/bench with a stand-in for what measures."""

import unittest

from sandbox import SandboxTest

# Its fourth argument is the folder for what it has measured.
MEASURER = """
echo "$*" >arguments.log
mkdir -p "$4"
echo '"ratio": 1, of' "$*" >"$4/bench.json"
"""


class BenchTest(SandboxTest):
    def setUp(self):
        super().setUp()
        self.program("build/release/router_bench", MEASURER)
        self.program("bench/chart", 'cat "$1"')
        self.program("bin/gnuplot", "cat")
        self.program("bin/npm", 'echo "${QUICK-0} $PROGRAMS $*" >panel.log')

    def test_measured(self):
        status, output = self.run_command("scripts/bench", "take", "--quick", "status")
        self.assertEqual(status, 0, output)
        self.assertTrue(self.path("arguments.log").read_text().endswith(" --quick take status\n"))

    def test_run_before_is_kept_to_compare_with(self):
        self.run_command("scripts/bench", "take")
        self.run_command("scripts/bench", "--quick", "status")
        self.assertEqual(self.run_command("scripts/bench", "start")[0], 0)
        results = self.path("build/bench")
        self.assertRegex((results / "last.json").read_text(), " take\n$")
        self.assertRegex((results / "bench.json").read_text(), " start\n$")
        self.assertRegex((results / "quick/bench.json").read_text(), " --quick status\n$")
        self.assertIn(" --last build/bench/last.json ", self.path("arguments.log").read_text())

    def test_quick_run_is_compared_with_nothing(self):
        for _ in range(2):
            self.assertEqual(self.run_command("scripts/bench", "--quick")[0], 0)
        self.assertNotIn("--last", self.path("arguments.log").read_text())
        self.assertFalse(self.path("build/bench/quick/last.json").exists())

    def test_ratios_are_drawn(self):
        output = self.run_command("scripts/bench", "take")[1]
        results = self.path("build/bench")
        self.assertEqual((results / "bench.svg").read_text(), (results / "bench.json").read_text())
        self.assertIn("build/bench/bench.svg\n", output)

    def test_without_ratios_nothing_is_drawn(self):
        self.program("build/release/router_bench", 'mkdir -p "$4"; echo "{}" >"$4/bench.json"')
        status, output = self.run_command("scripts/bench", "pieces")
        self.assertEqual((status, output.count("svg")), (0, 0), output)

    def test_not_measured(self):
        self.program("build/release/router_bench", "exit 1")
        self.assertEqual(self.run_command("scripts/bench")[0], 1)

    def test_interrupted(self):
        self.program("build/release/router_bench", "trap 'exit 0' INT; echo measures; read -r")
        terminal = self.start_on_terminal("scripts/bench")
        terminal.expect("measures")
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)

    def test_panel(self):
        status, output = self.run_command("scripts/bench", "panel")
        self.assertEqual((status, self.path("arguments.log").exists()), (0, False), output)
        measured = self.path("panel.log").read_text()
        self.assertRegex(measured, "^0 /.*/build/release --prefix panel run --silent bench$")
        self.run_command("scripts/bench", "--quick", "take", "panel")
        self.assertRegex(self.path("panel.log").read_text(), "^1 ")
        self.assertTrue(self.path("arguments.log").read_text().endswith(" --quick take\n"))

    def test_panel_is_one_of_all(self):
        self.run_command("scripts/bench", "take")
        self.assertFalse(self.path("panel.log").exists())
        self.run_command("scripts/bench")
        self.assertTrue(self.path("panel.log").exists())

    def test_panel_not_measured(self):
        self.program("bin/npm", "exit 1")
        self.assertEqual(self.run_command("scripts/bench", "panel")[0], 1)

    def test_arguments(self):
        self.expect_usage("scripts/bench")
        for arguments in (["x"], ["take", "x"], ["--x"], ["--quick=1"]):
            self.expect_wrong_arguments("scripts/bench", *arguments)


if __name__ == "__main__":
    unittest.main()
