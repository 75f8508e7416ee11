#!/usr/bin/env python3
"""Goes through runs with `marl-lab debug`, on a terminal's lines and as a debug adapter.

debug_session.jsonl is a recorded session of a client of the Debug Adapter Protocol, and what has to come
of it: an answer's fields are compared as far as they are given there. Its first line tells the client.

    debug_test.py MARL_LAB MARL
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

LAB = sys.argv[1]
HERE = pathlib.Path(__file__).parent
FACT = "a\\fact 3,\n\nfact\\n\\(n=0)1(n*fact(n-1))\n"
EFFECTS = "a\\say(1)+say(2)*0+rand*0,\n\nsay\\n\\puts(init(lisp n))\n"

# A program, lines of commands, and patterns that must come in this order.
LINES = [
    (FACT, ["n fact", "p", "s"],
     [r"1  \S+:1:3", r"a\\«fact 3»", r"= «fact\(3\)»", r":3:17", r"3\*«fact\(2\)»", r"n = 2",
      r"fact 2", r"fact 3"]),
    (FACT, ["n fact", "b", "f", "b 100", "e"],
     [r"\n4  ", r"\n3  ", r"\n4  ", r"\n1  ", "The end; the status is 6"]),
    (FACT, ["n fact", "n fact", "l fact", "o"], [r"fact\(2\)»", r"fact\(1\)»", r"fact\(2\)»", r"«3\*2»"]),
    (r"a\ff 3,ff\n\x y{V(n*2)(n+7)}x+y", ["f"] * 11, [r"«n\*2»", r"«n\+7»", r"«x\+y»"]),
    (EFFECTS, ["e", "b 3", "b 100", "w", "e"], [r"\n\| 2\n\| 1|\n\| 1\n\| 2", "The end", "The end"]),
    ("a\\x{leak[a]}1+1", ["f", "f", "b"], ["`leak` can't be gone through backwards"]),
    ("a\\" + "ff(1)*" * 30 + "2,\n\nff\\n\\n+1", ["n ff"] * 9, [r"\n  \(1\)\*(ff\(1\)\*){5}«ff\(1\)»"]),
    ("a\\raise 9", ["e"], ["ended by a signal"]),
]

failures = 0


def expect(what, good, detail=""):
    global failures
    if not good:
        failures += 1
        print(f"{what}\n{detail}")


def check_lines(folder):
    for program, commands, patterns in LINES:
        path = pathlib.Path(folder, "program.marl")
        path.write_text(program)
        ran = subprocess.run([LAB, "debug", str(path)], input="\n".join(commands) + "\n",
                             capture_output=True, encoding="utf-8", timeout=60, check=False)
        at = 0
        for pattern in patterns:
            found = re.compile(pattern).search("\n" + ran.stdout, at)
            expect(f"{commands} of {program}: {pattern}", found, ran.stdout + ran.stderr)
            at = found.end() if found else at


def check_once(folder):
    """What the program does to a file happens once, however often one goes back."""
    log = pathlib.Path(folder, "log")
    path = pathlib.Path(folder, "program.marl")
    path.write_text(f"a\\f{{fopen(init[{log}],init[a])}}x{{fwrite(init[once],1,4,f)}}fclose f+x")
    subprocess.run([LAB, "debug", str(path)], input="e\nb 2\nb 2\ne\nb 100\ne\n", capture_output=True,
                   encoding="utf-8", timeout=60, check=False)
    expect("written once", log.read_text() == "once", log.read_text())


def frame(message):
    body = json.dumps(message).encode()
    return b"Content-Length: %d\r\n\r\n" % len(body) + body


def messages(data):
    while data:
        head, _, rest = data.partition(b"\r\n\r\n")
        size = int(head.split(b":")[1])
        yield json.loads(rest[:size])
        data = rest[size:]


def contains(got, wanted):
    if isinstance(wanted, dict):
        return isinstance(got, dict) and all(contains(got.get(k), v) for k, v in wanted.items())
    if isinstance(wanted, list):
        return isinstance(got, list) and len(got) == len(wanted) and all(map(contains, got, wanted))
    return got == wanted


def check_adapter(folder):
    path = pathlib.Path(folder, "fact.marl")
    path.write_text(FACT)
    lines = (HERE / "debug_session.jsonl").read_text().replace("$PROGRAM", str(path)).splitlines()
    session = [json.loads(line) for line in lines[1:]]
    sent = b"".join(frame(one["message"]) for one in session if one["from"] == "client")
    wanted = [one["message"] for one in session if one["from"] == "adapter"]
    ran = subprocess.run([LAB, "debug", "--dap"], input=sent, capture_output=True, timeout=60,
                         check=False)
    got = list(messages(ran.stdout))
    expect("messages", len(got) == len(wanted), "\n".join(map(json.dumps, got)))
    for one, other in zip(got, wanted):
        expect("message", contains(one, other), f"got    {one}\nwanted {other}")


with tempfile.TemporaryDirectory() as folder_name:
    check_lines(folder_name)
    check_once(folder_name)
    check_adapter(folder_name)
print(f"{failures} failures")
sys.exit(failures > 0)
