#!/usr/bin/env python3
"""marl-lab serve, as Neovim talked to it, and what that session doesn't show.

    serve_test.py MARL_LAB MARL

neovim_session.jsonl was recorded between Neovim 0.7 and the server: a document is opened, looked at,
changed while it is typed, formatted, and a name changed; then the client goes.
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


def serve(messages):
    """The server's messages, and its exit status."""
    run = subprocess.run([LAB, "serve"], input=b"".join(map(framed, messages)),
                         capture_output=True, timeout=SECONDS, check=False)
    return unframed(run.stdout), run.returncode


def request(identity, method, **parameters):
    return {"jsonrpc": "2.0", "id": identity, "method": method, "params": parameters}


def opened(text):
    return {"jsonrpc": "2.0", "method": "textDocument/didOpen",
            "params": {"textDocument": {"uri": URI, "text": text, "version": 0}}}


def ask(text, method, line, character, **more):
    """The answer to one question about a place, result or error."""
    question = request(1, "textDocument/" + method, textDocument={"uri": URI},
                       position={"line": line, "character": character}, **more)
    answer = serve([opened(text), question])[0][-1]
    return answer.get("result", answer.get("error"))


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
        session = [json.loads(line)
                   for line in (HERE / "neovim_session.jsonl").read_text().splitlines()]
        sent = [one["message"] for one in session if one["from"] == "client"]
        expected = [one["message"] for one in session if one["from"] == "server"]
        methods = {message.get("method", "") for message in sent}
        for method in ("hover", "definition", "references", "documentSymbol", "completion",
                       "formatting", "rename"):
            self.assertIn("textDocument/" + method, methods)
        answers, status = serve(sent)
        self.assertEqual(status, 0)
        for answer, wanted in zip(answers, expected, strict=True):
            self.assertEqual(answer, wanted)

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
        diagnostics = serve([opened(text)])[0][0]["params"]["diagnostics"]
        self.assertEqual([(one["range"]["start"]["character"], one["code"]) for one in diagnostics],
                         [(11, "alive")])

    def test_a_program_with_open_brackets_still_has_its_names(self):
        text = "a\\twice(inc,\n\ntwice\\f\\f(f 1),\n\ninc\\n\\n+1\n"
        self.assertEqual(ask(text, "definition", 2, 8)["range"]["start"],
                         {"line": 2, "character": 6})
        names = [one["name"] for one in ask(text, "documentSymbol", 0, 0)]
        self.assertLessEqual({"twice", "inc"}, set(names))

    def test_what_the_server_does_not_know_is_an_error(self):
        answers, status = serve([request(1, "no/such"), request(2, "textDocument/hover"),
                                 request(3, "textDocument/hover", textDocument={"uri": "file:///x"}),
                                 {"jsonrpc": "2.0", "method": "$/unknown"}])
        self.assertEqual([sorted(one) for one in answers], [["error", "id", "jsonrpc"]] * 3)
        self.assertEqual(status, 1)


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
