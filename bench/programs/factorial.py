import sys

sys.setrecursionlimit(1 << 24)
if hasattr(sys, "set_int_max_str_digits"):
    sys.set_int_max_str_digits(0)


def fact(n):
    return 1 if n == 0 else n * fact(n - 1)


def digits(n, s):
    while n != 0:
        n, s = n // 10, s + n % 10
    return s


n = fact(2000)
print(n)
print(digits(n, 0))
