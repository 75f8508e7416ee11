import sys

if hasattr(sys, "set_int_max_str_digits"):
    sys.set_int_max_str_digits(0)


def fibs(n, a, b):
    while n != 0:
        n, a, b = n - 1, b, a + b
    return a


print(fibs(20000, 0, 1))
