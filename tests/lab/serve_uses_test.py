#!/usr/bin/env python3
"""marl-lab serve in a folder of several files, with a library.

    serve_uses_test.py MARL_LAB MARL
"""
import pathlib
import sys
import tempfile
import unittest

import packing_test
import serve_test
from serve_test import notice, place, request

MAIN = r"""a\say(total(J(1,J(2,K))));0,

[use: list ./tax.marl],

[keep: with_tax],

total\l\sum(map(with_tax,l)),

say\x\y{puts x}I"""
TAX = r"""[Taxes.],

[A price with the tax.],
[test: with_tax 100 -> 119],
with_tax\n\n*119/100,

twice\n\with_tax(with_tax n)"""
LIST = r"""[Lists.],

[The sum of all.],
[test: sum K -> 0],
sum\l\l(0,h\t\h+sum(t)),
map\f\l\_map(f,l),
_map\f\l\l(K,h\t\J(f h,map(f,t)))"""
EXTRA = "[More.],\n[Nothing.],\nnothing\\0"


class Uses(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        for name, text in (("main", MAIN), ("tax", TAX), ("lib/list", LIST), ("lib/extra", EXTRA)):
            path = self.folder / "project" / f"{name}.marl"
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        (self.folder / "project/main.txt").write_text(MAIN)
        (self.folder / "project/old.marl").mkdir()
        installed = packing_test.Installed(self.folder / "installed", LAB)
        installed.library(self.folder / "project/lib")
        serve_test.LAB = installed.lab

    def uri(self, name):
        return (self.folder / name).as_uri()

    def session(self, *messages):
        begin = [request(0, "initialize", rootUri=self.uri("project"), capabilities={}),
                 notice("initialized")]
        answers, status = serve_test.serve_bytes(
            b"".join(map(serve_test.framed, [*begin, *messages, *serve_test.END])))
        self.assertEqual(status, 0)
        return answers

    def opened(self, text, name="project/main.marl"):
        return notice("textDocument/didOpen", textDocument={"uri": self.uri(name), "text": text})

    def ask(self, method, line, character, text=MAIN, **more):
        question = request(1, "textDocument/" + method, position=place(line, character),
                           textDocument={"uri": self.uri("project/main.marl")}, **more)
        answers = self.session(self.opened(text), question)
        answer = next(one for one in answers if one.get("id") == 1)
        return answer.get("result", answer.get("error"))

    def test_a_definition_is_found_in_a_file_and_in_the_library(self):
        found = self.ask("definition", 6, 18)
        self.assertEqual(found["uri"], self.uri("project/tax.marl"))
        self.assertEqual(found["range"]["start"], place(4, 0))
        found = self.ask("definition", 6, 10)
        self.assertEqual(found["uri"], self.uri("installed/share/marl/list.marl"))

    def test_hover_shows_the_note_and_where_it_is_from(self):
        text = self.ask("hover", 6, 18)["contents"]["value"]
        self.assertIn("with_tax\\n\\", text)
        self.assertIn("A price with the tax.", text)
        self.assertIn("From `" + str(self.folder / "project/tax.marl") + "`.", text)
        self.assertNotIn("test:", text)
        self.assertIn("From the library's `list`.", self.ask("hover", 6, 10)["contents"]["value"])

    def test_completion_adds_the_use(self):
        items = {one["label"]: one for one in self.ask("completion", 6, 8)}
        self.assertNotIn("additionalTextEdits", items["with_tax"])
        self.assertNotIn("additionalTextEdits", items["sum"])
        self.assertNotIn("_map", items)
        edit, = items["nothing"]["additionalTextEdits"]
        self.assertEqual((edit["newText"], edit["range"]["start"]), (" extra", place(2, 21)))
        items = self.ask("completion", 0, 2, "a\\\n0")
        edit, = next(one for one in items if one["label"] == "nothing")["additionalTextEdits"]
        self.assertEqual((edit["newText"], edit["range"]["start"]), (",\n\n[use: extra]", place(1, 1)))
        themes = self.ask("completion", 2, 6)
        self.assertEqual([one["label"] for one in themes], ["extra", "list"])

    def test_references_and_rename_go_over_all_files(self):
        found = self.ask("references", 6, 18)
        places = sorted((one["uri"].rsplit("/", 1)[1], one["range"]["start"]["line"]) for one in found)
        self.assertEqual(places, [("main.marl", 4), ("main.marl", 6), ("tax.marl", 3),
                                  ("tax.marl", 4), ("tax.marl", 6), ("tax.marl", 6)])
        changes = self.ask("rename", 6, 18, newName="taxed")["changes"]
        self.assertEqual({uri.rsplit("/", 1)[1]: len(edits) for uri, edits in changes.items()},
                         {"main.marl": 2, "tax.marl": 4})
        self.assertIn("already", self.ask("rename", 6, 18, newName="twice")["message"])
        self.assertIn("library", self.ask("rename", 6, 10, newName="total_of")["message"])

    def test_what_is_wrong_in_a_used_file_is_told_at_its_name(self):
        faulty = self.opened(TAX.replace("n*119", "m*119"), "project/tax.marl")
        client = serve_test.Client()
        client.send(*serve_test.BEGIN, self.opened(MAIN), faulty)
        answers = [client.receive() for _ in range(3)]
        client.end()
        told = {one["params"]["uri"]: one["params"]["diagnostics"]
                for one in answers if "params" in one}
        message, = told[self.uri("project/main.marl")]
        self.assertEqual(message["range"]["start"], place(2, 11))
        self.assertIn("`m` is not defined", message["message"])

    def test_a_name_of_the_library_can_be_used_by_a_quick_fix(self):
        text = "a\\nothing"
        actions = self.ask("codeAction", 0, 2, text,
                           range={"start": place(0, 2), "end": place(0, 2)})
        self.assertIn("Use `extra`", [one["title"] for one in actions])


if __name__ == "__main__":
    LAB = pathlib.Path(sys.argv.pop(1)).resolve()
    sys.argv.pop(1)
    unittest.main()
