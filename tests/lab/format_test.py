#!/usr/bin/env python3
"""marl-lab format: the layout of some programs, and what holds for all.

    format_test.py MARL_LAB MARL [PROGRAMS]

That a layout changes no program is proved for the repository's own programs and for generated ones,
by format_programs, which compares parses that the formatter has no part in.
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SECONDS = 60

# A program, and its layout.
LAYOUTS = [
    ("a\\ 1 + 2 ,double\\n\\ n*2", "a\\1+2,\n\ndouble\\n\\n*2\n"),
    # a note stays with what it stands in front of
    ("a\\0,\n\n[one]\n,\nff\\x\\x,\n[two],\n\ngg\\x\\x",
     "a\\0,\n\n[one],\nff\\x\\x,\n\n[two],\n\ngg\\x\\x\n"),
    ("a\\0,some  words - as they   stand", "a\\0,\n\nsome  words - as they   stand\n"),
    # a step a line, as soon as there are two
    ("a\\x{1}x", "a\\x{1}x\n"),
    ("a\\x{1}say x;0", "a\\\n  x{1}\n  say x;\n  0\n"),
    ("one;two;three", "one;\ntwo;\nthree\n"),
    # what is too long is cut at its loosest level; byte text is not touched
    ("a\\" + "+".join(["some_word(with,arguments)"] * 5),
     "a\\\n  some_word(with,arguments)+some_word(with,arguments)+some_word(with,arguments)+\n"
     "  some_word(with,arguments)+some_word(with,arguments)\n"),
    ("a\\f([" + "x" * 110 + "],2)", "a\\\n  f(\n    [" + "x" * 110 + "],\n    2)\n"),
    ("a\\[two\nlines]+1", "a\\[two\nlines]+1\n"),
    # branches come back to where the first one began
    ("ff\\c\\(c=123)(members(string,index+1,empty))((c=91)(elements(string,index+1,empty))"
     "((c=34)(text(string,index+1))(word(string,index))))",
     "ff\\c\\\n  (c=123)(members(string,index+1,empty))(\n"
     "  (c=91)(elements(string,index+1,empty))((c=34)(text(string,index+1))(word(string,index))))\n"),
    ("", ""),
]


def run(*arguments):
    return subprocess.run([LAB, "format", *arguments], capture_output=True, timeout=SECONDS,
                          check=False)


class Format(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name, "p.marl")

    def test_layouts(self):
        for program, layout in LAYOUTS:
            with self.subTest(program):
                self.path.write_text(program)
                self.assertEqual(run(self.path).returncode, 0)
                self.assertEqual(self.path.read_text(), layout)
                self.assertEqual(run("--check", self.path).stdout, b"")

    def test_check_writes_nothing(self):
        self.path.write_text("a\\ 1")
        result = run("--check", self.path)
        self.assertEqual((result.returncode, result.stdout.decode()), (1, f"{self.path}\n"))
        self.assertEqual(self.path.read_text(), "a\\ 1")

    def test_a_source_without_balance_stays_as_it_is(self):
        self.path.write_text("a\\ (1")
        result = run(self.path)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b":1:4: match: `(` is never closed.", result.stdout)
        self.assertEqual(self.path.read_text(), "a\\ (1")

    def test_the_programs_of_the_repository_are_formatted(self):
        # The snippets from 30 on have faults.
        paths = [path for folder in ("examples", "docs/snippets", "bench/programs")
                 for path in sorted((ROOT / folder).glob("**/*.marl"))
                 if not (folder == "docs/snippets" and path.name >= "30")]
        self.assertGreater(len(paths), 50)
        result = run("--check", *paths)
        self.assertEqual((result.returncode, result.stdout.decode()), (0, ""))


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
