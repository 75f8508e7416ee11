#!/usr/bin/env python3
"""marl-lab serve, as Neovim talked to it, and what that session doesn't show.

    serve_test.py MARL_LAB MARL

neovim_session.jsonl was recorded between Neovim 0.7, with editors/neovim/marl.lua, and the server: a
document is opened, looked at, changed, mended and formatted as it is saved, and a name changed; it is
read anew, a second one is opened, and the client goes. Of the completions the first are kept.
"""
import json
import pathlib
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SECONDS = 60
URI = "file:///p.marl"
PROGRAM = "a\\x{1}twice(inc,x),\n\n[Calls f on what it gives for x.],\ntwice\\f\\x\\f(f x),\ninc\\n\\n+1"


def framed(message):
    body = json.dumps(message).encode()
    return b"Content-Length: %d\r\n\r\n" % len(body) + body


def unframed(data):
    messages = []
    while data:
        head, _, rest = data.partition(b"\r\n\r\n")
        size = int(head.split(b":")[1])
        messages.append(json.loads(rest[:size]))
        data = rest[size:]
    return messages


def serve_bytes(data):
    """The server's messages, and its exit status."""
    run = subprocess.run([LAB, "serve"], input=data, capture_output=True, timeout=SECONDS,
                         check=False)
    return unframed(run.stdout), run.returncode


def request(identity, method, **parameters):
    return {"jsonrpc": "2.0", "id": identity, "method": method, "params": parameters}


def notice(method, **parameters):
    return {"jsonrpc": "2.0", "method": method, "params": parameters}


BEGIN = [request(0, "initialize", capabilities={}), notice("initialized")]
END = [request(-1, "shutdown"), notice("exit")]


def serve(messages):
    """What comes back for messages within a session."""
    answers, status = serve_bytes(b"".join(map(framed, BEGIN + messages + END)))
    assert status == 0, status
    return [one for one in answers if one.get("id") not in (0, -1)]


def opened(text):
    return notice("textDocument/didOpen", textDocument={"uri": URI, "text": text, "version": 1})


def changed(version, *changes):
    return notice("textDocument/didChange", textDocument={"uri": URI, "version": version},
                  contentChanges=list(changes))


def place(line, character):
    return {"line": line, "character": character}


def ask(text, method, line=0, character=0, **more):
    """The answer to one question about a place, result or error."""
    question = request(1, "textDocument/" + method, textDocument={"uri": URI},
                       position=place(line, character), **more)
    answer = next(one for one in serve([opened(text), question]) if one.get("id") == 1)
    return answer.get("result", answer.get("error"))


class Client:
    """A client that waits for what the server says before it goes on."""

    def __init__(self):
        self.server = subprocess.Popen([LAB, "serve"], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE)

    def send(self, *messages):
        self.server.stdin.write(b"".join(map(framed, messages)))
        self.server.stdin.flush()

    def receive(self):
        head = self.server.stdout.readline()
        self.server.stdout.readline()
        return json.loads(self.server.stdout.read(int(head.split(b":")[1])))

    def end(self):
        self.server.stdin.close()
        self.server.stdout.close()
        return self.server.wait(SECONDS)


def applied(text, edits):
    """A text after a rename's edits."""
    lines = text.split("\n")
    changes = edits["changes"][URI]
    for edit in sorted(changes, key=lambda one: -one["range"]["start"]["character"]):
        start, end = edit["range"]["start"], edit["range"]["end"]
        line = lines[start["line"]]
        lines[start["line"]] = line[:start["character"]] + edit["newText"] + line[end["character"]:]
    return "\n".join(lines)


class Serve(unittest.TestCase):
    def test_the_recorded_session(self):
        version = subprocess.run([LAB, "--version"], capture_output=True, check=True, text=True).stdout.split()[1]
        session = [json.loads(line.replace("@VERSION@", version))
                   for line in (HERE / "neovim_session.jsonl").read_text().splitlines()]
        methods = {one["message"].get("method", "") for one in session}
        for method in ("hover", "definition", "references", "documentSymbol", "completion",
                       "signatureHelp", "codeAction", "rangeFormatting", "formatting", "rename"):
            self.assertIn("textDocument/" + method, methods)
        client = Client()
        for one in session:
            if one["from"] == "client":
                client.send(one["message"])
                continue
            answer, wanted = client.receive(), one["message"]
            if isinstance(answer.get("result"), list) and answer["result"][0].get("label"):
                del answer["result"][len(wanted["result"]):]  # the first completions do
            self.assertEqual(answer, wanted)
        self.assertEqual(client.end(), 0)

    def test_a_new_name_keeps_to_its_scope(self):
        renames = [
            ("a\\x+(x\\x)1", 0, 2, "y", "a\\x+(x\\x)1"),  # no binder: an undefined name
            ("a\\x{2}x+(x\\x)1", 0, 6, "y", "a\\y{2}y+(x\\x)1"),
            ("a\\x{2}x+(x\\x)1", 0, 10, "y", "a\\x{2}x+(y\\y)1"),
            ("a\\p q{V 1 2}p+q", 0, 4, "r", "a\\p r{V 1 2}p+r"),
            (PROGRAM, 0, 7, "thrice", PROGRAM.replace("twice", "thrice")),
            (PROGRAM, 3, 8, "y", PROGRAM.replace("f\\x\\f(f x)", "f\\y\\f(f y)")),
        ]
        for text, line, character, fresh, after in renames:
            with self.subTest(text):
                edits = ask(text, "rename", line, character, newName=fresh)
                self.assertEqual(applied(text, edits) if "changes" in edits else text, after)

    def test_a_new_name_that_would_mean_something_else_is_refused(self):
        for text, character, fresh in [("a\\x{2}y{3}x+y", 2, "y"), ("a\\one,one\\1,two\\2", 2, "two"),
                                       ("a\\one,one\\1", 2, "rank"), ("a\\one,one\\1", 2, "o"),
                                       ("a\\rank 1", 2, "length"), ("a\\one,one\\1", 2, "One"),
                                       ("a\\x{2}x", 2, "")]:
            with self.subTest((text, fresh)):
                self.assertIn("message", ask(text, "rename", 0, character, newName=fresh))

    def test_columns_count_in_the_units_of_the_protocol(self):
        text = "a\\say[\u00e4\U0001f600]+missing,say\\t\\t"
        client = Client()
        client.send(*BEGIN, opened(text))
        client.receive()
        told = client.receive()["params"]["diagnostics"]
        self.assertEqual([(one["range"]["start"]["character"], one["code"]) for one in told],
                         [(11, "alive")])
        client.end()
        self.assertEqual(ask(text, "hover", 0, 11)["range"]["start"]["character"], 11)

    def test_completion_knows_where_names_stand(self):
        for text, character, has in [
                ("a\\dou,double\\n\\n", 5, {"double", "plus"}), ("a\\count{1}cou", 13, {"count"}),
                ("a\\say[dou],double\\n\\n", 9, set()), ("a\\0,[a dou],double\\n\\n", 10, set()),
                ("a\\say[dou", 9, set()), ("a\\f([x],dou", 11, {"plus"})]:
            with self.subTest(text):
                labels = {one["label"]: one for one in ask(text, "completion", 0, character)}
                self.assertLessEqual(has, set(labels))
                self.assertTrue(has or not labels)
        self.assertEqual(labels["trim"]["detail"], "trim(x, I first, I last)")
        self.assertIn("the slice from", labels["trim"]["documentation"]["value"])

    def test_a_call_shows_its_parameters(self):
        program = ",both\\left_one\\right_one\\left_one+right_one"
        for text, label, active in [
                ("a\\both(", "both(left_one, right_one)", 0), ("a\\both(f(1,2),", None, 1),
                ("a\\trim([a,b(],1,", "trim(x, I first, I last)", 2), ("a\\1+(2", "", 0),
                ("a\\both([x,", "", 0), ("a\\both(1,(2)+3", None, 1), ("a\\x{1}x(", "", 0),
                ("a\\plus(1,", "plus(a, b)", 1), ("a\\both(1,\nff\\2", "", 0), ("a\\both(1,\nf\\2", None, 1)]:
            with self.subTest(text):
                line = text.split("\n")[-1]
                found = ask(text + program, "signatureHelp", text.count("\n"), len(line))
                if label == "":
                    self.assertIsNone(found)
                    continue
                self.assertEqual(found["signatures"][0]["label"], label or "both(left_one, right_one)")
                self.assertEqual(found["activeParameter"], active)

    def test_a_range_is_laid_out_alone(self):
        text = "a\\ 1,\n\nff\\n\\ n,\n\ngg\\n\\ n\n"
        edits = ask(text, "rangeFormatting", range={"start": place(2, 0), "end": place(2, 1)})
        self.assertEqual([(one["range"], one["newText"]) for one in edits],
                         [({"start": place(2, 0), "end": place(2, 7)}, "ff\\n\\n")])
        self.assertIn("carriage return", ask("a\\\r\n 1", "formatting")["message"])

    def test_a_message_offers_what_would_mend_it(self):
        for text, titles in [("a\\sing 2", ["Write `sin`", "Write `sinh`"]),
                             ("a\\(1==2)3 4", ["Write `=` for `==`"]), ("a\\1", [])]:
            actions = ask(text, "codeAction", range={"start": place(0, 0), "end": place(0, 9)})
            self.assertEqual([one["title"] for one in actions], titles)
            for one in actions:
                self.assertEqual(one["isPreferred"], len(actions) == 1)
                self.assertEqual(one["diagnostics"][0]["code"], "alive")
                self.assertNotEqual(applied(text, one["edit"]), text)

    def test_a_program_with_open_brackets_still_has_its_names(self):
        text = "a\\twice(inc,\n\ntwice\\f\\f(f 1),\n\ninc\\n\\n+1\n"
        self.assertEqual(ask(text, "definition", 2, 8)["range"]["start"],
                         {"line": 2, "character": 6})
        names = [one["name"] for one in ask(text, "documentSymbol", 0, 0)]
        self.assertLessEqual({"twice", "inc"}, set(names))

    def test_no_message_ends_the_server(self):
        begin = b"".join(map(framed, BEGIN))
        deep = b'{"method":"x","id":' + b"[" * 200000
        hover = {"textDocument": {"uri": URI}, "position": place(0, 1)}
        for data, code in [
                (b"Content-Length: -5\r\n\r\n", -32700),
                (b"Content-Length: 100000000000000000000\r\n\r\n", -32700),
                (framed([1, 2]), -32600), (framed(7), -32600), (framed({}), -32600),
                (framed({"id": 1, "method": 3}), -32600),
                (framed({"id": [1], "method": "shutdown"}), -32600),
                (b"Content-Length: 4\r\n\r\n{\"a\"", -32700),
                (b"Content-Length: %d\r\n\r\n" % len(deep) + deep, -32700),
                (framed(request(1, "no/such")), -32601),
                (framed(request(1, "textDocument/hover")), -32602),
                (framed(request(1, "textDocument/hover", **hover)), -32803),
                (framed(opened("a\\0")) + framed(changed(2)) +
                 framed(request(1, "textDocument/hover", **{**hover, "position": 5})), -32602),
                (framed(request(1, "initialize")), -32600)]:
            with self.subTest(data[:60]):
                answers, status = serve_bytes(begin + data + b"".join(map(framed, END)))
                self.assertEqual(status, 0)
                self.assertEqual([one["error"]["code"] for one in answers if "error" in one], [code])
        answers, status = serve_bytes(framed(request(1, "shutdown")))
        self.assertEqual((answers[0]["error"]["code"], status), (-32002, 1))
        lower = framed(BEGIN[0]).replace(b"Content-Length", b"content-length")
        self.assertEqual(len(serve_bytes(lower)[0]), 1)

    def test_half_a_surrogate_pair_is_one_character(self):
        client = Client()
        client.send(*BEGIN, opened("a\\[\ud83d]+nix"))
        client.receive()
        told = client.receive()["params"]["diagnostics"]
        self.assertEqual(told[0]["range"]["start"], place(0, 6))
        client.end()

    def test_changes_of_parts_that_come_together_are_told_of_once(self):
        client = Client()
        client.send(*BEGIN)
        client.receive()
        parts = [changed(version, {"range": {"start": place(0, 2), "end": place(0, 2)}, "text": "1+"})
                 for version in range(2, 102)]
        client.send(opened("a\\0"), *parts, changed(102, *(
            {"range": {"start": place(0, 2), "end": place(0, 3)}, "text": text}
            for text in ("[\u00e4]", "nix+["))))
        told = client.receive()
        while told["params"]["version"] < 102:  # the pipe may have been empty for a moment
            told = client.receive()
        self.assertEqual([one["message"] for one in told["params"]["diagnostics"]],
                         ["`nix` is not defined."])
        client.end()


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
