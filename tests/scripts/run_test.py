"""./run with stand-ins for the build, and for the programs where they are not asked for."""

import os
import socket
import unittest
from pathlib import Path

from sandbox import LONGEST, SIMULATOR, SandboxTest

PROGRAMS = Path(os.environ["PROGRAMS"])  # the folder of the real ones

DEMONSTRATION = """
# A comment
status: 2
> is ready
routes 1
> route 1
router: drop it
"""

CONSOLE = """
echo "$@" >console.arguments
echo main is ready
read -r command number
echo "route $number"
read -r && exit 4
echo no such word >&2
exit 2
"""


class RunTest(SandboxTest):
    def setUp(self):
        super().setUp()
        self.program("build/release/router_simulator", SIMULATOR, "python3")
        self.program("build/release/router_console", CONSOLE)
        self.path("scripts/demonstration.txt").write_text(DEMONSTRATION)

    def test_demonstration(self):
        # It is told to end right behind its last command, which it may not have read by then.
        self.program("build/release/router_simulator",
                     'trap "" TERM; echo "Listening on 127.0.0.1:4321"; read -r line;'
                     ' echo "$line" >router.input')
        status, output = self.run_command("run")
        self.assertEqual(status, 0, output)
        self.assertTrue(output.endswith("A simulated 32x32 router is 127.0.0.1:4321\n"
                                        "Playing scripts/demonstration.txt\n"
                                        "main is ready\nroute 1\nno such word\n"), output)
        self.assertEqual(self.path("console.arguments").read_text(),
                         "--router main=127.0.0.1:4321\n")
        self.assertEqual(self.lines_of("router.input", 1), ["drop it"])

    def test_demonstration_that_does_not_show_what_it_must(self):
        self.program("build/release/router_console", "echo main is down")
        status, output = self.run_command("run")
        self.assertEqual(status, 2, output)
        self.assertIn("main is down\nThis was not shown: is ready\n", output)
        self.expect_simulator_stopped()

    def test_demonstration_that_ends_otherwise(self):
        self.program("build/release/router_console", CONSOLE.replace("exit 2", "exit 3"))
        status, output = self.run_command("run")
        self.assertEqual(status, 2, output)
        self.assertTrue(output.endswith("It ended with status 3, not 2\n"), output)
        self.expect_simulator_stopped()

    def test_configuration_is_looked_for_where_the_caller_is(self):
        self.program("build/release/router_console", 'cat "$2" - >console.conf; exit 3')
        self.path("elsewhere/my.conf").write_text("port=1\n")
        status, output = self.run_command("run", "--file", "my.conf",
                                          cwd=self.folder / "elsewhere")
        self.assertEqual(status, 3, output)
        self.assertEqual(self.path("console.conf").read_text(), "port=1\n")

    def test_simulator_that_does_not_start(self):
        self.program("build/release/router_simulator", "exit 1")
        status, output = self.run_command("run")
        self.assertEqual(status, 1)
        self.assertTrue(output.endswith("/run: the simulated router did not start\n"), output)

    def test_build_that_fails(self):
        self.program("bin/cmake", "exit 5")
        self.assertEqual(self.run_command("run")[0], 1)
        self.assertFalse(self.path("simulator.log").exists())

    def test_interrupted_while_it_builds(self):
        self.program("bin/cmake", "trap 'exit 2' INT; echo built; read -r line")
        terminal = self.start_on_terminal("run")
        terminal.expect("Building")
        terminal.type("\x03")
        self.assertEqual(terminal.status(), 130)

    def test_ctrl_c_at_the_prompt_is_the_consoles(self):
        for program in ("router_simulator", "router_console"):
            self.path(f"build/release/{program}").unlink()
            self.path(f"build/release/{program}").symlink_to(PROGRAMS / program)
        terminal = self.start_on_terminal("run")
        terminal.expect("router is 127.0.0.1:")
        port = int(terminal.expect("\r\n"))
        terminal.expect("main is ready")
        terminal.type("\x03")
        terminal.expect('"quit" or Ctrl-D leaves the console.')
        terminal.type('take 1 "VTR 1"\n')
        terminal.expect("MON A shows VTR 1: confirmed")
        terminal.type("quit\n")
        self.assertEqual(terminal.status(), 0)
        with self.assertRaises(ConnectionRefusedError):
            socket.create_connection(("127.0.0.1", port))

    def test_terminal_that_is_closed_leaves_no_router(self):
        self.program("build/release/router_console", "echo runs; exec sleep 1000")
        terminal = self.start_on_terminal("run")
        terminal.expect("runs")
        os.close(terminal.descriptor)
        terminal.process.wait(LONGEST)
        self.expect_simulator_stopped()

    def test_command_that_is_killed_leaves_no_router(self):
        self.program("build/release/router_console", "echo runs; read -r")
        terminal = self.start_on_terminal("run")
        terminal.expect("runs")
        terminal.process.kill()
        self.assertEqual(terminal.status(), -9)
        self.expect_simulator_stopped()

    def test_arguments(self):
        self.expect_usage("run")
        for arguments in (["x"], ["--x"], ["--file"], ["--file", "none.conf"], ["--file="]):
            self.expect_wrong_arguments("run", *arguments)


if __name__ == "__main__":
    unittest.main()
