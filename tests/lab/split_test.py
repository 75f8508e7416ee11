#!/usr/bin/env python3
"""A program does the same in one file and in several.

    split_test.py MARL_LAB MARL

The definitions of each example are dealt out to files at random. What only its own file names is
given a name that other files have as well, so that packing has to rename.
"""
import pathlib
import random
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SECONDS = 120
ROUNDS = 2


def pieces(text):
    """What stands between the commas of a program."""
    found, depth, square, begin = [], 0, 0, 0
    for i, c in enumerate(text):
        square += (c == "[") - (c == "]")
        if not square:
            depth += (c in "({") - (c in ")}")
        if c == "," and not square and not depth:
            found.append(text[begin:i].strip())
            begin = i + 1
    return found + [text[begin:].strip()]


def renamed(text, names):
    """The text with names replaced, outside of texts."""
    parts = re.split(r"(\[[^\[\]]*\])", text)
    return "".join(part if part.startswith("[") else
                   re.sub(r"[a-z_]+", lambda word: names.get(word[0], word[0]), part)
                   for part in parts)


def words(text):
    return set(re.findall(r"[a-z_]{2,}", re.sub(r"\[[^\[\]]*\]", "", text)))


def split(text, folder, deal):
    """Writes the program as files of a folder; the first is main.marl."""
    entry, *rest = pieces(text)
    names = {re.match(r"[a-z_]+", one)[0]: one for one in rest if re.match(r"[a-z_]{2,}(\(\))?\\", one)}
    others = [one for one in rest if not re.match(r"[a-z_]", one)]  # notes, combinators, operators
    files = {name: {} for name in ("main", "one", "two")}
    for name, definition in names.items():
        files[deal.choice(list(files))][name] = definition
    for file, definitions in files.items():
        own = {}
        for name in definitions:
            foreign = [one for other in files if other != file for one in files[other].values()]
            if not any(name in words(one) for one in [entry, *foreign]) and name != "shut":
                own[name] = f"qq_{'abcdefghijklmnopqrstuvwxyz'[len(own) % 26]}"
        body = [renamed(one, own) for one in definitions.values()]
        head = [entry, *others] if file == "main" else [f"[File {file}.]"]
        needed = [f"./{other}.marl" for other in files
                  if other != file and words(" ".join(head[:1] + body)) & set(files[other])]
        use = [f"[use: {' '.join(needed)}]"] if needed else []
        (folder / f"{file}.marl").write_text(",\n".join(head[:1] + use + head[1:] + body))


def outcome(command, program):
    data = program.with_suffix(".in")
    arguments = program.with_suffix(".args")
    words_of = arguments.read_text().splitlines() if arguments.exists() else []
    with open(data if data.exists() else "/dev/null", "rb") as stream, \
            tempfile.TemporaryDirectory() as here:
        run = subprocess.run([*command, *words_of], stdin=stream, capture_output=True, cwd=here,
                             timeout=SECONDS, check=False)
    return run.stdout, run.stderr, run.returncode


def main():
    lab, marl = (str(pathlib.Path(path).resolve()) for path in sys.argv[1:3])
    programs = [path for path in sorted((ROOT / "examples").glob("*.marl"))
                if "[use:" not in path.read_text() and "http" not in path.name]
    failures = 0
    for number in range(ROUNDS):
        for program in programs:
            with tempfile.TemporaryDirectory() as name:
                folder = pathlib.Path(name)
                split(program.read_text(), folder, random.Random(f"{number} {program.name}"))
                wanted = outcome([marl, program], program)
                got = outcome([lab, "run", folder / "main.marl"], program)
                if got != wanted:
                    failures += 1
                    print(f"{program.name}, round {number}\n  got    {got}\n  wanted {wanted}")
                    for path in folder.iterdir():
                        print(path.name, path.read_text(), sep="\n")
    print(f"{ROUNDS * len(programs)} programs, {failures} failures")
    return failures > 0 or not programs


if __name__ == "__main__":
    sys.exit(main())
