"""scripts/soak with stand-ins for the simulated router and for what judges."""

import unittest

from sandbox import SIMULATOR, SandboxTest


class SoakTest(SandboxTest):
    def setUp(self):
        super().setUp()
        self.program("build/release/router_simulator", SIMULATOR, "python3")
        self.program("build/release/router_soak", 'echo "$*" >>arguments.log; read -r; echo "$REPLY"')

    def test_nothing_found(self):
        status, output = self.run_command("scripts/soak", "60")
        self.assertEqual(status, 0, output)
        self.assertTrue(output.endswith("\nListening on 127.0.0.1:4321\n"), output)
        self.expect_simulator_stopped()

    def test_found(self):
        self.program("build/release/router_soak", "read -r; exit 1")
        self.assertEqual(self.run_command("scripts/soak", "60")[0], 1)
        self.expect_simulator_stopped()

    def test_picture_that_fails(self):
        self.program("build/release/router_soak",
                     "mkdir -p build/soak; touch build/soak/soak.json; read -r; exit 3")
        self.program("bin/gnuplot", "exit 2")
        status, output = self.run_command("scripts/soak", "60")
        self.assertEqual(status, 3)
        self.assertTrue(output.endswith("/soak: there is no picture of it\n"), output)

    def test_durations_and_seed(self):
        for arguments in (["90"], ["90s", "--seed", "7"], ["--seed=8", "10m"], ["2h"], []):
            self.assertEqual(self.run_command("scripts/soak", *arguments)[0], 0)
        asked = [line.split()[:4] for line in self.path("arguments.log").read_text().splitlines()]
        self.assertEqual(asked, [["--seconds", seconds, "--seed", seed] for seconds, seed in (
            ("90", "1"), ("90", "7"), ("600", "8"), ("7200", "1"), ("600", "1"))])

    def test_interrupted(self):
        # It ends its run in good order, and would miss the router.
        self.program("build/release/router_soak",
                     "trap 'echo judged; exit 0' INT; read -r; echo runs; while sleep 0.1; do :; done")
        terminal = self.start_on_terminal("scripts/soak")
        terminal.expect("runs")
        terminal.type("\x03")
        terminal.expect("judged")
        self.assertEqual(terminal.status(), 130)
        self.expect_simulator_stopped()

    def test_arguments(self):
        self.expect_usage("scripts/soak")
        for arguments in (["0"], ["59"], ["x"], ["60.5"], ["60", "61"], ["--seed"], ["--seed", "x"],
                          ["--x"]):
            self.expect_wrong_arguments("scripts/soak", *arguments)


if __name__ == "__main__":
    unittest.main()
