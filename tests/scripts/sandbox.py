"""A copy of the commands in a folder of its own, where other programs stand in for those that they
start: nothing is installed, built or run for long."""

import fcntl
import os
import pty
import select
import shutil
import signal
import subprocess
import tempfile
import termios
import time
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
LONGEST = 300  # seconds, for what is done in one: only a hang lasts that long

# A router in whose place Ctrl-C would be felt. It waits for the signal itself: a pause would sleep
# through one that came just before it.
SIMULATOR = """
import os, signal
ENDS = {signal.SIGINT, signal.SIGTERM}
signal.pthread_sigmask(signal.SIG_BLOCK, ENDS)
with open("simulator.log", "a") as log:
    print(os.getpid(), file=log)
print("Listening on 127.0.0.1:4321", flush=True)
number = signal.sigwait(ENDS)
with open("simulator.log", "a") as log:
    print("ended by", signal.Signals(number).name, file=log)
"""


class SandboxTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name).resolve()
        shutil.copytree(PROJECT / "scripts", self.folder / "scripts")
        for command in ("run", "test"):
            shutil.copy(PROJECT / command, self.folder)
        self.program("bin/dpkg-query", "printf 'installed\\n'")
        self.program("bin/cmake", 'printf "%s\\n" "$*" >>cmake.log')

    def path(self, name):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        return path

    def program(self, name, script, language="bash"):
        """A program of the sandbox; those in bin/ hide the system's."""
        self.path(name).write_text(f"#!/usr/bin/env {language}\n{script}\n", encoding="utf-8")
        self.path(name).chmod(0o755)

    def start(self, command, *arguments, **options):
        environment = {"PATH": f"{self.folder}/bin:{os.environ['PATH']}", "HOME": str(self.folder),
                       "LC_ALL": "C.UTF-8", "TERM": "dumb"}
        process = subprocess.Popen([self.folder / command, *arguments], env=environment,
                                   start_new_session=True, **options)
        self.addCleanup(end, process)
        return process

    def run_command(self, command, *arguments, **options):
        """Returns its exit status and what it wrote."""
        process = self.start(command, *arguments, stdin=subprocess.DEVNULL, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
        output, _ = process.communicate(timeout=LONGEST)
        return process.returncode, output

    def expect_wrong_arguments(self, command, *arguments):
        status, output = self.run_command(command, *arguments)
        self.assertEqual(status, 1, output)
        self.assertRegex(output, f"^{self.folder}/{command}: .*\n"
                         "Run with --help for more information.\n$")
        self.assertFalse((self.folder / "cmake.log").exists(), "it began to build")

    def expect_usage(self, command):
        for option in ("--help", "-h"):
            status, output = self.run_command(command, option)
            self.assertEqual(status, 0, output)
            self.assertTrue(output.startswith(f"Usage: {command_name(command)}"), output)
            self.assertIn("\nExit status: ", output)
            self.assertIn("130 when it was interrupted.", " ".join(output.split()))

    def lines_of(self, name, count):
        """The lines of a file, as soon as there are so many."""
        deadline = time.monotonic() + LONGEST
        while time.monotonic() < deadline:
            lines = self.path(name).read_text().splitlines() if self.path(name).exists() else []
            if len(lines) >= count:
                return lines
            time.sleep(0.02)
        return self.fail(f"{name} does not get {count} lines")

    def expect_ended(self, processes):
        """Waits for processes, given by their numbers, that are being ended."""
        deadline = time.monotonic() + LONGEST
        while any(Path("/proc", process).exists() for process in processes):
            self.assertLess(time.monotonic(), deadline, "processes were left behind")
            time.sleep(0.02)

    def expect_simulator_stopped(self):
        """Not by Ctrl-C, but by the command that had started it."""
        process, end = self.lines_of("simulator.log", 2)
        self.assertEqual(end, "ended by SIGTERM")
        self.expect_ended([process])

    def start_on_terminal(self, command, *arguments):
        ours, theirs = pty.openpty()
        process = self.start(command, *arguments, stdin=theirs, stdout=theirs, stderr=theirs,
                             preexec_fn=claim_terminal)
        os.close(theirs)
        return Terminal(process, ours)


class Terminal:
    """The person at a pseudo-terminal."""

    def __init__(self, process, descriptor):
        self.process = process
        self.descriptor = descriptor
        self.unread = ""

    def read(self):
        """Adds to what is unread; returns whether there may be more."""
        if not select.select([self.descriptor], [], [], LONGEST)[0]:
            raise AssertionError(f"nothing comes after: {self.unread}")
        try:
            self.unread += os.read(self.descriptor, 4096).decode(errors="replace")
        except OSError:  # nobody has the other side any more
            return False
        return True

    def expect(self, text):
        """Waits until this has been printed; returns what was printed before it."""
        while text not in self.unread:
            if not self.read():
                raise AssertionError(f"no {text!r} in: {self.unread}")
        before, self.unread = self.unread.split(text, 1)
        return before

    def type(self, keys):
        os.write(self.descriptor, keys.encode())

    def status(self):
        while self.read():
            pass
        os.close(self.descriptor)
        return self.process.wait(LONGEST)


def command_name(command):
    return command if "/" in command else "./" + command


def claim_terminal():
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)


def end(process):
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)
    process.wait()
    if process.stdout:
        process.stdout.close()
