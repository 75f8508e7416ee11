#!/usr/bin/env python3
"""The examples that need more than standard input: a client, a folder, several runs.

    examples_test.py MARL

The others are run by run_programs.py.
"""
import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import unittest

import plain

EXAMPLES = pathlib.Path(__file__).resolve().parent.parent / "examples"
SECONDS = 60
# What a program asks of malloc and keeps to its end is its own business.
MARL = str(pathlib.Path(sys.argv.pop(1)).resolve())
LAB = plain.lab_of(MARL)
FOLDER = tempfile.TemporaryDirectory()
ENVIRONMENT = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")


def program(name):
    return plain.plain(EXAMPLES / f"{name}.marl", LAB, FOLDER.name)


def run(name, *arguments, **options):
    return subprocess.run([MARL, program(name), *arguments], capture_output=True,
                          timeout=SECONDS, check=False, env=ENVIRONMENT, **options)


@unittest.skipUnless(LAB, "no marl-lab")
class Examples(unittest.TestCase):
    def test_the_http_client_fetches_the_page_of_the_http_server(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = str(probe.getsockname()[1])
        server = subprocess.Popen([MARL, program("http_server"), port],
                                  stdout=subprocess.PIPE, env=ENVIRONMENT)
        try:
            self.assertEqual(server.stdout.readline(), b"ready\n")
            fetched = run("http_client", "127.0.0.1", port, "/page")
            self.assertIn(b"<h1>Hello from marl</h1>", fetched.stdout)
            self.assertEqual(server.stdout.read(), b"GET /page HTTP/1.0\n")
            self.assertEqual((fetched.returncode, server.wait(SECONDS)), (0, 0))
        finally:
            server.kill()
            server.communicate()
        self.assertEqual(run("http_client", "127.0.0.1", port, "/page").returncode, 1)

    def test_ls_sorts_a_folder_and_marks_its_kinds(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "b file").touch()
            (root / "a").mkdir()
            (root / "c").symlink_to("a")
            listed = run("ls", root)
            self.assertEqual((listed.stdout, listed.returncode), (b"a/\nb file\nc@\n", 0))
            missing = run("ls", root / "none")
            self.assertEqual((missing.stdout, missing.returncode), (b"", 1))

    def test_json_finds_a_value_by_its_path(self):
        text = (EXAMPLES / "json.in").read_bytes()
        self.assertEqual(run("json", "more", "0", "a", "1", input=text).stdout, b"2\n")
        self.assertEqual(run("json", "more", "7", input=text).stdout, b"no value\n")
        self.assertEqual(run("json", input=b'{"a": [1, 2}').returncode, 1)


if __name__ == "__main__":
    unittest.main()
