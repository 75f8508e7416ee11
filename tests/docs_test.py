#!/usr/bin/env python3
"""What the documents say is so.

    docs_test.py MARL

Each example of docs/reference.md gives the result behind its arrow, as `lisp` prints it. Each program
in docs/guide.md, and what it prints, is a file in docs/snippets, whose programs run_programs.py runs;
each file there is in the guide. Its notes with tests are run by marl-lab.
"""
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

import plain
import run_tables

ROOT = pathlib.Path(__file__).resolve().parent.parent
REFERENCE = json.loads((ROOT / "docs/reference.json").read_text())
GUIDE = (ROOT / "docs/guide.md").read_text()
SNIPPETS = ROOT / "docs/snippets"
SECONDS = 60  # for one program; sanitizers are slow
# What an example allocates it may leave to the end of the process.
MARL = pathlib.Path(sys.argv.pop(1)).resolve()
LAB = plain.lab_of(MARL)
TESTED = [path for path in SNIPPETS.glob("*.marl") if "[test: " in path.read_text()]
ENVIRONMENT = {**os.environ, "LC_ALL": "C", "TZ": "UTC0", "ASAN_OPTIONS": "detect_leaks=0"}


def guide_blocks():
    """File name to content: the blocks that name a file behind their language."""
    blocks = re.findall(r"^```(?:marl|text) (\S+)\n(.*?)^```$", GUIDE, re.MULTILINE | re.DOTALL)
    return {name if "." in name else name + ".marl": text for name, text in blocks}


def snippet_files():
    """The same of the files. The colours of a Report don't show in the guide."""
    return {path.name: re.sub(r"\x1b\[\d*m", "", path.read_text())
            for path in SNIPPETS.iterdir() if path.suffix in (".marl", ".out", ".err")}


class Documents(unittest.TestCase):
    def test_every_example_of_the_reference_is_so(self):
        examples = REFERENCE["examples"]
        self.assertGreater(len(examples), 300)
        block = run_tables.Block()
        block.rows = [run_tables.Row(f"reference.md, example {number}", [expression, result])
                      for number, (expression, result) in enumerate(examples, 1)]
        self.assertEqual(run_tables.Runner(MARL, SECONDS, ENVIRONMENT).faults(block), [])

    def test_the_guide_shows_the_programs_that_are_tested(self):
        shown, files = guide_blocks(), snippet_files()
        in_a_session = {"01-hello.out", "23-server.out"}
        self.assertEqual(set(shown), set(files) - in_a_session)
        for name, text in shown.items():
            self.assertEqual(text, files[name], name)

    @unittest.skipUnless(LAB, "no marl-lab")
    def test_the_tests_in_the_programs_of_the_guide_pass(self):
        ran = subprocess.run([LAB, "test", *TESTED], capture_output=True, check=False, timeout=SECONDS)
        self.assertEqual(ran.returncode, 0, ran.stdout.decode())

    @unittest.skipUnless(LAB, "no marl-lab")
    def test_the_server_of_the_guide_answers_in_capitals(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        program = plain.plain(SNIPPETS / "23-server.marl", LAB, folder.name)
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        server = subprocess.Popen([MARL, program, str(port)], env=ENVIRONMENT,
                                  stdout=subprocess.PIPE)
        try:
            self.assertEqual(server.stdout.readline(), b"ready\n")
            with socket.create_connection(("127.0.0.1", port), SECONDS) as client:
                client.sendall(b"hello\n")
                client.shutdown(socket.SHUT_WR)
                self.assertEqual(client.makefile("rb").read(), b"HELLO\n")
            self.assertEqual(server.stdout.read(), b"6 bytes\n")
            self.assertEqual(server.wait(SECONDS), 0)
        finally:
            server.kill()
            server.communicate()


if __name__ == "__main__":
    unittest.main()
