#!/usr/bin/env python3
"""marl-lab repl, through a terminal of its own.

    repl_test.py MARL_LAB MARL
"""
import os
import pathlib
import pty
import re
import select
import subprocess
import sys
import tempfile
import time
import unittest

SECONDS = 60
PROMPT = "> "


class Terminal:
    """A session behind a pseudo-terminal. What it shows is read up to the next prompt."""

    def __init__(self, home):
        self.main, side = pty.openpty()
        environment = {**os.environ, "HOME": str(home), "TERM": "dumb"}
        self.process = subprocess.Popen([LAB, "repl"], stdin=side, stdout=side, stderr=side,
                                        env=environment, cwd=home, start_new_session=True,
                                        preexec_fn=self.take_terminal, close_fds=True)
        os.close(side)

    @staticmethod
    def take_terminal():
        import fcntl
        import termios
        fcntl.ioctl(0, termios.TIOCSCTTY, 0)

    def write(self, text):
        os.write(self.main, text.encode())

    def read_until(self, pattern):
        shown = ""
        end = time.monotonic() + SECONDS
        while not re.search(pattern, shown):
            ready, _, _ = select.select([self.main], [], [], max(0, end - time.monotonic()))
            if not ready:
                raise AssertionError(f"waited for {pattern!r}, got {shown!r}")
            try:
                shown += os.read(self.main, 4096).decode(errors="replace").replace("\r", "")
            except OSError:  # the other side is closed
                break
        return shown

    def say(self, line):
        """What comes between the echo of a line and the next prompt."""
        self.write(line + "\n")
        shown = self.read_until(r"\n(> |\. )$")
        shown = re.sub(r"(^|\n)(> |\. )$", "", shown.split("\n", 1)[1])
        return shown.removeprefix(line).removeprefix("\n")  # echoed twice when it came early

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.main)


class Repl(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.terminal = Terminal(self.folder)
        self.addCleanup(self.terminal.close)
        self.terminal.read_until("> $")

    def test_values_are_shown_as_lisp_shows_them(self):
        for expression, value in [("1+2*3", "7"), ("J(1,J(2,K))", "(J1 J2K)"), ("[a]+[b]", "[ab]"),
                                  ("init[ab]", "cape[ab]"), ("1/0", "Z"), ("x\\x+1", "(\\x +x1)")]:
            with self.subTest(expression):
                self.assertEqual(self.terminal.say(expression), value)

    def test_definitions_stay_and_can_be_replaced(self):
        self.assertEqual(self.terminal.say("twice\\f\\x\\f(f x)"), "")
        self.assertEqual(self.terminal.say("inc\\n\\n+1"), "")
        self.assertEqual(self.terminal.say("twice inc 5"), "7")
        self.assertEqual(self.terminal.say("inc\\n\\n+10"), "")
        self.assertEqual(self.terminal.say("twice inc 5"), "25")

    def test_steps_show_the_reduction(self):
        self.assertRegex(self.terminal.say(":steps K 1 2"), r"fire K [^\n]*\n[^\n]*mend [^\n]* 1$")

    def test_input_goes_on_until_the_brackets_close(self):
        self.assertEqual(self.terminal.say("plus("), "")
        self.assertEqual(self.terminal.say("1,"), "")
        self.assertEqual(self.terminal.say("2)"), "3")

    def test_a_fault_is_shown_and_the_session_goes_on(self):
        shown = self.terminal.say("1+duoble 2")
        self.assertIn("input:1:3: alive: `duoble` is not defined", shown)
        self.assertEqual(self.terminal.say("double\\n\\n*2"), "")
        self.assertIn("is it `double`?", self.terminal.say("1+duoble(2)"))
        self.assertEqual(self.terminal.say("1+double(2)"), "5")

    def test_a_definition_may_come_before_what_it_uses(self):
        shown = self.terminal.say("even\\n\\(n=0)K(odd(n-1))")
        self.assertEqual(shown, "input:1:15: warning: alive: `odd` is not defined.\n"
                         "  even\\n\\(n=0)K(odd(n-1))\n                ^^^")
        self.assertEqual(self.terminal.say("[Whether it is odd.],odd\\n\\(n=0)H(even(n-1))"), "")
        self.assertEqual(self.terminal.say("odd 7"), "K")
        self.assertIn("[Whether it is odd.]\nodd", self.terminal.say(":help odd"))

    def test_every_byte_reaches_the_program(self):
        self.assertEqual(self.terminal.say("rank[h\u00e4]"), "3")
        run = subprocess.run([LAB, "repl"], input=b"rank[\xe4\xff\x80]\n1+\n", capture_output=True,
                             timeout=SECONDS, check=False)
        self.assertEqual(run.stdout.split(b"\n", 1)[0], b"3")
        self.assertNotIn(b",", run.stdout)

    def test_a_file_can_be_there_from_the_start(self):
        (self.folder / "p.marl").write_text("a\\0,triple\\n\\n*3\n")
        run = subprocess.run([LAB, "repl", self.folder / "p.marl"], input=b"triple 5\n",
                             capture_output=True, timeout=SECONDS, check=False)
        self.assertEqual(run.stdout, b"1 definition\n15\n")

    def test_an_interrupt_stops_the_evaluation_and_keeps_the_session(self):
        self.assertEqual(self.terminal.say("loop\\n\\loop(n+1)"), "")
        self.terminal.write("loop 0\n")
        time.sleep(2)
        self.terminal.write("\x03")
        self.assertIn("interrupted", self.terminal.read_until(r"\n> $"))
        self.assertEqual(self.terminal.say("loop\\n\\n"), "")
        self.assertEqual(self.terminal.say("loop 8"), "8")

    def test_an_interrupt_at_the_prompt_drops_the_line(self):
        self.terminal.write("1+(2")
        time.sleep(1)
        self.terminal.write("\x03")
        self.terminal.read_until(r"\n> $")
        self.terminal.write("3\n")
        self.terminal.read_until(r"\n3\n> $")

    def test_nothing_that_an_evaluation_does_ends_the_session(self):
        for expression in ("exit 3", "abort", "refk 1", "assert H"):
            self.terminal.say(expression)
        self.terminal.write("4\n")
        self.terminal.read_until(r"\n4\n> $")

    def test_commands(self):
        self.assertIn("arity: 3", self.terminal.say(":help trim"))
        self.assertIn("sum, or join", self.terminal.say(":help +"))
        self.assertRegex(self.terminal.say(":time 2^1000%7"), r"^2\n[0-9.e-]+ s$")
        self.assertEqual(self.terminal.say("double\\n\\n*2"), "")
        self.assertEqual(self.terminal.say(":save here.marl"), "1 definition")
        self.assertEqual((self.folder / "here.marl").read_text(), "a\\0,\n\ndouble\\n\\n*2\n")
        (self.folder / "other.marl").write_text("a\\0,\n\n[note],\ntriple\\n\\n*3\n")
        self.assertEqual(self.terminal.say(":load other.marl"), "1 definition")
        self.assertEqual(self.terminal.say("double(triple 7)"), "42")
        self.assertEqual(self.terminal.say(":help triple"), "[note]\ntriple\\n\\n*3")
        (self.folder / "near.marl").write_text("[Near.],\n\n[A note.],\nthrice\\n\\n*3\n")
        self.terminal.say("[use: ./near.marl]")
        self.assertRegex(self.terminal.say(":help thrice"), r"^\[A note.\]\nthrice.*  from \S+$")
        self.assertEqual(self.terminal.say(":forget triple"), "")
        self.assertIn("`triple` is not defined", self.terminal.say("triple 7"))
        self.assertIn("no command", self.terminal.say(":nonsense"))
        self.assertIn("directory", self.terminal.say(":load ."))

    def test_a_tab_completes_a_name(self):
        self.assertEqual(self.terminal.say("quadruple\\n\\n*4"), "")
        self.terminal.write("quadru\t")
        self.terminal.read_until("quadruple ?$")
        self.assertEqual(self.terminal.say("(2)").split("\n")[-1], "8")

    def test_the_history_keeps_several_lines_as_one_entry_at_once(self):
        self.terminal.say("plus(40,")
        self.terminal.say("2)")
        history = (self.folder / ".marl_lab_history").read_text()
        self.assertEqual(history, "_HiStOrY_V2_\nplus(40,\\0122)\n")
        self.terminal.write(":quit\n")
        self.assertEqual(self.terminal.process.wait(SECONDS), 0)
        self.terminal = Terminal(self.folder)
        self.addCleanup(self.terminal.close)
        self.terminal.read_until("> $")
        self.terminal.write("\x1b[A\x1b[A\n")
        self.assertIn("2)\n42\n", self.terminal.read_until(r"42\n> $"))


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
