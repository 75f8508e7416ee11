#!/usr/bin/env python3
"""Whole programs in marl against the same algorithms in other interpreters.

    bench/compare.py [--large | --real] [--rounds N] [--marl PATH]... [--peers NAMES] [PROGRAM]...

Every program of bench/programs runs in marl and in each peer that is installed, one after the
other, round after round, so that a disturbance of the machine meets all of them. A run counts when
it ends with status 0 and its output is that of the others. What counts is the user and system CPU
time of the process with its children, and its peak memory. The median over the rounds is taken,
and from it the median of the peer's own start-up, which is that of an empty program.

The peers are interpreters (hugs, runghc, guile's evaluator and its bytecode, lua, luajit with its
compiler off, ocaml's bytecode, python3 and bc) and, to show how far there is to go, compilers to code
of the machine (guile's and luajit's while a program runs, ocamlopt, chez, ghc). What compiles does so
before anything is measured, into a temporary folder.

A ratio is the other's time over marl's: above 1, marl is faster. The means are shown the other way
round as well, with the program that is slowest beside each peer, what the mean is to stay below, and the
programs that are above their own bound. With several --marl, the first is the one that the others are
compared with, which makes this the way to judge a change.

With --real the programs are those of examples/real, packed with the library, on inputs that are made for
them (real_tasks.py), and the peers have theirs in bench/real. Here the start-up counts, since it is part
of what somebody waits for, and a ratio is marl's time over the other's.

The programs have a size in them as a number. At that size a run is short, and the start-up of some
peers is most of it; --large takes ten times as much work and more, so that it hardly counts.
"""

import argparse
import collections
import ctypes
import math
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

import real_tasks

ROOT = pathlib.Path(__file__).resolve().parent
PROGRAMS = ROOT / "programs"
REAL = ROOT / "real"
REAL_NAMES = "grep wordfreq report json life sudoku pi scheme walk site fileserver".split()

# In the order of the table. A unit is what the program keeps at its peak, as many as its size says.
NAMES = """startup countdown fib tak ackermann queens fold mergesort tree primes church array text
bytes nbody deep cells factorial fibonacci division""".split()
BIG_NUMBERS = {"factorial", "fibonacci", "division"}
UNITS = {"deep": "frame", "cells": "cell"}

# The numbers that make the size of a program: as it stands, large, and how often it is there, which
# is the same in every language. Sums stay below 2^31, which is where an Int of hugs ends.
SIZES = {
    "countdown": [("1000000", "20000000", 1)],
    "fib": [("27", "33", 1)],
    "tak": [("21", "30", 1)],
    "ackermann": [("7", "9", 1)],
    "queens": [("9", "11", 2)],
    "fold": [("200000", "4000000", 1)],
    "mergesort": [("20000", "200000", 1)],
    "tree": [("20000", "200000", 1)],
    "primes": [("1000", "4000", 1)],
    "church": [("2", "40", 1)],
    "array": [("200000", "2000000", 3)],
    "text": [("20000", "200000", 1)],
    "bytes": [("4000", "100000", 1)],
    "nbody": [("1000", "30000", 1)],
    "deep": [("1000000", "4000000", 1)],
    "cells": [("1000000", "4000000", 1)],
    "factorial": [("2000", "10000", 1)],
    "fibonacci": [("20000", "200000", 1)],
    "division": [("20000", "200000", 1), ("9000", "90000", 1)],
}

# What marl's time is to be over a peer's at most, as a mean over the programs with short numbers, and on
# each of them; a program that has its own bound stands behind.
Bounds = collections.namedtuple("Bounds", "mean program exceptions")
BOUNDS = {
    "ocaml": Bounds(0.75, 1.3, {"array": 1.4}),
    "lua": Bounds(0.38, 1.5, {}),
    "guilec": Bounds(0.33, None, {}),
    "python3": Bounds(0.35, None, {}),
}

# Net times below this are noise, and count as this.
RESOLUTION = 0.001
CPU_LIMIT = 60

# What a peer has no room for: it stops with an error there, or its collector takes minutes.
UNABLE = {("hugs", "array"), ("hugs", "deep"), ("ocamlopt", "deep")}
EXTRA_OPTIONS = {("hugs", "cells"): ["-h20M"]}
EXTRA_OPTIONS_LARGE = {
    ("hugs", "cells"): ["-h80M"],
    ("hugs", "mergesort"): ["-h20M"],
    ("hugs", "tree"): ["-h20M"],
    ("hugs", "text"): ["-h20M"],
}

Run = collections.namedtuple("Run", "seconds kilobytes status output")


class Size:
    """One size of the programs: where they are, and what the peers need at it."""

    def __init__(self, large, programs, scratch):
        self.folder = enlarged(programs, scratch) if large else PROGRAMS
        self.options = EXTRA_OPTIONS_LARGE if large else EXTRA_OPTIONS
        self.units = {name: int(SIZES[name][0][1 if large else 0]) for name in UNITS}


def enlarged(programs, scratch):
    """A folder with the programs in every language at their large size."""
    folder = pathlib.Path(scratch, "large")
    folder.mkdir()
    for name in programs:
        for file in PROGRAMS.glob(name + ".*"):
            text = file.read_text()
            for small, large, count in SIZES.get(name, []):
                text, found = re.subn(rf"(?<![\w.]){small}(?![\w.])", large, text)
                if found != count:
                    sys.exit(f"{file.name} has its size {small} in it {found} times, not {count}")
            (folder / file.name).write_text(text)
    return folder


class Runner:
    """One interpreter: its command, the suffix of its programs, its environment. It runs the
    programs that are written for it: bc those with big numbers, ocaml those without, and lua the same
    but for deep, for which its stack has no room."""

    def __init__(self, name, command, suffix, size, environment=None):
        self.name = name
        self.command = command
        self.suffix = suffix
        self.size = size
        self.environment = dict(os.environ, **(environment or {}))

    def file(self, program):
        return self.size.folder / (program + self.suffix)

    def runs(self, program):
        return (self.name, program) not in UNABLE and self.file(program).exists()

    def prepare(self, programs):
        """Does what is not to be measured."""

    def run(self, program, scratch):
        options = self.size.options.get((self.name, program), [])
        return measure([*self.command, *options, str(self.file(program))], self.environment, scratch)


class RealRunner:
    """One interpreter on the real programs: its files are in a folder, and the tasks tell what it gets."""

    def __init__(self, name, command, folder, suffix, tasks, between=()):
        self.name = name
        self.command = command
        self.between = between
        self.folder = folder
        self.suffix = suffix
        self.tasks = tasks

    def file(self, program):
        return self.folder / (program + self.suffix)

    def runs(self, program):
        return self.file(program).exists()

    def run(self, program, scratch):
        task = self.tasks[program]
        client = real_tasks.Client(task)
        result = measure([*self.command, str(self.file(program)), *self.between, *map(str, task.arguments)],
                         dict(os.environ), scratch, task.stdin)
        client.wait()
        return result


class Compiled(Runner):
    """A compiler. Its programs are compiled from and to a folder of its own, where it may leave what it
    makes besides; then they are commands."""

    def __init__(self, name, command, suffix, size, folder, environment=None):
        super().__init__(name, command, suffix, size, environment)
        self.folder = pathlib.Path(folder, name)

    def prepare(self, programs):
        self.folder.mkdir()
        for program in filter(self.runs, programs):
            source = shutil.copy(self.file(program), self.folder)
            subprocess.run([*self.command, "-o", self.folder / program, source], cwd=self.folder,
                           stdout=subprocess.DEVNULL, check=True)

    def run(self, program, scratch):
        return measure([str(self.folder / program)], self.environment, scratch)


class CompiledGuile(Runner):
    """Guile that finds its programs compiled, where it looks for them by itself."""

    COMPILE = """(use-modules (system base compile))
        (for-each (lambda (file) (compile-file file #:output-file (compiled-file-name file)))
                  (cdr (command-line)))"""

    def prepare(self, programs):
        files = [str(self.file(program)) for program in programs]
        subprocess.run([*self.command, "-c", self.COMPILE, *files], env=self.environment,
                       stdout=subprocess.DEVNULL, check=True)


def peers(size, scratch):
    """The peers that are installed."""
    compiled = {"XDG_CACHE_HOME": f"{scratch}/compiled"}
    not_compiled = {"XDG_CACHE_HOME": f"{scratch}/not-compiled"}
    guile = shutil.which("guile-3.0") or shutil.which("guile") or "guile"
    python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
    lua = shutil.which("lua5.4") or shutil.which("lua") or "lua"
    # Room on the stack for deep.
    deep = {"OCAMLRUNPARAM": "l=256M"}
    candidates = [
        Runner("hugs", ["runhugs", "-98"], ".hs", size),
        Runner("runghc", ["runghc"], ".hs", size),
        Runner("guile", [guile, "--no-auto-compile"], ".scm", size, not_compiled),
        CompiledGuile("guilec", [guile, "--no-auto-compile"], ".scm", size,
                      {**compiled, "GUILE_JIT_THRESHOLD": "-1"}),
        Runner("lua", [lua], ".lua", size),
        Runner("luajit-off", ["luajit", "-joff"], ".lua", size),
        Compiled("ocaml", ["ocamlc"], ".ml", size, scratch, deep),
        Runner("python3", [python], ".py", size),
        Runner("bc", ["bc", "-q"], ".bc", size, {"BC_LINE_LENGTH": "0"}),
        CompiledGuile("guile-jit", [guile, "--no-auto-compile"], ".scm", size, compiled),
        Runner("luajit", ["luajit"], ".lua", size),
        Compiled("ocamlopt", ["ocamlopt"], ".ml", size, scratch),
        Runner("chez", ["chezscheme", "--script"], ".scm", size),
        Compiled("ghc", ["ghc", "-O"], ".hs", size, scratch),
    ]
    return [peer for peer in candidates if shutil.which(peer.command[0])]


def become_reaper():
    """Orphans are ours to wait for from here on; see measure."""
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)


def measure(command, environment, scratch, stdin=None):
    """Runs the command once. A process inherits the peak memory of the one that started it, which
    would hide a small interpreter behind this script; so a shell starts it, ends at once, and
    leaves the process to us. The process holds back until the shell is gone, which else might take
    notice of its end."""
    out = pathlib.Path(scratch, "out")
    script = f"""ulimit -t {CPU_LIMIT}; in=$1; out=$2; shift 2; exec 3<&0
        (read go <&3; exec "$@" 3<&- <"$in" >"$out" 2>/dev/null) & echo $!"""
    with subprocess.Popen(
            ["/bin/sh", "-c", script, "sh", str(stdin or "/dev/null"), str(out), *command],
            env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as shell:
        process = int(shell.stdout.readline())
        shell.wait()
        shell.stdin.write(b"\n")
    _, status, usage = os.wait4(process, 0)
    return Run(usage.ru_utime + usage.ru_stime, usage.ru_maxrss, status, canonical(out.read_text()))


def canonical(output):
    """The output with its real numbers at seven digits, however they were written. marl prints
    seven: at fewer, its numbers would be rounded twice."""
    real = r"\d+\.\d+(?:e[-+]?\d+)?"
    return re.sub(real, lambda found: f"{float(found[0]):.6e}", output)


def measure_all(runners, programs, rounds, scratch):
    """A list of runs for each runner and program; a pair that fails is not run again."""
    runs = collections.defaultdict(list)
    failed = set()
    for number in range(rounds):
        for program in programs:
            for runner in runners:
                key = (runner.name, program)
                if key in failed or not runner.runs(program):
                    continue
                tell(f"{number + 1}/{rounds} {program} {runner.name}")
                result = runner.run(program, scratch)
                runs[key].append(result)
                if result.status != 0:
                    failed.add(key)
    tell("")
    return runs


def tell(text):
    """Shows on a terminal what is going on, in a line that the next one overwrites."""
    if sys.stderr.isatty():
        print(f"\r{text}\x1b[K", end="", file=sys.stderr, flush=True)


def drop_wrong(runs, programs):
    """Takes out the runs whose output is not what most print. Gives what to tell about them."""
    complaints = []
    for program in programs:
        votes = collections.Counter(
            run.output for (_, name), some in runs.items() if name == program
            for run in some if run.status == 0)
        right = votes.most_common(1)[0][0] if votes else None
        for key in [key for key in runs if key[1] == program]:
            bad = [run for run in runs[key] if run.status != 0]
            if bad:
                complaints.append(f"{key[0]} fails on {program}: wait status {bad[0].status}")
            elif any(run.output != right for run in runs[key]):
                complaints.append(f"{key[0]} prints something else on {program}")
            else:
                continue
            del runs[key]
    return complaints


class Figures:
    """Medians: net seconds and peak kilobytes by runner name and program."""

    def __init__(self, runs, units):
        self.units = units
        self.gross = {key: statistics.median(run.seconds for run in some)
                      for key, some in runs.items()}
        self.peak = {key: statistics.median(run.kilobytes for run in some)
                     for key, some in runs.items()}

    def seconds(self, name, program):
        """Net of start-up, but for the start-up itself; None when there was no run."""
        gross = self.gross.get((name, program))
        start = self.gross.get((name, "startup"))
        if gross is None or start is None or program == "startup":
            return gross
        return max(gross - start, RESOLUTION)

    def ratio(self, base, name, program):
        ours, theirs = self.seconds(base, program), self.seconds(name, program)
        return theirs / ours if ours and theirs else None

    def bytes_a_unit(self, name, program):
        peak, start = self.peak.get((name, program)), self.peak.get((name, "startup"))
        return (peak - start) * 1024 / self.units[program] if peak and start else None


def show(value, form, width):
    return ("-" if value is None else format(value, form)).rjust(width)


def print_times(figures, base, others, programs):
    print("CPU seconds net of start-up, and how many times marl's that is")
    print("program".ljust(12) + base.name.rjust(8) +
          "".join(other.name[-14:].rjust(16) for other in others))
    for program in programs:
        line = program.ljust(12) + show(figures.seconds(base.name, program), ".4f", 8)
        for other in others:
            line += show(figures.seconds(other.name, program), ".4f", 9)
            line += show(figures.ratio(base.name, other.name, program), ".2f", 7)
        print(line)
    short = [p for p in programs if p != "startup" and p not in BIG_NUMBERS]
    big = [p for p in programs if p in BIG_NUMBERS]
    print_means(figures, base, others, "mean", short + big)
    print_means(figures, base, others, "  short numbers", short)
    print_means(figures, base, others, "  big numbers", big)
    print("\nThe same as marl's time over the other's, and where it is the most")
    print_means(figures, base, others, "mean", short + big, -1)
    print_means(figures, base, others, "  short numbers", short, -1)
    print_means(figures, base, others, "  big numbers", big, -1)
    print_worst(figures, base, others, "at worst, short", short)
    print_worst(figures, base, others, "at worst, big", big)
    print_bounds(figures, base, others, short)


def ratios(figures, base, other, programs):
    """By program, of those that both can run."""
    some = {program: figures.ratio(base.name, other.name, program) for program in programs}
    return {program: ratio for program, ratio in some.items() if ratio}


def print_means(figures, base, others, title, programs, power=1):
    """Geometric means of the ratios, or with the power -1 of their inverses."""
    line = title.ljust(20)
    for other in others:
        logs = [math.log(ratio) for ratio in ratios(figures, base, other, programs).values()]
        line += show(math.exp(power * statistics.fmean(logs)) if logs else None, ".2f", 16)
    print(line)


def print_worst(figures, base, others, title, programs):
    line = title.ljust(20)
    for other in others:
        some = ratios(figures, base, other, programs)
        worst = min(some, key=some.get, default=None)
        line += (f"{worst} {1 / some[worst]:.2f}" if worst else "-").rjust(16)
    print(line)


def print_bounds(figures, base, others, programs):
    """What the mean over programs with short numbers is to stay below, and who is above a bound."""
    bounded = [(other, BOUNDS[other.name]) for other in others if other.name in BOUNDS]
    means = {other.name: bounds.mean for other, bounds in bounded}
    print("wanted, short".ljust(20) + "".join(show(means.get(other.name), ".2f", 16) for other in others))
    for other, bounds in bounded:
        some = {program: 1 / ratio for program, ratio in ratios(figures, base, other, programs).items()}
        mean = math.exp(statistics.fmean(map(math.log, some.values()))) if some else 0
        above = [f"{program} {ratio:.2f}" for program, ratio in some.items()
                 if bounds.program and ratio > bounds.exceptions.get(program, bounds.program)]
        above += [f"the mean {mean:.2f}"] if mean > bounds.mean else []
        if above:
            print(f"above what is wanted beside {other.name}: " + ", ".join(above))


def print_memory(figures, runners, programs):
    print("\nPeak memory in MB")
    print("program".ljust(12) + "".join(runner.name[-10:].rjust(11) for runner in runners))
    for program in programs:
        peaks = [figures.peak.get((runner.name, program)) for runner in runners]
        print(program.ljust(12) + "".join(
            show(peak and peak / 1024, ".1f", 11) for peak in peaks))
    for program in programs:
        if program in UNITS:
            print(f"bytes/{UNITS[program]}".ljust(12) + "".join(
                show(figures.bytes_a_unit(runner.name, program), ".0f", 11)
                for runner in runners))


def arguments():
    parser = argparse.ArgumentParser(
        description=__doc__.split("\n\n")[0], epilog="programs: " + " ".join(NAMES))
    parser.add_argument("programs", nargs="*", metavar="PROGRAM", help="all when none is named")
    parser.add_argument("--large", action="store_true", help="the programs at their large size")
    parser.add_argument("--real", action="store_true", help="the programs of examples/real")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--marl", action="append", metavar="PATH",
                        help="the binary; more than one compares them (build/release/marl)")
    parser.add_argument("--peers", help="names with commas between, or none (all that are there)")
    options = parser.parse_args()
    unknown = set(options.programs) - set(REAL_NAMES if options.real else NAMES)
    if unknown:
        parser.error("no such program: " + " ".join(sorted(unknown)))
    options.marl = options.marl or [str(ROOT.parent / "build/release/marl")]
    for path in options.marl:
        if not os.access(path, os.X_OK):
            parser.error(f"no marl at {path}")
    return options


def marls(paths, size):
    names = ["marl"] if len(paths) == 1 else [f"marl{i + 1}" for i in range(len(paths))]
    return [Runner(name, [os.path.abspath(path)], ".marl", size)
            for name, path in zip(names, paths)]


def pack_real(marl, programs, folder):
    """Packs the programs with the library, by the marl-lab beside marl."""
    folder.mkdir()
    lab = pathlib.Path(marl).resolve().parent / "marl-lab"
    for program in programs:
        source = ROOT.parent / "examples/real" / (program + ".marl")
        subprocess.run([lab, "pack", source, "-o", folder / source.name], check=True)
    return folder


def compare_real(options):
    programs = [name for name in REAL_NAMES if name in (options.programs or REAL_NAMES)]
    with tempfile.TemporaryDirectory() as scratch:
        tasks = real_tasks.tasks(scratch)
        packed = pack_real(options.marl[0], programs, pathlib.Path(scratch, "packed"))
        names = ["marl"] if len(options.marl) == 1 else [f"marl{i + 1}" for i in range(len(options.marl))]
        runners = [RealRunner(name, [os.path.abspath(path)], packed, ".marl", tasks)
                   for name, path in zip(names, options.marl)]
        peers = [RealRunner("python3", ["python3"], REAL, ".py", tasks),
                 RealRunner("lua", ["lua5.4"], REAL, ".lua", tasks),
                 RealRunner("awk", ["awk", "-f"], REAL, ".awk", tasks, ["--"])]
        runners += [peer for peer in peers if shutil.which(peer.command[0]) and
                    (options.peers is None or peer.name in options.peers.split(","))]
        become_reaper()
        runs = measure_all(runners, programs, options.rounds, scratch)
    complaints = drop_wrong(runs, programs)
    print_real(Figures(runs, {}), runners, programs)
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


def print_real(figures, runners, programs):
    base, *others = runners
    print(f"CPU seconds, and how many times of them {base.name} takes")
    print("program".ljust(12) + base.name.rjust(8) + "".join(other.name.rjust(16) for other in others))
    for program in programs:
        ours = figures.gross.get((base.name, program))
        line = program.ljust(12) + show(ours, ".3f", 8)
        for other in others:
            theirs = figures.gross.get((other.name, program))
            line += show(theirs, ".3f", 9) + show(ours / theirs if ours and theirs else None, ".2f", 7)
        print(line)
    line = "mean".ljust(20)
    for other in others:
        logs = [math.log(figures.gross[base.name, program] / figures.gross[other.name, program])
                for program in programs
                if {(base.name, program), (other.name, program)} <= figures.gross.keys()]
        line += show(math.exp(statistics.fmean(logs)) if logs else None, ".2f", 16)
    print(line)
    print_memory(figures, runners, programs)


def main():
    options = arguments()
    if options.real:
        return compare_real(options)
    wanted = set(options.programs or NAMES) | {"startup"}
    programs = [name for name in NAMES if name in wanted]
    with tempfile.TemporaryDirectory() as scratch:
        size = Size(options.large, programs, scratch)
        others = peers(size, scratch)
        if options.peers is not None:
            others = [peer for peer in others if peer.name in options.peers.split(",")]
        base, *more = marls(options.marl, size)
        runners = [base, *more, *others]
        for other in others:
            other.prepare(programs)
        become_reaper()
        runs = measure_all(runners, programs, options.rounds, scratch)
    complaints = drop_wrong(runs, programs)
    figures = Figures(runs, size.units)
    print_times(figures, base, runners[1:], programs)
    print_memory(figures, runners, programs)
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
