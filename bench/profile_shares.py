#!/usr/bin/env python3
"""Compares what `marl-lab profile` says of two definitions with what callgrind counts in marl.

    profile_shares.py MARL MARL_LAB

Each program calls two definitions. Callgrind counts the instructions of marl on the program, and on
it without one of the two calls; so it tells what each of them takes. The profile tells the same of
one run. The last column is the time of the profile's run, start and table included, as a multiple of marl's.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MARL, LAB = sys.argv[1:3]
LOOP = r"loop\n\(n=0)0(loop(n-1)),"

# Two calls, and definitions.
PROGRAMS = {
    "product and loop": ("big(40)", "loop(60000)",
                         LOOP + r"big\n\(n=0)0(times(n)+big(n-1)),times\n\(3^4000*3^4000)*0"),
    "loop and product": ("loop(900000)", "big(8)",
                         LOOP + r"big\n\(n=0)0(times(n)+big(n-1)),times\n\(3^4000*3^4000)*0"),
    "calls and tail calls": ("fib(19)", "loop(40000)",
                             LOOP + r"fib\n\(n<2)n(fib(n-1)+fib(n-2))"),
    "list and array": ("lists(20000)", "arrays(2000)",
                       r"lists\n\sum(upto(n))*0,upto\n\(n=0)K(J(n,upto(n-1))),"
                       r"sum\l\l(0,h\t\h+sum(t)),arrays\n\fill(cray(n),n-1),"
                       r"fill\c\i\(i<0)0(fill(cork(c,i,i),i-1))"),
    "text and numbers": ("texts(12000)", "loop(30000)",
                         LOOP + r"texts\n\grow([],n)*0,grow\s\n\(n=0)(rank(s))(grow(s+97,n-1))"),
    "closures and loop": ("apply_all(20000)", "loop(20000)",
                          LOOP + r"apply_all\n\(n=0)0(twice(x\x+n,n)*0+apply_all(n-1)),"
                          r"twice\f\x\f(f(x))"),
    "quotient and strings": ("halves(150)", "lengths(3000)",
                             r"halves\n\(n=0)0((3^3000/7^700)*0+halves(n-1)),"
                             r"lengths\n\(n=0)0(strlen(init[some text])*0+lengths(n-1))"),
}
REPEATED = 150  # how often the profiled run does both
ENTRY = {"big": ["big", "times"], "lists": ["lists", "upto", "sum"], "arrays": ["arrays", "fill"],
         "texts": ["texts", "grow"], "apply_all": ["apply_all", "twice"],
         "lengths": ["lengths", "strlen"]}


def instructions(program):
    ran = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", MARL,
                          str(program)], capture_output=True, text=True, check=False)
    return int(re.search(r"Collected : (\d+)", ran.stderr)[1])


def seconds(command):
    """Of the processor, the best of three runs."""
    best = 1e9
    for _ in range(3):
        before = os.times().children_user
        subprocess.run(command, capture_output=True, check=False)
        best = min(best, os.times().children_user - before)
    return best


def of_profile(program, groups):
    """The per cent of several groups of names in one run."""
    table = subprocess.run([LAB, "profile", str(program)], capture_output=True, text=True,
                           check=False).stdout
    rows = [(line.split()[2], float(line.split()[0])) for line in table.splitlines()[2:]]
    return [sum(share for name, share in rows if name in names) for names in groups]


def main():
    print(f"{'program':22} {'callgrind':>15} {'profile':>15}  order  time")
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "program.marl")
        for title, (first, second, definitions) in PROGRAMS.items():
            def write(calls, times=1):
                again = "" if times == 1 else rf"again\n\(n=0)0(({calls})+again(n-1)),"
                entry = calls if times == 1 else f"again({times})"
                path.write_text(f"a\\{entry},{again}{definitions}")
                return path
            both = instructions(write(f"{first}+{second}"))
            shares = [both - instructions(write(other)) for other in (second, first)]
            counted = [100 * share / sum(shares) for share in shares]
            write(f"{first}+{second}", REPEATED)
            names = [call.split("(")[0] for call in (first, second)]
            sampled = of_profile(path, [ENTRY.get(name, [name]) for name in names])
            same = (counted[0] < counted[1]) == (sampled[0] < sampled[1])
            ratio = seconds([LAB, "profile", str(path)]) / seconds([MARL, str(path)])
            print(f"{title:22} {counted[0]:7.1f} {counted[1]:7.1f} {sampled[0]:7.1f} "
                  f"{sampled[1]:7.1f}  {'same ' if same else 'OTHER'} {ratio:5.2f}", flush=True)


main()
