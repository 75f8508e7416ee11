import sys

sys.setrecursionlimit(1 << 24)


def deep(n):
    return 0 if n == 0 else 1 + deep(n - 1)


print(deep(1000000))
