"""scripts/fuzz with stand-ins for the fuzz targets."""

import shutil
import unittest

from sandbox import LONGEST, PROJECT, SandboxTest

TARGETS = ("backend", "receive_parser", "parent_record", "config_file", "router_answers",
           "http_request", "router_traffic", "control_server")
DONE = """
mkdir -p build/fuzz/corpus/backend
printf '%s\\n' "$*" >>arguments.log
printf '#9 DONE cov: 57 ft: 58\\nstat::number_of_executed_units: 4321\\n'
"""


class FuzzTest(SandboxTest):
    def setUp(self):
        super().setUp()
        shutil.copy(PROJECT / "tests/fuzz/fuzz_target", self.path("tests/fuzz/fuzz_target"))
        for target in TARGETS:
            self.program(f"build/fuzz/{target}_fuzz", DONE)

    def test_nothing_found(self):
        status, output = self.run_command("scripts/fuzz", "4")
        self.assertEqual(status, 0, output)
        self.assertTrue(output.endswith("\nNothing was found.\n"), output)
        self.assertRegex(output, "\nbackend +4321 +57 +58 +0\n")

    def test_found(self):
        self.program("build/fuzz/config_file_fuzz",
                     "touch build/fuzz/findings/config_file-crash-1; exit 77")
        status, output = self.run_command("scripts/fuzz", "4")
        self.assertEqual(status, 1, output)
        self.assertIn("again: build/fuzz/config_file_fuzz "
                      "build/fuzz/findings/config_file-crash-1\n  status 77, see ", output)
        self.assertRegex(output, "\nrouter_answers +4321 ")
        self.assertNotIn("Nothing", output)

    def test_time_is_divided(self):
        status, output = self.run_command("scripts/fuzz", "2m")
        self.assertEqual(status, 0, output)
        log = self.path("arguments.log").read_text()
        self.assertEqual(log.count("-max_total_time=120 "), 1)
        self.assertEqual(log.count("-max_total_time=18 "), 7)

    def run_for_long(self):
        for target in TARGETS:
            self.program(f"build/fuzz/{target}_fuzz", "echo $$ >>processes.log; exec sleep 1000")

    def test_told_to_end(self):
        self.run_for_long()
        process = self.start("scripts/fuzz", "1h")
        processes = self.lines_of("processes.log", 2)
        process.terminate()
        process.wait(LONGEST)
        self.expect_ended(processes)
        self.assertEqual(self.lines_of("processes.log", 2), processes)

    def test_interrupted(self):
        self.run_for_long()
        terminal = self.start_on_terminal("scripts/fuzz", "1h")
        processes = self.lines_of("processes.log", 2)
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)
        self.expect_ended(processes)
        self.assertEqual(self.lines_of("processes.log", 2), processes)

    def test_arguments(self):
        self.expect_usage("scripts/fuzz")
        for arguments in (["0"], ["x"], ["1.5m"], ["-1"], ["10d"], ["10", "20"], ["--seed", "1"]):
            self.expect_wrong_arguments("scripts/fuzz", *arguments)


if __name__ == "__main__":
    unittest.main()
