#!/usr/bin/env python3
"""Runs random programs twice each through a marl, and says which one it does otherwise.

    compare.py [--theme NAME]... [--count N] [--seconds S] [--seed N] [--all] [--pairs PAIRS] [--light] MARL

A program is run by the rules one by one, by compiled code, and with a todo Value in its entry, where
the plain machine leaves calls to code: all must print the same and end with the same status, and
memory must stay in bounds. The first program that fails is made smaller. PAIRS is tests/pairs of
the build; a marl that is too old for it runs by the rules with the unused definition.
"""
import argparse
import os
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile

import programs

CALM = "q{todo(I,1)}"  # behind the entry's parameter
EXACT = ",\nexact\\x\\todo"
THEMES = [*dict.fromkeys(theme for theme, _ in programs.Program.rules), "aliases", "deep", "tables",
          "captures", "spans"]
LARGE = ["deep", "endless", "tables", "captures", "spans"]  # what a process should not do many of
INPUT = b"The quick brown fox jumps over the lazy dog.\n" * 100


class Marl:
    """Runs programs, in a folder of its own."""

    def __init__(self, path, folder, sanitized=False, pairs=None):
        self.path, self.sanitized = os.path.abspath(path), sanitized
        self.rules = [os.path.abspath(pairs), "--rules"] if pairs else None
        self.file, self.input = os.path.join(folder, "it.marl"), os.path.join(folder, "input")
        with open(self.input, "wb") as file:
            file.write(INPUT)
        self.output = os.open(os.path.join(folder, "output"), os.O_RDWR | os.O_CREAT | os.O_APPEND)
        self.environment = {"ASAN_OPTIONS": "detect_leaks=1:allocator_may_return_null=1",
                            "UBSAN_OPTIONS": "print_stacktrace=1"}

    def run(self, program, seconds, by_rules=False):
        """What a program prints, how it ends, and the memory that it takes, in KB."""
        if by_rules and not self.rules:
            program += EXACT
        with open(self.file, "w", encoding="latin-1") as file:
            file.write(program)
        os.ftruncate(self.output, 0)
        command = self.rules if by_rules and self.rules else [self.path]
        child = self.spawn(command, seconds * (8 if self.sanitized else 1))
        _, status, usage = os.wait4(child, 0)
        shown = os.pread(self.output, 1 << 20, 0).decode("latin-1")
        status = os.waitstatus_to_exitcode(status)
        if status == -signal.SIGXCPU:
            shown = ""
        return (shown, status), 0 if self.sanitized else usage.ru_maxrss

    def spawn(self, command, seconds):
        """Starts marl on the file. Limits come behind the start, since a fork would cost more than
        most programs run."""
        files = [(os.POSIX_SPAWN_OPEN, 0, self.input, os.O_RDONLY, 0),
                 (os.POSIX_SPAWN_DUP2, self.output, 1), (os.POSIX_SPAWN_DUP2, self.output, 2)]
        child = os.posix_spawn(command[0], [*command, self.file], self.environment, file_actions=files)
        limits = {resource.RLIMIT_CPU: (seconds, seconds + 1), resource.RLIMIT_CORE: (0, 0)}
        if not self.sanitized:
            limits[resource.RLIMIT_AS] = (2 << 30, 2 << 30)
        for limit, value in limits.items():
            resource.prlimit(child, limit, value)
        return child

    def difference(self, program, expected=None):
        """What is wrong with a program: in a word or two, and in full. Nothing when nothing is, when
        it takes too long, or when what it does depends on addresses and differs from run to run."""
        rules, rules_memory = self.run(program, 2, True)
        if rules[1] == -signal.SIGXCPU or self.stops_by_itself(program, rules):
            return None
        fault = self.look(program, rules, rules_memory, expected)
        for _ in range(4):
            if not fault or self.run(program, 4, True)[0] != rules:
                return None
            fault = self.look(program, rules, rules_memory, expected)
        return fault

    def stops_by_itself(self, program, rules):
        """Whether a stop is the program's own doing: what `bond` gives has variables in it."""
        return "ASSERTION FAILED" in rules[0] and "bond(" in program

    def look(self, program, rules, rules_memory, expected):
        if rules[1] < 0:
            return "the rules themselves", as_text(rules)
        wholes = [program]
        if self.rules and program.startswith("a\\"):
            wholes.append(program[:2] + CALM + program[2:])
        for whole in wholes:
            code, code_memory = self.run(whole, 6)
            shown = f"by the rules:\n{as_text(rules)}by code:\n{as_text(code)}"
            if code[1] < 0:
                return ending(code), shown
            if code != rules:
                return f"{ending(rules)}, otherwise", shown
        if expected is not None and code[0] != expected:
            return "unexpected", f"expected:\n{expected}{shown}"
        if code_memory > 1.5 * rules_memory + 8000:
            return "memory", f"{code_memory} KB by code, {rules_memory} KB by the rules"
        return None


class Pairs:
    """Tells programs that do the same each time in one process, which costs far less than starts."""

    def __init__(self, path, folder):
        self.path, self.file = os.path.abspath(path), os.path.join(folder, "programs")
        self.input, self.said = os.path.join(folder, "input"), os.path.join(folder, "said")

    def suspects(self, batch):
        """The numbers of the programs that differ, end their process, or take too long there."""
        with open(self.file, "w", encoding="latin-1") as file:
            file.write("".join(program + "\0" for program in batch))
        said = ""
        while len(said) < len(batch):
            said += self.run(len(said))
            said += "?" * (len(said) < len(batch) and not said.endswith("-"))
        return [i for i, word in enumerate(said) if word not in "=-"]

    def run(self, first):
        """A byte for each program that was done, from the first one on."""
        with open(self.input, "rb") as given, open(self.said, "wb") as said:
            subprocess.run([self.path, self.file, str(first), "400"], stdin=given, stdout=said, check=False)
        with open(self.said, "r", encoding="latin-1") as said:
            return said.read()


def ending(outcome):
    return f"signal {-outcome[1]}" if outcome[1] < 0 else f"status {outcome[1]}"


def as_text(outcome):
    text = outcome[0]
    return (text if len(text) < 2000 else text[:2000] + "...") + f"[{ending(outcome)}]\n"


def is_balanced(tokens):
    closers = []
    for token in tokens:
        if token in "([{":
            closers.append(")]}"["([{".index(token)])
        elif token in ")]}" and (not closers or closers.pop() != token):
            return False
    return not closers


def smaller(program, fault, marl):
    """The program without what it fails without in the same way, and how it fails: the largest
    things go first, definitions, then bracketed parts, then rows of words."""
    def is_bad(words):
        nonlocal fault
        found = is_balanced(words) and marl.difference("".join(words))
        if found and found[0] == fault[0]:
            fault = found
        return found and found[0] == fault[0]

    words = without_more(re.split(r"(?<=,\n)|(?=x\{pr\()", program), 1, is_bad)
    words = [word for part in words for word in
             ([part] if part.rstrip(",\n") in programs.HELPERS else re.findall(r"(?s)\w+|.", part))]
    before = 0
    while before != len(words):
        before = len(words)
        words = with_smaller_brackets(words, is_bad)
        words = without_more(words, 4, is_bad)
    return "".join(words), fault


def with_smaller_brackets(words, is_bad):
    """Leaves out each bracketed part, with its brackets or without, or puts a number there."""
    tried_size = len(words)
    while tried_size > 0:
        parts = [(end - start, start, end) for start, end in brackets(words)]
        parts = [each for each in sorted(parts, reverse=True) if each[0] <= tried_size]
        tried_size = 0
        for size, start, end in parts:
            for part in [], ["1"], words[start + 1:end - 1]:
                tried = words[:start] + part + words[end:]
                if len(part) < size - 1 and is_bad(tried):
                    words, tried_size = tried, size
                    break
            if tried_size:
                break
    return words


def brackets(words):
    """Where bracketed parts start and end."""
    opened = []
    for i, word in enumerate(words):
        if word in "([{":
            opened.append(i)
        elif word in ")]}":
            yield opened.pop(), i + 1


def without_more(parts, width, is_bad):
    while width:
        i = 0
        while i < len(parts):
            tried = parts[:i] + parts[i + width:]
            if is_bad(tried):
                parts = tried
            else:
                i += 1
        width //= 2
    return parts


def make(theme, seed, options):
    chances = random.Random(f"{theme} {seed}")
    if theme == "spans":
        return programs.spans(chances, options.span_limit)
    return programs.Program(chances, theme, 100 if options.light else 1).text(), None


def programs_to_run(options, pairs):
    """Programs by turns of the themes: how many were made so far, and theme, seed, text and expected
    output of one that is to be run by itself, or nothing at the end of a batch; all others did the same
    in one process."""
    themes = options.theme or [each for each in THEMES if not pairs or options.light or each not in LARGE]
    size = 200 if pairs else 1
    for start in range(0, options.count, size):
        made = []
        for i in range(start, min(start + size, options.count)):
            theme, seed = themes[i % len(themes)], options.seed + i // len(themes)
            made.append((i + 1, theme, seed, *make(theme, seed, options)))
        light = [each for each in made if pairs and (options.light or each[1] not in LARGE)]
        suspects = pairs.suspects([each[3] for each in light]) if light else []
        yield from [each for each in made if each not in light]
        yield from [light[i] for i in suspects]
        yield (made[-1][0], *[None] * 4)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--theme", action="append", choices=THEMES,
                        help="all of them by turns, with --pairs all light ones")
    parser.add_argument("--count", type=int, default=10**9, help="of programs")
    parser.add_argument("--seconds", type=float, default=10**9, help="of processor time")
    parser.add_argument("--seed", type=int, default=1, help="of the first program")
    parser.add_argument("--all", action="store_true", help="go on behind a program that fails")
    parser.add_argument("--as-it-is", action="store_true", help="don't make it smaller")
    parser.add_argument("--span-limit", type=int, default=1 << 26, help="as marl was built")
    parser.add_argument("--light", action="store_true",
                        help="a hundredth of the turns and depth of large themes, which PAIRS then runs, too")
    parser.add_argument("--sanitized", action="store_true", help="marl is built with sanitizers")
    parser.add_argument("--pairs", help="the program that runs light programs, many in a process")
    parser.add_argument("marl")
    options = parser.parse_args()
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        marl = Marl(options.marl, folder, options.sanitized, options.pairs)
        pairs = Pairs(options.pairs, folder) if options.pairs else None
        for count, theme, seed, program, expected in programs_to_run(options, pairs):
            if sum(os.times()[:4]) > options.seconds:
                break
            fault = program and marl.difference(program, expected)
            if not fault:
                continue
            failed += 1
            print(f"theme {theme}, seed {seed}, after {sum(os.times()[:4]):.1f} seconds: {fault[0]}")
            if not options.as_it_is and expected is None:
                program, fault = smaller(program, fault, marl)
            print(f"{program}\n{fault[1]}", flush=True)
            if not options.all:
                break
        print(f"{count} programs, {failed} failed, {sum(os.times()[:4]):.1f} seconds")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
