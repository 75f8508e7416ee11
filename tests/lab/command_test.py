#!/usr/bin/env python3
"""The command line of marl-lab: what goes in, what the process ends with, and what it leaves on disk.

    command_test.py MARL_LAB MARL
"""
import os
import pathlib
import re
import resource
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SECONDS = 60
DOUBTFUL = b"a\\double 1+2,double\\n\\n*2"

# Arguments, standard input, the exit status, and what must be in the output or among the errors.
CALLS = [
    (["--version"], b"", 0, rb"^marl-lab \d+\.\d+\.\d+$"),
    (["chek"], b"", 2, rb"no command `chek`; is it `check`\?"),
    (["nonsense"], b"", 2, rb"no command `nonsense`; --help"),
    ([], b"", 2, rb"--help"),
    (["check"], b"", 2, rb"FILE is required"),
    (["check", "--nope", "-"], b"a\\0", 2, rb"--nope"),
    (["check", "--deny", "all", "-"], b"a\\0", 2, rb"all"),
    (["check", "nowhere"], b"", 2, rb"nowhere can't be read: No such file"),
    (["check", "."], b"", 2, rb"\. can't be read: Is a directory"),
    (["check", "/proc/self/mem"], b"", 2, rb"can't be read: Input/output error"),
    (["steps", "nowhere"], b"", 2, rb"nowhere can't be read"),
    (["profile", "."], b"", 2, rb"Is a directory"),
    (["check", "-"], b"a\\nix", 1, rb"^-:1:3: alive: `nix` is not defined"),
    (["check", "-"], DOUBTFUL, 0, rb"loose_blank"),
    (["check", "--deny", "warnings", "-"], DOUBTFUL, 1, rb"loose_blank"),
    (["check", "--color", "always", "-"], b"a\\nix", 1, rb"\x1b\[1;31malive:"),
    (["format", "-"], b"a\\ 1 + 2", 0, rb"^a\\1\+2\n$"),
    (["format", "-"], b"a\\(1", 1, rb"never closed"),
    (["format", "-"], b"a\\\r\n 1,\r\n\r\nff\\1", 1, rb"-:1:3: layout: A carriage return is a name"),
    (["steps", "-"], b"a\\7", 7, rb"fire lambda"),
    (["explain", "nix"], b"", 2, rb"nothing to tell about `nix`"),
    (["explain", "trim"], b"", 0, rb"arity: 3"),
]

# A program, what `check --fix` makes of it, and whether a fault is left.
FIXES = [
    (b"a\\(1<=2)3 4", b"a\\(2>1)3 4", False),
    (b"a\\(1 =  <2)3 4", b"a\\(2>1)3 4", False),
    (b"a\\(1+1<=2*3)3 4", b"a\\(2*3>1+1)3 4", False),
    (b"a\\(1=<2)3 4", b"a\\(2>1)3 4", False),
    (b"a\\(1==2)3 4", b"a\\(1=2)3 4", False),
    (b"a\\(1>= 2)3 4", b"a\\(1> 2)3 4", False),
    (b"a\\(1!=2)3 4", b"a\\(1#2)3 4", False),
    (b"a\\(1<>2)3 4", b"a\\(1#2)3 4", False),
    (b"a\\(1<2)&&(2**3=8)3 4", b"a\\(1<2)&(2^3=8)3 4", False),
    (b"a\\-5", b"a\\05", False),
    (b"a\\3*-5", b"a\\3*05", False),
    (b"a\\x{1}-x", b"a\\x{1}~x", False),
    (b"a\\duoble 21,double\\n\\n*2", b"a\\double 21,double\\n\\n*2", False),
    (b"a\\sing 2", b"a\\sing 2", True),                              # sin or sinh
    (b"\xef\xbb\xbfa\\[\xef\xbb\xbf];0", b"a\\[\xef\xbb\xbf];0", False),
    (b"a\\\t1+\t2*[\t]", b"a\\  1+  2*[\t]", False),
    (b"a\\\r\n  1,\r\nff\\[\r\n]\r\n", b"a\\\n  1,\nff\\[\n]\n", False),
    (b"a\\ff 1\nff\\n\\n+1\n\ngg\\2", b"a\\ff 1,\nff\\n\\n+1,\n\ngg\\2", False),
    (b"a\\nix+(1", b"a\\nix+(1", True),
]


def run(arguments, data=b"", **options):
    return subprocess.run([LAB, *arguments], input=data, capture_output=True, timeout=SECONDS,
                          check=False, **options)


class Command(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.path = self.folder / "p.marl"

    def test_calls(self):
        for arguments, data, status, said in CALLS:
            with self.subTest(arguments):
                result = run(arguments, data)
                self.assertEqual(result.returncode, status)
                self.assertRegex(result.stdout + result.stderr, said)

    def test_what_has_one_way_to_be_mended_is(self):
        for program, mended, is_left in FIXES:
            with self.subTest(program):
                self.path.write_bytes(program)
                result = run(["check", "--fix", self.path])
                self.assertEqual(self.path.read_bytes(), mended)
                self.assertEqual(result.returncode, int(is_left))
                self.assertEqual(run(["check", "--fix", "-"], program).stdout, mended)

    def test_output_that_is_lost_is_told_of(self):
        self.path.write_bytes(b"a\\nix")
        for arguments in (["check", "--json", self.path], ["explain"], ["steps", self.path]):
            if arguments[0] == "steps":
                self.path.write_bytes(b"a\\7")
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                result = subprocess.run([LAB, *arguments], stdout=full, stderr=subprocess.PIPE,
                                        timeout=SECONDS, check=False)
                self.assertEqual(result.returncode, 2)
                self.assertIn(b"Standard output can't be written: No space left", result.stderr)

    def test_a_file_is_written_whole_or_not_at_all(self):
        self.path.write_bytes(b"a\\ 1+[" + b"x" * 5000 + b"]")
        self.path.chmod(0o640)
        link = self.folder / "link.marl"
        link.symlink_to(self.path)
        before = self.path.read_bytes()
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))  # noqa: E731
        ignore = {"preexec_fn": limit, "restore_signals": False}
        result = run(["format", link], **ignore)
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(self.path.read_bytes(), before)
        self.assertEqual(run(["format", link]).returncode, 0)
        self.assertTrue(link.is_symlink())
        self.assertIn(b"1+", self.path.read_bytes())
        self.assertEqual(self.path.stat().st_mode & 0o777, 0o640)

    def test_the_environment_can_refuse_colours(self):
        self.path.write_bytes(b"a\\nix")
        for value, coloured in (("", True), ("1", False)):
            environment = {**os.environ, "NO_COLOR": value, "TERM": "xterm"}
            shown = subprocess.run(["script", "-qec", f"{LAB} check {self.path}", "/dev/null"],
                                   stdin=subprocess.DEVNULL, capture_output=True, timeout=SECONDS,
                                   check=False, env=environment).stdout
            self.assertEqual(b"\x1b[1;31m" in shown, coloured)

    def test_bash_and_the_manual_page_know_what_there_is(self):
        page = (ROOT / "docs/marl-lab.1").read_text().replace("\\-", "-")
        script = (ROOT / "lab/completion.bash").read_text()
        offered = {"": self.completed(script, [""])}
        commands = re.findall(r"^  (\w+)  ", run(["--help"]).stdout.decode(), re.MULTILINE)
        self.assertGreaterEqual(len(commands), 7)
        self.assertEqual(set(commands), {one for one in offered[""] if one[0] != "-"})
        for command in commands:
            options = re.findall(r"^  (?:-\w,)?(--[\w-]+)",
                                 run([command, "--help"]).stdout.decode(), re.MULTILINE)
            self.assertEqual(set(self.completed(script, [command, "--"])), set(options), command)
            self.assertRegex(page, rf"\n\.BI? {command}\b")
            for option in set(options) - {"--help"}:
                self.assertRegex(page, rf"\n\.BI?R? [^\n]*{option}\b")
        self.assertIn("loose_blank", self.completed(script, ["explain", "loo"]))
        types = run(["explain", "json"]).stdout.decode()
        message = re.search(r"interface Message {(.*?)}", types, re.DOTALL)[1]
        for field in re.findall(r"^  (\w+):", message, re.MULTILINE):
            self.assertRegex(page, rf"\n\.BR? [^\n]*\b{field}\b")

    def completed(self, script, words):
        line = " ".join(f"'{word}'" for word in ["marl-lab", *words])
        (self.folder / "marl-lab").exists() or (self.folder / "marl-lab").symlink_to(LAB)
        command = (f"{script}\nCOMP_WORDS=({line}) COMP_CWORD={len(words)}\n_marl_lab\n"
                   'printf "%s\\n" "${COMPREPLY[@]}"')
        path = f"{self.folder}:{os.environ['PATH']}"
        return subprocess.run(["bash", "-c", command], capture_output=True, encoding="utf-8",
                              timeout=SECONDS, check=True,
                              env={**os.environ, "PATH": path}).stdout.split()


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
