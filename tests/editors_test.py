#!/usr/bin/env python3
"""The TextMate grammar of editors/vscode gives every byte of the examples a sensible scope, and Vim the
bytes of a few programs their groups.

    editors_test.py MARL

MARL is not started; every script of this folder gets it. `scopes` applies the grammar's own patterns as
an editor does, line by line: of the rules that are open for matches, the earliest match wins, then
the first rule; the end of the open rule goes before its patterns, or behind them where it says so.
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
GRAMMAR = json.loads((ROOT / "editors/vscode/syntaxes/marl.tmLanguage.json").read_text())
sys.path.insert(0, str(ROOT / "tools"))
from generate_editors import builtin_names  # noqa: E402

# Without the programs that show a fault.
PROGRAMS = [path for folder in ("examples", "docs/snippets")
            for path in sorted((ROOT / folder).glob("*.marl"))
            if not path.with_suffix(".err").exists()]


def flat(patterns):
    """The rules that match something, with groups and includes resolved."""
    for rule in patterns:
        if "include" in rule:
            rule = GRAMMAR["repository"][rule["include"][1:]]
        if "match" in rule or "begin" in rule:
            yield rule
        else:
            yield from flat(rule["patterns"])


def candidates(open_rule):
    rules = [(rule.get("match") or rule["begin"], rule) for rule in flat(open_rule["patterns"])]
    if "end" in open_rule:
        end = (open_rule["end"], None)
        rules = rules + [end] if open_rule.get("applyEndPatternLast") else [end] + rules
    return rules


def earliest(rules, line, at):
    found = [(match.start(), order, match, rule) for order, (pattern, rule) in enumerate(rules)
             if (match := re.compile(pattern).search(line, at))]
    return min(found, key=lambda each: each[:2], default=None)


def captured(rule, kind):
    return rule.get(kind, {}).get("0", {}).get("name", rule.get("name"))


def scopes(text):
    """One scope, or None, for each character of the text, and how many rules are open at its end."""
    result, stack = [], [GRAMMAR]
    for line in text.splitlines(keepends=True):
        at = 0
        while found := earliest(candidates(stack[-1]), line, at):
            start, _, match, rule = found
            inside = stack[-1].get("name") if len(stack) > 1 else None
            result += [inside] * (start - at)
            if rule is None:
                scope = captured(stack.pop(), "endCaptures")
            elif "begin" in rule:
                stack.append(rule)
                scope = captured(rule, "beginCaptures")
            else:
                scope = rule["name"]
            result += [scope] * (match.end() - start)
            at = match.end()
        result += [stack[-1].get("name") if len(stack) > 1 else None] * (len(line) - at)
    return result, len(stack) - 1


def in_text(program):
    """For each character, whether it is text: in balanced brackets, these included."""
    depth = 0
    for character in program:
        depth += character == "["
        yield depth > 0
        depth -= character == "]"


def short(scope):
    return ".".join(scope.split(".")[:2])


SPOTS = [  # a program, and the scope of each of its tokens in order, one a run of equal scopes
    ("a\\f 12", ["variable.parameter", "keyword.operator", "variable.other", "constant.numeric"]),
    ("a\\0,go\\x\\[a[b]c]", ["variable.parameter", "keyword.operator", "constant.numeric",
                             "punctuation.separator", "entity.name", "keyword.operator",
                             "variable.parameter", "keyword.operator", "string.quoted"]),
    ("K,\n [+]\\plus", ["constant.language", "punctuation.separator", "entity.name",
                        "keyword.operator", "support.function"]),
    ("K,\n[a [b],], go\\K", ["constant.language", "punctuation.separator", "comment.block",
                             "punctuation.separator", "entity.name", "keyword.operator",
                             "constant.language"]),
    ("f(x,[a],go\\x)", ["variable.other", "punctuation.section", "variable.other",
                        "punctuation.separator", "string.quoted", "punctuation.separator",
                        "variable.parameter", "keyword.operator", "variable.other",
                        "punctuation.section"]),
    ("p q{r}]", ["variable.parameter", "keyword.operator", "variable.other", "keyword.operator",
                 "invalid.illegal"]),
    ("putsx puts", ["variable.other", "support.function"]),
]


class Grammar(unittest.TestCase):
    def test_tokens_get_the_scopes_of_their_roles(self):
        for program, expected in SPOTS:
            runs = []
            for character, scope in zip(program, scopes(program)[0]):
                if not character.isspace() and (not runs or runs[-1] != scope):
                    runs.append(scope)
            merged = [short(scope) for scope in runs]
            merged = [each for i, each in enumerate(merged) if i == 0 or each != merged[i - 1]]
            self.assertEqual(merged, expected, program)

    def test_operators_of_one_level_share_it(self):
        levels = {1: ";\\", 2: "?", 3: "&|", 4: "=<>#", 5: "@", 6: "+-:.", 7: "*/%'", 8: "^",
                  10: "~!$\"`"}
        for level, operators in levels.items():
            for operator in operators:
                self.assertIn(f".level-{level}.", scopes(operator)[0][0], operator)

    def test_the_programs_are_coloured_to_the_last_byte(self):
        builtins = set(builtin_names())
        self.assertGreater(len(PROGRAMS), 40)
        for path in PROGRAMS:
            program = path.read_bytes().decode("latin-1")
            with self.subTest(path.name):
                found, open_rules = scopes(program)
                # Behind a note at the end a definition could still follow.
                ends_in_note = program.rstrip().endswith("]") and "comment" in found[-2]
                self.assertEqual((len(found), open_rules), (len(program), int(ends_in_note)))
                for at, (character, scope, text) in enumerate(zip(program, found, in_text(program))):
                    where = f"{character!r} at {at}: {scope}"
                    operator = "entity.name.function.operator.marl"
                    self.assertTrue(text == (scope or "").startswith(("string", "comment")) or
                                    scope == operator, where)
                    self.assertTrue(scope or character.isspace(), where)
                    self.assertFalse((scope or "").startswith("invalid"), where)
                for word in re.finditer(r"[a-z_]{2,}", program):
                    scope = found[word.start()]
                    if scope.startswith(("string", "comment", "variable.parameter")):
                        continue
                    self.assertEqual(word[0] in builtins, scope.startswith("support.function"),
                                     f"{word[0]} at {word.start()}: {scope}")


class Indentation(unittest.TestCase):
    def test_what_a_line_begins_stands_further_in(self):
        rules = json.loads((ROOT / "editors/vscode/language-configuration.json").read_text())
        more, less = (re.compile(rules["indentationRules"][f"{name}IndentPattern"])
                      for name in ("increase", "decrease"))
        for line, begins, ends in [
                ("a\\", True, False), ("next()\\ ", True, False), ("go\\x\\y\\", True, False),
                ("  f(", True, False), ("inc\\n\\n+1,", False, False), ("  show x;", False, False),
                ("[note\\", False, False), ("  )(x)", False, True), ("  x{1}", False, False)]:
            with self.subTest(line):
                self.assertEqual((bool(more.search(line)), bool(less.search(line))), (begins, ends))


VIM_SPOTS = [  # a program, and the group of each of its tokens in order
    ("a\\0,\n\n[b [c]],\n\n\ngo\\x\\[d]", "Parameter Lambda Number Separator Note NestedNote Note Separator "
     "Definition Lambda Parameter Lambda Text"),
    ("[a\n[b]],\n[+]\\plus,[c],\nf(x,\n\n[d])", "Note NestedNote Note Separator OperatorDefinition Lambda "
     "Builtin Separator Note Separator Local Bracket Local Comma Text Bracket"),
    ("[a] 1,\nK\\x]", "Text Number Separator Definition Lambda Local Stray"),
]
VIM_GROUPS = r"""
let names = []
for at in range(1, line("$"))
  for column in range(1, len(getline(at)))
    call add(names, synIDattr(synID(at, column, 1), "name"))
  endfor
endfor
call writefile(names, $GROUPS)
"""


@unittest.skipUnless(shutil.which("vim"), "no vim")
class Vim(unittest.TestCase):
    def groups(self, program):
        """The group of each byte but the newlines."""
        with tempfile.TemporaryDirectory() as folder:
            source, script, result = (pathlib.Path(folder, name) for name in ("a.marl", "groups.vim", "groups"))
            source.write_text(program, encoding="latin-1")
            script.write_text(VIM_GROUPS)
            commands = ["syntax on", f"set runtimepath^={ROOT}/editors/vim", "set filetype=marl",
                        f"let $GROUPS='{result}'", f"source {script}", "quit!"]
            subprocess.run(["vim", "-u", "NONE", "-N", "-es", *(f"+{each}" for each in commands), source],
                           stdin=subprocess.DEVNULL, check=False, timeout=60)
            return result.read_text().splitlines()

    def test_tokens_get_the_groups_of_their_roles(self):
        for program, expected in VIM_SPOTS:
            names = [each.removeprefix("marl") for each in self.groups(program)]
            runs = [each for at, each in enumerate(names) if each and (at == 0 or each != names[at - 1])]
            self.assertEqual(runs, expected.split(), program)

    def test_notes_of_the_library_are_notes(self):
        for path in sorted((ROOT / "lib").glob("*.marl")):
            text = path.read_text(encoding="latin-1")
            names = iter(self.groups(text))
            groups = [None if character == "\n" else next(names) for character in text]
            for note in re.finditer(r"^\[", text, re.MULTILINE):
                is_note = groups[note.start()] in ("marlNote", "marlNestedNote", "marlOperatorDefinition")
                self.assertTrue(is_note, f"{path.name}:{text[:note.start()].count(chr(10)) + 1}")


if __name__ == "__main__":
    del sys.argv[1]
    unittest.main()
