#!/usr/bin/env python3
"""marl-lab shows the code of definitions, and the design tells of the code that is made.

    code_test.py MARL_LAB MARL

code.txt is what the command prints of code.program, behind the entry. A change of the compiler changes
it: look at what has become of the code, and write the file anew with `--write` in front.
"""
import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
DESIGN = HERE.parent.parent / "docs/design.md"


def code_of(source, *names):
    return subprocess.run([LAB, "code", "-", *names], input=source, capture_output=True, text=True,
                          timeout=120, check=False)


def golden():
    return code_of((HERE / "code.program").read_text()).stdout.partition("\n\n")[2]


class Code(unittest.TestCase):
    def test_the_code_of_a_dozen_bodies(self):
        self.assertEqual(golden(), (HERE / "code.txt").read_text())

    def test_the_design_shows_code_as_it_is(self):
        shown = re.findall(r"^`([^`\n]*)` is\n\n```\n(.*?)```$", DESIGN.read_text(), re.M | re.S)
        self.assertGreater(len(shown), 0)
        for definition, text in shown:
            name = definition.partition("\\")[0]
            made = code_of(rf"a\{name}(3),{definition}", name).stdout
            self.assertEqual(text, made.split("\n", 1)[1].removesuffix("\n"), definition)

    def test_native_code_stands_below_its_instruction(self):
        source = r"a\twice(3),twice\n\n*2"
        plain, shown = (code_of(source, "twice", *more).stdout for more in ([], ["--native"]))
        self.assertEqual(re.sub(r"^ {6}(?:[0-9a-f.]{2} ?)+\n", "", shown, flags=re.M), plain)
        self.assertEqual(shown != plain, (LAB.parent / "stencils").is_dir())  # which the build makes of them

    def test_what_has_no_code(self):
        faulty = code_of(r"a\gone")
        self.assertEqual((faulty.returncode, "gone" in faulty.stderr), (1, True))
        self.assertEqual(code_of(r"a\0", "gone").returncode, 1)
        self.assertIn("&: ", code_of(r"a\0", "&").stdout)


if __name__ == "__main__":
    if sys.argv[1] == "--write":
        LAB = sys.argv[2]
        (HERE / "code.txt").write_text(golden())
        sys.exit()
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
