#!/usr/bin/env python3
"""gdb shows nodes as expressions, with what their headers say.

    gdb_test.py MARL
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

PRINTERS = pathlib.Path(__file__).resolve().parent.parent / "tools/gdb_marl.py"
PROGRAM = r"a\x{puts(init(lisp(V(1,J([ab],x\go x)))))}0,go\x\x"


class Gdb(unittest.TestCase):
    def test_a_node_is_shown_as_its_expression(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder, "program.marl")
            program.write_text(PROGRAM, encoding="ascii")
            shown = subprocess.run(
                ["gdb", "-q", "-batch", "-x", PRINTERS, "-ex", "break marl::print_value",
                 "-ex", "run", "-ex", "print node", "--args", MARL, program],
                env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}, stdin=subprocess.DEVNULL,
                capture_output=True, text=True, timeout=300, check=False)
        self.assertRegex(shown.stdout, r"\$1 = \(V 1 \(J \[ab\] \(\\ x \(go x\)\)\)\)  "
                                       r"\(count \d+, rank 1\)", shown.stderr)


if __name__ == "__main__":
    MARL = pathlib.Path(sys.argv.pop(1)).resolve()
    has_types = b".debug_info" in MARL.read_bytes()
    if shutil.which("gdb") and has_types:
        unittest.main()
    print("skipped: no gdb, or no debug information")
