#!/usr/bin/env python3
"""Checks the includes between the repository's own files.

Every quoted include names a file from the repository's root, no file reaches itself through its
includes, and a folder includes only itself and the folders below it. The one header that may be
included from below is driver/report.h. Nor does a unit reach itself, a header with the sources that
define what it declares: who uses whom runs one way.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ["text", "value", "reduce", "number", "front", "library", "driver", "lab"]
UPWARD = {"driver/report.h": {"number", "front", "library"}}
# Files that are one unit, beside a header and the source of its name.
UNITS = {
    "reduce/compiler": "compile compile_calls compile_choices emit terms parts continuation",
    "reduce/run_code": "interpreter builtin_calls calls slow held operands native/native",
    "number/convert": "digits",
    "value/value": "resize",
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def read_graph():
    graph = {}
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*.[hc]*")):
            text = path.read_text(encoding="utf-8")
            graph[path.relative_to(ROOT).as_posix()] = INCLUDE.findall(text)
    return graph


def folder_of(name):
    return name.split("/")[0]


def unit_graph(graph):
    unit_of = {f"{unit.split('/')[0]}/{file}": unit
               for unit, files in UNITS.items() for file in files.split()}
    units = {}
    for name, includes in graph.items():
        stem = name.rsplit(".", 1)[0]
        unit = unit_of.get(stem, stem)
        targets = (target.rsplit(".", 1)[0] for target in includes)
        targets = {unit_of.get(target, target) for target in targets}
        units.setdefault(unit, set()).update(targets - {unit})
    return units


def wrong_edges(graph):
    for name, includes in graph.items():
        folder = folder_of(name)
        for target in includes:
            if target not in graph:
                yield f"{name}: includes {target}, which is no file of {', '.join(FOLDERS)}"
            elif FOLDERS.index(folder_of(target)) > FOLDERS.index(folder):
                if folder not in UPWARD.get(target, ()):
                    yield f"{name}: includes {target}, which stands above {folder}/"


def find_cycle(graph):
    """The files of one cycle, or None. Depth first; `open_path` are the files being visited."""
    done = set()

    def visit(name, open_path):
        if name in open_path:
            return open_path[open_path.index(name):] + [name]
        if name in done or name not in graph:
            return None
        for target in graph[name]:
            if cycle := visit(target, open_path + [name]):
                return cycle
        done.add(name)
        return None

    for name in graph:
        if cycle := visit(name, []):
            return cycle
    return None


def main():
    graph = read_graph()
    faults = list(wrong_edges(graph))
    for name, edges in ("files", graph), ("units", unit_graph(graph)):
        if cycle := find_cycle(edges):
            faults.append(f"cycle of {name}: " + " -> ".join(cycle))
    for fault in faults:
        print(fault)
    print(f"{len(graph)} files, {sum(map(len, graph.values()))} includes, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
