#!/usr/bin/env python3
"""Runs the rows of tables through the real marl.

    run_tables.py [--sanitized] [--emulated] [--stack KB] MARL FILE...

A table is text in blocks, with empty lines between them. Three blanks or more stand between the
fields of a line, "-" is an empty field, "¶" a newline, and "«text»100" that text a hundred times. A line of
a block is one of these:

    # prose
    ,name\\body                               a definition for all rows of the block
    expression   value   [note]              what `lisp` prints of the expression; several of them,
                                             and their values, with " | " between them
    program   =status   [output   [note]]    the whole program's exit status, as a shell shows it, and
                                             standard output; standard error stays empty
    program   !kind   vip   tip   say   [way]   the Report of the program, without its colours

The values of a block are computed by one program, each behind a name of its own. When that doesn't
print what it should, each row runs as a program by itself, so the row that is wrong is named.
"""
import argparse
import itertools
import multiprocessing.pool
import os
import pathlib
import re
import string
import subprocess
import sys
import tempfile

TIMEOUT = 60  # seconds for one program
SLOW_TIMEOUT = 600  # with sanitizers, or in an emulator
SHOWN = 1000  # characters of a value that is wrong
ENVIRONMENT = {"PATH": os.environ.get("PATH", ""), "LC_ALL": "C", "TZ": "UTC0",
               "ASAN_OPTIONS": "allocator_may_return_null=1:detect_leaks=1",
               "UBSAN_OPTIONS": "print_stacktrace=1"}
PICTURE = ("                        /\\\n\\/\\oh [{}]     /\\   /  \\\n"
           "/\\uck_________/\\_/  \\_/    \\_\n")


class Row:
    def __init__(self, where, fields):
        self.where = where
        self.text, *self.fields = fields
        self.is_value = not re.match("[=!].", self.fields[0])

    def expected(self):
        """Standard output, standard error and status of the row as a program."""
        first, *rest = self.fields
        if self.is_value:
            return first + "\n", "", 0
        if first[0] == "=":
            output = rest[0] if rest else ""
            return output + "\n" if output else "", "", int(first[1:])
        lines = dict(zip(("vip", "tip", "say", "way"), rest))
        shown = [f" <{name}> {lines[name]}\n" for name in ("way", "vip", "tip", "say")
                 if lines.get(name)]
        return "", PICTURE.format(first[1:]) + "".join(shown), 0


class Block:
    def __init__(self):
        self.rows, self.definitions = [], ""

    def values(self, rows):
        """The program that prints the value of each of the rows."""
        letters = itertools.product(string.ascii_lowercase, repeat=2)
        names = ["row_" + "".join(each) for each, _ in zip(letters, rows)]
        shown = "".join(f"x{{puts(init(lisp {name}))}}" for name in names)
        return "".join([f"a\\{shown}0", *(f",\n{name}()\\{row.text}" for name, row in
                                          zip(names, rows)), self.definitions])

    def program(self, row):
        return self.values([row]) if row.is_value else row.text + self.definitions


def read_blocks(name, text):
    blocks = [Block()]
    for number, line in enumerate(text.splitlines(), 1):
        if not line:
            blocks.append(Block())
        elif line[0] == ",":
            blocks[-1].definitions += "\n" + line.replace("¶", "\n")
        elif line[0] != "#":
            line = re.sub("«(.*?)»([0-9]+)", lambda found: found[1] * int(found[2]), line)
            fields = ["" if field == "-" else field.replace("¶", "\n")
                      for field in re.split(" {3,}", line)]
            expressions, values = fields[0].split(" | "), fields[1].split(" | ")
            if len(expressions) != len(values):
                raise ValueError(f"{name}:{number}: {len(expressions)} expressions, "
                                 f"{len(values)} values")
            blocks[-1].rows += [Row(f"{name}:{number}", [*pair, *fields[2:]])
                                for pair in zip(expressions, values)]
    return blocks


class Runner:
    def __init__(self, marl, timeout, environment=ENVIRONMENT, stack=None):
        self.command = [os.path.abspath(marl)]
        if stack:
            self.command = ["sh", "-c", f'ulimit -s {stack} && exec "$0" "$@"', *self.command]
        self.timeout, self.environment = timeout, environment

    def run(self, program):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "row.marl")
            path.write_bytes(program.encode("utf-8", "surrogateescape"))
            try:
                done = subprocess.run([*self.command, path], cwd=folder, env=self.environment,
                                      stdin=subprocess.DEVNULL, capture_output=True, check=False,
                                      timeout=self.timeout)
            except subprocess.TimeoutExpired:
                return "", f"no end within {self.timeout} seconds", None
        output, errors = (each.decode("utf-8", "surrogateescape")
                          for each in (done.stdout, done.stderr))
        status = done.returncode if done.returncode >= 0 else 128 - done.returncode
        return output, re.sub("\x1b\\[\\d*m|qemu: uncaught target signal .*\n", "", errors), status

    def faults(self, block):
        """What is wrong in a block, a text for each wrong row."""
        values = [row for row in block.rows if row.is_value]
        programs = [row for row in block.rows if not row.is_value]
        if values:
            expected = "".join(row.expected()[0] for row in values), "", 0
            together = self.run(block.values(values))
            if together != expected:
                programs = block.rows
        wrong = [fault for row in programs if (fault := self.fault(block, row))]
        if programs is block.rows and not wrong:
            wrong.append(difference(f"{values[0].where}: the values of the block together", expected,
                                    together))
        return wrong

    def fault(self, block, row):
        expected, actual = row.expected(), self.run(block.program(row))
        return expected != actual and difference(f"{row.where}: {row.text}", expected, actual)


def shown(value):
    text = repr(value)
    return text if len(text) < SHOWN else text[:SHOWN] + "..."


def difference(what, expected, actual):
    lines = [what]
    for name, wanted, got in zip(("output", "errors", "status"), expected, actual):
        if wanted != got:
            lines.append(f"    {name}: {shown(got)}\n    {'':{len(name)}}  not {shown(wanted)}")
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sanitized", action="store_true", help="marl is built with sanitizers")
    parser.add_argument("--emulated", action="store_true", help="marl runs in an emulator")
    parser.add_argument("--stack", help="the size of marl's stack, in KB")
    parser.add_argument("marl")
    parser.add_argument("tables", nargs="+", type=pathlib.Path)
    options = parser.parse_args()
    runner = Runner(options.marl, SLOW_TIMEOUT if options.sanitized or options.emulated else TIMEOUT,
                    stack=options.stack)
    blocks = [block for table in options.tables
              for block in read_blocks(table.name, table.read_text()) if block.rows]
    with multiprocessing.pool.ThreadPool(os.cpu_count()) as pool:
        wrong = list(itertools.chain(*pool.map(runner.faults, blocks, chunksize=1)))
    print(*wrong, f"{sum(len(block.rows) for block in blocks)} rows, {len(wrong)} wrong", sep="\n")
    return 1 if wrong or not blocks else 0


if __name__ == "__main__":
    sys.exit(main())
