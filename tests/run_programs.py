#!/usr/bin/env python3
"""Runs small programs through the real marl and compares what they do, byte for byte.

    run_programs.py [--sanitized] [--only NAME] [--lab MARL_LAB] MARL FOLDER...

A test is FOLDER/NAME.marl and the files beside it, each of them optional:

    NAME.args    the program's arguments, one a line
    NAME.in      standard input; without it standard input is empty
    NAME.env     more environment, one NAME=VALUE a line
    NAME.signal  signals to send, one a line: SIGNAL DELAY [MARKER]. DELAY milliseconds after the
                 start or the signal before, and where a MARKER follows, after standard output
                 shows it. With signals and no .in, standard input stays open and silent
    NAME.out     expected standard output; absent means empty
    NAME.err     expected standard error; absent means empty
    NAME.status  expected exit status as a shell shows it, 128 + n for death by signal n;
                 absent means 0

A program with a note [use: ...] is packed by MARL_LAB, that beside MARL when none is named, and left
out where there is none; a file of definitions is no test.

NAME.command in place of NAME.marl holds marl's whole command line, a JSON list of strings.

Each program runs in an empty directory of its own, with a fixed small environment in which
MARL_TEST_DIR is the test's folder. The last line is "N passed, N failed".
"""
import argparse
import difflib
import json
import os
import pathlib
import resource
import signal
import subprocess
import sys
import tempfile
import time

import plain

TIMEOUT = 60  # seconds for one program; sanitizers make everything slower by far
SANITIZED_TIMEOUT = 600
ADDRESS_SPACE = 16 << 30  # a program that runs wild must not take the machine with it
SANITIZER_OPTIONS = {
    "ASAN_OPTIONS": "allocator_may_return_null=1:detect_leaks=1",
    "UBSAN_OPTIONS": "print_stacktrace=1",
}
SHOWN_LINES = 60  # of a difference


class Test:
    def __init__(self, stem):
        self.stem = stem  # the path without its ending
        self.name = f"{stem.parent.name}/{stem.name}"
        self.program = stem.with_name(stem.name + ".marl")

    def has_uses(self):
        return self.program.exists() and plain.has_uses(self.program)

    def read(self, ending, default=b""):
        path = self.stem.with_name(self.stem.name + ending)
        return path.read_bytes() if path.exists() else default

    def lines(self, ending):
        return self.read(ending).decode("utf-8", "surrogateescape").splitlines()

    def command(self, marl, lab, scratch):
        """The command line, when the program, if it must be packed, has been so into the folder."""
        whole = self.read(".command")
        if whole:
            return [marl] + [os.fsencode(word) for word in json.loads(whole)]
        return [marl, plain.plain(self.program, lab, scratch)] + self.lines(".args")

    def environment(self, sanitized):
        environment = {
            "PATH": os.environ.get("PATH", ""),
            "LC_ALL": "C",
            "TZ": "UTC0",
            "MARL_TEST_DIR": str(self.stem.parent),
        }
        if sanitized:
            environment.update(SANITIZER_OPTIONS)
        for line in self.lines(".env"):
            name, _, value = line.partition("=")
            if name in SANITIZER_OPTIONS:
                value = environment.get(name, "") + ":" + value
            environment[name] = value
        return environment

    def signals(self):
        for line in self.lines(".signal"):
            name, delay, *marker = line.split(maxsplit=2)
            yield signal.Signals[name], float(delay) / 1000, "".join(marker).encode()


def find_tests(folder):
    stems = {path.with_suffix("") for path in folder.iterdir()
             if path.suffix == ".command" or path.suffix == ".marl" and plain.is_program(path)}
    return [Test(stem) for stem in sorted(stems)]


def send_signals(test, process, output, deadline):
    """Sends the test's signals to the process, whose standard output goes to the file `output`."""
    for number, delay, marker in test.signals():
        while marker not in output.read_bytes():
            if process.poll() is not None or time.monotonic() > deadline:
                return
            time.sleep(0.005)
        time.sleep(delay)
        if process.poll() is None:
            process.send_signal(number)


def open_input(test):
    """A descriptor to read from, and one to close when the program has ended, or None."""
    if not test.read(".in") and test.read(".signal"):
        return os.pipe()
    path = test.stem.with_name(test.stem.name + ".in")
    return os.open(path if path.exists() else os.devnull, os.O_RDONLY), None


def run(test, marl, options):
    """What the program did: output, error output, status; status is a text when time ran out."""
    timeout = SANITIZED_TIMEOUT if options.sanitized else TIMEOUT
    with tempfile.TemporaryDirectory() as scratch:
        out, err = pathlib.Path(scratch, "out"), pathlib.Path(scratch, "err")
        directory = pathlib.Path(scratch, "run")
        directory.mkdir()
        standard_input, held_open = open_input(test)
        deadline = time.monotonic() + timeout
        with out.open("wb") as out_file, err.open("wb") as err_file:
            process = subprocess.Popen(
                test.command(marl, options.lab, scratch), cwd=directory, env=test.environment(options.sanitized),
                stdin=standard_input, stdout=out_file, stderr=err_file, start_new_session=True)
        os.close(standard_input)
        try:
            send_signals(test, process, out, deadline)
            code = process.wait(max(0.0, deadline - time.monotonic()))
            status = str(code if code >= 0 else 128 - code)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            status = f"none within {timeout} seconds"
        finally:
            if held_open is not None:
                os.close(held_open)
        return out.read_bytes(), err.read_bytes(), status


def difference(what, expected, actual):
    """The lines of a readable difference; bytes that don't print are shown as escapes."""
    def readable(data):
        lines = data.split(b"\n")
        ends = [line + b"\\n" for line in lines[:-1]] + ([lines[-1]] if lines[-1] else [])
        return [line.decode("latin-1").encode("unicode_escape").decode("ascii")
                .replace("\\\\n", "\\n") for line in ends]

    lines = list(difflib.unified_diff(
        readable(expected), readable(actual), f"expected {what}", f"actual {what}", lineterm=""))
    if len(lines) > SHOWN_LINES:
        lines[SHOWN_LINES:] = [f"... {len(lines) - SHOWN_LINES} more lines"]
    return lines


def check(test, marl, options):
    """Runs the test, and gives the lines that say what is wrong; none when all is well."""
    out, err, status = run(test, marl, options)
    expected_status = test.read(".status", b"0").decode().strip()
    faults = []
    if status != expected_status:
        faults.append(f"expected status {expected_status}, actual status {status}")
    if out != test.read(".out"):
        faults += difference("stdout", test.read(".out"), out)
    if err != test.read(".err"):
        faults += difference("stderr", test.read(".err"), err)
    return faults


def lower_limit(kind, most):
    """Limits this process and those that it starts, unless the limit is lower already."""
    soft, hard = resource.getrlimit(kind)
    if soft == resource.RLIM_INFINITY or soft > most:
        resource.setrlimit(kind, (most, hard))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sanitized", action="store_true", help="marl is built with sanitizers")
    parser.add_argument("--only", help="run only the test of this name")
    parser.add_argument("--lab", help="the marl-lab that packs programs")
    parser.add_argument("marl")
    parser.add_argument("folders", nargs="+", type=pathlib.Path)
    options = parser.parse_args()
    options.lab = options.lab or plain.lab_of(options.marl)

    lower_limit(resource.RLIMIT_CORE, 0)
    if not options.sanitized:  # sanitizers reserve terabytes of addresses
        lower_limit(resource.RLIMIT_AS, ADDRESS_SPACE)

    passed, failed = 0, 0
    for folder in options.folders:
        for test in find_tests(folder.resolve()):
            if options.only and test.stem.name != options.only or test.has_uses() and not options.lab:
                continue
            faults = check(test, os.path.abspath(options.marl), options)
            if faults:
                failed += 1
                print(f"FAILED {test.name}", *faults, "", sep="\n    ")
            else:
                passed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
