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

OPENED = r"a\f{fopen(init[o],init[w])}x{write(2,init[x],1)}e{errno}say(lisp(V(x,V(e,fileno f))));0," + SAYS
FILLED = r"a\say[said];rank(dd 1),dd\x\dd(x^x+x)," + SAYS
LONG = r"a\say[said];rank(3^1000000000),shut\say[shut]," + SAYS
OPEN = r"a\x{load[0,ff\q\(foo\foo)(foo)q,foo\1]}y{load[K 0 ff]}say(lisp(V(x,y)));0," + SAYS
OPEN_CALLED = OPEN.replace("K 0 ff", "ff 0")

# A command, in which marl is $M and the program p; the program; output, error output, status.
ROWS = (
    ("ulimit -s 64; $M p", r"a\say[said];0," + SAYS, "said\n", "", 0),
    ("ulimit -s 64; $M p", NESTED, "said\n", "marl: runs are nested too deeply\n", 1),
    ("ulimit -s 8192; X=$(printf %99999s) $M p", NESTED, "said\n",
     "marl: runs are nested too deeply\n", 1),
    ("ulimit -v 100000; $M p", FILLED, "said\n", "marl: out of memory\n", 1),
    ("$M p", r"a\002^(2^70)", "", "marl: out of memory\n", 1),
    ("$M p", r"a\0001^(2^70)", "", "marl: out of memory\n", 1),
    ("$M p 2>&-; cat o", OPENED, "(V01 (V9 3))\n", "", 0),
    ("$M p 0<&- 2>&-", OPENED, "(V01 (V9 3))\n", "", 0),
    ("cat p | $M /dev/stdin", r"a\say[said];7," + SAYS, "said\n", "", 7),
    ("$M p", OPEN, "VZ0\n", "", 0),  # left behind by a load that failed
    ("{ $M p; } 2>/dev/null; echo $?", OPEN_CALLED, "134\n", "", 0),
    ("$M p & sleep 1; kill -INT $!; sleep 0.3; kill -INT $!; wait $!", LONG, "", "\n", 1),
)


class Shell(unittest.TestCase):
    def test_rows(self):
        # A build with sanitizers needs more of the machine than these limits leave.
        sanitized = b"__asan_init" in pathlib.Path(MARL).read_bytes()
        for command, program, output, errors, status in ROWS:
            if sanitized and "ulimit" in command:
                continue
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
