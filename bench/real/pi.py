# pi DIGITS: digits of pi, by the series of the Chudnovskys summed by halves.
import math
import sys

sys.set_int_max_str_digits(0)


def sums(a, b):
    if b - a == 1:
        p = -(6 * a - 5) * (2 * a - 1) * (6 * a - 1) if a else 1
        q = a ** 3 * 10939058860032000 if a else 1
        return p, q, p * (13591409 + 545140134 * a)
    m = (a + b) // 2
    p, q, t = sums(a, m)
    u, v, w = sums(m, b)
    return p * u, q * v, v * t + p * w


n = int(sys.argv[1])
one = 10 ** (n + 10)
_, q, t = sums(0, n // 14 + 2)
digits = str(426880 * math.isqrt(10005 * one * one) * q // t)
print(digits[0] + "." + digits[1:n + 1])
