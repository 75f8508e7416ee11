#!/usr/bin/env python3
"""The library and the real programs.

    library_test.py MARL_LAB MARL

The notes of lib/ are run by `marl-lab test`, and so are the programs of examples/real with their outputs.
Here is what these can't say: rules over all files, random values that Python computes as well, programs
that write folders or talk to others. Everything runs packed, on marl itself.
"""
import collections
import decimal
import http.server
import json
import math
import pathlib
import random
import re
import string
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIB = ROOT / "lib"
REAL = ROOT / "examples/real"
sys.path.insert(0, str(ROOT / "bench"))
import real_tasks  # noqa: E402

SECONDS = 120
SHORT = {"base", "list"}  # their names have no prefix
OTHERWISE = {"with_file": "file"}  # a name that says more without one
MACHINERY = re.compile(r"(?<![a-z_])(todo|load|road|raws|leak|bond|tern|copy)(?![a-z_])")


def pieces(text):
    """The text between the commas that stand outside of brackets."""
    found, begin, stack = [], 0, []
    for i, c in enumerate(text):
        if stack and stack[-1] == "[":
            if c == "[":
                stack.append(c)
            elif c == "]":
                stack.pop()
        elif c in "([{":
            stack.append(c)
        elif c in ")]}":
            stack.pop()
        elif c == "," and not stack:
            found.append(text[begin:i].strip())
            begin = i + 1
    return found + [text[begin:].strip()]


def without_texts(piece):
    """The piece without what stands in brackets."""
    kept, depth = [], 0
    for c in piece:
        depth += c == "["
        if not depth:
            kept.append(c)
        depth -= c == "]"
    return "".join(kept)


def definitions():
    """(theme, name, definition, the notes in front of it) for all of the library."""
    for path in sorted(LIB.glob("*.marl")):
        notes = []
        for piece in pieces(path.read_text()):
            name = re.match(r"([a-z_]+)(\(\))?\\", piece)
            if name:
                yield path.stem, name[1], piece, notes
                notes = []
            else:
                notes.append(piece)


class Rules(unittest.TestCase):
    def test_names_are_unique_and_tell_their_theme(self):
        builtins = set(re.findall(r"`([a-z_]+)`", (ROOT / "docs/reference.md").read_text()))
        homes = collections.defaultdict(set)
        for theme, name, _, _ in definitions():
            homes[name].add(theme)
            self.assertNotIn(name, builtins)
            if not name.startswith("_"):
                prefixed = name.startswith(theme + "_") or OTHERWISE.get(name) == theme
                self.assertTrue(theme in SHORT or prefixed, f"{name} of {theme}")
        self.assertEqual({n: h for n, h in homes.items() if len(h) > 1}, {})

    def test_each_definition_has_a_note_and_each_public_one_a_test(self):
        for theme, name, _, notes in definitions():
            tests = [note for note in notes if note.startswith("[test:")]
            plain = [note for note in notes if not re.match(r"\[[a-z]+:", note)]
            self.assertTrue(plain and plain[-1].startswith("["), f"{name} of {theme} has no note")
            self.assertTrue(name.startswith("_") or tests, f"{name} of {theme} has no test")

    def test_nothing_is_redefined_or_computed_while_a_program_is_checked(self):
        for path in LIB.glob("*.marl"):
            for piece in pieces(path.read_text()):
                self.assertIsNone(re.match(r"(\[.\]|[A-Z])(\(\))?\\", piece), piece)
                self.assertNotIn("`", without_texts(piece))

    def test_only_owned_values_name_what_makes_programs_slow_or_unsafe(self):
        for theme, name, definition, _ in definitions():
            if theme != "owned":
                self.assertIsNone(MACHINERY.search(without_texts(definition)), f"{name} of {theme}")


def packed(source, folder):
    """The program with what it uses, as a file of the folder."""
    path, out = folder / "program.marl", folder / "packed.marl"
    path.write_text(source)
    subprocess.run([MARL_LAB, "pack", path, "-o", out], check=True, timeout=SECONDS)
    return out


def run(path, *arguments, **options):
    return subprocess.run([MARL, path, *map(str, arguments)], capture_output=True, timeout=SECONDS,
                          check=False, **options)


def letters(n):
    name = ""
    while n or not name:
        n, digit = divmod(n, 26)
        name = string.ascii_lowercase[digit] + name
    return name


def integer(n):
    return str(n) if n >= 0 else f"0{-n}"


def marl_list(items):
    out = "K"
    for item in reversed(list(items)):
        out = f"J({item},{out})"
    return out


class RandomValues(unittest.TestCase):
    """Expressions and what Python says of them, all of a theme in one program."""

    def check_all(self, uses, cases):
        with tempfile.TemporaryDirectory() as folder:
            entry = "".join(f"_case_{letters(i)};" for i in range(len(cases)))
            source = f"a\\{entry}0,[use: {uses}]" + "".join(
                f",_case_{letters(i)}()\\show({expression})" for i, (expression, _) in enumerate(cases))
            ran = run(packed(source, pathlib.Path(folder)))
        lines = ran.stdout.decode().splitlines()
        self.assertEqual(ran.stderr, b"")
        for (expression, wanted), line in zip(cases, lines, strict=True):
            self.assertEqual(line, wanted, expression)

    def test_numbers(self):
        chance, cases = random.Random(1), []
        for _ in range(60):
            x, y = (chance.getrandbits(chance.choice([5, 30, 64, 200])) * chance.choice([1, -1])
                    for _ in range(2))
            a, b, base = integer(x), integer(y), chance.randrange(2, 37)
            cases += [(f"number_and({a},{b})", integer(x & y)), (f"number_xor({a},{b})", integer(x ^ y)),
                      (f"number_or({a},{b})", integer(x | y)), (f"number_read[{x}]", a),
                      (f"number_gcd({a},{b})", integer(math.gcd(x, y))),
                      (f"number_root {abs(x)}", str(math.isqrt(abs(x)))),
                      (f"number_from_base({base},number_base({base},{a}))", a),
                      (f"number_base(16,{a})", f"[{x:x}]"), (f"number_shown {a}", f"[{x}]")]
        self.check_all("base number", cases)

    def test_reals(self):
        chance, cases = random.Random(2), []
        values = [0.1 + 0.2, 1e16, 1e23, 5e-324, -0.0, 123456789012345680.0, 2.5, -0.5]
        values += [struct.unpack("d", chance.randbytes(8))[0] for _ in range(40)]
        for x in filter(math.isfinite, values):
            exact = decimal.Context(prec=2000)
            rounded = decimal.Decimal(x).quantize(decimal.Decimal(1), decimal.ROUND_HALF_UP, exact)
            cases += [(f"number_shown(real[{x!r}])", f"[{x!r}]"),
                      (f"number_floor(real[{x!r}])", integer(math.floor(x))),
                      (f"number_round(real[{x!r}])", integer(int(rounded)))]
            if abs(x) < 1e300:
                cases.append((f"number_fixed(0,real[{x!r}])", f"[{int(rounded)}]"))
        self.check_all("base number", cases)

    def test_sorting(self):
        chance, cases = random.Random(3), []
        for size in (0, 1, 2, 3, 10, 31, 100):
            values = [chance.randrange(-20, 20) for _ in range(size)]
            pairs = [(chance.randrange(5), i) for i in range(size)]
            items = marl_list(map(integer, values))
            cases += [(f"equal(sorted({items}),{marl_list(map(integer, sorted(values)))})", "K"),
                      (f"equal(sort(x\\y\\y<x,{items}),{marl_list(map(integer, sorted(values)[::-1]))})", "K"),
                      (f"equal(map(p\\p H,sort(x\\y\\x K<(y K),{marl_list(f'V({k},{i})' for k, i in pairs)})),"
                       f"{marl_list(i for _, i in sorted(pairs, key=lambda p: p[0]))})", "K")]
        self.check_all("base list", cases)

    def test_bytes_and_text(self):
        chance, cases = random.Random(4), []
        for _ in range(60):
            p = "".join(chance.choice("aAbB ,x") for _ in range(chance.randrange(30)))
            q = "".join(chance.choice("aAb,") for _ in range(chance.randrange(1, 4)))
            words = "".join(f"|{word}" for word in p.split())
            blind = [m.start() for m in re.finditer(re.escape(q.lower()), p.lower())]
            cases += [(f"bytes_find([{q}],init[{p}])", integer(p.find(q))),
                      (f"bytes_join([|],bytes_split([{q}],init[{p}]))", f"cape[{'|'.join(p.split(q))}]"),
                      (f"bytes_build(map(w\\[|]+w,bytes_words(init[{p}])))", f"cape[{words}]"),
                      (f"bytes_replace([{q}],[-],init[{p}])", f"cape[{p.replace(q, '-')}]"),
                      (f"text_upper[{p}]", f"[{p.upper()}]"), (f"text_lower[{p}]", f"[{p.lower()}]"),
                      (f"text_cut[{p}]", f"[{p.strip()}]"),
                      (f"equal(stream_list(bytes_places_blind(0,[{q}],init[{p}])),{marl_list(blind)})", "K")]
        self.check_all("base list stream bytes text", cases)

    def test_dictionaries(self):
        chance = random.Random(5)
        steps, model = [], {}
        for i in range(2000):
            key = chance.randrange(150)
            if chance.random() < 0.6:
                model[key] = i
                steps.append(f"V(V(0,{key}),{i})")
            else:
                model.pop(key, None)
                steps.append(f"V(V(1,{key}),0)")
        other = {chance.randrange(200): 7 for _ in range(60)}
        wanted = [model, {**model, **other}, {k: v for k, v in model.items() if k in other},
                  {k: v for k, v in model.items() if k not in other},
                  {k: v for k, v in model.items() if k < 77}]
        made = ["d", "dict_join(d,e)", "dict_common(d,e)", "dict_without(d,e)", "dict_split(d,77)K"]
        balanced = ("ok\\t\\t(K,e\\x\\x(c\\n\\c(l\\r\\a{_dict_size l}b{_dict_size r}"
                    "(a+b+1=n)&((b<(3*a+3))&((a<(3*b+3))&(ok(l)&ok(r)))))))")
        shows = "".join(f"x{{{m}}}show(dict_keys x);show(dict_values x);show(ok(x H));" for m in made)
        source = (f"a\\d{{fold(step,dict_new,steps)}}e{{dict_from more}}{shows}0,[use: base list dict],"
                  "step\\d\\p\\p(q\\v\\q(t\\k\\(t=0)(dict_set(d,k,v))(dict_remove(d,k)))),"
                  f"steps\\{marl_list(steps)},{balanced},"
                  f"more\\{marl_list(f'V({k},{v})' for k, v in other.items())}")
        with tempfile.TemporaryDirectory() as folder:
            ran = run(packed(source, pathlib.Path(folder)))
        self.assertEqual(ran.stderr, b"")
        lines = ran.stdout.decode().splitlines()
        for i, m in enumerate(wanted):
            keys, values, good = lines[3 * i:3 * i + 3]
            self.assertEqual([int(k) for k in re.findall(r"\d+", keys)], sorted(m))
            self.assertEqual([int(v) for v in re.findall(r"\d+", values)], [m[k] for k in sorted(m)])
            self.assertEqual(good, "K")

    def test_json_is_read_and_written_as_python_does(self):
        chance = random.Random(6)

        def value(depth):
            if depth > 4 or chance.random() < 0.5:
                return chance.choice([
                    None, True, False, chance.randrange(-10**6, 10**6), -chance.getrandbits(100),
                    chance.random() * 10**chance.randrange(-10, 10),
                    "".join(chance.choice(['a', '"', "\\", "\n", "é", "😀", "\x01", "[", "]", "\t"])
                            for _ in range(chance.randrange(12)))])
            if chance.random() < 0.5:
                return [value(depth + 1) for _ in range(chance.randrange(6))]
            return {"".join(chance.choice('ab"\\éñ[]x') for _ in range(chance.randrange(6))): value(depth + 1)
                    for _ in range(chance.randrange(6))}
        source = ("a\\json_read(file_rest)(c\\v\\c(put(json_write v);say[];0)(say v;1)),"
                  "[use: base json file]")
        with tempfile.TemporaryDirectory() as folder:
            program = packed(source, pathlib.Path(folder))
            values = [value(0) for _ in range(200)]
            for ascii_only in (True, False):
                text = json.dumps(values, ensure_ascii=ascii_only, indent=1)
                self.assertEqual(json.loads(run(program, input=text.encode()).stdout), values)
            for broken in ("", "[1,", '{"a" 1}', "01", "1.", '"\n"', '"\\x"', "[1]]", "nul"):
                ran = run(program, input=broken.encode())
                self.assertTrue(ran.stdout.startswith(b"JSON: "), broken)


class RealPrograms(unittest.TestCase):
    def packed_real(self, name, folder):
        out = pathlib.Path(folder, name + ".marl")
        subprocess.run([MARL_LAB, "pack", REAL / out.name, "-o", out], check=True, timeout=SECONDS)
        return out

    def test_notes_and_outputs_hold(self):
        for path in (LIB, REAL):
            ran = subprocess.run([MARL_LAB, "test", path], capture_output=True, check=False, timeout=600)
            self.assertEqual(ran.returncode, 0, ran.stdout.decode())

    def test_the_site_is_what_the_other_program_makes(self):
        with tempfile.TemporaryDirectory() as folder:
            ours, theirs = pathlib.Path(folder, "ours"), pathlib.Path(folder, "theirs")
            ours.mkdir()
            theirs.mkdir()
            arguments = ["-q", "-t", "Pages & more", REAL / "pages"]
            ran = run(self.packed_real("site", folder), *arguments, ours)
            self.assertEqual((ran.returncode, ran.stderr), (0, b""))
            subprocess.run([sys.executable, ROOT / "bench/real/site.py", *arguments, theirs], check=True)
            self.assertEqual({p.name: p.read_text() for p in ours.iterdir()},
                             {p.name: p.read_text() for p in theirs.iterdir()})

    def test_the_file_server_gives_files_and_nothing_above_its_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            port = real_tasks.free_port()
            server = subprocess.Popen([MARL, self.packed_real("fileserver", folder), "-r", REAL / "pages",
                                       "-c", "8", str(port)], stdout=subprocess.PIPE)
            try:
                server.stdout.readline()
                real_tasks.ask(REAL / "pages", port, 4)
                connection = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
                answers = []
                for method, target in (("GET", "/more"), ("GET", "/../README.md"), ("POST", "/"), ("HEAD", "/")):
                    connection.request(method, target)
                    answer = connection.getresponse()
                    answers.append((answer.status, len(answer.read()) > 0, answer.getheader("location")))
                    connection.close()
                self.assertEqual(answers, [(301, True, "/more/"), (404, True, None), (405, True, None),
                                           (200, False, None)])
                self.assertEqual(server.wait(SECONDS), 0)
            finally:
                server.kill()
                server.communicate()

    def test_the_client_understands_lengths_chunks_and_ends(self):
        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                self.send_response(203)
                if self.path == "/chunks":
                    self.send_header("Transfer-Encoding", "chunked")
                    self.end_headers()
                    self.wfile.write(b"6\r\nhello \r\n32\r\n" + b"world" * 10 + b"\r\n0\r\n\r\n")
                    return
                if self.path == "/length":
                    self.send_header("Content-Length", "5")
                self.end_headers()
                self.wfile.write(b"hello")
                self.close_connection = True

            def log_message(self, *_):
                pass

        with http.server.HTTPServer(("127.0.0.1", 0), Handler) as server, \
                tempfile.TemporaryDirectory() as folder:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            url = f"http://127.0.0.1:{server.server_port}/"
            source = "a\\" + "".join(f"r{{must(http_get[{url}{path}])}}show(http_status r);show(http_body r);"
                                     for path in ("length", "end", "chunks")) + "0,[use: base http]"
            ran = run(packed(source, pathlib.Path(folder)))
            server.shutdown()
        self.assertEqual(ran.stdout.decode().split(), [
            "203", "cape[hello]", "203", "cape[hello]", "203", "cape[hello", "world" * 10 + "]"])


if __name__ == "__main__":
    MARL = str(pathlib.Path(sys.argv.pop(2)).resolve())
    MARL_LAB = str(pathlib.Path(sys.argv.pop(1)).resolve())
    unittest.main()
