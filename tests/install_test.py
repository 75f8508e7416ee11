#!/usr/bin/env python3
"""What `cmake --install` puts in place works from there.

    install_test.py MARL

MARL stands in the build folder that is installed.
"""
import gzip
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

DOCUMENTS = "share/doc/marl"
EXPECTED = ["bin/marl", "share/man/man1/marl.1.gz", f"{DOCUMENTS}/README.md", f"{DOCUMENTS}/copyright",
            f"{DOCUMENTS}/docs/guide.md", f"{DOCUMENTS}/docs/snippets/01-hello.marl",
            "share/marl/editors/vim/syntax/marl.vim", "share/marl/editors/vscode/package.json"]
EXPECTED_WITH_LAB = ["libexec/marl/marl-lab-run", "share/marl/base.marl"]


def run(*command):
    return subprocess.run(command, capture_output=True, check=True).stdout


class Installation(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.prefix = pathlib.Path(folder.name)
        run("cmake", "--install", MARL.parent, "--prefix", self.prefix)

    def test_everything_is_in_its_place(self):
        has_lab = (self.prefix / "bin/marl-lab").is_file()
        expected = EXPECTED + (EXPECTED_WITH_LAB if has_lab else [])
        missing = [name for name in expected if not (self.prefix / name).is_file()]
        self.assertEqual(missing, [])

    def test_the_installed_marl_runs_an_installed_example(self):
        examples = self.prefix / DOCUMENTS / "examples"
        self.assertEqual(run(self.prefix / "bin/marl", examples / "hello.marl"),
                         (examples / "hello.out").read_bytes())
        if (self.prefix / "bin/marl-lab").is_file():
            for name in ("mergesort", "invoice/main"):
                self.assertEqual(run(self.prefix / "bin/marl-lab", "run", examples / f"{name}.marl"),
                                 (examples / f"{name}.out").read_bytes())

    @unittest.skipUnless(shutil.which("dpkg-deb") and shutil.which("file"), "no dpkg-dev, or no file")
    def test_the_debian_package_holds_what_is_installed(self):
        run("cpack", "-G", "DEB", "-B", self.prefix, "--config", MARL.parent / "CPackConfig.cmake")
        package, = self.prefix.glob("*.deb")
        listed = run("dpkg-deb", "-c", package).decode()
        self.assertEqual([name for name in EXPECTED if f" ./usr/{name}\n" not in listed], [])
        self.assertIn("libc6", run("dpkg-deb", "-f", package, "Depends").decode())

    @unittest.skipUnless(shutil.which("groff"), "no groff")
    def test_the_man_page_formats_without_a_warning(self):
        for name, text in (("marl", "a\\done{puts(init[Hello, world!])}0"), ("marl-lab", "marl-lab")):
            page = gzip.decompress((self.prefix / f"share/man/man1/{name}.1.gz").read_bytes())
            shown = subprocess.run(["groff", "-man", "-Tutf8", "-ww"], input=page,
                                   capture_output=True, check=True)
            self.assertEqual(shown.stderr, b"")
            self.assertIn(text, shown.stdout.decode())


if __name__ == "__main__":
    MARL = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main()
