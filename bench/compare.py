#!/usr/bin/env python3
"""Whole programs in marl against the same algorithms in other interpreters.

    bench/compare.py [--rounds N] [--marl PATH]... [--peers NAMES] [PROGRAM]...

Every program of bench/programs runs in marl and in each peer that is installed, one after the
other, round after round, so that a disturbance of the machine meets all of them. A run counts when
it ends with status 0 and its output is that of the others. What counts is the user and system CPU
time of the process with its children, and its peak memory. The median over the rounds is taken,
and from it the median of the peer's own start-up, which is that of an empty program.

A ratio is the other's time over marl's: above 1, marl is faster. With several --marl, the first is
the one that the others are compared with, which makes this the way to judge a change.
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

ROOT = pathlib.Path(__file__).resolve().parent
PROGRAMS = ROOT / "programs"

# In the order of the table. A unit is what the program keeps a million of at its peak.
NAMES = """startup countdown fib tak ackermann queens fold mergesort tree primes church array text
bytes nbody deep cells factorial fibonacci division""".split()
BIG_NUMBERS = {"factorial", "fibonacci", "division"}
UNITS = {"deep": "frame", "cells": "cell"}
UNIT_COUNT = 1_000_000

# Net times below this are noise, and count as this.
RESOLUTION = 0.001
CPU_LIMIT = 60

# What a peer has no room for: it stops with an error there, or its collector takes minutes.
UNABLE = {("hugs", "array"), ("hugs", "deep")}
EXTRA_OPTIONS = {("hugs", "cells"): ["-h20M"]}

Run = collections.namedtuple("Run", "seconds kilobytes status output")


class Runner:
    """One interpreter: its command, the suffix of its programs, its environment."""

    def __init__(self, name, command, suffix, environment=None, only=None):
        self.name = name
        self.command = command
        self.suffix = suffix
        self.environment = dict(os.environ, **(environment or {}))
        self.only = only

    def runs(self, program):
        if (self.name, program) in UNABLE:
            return False
        return program == "startup" or self.only is None or program in self.only

    def run(self, program, scratch):
        options = EXTRA_OPTIONS.get((self.name, program), [])
        file = PROGRAMS / (program + self.suffix)
        return measure([*self.command, *options, str(file)], self.environment, scratch)


def peers(scratch):
    """The peers that are installed. Guile's compiler works once, before the measuring."""
    cache = {"XDG_CACHE_HOME": f"{scratch}/compiled", "GUILE_AUTO_COMPILE": "1"}
    no_cache = {"XDG_CACHE_HOME": f"{scratch}/not-compiled"}
    guile = shutil.which("guile-3.0") or shutil.which("guile") or "guile"
    python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
    candidates = [
        Runner("hugs", ["runhugs", "-98"], ".hs"),
        Runner("runghc", ["runghc"], ".hs"),
        Runner("guile", [guile, "--no-auto-compile"], ".scm", no_cache),
        Runner("guilec", [guile], ".scm", cache),
        Runner("python3", [python], ".py"),
        Runner("bc", ["bc", "-q"], ".bc", {"BC_LINE_LENGTH": "0"}, BIG_NUMBERS),
    ]
    return [peer for peer in candidates if shutil.which(peer.command[0])]


def become_reaper():
    """Orphans are ours to wait for from here on; see measure."""
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)


def measure(command, environment, scratch):
    """Runs the command once. A process inherits the peak memory of the one that started it, which
    would hide a small interpreter behind this script; so a shell starts it, ends at once, and
    leaves the process to us. The process holds back until the shell is gone, which else might take
    notice of its end."""
    out = pathlib.Path(scratch, "out")
    script = f"""ulimit -t {CPU_LIMIT}; out=$1; shift; exec 3<&0
        (read go <&3; exec "$@" 3<&- </dev/null >"$out" 2>/dev/null) & echo $!"""
    with subprocess.Popen(
            ["/bin/sh", "-c", script, "sh", str(out), *command],
            env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as shell:
        process = int(shell.stdout.readline())
        shell.wait()
        shell.stdin.write(b"\n")
    _, status, usage = os.wait4(process, 0)
    return Run(usage.ru_utime + usage.ru_stime, usage.ru_maxrss, status, canonical(out.read_text()))


def canonical(output):
    """The output with its real numbers at six digits, however they were written."""
    real = r"\d+\.\d+(?:e[-+]?\d+)?"
    return re.sub(real, lambda found: f"{float(found[0]):.5e}", output)


def warm(runners, programs, scratch):
    for runner in runners:
        if runner.environment.get("GUILE_AUTO_COMPILE"):
            for program in programs:
                runner.run(program, scratch)


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

    def __init__(self, runs):
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
        return (peak - start) * 1024 / UNIT_COUNT if peak and start else None


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
    print_means(figures, base, others, "mean", [p for p in programs if p != "startup"])
    print_means(figures, base, others, "  small", [
        p for p in programs if p != "startup" and p not in BIG_NUMBERS])
    print_means(figures, base, others, "  big", [p for p in programs if p in BIG_NUMBERS])


def print_means(figures, base, others, title, programs):
    """Geometric means of the ratios, over the programs that both can run."""
    line = title.ljust(20)
    for other in others:
        ratios = [figures.ratio(base.name, other.name, program) for program in programs]
        logs = [math.log(ratio) for ratio in ratios if ratio]
        line += show(math.exp(statistics.fmean(logs)) if logs else None, ".2f", 16)
    print(line)


def print_memory(figures, runners, programs):
    print("\nPeak memory in MB")
    print("program".ljust(12) + "".join(runner.name[-9:].rjust(10) for runner in runners))
    for program in programs:
        peaks = [figures.peak.get((runner.name, program)) for runner in runners]
        print(program.ljust(12) + "".join(
            show(peak and peak / 1024, ".1f", 10) for peak in peaks))
    for program in programs:
        if program in UNITS:
            print(f"bytes/{UNITS[program]}".ljust(12) + "".join(
                show(figures.bytes_a_unit(runner.name, program), ".0f", 10)
                for runner in runners))


def arguments():
    parser = argparse.ArgumentParser(
        description=__doc__.split("\n\n")[0], epilog="programs: " + " ".join(NAMES))
    parser.add_argument("programs", nargs="*", metavar="PROGRAM", help="all when none is named")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--marl", action="append", metavar="PATH",
                        help="the binary; more than one compares them (build/release/marl)")
    parser.add_argument("--peers", help="names with commas between, or none (all that are there)")
    options = parser.parse_args()
    unknown = set(options.programs) - set(NAMES)
    if unknown:
        parser.error("no such program: " + " ".join(sorted(unknown)))
    options.marl = options.marl or [str(ROOT.parent / "build/release/marl")]
    for path in options.marl:
        if not os.access(path, os.X_OK):
            parser.error(f"no marl at {path}")
    return options


def marls(paths):
    names = ["marl"] if len(paths) == 1 else [f"marl{i + 1}" for i in range(len(paths))]
    return [Runner(name, [os.path.abspath(path)], ".marl") for name, path in zip(names, paths)]


def main():
    options = arguments()
    wanted = set(options.programs or NAMES) | {"startup"}
    programs = [name for name in NAMES if name in wanted]
    with tempfile.TemporaryDirectory() as scratch:
        others = peers(scratch)
        if options.peers is not None:
            others = [peer for peer in others if peer.name in options.peers.split(",")]
        base, *more = marls(options.marl)
        runners = [base, *more, *others]
        become_reaper()
        warm(runners, programs, scratch)
        runs = measure_all(runners, programs, options.rounds, scratch)
    complaints = drop_wrong(runs, programs)
    figures = Figures(runs)
    print_times(figures, base, runners[1:], programs)
    print_memory(figures, runners, programs)
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
