#!/usr/bin/env python3
"""Runs programs under the commands of marl-lab that run programs, and compares what they show.

    run_test.py MARL_LAB MARL
"""
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

LAB, MARL = sys.argv[1:3]
FACT = r"a\fact 3,fact\x\(x=0)1(x*fact(x-1))"
MAP = r"sum\l\l(0,h\t\h+sum(t)),map\f\l\l(K,h\t\J(f h,map(f,t)))"

# A program, options of steps, and what must be there, without the columns before the context.
STEPS = [
    (r"a\I K 1 2", [], """\
I . «(IK1 2)»
(BI T2) . «IK1»
(B (BI T2) T1) . «IK»
(B (BI T2) «T1) . K»
(BI T2) . «T1K»
(BI «T2) . K1»
I . «(T2 K1)»
I . «(K1 2)»
I . 1
"""),
    (FACT, ["--from", "117"], """\
(B (B (B (BI mult3) mult2) mult1) «(T (*0 (fact (-0 1))))) . K1»
(B (B (BI mult3) mult2) mult1) . «(T (*0 (fact (-0 1))) K1)»
(B (B (BI mult3) mult2) mult1) . «(K1 (*0 (fact (-0 1))))»
(B (B (BI mult3) mult2) «mult1) . 1»
(B (BI mult3) mult2) . «(mult1 1)»
(B (BI mult3) «mult2) . 1»
(BI mult3) . «(mult2 1)»
(BI «mult3) . 2»
I . «(mult3 2)»
I . 6
"""),
    # What is lopsided and short isn't shortened.
    (r"a\K 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", ["--from", "1", "--count", "1"], """\
I . «(K1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16)»
"""),
    # All that a lazy head lacks fires with it, and lets and lambdas wait.
    (r"a\x{1+1}x", ["--from", "1", "--count", "2"], """\
I . «({x (+1 1) x)»
(BI (\\x x)) . «(+1 1)»
"""),
    # What is long is told by its size, and how many frames stand below.
    (r"a\size(range(1,90)),range\i\n\(n<i)K(J(i,range(i+1,n))),size\l\l(0,h\t\1+size(t))",
     ["--from", "2900", "--count", "1"], " nodes>"),
    (r"a\deep 50,deep\n\(n=0)0(1+deep(n-1))", ["--from", "900", "--count", "1"], "(B <"),
]

# A program, a name, and its calls.
CALLS = [
    (FACT, "fact", ["fact 3", "  fact 2", "    fact 1", "      fact 0", "      = 1", "    = 1",
                    "  = 2", "= 6"]),
    (FACT, "*", ["mult 1 1", "= 1", "mult 2 1", "= 2", "mult 3 2", "= 6"]),
    # A loop of tail calls stays where it is.
    (r"a\go(2,0),go\n\s\(n=0)s(go(n-1,s+n))", "go", ["go 2 0", "go 1 2", "go 0 3", "= 3"]),
    (FACT, "nobody", ["Nothing calls nobody."]),
]

# A program, and where the Z in its result comes from.
WHY = [
    # Through two calls, a choice and the other operand.
    (r"a\(ff 3)+1,ff\x\(x=3)(gg x)0,gg\x\5*(x/0)",
     ["«over 3 0» = Z", "in gg 3", "in ff 3", "then «mult 5 Z» = Z", "then «plus Z 1» = Z"]),
    # One Z is dropped, one is compared; a third one gets through.
    (r"a\(K(1,1/0)+((1/0=5)(2,4/0)))", ["«over 4 0» = Z", "then «plus 1 Z» = Z"]),
    # It was kept by a constant.
    (r"a\limit+limit,limit\10/zero,zero\5-5",
     ["«over 10 0» = Z", "in limit", "then «plus Z Z» = Z"]),
    # An element of a list that is added up later.
    (r"a\sum(map(inverse,J(2,J(0,K)))),inverse\x\cent(6,x)," + MAP,
     ["«cent 6 0» = Z", "in inverse 0", "in map inverse (J0K)", "in map inverse (J2 J0K)",
      "then «plus Z 0» = Z", "then «plus 0 Z» = Z"]),
    # The definition writes it.
    (r"a\1+find(2,J(1,J(3,K))),find\x\l\l(Z,h\t\(h=x)(1,find(x,t)))",
     ["«find 2 K» = Z", "then «plus 1 Z» = Z"]),
    # Data answers it.
    (r"a\1+slot(three,7),slot\c\i\c i,three\cray 3",
     ["«(/ (/ (/ cray Z) Z) Z) 7» = Z", "in slot (/ (/ (/ cray Z) Z) Z) 7", "then «plus 1 Z» = Z"]),
    # It stands in a result that is more than a Z; it got there within an argument.
    (r"a\J(1,J(2/0,K))", ["«over 2 0» = Z"]),
    # It is an effect that shows it first.
    (r"a\5*puts(J(1/0,K))", ["«puts (JZK)» is given a Z", "«over 1 0» = Z"]),
    (r"a\K(0,lisp(2/0))", ["No step has made a Z that is in it."]),
    (r"a\d{lisp(2/0)}1/0", ["«lisp Z» is given a Z", "«over 2 0» = Z"]),
    # The parts of a list that has none, and of what is no list.
    (r"a\1+Q(R(J(1,K)))", ["«Q (R J1K)» = Z, of an empty list", "then «plus 1 Z» = Z"]),
    (r"a\1+Q(V(1,2))", ["«Q (V1 2)» = Z, of what is no list", "then «plus 1 Z» = Z"]),
    # A backquote has left it.
    (r"a\limit+1,limit\`(5/0)", ["«over 5 0» = Z",
     "then Z is what the backquote on «(/5 0)» has left", "then «plus Z 1» = Z"]),
    (r"a\K 5 (1/0)", ["No step has made a Z that is in it."]),
]

failures = 0


def expect(what, got, wanted):
    global failures
    if got != wanted:
        failures += 1
        print(f"{what}\n  got    {got!r}\n  wanted {wanted!r}")


def run(command, program, *options):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "program.marl")
        path.write_text(program)
        return subprocess.run([LAB, command, str(path), *options], capture_output=True,
                              encoding="utf-8", timeout=60, check=False)


def columns_off(text, width):
    return [line[width:].strip() if width > 8 else line[width:] for line in text.splitlines()]


def check_steps():
    for program, options, wanted in STEPS:
        got = "\n".join(columns_off(run("steps", program, *options).stdout, 26)) + "\n"
        expect(f"steps {options} {program}", wanted in got, True)
    expect("status", run("steps", FACT).returncode, 6)
    coloured = run("steps", FACT, "--color", "always", "--until", "fact").stdout
    expect("colours", "\x1b[1;33mfact3\x1b[m" in coloured.splitlines()[-1], True)


def check_calls():
    for program, name, wanted in CALLS:
        got = run("steps", program, "--only", name).stdout
        width = 0 if got.startswith("Nothing") else 8
        expect(f"calls of {name} in {program}", columns_off(got, width), wanted)


def check_why():
    for program, wanted in WHY:
        lines = run("steps", program, "--why-z").stdout.splitlines()
        lines = [re.sub(r"  \S*program.marl:\d+:\d+$", "", line) for line in lines]
        lines = [line for line in lines if not line.startswith("The result is")]
        whole = ("No", "«")
        got = [line if line.startswith(whole) else line[8:].strip() for line in lines]
        expect(f"why-z {program}", got, wanted)
    places = "a\\ff(1)+\n  ff(0),\n\nff\\x\\5*\n(6/x)-gg(x,6/x),\ngg\\x\\y\\x{y}x"
    shown = re.findall(r"program.marl:(\S+)", run("steps", places, "--why-z").stdout)
    expect("places", shown, ["5:2", "4:6", "4:6", "1:3"])
    parts = "a\\ff(0),\n\nff\\x\\\n(p q){V(1,6/x)}(p+q)"
    shown = re.findall(r"program.marl:(\S+)", run("steps", parts, "--why-z").stdout)
    expect("places in a pair's value", shown, ["4:11", "4:17"])
    many = r"a\far(30,1/0),far\n\x\(n=0)x(far(n-1,x+1))"
    lines = run("steps", many, "--why-z").stdout.splitlines()
    expect("long chain", (len(lines), lines[-1].strip()), (22, "and 11 more"))


def check_signals():
    """What is under way when a signal or the interrupt ends the run."""
    crash = r"a\outer 3,outer\n\1+inner(n*2),inner\n\n+strlen(n)"
    for command, options in (("steps", []), ("steps", ["--why-z"]), ("profile", [])):
        ran = run(command, crash, *options)
        got = [line.split()[0] for line in ran.stderr.splitlines() if line.startswith("  ")]
        expect(f"{command} {options} at a signal", (ran.returncode, got),
               (-signal.SIGSEGV, ["strlen", "inner", "outer"]))
    stop = r"a\outer 3,outer\n\1+inner(n*2),inner\n\n+raise(2)+endless(n),endless\n\endless(n+1)"
    for command, options in (("steps", ["--why-z"]), ("profile", [])):
        ran = run(command, stop, *options)
        expect(f"{command} {options} at an interrupt",
               (ran.returncode, "outer" in ran.stderr.split("Interrupted;")[1]), (1, True))


# Two definitions in a program, of which the first one is at work longer.
SHARES = [
    r"a\long(9000)+quick(1000),long\n\(n=0)0(big(n)+long(n-1)),big\n\(3^9000*3^9000)*0,"
    r"quick\n\(n=0)0(quick(n-1))",
    r"a\many(9000000)+few(200000),many\n\(n=0)0(many(n-1)),few\n\(n=0)0(few(n-1))",
    r"a\t{todo(0,0)}many(9000000)+few(200000),many\n\(n=0)0(many(n-1)),few\n\(n=0)0(few(n-1))",
    r"a\t{todo(0,0)}many(200000,t)+few(5000,t),many\n\t\(n=0)0(many(n-1,t)),few\n\t\(n=0)0(few(n-1,t))",
]


def check_profile():
    for program in SHARES:
        table = run("profile", program).stdout.splitlines()[2:]
        first = [line.split()[2] for line in table][0]
        expect(f"profile of {program}", first, "big" if "big" in program else "many")


def check_effects():
    """The program's own output comes in its place, or alone; a fault and an end by itself, too."""
    program = r"a\done{puts(init[hello])}exit(done(0,3)),done\x\I"
    mixed = run("steps", program).stdout
    with tempfile.TemporaryDirectory() as folder:
        log = pathlib.Path(folder, "log")
        alone = run("profile", program, "-o", str(log))
        expect("output", alone.stdout, "hello\n")
        expect("samples", " samples" in log.read_text(), True)
        expect("mixed", "\nhello\n" in mixed, True)
        folded = pathlib.Path(folder, "folded")
        long = r"a\work(9000000,0)*0,work\n\s\(n=0)s(work(n-1,part(s))),part\s\s+1"
        table = run("profile", long, "--folded", str(folded)).stdout
        names = [line.split()[2] for line in table.splitlines()[2:]]
        expect("names", set(names) <= {"(entry)", "work", "part"} and "work" in names, True)
        stacks = dict(line.rsplit(" ", 1) for line in folded.read_text().splitlines())
        ways = {"(entry)", "(entry);work", "(entry);work;part"}
        # A look between two instructions can miss a call.
        known = sum(int(time) for way, time in stacks.items() if way in ways)
        expect("stacks", known > 0.7 * sum(map(int, stacks.values())), True)
    faulty = run("steps", r"a\nobody 1")
    expect("fault", (faulty.returncode, faulty.stdout, "nobody" in faulty.stderr), (1, "", True))


check_steps()
check_calls()
check_why()
check_signals()
check_profile()
check_effects()
print(f"{failures} failures")
sys.exit(failures > 0)
