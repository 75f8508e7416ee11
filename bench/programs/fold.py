import operator
import sys

sys.setrecursionlimit(1 << 24)


def upto(i, n):
    return None if n < i else (i, upto(i + 1, n))


def fold(f, z, l):
    while l is not None:
        z = f(z, l[0])
        l = l[1]
    return z


print(fold(operator.add, 0, upto(1, 200000)))
