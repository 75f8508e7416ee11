import sys

sys.setrecursionlimit(1 << 24)


def start(n):
    return (n, lambda: start(n + 1))


def sieve(l):
    p, t = l
    return (p, lambda: sieve(sift(p, t())))


def sift(p, l):
    h, t = l
    while h % p == 0:
        h, t = t()
    return (h, lambda: sift(p, t()))


def total(n, s, l):
    while n != 1:
        n, s, l = n - 1, s + l[0], l[1]()
    return s + l[0]


print(total(1000, 0, sieve(start(2))))
