#!/usr/bin/env python3
"""What marl does in a process that is short of something: rows of a shell command and its outcome.

    shell_test.py MARL
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SAYS = r"say\t\done(puts(init t)),done\x\I"
NESTED = r"a\say[said];ff 0,ff\x\load text,text\[ff 0]," + SAYS

# A command, in which marl is $M and the program p; the program; output, error output, status.
ROWS = (
    ("ulimit -s 64; $M p", r"a\say[said];0," + SAYS, "said\n", "", 0),
    ("ulimit -s 64; $M p", NESTED, "said\n", "marl: runs are nested too deeply\n", 1),
    ("ulimit -s 8192; X=$(printf %99999s) $M p", NESTED, "said\n",
     "marl: runs are nested too deeply\n", 1),
)


class Shell(unittest.TestCase):
    def test_rows(self):
        for command, program, output, errors, status in ROWS:
            with self.subTest(command), tempfile.TemporaryDirectory() as folder:
                pathlib.Path(folder, "p").write_text(program, encoding="ascii")
                done = subprocess.run(
                    ["bash", "-c", command], cwd=folder, env=dict(os.environ, M=MARL),
                    stdin=subprocess.DEVNULL, capture_output=True, timeout=60, check=False)
                self.assertEqual((done.stdout.decode(), done.stderr.decode(), done.returncode),
                                 (output, errors, status))


if __name__ == "__main__":
    MARL = os.path.abspath(sys.argv.pop(1))
    unittest.main()
