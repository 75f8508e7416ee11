# life -g N: the game of life on a field without borders, from a pattern on standard input.
import sys

AROUND = [(x, y) for y in (-1, 0, 1) for x in (-1, 0, 1) if x or y]
count = int(sys.argv[2])
living = {(x, y) for y, line in enumerate(sys.stdin) for x, c in enumerate(line) if c == "O"}
for _ in range(count):
    neighbours = {}
    for x, y in living:
        for dx, dy in AROUND:
            cell = (x + dx, y + dy)
            neighbours[cell] = neighbours.get(cell, 0) + 1
    living = {c for c, n in neighbours.items() if n == 3 or (n == 2 and c in living)}
print(f"generation {count}: {len(living)} cells")
if living:
    xs, ys = [x for x, _ in living], [y for _, y in living]
    for y in range(min(ys), max(ys) + 1):
        print("".join("O" if (x, y) in living else "." for x in range(min(xs), max(xs) + 1)))
