#!/usr/bin/env python3
"""marl on a system that gives it no more than it must.

    failing_system_test.py MARL

Beside MARL stands tests/marl_failing, in which the allocation of the number MARL_FAIL_AT gives null, and
directories tell no types.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import plain

PROGRAM = r"""a\
  show(2^300%7); show(sort(J(3,J(1,J(2,K)))));
  show(load[twice 21,twice\n\n*2]); p{hold[gone]}
  show(cork([abc]*3,0,65)); show(zits(cray/1/[two])); show(real(004^0300)); 0,
sort\l\l(K,h\t\insert(h,sort(t))),
insert\x\l\l(J(x,K),h\t\(x<h)(J(x,J(h,t)))(J(h,insert(x,t)))),
hold\t\todo(show,t),
show\x\done(puts(init(lisp x))),
done\x\I"""


LISTING = pathlib.Path(__file__).resolve().parent.parent / "examples/ls.marl"


class FailingSystem(unittest.TestCase):
    def run_failing(self, at):
        environment = {**os.environ, "MARL_FAIL_AT": str(at), "ASAN_OPTIONS": "detect_leaks=0"}
        done = subprocess.run([FAILING, self.program], env=environment, capture_output=True,
                              timeout=120, check=False)
        return done.stdout, done.stderr, done.returncode

    def test_whichever_allocation_fails_the_run_ends_in_order(self):
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

    def test_types_are_asked_for_where_a_directory_tells_none(self):
        with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as packed:
            pathlib.Path(folder, "inner").mkdir()
            pathlib.Path(folder, "file").touch()
            pathlib.Path(folder, "link").symlink_to("file")
            os.mkfifo(pathlib.Path(folder, "pipe"))
            program = plain.plain(LISTING, plain.lab_of(MARL), packed)
            shown = subprocess.run([FAILING, program, folder], capture_output=True, check=False)
            self.assertEqual(shown.stdout, b"file\ninner/\nlink@\npipe\n")


if __name__ == "__main__":
    MARL = pathlib.Path(sys.argv.pop(1)).resolve()
    FAILING = MARL.parent / "tests/marl_failing"
    unittest.main()
