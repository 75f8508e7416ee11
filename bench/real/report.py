# report -c -b COLUMN -s COLUMN FILE: groups the rows of a table by one column and adds up another.
import csv
import sys

by, total, path = sys.argv[3], sys.argv[5], sys.argv[6]


def millionths(text):
    whole, _, decimals = text.strip().partition(".")
    return int(whole + decimals) * 10 ** (6 - len(decimals))


def shown(number):
    sign = "-" if number < 0 else ""
    return f"{sign}{abs(number) // 10**6}.{abs(number) % 10**6:06}"


def mean(amount, count):
    sign = -1 if amount < 0 else 1
    return sign * ((2 * abs(amount) + count) // (2 * count))


groups = {}
with open(path, newline="", encoding="utf-8") as file:
    rows = csv.reader(file)
    header = next(rows)
    key, value = header.index(by), header.index(total)
    for row in rows:
        amount = millionths(row[value])
        group = groups.get(row[key])
        if group is None:
            groups[row[key]] = [1, amount, amount, amount]
        else:
            group[0] += 1
            group[1] += amount
            group[2] = min(group[2], amount)
            group[3] = max(group[3], amount)
out = csv.writer(sys.stdout, lineterminator="\n")
out.writerow(["group", "rows", "sum", "mean", "smallest", "largest"])
for name, (n, s, low, high) in sorted(groups.items(), key=lambda item: (-item[1][1], item[0])):
    out.writerow([name, n, shown(s), shown(mean(s, n)), shown(low), shown(high)])
