#!/usr/bin/env python3
"""Writes docs/reference.json, what docs/reference.md says in a form that programs read.

    generate_reference.py [--check]

This is the one parser of the reference. The laboratory, the site, the editors' grammars and the tests
read what it makes:

    {"entries": [ENTRY...], "sections": [SECTION...], "examples": [[EXPRESSION, RESULT]...]}

    ENTRY    {"name", "kind", "section", "id", "cell", "lines": [[LABEL, MARKDOWN]...]}; of a built-in
             "arity" as well. `kind` is "built-in", "combinator", "operator", "kind" (of data), "record"
             or "report". A line without a label is a paragraph. `id` is its place on a page, which
             is the first cell of the section that is `cell`.
    SECTION  {"title", "id", "text"}: the prose in Markdown, without tables

A built-in's row begins with its name, or with several names that share the row, in front of its arity.
With --check nothing is written, and a file that differs from what would be is a failure.
"""
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
REFERENCE = ROOT / "docs/reference.md"
RESULT = ROOT / "docs/reference.json"


def slug(title):
    """The anchor of a heading, as GitHub makes it."""
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def place(kind, name):
    """The id of an entry: what is no letter or digit of the name stands as its code."""
    return f"{kind}-{re.sub(r'[^A-Za-z0-9_]', lambda each: f'{ord(each[0]):x}', name)}"


def cells(line):
    """The cells of a row. A bar in a cell is written with a backslash."""
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", line)[1:-1]]


def blocks(text):
    """The paragraphs, tables and headings of the text in order: (section, kind, content)."""
    section = ""
    text = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    for block in re.split(r"\n{2,}", text):
        lines = block.strip("\n").split("\n")
        if lines[0].startswith("#"):
            section = lines[0].lstrip("# ")
            yield section, "heading", section
        elif lines[0].startswith("|"):
            head, _, *rows = map(cells, lines)
            yield section, "table", (head, rows)
        elif lines[0]:
            yield section, "paragraph", " ".join(line.strip() for line in lines)


def name_in(cell):
    """The name that a cell consists of, in backticks; empty for another cell."""
    word = re.fullmatch(r"`([a-z_]{2,}|[A-Z])`", cell)
    return word[1] if word else ""


def entry(kind, name, section, cell, lines, **more):
    lines = [[label, text] for label, text in lines if text]
    return {"name": name, "kind": kind, "section": section, "id": place(kind, name), "cell": cell,
            **more, "lines": lines}


def builtins_of(section, head, rows):
    """A row's names stand in front of its number; a row may hold several such groups."""
    for row in rows:
        names = []
        for at, cell in enumerate(row):
            if name_in(cell):
                names.append(name_in(cell))
            elif re.fullmatch(r"\d", cell) and head[at] == "arity":
                rest = [] if "built-in" in head[at:] else list(zip(head[at + 1:], row[at + 1:]))
                for name in names:
                    yield entry("built-in", name, section, f"`{name}`", [("arity", cell), *rest],
                                arity=int(cell))
                names = []


def operators_of(section, rows):
    """The rows of the grammar, by the operators that they show around `a`, `b`, `x` and `body`."""
    found = {}
    for level, written, fold, means in rows:
        codes = [long or short for long, short in re.findall(r"`` ?(.+?) ?``|`([^`]+)`", written)]
        parts = re.split(r", (?![^(]*\))", means)
        how = f"level {level}, {fold}" if fold else f"level {level}"
        for i, code in enumerate(codes):
            said = [how, f"{written}: {means}"]
            if len(parts) == len(codes):
                said[1] = f"`` {code} ``: {parts[i]}" if "`" in code else f"`{code}`: {parts[i]}"
            for operator in re.sub(r"value|body|[\w()\[\]\s,}]", "", code):
                _, lines = found.setdefault(operator, (written, []))
                if said not in lines:
                    lines.append(said)
    for operator, (cell, lines) in found.items():
        yield entry("operator", operator, section, cell, lines)


def rows_as(kind, section, head, rows):
    """Entries of a table whose first column names them; rows of one name are one entry."""
    found = {}
    for first, *rest in rows:
        found.setdefault(first, []).extend(zip(head[1:], rest))
    for cell, lines in found.items():
        yield entry(kind, cell.strip("`"), section, cell, lines)


def entries_of(section, head, rows):
    if "arity" in head:
        return builtins_of(section, head, rows)
    if section == "Grammar":
        return operators_of(section, rows)
    kinds = {("Combinators", "name"): "combinator", ("Kinds", "kind"): "kind",
             ("Published record layouts", "record"): "record", ("Reports", "kind"): "report"}
    kind = kinds.get((section, head[0]))
    return rows_as(kind, section, head, rows) if kind else ()


def read(text):
    entries, sections, told = [], [], []
    for section, kind, content in blocks(text):
        if kind == "heading":
            sections.append({"title": section, "id": slug(section), "text": ""})
        elif kind == "table":
            entries.extend(entries_of(section, *content))
        elif sections:
            sections[-1]["text"] += ("\n\n" if sections[-1]["text"] else "") + content
            # A paragraph like "**`+` `plus`**: sum, or join." is about both names.
            names = re.match(r"\*\*((?:`[^`]+` ?)+)\*\*:", content)
            told += [(name, content) for name in re.findall(r"`([^`]+)`", names[1])] if names else []
    for name, paragraph in told:
        for each in entries:
            if each["name"] == name and each["kind"] in ("built-in", "operator"):
                each["lines"].append(["", paragraph])
    examples = re.findall(r"`([^`]+)`\s→\s`([^`]+)`", text.replace("\\|", "|"))
    return {"entries": entries, "sections": sections, "examples": examples}


def main():
    made = read(REFERENCE.read_text())
    text = json.dumps(made, ensure_ascii=False, indent=1) + "\n"
    old = RESULT.read_text() if RESULT.exists() else ""
    if text == old:
        return 0
    if "--check" in sys.argv[1:]:
        print("docs/reference.json is stale; run tools/generate_reference.py")
        return 1
    RESULT.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
