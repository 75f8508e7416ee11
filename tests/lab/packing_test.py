#!/usr/bin/env python3
"""Goes through packing.cases: programs of several files, and what the commands of marl-lab for them do.

    packing_test.py [--write] MARL_LAB MARL

A case is a line "=== what it shows", its files behind lines "--- PATH", those of lib/ being the
library, and lines "$ COMMAND" with what the command of marl-lab prints on both streams behind them,
and "(status N)" when that isn't 0; the commands `marl`, `cat` and `ls` are what they are. What runs well
must do the same when it is packed and run by marl. With --write the outputs are taken down as they are.
"""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

CASES = pathlib.Path(__file__).with_name("packing.cases")
SECONDS = 120


class Installed:
    """marl-lab as it is installed, with a library of its own."""

    def __init__(self, folder, lab):
        self.folder = pathlib.Path(folder)
        for place in ("bin", "libexec/marl", "share"):
            (self.folder / place).mkdir(parents=True)
        self.lab = shutil.copy(lab, self.folder / "bin")
        shutil.copy(lab.with_name("marl-lab-run"), self.folder / "libexec/marl")

    def library(self, folder):
        library = self.folder / "share/marl"
        shutil.rmtree(library, ignore_errors=True)
        if folder.exists():
            folder.rename(library)
        else:
            library.mkdir()


def command_of(installed, marl, line):
    words = shlex.split(line)
    if words[0] == "marl":
        return [marl, *words[1:]]
    return words if words[0] in ("cat", "ls") else [installed.lab, *words]


def run(command, folder, **streams):
    return subprocess.run(command, cwd=folder, timeout=SECONDS, check=False,
                          **{"stdin": subprocess.DEVNULL, **streams})


def shown(result):
    # Reports begin with an escape; what the caller's folder is called is nothing to compare.
    text = re.sub(r"\x1b\[\d*m|/\S*/(?=share/marl)", "", result.stdout.decode(errors="backslashreplace"))
    if text and not text.endswith("\n"):
        text += "\n"
    return text + (f"(status {result.returncode})\n" if result.returncode else "")


def same_when_packed(installed, marl, line, folder):
    """Whether marl does with the packed program what `run` does."""
    words = shlex.split(line)
    packed = folder / "packed.marl"
    packed.unlink(missing_ok=True)
    run([installed.lab, "pack", words[1], "-o", packed], folder, stderr=subprocess.DEVNULL)
    here = run([installed.lab, *words], folder, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    there = run([marl, packed, *words[2:]], folder, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return (here.stdout, here.returncode) == (there.stdout, there.returncode)


def play(case, installed, marl):
    """The case with the outputs as they are, and what differs beside them."""
    head, *parts = re.split(r"^(?=--- |\$ )", case, flags=re.MULTILINE)
    out, faults = head, []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for part in parts:
            first, _, rest = part.partition("\n")
            if first.startswith("--- "):
                path = folder / first[4:]
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(rest)
                out += part
        installed.library(folder / "lib")
        for part in parts:
            if not part.startswith("$ "):
                continue
            line = part.partition("\n")[0][2:]
            command, _, path = line.partition(" < ")
            with open(folder / path if path else os.devnull, "rb") as data:
                result = run(command_of(installed, marl, command), folder, stdin=data,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            out += f"$ {line}\n{shown(result)}"
            # Of Reports, values and faults `run` and marl make other things.
            alike = line.startswith("run ") and not result.stdout
            if alike and not same_when_packed(installed, marl, line, folder):
                faults.append(f"`{line}` differs when it is packed")
    return out, faults


def main():
    arguments = sys.argv[1:]
    write = arguments[0] == "--write"
    lab, marl = (pathlib.Path(path).resolve() for path in arguments[write:])
    cases = re.split(r"^(?==== )", CASES.read_text(), flags=re.MULTILINE)[1:]
    failures, written = 0, []
    with tempfile.TemporaryDirectory() as folder:
        installed = Installed(folder, lab)
        for case in cases:
            out, faults = play(case.rstrip("\n") + "\n", installed, marl)
            written.append(out)
            if out.rstrip("\n") != case.rstrip("\n") and not write:
                faults.append("got\n" + out)
            if faults:
                failures += 1
                print(case.partition("\n")[0], *faults, sep="\n")
    if write:
        CASES.write_text("\n".join(written))
    print(f"{len(cases)} cases, {failures} failures")
    return failures > 0 or not cases


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C"
    sys.exit(main())
