#!/usr/bin/env python3
"""marl's arithmetic on long numbers against libgmp's.

    bench/long_numbers.py [--rounds N] [--marl PATH] [OPERATION]...

Sum, difference, product, quotient, remainder and power at 10^3 to 10^6 digits, and Euclid's algorithm,
remainder by remainder, at 10^4. A quotient and a remainder are those of a number by one half as long, a
power is 3 to what gives so many digits. The other side is gmp_peer.c, which is compiled into a temporary
folder with what libgmp-dev and a C compiler bring.

Both do the operation so often that it takes some tenth of a second, and both print the result modulo
10^9+7, which must agree. What counts is the user CPU time, the least of the rounds, less that of the same
program when it does the operation no time; from marl's the loop around the operation is taken, too. A
ratio is marl's time over libgmp's.
"""

import argparse
import math
import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent

# What marl computes for the operation, and how often, by digits.
OPERATIONS = {
    "sum": ("x+y", {1_000: 2_000_000, 10_000: 300_000, 100_000: 20_000, 1_000_000: 1_000}),
    "difference": ("x-y", {1_000: 2_000_000, 10_000: 300_000, 100_000: 20_000, 1_000_000: 1_000}),
    "product": ("x*y", {1_000: 200_000, 10_000: 5_000, 100_000: 200, 1_000_000: 15}),
    "quotient": ("x/y", {1_000: 200_000, 10_000: 8_000, 100_000: 250, 1_000_000: 12}),
    "remainder": ("x%y", {1_000: 200_000, 10_000: 8_000, 100_000: 250, 1_000_000: 12}),
    "power": ("3^e", {1_000: 200_000, 10_000: 8_000, 100_000: 250, 1_000_000: 15}),
    "euclid": ("gcd(x,y)", {10_000: 10}),
}
HALF_AS_LONG = {"quotient", "remainder"}

PROGRAM = """a\\done{{puts(init([]+(run({times},7^{x},3^{y},{e},0)%1000000007)))}}0,
run\\n\\x\\y\\e\\r\\(n=0)r(run(n-1,x,y,e,{term})),
gcd\\a\\b\\(b=0)a(gcd(b,a%b))
"""


def exponent(base, digits):
    return int(digits / math.log10(base))


def marl_source(operation, digits, times, term):
    y_digits = digits / 2 if operation in HALF_AS_LONG else digits
    return PROGRAM.format(times=times, x=exponent(7, digits), y=exponent(3, y_digits),
                          e=exponent(3, digits), term=term)


def measure(command):
    """User CPU seconds, and what is printed."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} ends with {process.returncode}")
    return usage.ru_utime, output.strip()


def compile_peer(folder):
    peer = pathlib.Path(folder, "gmp_peer")
    subprocess.run([os.environ.get("CC", "cc"), "-O2", "-o", peer, ROOT / "gmp_peer.c", "-lgmp"], check=True)
    return peer


def compare(marl, peer, operation, digits, rounds, folder):
    """Seconds for one operation: marl's, libgmp's."""
    term, counts = OPERATIONS[operation]
    times = counts[digits]
    commands = {"peer": [peer, operation, str(digits), str(times)],
                "peer idle": [peer, operation, str(digits), "0"]}
    # Idle, the loop runs as often, but gives what it has.
    for name, what in (("marl", term), ("marl idle", "x")):
        file = pathlib.Path(folder, name.replace(" ", "_") + ".marl")
        file.write_text(marl_source(operation, digits, times, what))
        commands[name] = [marl, file]
    runs = {name: [] for name in commands}
    for _ in range(rounds):
        for name, command in commands.items():
            runs[name].append(measure(command))
    if runs["marl"][0][1] != runs["peer"][0][1]:
        sys.exit(f"{operation} of {digits} digits: marl prints {runs['marl'][0][1]}, libgmp {runs['peer'][0][1]}")
    least = {name: min(seconds for seconds, _ in some) for name, some in runs.items()}
    return ((least["marl"] - least["marl idle"]) / times, (least["peer"] - least["peer idle"]) / times)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("operations", nargs="*", metavar="OPERATION",
                        help=", ".join(OPERATIONS) + "; all when none is named")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--marl", metavar="PATH", default=str(ROOT.parent / "build/release/marl"))
    options = parser.parse_args()
    unknown = set(options.operations) - set(OPERATIONS)
    if unknown:
        parser.error("no such operation: " + " ".join(sorted(unknown)))
    with tempfile.TemporaryDirectory() as folder:
        peer = compile_peer(folder)
        print("operation    digits   marl, us    gmp, us  ratio")
        for operation in options.operations or OPERATIONS:
            for digits in OPERATIONS[operation][1]:
                ours, theirs = compare(os.path.abspath(options.marl), peer, operation, digits, options.rounds, folder)
                print(f"{operation:10}{digits:9}{ours * 1e6:11.3f}{theirs * 1e6:11.3f}{ours / theirs:7.2f}", flush=True)


if __name__ == "__main__":
    main()
