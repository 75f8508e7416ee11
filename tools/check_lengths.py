#!/usr/bin/env python3
"""Checks that functions fit a screen, and lines of tests a reader.

No function of C++ or Python has more than 60 lines, and no line of a test more than 120 columns. The
functions of C++ are found by their layout, which is clang-format's: one ends at the first line that closes
a brace in the column where its head begins. A table of rows is no function, and a row as long as its case.
"""
import ast
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = "text value reduce number front library driver lab bench tools site/wasm tests".split()
MOST_LINES, MOST_COLUMNS = 60, 120
# What a test compares with, byte for byte, and what was recorded.
GOLDEN = re.compile(r"\.(out|err|in|jsonl|cases)$|tests/fuzz/corpus/")
NO_FUNCTION = re.compile(r"(namespace|extern|if|for|while|switch|do|else|case|default)\b")


def functions_of_cpp(lines, column):
    """(first line, last line, head) of each function whose head begins in a column, counted from 1."""
    first = None
    for at, line in enumerate(lines):
        text = line.strip()
        indent = len(line) - len(line.lstrip())
        if indent > column and text:
            continue
        if not text or indent < column or text.startswith(("//", "#")):
            first = None
            continue
        if first is None:
            first = at
        if text == "}" and not NO_FUNCTION.match(lines[first].strip()):
            yield first + 1, at + 1, lines[first].strip()
        if text[-1] in ";}" or text.endswith(":"):
            first = None


def functions_of_python(text):
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
            yield node.lineno, node.end_lineno, node.name


def faults_in(name, text):
    lines = text.split("\n")
    functions = ()
    if name.endswith((".cpp", ".h")):
        functions = (*functions_of_cpp(lines, 0), *functions_of_cpp(lines, 4))
    elif name.endswith(".py"):
        functions = functions_of_python(text)
    for first, last, head in functions:
        if last - first + 1 > MOST_LINES:
            yield f"{name}:{first}: {last - first + 1} lines: {head}"
    if name.startswith("tests/") and not GOLDEN.search(name):
        for number, line in enumerate(lines, 1):
            # A row of a table is as long as its one case.
            if len(line) > MOST_COLUMNS and (not name.endswith(".table") or " | " in line):
                yield f"{name}:{number}: {len(line)} columns"


def main():
    faults = []
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            name = str(path.relative_to(ROOT))
            if path.is_file() and (folder == "tests" or path.suffix in (".cpp", ".h", ".py")) and path.suffix != ".pyc":
                faults += faults_in(name, path.read_bytes().decode("utf-8", "replace"))
    print("\n".join(faults + [f"{len(faults)} faults"]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
