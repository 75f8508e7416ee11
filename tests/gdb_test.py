#!/usr/bin/env python3
"""gdb shows nodes as expressions, with what their headers say.

    gdb_test.py MARL
"""
import os
import pathlib
import platform
import shutil
import subprocess
import sys
import tempfile
import unittest

PRINTERS = pathlib.Path(__file__).resolve().parent.parent / "tools/gdb_marl.py"
PROGRAM = r"a\x{puts(init(lisp(V(1,J([ab],x\go x)))))}to([none],5),go\x\x,to\x\n\rank J(n+1,u\go n)"


class Gdb(unittest.TestCase):
    def shown(self, *commands):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder, "program.marl")
            program.write_text(PROGRAM, encoding="ascii")
            arguments = [part for command in commands for part in ("-ex", command)]
            return subprocess.run(
                ["gdb", "-q", "-batch", "-x", PRINTERS, *arguments, "--args", MARL, program],
                env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}, stdin=subprocess.DEVNULL,
                capture_output=True, text=True, timeout=300, check=False).stdout

    def test_a_node_is_shown_as_its_expression(self):
        shown = self.shown("break *'marl::print_value(marl::Node*)'", "run", "print (marl::Node*)$rsi")
        self.assertRegex(shown, r"\$1 = \(V 1 \(J \[ab\] .*\)\)  \(count \d+, rank 1\)")

    def test_words_and_code_are_shown_as_what_they_stand_for(self):
        frame = "(*(marl::Word**)$rdi)"
        shown = self.shown("break *marl::slow_closure", "run", f"print {frame}[1]",
                           "print (*(marl::Instruction**)$r8)->part", "break *marl::slow_cell", "continue",
                           f"print {frame}[4]", "break *marl::slow_builtin_last", "continue", f"print {frame}[2]")
        closure = r"<\(\\ u \(go n\)\) \| 5>"
        self.assertRegex(shown, r"(?s)\$1 = 5\n.*\$2 = code of \(\\ u \(go n\)\)\n"
                                rf".*\$3 = {closure}  \(count 1\).*\$4 = \(J 6 {closure}\)  \(count 1\)")


if __name__ == "__main__":
    MARL = pathlib.Path(sys.argv.pop(1)).resolve()
    has_types = b".debug_info" in MARL.read_bytes()
    # What optimization leaves of parameters is where the processor's convention puts them.
    if shutil.which("gdb") and has_types and platform.machine() == "x86_64":
        unittest.main()
    print("skipped: no gdb, no debug information, or another processor")
