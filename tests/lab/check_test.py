#!/usr/bin/env python3
"""marl-lab check: what it says of mistakes, and that it says nothing else.

    check_test.py MARL_LAB MARL

The mistakes are those of docs/mistakes.md and of mistakes.cases. The programs of the repository are the
other side: where marl refuses one with a Report, check must find a fault of that kind, and in all others
none.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SECONDS = 60

# Kinds of Reports that the check before the run gives.
KINDS = {"match", "comma", "lower", "built", "funky", "alive", "place", "arity", "local"}

# Those of faults that marl knows nothing of.
OTHERS = {"layout", "note", "test", "use"}

# A program, and the warnings that it must have or not have, by "name" or "-name".
NOTES = [
    ("a\\double 1+2,double\\n\\n*2", "loose_blank"),
    ("a\\double 1+2,[lab: off loose_blank],double\\n\\n*2", "-loose_blank"),
    ("a\\double 1+2,[lab: off loose_blank in double],double\\n\\n*2", "loose_blank"),
    ("a\\double 1+2,[lab: off unreached loose_blank in TOP other],double\\n\\n*2", "-loose_blank"),
    ("a\\double 1+2,[lab: off unreached],double\\n\\n*2", "loose_blank"),
    ("a\\area 1 2,area\\w\\h\\w*w", "unused_parameter"),
    ("a\\area 1 2,area\\w\\h\\w", "-unused_parameter"),          # picks one on purpose
    ("a\\later 1,later\\x\\puts(init[a])", "-unused_parameter"),  # holds its body back
    ("a\\load[help 1],help\\x\\x", "-unreached"),                 # the text may use it
    ("a\\1,help\\x\\x", "unreached"),
    ("a\\1,shut\\help 1,help\\x\\x", "-unreached"),               # an interrupt reaches it
    ("a\\1,help\\missing", "doomed"),
    ("a\\once,once\\1,once\\2", "defined_twice"),
    ("a\\K 1 2,K\\x\\y\\y", "redefined"),
    ("a\\1+2,[+]\\dash", "redefined"),
    ("a\\rank\\rank", "hidden_global"),
    ("a\\1,double(n)=n*2", "skipped_definition"),
    ("a\\1,this is a note (of 1-2 lines)", "-skipped_definition"),
    ("7", "entry"),
    ("main 1,main\\x\\y\\0", "-entry"),
    ("main,main\\x\\0", "-entry"),
]

# Files that are a part of a program only together with others, by `road`.
FRAGMENTS = {"examples/invoice/tax.marl"}

# Programs that have a warning because they show what happens then: a file or folder, and the names.
MEANT = {
    "tests/programs/interrupt": {"endless", "wrong_argument"},
    "tests/programs/library/directories.marl": {"wrong_argument"},
    "tests/programs/library/files.marl": {"wrong_argument"},
    "tests/programs/library/names.marl": {"wrong_argument"},
}

SIGNS = str.maketrans({"¶": "\n", "␍": "\r", "⍽": "\u00a0"})


def run(*arguments, **options):
    return subprocess.run([LAB, "check", *arguments], capture_output=True, timeout=SECONDS,
                          check=False, **options)


def explained(*words):
    return subprocess.run([LAB, "explain", *words], capture_output=True, encoding="utf-8",
                          timeout=SECONDS, check=True).stdout


def programs_of_the_repository():
    for folder in ("bench", "docs", "examples", "lib", "site", "tests"):
        for path in (ROOT / folder).glob("**/*.marl"):
            is_fragment = str(path.relative_to(ROOT)) in FRAGMENTS
            if "node_modules" not in path.parts and not is_fragment:
                yield path


def mistakes():
    """Programs with the places and names of the messages."""
    for line in (ROOT / "tests/lab/mistakes.cases").read_text().splitlines():
        row = re.fullmatch(r"(?!# )(.*?) +((?:\d\S+ \w+ ?)+)", line)
        if row:
            yield row[1].translate(SIGNS), row[2]


def meant_in(path):
    shown = str(path.relative_to(ROOT))
    return set().union(*(names for place, names in MEANT.items() if shown.startswith(place)))


def place_of(message):
    line = "" if message["end_line"] == message["line"] else f"{message['end_line']}:"
    return f"{message['line']}:{message['column']}-{line}{message['end_column']} {message['kind']}"


def expected_kind(path):
    """The kind of the Report that the check of a program ends in, if there is one."""
    report = path.with_suffix(".err")
    text = report.read_text(errors="replace") if report.exists() else ""
    kind = re.search(r"oh \[(\w+)\]", text)
    loaded = "<way>" in text or "undefined function" in text
    return kind[1] if kind and kind[1] in KINDS and not loaded else None


class Check(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def check(self, program, *options):
        (self.folder / "p.marl").write_bytes(program)
        return run(*options, "p.marl", cwd=self.folder)

    def messages(self, program):
        return json.loads(self.check(program.encode(), "--json").stdout)["messages"]

    def test_each_first_mistake_gets_its_sentence(self):
        text = (ROOT / "docs/mistakes.md").read_text()
        mistakes = re.findall(r"^```marl(.*?)\n(.*?)^```\n\n```text\n(.*?)^```$", text,
                              re.MULTILINE | re.DOTALL)
        self.assertGreaterEqual(len(mistakes), 30)
        for form, program, said in mistakes:
            with self.subTest(program):
                if "crlf" in form:
                    program = program.replace("\n", "\r\n")
                result = self.check(program.encode())
                # What the library has is another matter.
                got = re.sub(r" `\[use: \w+\]` gives one\.", "", result.stdout.decode())
                self.assertEqual(got.replace("\r", ""), said)
                faults = re.findall(r"^p\.marl:\d+:\d+: (?!warning)", said, re.MULTILINE)
                self.assertEqual(result.returncode, 1 if faults else 0)

    def test_it_agrees_with_marl_on_the_programs_of_the_repository(self):
        paths = list(programs_of_the_repository())
        self.assertGreater(len(paths), 60)
        for path in paths:
            with self.subTest(path.relative_to(ROOT)):
                result = json.loads(run("--json", path).stdout)
                kinds = {one["kind"] for one in result["messages"] if one["severity"] == "fault"}
                expected = expected_kind(path)
                if expected:
                    self.assertIn(expected, kinds)
                else:
                    self.assertEqual(kinds, set())

    def test_no_program_has_a_warning_that_is_not_meant(self):
        for path in programs_of_the_repository():
            if path.with_suffix(".err").exists():
                continue
            with self.subTest(path.relative_to(ROOT)):
                messages = json.loads(run("--json", path).stdout)["messages"]
                kinds = {one["kind"] for one in messages if one["severity"] == "warning"}
                self.assertEqual(kinds - meant_in(path), set())

    def test_each_mistake_is_named_at_its_place(self):
        rows = list(mistakes())
        self.assertGreaterEqual(len(rows), 40)
        for program, expected in rows:
            with self.subTest(program):
                messages = self.messages(program)
                self.assertEqual(" ".join(map(place_of, messages)), expected)
                for message in messages:
                    self.assertNotRegex(message["say"], r"[\r\n]")

    def test_a_note_switches_a_warning_off(self):
        for program, expected in NOTES:
            with self.subTest(program):
                kinds = [message["kind"] for message in self.messages(program)]
                if expected.startswith("-"):
                    self.assertNotIn(expected[1:], kinds)
                else:
                    self.assertIn(expected, kinds)

    def test_nothing_of_the_program_runs(self):
        result = self.check(b"a\\`(puts(init[ran]))(`(exit 7)0),shut\\`(puts(init[ran])1)")
        self.assertEqual((result.stdout, result.stderr, result.returncode), (b"", b"", 0))

    def test_all_faults_are_told_and_places_count_from_one(self):
        places = [(one["line"], one["column"], one["kind"])
                  for one in self.messages("a\\1+;\n  two,\n\ntwo\\x\\three+,\nrank\\1,\nx\\(2")]
        self.assertEqual(places, [(1, 5, "alive"), (4, 7, "alive"), (4, 13, "alive"),
                                  (5, 1, "built"), (6, 1, "lower"), (6, 3, "match")])

    def test_json_has_what_a_tool_needs(self):
        result = json.loads(self.check(b"a\\f(\xff),\nbb\\2", "--json").stdout)
        self.assertEqual(result["name"], "p.marl")
        self.assertEqual(result["faults"], 2)
        types = dict(re.findall(r"interface (\w+) {\n(.*?)^}", explained("json"), re.M | re.S))
        fields = re.findall(r"^  (\w+): ", types["Message"], re.M)
        for message in result["messages"]:
            self.assertEqual(sorted(message), sorted(fields))

    def test_the_site_has_the_types_of_the_json(self):
        self.assertEqual(explained("json"), (ROOT / "site/src/machine/results.ts").read_text())

    def test_all_that_check_names_is_explained_and_in_the_guide(self):
        listed = set(re.findall(r"^  (\w+)", explained(), re.M))
        guide = (ROOT / "docs/guide.md").read_text().split(". marl-lab\n")[1]
        self.assertEqual(set(re.findall(r"^\| `(\w+)` \|", guide, re.M)), listed - KINDS - OTHERS)
        self.assertLess(KINDS, listed)
        for word in listed:
            self.assertEqual(word in KINDS | OTHERS, "lab: off" not in explained(word), word)

    def test_a_deep_program_needs_no_deep_stack(self):
        for program in ("(" * 300000 + "1" + ")" * 300000, "1+" * 300000 + "1",
                        "x\\" * 9 + "[+]" * 200000 + "{" * 100000):
            result = self.check(b"a\\" + program.encode())
            self.assertIn(result.returncode, (0, 1))

    def test_a_missing_file_is_an_error_of_its_own(self):
        result = run("no_such_file.marl", cwd=self.folder)
        self.assertGreater(result.returncode, 1)


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
