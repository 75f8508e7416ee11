"""The work for the real programs of examples/real: inputs, arguments, and a client for the server.

Inputs are made from a fixed seed, so they are the same at each run. A program gets the same arguments in
every language, and must print the same.
"""

import collections
import functools
import json
import pathlib
import random
import socket
import threading
import time

Task = collections.namedtuple("Task", "make arguments stdin client", defaults=((), None, None))

LETTERS = "etaoinsrhldcumfpgwybvkxjqz"
REQUESTS = 1000


def words(count, chance):
    return ["".join(chance.choice(LETTERS[:chance.randrange(8, 27)])
                    for _ in range(chance.randrange(2, 10))) for _ in range(count)]


def text(path, size=10_000_000):
    """Lines of words, a few of them common, as in a language; each sentence begins with a capital letter."""
    chance = random.Random(1)
    vocabulary = words(20_000, chance)
    with open(path, "w", encoding="ascii") as file:
        written = 0
        while written < size:
            line = [vocabulary[int(chance.paretovariate(0.6)) % 20_000]
                    for _ in range(chance.randrange(4, 14))]
            line[0] = line[0].capitalize()
            written += file.write(" ".join(line) + ".\n")


def table(path, rows=200_000, keys=20_000):
    """Rows of a date, a key, an amount and a note; some fields are in quotes."""
    chance = random.Random(2)
    names = words(keys, chance)
    notes = ["", "plain", '"with, comma"', '"a ""word"""', '"two\nlines"']
    with open(path, "w", encoding="ascii") as file:
        file.write("date,region,amount,note\n")
        for _ in range(rows):
            file.write(f"2024-{chance.randrange(1, 13):02}-{chance.randrange(1, 29):02},"
                       f"{chance.choice(names)},{chance.randrange(-10**6, 10**6) / 100},"
                       f"{chance.choices(notes, (60, 37, 1, 1, 1))[0]}\n")


def objects(path, count=45_000):
    chance = random.Random(3)
    names = words(5_000, chance)
    rows = [{"id": i, "name": chance.choice(names) + " " + chance.choice(names),
             "tags": [chance.choice(names) for _ in range(chance.randrange(5))],
             "place": {"x": chance.randrange(10**6) / 1000, "y": chance.randrange(-10**12, 10**12)},
             "note": "a \"quoted\" line\n" if i % 10 == 0 else None, "open": i % 3 == 0}
            for i in range(count)]
    path.write_text(json.dumps(rows))


def pattern(path, size=60):
    chance = random.Random(4)
    path.write_text("".join("".join(chance.choice("..O") for _ in range(size)) + "\n" for _ in range(size)))


def puzzles(path, count=60):
    """Puzzles that are the hard ones of the example with their digits, rows and columns exchanged."""
    chance = random.Random(5)
    known = ["4.....8.5.3..........7......2.....6.....8.4......1.......6.3.7.5..2.....1.4......",
             "..............3.85..1.2.......5.7.....4...1...9.......5......73..2.1........4...9",
             "53..7....6..195....98....6.8...6...34..8.3..17...2...6.6....28....419..5....8..79"]
    lines = []
    for i in range(count):
        digits = chance.sample("123456789", 9)
        order = [3 * block + row for block in chance.sample(range(3), 3) for row in chance.sample(range(3), 3)]
        board = known[i % 3 if i % 10 else 1]
        lines.append("".join("." if c == "." else digits[int(c) - 1]
                             for row in order for c in board[9 * row:9 * row + 9]))
    path.write_text("\n".join(lines) + "\n")


def nothing(_):
    pass


def tree(path, folders=200, files=20):
    chance = random.Random(6)
    for i in range(folders):
        folder = path / f"f{i % 15}" / f"g{i}"
        folder.mkdir(parents=True)
        for j in range(files):
            (folder / f"n{j}{chance.choice(['.txt', '.md', '.c', ''])}").write_bytes(b"x" * chance.randrange(3000))


def pages(path, count=300):
    chance = random.Random(7)
    vocabulary = words(2_000, chance)
    marks = ["{}", "{}", "{}", "{}", "{}", "{}", "{}", "{}", "*{}*", "**{}**", "`{}`", "[{}](http://a.b/c)", "{} & {}"]

    def sentence(count):
        return " ".join(chance.choice(marks).format(chance.choice(vocabulary), "x") for _ in range(count))
    (path / "in").mkdir(parents=True)
    (path / "out").mkdir()
    for i in range(count):
        lines = [f"title: {sentence(3)}", f"date: 2024-{i % 12 + 1:02}-{i % 28 + 1:02}", ""]
        for _ in range(12):
            lines += [f"## {sentence(4)}", "", sentence(12), sentence(12), ""]
            lines += [f"- {sentence(6)}" for _ in range(4)] + ["", f"> {sentence(10)}", ""]
            lines += ["```", "code <x> & y", "```", ""]
        (path / "in" / f"page{i}.md").write_text("\n".join(lines) + "\n")


SCHEME = """
(define (fib n) (if (< n 2) n (+ (fib (- n 1)) (fib (- n 2)))))
(fib 22)
(define (range i n) (if (< n i) '() (cons i (range (+ i 1) n))))
(define (filter f l) (cond ((null? l) '()) ((f (car l)) (cons (car l) (filter f (cdr l)))) (else (filter f (cdr l)))))
(define (queens n)
  (define (safe? row d placed)
    (or (null? placed)
        (and (not (= (car placed) row)) (not (= (car placed) (+ row d))) (not (= (car placed) (- row d)))
             (safe? row (+ d 1) (cdr placed)))))
  (define (place k placed)
    (if (= k 0) 1
        (apply + (map (lambda (row) (place (- k 1) (cons row placed)))
                      (filter (lambda (row) (safe? row 1 placed)) (range 1 n))))))
  (place n '()))
(queens 6)
(let loop ((i 0) (s 0)) (if (= i 60000) s (loop (+ i 1) (+ s (* i i)))))
"""


def ask(folder, port, count=REQUESTS):
    """Fetches files from a server on loopback, one connection after the other."""
    files = sorted(path for path in folder.rglob("*") if path.is_file())[:50]
    end = time.time() + 60
    for i in range(count):
        path = files[i % len(files)]
        while True:
            try:
                connection = socket.create_connection(("127.0.0.1", port), timeout=10)
                break
            except ConnectionRefusedError:
                if i or time.time() > end:
                    raise
                time.sleep(0.01)
        with connection:
            connection.sendall(f"GET /{path.relative_to(folder)} HTTP/1.0\r\n\r\n".encode())
            answer = b"".join(iter(lambda: connection.recv(65536), b""))
        if answer.partition(b"\r\n\r\n")[2] != path.read_bytes():
            raise ValueError(f"another answer for {path}")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def tasks(scratch):
    """The tasks by the names of their programs, with their inputs made in the folder."""
    folder = pathlib.Path(scratch, "real")
    folder.mkdir()
    port = free_port()
    made = {
        "grep": Task(text, ("-i", "-c", "Sten", folder / "grep")),
        "wordfreq": Task(text, ("-n", "20", folder / "wordfreq")),
        "report": Task(table, ("-c", "-b", "region", "-s", "amount", folder / "report")),
        "json": Task(objects, (), folder / "json"),
        "life": Task(pattern, ("-g", "100"), folder / "life"),
        "sudoku": Task(puzzles, (), folder / "sudoku"),
        "pi": Task(nothing, ("20000",)),
        "scheme": Task(lambda path: path.write_text(SCHEME), (), folder / "scheme"),
        "walk": Task(tree, ("-s", folder / "walk")),
        "site": Task(pages, ("-q", "-t", "Site", folder / "site/in", folder / "site/out")),
        "fileserver": Task(tree, ("-q", "-r", folder / "fileserver", "-c", str(REQUESTS), str(port)),
                           client=functools.partial(ask, folder / "fileserver", port)),
    }
    for name, task in made.items():
        task.make(folder / name)
    return made


class Client(threading.Thread):
    """The client of a task, beside the program; it does nothing for a task that has none."""

    def __init__(self, task):
        super().__init__(daemon=True)
        self.client = task.client
        if self.client:
            self.start()

    def run(self):
        self.client()

    def wait(self):
        if self.client:
            self.join(60)
