#!/usr/bin/env python3
"""Whichever allocation fails, the run ends in order: what was printed is kept, and a line tells why.

    allocation_test.py MARL

Beside MARL stands tests/marl_failing, in which the allocation of the number MARL_FAIL_AT gives null.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM = r"""a\
  show(2^300%7); show(sort(J(3,J(1,J(2,K)))));
  show(load[twice 21,twice\n\n*2]); p{hold[gone]}
  show(cork([abc]*3,0,65)); show(zits(cray/1/[two])); show(real(004^0300)); 0,
sort\l\l(K,h\t\insert(h,sort(t))),
insert\x\l\l(J(x,K),h\t\(x<h)(J(x,J(h,t)))(J(h,insert(x,t)))),
hold\t\todo(show,t),
show\x\done(puts(init(lisp x))),
done\x\I"""


class Allocation(unittest.TestCase):
    def run_failing(self, at):
        environment = {**os.environ, "MARL_FAIL_AT": str(at), "ASAN_OPTIONS": "detect_leaks=0"}
        done = subprocess.run([FAILING, self.program], env=environment, capture_output=True,
                              timeout=120, check=False)
        return done.stdout, done.stderr, done.returncode

    def test_each_of_them_can_fail(self):
        with tempfile.TemporaryDirectory() as folder:
            self.program = pathlib.Path(folder, "program.marl")
            self.program.write_text(PROGRAM, encoding="ascii")
            whole, errors, status = self.run_failing(0)
            self.assertEqual((whole.count(b"\n"), errors, status), (7, b"", 0))
            at = 1
            while (ended := self.run_failing(at)) != (whole, b"", 0):
                self.assertEqual(ended[1:], (b"marl: out of memory\n", 1), at)
                self.assertTrue(whole.startswith(ended[0]), at)
                at += 1 + at // 20  # each of the first ones, and then one in so many
            self.assertGreater(at, 100)


if __name__ == "__main__":
    FAILING = pathlib.Path(sys.argv.pop(1)).resolve().parent / "tests/marl_failing"
    unittest.main()
