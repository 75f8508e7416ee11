# walk --sum FOLDER: how many files of each ending there are below a folder, and the largest ones.
import os
import sys


def entries(folder):
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if os.path.isdir(path) and not os.path.islink(path):
            yield from entries(path)
        elif os.path.isfile(path) and not os.path.islink(path):
            yield path


groups, sizes = {}, []
for path in entries(sys.argv[2]):
    size = os.path.getsize(path)
    group = groups.setdefault(os.path.splitext(path)[1], [0, 0])
    group[0] += 1
    group[1] += size
    sizes.append((-size, path))
for ending, (count, size) in sorted(groups.items(), key=lambda item: (-item[1][1], item[0])):
    print(f"{ending or 'no ending':12}{count:6}{size:14,}")
print(f"total: {sum(c for c, _ in groups.values())} files, {sum(s for _, s in groups.values()):,} bytes")
print("the largest:")
for size, path in sorted(sizes)[:5]:
    print(f"{-size:12,}  {path}")
