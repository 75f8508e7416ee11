"""Programs of several files, or with themes of the library, as the one file that marl runs.

A program says in a note `[use: ...]` what else it is made of; the marl-lab beside marl packs it.
"""
import pathlib
import re
import subprocess

SECONDS = 120


def lab_of(marl):
    """The marl-lab that is built beside marl, or None."""
    lab = pathlib.Path(marl).resolve().with_name("marl-lab")
    return lab if lab.exists() else None


def is_program(path):
    """Not a file of definitions: its first piece would be a note or empty."""
    return not re.match(rb"\s*[\[,]", path.read_bytes())


def has_uses(path):
    return b",\n[use: " in path.read_bytes().replace(b"\n\n", b"\n")


def plain(path, lab, folder):
    """The path of a program that marl runs: the program itself, or its packed form in the folder."""
    if not has_uses(path):
        return path
    out = pathlib.Path(folder, path.name)
    subprocess.run([lab, "pack", path, "-o", out], check=True, timeout=SECONDS)
    return out
