"""What scripts/mutate runs: mutation.py COUNT SEED JOBS SOURCE...

The sources are paths from the project's root; a count of 0 stands for all changes.
"""

import concurrent.futures
import json
import os
import random
import re
import resource
import shlex
import shutil
import subprocess
import sys
import threading
import time
from collections import Counter
from pathlib import Path

from mutants import mutants_of

PROJECT = Path(__file__).resolve().parent.parent
BUILD = PROJECT / "build" / "release"
BENCHES = PROJECT / "build" / "mutate"
MEMORY_LIMIT = 2 << 30  # bytes
FILE_LIMIT = 64 << 20   # bytes

# The files of tests/process that try what is in a folder from outside. Of the backend's only what
# the unit tests set up themselves, the start among it.
PROCESS_TESTS = {
    "src/": ["command_line", "configuration", "descriptors", "parent", "parent_flood"],
    "tools/common/": ["console", "parent_link", "simulator", "simulator_program"],
    "tools/console/": ["console", "console_data", "console_end", "console_terminal"],
    "tools/parent_link/": ["parent_link", "parent_link_state", "console"],
    "tools/router_simulator/": ["simulator", "simulator_program"],
    "tools/soak/": ["soak"],
}
# The programs that are tried, by the folder of the sources that they may hold.
PROGRAMS = {
    ("src/", "tools/"): ["unit_tests", "console_tests", "clock_test", "process_tests",
                         "routing_switcher_backend", "router_console", "router_simulator",
                         "router_soak"],
    ("server/desk/",): ["desk_tests"],
    ("server/journal/",): ["journal_tests"],
    ("server/routers/",): ["routers_tests"],
    ("server/accounts/",): ["accounts_tests"],
    ("server/web/",): ["web_tests"],
}


def chosen_mutants(sources, count, seed):
    mutants = [mutant for source in sources
               for mutant in mutants_of(source, (PROJECT / source).read_text())]
    if 0 < count < len(mutants):
        chosen = random.Random(seed).sample(range(len(mutants)), count)
        mutants = [mutants[i] for i in sorted(chosen)]
    return mutants


def programs_that_may_hold(sources):
    return [program for folders, programs in PROGRAMS.items()
            if any(source.startswith(folders) for source in sources) for program in programs]


def build_unmutated(programs):
    print("Building the tests ...", flush=True)
    subprocess.run(["cmake", "--preset", "release", "-DBUILD_TESTING=ON"], cwd=PROJECT, check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", BUILD, "--target", *programs], check=True)


def compile_commands():
    entries = json.loads((BUILD / "compile_commands.json").read_text())
    return {str(Path(entry["file"]).relative_to(PROJECT)): shlex.split(entry["command"])
            for entry in entries}


def object_of(source, commands):
    """The object's path in the build, "" for a source that is not built."""
    words = commands.get(source, ["-o", ""])
    return words[words.index("-o") + 1]


def with_output(command, path):
    words = list(command)
    words[words.index("-o") + 1] = str(path)
    return words


def link_command(program):
    commands = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", program], check=True,
                              stdout=subprocess.PIPE, text=True).stdout
    command = next(command for command in re.split(r" && |\n", commands)
                   if re.search(rf" -o {program}\b", command))
    return [*shlex.split(command), "-fuse-ld=lld"]


def linked_objects(command):
    """What the linker takes: paths of objects, or LIBRARY.a(OBJECT) of a library's."""
    trace = subprocess.run(with_output([*command, "-Wl,--trace"], "/dev/null"), cwd=BUILD,
                           check=True, stdout=subprocess.PIPE, text=True).stdout
    return set(trace.splitlines())


def holds(linked, object_path):
    library, name = re.fullmatch(r"(?:.*/(\w+)\.dir/.*?)?([^/]*)", object_path).groups()
    return object_path in linked or any(word.endswith(f"lib{library}.a({name})") for word in linked)


def suites_in(paths):
    suites = {suite for path in paths
              for suite in re.findall(r"^TEST\w*\((\w+),", path.read_text(), re.MULTILINE)}
    return "--gtest_filter=" + ":".join(f"{suite}.*:*/{suite}.*" for suite in sorted(suites))


def test_runs(source, programs):
    """The commands that must succeed on the source held by these programs, the likeliest to
    notice a change first."""
    runs = []
    for program in ("unit_tests", "console_tests", "desk_tests", "journal_tests", "routers_tests",
                    "accounts_tests", "web_tests"):
        if program in programs:
            stem = Path(source).stem
            tests = PROJECT / "tests" / "unit"
            own = [*tests.rglob(f"{stem}_test.cpp"), *tests.rglob(f"{stem}_*_test.cpp")]
            runs += [(program, suites_in(own))] if own else []
            if program == "desk_tests":  # random histories take most of its time
                runs.append((program, "--gtest_filter=-History.*"))
            runs.append((program,))
    if "clock_test" in programs:
        runs.append(("clock_test",))
    files = [path for folder, names in PROCESS_TESTS.items() if source.startswith(folder)
             for name in names for path in (PROJECT / "tests" / "process").glob(f"{name}_test.cpp")]
    return [*runs, ("process_tests", suites_in(files))] if files else runs


class Bench:
    """A folder with all the programs, in which one mutant after the other takes its place in
    those that hold it."""

    def __init__(self, folder, commands, links):
        self.folder, self.commands, self.links = folder, commands, links
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        for program in links:
            self.put_back(program)

    def put_back(self, program):
        (self.folder / program).unlink(missing_ok=True)
        (self.folder / program).hardlink_to(BUILD / program)

    def compiles(self, mutant):
        # Assertions print the original's name and line.
        text = f'#line 1 "{PROJECT / mutant.source}"\n{mutant.text}'
        (self.folder / "mutant.cpp").write_text(text)
        words = with_output(self.commands[mutant.source], self.folder / "mutant.o")
        words[words.index("-c") + 1] = str(self.folder / "mutant.cpp")
        words += ["-O0", "-U_FORTIFY_SOURCE", "-w"]  # quick to compile
        return subprocess.run(words, cwd=BUILD, check=False,
                              stderr=subprocess.DEVNULL).returncode == 0

    def link(self, mutant, program):
        words = with_output(self.links[program], self.folder / program)
        original = object_of(mutant.source, self.commands)
        # Before the libraries, of which the original is not taken then.
        place = next(i for i, word in enumerate(words) if word.endswith((".o", ".a")))
        words = [word for word in words if word != original]
        words.insert(place, str(self.folder / "mutant.o"))
        (self.folder / program).unlink()
        subprocess.run(words, cwd=BUILD, check=True)

    def succeeds(self, run, time_limit):
        """Whether the tests pass in time, after which nothing of this folder runs any more."""
        scratch = self.folder / "tmp"
        scratch.mkdir()
        program, *options = run
        try:
            result = subprocess.run(
                [self.folder / program, *options, "--gtest_fail_fast", "--gtest_brief"],
                cwd=scratch, env={**os.environ, "TMPDIR": str(scratch)}, timeout=time_limit,
                preexec_fn=limit_resources, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL, check=False)
            return result.returncode == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            self.end_what_runs()
            shutil.rmtree(scratch)

    def end_what_runs(self):
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if self.folder in Path(os.readlink(process / "exe")).parents:
                    os.kill(int(process.name), 9)
            except OSError:
                pass  # it has ended, or is somebody else's

    def survives(self, mutant, programs, limits):
        """Whether all the tests pass on a mutant that compiles."""
        for program in programs:
            self.link(mutant, program)
        try:
            return all(self.succeeds(run, limits[run]) for run in test_runs(mutant.source, programs))
        finally:
            for program in programs:
                self.put_back(program)


def limit_resources():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))


def time_limits(bench, runs):
    """In seconds, by how long each takes on what is not mutated."""
    limits = {}
    for run in sorted(runs):
        begin = time.monotonic()
        if not bench.succeeds(run, None):
            sys.exit(f"These tests fail without any change: {' '.join(run)}")
        limits[run] = 15 + 5 * (time.monotonic() - begin)
    return limits


def print_table(figures):
    print(f"{'tried':>6}{'not compiled':>14}{'noticed':>9}{'passed':>8}{'%':>7}")
    rows = [*sorted(figures.items()), ("", sum(figures.values(), Counter()))]
    for source, row in rows:
        tried = row["noticed"] + row["passed"]
        share = f"{100 * row['noticed'] / tried:.1f}" if tried else "-"
        print(f"{tried:6}{row['not compiled']:14}{row['noticed']:9}{row['passed']:8}"
              f"{share:>7}  {source}".rstrip())


def try_all(mutants, programs, benches, limits):
    """How many of each source's were noticed; prints those that were not."""
    local = threading.local()

    def outcome(mutant):
        if not hasattr(local, "bench"):
            local.bench = benches.pop()
        if not local.bench.compiles(mutant):
            return "not compiled"
        return "passed" if local.bench.survives(mutant, programs[mutant.source], limits) else "noticed"

    figures, begin = {}, time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(len(benches)) as pool:
        try:
            for number, (mutant, result) in enumerate(zip(mutants, pool.map(outcome, mutants)), 1):
                figures.setdefault(mutant.source, Counter())[result] += 1
                if result == "passed":
                    print(mutant, flush=True)
                if number % 25 == 0 or number == len(mutants):
                    print(f"{number} of {len(mutants)}, {time.monotonic() - begin:.0f} s",
                          file=sys.stderr, flush=True)
        finally:
            pool.shutdown(cancel_futures=True)
    return figures


def main():
    count, seed, jobs = map(int, sys.argv[1:4])
    mutants = chosen_mutants(sys.argv[4:], count, seed)
    os.nice(10)
    sources = {mutant.source for mutant in mutants}
    tried = programs_that_may_hold(sources)
    build_unmutated(tried)
    commands = compile_commands()
    links = {program: link_command(program) for program in tried}
    linked = {program: linked_objects(links[program]) for program in tried}
    programs = {source: [program for program in tried
                         if holds(linked[program], object_of(source, commands))]
                for source in sources}
    for source in programs:
        if not programs[source]:
            sys.exit(f"No program under test holds {source}")
    benches = [Bench(BENCHES / str(number), commands, links) for number in range(jobs)]
    runs = {run for source in programs for run in test_runs(source, programs[source])}
    figures = try_all(mutants, programs, benches, time_limits(benches[0], runs))
    print_table(figures)
    return 1 if any(row["passed"] for row in figures.values()) else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except subprocess.CalledProcessError as error:
        sys.exit(f"This failed, see above: {shlex.join(map(str, error.cmd))}")
    except KeyboardInterrupt:
        sys.exit(130)
