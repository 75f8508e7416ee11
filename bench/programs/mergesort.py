import sys

sys.setrecursionlimit(1 << 24)


def draw(n, x):
    return None if n == 0 else (x, draw(n - 1, x * 1103 % 1000003))


def sort(l):
    if l is None or l[1] is None:
        return l
    return halve(l, None, None, lambda a, b: merge(sort(a), sort(b)))


def halve(l, a, b, f):
    while l is not None:
        l, a, b = l[1], b, (l[0], a)
    return f(a, b)


def merge(a, b):
    if a is None:
        return b
    if b is None:
        return a
    if b[0] < a[0]:
        return (b[0], merge(a, b[1]))
    return (a[0], merge(a[1], b))


def digest(d, l):
    while l is not None:
        d = (d * 31 + l[0]) % 1000003
        l = l[1]
    return d


print(digest(0, sort(draw(20000, 12345))))
