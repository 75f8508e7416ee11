#!/usr/bin/env python3
"""What `cmake --install` puts in place works from there.

    install_test.py MARL

MARL stands in the build folder that is installed.
"""
import gzip
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

DOCUMENTS = "share/doc/marl"
EXPECTED = ["bin/marl", "share/man/man1/marl.1.gz", f"{DOCUMENTS}/README.md", f"{DOCUMENTS}/copyright",
            f"{DOCUMENTS}/docs/guide.md", f"{DOCUMENTS}/docs/snippets/01-hello.marl",
            "share/marl/editors/vim/syntax/marl.vim", "share/marl/editors/vscode/package.json"]
EXAMPLE = f"{DOCUMENTS}/examples/embed"
# What the example is asked, one session each, and what it says.
SESSIONS = [("2^100", "1267650600228229401496703205376"), ("K 1 2,K\\x\\y\\y", "2"), ("K 1 2", "1"),
            ("done{puts(init[hello])}0", "hello\n0"), ("(1", "match: Dangling left-parenthesis at [____b]."),
            ("one,one\\one", "cycle: Cycle detected on function one."),
            ("x{held}1,held\\todo(x\\puts(init[bye]))0", "1\nbye")]
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

    def test_a_release_is_hardened(self):
        if "CMAKE_BUILD_TYPE:STRING=Release" not in (MARL.parent / "CMakeCache.txt").read_text():
            self.skipTest("no release build")
        self.assertRegex(run("readelf", "-dW", MARL).decode(), r"FLAGS_1.*NOW PIE")
        symbols = run("readelf", "--dyn-syms", "-W", MARL).decode()
        for checked in ("__stack_chk_fail", "_chk@"):
            self.assertIn(checked, symbols)

    def check_example(self, binary):
        ran = subprocess.run([binary, *(expression for expression, said in SESSIONS)], capture_output=True, text=True)
        self.assertEqual((ran.stdout, ran.stderr), ("".join(said + "\n" for expression, said in SESSIONS), ""))
        self.assertEqual(ran.returncode, 2)

    def test_a_program_in_c_finds_the_library_with_cmake(self):
        build = self.prefix / "example"
        run("cmake", "-S", self.prefix / EXAMPLE, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        self.check_example(build / "embed")

    @unittest.skipUnless(shutil.which("pkg-config"), "no pkg-config")
    def test_a_program_in_c_finds_the_library_with_pkg_config(self):
        library, = self.prefix.glob("lib*/**/pkgconfig")
        flags = subprocess.run(["pkg-config", "--cflags", "--libs", "marl"], capture_output=True, check=True, text=True,
                               env=dict(os.environ, PKG_CONFIG_PATH=str(library))).stdout.split()
        run(os.environ["CC"], self.prefix / EXAMPLE / "embed.c", "-o", self.prefix / "embed", *flags,
            *os.environ["LDFLAGS"].split())
        self.check_example(self.prefix / "embed")

    @unittest.skipUnless(shutil.which("groff"), "no groff")
    def test_the_man_page_formats_without_a_warning(self):
        for name, text in (("marl", "a\\done{puts(init[Hello, world!])}0"), ("marl-lab", "marl-lab")):
            page = gzip.decompress((self.prefix / f"share/man/man1/{name}.1.gz").read_bytes())
            shown = subprocess.run(["groff", "-man", "-Tutf8", "-ww"], input=page,
                                   capture_output=True, check=True)
            self.assertEqual(shown.stderr, b"")
            self.assertIn(text, shown.stdout.decode())
            self.assertRegex(shown.stdout.decode(), r"\nmarl \d+\.\d+\.\d+ ")


if __name__ == "__main__":
    MARL = pathlib.Path(sys.argv.pop(1)).resolve()
    # What sanitizers of one compiler have built is not for the other one's linker.
    by_clang = re.search(r"CMAKE_CXX_COMPILER:\w+=.*clang", (MARL.parent / "CMakeCache.txt").read_text())
    os.environ["CC"], os.environ["CXX"] = ("clang", "clang++") if by_clang else ("cc", "c++")
    os.environ["LDFLAGS"] = "-fsanitize-link-c++-runtime" if by_clang else ""
    unittest.main()
